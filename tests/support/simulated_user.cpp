#include "tests/support/simulated_user.h"

#include <cwchar>
#include <utility>

#include "demo/dialog_finder.h"

namespace harness {
namespace {

constexpr UINT kLookInterval = 10;  // milliseconds, the shortest of a timer
constexpr int kMessageBoxText = 0xFFFF;
constexpr int kTextCapacity = 1024;

struct Windows {
  HWND dialog = nullptr;
  HWND messageBox = nullptr;
};

BOOL CALLBACK Sort(HWND window, LPARAM parameter) {
  auto& windows = *reinterpret_cast<Windows*>(parameter);
  DWORD process = 0;
  const DWORD thread = GetWindowThreadProcessId(window, &process);
  if (process == GetCurrentProcessId() && IsWindowVisible(window)) {
    if (GetDlgItem(window, kMessageBoxText) != nullptr) {
      windows.messageBox = window;
    } else if (thread == GetCurrentThreadId() && simulator::IsScanDialog(window)) {
      windows.dialog = window;
    }
  }
  return TRUE;
}

}  // namespace

void HandleMessages(HWND dialog) {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (!IsDialogMessageW(dialog, &message)) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
}

// A window of its own receives the timer: exceptions in a bare timer procedure are swallowed by some platforms, and
// with them the crashes that a test looks for.
SimulatedUser::SimulatedUser(Task task)
    : m_task(std::move(task)),
      m_timer(CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)) {
  SetWindowLongPtrW(m_timer, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetWindowLongPtrW(m_timer, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&SimulatedUser::OnMessage));
  SetTimer(m_timer, 1, kLookInterval, nullptr);
}

SimulatedUser::~SimulatedUser() { DestroyWindow(m_timer); }

LRESULT CALLBACK SimulatedUser::OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_TIMER) {
    reinterpret_cast<SimulatedUser*>(GetWindowLongPtrW(window, GWLP_USERDATA))->Look();
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

void SimulatedUser::Look() {
  GUITHREADINFO thread = {};
  thread.cbSize = sizeof(thread);
  if (GetGUIThreadInfo(GetCurrentThreadId(), &thread) && (thread.flags & GUI_INMENUMODE) != 0) {
    ReadMenu();
    EndMenu();
  }
  Windows windows;
  EnumWindows(&Sort, reinterpret_cast<LPARAM>(&windows));
  if (windows.messageBox != std::exchange(m_answered, windows.messageBox) && windows.messageBox != nullptr) {
    wchar_t text[kTextCapacity] = {};
    GetDlgItemTextW(windows.messageBox, kMessageBoxText, text, kTextCapacity);
    messages.emplace_back(text);
    PostMessageW(windows.messageBox, WM_COMMAND, IDOK, 0);
  }
  if (m_task && windows.dialog != nullptr) {
    m_dialog = windows.dialog;
    const Task once = std::exchange(m_task, nullptr);
    once(*this);
    Send(WM_CLOSE);
  }
}

void SimulatedUser::ReadMenu() {
  const auto menu = reinterpret_cast<HMENU>(SendMessageW(FindWindowW(L"#32768", nullptr), MN_GETHMENU, 0, 0));
  for (int i = 0; i < GetMenuItemCount(menu); ++i) {
    menuItems += std::to_string(GetMenuItemID(menu, i));
    menuItems += (GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION) & MF_CHECKED) != 0 ? "* " : " ";
  }
}

void SimulatedUser::Send(UINT message, WPARAM wParam, LPARAM lParam) const {
  if (IsShown()) {
    SendMessageW(m_dialog, message, wParam, lParam);
  }
}

void SimulatedUser::Press(int command, int notification) const {
  Send(WM_COMMAND, MAKEWPARAM(command, notification), reinterpret_cast<LPARAM>(Control(command)));
}

void SimulatedUser::Choose(int list, int index) const {
  Ask(list, CB_SETCURSEL, static_cast<WPARAM>(index));
  Press(list, CBN_SELCHANGE);
}

void SimulatedUser::Point(UINT message, int x, int y) const {
  const RECT pane = Area(IDC_PREVIEW_PANE);
  POINT point = {pane.left + x, pane.top + y};
  MapWindowPoints(nullptr, m_dialog, &point, 1);
  Send(message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON, MAKELPARAM(point.x, point.y));
}

void SimulatedUser::Drag(int fromX, int fromY, int toX, int toY) const {
  Point(WM_MOUSEMOVE, fromX, fromY);
  Point(WM_LBUTTONDOWN, fromX, fromY);
  Point(WM_MOUSEMOVE, (fromX + toX) / 2, (fromY + toY) / 2);
  Point(WM_MOUSEMOVE, toX, toY);
  Point(WM_LBUTTONUP, toX, toY);
}

void SimulatedUser::Click(int x, int y) const {
  Point(WM_MOUSEMOVE, x, y);
  Point(WM_LBUTTONDOWN, x, y);
  Point(WM_LBUTTONUP, x, y);
}

void SimulatedUser::Scroll(int scrollBar, int request, int thumb) const {
  Send(scrollBar == IDC_HORIZONTAL_SCROLL ? WM_HSCROLL : WM_VSCROLL, MAKEWPARAM(request, thumb),
       reinterpret_cast<LPARAM>(Control(scrollBar)));
}

void SimulatedUser::DoMainJob() const {
  const SIZE pane = PaneSize();
  Choose(IDC_FEED_METHOD, kPlaten);
  Press(IDC_PREVIEW);
  Settle();
  Press(IDC_TOOL_SELECT);
  Drag(pane.cx / 20, pane.cy / 20, pane.cx * 2 / 5, pane.cy * 2 / 5);
  Press(IDM_ROTATE_RIGHT);
  Settle();
  Press(IDC_SCAN);
}

std::wstring SimulatedUser::Text(int control) const {
  wchar_t text[kTextCapacity] = {};
  GetWindowTextW(control == 0 ? m_dialog : Control(control), text, kTextCapacity);
  return text;
}

std::wstring SimulatedUser::Status(int part) const {
  wchar_t text[kTextCapacity] = {};
  Ask(IDC_STATUS_BAR, SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
  return text;
}

std::vector<std::wstring> SimulatedUser::Entries(int list) const {
  std::vector<std::wstring> texts;
  for (LRESULT i = 0; i < Ask(list, CB_GETCOUNT); ++i) {
    wchar_t text[kTextCapacity] = {};
    Ask(list, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
    texts.emplace_back(text);
  }
  return texts;
}

int SimulatedUser::ZoomPercent() const {
  return static_cast<int>(Ask(IDC_ZOOM_LIST, CB_GETITEMDATA, static_cast<WPARAM>(Selected(IDC_ZOOM_LIST))));
}

SCROLLINFO SimulatedUser::Bar(int scrollBar) const {
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_ALL;
  GetScrollInfo(Control(scrollBar), SB_CTL, &info);
  return info;
}

RECT SimulatedUser::Area(int control) const {
  RECT area = {};
  GetWindowRect(Control(control), &area);
  return area;
}

SIZE SimulatedUser::PaneSize() const {
  const RECT pane = Area(IDC_PREVIEW_PANE);
  return {pane.right - pane.left, pane.bottom - pane.top};
}

PaneScreen SimulatedUser::Pane() const { return PaneScreen(Area(IDC_PREVIEW_PANE)); }

preview::Rect SimulatedUser::Frame() const {
  const std::wstring texts = Status(1) + Status(2);  // "  5mm,  10mm" and "216mm x 297mm"
  // Without scanf: Wine 8 for ARM64 takes its arguments from the wrong places.
  int numbers[4] = {};
  const wchar_t* rest = texts.c_str();
  for (int& number : numbers) {
    wchar_t* end = nullptr;
    number = static_cast<int>(std::wcstol(rest, &end, 10));
    rest = end + std::wcscspn(end, L"0123456789");
  }
  return {numbers[0], numbers[1], numbers[0] + numbers[2], numbers[1] + numbers[3]};
}

}  // namespace harness
