#include "scanning/jpeg_file.h"

#include <windows.h>

#include "core/jpeg_header.h"
#include "platform/scoped.h"

namespace scanning {
namespace {

class FileBytes final : public ByteSource {
 public:
  // Reads nothing when the file can't be opened.
  explicit FileBytes(const wchar_t* path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE opened = CreateFileW(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    m_file.reset(opened != INVALID_HANDLE_VALUE ? opened : nullptr);
  }

  std::int64_t Size() const override {
    LARGE_INTEGER size = {};
    return m_file != nullptr && GetFileSizeEx(m_file.get(), &size) ? size.QuadPart : 0;
  }

  std::size_t ReadAt(std::int64_t offset, std::span<std::uint8_t> bytes) const override {
    LARGE_INTEGER position = {};
    position.QuadPart = offset;
    DWORD count = 0;
    if (m_file == nullptr || !SetFilePointerEx(m_file.get(), position, nullptr, FILE_BEGIN) ||
        !ReadFile(m_file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr)) {
      return 0;
    }
    return count;
  }

 private:
  platform::Unique<HANDLE, &CloseHandle> m_file;
};

}  // namespace

bool ClaimsTooMuch(const wchar_t* path) {
  const FileBytes file(path);
  const std::int64_t pixels = ClaimedPixels(file);
  return BeginsAsJpeg(file) && (pixels == 0 || IsTooMuch(pixels, file.Size()));
}

bool IsWholeJpeg(const wchar_t* path) { return CanBeWholeJpeg(FileBytes(path)); }

}  // namespace scanning
