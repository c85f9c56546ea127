// The pane's two scroll bars.

#include <optional>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

void SCAN_DIALOG::OnHScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  ScrollAxis(hDlg, wParam, lParam, IDC_HORIZONTAL_SCROLL, m_siHorz, m_nScrollX, PreviewDrawMode::DrawScrollX);
}

void SCAN_DIALOG::OnVScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  ScrollAxis(hDlg, wParam, lParam, IDC_VERTICAL_SCROLL, m_siVert, m_nScrollY, PreviewDrawMode::DrawScrollY);
}

void SCAN_DIALOG::ScrollAxis(HWND hDlg, WPARAM wParam, LPARAM lParam, int scrollBar, SCROLLINFO& info, int& offset,
                             PreviewDrawMode mode) {
  // Any request ends a drag as a button release would, also the ones that scroll nothing.
  m_bButtonDown = false;
  OnLButtonUp(hDlg, wParam, lParam);
  const preview::ScrollBarState bar = {info.nPos, info.nMax, info.nPage};
  const std::optional<std::int32_t> position = preview::ScrolledPosition(LOWORD(wParam), bar, HIWORD(wParam));
  if (!position) {
    return;
  }
  info.nPos = *position;
  SetScrollInfo(GetDlgItem(hDlg, scrollBar), SB_CTL, &info, TRUE);
  info.nPos =
      preview::SettleScroll(mode == PreviewDrawMode::DrawScrollX ? HorizontalView() : VerticalView(), *position);
  offset = info.nPos;
  EraseSelectionFrame(hDlg);
  DrawPreviewImage(hDlg, 0, 0, mode, m_dZoom);
  DrawSelectionFrame(hDlg);
  UpdateWindow(hDlg);
}
