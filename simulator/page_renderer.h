// What lies on the glass, as a JPEG at given settings. Internal to the simulator.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace simulator {

struct PageSettings {
  double widthMm = 210.0;
  double heightMm = 297.0;
  LONG dpiX = 200;
  LONG dpiY = 200;
  LONG rotation = 0;    // WIA_IPS_ROTATION: quarter turns counter-clockwise
  LONG brightness = 0;  // -3 to 3
  bool grayscale = false;
  std::wstring pageFile;  // empty: the built-in page

  bool operator==(const PageSettings&) const = default;
};

using EncodedPage = std::shared_ptr<const std::vector<BYTE>>;

// Null when the page file can't be read or the image can't be made.
EncodedPage RenderPage(const PageSettings& settings);

}  // namespace simulator
