// The pane's two scroll bars.

#include <algorithm>
#include <cstdint>
#include <optional>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// The position after a request, which both bars number alike; nothing when it is unknown or changes nothing.
std::optional<int> ScrolledPosition(const SCROLLINFO& bar, WPARAM wParam) {
  constexpr int kLineStep = 10;  // image pixels, whatever the scale
  std::int64_t step = 0;
  switch (LOWORD(wParam)) {
    case SB_LINELEFT:
      step = -kLineStep;
      break;
    case SB_LINERIGHT:
      step = kLineStep;
      break;
    case SB_PAGELEFT:
      step = -std::int64_t{bar.nPage};
      break;
    case SB_PAGERIGHT:
      step = bar.nPage;
      break;
    case SB_THUMBTRACK:
      step = std::int64_t{HIWORD(wParam)} - bar.nPos;
      break;
    case SB_LEFT:
      return 0;
    case SB_RIGHT:
      return bar.nMax;
    default:
      break;
  }
  if (step == 0) {
    return std::nullopt;
  }
  const std::int64_t moved = bar.nPos < bar.nMax ? bar.nPos + step : bar.nPos;
  return static_cast<int>(std::clamp<std::int64_t>(moved, -preview::kCoordinateLimit, preview::kCoordinateLimit));
}

}  // namespace

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
  const std::optional<int> position = ScrolledPosition(info, wParam);
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
