// The selection frame's place and size in the status bar.

#include <string>

#include "preview/readout_format.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

constexpr int POSITION_PART = 1;
constexpr int SIZE_PART = 2;

void SetStatusText(HWND hDlg, int part, const wchar_t* text) {
  ::SendDlgItemMessageW(hDlg, IDC_STATUS_BAR, SB_SETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
}

}  // namespace

void SCAN_DIALOG::UpdateAreaReadout(HWND hDlg, AreaReadout mode, int left, int top, int width, int height) {
  const preview::LengthUnit unit = m_bInch == 0 ? preview::LengthUnit::Millimetres : preview::LengthUnit::Inches;
  SetStatusText(hDlg, POSITION_PART, preview::PositionText(unit, left, top).c_str());
  if (mode == AreaReadout::PositionAndSize) {
    SetStatusText(hDlg, SIZE_PART, preview::SizeText(unit, width, height).c_str());
  }
}

void SCAN_DIALOG::ClearAreaReadout(HWND hDlg) {
  SetStatusText(hDlg, POSITION_PART, L"");
  SetStatusText(hDlg, SIZE_PART, L"");
}
