#include "tests/support/simulated_user.h"

#include <commctrl.h>

#include <utility>

namespace harness {
namespace {

constexpr UINT kLookInterval = 10;  // milliseconds, the shortest of a timer
constexpr int kMessageBoxText = 0xFFFF;

BOOL CALLBACK FindMessageBox(HWND window, LPARAM found) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  const bool isOne =
      process == GetCurrentProcessId() && IsWindowVisible(window) && GetDlgItem(window, kMessageBoxText) != nullptr;
  if (isOne) *reinterpret_cast<HWND*>(found) = window;
  return !isOne;
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
  HWND box = nullptr;
  EnumWindows(&FindMessageBox, reinterpret_cast<LPARAM>(&box));
  if (box != std::exchange(m_answered, box) && box != nullptr) {
    messages.push_back(ShownDialog(box).Text(kMessageBoxText));
    PostMessageW(box, WM_COMMAND, IDOK, 0);
  }
  const HWND dialog = m_task ? simulator::FindScanDialog(GetCurrentThreadId()) : nullptr;
  if (dialog != nullptr) {
    m_dialog = dialog;
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
  Send(message, message == WM_MOUSEMOVE || message == WM_LBUTTONDOWN ? MK_LBUTTON : 0, MAKELPARAM(point.x, point.y));
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

SIZE SimulatedUser::PaneSize() const {
  const RECT pane = Area(IDC_PREVIEW_PANE);
  return {pane.right - pane.left, pane.bottom - pane.top};
}

PaneScreen SimulatedUser::Pane() const { return PaneScreen(Area(IDC_PREVIEW_PANE)); }

preview::Rect SimulatedUser::Frame() const {
  const auto [left, top] = Lengths(1);
  const auto [width, height] = Lengths(2);
  return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(left + width),
          static_cast<int>(top + height)};
}

}  // namespace harness
