// Prints how much time and memory the dialog takes, each figure against something measured in the same run.
// scripts/bench runs it: scan_bench FOLDER GROUP... with the groups preview, files and feeder, or
// scan_bench FOLDER peak PAGE EDIT.
#include "bench/bench.h"

#include <shellapi.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>

#include "platform/module_state.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "simulator/gdiplus_session.h"

namespace bench {
namespace {

constexpr UINT kRunScript = WM_APP + 0x77;

int g_missed = 0;
int g_unmeasured = 0;

// Of sorted values, between the two nearest.
double Quantile(const std::vector<double>& sorted, double part) {
  const double place = part * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (sorted[above] - sorted[below]) * (place - static_cast<double>(below));
}

int Run(const std::vector<std::wstring>& arguments) {
  if (arguments.size() < 2) {
    std::fputs("usage: scan_bench FOLDER GROUP...\n", stderr);
    return 2;
  }
  g_hInstance = LoadLibraryW(L"WiaScanDialog.dll");  // beside the program
  if (g_hInstance == nullptr) {
    std::fputs("WiaScanDialog.dll does not load\n", stderr);
    return 1;
  }
  const auto wanted = [&](const wchar_t* group) {
    return std::find(arguments.begin() + 1, arguments.end(), group) != arguments.end();
  };
  const std::vector<Page> pages = MakePages(arguments[0]);
  if (arguments[1] == L"peak" && arguments.size() == 4) {
    MeasurePeak(FindPage(pages, std::filesystem::path(arguments[2]).string()), arguments[3], arguments[0]);
  }
  if (wanted(L"preview")) {
    MeasurePreview(pages, arguments[0]);
  }
  if (wanted(L"files")) {
    MeasureFiles(pages, arguments[0]);
  }
  if (wanted(L"feeder")) {
    MeasureFeeder(arguments[0]);
  }
  if (g_unmeasured > 0) {
    return 1;
  }
  return g_missed == 0 ? 0 : 3;
}

}  // namespace

double Seconds(const Action& action) {
  LARGE_INTEGER frequency = {};
  LARGE_INTEGER start = {};
  LARGE_INTEGER end = {};
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  action();
  QueryPerformanceCounter(&end);
  return static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
}

std::vector<double> Compare(int rounds, const Side& ours, const Side& other, const Action& settle) {
  std::vector<double> ratios;
  for (int i = 0; i < rounds; ++i) {
    double seconds[2] = {};
    for (const bool isOurs : {i % 2 == 0, i % 2 != 0}) {
      seconds[isOurs] = isOurs ? ours(i) : other(i);
      settle();
    }
    ratios.push_back(seconds[true] / seconds[false]);
  }
  return ratios;
}

void PrintFigure(const std::string& figure, const std::string& against, std::vector<double> values, double target) {
  if (values.empty() || !std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); })) {
    std::printf("%-46s | %-38s | FAILED: no measurement\n", figure.c_str(), against.c_str());
    ++g_unmeasured;
    return;
  }
  std::sort(values.begin(), values.end());
  const double median = Quantile(values, 0.5);
  std::printf("%-46s | %-38s | %7.3f | %6.3f - %6.3f | %5zu | ", figure.c_str(), against.c_str(), median,
              Quantile(values, 0.25), Quantile(values, 0.75), values.size());
  if (target == kNoTarget) {
    std::printf("reported\n");
  } else {
    std::printf("%.2f %s\n", target, median <= target ? "met" : "MISSED");
    g_missed += median > target;
  }
  std::fflush(stdout);
}

INT_PTR BenchDialog::OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  const INT_PTR result = SCAN_DIALOG::OnInitDialog(hDlg, wParam, lParam);
  PostMessageW(hDlg, kRunScript, 0, 0);
  return result;
}

INT_PTR BenchDialog::OnAppMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == kRunScript) {
    harness::HandleMessages(hDlg);
    m_script(*this);
    EndDialog(hDlg, IDCANCEL);
  }
  return SCAN_DIALOG::OnAppMessage(hDlg, message, wParam, lParam);
}

void BenchDialog::Run(DEVICEDIALOGDATA2& request, const Script& script) {
  const simulator::GdiplusSession gdiplus;
  m_script = script;
  DoModal(&request);
  delete g_pLangResource;
  g_pLangResource = nullptr;
}

}  // namespace bench

int main() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  int count = 0;
  const platform::Unique<wchar_t**, &LocalFree> list(CommandLineToArgvW(GetCommandLineW(), &count));
  try {
    return bench::Run({list.get() + 1, list.get() + count});
  } catch (const std::exception& problem) {
    std::fputs(problem.what(), stderr);
    return 1;
  }
}
