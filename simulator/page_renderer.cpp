#include "simulator/page_renderer.h"

#include <cmath>

#include "platform/wia2.h"
#include "simulator/gdiplus_session.h"
#include "simulator/jpeg_encoding.h"
#include "simulator/test_page.h"

namespace simulator {

namespace {

// No JPEG is larger in one direction, and no page of this device is larger in all.
constexpr double kLargestSide = 65500.0;
constexpr double kMostPixels = 250e6;

constexpr int kBrightnessStep = 24;

// Fits the file's picture into the page, centred, its proportions in millimetres kept.
bool DrawPageFile(Gdiplus::Bitmap& bitmap, const PageSettings& settings) {
  Gdiplus::Bitmap picture(settings.pageFile.c_str());
  if (picture.GetLastStatus() != Gdiplus::Ok || picture.GetWidth() == 0 || picture.GetHeight() == 0) {
    return false;
  }
  const double scale = std::min(settings.widthMm / picture.GetWidth(), settings.heightMm / picture.GetHeight());
  const double width = picture.GetWidth() * scale;
  const double height = picture.GetHeight() * scale;
  const double left = (settings.widthMm - width) / 2;
  const double top = (settings.heightMm - height) / 2;
  const double perMmX = settings.dpiX / 25.4;
  const double perMmY = settings.dpiY / 25.4;
  Gdiplus::Graphics graphics(&bitmap);
  graphics.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic);
  graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf);
  const Gdiplus::Rect area(static_cast<int>(std::lround(left * perMmX)), static_cast<int>(std::lround(top * perMmY)),
                           static_cast<int>(std::lround(width * perMmX)),
                           static_cast<int>(std::lround(height * perMmY)));
  return graphics.DrawImage(&picture, area) == Gdiplus::Ok;
}

void Store(const BYTE* source, BYTE* target, const PageSettings& settings) {
  BYTE channels[3];
  for (int i = 0; i < 3; ++i) {
    channels[i] = static_cast<BYTE>(std::clamp(source[i] + settings.brightness * kBrightnessStep, 0L, 255L));
  }
  if (settings.grayscale) {
    *target = static_cast<BYTE>((channels[0] * 114 + channels[1] * 587 + channels[2] * 299 + 500) / 1000);
  } else {
    std::copy_n(channels, 3, target);
  }
}

// Copies the bitmap as the settings want it: turned counter-clockwise, lighter or darker, in colour or gray.
Pixels ReadOut(const Gdiplus::BitmapData& data, const PageSettings& settings) {
  const bool quarterTurn = settings.rotation == LANSCAPE || settings.rotation == ROT270;
  Pixels pixels;
  pixels.width = quarterTurn ? data.Height : data.Width;
  pixels.height = quarterTurn ? data.Width : data.Height;
  pixels.gray = settings.grayscale;
  const UINT depth = pixels.gray ? 1 : 3;
  pixels.stride = (pixels.width * depth + 3) / 4 * 4;
  pixels.bytes.resize(static_cast<std::size_t>(pixels.stride) * pixels.height);
  for (UINT y = 0; y < data.Height; ++y) {
    const BYTE* source = static_cast<const BYTE*>(data.Scan0) + static_cast<std::ptrdiff_t>(y) * data.Stride;
    for (UINT x = 0; x < data.Width; ++x, source += 3) {
      UINT column = x;
      UINT row = y;
      switch (settings.rotation) {
        case LANSCAPE:
          column = y;
          row = data.Width - 1 - x;
          break;
        case ROT180:
          column = data.Width - 1 - x;
          row = data.Height - 1 - y;
          break;
        case ROT270:
          column = data.Height - 1 - y;
          row = x;
          break;
        default:
          break;
      }
      Store(source,
            &pixels.bytes[static_cast<std::size_t>(row) * pixels.stride + static_cast<std::size_t>(column) * depth],
            settings);
    }
  }
  return pixels;
}

Pixels Render(const PageSettings& settings) {
  const double width = std::round(settings.widthMm * settings.dpiX / 25.4);
  const double height = std::round(settings.heightMm * settings.dpiY / 25.4);
  const GdiplusSession session;
  if (!session.Started() || width < 1 || height < 1 || width > kLargestSide || height > kLargestSide ||
      width * height > kMostPixels) {
    return {};
  }
  Gdiplus::Bitmap bitmap(static_cast<INT>(width), static_cast<INT>(height), PixelFormat24bppRGB);
  if (bitmap.GetLastStatus() != Gdiplus::Ok) {
    return {};
  }
  Gdiplus::Graphics(&bitmap).Clear(Gdiplus::Color(255, 255, 255));
  if (settings.pageFile.empty()) {
    DrawTestPage(bitmap, settings);
  } else if (!DrawPageFile(bitmap, settings)) {
    return {};
  }
  Gdiplus::BitmapData data = {};
  if (bitmap.LockBits(nullptr, Gdiplus::ImageLockModeRead, PixelFormat24bppRGB, &data) != Gdiplus::Ok) {
    return {};
  }
  Pixels pixels = ReadOut(data, settings);
  bitmap.UnlockBits(&data);
  return pixels;
}

}  // namespace

EncodedPage RenderPage(const PageSettings& settings) {
  Pixels pixels = Render(settings);
  if (pixels.bytes.empty()) {
    return nullptr;
  }
  const bool quarterTurn = settings.rotation == LANSCAPE || settings.rotation == ROT270;
  std::vector<BYTE> jpeg =
      EncodeJpeg(pixels, quarterTurn ? settings.dpiY : settings.dpiX, quarterTurn ? settings.dpiX : settings.dpiY);
  return jpeg.empty() ? nullptr : std::make_shared<const std::vector<BYTE>>(std::move(jpeg));
}

}  // namespace simulator
