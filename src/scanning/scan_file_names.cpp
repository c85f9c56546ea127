#include "scanning/scan_file_names.h"

#include <cwchar>
#include <iterator>
#include <strsafe.h>

namespace scanning {
namespace {

constexpr wchar_t kExtension[] = L".JPG";

bool TemporaryFolder(wchar_t* folder) {
  DWORD length = GetTempPathW(MAX_PATH, folder);
  if (length == 0 || length >= MAX_PATH) {
    length = GetWindowsDirectoryW(folder, MAX_PATH);
  }
  return length != 0 && length < MAX_PATH;
}

HRESULT LastError() {
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

}  // namespace

HRESULT MakeDestinationPath(const wchar_t* folder, const wchar_t* fileName, wchar_t* path) {
  path[0] = L'\0';
  if (folder == nullptr || folder[0] == L'\0') {
    return E_INVALIDARG;
  }
  HRESULT result = StringCchCopyW(path, MAX_PATH, folder);
  if (SUCCEEDED(result) && path[std::wcslen(path) - 1] != L'\\') {
    result = StringCchCatW(path, MAX_PATH, L"\\");
  }
  if (SUCCEEDED(result) && fileName != nullptr) {
    result = StringCchCatW(path, MAX_PATH, fileName);
  }
  if (SUCCEEDED(result)) {
    result = StringCchCatW(path, MAX_PATH, kExtension);
  }
  return result;
}

PreviewFileName::~PreviewFileName() {
  if (m_placeholder[0] != L'\0') {
    DeleteFileW(m_placeholder);
  }
}

HRESULT PreviewFileName::Make() {
  wchar_t folder[MAX_PATH] = {};
  if (!TemporaryFolder(folder)) {
    return LastError();
  }
  if (GetTempFileNameW(folder, L"RVX", 0, m_placeholder) == 0) {
    m_placeholder[0] = L'\0';
    return LastError();
  }
  StringCchCopyW(m_path, MAX_PATH, m_placeholder);
  const std::size_t length = std::wcslen(m_path);
  StringCchCopyW(m_path + length - 3, 4, L"JPG");
  return S_OK;
}

}  // namespace scanning
