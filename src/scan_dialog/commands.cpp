// What the dialog's buttons, lists and menu items do.
#include <windows.h>

#include <algorithm>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// The area beside the settings lists that shows how the original is fed, in dialog client pixels at 96 dpi.
constexpr RECT kFeedArea = {209, 32, 369, 192};
constexpr int kFeedImageWidth = 150;   // pixels at 96 dpi
constexpr int kFeedImageHeight = 100;  // pixels at 96 dpi

// While a transfer runs, messages can arrive through a nested loop (a device-error box, or the caller's own). What
// would start a second transfer, end the dialog under the first or change what the running one is finished with must
// wait.
constexpr int kRefusedDuringTransfer[] = {IDC_SCAN,         IDC_PREVIEW,     IDCANCEL,
                                          IDC_TOOL_SELECT,  IDC_TOOL_ROTATE, IDM_ROTATE_UPSIDE_DOWN,
                                          IDM_ROTATE_RIGHT, IDM_ROTATE_LEFT};

}  // namespace

INT_PTR SCAN_DIALOG::OnCommand(HWND hDlg, WPARAM wParam, LPARAM /*lParam*/) {
  const int id = LOWORD(wParam);
  if (m_bTransferring && std::ranges::count(kRefusedDuringTransfer, id) != 0) {
    return FALSE;
  }
  switch (id) {
    case IDC_SCAN:
      TransferImage(0);
      EndDialog(hDlg, IDC_SCAN);
      break;
    case IDCANCEL:
      EndDialog(hDlg, IDCANCEL);
      break;
    case IDC_PREVIEW:
      TransferImage(1);
      InvalidateFeedImage(hDlg);
      break;
    case IDC_DEFAULT:
      SetDefaults();
      break;
    case IDC_FEED_METHOD:
    case IDC_PLACEMENT:
      InvalidateFeedArea(hDlg);
      break;
    case IDC_ZOOM_LIST:
      SelectTool(hDlg, 0);
      if (HIWORD(wParam) == CBN_SELCHANGE) {
        OnZoomComboChange(hDlg);
      }
      break;
    case IDC_TOOL_SELECT:
      SelectTool(hDlg, id);
      ClearSelection(hDlg);
      break;
    case IDC_TOOL_ZOOM:
    case IDC_TOOL_PAN:
      SelectTool(hDlg, id);
      break;
    case IDC_TOOL_ROTATE:
      SelectTool(hDlg, id);
      RotatePreview(hDlg, IDM_ROTATE_RIGHT);
      break;
    case IDM_ZOOM_IN:
    case IDM_ZOOM_OUT:
      SetZoomDirection(hDlg, id);
      SelectTool(hDlg, IDC_TOOL_ZOOM);
      break;
    case IDM_ROTATE_UPSIDE_DOWN:
    case IDM_ROTATE_RIGHT:
    case IDM_ROTATE_LEFT:
      RotatePreview(hDlg, id);
      break;
    default:
      // The other settings are read when a transfer needs them.
      break;
  }
  return FALSE;
}

void SCAN_DIALOG::InvalidateFeedArea(HWND hDlg) {
  const RECT area = {Scaled(kFeedArea.left), Scaled(kFeedArea.top), Scaled(kFeedArea.right), Scaled(kFeedArea.bottom)};
  InvalidateRect(hDlg, &area, TRUE);
}

void SCAN_DIALOG::InvalidateFeedImage(HWND hDlg) {
  RECT area = {};
  GetWindowRect(GetDlgItem(hDlg, IDC_FEED_IMAGE), &area);
  area.right = area.left + Scaled(kFeedImageWidth);
  area.bottom = area.top + Scaled(kFeedImageHeight);
  // Both corners in one call, which keeps left and right in order when the dialog is mirrored.
  MapWindowPoints(nullptr, hDlg, reinterpret_cast<POINT*>(&area), 2);
  InvalidateRect(hDlg, &area, FALSE);
}
