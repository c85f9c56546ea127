// Prints how much time and memory the dialog takes, each figure against something measured in the same run.
// scripts/bench runs it: scan_bench FOLDER [preview] [files] [opening] [feeder], all without a choice.
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/bench_dialog.h"
#include "bench/measure.h"
#include "platform/module_instance.h"
#include "platform/scoped.h"

namespace {

std::wstring LibraryBesideProgram() {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return (std::filesystem::path(program).parent_path() / L"WiaScanDialog.dll").wstring();
}

int Run(const std::vector<std::wstring>& arguments) {
  if (arguments.size() == 2 && arguments[0] == L"--peak") {
    return bench::PeakOfProcessing(arguments[1]);
  }
  if (arguments.empty()) {
    std::fputs("usage: scan_bench FOLDER [preview] [files] [opening] [feeder]\n", stderr);
    return 2;
  }
  const std::wstring library = LibraryBesideProgram();
  g_hInstance = LoadLibraryW(library.c_str());
  if (g_hInstance == nullptr) {
    std::fputs("WiaScanDialog.dll does not load\n", stderr);
    return 1;
  }
  const auto wanted = [&](const wchar_t* group) {
    return arguments.size() == 1 || std::find(arguments.begin() + 1, arguments.end(), group) != arguments.end();
  };
  const std::wstring& folder = arguments[0];
  const std::vector<bench::Page> pages = bench::MakePages(folder);
  bench::PrintHeading();
  if (wanted(L"preview")) {
    bench::MeasurePreview(pages, folder);
  }
  if (wanted(L"files")) {
    bench::MeasureFiles(pages, folder);
  }
  if (wanted(L"opening")) {
    bench::MeasureOpening(library);
  }
  if (wanted(L"feeder")) {
    bench::MeasureFeeder(folder);
  }
  if (bench::UnmeasuredFigures() > 0) {
    return 1;
  }
  return bench::MissedTargets() == 0 ? 0 : 3;
}

}  // namespace

int main() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  int count = 0;
  const platform::Unique<wchar_t**, &LocalFree> list(CommandLineToArgvW(GetCommandLineW(), &count));
  try {
    return Run({list.get() + 1, list.get() + count});
  } catch (const std::exception& problem) {
    std::fputs(problem.what(), stderr);
    return 1;
  }
}
