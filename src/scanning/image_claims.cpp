#include "scanning/image_claims.h"

#include <windows.h>

#include <wincodec.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "core/jpeg_header.h"
#include "platform/scoped.h"
#include "platform/wic.h"

namespace scanning {
namespace {

struct FileStart {
  std::vector<std::uint8_t> bytes;  // empty when the file cannot be read
  std::int64_t fileSize = 0;
};

FileStart ReadStart(const wchar_t* path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const platform::File file = platform::OpenFile(path, GENERIC_READ, kShareAll, OPEN_EXISTING, 0);
  LARGE_INTEGER size = {};
  if (file == nullptr || !GetFileSizeEx(file.get(), &size)) {
    return {};
  }
  FileStart start;
  start.fileSize = size.QuadPart;
  start.bytes.resize(static_cast<std::size_t>(std::min<std::int64_t>(size.QuadPart, page::kLargestHeader)));
  DWORD count = 0;
  if (!ReadFile(file.get(), start.bytes.data(), static_cast<DWORD>(start.bytes.size()), &count, nullptr)) {
    count = 0;
  }
  start.bytes.resize(count);
  return start;
}

// By the platform's codec; 0 when it has none for the file.
std::int64_t PixelsByCodec(const wchar_t* path) {
  const platform::ImageFrame frame = platform::OpenImage(path);
  UINT width = 0;
  UINT height = 0;
  if (frame.pixels == nullptr || FAILED(frame.pixels->GetSize(&width, &height))) {
    return 0;
  }
  return std::int64_t{width} * height;
}

}  // namespace

bool ClaimsTooMuch(const wchar_t* path) {
  const FileStart start = ReadStart(path);
  if (page::BeginsAsJpeg(start.bytes)) {
    const std::int64_t pixels = page::ClaimedPixels(start.bytes);
    return pixels == 0 || page::IsTooMuchForJpeg(pixels, start.fileSize);
  }
  return !start.bytes.empty() && page::IsTooMuch(PixelsByCodec(path), start.fileSize);
}

}  // namespace scanning
