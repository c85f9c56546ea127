// The real dialog, run for a script inside its message loop, and what the groups of figures are called.
#pragma once

#include <windows.h>

#include <functional>
#include <span>
#include <string>

#include "bench/pages.h"
#include "scan_dialog/scan_dialog.h"
#include "tests/support/simulated_user.h"

namespace bench {

class BenchDialog : public SCAN_DIALOG {
 public:
  using Script = std::function<void(BenchDialog&)>;

  using BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_hDlg;
  using SCAN_DIALOG::DrawPreviewImage, SCAN_DIALOG::m_bZoomIn, SCAN_DIALOG::m_dZoom, SCAN_DIALOG::m_nScrollX;
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
void MeasureOpening(const std::wstring& library);
void MeasureFeeder(const std::wstring& folder);

// The peak of memory over the start while one page is turned and cut; for a process that does nothing else. Pages of
// 4096 bytes.
int PeakOfProcessing(const std::wstring& file);

}  // namespace bench
