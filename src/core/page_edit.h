// The arithmetic of turning and cutting a page: which pixels a frame in millimetres takes, where they lie in the image
// as it is stored, and how they are copied out of it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

// What the final scan's follow-up does to the file.
struct ImageEditParams {
  std::int32_t rotationType = 1;  // 1 as it is, 2 turned 90 degrees clockwise, 3 by 180, 4 by 270 clockwise
  double left = 0.0;              // the frame in millimetres from the turned image's top-left corner
  double top = 0.0;
  double right = 0.0;
  double bottom = 0.0;
  std::uint8_t hasFrame = 0;  // 1: cut to the frame
};

namespace page {

// Clockwise, in quarter turns from 0.
enum class Turn { None, Right, UpsideDown, Left };

constexpr int DegreesOf(Turn turn) { return 90 * static_cast<int>(turn); }

// degrees: 0, 90, 180 or 270.
constexpr Turn TurnOfDegrees(int degrees) { return static_cast<Turn>(degrees / 90 % 4); }

// As in ImageEditParams; a type that it does not name turns nothing.
constexpr std::int32_t RotationTypeOf(Turn turn) { return 1 + static_cast<std::int32_t>(turn); }
constexpr Turn TurnOfRotationType(int type) {
  return type >= 2 && type <= 4 ? static_cast<Turn>(type - 1) : Turn::None;
}

constexpr bool SwapsAxes(Turn turn) { return turn == Turn::Right || turn == Turn::Left; }

// The longest side that the platform's JPEG encoder takes.
constexpr int kLargestSide = 65500;

// The most pixels that GDI+ holds: it counts a bitmap's bytes, up to four for each, in 32 signed bits.
constexpr std::int64_t kLargestArea = std::numeric_limits<std::int32_t>::max() / 4;

constexpr double kMillimetresPerInch = 25.4;

// A frame in millimetres.
struct Frame {
  double left = 0.0;
  double top = 0.0;
  double right = 0.0;
  double bottom = 0.0;
};

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

// The part of an image of the given resolution (dots per inch) that a frame takes: size and origin are each truncated,
// and nothing is clipped to the image. No value for a frame without area, and for one that no JPEG file or bitmap can
// hold.
constexpr std::optional<CutRectangle> CutOfFrame(double dotsPerInchX, double dotsPerInchY, const Frame& frame) {
  const int dpiX = TruncateToPixels(dotsPerInchX);
  const int dpiY = TruncateToPixels(dotsPerInchY);
  const CutRectangle cut{TruncateToPixels(dpiX * frame.left / kMillimetresPerInch),
                         TruncateToPixels(dpiY * frame.top / kMillimetresPerInch),
                         TruncateToPixels(dpiX * (frame.right - frame.left) / kMillimetresPerInch),
                         TruncateToPixels(dpiY * (frame.bottom - frame.top) / kMillimetresPerInch)};
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
constexpr CutRectangle BeforeTurn(const CutRectangle& part, Turn turn, int width, int height) {
  switch (turn) {
    case Turn::Right:
      return {part.y, height - part.x - part.width, part.height, part.width};
    case Turn::UpsideDown:
      return {width - part.x - part.width, height - part.y - part.height, part.width, part.height};
    case Turn::Left:
      return {width - part.y - part.height, part.x, part.height, part.width};
    case Turn::None:
      break;
  }
  return part;
}

// The way back: where a part of the image lies once it is turned. The size is the one before the turn.
constexpr CutRectangle AfterTurn(const CutRectangle& part, Turn turn, int width, int height) {
  const Turn back = TurnOfDegrees(360 - DegreesOf(turn));
  return SwapsAxes(turn) ? BeforeTurn(part, back, height, width) : BeforeTurn(part, back, width, height);
}

// Pixels in memory; a negative stride runs upwards.
template <class Byte>
struct PixelRows {
  Byte* first;
  std::ptrdiff_t stride;
};

// Of a pixel: blue, green and red.
constexpr std::ptrdiff_t kPageBytes = 3;

// Copies a block of the given size, as it lies in the source, turned to the target's top-left corner. sourceBytes: of a
// pixel there, 3, or 4 with one that says nothing behind them.
inline void CopyTurned(PixelRows<const std::uint8_t> source, std::ptrdiff_t sourceBytes, int width, int height,
                       Turn turn, PixelRows<std::uint8_t> target) {
  // The source pixel of the target's first one, and the way from there along a row and down a column of the target.
  const std::ptrdiff_t lastColumn = sourceBytes * (width - 1);
  const std::ptrdiff_t lastRow = source.stride * (height - 1);
  const std::uint8_t* first = source.first;
  std::ptrdiff_t along = sourceBytes;
  std::ptrdiff_t down = source.stride;
  if (turn == Turn::Right) {
    first += lastRow, along = -source.stride, down = sourceBytes;
  } else if (turn == Turn::UpsideDown) {
    first += lastRow + lastColumn, along = -sourceBytes, down = -source.stride;
  } else if (turn == Turn::Left) {
    first += lastColumn, along = source.stride, down = -sourceBytes;
  }
  const int columns = SwapsAxes(turn) ? height : width;
  const int rows = SwapsAxes(turn) ? width : height;
  for (int y = 0; y < rows; ++y) {
    const std::uint8_t* from = first + down * y;
    std::uint8_t* to = target.first + target.stride * y;
    for (int x = 0; x < columns; ++x, to += kPageBytes) {
      std::memcpy(to, from + along * x, kPageBytes);
    }
  }
}

}  // namespace page
