#include "dialog/base_dialog.h"

#include <commctrl.h>

#include <cstring>
#include <memory>
#include <new>

#include "platform/module_state.h"
#include "platform/scoped.h"
#include "platform/thread_contexts.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"

namespace {

// exStyle of the DLGTEMPLATEEX header (version, signature and help identifier come first).
constexpr std::size_t kTemplateExstyleOffset = 8;
constexpr DWORD kRightToLeftStyles = WS_EX_LAYOUTRTL | WS_EX_RTLREADING;

struct MessageRoute {
  UINT message;
  INT_PTR (BASE_DIALOG::*handler)(HWND hDlg, WPARAM wParam, LPARAM lParam);
};

constexpr MessageRoute kMessageRoutes[] = {
    {WM_DESTROY, &BASE_DIALOG::OnDestroy},
    {WM_MOVE, &BASE_DIALOG::OnMove},
    {WM_SIZE, &BASE_DIALOG::OnSize},
    {WM_SETFOCUS, &BASE_DIALOG::OnSetFocus},
    {WM_KILLFOCUS, &BASE_DIALOG::OnKillFocus},
    {WM_PAINT, &BASE_DIALOG::OnPaintMessage},
    {WM_CLOSE, &BASE_DIALOG::OnClose},
    {WM_DRAWITEM, &BASE_DIALOG::OnDrawItem},
    {WM_NOTIFY, &BASE_DIALOG::OnNotify},
    {WM_CONTEXTMENU, &BASE_DIALOG::OnContextMenu},
    {WM_NCPAINT, &BASE_DIALOG::OnNcPaint},
    {WM_COMMAND, &BASE_DIALOG::OnCommand},
    {WM_CTLCOLOREDIT, &BASE_DIALOG::OnCtlColorEdit},
    {WM_CTLCOLORLISTBOX, &BASE_DIALOG::OnCtlColorListBox},
    {WM_CTLCOLORBTN, &BASE_DIALOG::OnCtlColorBtn},
    {WM_CTLCOLORDLG, &BASE_DIALOG::OnCtlColorDlg},
    {WM_CTLCOLORSCROLLBAR, &BASE_DIALOG::OnCtlColorScrollBar},
    {WM_CTLCOLORSTATIC, &BASE_DIALOG::OnCtlColorStatic},
};

// Handlers that are told which of several messages it is.
struct RangeRoute {
  UINT first;
  UINT last;
  INT_PTR (BASE_DIALOG::*handler)(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam);
};

constexpr RangeRoute kRangeRoutes[] = {
    {WM_MOUSEACTIVATE, WM_MOUSEACTIVATE, &BASE_DIALOG::OnMouseMessage},
    {WM_NCHITTEST, WM_NCHITTEST, &BASE_DIALOG::OnNcMouseMessage},
    {WM_NCMOUSEMOVE, WM_NCMBUTTONDBLCLK, &BASE_DIALOG::OnNcMouseMessage},
    {WM_LBUTTONDBLCLK, WM_MBUTTONDBLCLK, &BASE_DIALOG::OnMouseMessage},
    {WM_NCMOUSEHOVER, WM_NCMOUSEHOVER, &BASE_DIALOG::OnNcMouseMessage},
    {WM_MOUSEHOVER, WM_MOUSEHOVER, &BASE_DIALOG::OnMouseMessage},
    {WM_NCMOUSELEAVE, WM_NCMOUSELEAVE, &BASE_DIALOG::OnNcMouseMessage},
    {WM_MOUSELEAVE, WM_MOUSELEAVE, &BASE_DIALOG::OnMouseMessage},
    {WM_USER, WM_APP - 1, &BASE_DIALOG::OnUserMessage},
    {WM_APP, 0xBFFF, &BASE_DIALOG::OnAppMessage},
};

}  // namespace

INT_PTR BASE_DIALOG::DoModal(DEVICEDIALOGDATA2* pDeviceDialogData) {
  m_pDeviceDialogData = pDeviceDialogData;
  m_hInstance = g_hInstance;
  const platform::ControlsContext look(g_hInstance);
  const platform::SystemDensity density;
  g_pLangResource = new LANG_RESOURCE(g_hInstance);
  m_bRightToLeft = g_pLangResource->IsRightToLeft();
  g_pLangResource->m_hDialogFont = g_pLangResource->GetDialogFont();
  // The common control classes exist only after this call; without them the dialog cannot be created.
  const INITCOMMONCONTROLSEX classes = {sizeof(classes), ICC_BAR_CLASSES | ICC_USEREX_CLASSES};
  InitCommonControlsEx(&classes);
  return RunDialog(pDeviceDialogData->hwndParent);
}

INT_PTR BASE_DIALOG::RunDialog(HWND owner) {
  const auto parameter = reinterpret_cast<LPARAM>(this);
  const HRSRC found = FindResourceW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), RT_DIALOG);
  const HGLOBAL loaded = found != nullptr ? LoadResource(g_hInstance, found) : nullptr;
  const void* resource = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (resource == nullptr) {
    return DialogBoxParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), owner, StaticDialogProc, parameter);
  }

  // Resources are read-only, and the extended style depends on the language: the dialog is made from a copy.
  const DWORD size = SizeofResource(g_hInstance, found);
  const platform::GlobalBlock copy(GlobalAlloc(GPTR, size));
  if (copy == nullptr) {
    return -1;
  }
  auto* bytes = static_cast<BYTE*>(copy.get());  // GMEM_FIXED: the handle is the address
  std::memcpy(bytes, resource, size);
  if (m_bRightToLeft) {
    DWORD exStyle = 0;
    std::memcpy(&exStyle, bytes + kTemplateExstyleOffset, sizeof(exStyle));
    exStyle |= kRightToLeftStyles;
    std::memcpy(bytes + kTemplateExstyleOffset, &exStyle, sizeof(exStyle));
  }
  return DialogBoxIndirectParamW(g_hInstance, reinterpret_cast<LPCDLGTEMPLATEW>(bytes), owner, StaticDialogProc,
                                 parameter);
}

INT_PTR CALLBACK BASE_DIALOG::StaticDialogProc(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    if (lParam == 0) {
      return FALSE;
    }
    SetWindowLongPtrW(hDlg, GWLP_USERDATA, lParam);
  }
  // Messages such as WM_SETFONT arrive before WM_INITDIALOG, when no object is bound yet.
  auto* dialog = reinterpret_cast<BASE_DIALOG*>(GetWindowLongPtrW(hDlg, GWLP_USERDATA));
  if (dialog == nullptr) {
    return FALSE;
  }
  // No C++ exception may travel through the platform's frames between here and DoModal.
  try {
    return dialog->OnMessage(hDlg, message, wParam, lParam);
  } catch (const std::bad_alloc&) {
    dialog->m_hrHandlerFailure = E_OUTOFMEMORY;
  } catch (...) {
    dialog->m_hrHandlerFailure = E_FAIL;
  }
  EndDialog(hDlg, -1);
  return FALSE;
}

INT_PTR BASE_DIALOG::OnMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) {
  for (const MessageRoute& route : kMessageRoutes) {
    if (message == route.message) {
      return (this->*route.handler)(hDlg, wParam, lParam);
    }
  }
  for (const RangeRoute& route : kRangeRoutes) {
    if (message >= route.first && message <= route.last) {
      return (this->*route.handler)(hDlg, message, wParam, lParam);
    }
  }
  switch (message) {
    case WM_INITDIALOG:
      m_hDlg = hDlg;
      return OnInitDialog(hDlg, wParam, lParam);
    case WM_SHOWWINDOW:
      return wParam != 0 ? OnShowWindow(hDlg, wParam, lParam) : OnHideWindow(hDlg, wParam, lParam);
    case WM_SETCURSOR:
      return ShowBusyPointer(reinterpret_cast<HWND>(wParam));
    default:
      OnInputMessage(message, wParam, lParam);
      return FALSE;
  }
}

// Pointer and scroll bars; their handlers' results do not matter.
void BASE_DIALOG::OnInputMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  const auto sentBy = [this, lParam](int control) {
    return lParam != 0 && reinterpret_cast<HWND>(lParam) == GetDlgItem(m_hDlg, control);
  };
  switch (message) {
    case WM_ACTIVATE:
      // A drag must not stay open when the window loses the pointer: the press of a second button ends one, and so does
      // this. The other window's handle stands where a press has its position, so it is taken for one.
      // The whole parameter is compared: a deactivation while minimised (high word set) is not meant.
      if (wParam == WA_INACTIVE) {
        m_bButtonDown = true;
        OnLButtonDown(m_hDlg, 0, lParam);
      }
      break;
    case WM_HSCROLL:
      if (sentBy(IDC_HORIZONTAL_SCROLL)) {
        OnHScroll(m_hDlg, wParam, lParam);
      }
      break;
    case WM_VSCROLL:
      if (sentBy(IDC_VERTICAL_SCROLL)) {
        OnVScroll(m_hDlg, wParam, lParam);
      }
      break;
    case WM_MOUSEMOVE:
      if (GetActiveWindow() == m_hDlg &&
          (m_bPanTool || m_bSelectTool || m_bMouseInPane || m_bZoomTool || m_bSelecting)) {
        OnMouseMove(m_hDlg, wParam, lParam);
      }
      break;
    case WM_LBUTTONDOWN:
      m_bButtonDown = true;
      OnLButtonDown(m_hDlg, wParam, lParam);
      break;
    case WM_LBUTTONUP:
      m_bButtonDown = false;
      OnLButtonUp(m_hDlg, wParam, lParam);
      break;
    case WM_CAPTURECHANGED:
      m_bHasCapture = reinterpret_cast<HWND>(lParam) == m_hDlg;
      break;
    default:
      break;
  }
}

// Answers before the window under the pointer does. Only for the dialog and its controls: the message reaches an owner
// also for its message boxes.
INT_PTR BASE_DIALOG::ShowBusyPointer(HWND under) {
  if (m_hCurBusy == nullptr || (under != m_hDlg && !IsChild(m_hDlg, under))) {
    return FALSE;
  }
  SetCursor(m_hCurBusy);
  SetWindowLongPtrW(m_hDlg, DWLP_MSGRESULT, TRUE);
  return TRUE;
}

INT_PTR BASE_DIALOG::OnPaintMessage(HWND hDlg, WPARAM wParam, LPARAM lParam) {
  PAINTSTRUCT paint = {};
  const HDC context = BeginPaint(hDlg, &paint);
  const platform::Finally painted([hDlg, &paint] { EndPaint(hDlg, &paint); });
  return OnPaint(hDlg, context, wParam, lParam);
}

INT_PTR BASE_DIALOG::OnMouseMessage(HWND hDlg, UINT message, WPARAM wParam, LPARAM lParam) {
  return OnNcMouseMessage(hDlg, message, wParam, lParam);
}
