// The pane's two scroll bars.

#include <optional>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

constexpr bool IsNumbered(preview::ScrollRequest request, int horizontalCode, int verticalCode) {
  return static_cast<int>(request) == horizontalCode && horizontalCode == verticalCode;
}
static_assert(IsNumbered(preview::ScrollRequest::LineBack, SB_LINELEFT, SB_LINEUP));
static_assert(IsNumbered(preview::ScrollRequest::LineForward, SB_LINERIGHT, SB_LINEDOWN));
static_assert(IsNumbered(preview::ScrollRequest::PageBack, SB_PAGELEFT, SB_PAGEUP));
static_assert(IsNumbered(preview::ScrollRequest::PageForward, SB_PAGERIGHT, SB_PAGEDOWN));
static_assert(IsNumbered(preview::ScrollRequest::ThumbTrack, SB_THUMBTRACK, SB_THUMBTRACK));
static_assert(IsNumbered(preview::ScrollRequest::ToStart, SB_LEFT, SB_TOP));
static_assert(IsNumbered(preview::ScrollRequest::ToEnd, SB_RIGHT, SB_BOTTOM));

}  // namespace

void SCAN_DIALOG::OnHScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  // Any request ends a drag as a button release would, also the ones that scroll nothing.
  m_bButtonDown = false;
  OnLButtonUp(hDlg, wParam, lParam);
  if (ScrollAxis(hDlg, IDC_HORIZONTAL_SCROLL, wParam, HorizontalView(), m_siHorz, m_nScrollX)) {
    ShowScrolled(hDlg, PreviewDrawMode::DrawScrollX);
  }
}

void SCAN_DIALOG::OnVScroll(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  m_bButtonDown = false;
  OnLButtonUp(hDlg, wParam, lParam);
  if (ScrollAxis(hDlg, IDC_VERTICAL_SCROLL, wParam, VerticalView(), m_siVert, m_nScrollY)) {
    ShowScrolled(hDlg, PreviewDrawMode::DrawScrollY);
  }
}

bool SCAN_DIALOG::ScrollAxis(HWND hDlg, int scrollBar, WPARAM wParam, const preview::AxisView& view, SCROLLINFO& info,
                             int& offset) {
  const preview::ScrollBarState bar = {info.nPos, info.nMax, info.nPage};
  const std::optional<std::int32_t> position = preview::ScrolledPosition(LOWORD(wParam), bar, HIWORD(wParam));
  if (!position) {
    return false;
  }
  info.nPos = *position;
  SetScrollInfo(GetDlgItem(hDlg, scrollBar), SB_CTL, &info, TRUE);
  info.nPos = preview::SettleScroll(view, *position);
  offset = info.nPos;
  return true;
}

void SCAN_DIALOG::ShowScrolled(HWND hDlg, PreviewDrawMode mode) {
  EraseSelectionFrame(hDlg);
  DrawPreviewImage(hDlg, 0, 0, mode, m_dZoom);
  DrawSelectionFrame(hDlg);
  UpdateWindow(hDlg);
}
