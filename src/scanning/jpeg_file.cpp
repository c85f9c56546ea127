#include "scanning/jpeg_file.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>

#include "platform/scoped.h"
#include "scanning/cut_rectangle.h"

namespace scanning {
namespace {

using FileHandle = platform::Unique<HANDLE, &::CloseHandle>;

// Up to so many bytes from an offset; the number that were there.
template <DWORD kSize>
DWORD ReadAt(const FileHandle& file, std::int64_t offset, BYTE (&bytes)[kSize]) {
  LARGE_INTEGER position = {};
  position.QuadPart = offset;
  DWORD count = 0;
  if (!::SetFilePointerEx(file.get(), position, nullptr, FILE_BEGIN) ||
      !::ReadFile(file.get(), bytes, kSize, &count, nullptr)) {
    return 0;
  }
  return count;
}

bool IsFrameHeader(BYTE marker) {
  constexpr BYTE kHuffmanTables = 0xC4;
  constexpr BYTE kReserved = 0xC8;
  constexpr BYTE kArithmeticConditioning = 0xCC;
  return marker >= 0xC0 && marker <= 0xCF && marker != kHuffmanTables && marker != kReserved &&
         marker != kArithmeticConditioning;
}

// The number of pixels that the frame header names; 0 when there is none before the image data.
std::int64_t PixelCount(const FileHandle& file) {
  constexpr int kMostSegments = 1024;  // large profiles and previews take some dozens
  constexpr BYTE kFill = 0xFF;
  constexpr BYTE kFirstWithoutLength = 0xD0;  // restart markers, start and end of image
  constexpr BYTE kStartOfScan = 0xDA;
  std::int64_t offset = 2;
  for (int i = 0; i < kMostSegments; ++i) {
    BYTE segment[9];  // marker, length, then in a frame header: precision, height, width
    if (ReadAt(file, offset, segment) != sizeof segment || segment[0] != 0xFF) {
      return 0;
    }
    const BYTE marker = segment[1];
    if (IsFrameHeader(marker)) {
      return std::int64_t{segment[5] << 8 | segment[6]} * (segment[7] << 8 | segment[8]);
    }
    if (marker >= kFirstWithoutLength && marker <= kStartOfScan) {
      return 0;
    }
    offset += marker == kFill ? 1 : 2 + (segment[2] << 8 | segment[3]);
  }
  return 0;
}

}  // namespace

bool IsWholeJpeg(const wchar_t* path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE opened = ::CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    return false;
  }
  const FileHandle file(opened);
  LARGE_INTEGER size = {};
  BYTE start[2];
  if (!::GetFileSizeEx(file.get(), &size) || ReadAt(file, 0, start) != sizeof start || start[0] != 0xFF ||
      start[1] != 0xD8) {
    return false;
  }
  // Compressed data hold at least one bit for each 8 x 8 block.
  constexpr int kMostPixelsPerByte = 8 * 64;
  const std::int64_t pixels = PixelCount(file);
  if (pixels == 0 || pixels > kLargestArea || pixels / kMostPixelsPerByte > size.QuadPart) {
    return false;
  }
  // Some devices fill the last block up, so the end is looked for in as much; within compressed data it does not occur.
  BYTE tail[512];
  constexpr BYTE kEnd[] = {0xFF, 0xD9};
  const DWORD count = ReadAt(file, std::max<std::int64_t>(0, size.QuadPart - std::int64_t{sizeof tail}), tail);
  return std::search(tail, tail + count, kEnd, kEnd + sizeof kEnd) != tail + count;
}

}  // namespace scanning
