// What the groups of figures share: the pages, measuring two sides against each other, the table, and the real dialog.
#pragma once

#include <windows.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "scan_dialog/scan_dialog.h"
#include "tests/support/simulated_user.h"

namespace bench {

constexpr double kMillimetresPerInch = 25.4;

struct Page {
  std::string name;   // for example "A4 300 dpi, noise"
  std::wstring file;  // a JPEG of it, not to be changed
  int widthMm = 0;
  int heightMm = 0;
  int dpi = 0;
};

// With photographic noise all over, which is dear to code, and one with text and drawings ("easy"). Made in the folder
// where they are missing.
std::vector<Page> MakePages(const std::wstring& folder);
const Page& FindPage(std::span<const Page> pages, const std::string& name);

using Action = std::function<void()>;
double Seconds(const Action& action);

// One side of a comparison: does what is measured in a round and answers the seconds.
using Side = std::function<double(int round)>;
inline Side Whole(Action action) {
  return [action = std::move(action)](int) { return Seconds(action); };
}

// The ratios of two sides, measured in turn, the first of the two changing places from round to round: what disturbs
// the machine disturbs both. `settle` runs after each, unmeasured.
std::vector<double> Compare(int rounds, const Side& ours, const Side& other, const Action& settle = [] {});

// The most that a median may be; kNoTarget: the figure is only reported.
inline constexpr double kNoTarget = 0.0;

// One line: the median, the middle half and the number of the values. None, or one that is not finite: what was to be
// measured failed.
void PrintFigure(const std::string& figure, const std::string& against, std::vector<double> values, double target);

// The real dialog, run for a script inside its message loop.
class BenchDialog : public SCAN_DIALOG {
 public:
  using Script = std::function<void(BenchDialog&)>;

  using BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_hDlg;
  using SCAN_DIALOG::DrawPreviewImage, SCAN_DIALOG::m_dZoom, SCAN_DIALOG::m_nScrollX;
  using SCAN_DIALOG::m_nScrollY, SCAN_DIALOG::m_rcPane, SCAN_DIALOG::m_wstrPreviewFile, SCAN_DIALOG::TransferImage;

  INT_PTR OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) override;
  INT_PTR OnAppMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) override;

  // Runs the dialog modally with GDI+ of its own, as a client's call does, until the script, called once everything is
  // shown, returns.
  void Run(DEVICEDIALOGDATA2& request, const Script& script);

 private:
  Script m_script;
};

void MeasurePreview(std::span<const Page> pages, const std::wstring& folder);
void MeasureFiles(std::span<const Page> pages, const std::wstring& folder);
void MeasureFeeder(const std::wstring& folder);

// One figure, for a process that does nothing else: the peak of memory while a page is "turned", turned and "cut" by
// its margins, or by "half" of it.
void MeasurePeak(const Page& page, const std::wstring& edit, const std::wstring& folder);

}  // namespace bench
