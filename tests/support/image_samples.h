// Images for tests: a JPEG of four coloured quadrants, and its pixels read back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/gdiplus_session.h"
#include "tests/support/temporary_folder.h"

namespace harness {

using GdiPlus = simulator::GdiplusSession;
using Content = std::vector<std::uint8_t>;

// The class of GDI+'s JPEG encoder, as its documentation gives it.
constexpr CLSID kJpegEncoder = {0x557CF401, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

// A path in a buffer of MAX_PATH characters, as the operations on files take it.
struct PathBuffer {
  explicit PathBuffer(const std::wstring& path) { path.copy(text, MAX_PATH - 1); }
  operator wchar_t*() { return text; }
  wchar_t text[MAX_PATH] = {};
};

// Writes a JPEG whose quadrants are red and green above, blue and yellow below.
inline bool WriteQuadrants(const std::wstring& path, int width, int height, float dpiX, float dpiY) {
  Gdiplus::Bitmap bitmap(width, height, PixelFormat24bppRGB);
  bitmap.SetResolution(dpiX, dpiY);
  Gdiplus::Graphics graphics(&bitmap);
  const Gdiplus::ARGB colors[] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFF00};
  for (int i = 0; i < 4; ++i) {
    const Gdiplus::SolidBrush brush{Gdiplus::Color(colors[i])};
    graphics.FillRectangle(&brush, i % 2 * (width / 2), i / 2 * (height / 2), width, height);
  }
  return bitmap.Save(path.c_str(), &kJpegEncoder, nullptr) == Gdiplus::Ok;
}

// The same as a device sends it.
inline Content Quadrants(int width, int height, float dpiX, float dpiY) {
  const GdiPlus session;
  const TemporaryFolder folder;
  WriteQuadrants(folder.File(L"page.jpg"), width, height, dpiX, dpiY);
  const std::string bytes = Bytes(folder.path / L"page.jpg");
  return {bytes.begin(), bytes.end()};
}

// An image file, decoded. It must be gone before the file can be deleted.
struct Picture : Gdiplus::Bitmap {
  explicit Picture(const std::wstring& path) : Gdiplus::Bitmap(path.c_str()) {}
  // One letter for a colour, '?' outside the image and for any other colour.
  char ColorAt(int x, int y) {
    Gdiplus::Color color;
    if (GetPixel(x, y, &color) != Gdiplus::Ok) {
      return '?';
    }
    const auto digit = [](int level) { return level < 90 ? '0' : level > 165 ? '1' : '-'; };
    const std::string known = "100R010G001B110Y000K111W";
    const auto found = known.find(std::string{digit(color.GetR()), digit(color.GetG()), digit(color.GetB())});
    return found == std::string::npos ? '?' : known[found + 3];
  }
  // Row by row, at the corners of this rectangle.
  std::string ColorsAt(int left, int top, int right, int bottom) {
    return {ColorAt(left, top), ColorAt(right, top), ColorAt(left, bottom), ColorAt(right, bottom)};
  }
  // "RGBY" as WriteQuadrants makes it.
  std::string Corners() { return ColorsAt(0, 0, static_cast<int>(GetWidth()) - 1, static_cast<int>(GetHeight()) - 1); }
};

}  // namespace harness
