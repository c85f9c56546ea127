#include "simulator/test_page.h"

#include <cmath>

#include "simulator/simulated_scanner.h"

namespace simulator {

namespace {

constexpr double kMarginMm = 20.0;
constexpr double kMmPerPoint = 25.4 / 72.0;

struct Rgb {
  double red;
  double green;
  double blue;
};

Rgb Mix(const Rgb& from, const Rgb& to, double share) {
  return {from.red + (to.red - from.red) * share, from.green + (to.green - from.green) * share,
          from.blue + (to.blue - from.blue) * share};
}

Gdiplus::Color ToColor(COLORREF color) { return Gdiplus::Color(GetRValue(color), GetGValue(color), GetBValue(color)); }

// A page measured in millimetres.
class Sheet {
 public:
  Sheet(Gdiplus::Bitmap& bitmap, const PageSettings& settings)
      : m_bitmap(bitmap), m_graphics(&bitmap), m_settings(settings) {
    m_graphics.SetTextRenderingHint(Gdiplus::TextRenderingHintAntiAlias);
    m_graphics.SetSmoothingMode(Gdiplus::SmoothingModeAntiAlias);
  }

  double Width() const { return m_settings.widthMm; }
  double Height() const { return m_settings.heightMm; }

  void Fill(const Gdiplus::Color& color, double left, double top, double width, double height) {
    const Gdiplus::SolidBrush brush(color);
    const Gdiplus::Rect area = Pixels(left, top, width, height);
    m_graphics.FillRectangle(&brush, area);
  }

  // One line, cut off at `width`.
  void Text(const std::wstring& text, double points, int style, double left, double top, double width) {
    const Gdiplus::Font font(Family(), static_cast<float>(Y(points * kMmPerPoint)), style, Gdiplus::UnitPixel);
    Gdiplus::StringFormat format(Gdiplus::StringFormat::GenericTypographic());
    format.SetFormatFlags(Gdiplus::StringFormatFlagsNoWrap);
    const Gdiplus::SolidBrush brush(Gdiplus::Color(24, 24, 28));
    const Gdiplus::RectF area(static_cast<float>(X(left)), static_cast<float>(Y(top)), static_cast<float>(X(width)),
                              static_cast<float>(Y(points * kMmPerPoint * 1.6)));
    m_graphics.DrawString(text.c_str(), -1, &font, area, &format, &brush);
  }

  void Circle(double centerX, double centerY, double radius) {
    const Gdiplus::Pen pen(Gdiplus::Color(24, 24, 28), static_cast<float>(X(0.3)));
    m_graphics.DrawEllipse(&pen, static_cast<float>(X(centerX - radius)), static_cast<float>(Y(centerY - radius)),
                           static_cast<float>(X(2 * radius)), static_cast<float>(Y(2 * radius)));
  }

  // Colours each pixel of an area by its place in it, 0 to 1 in both directions.
  template <class ColorAt>
  void Shade(double left, double top, double width, double height, ColorAt colorAt) {
    const Gdiplus::Rect area = Pixels(left, top, width, height);
    Gdiplus::BitmapData data = {};
    if (m_bitmap.LockBits(&area, Gdiplus::ImageLockModeWrite, PixelFormat24bppRGB, &data) != Gdiplus::Ok) {
      return;
    }
    for (UINT y = 0; y < data.Height; ++y) {
      BYTE* pixel = static_cast<BYTE*>(data.Scan0) + static_cast<std::ptrdiff_t>(y) * data.Stride;
      for (UINT x = 0; x < data.Width; ++x, pixel += 3) {
        const Rgb color = colorAt((x + 0.5) / data.Width, (y + 0.5) / data.Height);
        pixel[0] = static_cast<BYTE>(std::clamp(color.blue, 0.0, 255.0));
        pixel[1] = static_cast<BYTE>(std::clamp(color.green, 0.0, 255.0));
        pixel[2] = static_cast<BYTE>(std::clamp(color.red, 0.0, 255.0));
      }
    }
    m_bitmap.UnlockBits(&data);
  }

 private:
  double X(double mm) const { return mm * m_settings.dpiX / 25.4; }
  double Y(double mm) const { return mm * m_settings.dpiY / 25.4; }

  // Edges are rounded, not sizes, so that neighbours meet. Never empty: a hairline stays visible at low resolutions.
  Gdiplus::Rect Pixels(double left, double top, double width, double height) const {
    const int x = static_cast<int>(std::lround(X(left)));
    const int y = static_cast<int>(std::lround(Y(top)));
    return {x, y, std::max(1, static_cast<int>(std::lround(X(left + width))) - x),
            std::max(1, static_cast<int>(std::lround(Y(top + height))) - y)};
  }

  // The first of these that the system has.
  const Gdiplus::FontFamily* Family() const {
    for (const Gdiplus::FontFamily& family : m_families) {
      if (family.IsAvailable()) {
        return &family;
      }
    }
    return Gdiplus::FontFamily::GenericSansSerif();
  }

  Gdiplus::Bitmap& m_bitmap;
  Gdiplus::Graphics m_graphics;
  const PageSettings& m_settings;
  const Gdiplus::FontFamily m_families[3] = {Gdiplus::FontFamily(L"Segoe UI"), Gdiplus::FontFamily(L"Arial"),
                                             Gdiplus::FontFamily(L"DejaVu Sans")};
};

double TickLength(int mm) {
  if (mm % 10 == 0) {
    return 4.5;
  }
  return mm % 5 == 0 ? 3.2 : 2.0;
}

// Millimetres from the page's top-left corner, along all four edges between the corner squares.
void DrawRulers(Sheet& sheet) {
  constexpr double kLine = 0.12;
  constexpr double kPoints = 6.0;
  const Gdiplus::Color ink(60, 60, 66);
  for (int mm = kCornerMm + 1; mm < sheet.Width() - kCornerMm; ++mm) {
    const double length = TickLength(mm);
    sheet.Fill(ink, mm - kLine / 2, 0, kLine, length);
    sheet.Fill(ink, mm - kLine / 2, sheet.Height() - length, kLine, length);
    if (mm % 10 == 0) {
      sheet.Text(std::to_wstring(mm), kPoints, Gdiplus::FontStyleRegular, mm - 2.0, 5.0, 8);
      sheet.Text(std::to_wstring(mm), kPoints, Gdiplus::FontStyleRegular, mm - 2.0, sheet.Height() - 8.0, 8);
    }
  }
  for (int mm = kCornerMm + 1; mm < sheet.Height() - kCornerMm; ++mm) {
    const double length = TickLength(mm);
    sheet.Fill(ink, 0, mm - kLine / 2, length, kLine);
    sheet.Fill(ink, sheet.Width() - length, mm - kLine / 2, length, kLine);
    if (mm % 10 == 0) {
      sheet.Text(std::to_wstring(mm), kPoints, Gdiplus::FontStyleRegular, 5.2, mm - 1.3, 8);
      sheet.Text(std::to_wstring(mm), kPoints, Gdiplus::FontStyleRegular, sheet.Width() - 9.2, mm - 1.3, 8);
    }
  }
}

void DrawCorners(Sheet& sheet) {
  const double right = sheet.Width() - kCornerMm;
  const double bottom = sheet.Height() - kCornerMm;
  sheet.Fill(ToColor(kTopLeftColor), 0, 0, kCornerMm, kCornerMm);
  sheet.Fill(ToColor(kTopRightColor), right, 0, kCornerMm, kCornerMm);
  sheet.Fill(ToColor(kBottomLeftColor), 0, bottom, kCornerMm, kCornerMm);
  sheet.Fill(ToColor(kBottomRightColor), right, bottom, kCornerMm, kCornerMm);
}

// As much as an A4 page holds at that size.
std::wstring SampleText(int points) {
  if (points >= 24) {
    return points > 24 ? L"The quick brown" : L"The quick brown fox jumps";
  }
  return points > 12 ? L"The quick brown fox jumps over the lazy"
                     : L"The quick brown fox jumps over the lazy dog, 0123456789";
}

double DrawSamples(Sheet& sheet, double top, double width) {
  sheet.Text(L"Test page", 30, Gdiplus::FontStyleBold, kMarginMm, top, width);
  sheet.Text(L"Simulated scanner. The rulers count millimetres from the top left corner.", 9, Gdiplus::FontStyleRegular,
             kMarginMm, top + 14, width);
  top += 21;
  for (const int points : {5, 6, 8, 10, 12, 18, 24, 36}) {
    sheet.Text(std::to_wstring(points) + L" pt  " + SampleText(points), points, Gdiplus::FontStyleRegular, kMarginMm,
               top, width);
    top += points * kMmPerPoint * 1.3;
  }
  return top + 4;
}

// An evening sky over mountain ranges that fade with distance: smooth gradients, soft and hard edges and a grain, as in
// a photograph.
class Landscape {
 public:
  Landscape() {
    for (int range = 0; range < kRanges; ++range) {
      for (int column = 0; column < kColumns; ++column) {
        m_outline[range][column] = Outline(range, static_cast<double>(column) / kColumns);
      }
    }
  }

  // At x and y from 0 to 1.
  Rgb At(double x, double y) {
    const Rgb color = Smooth(x, y);
    m_seed = m_seed * 1664525u + 1013904223u;
    const double grain = (static_cast<double>(m_seed >> 24) - 127.5) / 127.5 * 5.0;
    return {color.red + grain, color.green + grain, color.blue + grain};
  }

 private:
  static constexpr int kRanges = 5;
  static constexpr int kColumns = 4096;

  static double Outline(int range, double x) {
    const double phase = 1.7 * range + 0.4;
    const double wave = std::sin(x * 7.0 + phase) * 0.5 + std::sin(x * 17.0 + phase * 2.3) * 0.25 +
                        std::sin(x * 41.0 + phase * 3.1) * 0.12 + std::sin(x * 97.0 + phase * 4.7) * 0.05;
    return 0.50 + 0.10 * range - (0.10 - 0.008 * range) * wave;
  }

  Rgb Smooth(double x, double y) const {
    for (int range = kRanges - 1; range >= 0; --range) {
      const double depth = y - m_outline[range][static_cast<int>(x * kColumns)];
      if (depth > 0) {
        const double nearness = (range + 1.0) / kRanges;
        const Rgb base = Mix({214, 160, 138}, {22, 42, 44}, nearness);
        return Mix(base, {236, 186, 150}, std::min(0.45, depth * 1.4) * (1.0 - nearness * 0.8));
      }
    }
    constexpr double kSunRadius = 0.06;
    const double distance = std::hypot((x - 0.68) * 1.55, y - 0.44);
    const Rgb sky = Mix({44, 84, 150}, {255, 196, 130}, std::min(y / 0.6, 1.0));
    return Mix(sky, {255, 244, 214}, distance < kSunRadius ? 1.0 : 0.75 * std::exp((kSunRadius - distance) * 5.5));
  }

  double m_outline[kRanges][kColumns];
  UINT m_seed = 2463534242u;
};

double DrawPhotograph(Sheet& sheet, double top, double width, double height) {
  const auto landscape = std::make_unique<Landscape>();
  sheet.Shade(kMarginMm, top, width, height, [&](double x, double y) { return landscape->At(x, y); });
  return top + height + 5;
}

double DrawPatches(Sheet& sheet, double top, double width) {
  constexpr int kSteps = 12;
  for (int step = 0; step < kSteps; ++step) {
    const BYTE gray = static_cast<BYTE>(step * 255 / (kSteps - 1));
    sheet.Fill(Gdiplus::Color(gray, gray, gray), kMarginMm + width * step / kSteps, top, width / kSteps, 9);
  }
  constexpr COLORREF kInks[] = {RGB(0, 158, 224),   RGB(226, 0, 122),  RGB(255, 236, 0),  RGB(220, 30, 36),
                                RGB(0, 146, 70),    RGB(38, 50, 140),  RGB(120, 72, 48),  RGB(244, 160, 48),
                                RGB(236, 196, 170), RGB(150, 190, 84), RGB(130, 90, 160), RGB(90, 110, 120)};
  for (int ink = 0; ink < kSteps; ++ink) {
    sheet.Fill(ToColor(kInks[ink]), kMarginMm + width * ink / kSteps, top + 10, width / kSteps, 9);
  }
  return top + 24;
}

// Line pairs of 0.2, 0.4 and 0.8 mm, upright and lying, and circles that show whether the axes agree.
double DrawTargets(Sheet& sheet, double top, double width) {
  constexpr double kSize = 16.0;
  double left = kMarginMm;
  const Gdiplus::Color ink(24, 24, 28);
  for (const double line : {0.2, 0.4, 0.8}) {
    for (double at = 0; at < kSize - line / 2; at += 2 * line) {
      sheet.Fill(ink, left + at, top, line, kSize);
    }
    left += kSize + 4;
  }
  for (double radius = 2; radius <= kSize / 2; radius += 2) {
    sheet.Circle(left + kSize / 2, top + kSize / 2, radius);
  }
  left += kSize + 4;
  for (const double line : {0.2, 0.4, 0.8}) {
    for (double at = 0; at < kSize - line / 2 && left + kSize <= kMarginMm + width; at += 2 * line) {
      sheet.Fill(ink, left, top + at, kSize, line);
    }
    left += kSize + 4;
  }
  return top + kSize;
}

}  // namespace

void DrawTestPage(Gdiplus::Bitmap& bitmap, const PageSettings& settings) {
  Sheet sheet(bitmap, settings);
  const double width = settings.widthMm - 2 * kMarginMm;
  const double bottom = settings.heightMm - kMarginMm;
  double top = DrawSamples(sheet, kMarginMm - 4, width);
  const double photograph = std::clamp(bottom - top - 50, width * 0.5, width * 0.65);
  if (top + photograph <= bottom) {
    top = DrawPhotograph(sheet, top, width, photograph);
  }
  if (top + 19 <= bottom) {
    top = DrawPatches(sheet, top, width);
  }
  if (top + 16 <= bottom && width >= 80) {
    DrawTargets(sheet, top, width);
  }
  DrawRulers(sheet);
  DrawCorners(sheet);
}

}  // namespace simulator
