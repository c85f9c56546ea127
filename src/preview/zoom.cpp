// The zoom steps: by the zoom list, and by a click with the zoom tool.

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "core/settings_catalogue.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// The zoom table's end for a scale that is none of its steps.
auto RowOf(double zoom) {
  return std::ranges::find(settings::kZoomTable, preview::PercentOfScale(zoom), &settings::ZoomStep::percent);
}

// The percentage that the zoom list's current item carries; CB_ERR (-1) when there is none.
int ListedPercent(HWND hDlg) {
  const LRESULT index = SendDlgItemMessageW(hDlg, IDC_ZOOM_LIST, CB_GETCURSEL, 0, 0);
  return static_cast<int>(SendDlgItemMessageW(hDlg, IDC_ZOOM_LIST, CB_GETITEMDATA, static_cast<WPARAM>(index), 0));
}

}  // namespace

void SCAN_DIALOG::OnZoomComboChange(HWND hDlg) {
  const int percent = ListedPercent(hDlg);
  if (percent <= 0) {
    return;
  }
  EraseSelectionFrame(hDlg);
  m_dZoom = preview::ScaleOfPercent(percent);
  DrawPreviewImage(hDlg, 0, 0, PreviewDrawMode::DrawZoom, m_dZoom);
  DrawSelectionFrame(hDlg);
  UpdateScrollBars(hDlg, false);
}

void SCAN_DIALOG::SyncZoomCombo(HWND hDlg) {
  const auto row = RowOf(m_dZoom);
  if (row == settings::kZoomTable.end()) {
    return;
  }
  const LocalText text(row->stringId);
  if (text.characters[0] != L'\0' && SendDlgItemMessageW(hDlg, IDC_ZOOM_LIST, CB_SELECTSTRING, 0,
                                                         reinterpret_cast<LPARAM>(text.characters)) != CB_ERR) {
    return;  // it is the current item now; to select it once more would paint the list once more
  }
  // The list is filled in table order, also where a string is missing.
  SendDlgItemMessageW(hDlg, IDC_ZOOM_LIST, CB_SETCURSEL, static_cast<WPARAM>(row - settings::kZoomTable.begin()), 0);
}

void SCAN_DIALOG::ZoomInAt(HWND hDlg) { ZoomStepAt(hDlg, 1); }

void SCAN_DIALOG::ZoomOutAt(HWND hDlg) { ZoomStepAt(hDlg, -1); }

void SCAN_DIALOG::ZoomStepAt(HWND hDlg, int rows) {
  const int x = preview::ImagePixelAt(HorizontalView(), m_ptMouse.x);
  const int y = preview::ImagePixelAt(VerticalView(), m_ptMouse.y);
  const auto& table = settings::kZoomTable;
  const std::ptrdiff_t row = RowOf(m_dZoom) - table.begin();
  const auto next = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(row + rows, 0, std::ssize(table) - 1));
  const int percent = row == std::ssize(table) ? ListedPercent(hDlg) : table[next].percent;
  if (percent <= 0) {
    return;
  }
  const double zoom = preview::ScaleOfPercent(percent);
  EraseSelectionFrame(hDlg);
  DrawPreviewImage(hDlg, static_cast<UINT>(x), static_cast<UINT>(y), PreviewDrawMode::DrawZoomAtPoint, zoom);
  m_dZoom = zoom;
  DrawSelectionFrame(hDlg);
  SyncZoomCombo(hDlg);
}

void SCAN_DIALOG::SetZoomDirection(HWND hDlg, int command) {
  if (command != IDM_ZOOM_IN && command != IDM_ZOOM_OUT) {
    return;
  }
  m_bZoomIn = command == IDM_ZOOM_IN ? 1 : 0;
  SetToolIcon(m_hwndToolZoom, m_bZoomIn != 0 ? IDI_ZOOM_IN : IDI_ZOOM_OUT);
  UpdateZoomTip();
  UpdateWindow(hDlg);
}
