// Images for tests: a JPEG of four coloured quadrants, its pixels read back, and a folder to keep it in.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "platform/gdiplus_owners.h"

namespace samples {

// GDI+ started for the length of a scope; images are written and read within it.
struct GdiPlus {
  GdiPlus() { Gdiplus::GdiplusStartup(&token, &input, nullptr); }
  ~GdiPlus() { Gdiplus::GdiplusShutdown(token); }
  GdiPlus(const GdiPlus&) = delete;
  GdiPlus& operator=(const GdiPlus&) = delete;
  Gdiplus::GdiplusStartupInput input;
  ULONG_PTR token = 0;
};

// A new folder of the process's own, deleted with everything in it.
struct TemporaryFolder {
  TemporaryFolder() {
    static int count = 0;
    const auto name = std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++count);
    path = std::filesystem::temp_directory_path() / (L"scan-test-" + name);
    std::filesystem::create_directories(path);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::wstring File(const std::wstring& name) const { return (path / name).wstring(); }
  std::set<std::wstring> Names() const {
    std::set<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) names.insert(entry.path().filename().wstring());
    return names;
  }
  std::filesystem::path path;
};

inline std::string Bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Writes a JPEG whose quadrants are red and green above, blue and yellow below.
inline bool WriteQuadrants(const std::wstring& path, int width, int height, float dpiX, float dpiY) {
  const CLSID jpegEncoder = {0x557CF401, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
  Gdiplus::Bitmap bitmap(width, height, PixelFormat24bppRGB);
  bitmap.SetResolution(dpiX, dpiY);
  Gdiplus::Graphics graphics(&bitmap);
  const Gdiplus::ARGB colors[] = {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFF00};
  for (int i = 0; i < 4; ++i) {
    const Gdiplus::SolidBrush brush{Gdiplus::Color(colors[i])};
    graphics.FillRectangle(&brush, i % 2 * (width / 2), i / 2 * (height / 2), width, height);
  }
  return bitmap.Save(path.c_str(), &jpegEncoder, nullptr) == Gdiplus::Ok;
}

// An image file, decoded. It must be gone before the file can be deleted.
struct Picture : Gdiplus::Bitmap {
  explicit Picture(const std::wstring& path) : Gdiplus::Bitmap(path.c_str()) {}
  // One letter for a colour, '?' outside the image and for any other colour.
  char ColorAt(int x, int y) {
    Gdiplus::Color color;
    if (GetPixel(x, y, &color) != Gdiplus::Ok) return '?';
    const auto digit = [](int level) { return level < 90 ? '0' : level > 165 ? '1' : '-'; };
    const std::string known = "100R010G001B110Y000K111W";
    const auto found = known.find(std::string{digit(color.GetR()), digit(color.GetG()), digit(color.GetB())});
    return found == std::string::npos ? '?' : known[found + 3];
  }
  // The four corners row by row: "RGBY" as WriteQuadrants makes it.
  std::string Corners() {
    const int right = static_cast<int>(GetWidth()) - 1;
    const int bottom = static_cast<int>(GetHeight()) - 1;
    return {ColorAt(0, 0), ColorAt(right, 0), ColorAt(0, bottom), ColorAt(right, bottom)};
  }
};

}  // namespace samples
