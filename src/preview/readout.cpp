// The selection frame's place and size in the status bar.

#include <string>

#include "core/readout_format.h"
#include "scan_dialog/scan_dialog.h"

namespace {

constexpr int kPositionPart = 1;
constexpr int kSizePart = 2;

void SetStatusText(HWND statusBar, int part, const wchar_t* text) {
  SendMessageW(statusBar, SB_SETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
}

}  // namespace

void SCAN_DIALOG::UpdateAreaReadout(HWND /*hDlg*/, AreaReadout mode, int left, int top, int width, int height) {
  const preview::LengthUnit unit = m_bInch == 0 ? preview::LengthUnit::Millimetres : preview::LengthUnit::Inches;
  SetStatusText(m_hwndStatusBar, kPositionPart, preview::PositionText(unit, left, top).c_str());
  if (mode == AreaReadout::PositionAndSize) {
    SetStatusText(m_hwndStatusBar, kSizePart, preview::SizeText(unit, width, height).c_str());
  }
}

void SCAN_DIALOG::ClearAreaReadout() {
  SetStatusText(m_hwndStatusBar, kPositionPart, L"");
  SetStatusText(m_hwndStatusBar, kSizePart, L"");
}
