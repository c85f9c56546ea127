// Everything that happens between the dialog's creation and its first appearance.
#include <windows.h>

#include <commctrl.h>

#include <algorithm>
#include <iterator>

#include "core/settings_catalogue.h"
#include "platform/module_state.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"

namespace {

// Pixels at 96 dpi.
constexpr int kStatusIconSize = 16;
constexpr int kCursorIconSize = 16;
constexpr int kCursorSize = 32;
constexpr int kToolIconSize = 20;
constexpr int kStatusPartWidth = 150;

// True when the user measures in inches. LOCALE_IMEASURE is "0" for metric and "1" for the United States system.
bool UsesInches() {
  DWORD system = 0;
  GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IMEASURE | LOCALE_RETURN_NUMBER, reinterpret_cast<LPWSTR>(&system),
                 sizeof(system) / sizeof(wchar_t));
  return system == 1;
}

BOOL CALLBACK AddReadingOrder(HWND child, LPARAM /*parameter*/) {
  SetWindowLongPtrW(child, GWL_EXSTYLE, GetWindowLongPtrW(child, GWL_EXSTYLE) | WS_EX_RTLREADING);
  return TRUE;
}

HCURSOR LoadDialogCursor(int id, int size) {
  return static_cast<HCURSOR>(LoadImageW(g_hInstance, MAKEINTRESOURCEW(id), IMAGE_CURSOR, size, size, LR_DEFAULTCOLOR));
}

// A mirrored window counts client coordinates from its right edge and mirrors images. The pane and its scroll bar show
// the page, which is never mirrored; on a tool button, a clockwise arrow would turn into a counter-clockwise one.
void DropPaneMirroring(HWND hDlg) {
  for (const int control :
       {IDC_PREVIEW_PANE, IDC_HORIZONTAL_SCROLL, IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_ROTATE, IDC_TOOL_PAN}) {
    const HWND window = GetDlgItem(hDlg, control);
    SetWindowLongPtrW(window, GWL_EXSTYLE, GetWindowLongPtrW(window, GWL_EXSTYLE) & ~WS_EX_LAYOUTRTL);
  }
}

}  // namespace

INT_PTR SCAN_DIALOG::OnInitDialog(HWND hDlg, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  m_nDensity = GetDeviceCaps(platform::WindowDC(hDlg).get(), LOGPIXELSX);
  m_bInch = UsesInches() ? 1 : 0;
  ReadFeederCapability();
  ReadResolutionCapability();
  if (m_bRightToLeft) {
    EnumChildWindows(hDlg, AddReadingOrder, 0);
  }
  for (const settings::Label& label : settings::kLabels) {
    g_pLangResource->SetControlText(hDlg, static_cast<UINT>(label.stringId), label.control);
  }
  FillLists();
  TakeOtherControls();
  ReadDeviceIdentity();
  SetDefaults();
  CreateStatusBar();
  if (m_bRightToLeft) {
    DropPaneMirroring(hDlg);
  }
  TakePaneRectangle();
  LoadPaneCursors();
  SetToolIcon(m_hwndToolSelect, IDI_TOOL_SELECT);
  SetToolIcon(m_hwndToolZoom, IDI_ZOOM_IN);
  SetToolIcon(m_hwndToolRotate, IDI_ROTATE_RIGHT);
  SetToolIcon(m_hwndToolPan, IDI_PAN);
  SetSpokenNames();
  CreateToolTips();
  FillZoomList();
  DisableControl(hDlg, IDC_TOOL_SELECT);
  DisableControl(hDlg, IDC_TOOL_ZOOM);
  DisableControl(hDlg, IDC_TOOL_PAN);
  return FALSE;
}

void SCAN_DIALOG::FillLists() {
  const auto fill = [this](const settings::SettingList& list) {
    const HWND window = GetDlgItem(m_hDlg, list.control);
    for (const settings::ListEntry& entry : list.entries) {
      if (&list == &settings::kResolution && !settings::IsResolutionOffered(entry, m_bRes400, m_bRes600)) {
        continue;
      }
      // The settings are read by position, so an entry whose string no table holds takes its place with an empty text.
      SendMessageW(window, CB_INSERTSTRING, static_cast<WPARAM>(-1),
                   reinterpret_cast<LPARAM>(entry.text != nullptr ? entry.text : LocalText(entry.stringId).characters));
    }
    return window;
  };
  m_hwndOriginalSize = fill(settings::kOriginalSize);
  m_hwndPlacement = fill(settings::kPlacement);
  m_hwndFeedMethod = fill(settings::kFeedMethod);
  m_hwndQuality = fill(settings::kOriginalQuality);
  m_hwndScanMethod = fill(settings::kScanMethod);
  m_hwndSendSize = fill(settings::kSendSize);
  m_hwndScanColor = fill(settings::kScanColor);
  m_hwndResolution = fill(settings::kResolution);
}

void SCAN_DIALOG::TakeOtherControls() {
  m_hwndBrightness = GetDlgItem(m_hDlg, IDC_BRIGHTNESS);
  SendMessageW(m_hwndBrightness, TBM_SETRANGEMIN, TRUE, settings::kBrightnessMinimum);
  SendMessageW(m_hwndBrightness, TBM_SETRANGEMAX, TRUE, settings::kBrightnessMaximum);
  // Wine 8 keeps the thumb where it was in the old range until the position changes.
  SendMessageW(m_hwndBrightness, TBM_SETPOS, FALSE, settings::kBrightnessMaximum);
  SendMessageW(m_hwndBrightness, TBM_SETPOS, TRUE, settings::kBrightnessDefault);
  m_hwndAutoBrightness = GetDlgItem(m_hDlg, IDC_AUTO_BRIGHTNESS);
  m_hwndReverseImage = GetDlgItem(m_hDlg, IDC_REVERSE_IMAGE);
  m_hwndToolSelect = GetDlgItem(m_hDlg, IDC_TOOL_SELECT);
  m_hwndToolZoom = GetDlgItem(m_hDlg, IDC_TOOL_ZOOM);
  m_hwndToolRotate = GetDlgItem(m_hDlg, IDC_TOOL_ROTATE);
  m_hwndToolPan = GetDlgItem(m_hDlg, IDC_TOOL_PAN);
}

void SCAN_DIALOG::CreateStatusBar() {
  RECT client = {};
  GetClientRect(m_hDlg, &client);
  // Without position and size it docks itself along the bottom edge.
  m_hwndStatusBar =
      CreateWindowExW(0, STATUSCLASSNAMEW, nullptr, WS_CHILD | WS_VISIBLE | CCS_BOTTOM, 0, 0, 0, 0, m_hDlg,
                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(IDC_STATUS_BAR)), g_hInstance, nullptr);
  const int width = Scaled(kStatusPartWidth);
  const int rightEdges[] = {client.right - 2 * width, client.right - width, client.right};
  SendMessageW(m_hwndStatusBar, SB_SETPARTS, std::size(rightEdges), reinterpret_cast<LPARAM>(rightEdges));
  const HICON position = LoadDialogIcon(IDI_AREA_POSITION, kStatusIconSize);
  const HICON size = LoadDialogIcon(IDI_AREA_SIZE, kStatusIconSize);
  SendMessageW(m_hwndStatusBar, SB_SETICON, 1, reinterpret_cast<LPARAM>(position));
  SendMessageW(m_hwndStatusBar, SB_SETICON, 2, reinterpret_cast<LPARAM>(size));
}

void SCAN_DIALOG::TakePaneRectangle() {
  const HWND pane = GetDlgItem(m_hDlg, IDC_PREVIEW_PANE);
  m_wpPane.length = sizeof(m_wpPane);
  GetWindowPlacement(pane, &m_wpPane);
  // Which coordinates a child's placement has is not documented, and in a mirrored window Windows and Wine 8 differ.
  const POINT origin = platform::ClientOrigin(m_hDlg);
  RECT& place = m_wpPane.rcNormalPosition;
  GetWindowRect(pane, &place);
  OffsetRect(&place, -origin.x, -origin.y);
  m_rcPane = {place.left, place.top, place.right, place.bottom};
}

void SCAN_DIALOG::LoadPaneCursors() {
  m_hCurArrow = LoadCursorW(nullptr, IDC_ARROW);
  // No picture would be no pointer.
  const auto orArrow = [this](HCURSOR cursor) { return cursor != nullptr ? cursor : m_hCurArrow; };
  m_cursorCross.reset(LoadDialogCursor(IDC_CURSOR_CROSS, Scaled(kCursorSize)));
  m_cursorSizeNWSE.reset(LoadDialogCursor(IDC_CURSOR_SIZE_NWSE, Scaled(kCursorSize)));
  m_hCurCross = orArrow(m_cursorCross.get());
  m_hCurSizeNWSE = orArrow(m_cursorSizeNWSE.get());
  // The platform takes an icon wherever it takes a cursor.
  m_hCurPan = orArrow(LoadDialogIcon(IDI_PAN, kCursorIconSize));
  m_hCurZoomIn = orArrow(LoadDialogIcon(IDI_ZOOM_IN, kCursorIconSize));
  m_hCurZoomOut = orArrow(LoadDialogIcon(IDI_ZOOM_OUT, kCursorIconSize));
  m_hCurPanning = orArrow(LoadDialogIcon(IDI_PANNING, kCursorIconSize));
}

// The pointer may be one of ours, which go with the dialog.
INT_PTR SCAN_DIALOG::OnDestroy(HWND /*hDlg*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  SetCursor(m_hCurArrow);
  return FALSE;
}

void SCAN_DIALOG::SetToolIcon(HWND button, int icon) {
  SendMessageW(button, BM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(LoadDialogIcon(icon, kToolIconSize)));
}

void SCAN_DIALOG::FillZoomList() {
  const HWND list = GetDlgItem(m_hDlg, IDC_ZOOM_LIST);
  for (const settings::ZoomStep& step : settings::kZoomTable) {
    const LocalText text(step.stringId);
    const LRESULT item = SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.characters));
    SendMessageW(list, CB_SETITEMDATA, static_cast<WPARAM>(item), step.percent);
  }
  SendMessageW(list, CB_SETCURSEL, settings::kZoomDefaultIndex, 0);
}

int SCAN_DIALOG::Scaled(int pixels) const { return std::max(MulDiv(pixels, m_nDensity, kStandardDensity), pixels); }

HICON SCAN_DIALOG::LoadDialogIcon(int id, int pixels) {
  const int size = Scaled(pixels);
  platform::Icon& icon = m_icons[{id, size}];
  if (icon == nullptr) {
    icon.reset(
        static_cast<HICON>(LoadImageW(g_hInstance, MAKEINTRESOURCEW(id), IMAGE_ICON, size, size, LR_DEFAULTCOLOR)));
  }
  return icon.get();
}
