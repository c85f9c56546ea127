#include "core/jpeg_header.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "core/page_edit.h"

namespace scanning {
namespace {

bool IsFrameHeader(std::uint8_t marker) {
  constexpr std::uint8_t kHuffmanTables = 0xC4;
  constexpr std::uint8_t kReserved = 0xC8;
  constexpr std::uint8_t kArithmeticConditioning = 0xCC;
  return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kReserved &&
         marker != kArithmeticConditioning;
}

int BigEndian(std::uint8_t high, std::uint8_t low) { return high << 8 | low; }

struct Marker {
  std::uint8_t code = 0;  // 0: there is none
  std::int64_t end = 0;   // offset behind it
};

// The next marker from an offset on. Decoders skip what lies before it, so a search that gave up would not see the
// frame header that they find.
Marker NextMarker(const ByteSource& file, std::int64_t offset) {
  constexpr std::uint8_t kPrefix = 0xFF;  // any number of times before the code
  std::array<std::uint8_t, 512> piece{};
  bool prefixed = false;
  for (;;) {
    const std::size_t count = file.ReadAt(offset, piece);
    for (std::size_t i = 0; i < count; ++i) {
      if (prefixed && piece[i] != 0 && piece[i] != kPrefix) {
        return {piece[i], offset + static_cast<std::int64_t>(i) + 1};
      }
      prefixed = piece[i] == kPrefix;
    }
    if (count < piece.size()) {
      return {};
    }
    offset += static_cast<std::int64_t>(count);
  }
}

bool StandsAlone(std::uint8_t marker) {
  constexpr std::uint8_t kTemporary = 0x01;
  return marker == kTemporary || (marker >= 0xD0 && marker <= 0xD7);  // restart markers
}

// Nothing, or the image data, or another image, or the end.
bool EndsTheHeader(std::uint8_t marker) { return marker == 0 || (marker >= 0xD8 && marker <= 0xDA); }

}  // namespace

bool BeginsAsJpeg(const ByteSource& file) {
  std::array<std::uint8_t, 2> start{};
  return file.ReadAt(0, start) == start.size() && start[0] == 0xFF && start[1] == 0xD8;
}

std::int64_t ClaimedPixels(const ByteSource& file) {
  constexpr int kMostSegments = 1024;  // large profiles and previews take some dozens
  std::int64_t offset = 2;
  for (int i = 0; i < kMostSegments; ++i) {
    const Marker marker = NextMarker(file, offset);
    if (EndsTheHeader(marker.code)) {
      return 0;
    }
    offset = marker.end;
    if (StandsAlone(marker.code)) {
      continue;
    }
    std::array<std::uint8_t, 7> segment{};  // length, then in a frame header: precision, height, width
    if (file.ReadAt(offset, segment) != segment.size()) {
      return 0;
    }
    if (IsFrameHeader(marker.code)) {
      return std::int64_t{BigEndian(segment[3], segment[4])} * BigEndian(segment[5], segment[6]);
    }
    offset += std::max(2, BigEndian(segment[0], segment[1]));  // it counts itself
  }
  return 0;
}

bool IsTooMuch(std::int64_t pixels, std::int64_t fileSize) {
  // Compressed data hold at least one bit for each 8 x 8 block.
  constexpr int kMostPixelsPerByte = 8 * 64;
  return pixels > kLargestArea || pixels / kMostPixelsPerByte > fileSize;
}

bool CanBeWholeJpeg(const ByteSource& file) {
  const std::int64_t size = file.Size();
  const std::int64_t pixels = BeginsAsJpeg(file) ? ClaimedPixels(file) : 0;
  if (pixels == 0 || IsTooMuch(pixels, size)) {
    return false;
  }
  // Some devices fill the last block up, so the end is looked for in as much; within compressed data it does not occur.
  std::array<std::uint8_t, 512> tail{};
  constexpr std::array<std::uint8_t, 2> kEnd = {0xFF, 0xD9};
  const std::size_t count = file.ReadAt(std::max<std::int64_t>(0, size - std::int64_t{tail.size()}), tail);
  const auto end = std::next(tail.begin(), static_cast<std::ptrdiff_t>(count));
  return std::search(tail.begin(), end, kEnd.begin(), kEnd.end()) != end;
}

}  // namespace scanning
