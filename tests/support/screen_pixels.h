// What is on the screen.
#pragma once

#include <windows.h>

#include <vector>

namespace simulator {

// A part of the screen, in screen pixels, row by row; each 0xRRGGBB.
struct ScreenPixels {
  ScreenPixels(int x, int y, int columns, int rows);
  DWORD At(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
  friend bool operator==(const ScreenPixels&, const ScreenPixels&) = default;

  int width;
  int height;
  std::vector<DWORD> pixels;
};

}  // namespace simulator
