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

// Null when it can't be opened or doesn't begin as a JPEG.
FileHandle OpenJpeg(const wchar_t* path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE opened = ::CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
  FileHandle file(opened != INVALID_HANDLE_VALUE ? opened : nullptr);
  BYTE start[2];
  if (file != nullptr && ReadAt(file, 0, start) == sizeof start && start[0] == 0xFF && start[1] == 0xD8) {
    return file;
  }
  return nullptr;
}

// 0 when the platform does not tell.
std::int64_t SizeOf(const FileHandle& file) {
  LARGE_INTEGER size = {};
  return ::GetFileSizeEx(file.get(), &size) ? size.QuadPart : 0;
}

bool IsTooMuch(std::int64_t pixels, std::int64_t fileSize) {
  // Compressed data hold at least one bit for each 8 x 8 block.
  constexpr int kMostPixelsPerByte = 8 * 64;
  return pixels > kLargestArea || pixels / kMostPixelsPerByte > fileSize;
}

}  // namespace

bool ClaimsTooMuch(const wchar_t* path) {
  const FileHandle file = OpenJpeg(path);
  return file != nullptr && IsTooMuch(PixelCount(file), SizeOf(file));
}

bool IsWholeJpeg(const wchar_t* path) {
  const FileHandle file = OpenJpeg(path);
  if (file == nullptr) {
    return false;
  }
  const std::int64_t size = SizeOf(file);
  const std::int64_t pixels = PixelCount(file);
  if (pixels == 0 || IsTooMuch(pixels, size)) {
    return false;
  }
  // Some devices fill the last block up, so the end is looked for in as much; within compressed data it does not occur.
  BYTE tail[512];
  constexpr BYTE kEnd[] = {0xFF, 0xD9};
  const DWORD count = ReadAt(file, std::max<std::int64_t>(0, size - std::int64_t{sizeof tail}), tail);
  return std::search(tail, tail + count, kEnd, kEnd + sizeof kEnd) != tail + count;
}

}  // namespace scanning
