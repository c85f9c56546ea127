// JPEG files in memory. Internal to the simulator.
#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

namespace simulator {

// Rows from the top, each `stride` bytes: blue, green, red, or one gray byte per pixel.
struct Pixels {
  UINT width = 0;
  UINT height = 0;
  UINT stride = 0;
  bool gray = false;
  std::vector<BYTE> bytes;
};

// A JPEG with one component for gray pixels and three otherwise, and the resolution in its header. Empty on failure.
std::vector<BYTE> EncodeJpeg(Pixels& pixels, double dpiX, double dpiY);

}  // namespace simulator
