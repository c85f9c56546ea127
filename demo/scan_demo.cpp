#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <exception>

#include "demo/application.h"
#include "demo/text.h"
#include "platform/scoped.h"

namespace {

void Print(std::FILE* file, const std::wstring& line) {
  std::fputs((simulator::Narrowed(line) + "\n").c_str(), file);
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
