// The pop-up menus of the zoom and rotate buttons. The chosen item arrives as an ordinary command.

#include <windowsx.h>

#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// All four edges of the window count as inside.
bool IsOnControl(HWND hDlg, int control, POINT screen) {
  RECT window = {};
  return GetWindowRect(GetDlgItem(hDlg, control), &window) && screen.x >= window.left && screen.x <= window.right &&
         screen.y >= window.top && screen.y <= window.bottom;
}

}  // namespace

INT_PTR SCAN_DIALOG::OnContextMenu(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  // Signed: a monitor left of or above the primary one has negative coordinates.
  POINT screen = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
  RECT focused = {};
  if (screen.x == -1 && screen.y == -1 && GetWindowRect(reinterpret_cast<HWND>(wParam), &focused)) {
    screen = {focused.left, focused.top};  // by the keyboard: no place, but the control that has the focus
  }
  if (IsOnControl(hDlg, IDC_TOOL_ZOOM, screen)) {
    ShowZoomMenu(hDlg);
  } else if (IsOnControl(hDlg, IDC_TOOL_ROTATE, screen)) {
    ShowRotateMenu(hDlg);
  }
  return 1;
}

void SCAN_DIALOG::ShowZoomMenu(HWND hDlg) {
  ShowToolMenu(hDlg, IDM_ZOOM_MENU, IDC_TOOL_ZOOM, m_bZoomIn != 0 ? IDM_ZOOM_IN : IDM_ZOOM_OUT);
}

void SCAN_DIALOG::ShowRotateMenu(HWND hDlg) { ShowToolMenu(hDlg, IDM_ROTATE_MENU, IDC_TOOL_ROTATE, 0); }

void SCAN_DIALOG::ShowToolMenu(HWND hDlg, int menu, int button, int checkedItem) {
  RECT window = {};
  if (!GetWindowRect(GetDlgItem(hDlg, button), &window)) {
    return;
  }
  const platform::Menu resource(LoadMenuW(m_hInstance, MAKEINTRESOURCEW(menu)));
  const HMENU popup = resource != nullptr ? GetSubMenu(resource.get(), 0) : nullptr;
  if (popup == nullptr) {
    return;
  }
  if (checkedItem != 0) {
    CheckMenuItem(popup, static_cast<UINT>(checkedItem), MF_CHECKED);  // the resource has no item checked
  }
  TrackPopupMenu(popup, 0, window.left, window.bottom, 0, hDlg, nullptr);
}
