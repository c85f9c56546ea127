// Turning and cutting a page's file against other programs that do the same, and the memory that it takes.
#include <windows.h>

#include <psapi.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "bench/bench_dialog.h"
#include "bench/measure.h"
#include "platform/scoped.h"
#include "scanning/image_file.h"
#include "simulator/gdiplus_session.h"

namespace bench {
namespace {

constexpr int kMarginMm = 10;  // cut off all round
constexpr double kMillimetresPerInch = 25.4;

// A quarter turn to the right, and the cut out of the turned page.
ImageEditParams Edit(const Page& page) {
  ImageEditParams params;
  params.rotationType = 2;
  params.hasFrame = 1;
  params.left = kMarginMm;
  params.top = kMarginMm;
  params.right = page.heightMm - kMarginMm;
  params.bottom = page.widthMm - kMarginMm;
  return params;
}

// "WIDTHxHEIGHT+X+Y" of that cut.
std::string Geometry(const Page& page) {
  const auto pixels = [&](int millimetres) {
    return std::to_string(static_cast<int>(millimetres * page.dpi / kMillimetresPerInch));
  };
  return pixels(page.heightMm - 2 * kMarginMm) + "x" + pixels(page.widthMm - 2 * kMarginMm) + "+" + pixels(kMarginMm) +
         "+" + pixels(kMarginMm);
}

std::string Narrow(const std::wstring& text) { return std::filesystem::path(text).filename().string(); }

// This runtime's programs cannot wait for the host's: scripts/bench runs the command in the bench's folder, and
// answers.
void OnHost(const std::string& command) {
  std::printf("run: %s\n", command.c_str());
  std::fflush(stdout);
  char answer[16] = {};
  if (std::fgets(answer, sizeof answer, stdin) == nullptr || std::string(answer).substr(0, 4) != "done") {
    std::fprintf(stderr, "failed: %s\n", command.c_str());
    std::exit(1);
  }
}

void CompareWith(const Page& page, const std::string& program, const std::string& command, const std::string& start,
                 const std::wstring& folder, double target) {
  const std::wstring copy = folder + L"\\turned.jpg";
  const ImageEditParams params = Edit(page);
  const auto renew = [&] { CopyFileW(page.file.c_str(), copy.c_str(), FALSE); };
  BOOL succeeded = TRUE;
  renew();
  std::vector<double> ratios;
  std::vector<double> withStart;
  const int rounds = page.dpi < 300 ? 9 : page.dpi == 300 ? 7 : 5;
  for (int i = 0; i < rounds; ++i) {
    // What the other program needs to start is not counted against it.
    const double starting = Seconds([&] { OnHost(start); });
    const Pair pair = Interleave(
        1, [&] { succeeded = scanning::processImageFile(copy.c_str(), params) && succeeded; }, [&] { OnHost(command); },
        renew)[0];
    ratios.push_back(pair.ours / std::max(pair.other - starting, 1e-6));
    withStart.push_back(pair.ours / pair.other);
  }
  if (!succeeded) {
    ratios.clear();
    withStart.clear();
  }
  PrintFigure("turn and cut, " + page.name, program, ratios, target);
  if (page.dpi <= 75 && target != kNoTarget) {
    PrintFigure("turn and cut, " + page.name, "the same, its start counted", withStart, kNoTarget);
  }
}

double PeakRatio(const Page& page, const std::wstring& folder) {
  const std::wstring copy = folder + L"\\peak.jpg";
  CopyFileW(page.file.c_str(), copy.c_str(), FALSE);
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(program) + L"\" --peak \"" + copy + L"\"";
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
    return INFINITY;
  }
  const platform::Unique<HANDLE, &CloseHandle> handle(process.hProcess);
  const platform::Unique<HANDLE, &CloseHandle> thread(process.hThread);
  DWORD pages = 0;
  WaitForSingleObject(handle.get(), INFINITE);
  GetExitCodeProcess(handle.get(), &pages);
  const double pixels = page.widthMm * page.dpi / kMillimetresPerInch * page.heightMm * page.dpi / kMillimetresPerInch;
  return pages == 0 ? INFINITY : pages * 4096.0 / (pixels * 3);
}

}  // namespace

int PeakOfProcessing(const std::wstring& file) {
  const simulator::GdiplusSession gdiplus;
  PROCESS_MEMORY_COUNTERS before = {};
  PROCESS_MEMORY_COUNTERS after = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &before, sizeof before);
  Page page;
  page.widthMm = page.heightMm = 200;
  if (!scanning::processImageFile(file.c_str(), Edit(page))) {
    return 0;
  }
  GetProcessMemoryInfo(GetCurrentProcess(), &after, sizeof after);
  return static_cast<int>((after.PeakWorkingSetSize - before.WorkingSetSize) / 4096);
}

void MeasureFiles(std::span<const Page> pages, const std::wstring& folder) {
  const simulator::GdiplusSession gdiplus;
  for (const Page& page : pages) {
    std::ostringstream magick;
    std::ostringstream jpegtran;
    magick << "convert-im6 '" << Narrow(page.file) << "' -rotate 90 -crop " << Geometry(page) << " +repage other.jpg";
    jpegtran << "jpegtran -rotate 90 -crop " << Geometry(page) << " -outfile other.jpg '" << Narrow(page.file) << "'";
    CompareWith(page, "ImageMagick, rotate and crop", magick.str(), "convert-im6 xc: null:", folder, 0.9);
    CompareWith(page, "jpegtran, lossless rotate and crop", jpegtran.str(), "jpegtran -version", folder, kNoTarget);
  }
  for (const Page& page : pages) {
    if (page.dpi >= 300) {
      PrintFigure("peak memory of turn and cut, " + page.name, "the decoded image", {PeakRatio(page, folder)}, 2.5);
    }
  }
}

}  // namespace bench
