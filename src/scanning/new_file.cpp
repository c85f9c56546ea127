#include "scanning/new_file.h"

#include <shlwapi.h>

#include <iterator>
#include <string>

#include <strsafe.h>

namespace scanning {
namespace {

// "name (number).ext"; the path itself for 1.
HRESULT NumberedPath(const wchar_t* path, int number, wchar_t* numbered) {
  if (number < 2) {
    return StringCchCopyW(numbered, MAX_PATH, path);
  }
  const wchar_t* extension = PathFindExtensionW(path);
  const std::wstring suffix = L" (" + std::to_wstring(number) + L")";
  HRESULT result = StringCchCopyNW(numbered, MAX_PATH, path, static_cast<std::size_t>(extension - path));
  if (SUCCEEDED(result)) {
    result = StringCchCatW(numbered, MAX_PATH, suffix.c_str());
  }
  return SUCCEEDED(result) ? StringCchCatW(numbered, MAX_PATH, extension) : result;
}

}  // namespace

HRESULT CreateNewFile(const wchar_t* path, int firstNumber, NewFile* file) {
  // SHCreateStreamOnFileEx hands its attributes on as CreateFile's flags and attributes. With the flag a link is not
  // followed: one whose target is missing would otherwise create the target.
  constexpr DWORD kAttributes = FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT;
  for (file->number = firstNumber;; ++file->number) {
    HRESULT result = NumberedPath(path, file->number, file->path);
    if (FAILED(result)) {
      return result;
    }
    result = SHCreateStreamOnFileEx(file->path, STGM_READWRITE | STGM_SHARE_DENY_WRITE, kAttributes, TRUE, nullptr,
                                    &file->stream);
    if (result != HRESULT_FROM_WIN32(ERROR_FILE_EXISTS)) {
      // A success other than S_OK made no stream that could be relied upon.
      return result == S_OK || FAILED(result) ? result : E_FAIL;
    }
  }
}

}  // namespace scanning
