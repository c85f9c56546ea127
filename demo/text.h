// Text between the platform's UTF-16 and the UTF-8 of files and outputs. Other bytes than UTF-8 become marks.
#pragma once

#include <windows.h>

#include <string>

namespace simulator {

inline std::string Narrowed(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  std::string narrow(text.size() * 3, '\0');
  narrow.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, narrow.data(),
                                                             static_cast<int>(narrow.size()), nullptr, nullptr)));
  return narrow;
}

inline std::wstring Widened(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), length, wide.data(), length)));
  return wide;
}

}  // namespace simulator
