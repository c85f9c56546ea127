// The words for controls that show a picture: their names for assistive technology, and the tool buttons' tips.
#include <windows.h>

#include <commctrl.h>

#include <cstddef>

#include "core/settings_catalogue.h"
#include "platform/module_state.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// What every version of the class takes; the member after it came with version 6.
constexpr UINT kToolInfoSize = offsetof(TTTOOLINFOW, lParam) + sizeof(LPARAM);

// Tells the tips about a tool button: the button itself, and the place of a disabled one, whose pointer messages the
// platform gives to the dialog.
void SendTip(HWND tips, UINT message, HWND dialog, int control, int stringId) {
  LocalText text(stringId);
  const HWND button = GetDlgItem(dialog, control);
  TTTOOLINFOW tip = {};
  tip.cbSize = kToolInfoSize;
  tip.hwnd = dialog;
  tip.lpszText = text.characters;
  tip.uFlags = TTF_SUBCLASS | TTF_IDISHWND;
  tip.uId = reinterpret_cast<UINT_PTR>(button);
  SendMessageW(tips, message, 0, reinterpret_cast<LPARAM>(&tip));
  tip.uFlags = TTF_SUBCLASS;
  tip.uId = static_cast<UINT_PTR>(control);
  GetWindowRect(button, &tip.rect);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&tip.rect), 2);
  SendMessageW(tips, message, 0, reinterpret_cast<LPARAM>(&tip));
}

}  // namespace

void SCAN_DIALOG::SetSpokenNames() {
  for (const settings::Label& name : settings::kSpokenNames) {
    SetDlgItemTextW(m_hDlg, name.control, LocalText(name.stringId).characters);
  }
  // The template's symbolic names are for nobody's ears. Not by SetWindowText: Wine 8's frames refuse it.
  for (const int frame : {IDC_SETTINGS_FRAME, IDC_PREVIEW_FRAME}) {
    DefWindowProcW(GetDlgItem(m_hDlg, frame), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L""));
  }
  // The text of a drop-down list is its current entry; its name is that of the label before it, which may be hidden.
  const HWND label = CreateWindowExW(0, L"STATIC", LocalText(IDS_ZOOM).characters, WS_CHILD, 0, 0, 0, 0, m_hDlg,
                                     nullptr, g_hInstance, nullptr);
  SetWindowPos(label, GetWindow(GetDlgItem(m_hDlg, IDC_ZOOM_LIST), GW_HWNDPREV), 0, 0, 0, 0,
               SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
}

void SCAN_DIALOG::CreateToolTips() {
  // An owned window is not laid out as its owner is.
  const DWORD layout = m_bRightToLeft ? WS_EX_LAYOUTRTL : 0;
  m_hwndToolTips =
      CreateWindowExW(layout, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, CW_USEDEFAULT,
                      CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, m_hDlg, nullptr, g_hInstance, nullptr);
  const settings::Label tips[] = {{IDC_TOOL_SELECT, IDS_SELECT_AREA},
                                  {IDC_TOOL_ZOOM, IDS_ZOOM_IN},
                                  {IDC_TOOL_ROTATE, IDS_ROTATE},
                                  {IDC_TOOL_PAN, IDS_MOVE}};
  for (const settings::Label& tip : tips) {
    SendTip(m_hwndToolTips, TTM_ADDTOOLW, m_hDlg, tip.control, tip.stringId);
  }
}

void SCAN_DIALOG::UpdateZoomTip() {
  SendTip(m_hwndToolTips, TTM_UPDATETIPTEXTW, m_hDlg, IDC_TOOL_ZOOM, m_bZoomIn != 0 ? IDS_ZOOM_IN : IDS_ZOOM_OUT);
}
