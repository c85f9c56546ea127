#include "platform/registry_reader.h"

#include <algorithm>

#include "platform/scoped.h"

bool IsWow64() {
  // 32-bit Windows without 64-bit support lacks it.
  const auto isWow64Process = platform::LoadedFunction<BOOL(WINAPI*)(HANDLE, PBOOL)>(L"kernel32", "IsWow64Process");
  BOOL wow64 = FALSE;
  return isWow64Process != nullptr && isWow64Process(GetCurrentProcess(), &wow64) && wow64;
}

REGSAM RegistryReadAccess() { return IsWow64() ? KEY_READ | KEY_WOW64_64KEY : KEY_READ; }

DWORD GetRegValueString(HKEY key, const wchar_t* name, wchar_t* value) {
  value[0] = L'\0';
  HKEY opened = nullptr;
  if (RegOpenKeyExW(key, L"", 0, RegistryReadAccess(), &opened) != ERROR_SUCCESS) {
    return 0;
  }
  const platform::RegistryKey reader(opened);

  DWORD bytes = MAX_PATH * sizeof(wchar_t);
  if (RegQueryValueExW(reader.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(value), &bytes) != ERROR_SUCCESS) {
    bytes = 0;
  }
  // The registry does not promise a terminator.
  value[std::min<std::size_t>(bytes / sizeof(wchar_t), MAX_PATH - 1)] = L'\0';
  return bytes;
}
