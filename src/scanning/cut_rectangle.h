// The arithmetic of turning and cutting an image: which pixels a frame in millimetres takes, where they lie in the
// image as it is stored, and how they are copied out of it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

namespace scanning {

enum class QuarterTurns { None, Right, UpsideDown, Left };

constexpr bool SwapsAxes(QuarterTurns turns) { return turns == QuarterTurns::Right || turns == QuarterTurns::Left; }

// The longest side that the platform's JPEG encoder takes.
constexpr int kLargestSide = 65500;

// A rectangle in pixels.
struct CutRectangle {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool operator==(const CutRectangle&) const = default;
};

// Truncates toward zero. A conversion that does not fit is undefined, so what is below 1, also what is not a number,
// gives 0, and what is too large the largest value.
constexpr int TruncateToPixels(double value) {
  if (!(value >= 1.0)) {
    return 0;
  }
  constexpr int kLargest = std::numeric_limits<int>::max();
  return value < kLargest ? static_cast<int>(value) : kLargest;
}

// The part of an image of the given resolution that a frame in millimetres takes: size and origin are each truncated,
// and nothing is clipped to the image. No value for a frame without area, and for one that no JPEG file or bitmap can
// hold.
constexpr std::optional<CutRectangle> CutOfFrame(double dotsPerInchX, double dotsPerInchY, double left, double top,
                                                 double right, double bottom) {
  constexpr double kMillimetresPerInch = 25.4;
  constexpr std::int64_t kLargestArea = std::numeric_limits<std::int32_t>::max() / 4;  // GDI+ sizes are signed
  const int dpiX = TruncateToPixels(dotsPerInchX);
  const int dpiY = TruncateToPixels(dotsPerInchY);
  const CutRectangle cut{TruncateToPixels(dpiX * left / kMillimetresPerInch),
                         TruncateToPixels(dpiY * top / kMillimetresPerInch),
                         TruncateToPixels(dpiX * (right - left) / kMillimetresPerInch),
                         TruncateToPixels(dpiY * (bottom - top) / kMillimetresPerInch)};
  if (cut.width == 0 || cut.height == 0 || cut.width > kLargestSide || cut.height > kLargestSide ||
      std::int64_t{cut.width} * cut.height > kLargestArea) {
    return std::nullopt;
  }
  return cut;
}

// The part of a cut that lies on an image of the given size. Empty beside it.
constexpr CutRectangle PartOnImage(const CutRectangle& cut, int width, int height) {
  const int x = std::min(cut.x, width);
  const int y = std::min(cut.y, height);
  return {x, y, std::min(cut.width, width - x), std::min(cut.height, height - y)};
}

// Where a part of the turned image lies in the image before the turn, whose size is given.
constexpr CutRectangle BeforeTurn(const CutRectangle& part, QuarterTurns turns, int width, int height) {
  switch (turns) {
    case QuarterTurns::Right:
      return {part.y, height - part.x - part.width, part.height, part.width};
    case QuarterTurns::UpsideDown:
      return {width - part.x - part.width, height - part.y - part.height, part.width, part.height};
    case QuarterTurns::Left:
      return {width - part.y - part.height, part.x, part.height, part.width};
    case QuarterTurns::None:
      break;
  }
  return part;
}

// The way back: where a part of the image lies once it is turned. The size is the one before the turn.
constexpr CutRectangle AfterTurn(const CutRectangle& part, QuarterTurns turns, int width, int height) {
  if (turns == QuarterTurns::Right) {
    return BeforeTurn(part, QuarterTurns::Left, height, width);
  }
  if (turns == QuarterTurns::Left) {
    return BeforeTurn(part, QuarterTurns::Right, height, width);
  }
  return BeforeTurn(part, turns, width, height);
}

// Pixels in memory; a negative stride runs upwards.
template <class Byte>
struct PixelRows {
  Byte* first;
  std::ptrdiff_t stride;
};

// Copies a block of the given size, as it lies in the source, turned to the target's top-left corner.
template <int kBytesPerPixel>
void CopyTurned(PixelRows<const std::uint8_t> source, int width, int height, QuarterTurns turns,
                PixelRows<std::uint8_t> target) {
  // The source pixel of the target's first one, and the way from there along a row and down a column of the target.
  const std::ptrdiff_t lastColumn = std::ptrdiff_t{kBytesPerPixel} * (width - 1);
  const std::ptrdiff_t lastRow = source.stride * (height - 1);
  std::ptrdiff_t start = 0;
  std::ptrdiff_t along = kBytesPerPixel;
  std::ptrdiff_t down = source.stride;
  if (turns == QuarterTurns::Right) {
    start = lastRow, along = -source.stride, down = kBytesPerPixel;
  } else if (turns == QuarterTurns::UpsideDown) {
    start = lastRow + lastColumn, along = -kBytesPerPixel, down = -source.stride;
  } else if (turns == QuarterTurns::Left) {
    start = lastColumn, along = source.stride, down = -kBytesPerPixel;
  }
  const int columns = SwapsAxes(turns) ? height : width;
  const int rows = SwapsAxes(turns) ? width : height;
  // A quarter turn walks down the source's columns. In small tiles every fetched cache line is used up at once; row by
  // row a 600 dpi page would fetch one for each pixel.
  const int tile = SwapsAxes(turns) ? 64 : std::max(columns, 1);
  for (int left = 0; left < columns; left += tile) {
    const int right = std::min(left + tile, columns);
    for (int y = 0; y < rows; ++y) {
      const std::uint8_t* from = source.first + start + down * y + along * left;
      std::uint8_t* to = target.first + target.stride * y + std::ptrdiff_t{kBytesPerPixel} * left;
      if (turns == QuarterTurns::None) {
        std::memcpy(to, from, static_cast<std::size_t>(kBytesPerPixel) * static_cast<std::size_t>(right - left));
        continue;
      }
      for (int x = left; x < right; ++x, to += kBytesPerPixel) {
        std::memcpy(to, source.first + start + down * y + along * x, kBytesPerPixel);
      }
    }
  }
}

}  // namespace scanning
