#include "core/jpeg_header.h"

#include <algorithm>

#include "core/page_edit.h"

namespace page {
namespace {

using Bytes = std::span<const std::uint8_t>;

bool IsFrameHeader(std::uint8_t marker) {
  constexpr std::uint8_t kHuffmanTables = 0xC4;
  constexpr std::uint8_t kReserved = 0xC8;
  constexpr std::uint8_t kArithmeticConditioning = 0xCC;
  return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kReserved &&
         marker != kArithmeticConditioning;
}

// No marker (0), the image data (SOS), another image (SOI) or the end (EOI).
bool EndsTheHeader(std::uint8_t marker) { return marker == 0 || (marker >= 0xD8 && marker <= 0xDA); }

bool StandsAlone(std::uint8_t marker) {
  constexpr std::uint8_t kTemporary = 0x01;
  return marker == kTemporary || (marker >= 0xD0 && marker <= 0xD7);  // restart markers
}

int BigEndian(Bytes bytes, std::size_t at) { return bytes[at] << 8 | bytes[at + 1]; }

// Takes the next marker off the front, with what lies before it: decoders skip stray bytes, so a search that gave up
// would not see the frame header that they find. 0: there is none.
std::uint8_t TakeMarker(Bytes& rest) {
  constexpr std::uint8_t kPrefix = 0xFF;  // any number of times before the code
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i - 1] == kPrefix && rest[i] != 0 && rest[i] != kPrefix) {
      const std::uint8_t marker = rest[i];
      rest = rest.subspan(i + 1);
      return marker;
    }
  }
  return 0;
}

}  // namespace

bool BeginsAsJpeg(Bytes header) { return header.size() >= 2 && header[0] == 0xFF && header[1] == 0xD8; }

std::int64_t ClaimedPixels(Bytes header) {
  if (!BeginsAsJpeg(header)) {
    return 0;
  }
  Bytes rest = header.subspan(2);
  for (;;) {
    const std::uint8_t marker = TakeMarker(rest);
    if (EndsTheHeader(marker)) {
      return 0;
    }
    if (StandsAlone(marker)) {
      continue;
    }
    constexpr std::size_t kFrameStart = 7;  // length, precision, height, width
    if (rest.size() < kFrameStart) {
      return 0;
    }
    if (IsFrameHeader(marker)) {
      return std::int64_t{BigEndian(rest, 3)} * BigEndian(rest, 5);
    }
    const auto length = static_cast<std::size_t>(std::max(2, BigEndian(rest, 0)));  // it counts itself
    rest = rest.subspan(std::min(length, rest.size()));
  }
}

bool IsTooMuchForJpeg(std::int64_t pixels, std::int64_t fileSize) {
  // Compressed data hold at least one bit for each 8 x 8 block.
  constexpr int kMostPixelsPerByte = 8 * 64;
  return pixels > kLargestArea || pixels / kMostPixelsPerByte > fileSize;
}

bool IsTooMuch(std::int64_t pixels, std::int64_t fileSize) {
  // A3 at 600 dpi, blank, is a few hundred bytes in a fax code; larger pages that deflate could not have packed so
  // densely (1032 bytes into one, a bit for each pixel) claim what nobody scanned.
  constexpr std::int64_t kLargestPage = 72'000'000;
  constexpr int kMostPixelsPerByte = 8 * 1032;
  return pixels > kLargestArea || (pixels > kLargestPage && pixels / kMostPixelsPerByte > fileSize);
}

}  // namespace page
