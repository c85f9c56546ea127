#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <exception>

#include "demo/application.h"
#include "platform/scoped.h"

namespace {

void Print(std::FILE* file, const std::wstring& line) {
  const int length = static_cast<int>(line.size());
  std::string text(line.size() * 3, '\0');
  text.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, line.c_str(), length, text.data(),
                                                           static_cast<int>(text.size()), nullptr, nullptr)));
  std::fputs((text + "\n").c_str(), file);
  std::fflush(file);
}

std::vector<std::wstring> Arguments() {
  int count = 0;
  const platform::Unique<wchar_t**, &LocalFree> list(CommandLineToArgvW(GetCommandLineW(), &count));
  return list == nullptr ? std::vector<std::wstring>() : std::vector<std::wstring>(list.get() + 1, list.get() + count);
}

}  // namespace

int main() {
  try {
    return simulator::RunDemo(Arguments(), {[](const std::wstring& line) { Print(stdout, line); },
                                            [](const std::wstring& line) { Print(stderr, line); }});
  } catch (const std::exception& problem) {
    std::fputs(problem.what(), stderr);
    return 1;
  }
}
