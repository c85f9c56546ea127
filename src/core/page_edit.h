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

// The most pixels that GDI+ holds: it counts a bitmap's bytes, up to four for each, in 32 signed bits.
constexpr std::int64_t kLargestArea = std::numeric_limits<std::int32_t>::max() / 4;

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

// Copies a block of the given size, as it lies in the source, turned to the target's top-left corner. A grey source
// (one byte) may go to a colour target.
template <int kSourceBytes, int kTargetBytes>
void CopyTurned(PixelRows<const std::uint8_t> source, int width, int height, QuarterTurns turns,
                PixelRows<std::uint8_t> target) {
  static_assert(kSourceBytes == kTargetBytes || kSourceBytes == 1);
  // The source pixel of the target's first one, and the way from there along a row and down a column of the target.
  const std::ptrdiff_t lastColumn = std::ptrdiff_t{kSourceBytes} * (width - 1);
  const std::ptrdiff_t lastRow = source.stride * (height - 1);
  const std::uint8_t* first = source.first;
  std::ptrdiff_t along = kSourceBytes;
  std::ptrdiff_t down = source.stride;
  if (turns == QuarterTurns::Right) {
    first += lastRow, along = -source.stride, down = kSourceBytes;
  } else if (turns == QuarterTurns::UpsideDown) {
    first += lastRow + lastColumn, along = -kSourceBytes, down = -source.stride;
  } else if (turns == QuarterTurns::Left) {
    first += lastColumn, along = source.stride, down = -kSourceBytes;
  }
  const int columns = SwapsAxes(turns) ? height : width;
  const int rows = SwapsAxes(turns) ? width : height;
  for (int y = 0; y < rows; ++y) {
    const std::uint8_t* from = first + down * y;
    std::uint8_t* to = target.first + target.stride * y;
    for (int x = 0; x < columns; ++x, to += kTargetBytes) {
      if constexpr (kSourceBytes == kTargetBytes) {
        std::memcpy(to, from + along * x, kTargetBytes);
      } else {
        std::memset(to, from[along * x], kTargetBytes);
      }
    }
  }
}

}  // namespace scanning
