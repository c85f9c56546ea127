// The selection frame as the user sees it: drawn over the pane with a dotted XOR pen, so that drawing it twice removes
// it, and its place and size in the status bar.

#include "core/readout_format.h"
#include "scan_dialog/scan_dialog.h"

namespace {

constexpr int kPositionPart = 1;
constexpr int kSizePart = 2;

void DrawHollowRectangle(HDC hdc, int penStyle, int rasterOperation, const preview::Rect& rect) {
  const platform::GdiObject pen(CreatePen(penStyle, 1, RGB(0, 0, 0)));
  const platform::SelectedObject selectedPen(hdc, pen.get());
  const platform::SelectedObject selectedBrush(hdc, GetStockObject(NULL_BRUSH));
  const int previousOperation = SetROP2(hdc, rasterOperation);
  Rectangle(hdc, rect.left, rect.top, rect.right, rect.bottom);
  SetROP2(hdc, previousOperation);
}

}  // namespace

void SCAN_DIALOG::InvertFrame(HDC hdc, const preview::Rect& frame) {
  if (hdc == nullptr || !frame.hasArea()) {
    return;
  }
  // The context's opaque white background inverts the pixels between the black dots; the dots leave them alone.
  DrawHollowRectangle(hdc, PS_DOT, R2_XORPEN, frame);
}

void SCAN_DIALOG::DrawPaneBorder(HDC hdc) const {
  if (hdc != nullptr && HasPreview()) {
    DrawHollowRectangle(hdc, PS_SOLID, R2_BLACK, m_rcPane);
  }
}

void SCAN_DIALOG::EraseSelectionFrame(HWND hDlg) {
  if (m_bFrameHidden) {
    return;
  }
  const platform::WindowDC dialog(hDlg);
  InvertFrame(dialog.get(), m_rcFrame);
  DrawPaneBorder(dialog.get());
  m_bFrameHidden = true;
}

void SCAN_DIALOG::DrawSelectionFrame(HWND hDlg) {
  const preview::AxisView horizontal = HorizontalView();
  const preview::AxisView vertical = VerticalView();
  const preview::Rect frame = {
      preview::ClientAt(horizontal, m_rcSelection.left), preview::ClientAt(vertical, m_rcSelection.top),
      preview::ClientAt(horizontal, m_rcSelection.right), preview::ClientAt(vertical, m_rcSelection.bottom)};
  const preview::ClampedFrame clamped = preview::ClampFrame(frame, m_rcPane);
  m_rcFrame = clamped.frame;
  m_ptAnchor = {m_rcFrame.left, m_rcFrame.top};

  const platform::WindowDC dialog(hDlg);
  if (clamped.isVisible) {
    InvertFrame(dialog.get(), m_rcFrame);
    m_bFrameHidden = false;
  }
  DrawPaneBorder(dialog.get());
}

void SCAN_DIALOG::SetStatusText(int part, const wchar_t* text) noexcept {
  SendMessageW(m_hwndStatusBar, SB_SETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
}

void SCAN_DIALOG::UpdateAreaReadout(HWND /*hDlg*/, AreaReadout mode, int left, int top, int width, int height) {
  const preview::LengthUnit unit = m_bInch == 0 ? preview::LengthUnit::Millimetres : preview::LengthUnit::Inches;
  SetStatusText(kPositionPart, preview::PositionText(unit, left, top).c_str());
  if (mode == AreaReadout::PositionAndSize) {
    SetStatusText(kSizePart, preview::SizeText(unit, width, height).c_str());
  }
}

void SCAN_DIALOG::ClearAreaReadout() {
  SetStatusText(kPositionPart, L"");
  SetStatusText(kSizePart, L"");
}
