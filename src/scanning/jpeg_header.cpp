#include "scanning/jpeg_header.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "scanning/cut_rectangle.h"

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

}  // namespace

bool BeginsAsJpeg(const ByteSource& file) {
  std::array<std::uint8_t, 2> start{};
  return file.ReadAt(0, start) == start.size() && start[0] == 0xFF && start[1] == 0xD8;
}

std::int64_t ClaimedPixels(const ByteSource& file) {
  constexpr int kMostSegments = 1024;  // large profiles and previews take some dozens
  constexpr std::uint8_t kFill = 0xFF;
  constexpr std::uint8_t kFirstWithoutLength = 0xD0;  // restart markers, start and end of image
  constexpr std::uint8_t kStartOfScan = 0xDA;
  std::int64_t offset = 2;
  for (int i = 0; i < kMostSegments; ++i) {
    std::array<std::uint8_t, 9> segment{};  // marker, length, then in a frame header: precision, height, width
    if (file.ReadAt(offset, segment) != segment.size() || segment[0] != 0xFF) {
      return 0;
    }
    const std::uint8_t marker = segment[1];
    if (IsFrameHeader(marker)) {
      return std::int64_t{BigEndian(segment[5], segment[6])} * BigEndian(segment[7], segment[8]);
    }
    if (marker >= kFirstWithoutLength && marker <= kStartOfScan) {
      return 0;
    }
    offset += marker == kFill ? 1 : 2 + BigEndian(segment[2], segment[3]);
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
