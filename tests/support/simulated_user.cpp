#include "tests/support/simulated_user.h"

#include <commctrl.h>

#include <utility>

#include "demo/dialog_finder.h"
#include "resources/resource_ids.h"

namespace simulator {
namespace {

constexpr UINT kLookInterval = 10;  // milliseconds, the shortest of a timer
constexpr int kPlaten = 2;          // position in the Feed Method list
constexpr int kMessageBoxText = 0xFFFF;

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
    } else if (thread == GetCurrentThreadId() && IsScanDialog(window)) {
      windows.dialog = window;
    }
  }
  return TRUE;
}

int Below(std::mt19937& random, int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

template <class Value, std::size_t kCount>
Value OneOf(std::mt19937& random, const Value (&values)[kCount]) {
  return values[random() % kCount];
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
    EndMenu();
  }
  Windows windows;
  EnumWindows(&Sort, reinterpret_cast<LPARAM>(&windows));
  if (windows.messageBox != nullptr) {
    PostMessageW(windows.messageBox, WM_COMMAND, IDOK, 0);
  }
  if (m_task && windows.dialog != nullptr) {
    m_dialog = windows.dialog;
    const Task once = std::exchange(m_task, nullptr);
    once(*this);
  }
}

void SimulatedUser::SendToDialog(UINT message, WPARAM wParam, LPARAM lParam) const {
  if (IsShown()) {
    SendMessageW(m_dialog, message, wParam, lParam);
  }
}

void SimulatedUser::Press(int command) const {
  SendToDialog(WM_COMMAND, MAKEWPARAM(command, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(m_dialog, command)));
}

void SimulatedUser::Choose(int list, int index) const {
  const HWND control = GetDlgItem(m_dialog, list);
  SendMessageW(control, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
  SendToDialog(WM_COMMAND, MAKEWPARAM(list, CBN_SELCHANGE), reinterpret_cast<LPARAM>(control));
}

LPARAM SimulatedUser::PanePoint(int x, int y) const {
  RECT pane = {};
  const HWND control = GetDlgItem(m_dialog, IDC_PREVIEW_PANE);
  GetClientRect(control, &pane);
  POINT point = {pane.right * x / 100, pane.bottom * y / 100};
  MapWindowPoints(control, m_dialog, &point, 1);
  return MAKELPARAM(point.x, point.y);
}

void SimulatedUser::Drag(int fromX, int fromY, int toX, int toY) const {
  constexpr int kMoves = 4;
  SendToDialog(WM_MOUSEMOVE, 0, PanePoint(fromX, fromY));
  SendToDialog(WM_LBUTTONDOWN, MK_LBUTTON, PanePoint(fromX, fromY));
  for (int i = 1; i <= kMoves; ++i) {
    SendToDialog(WM_MOUSEMOVE, MK_LBUTTON,
                 PanePoint(fromX + (toX - fromX) * i / kMoves, fromY + (toY - fromY) * i / kMoves));
  }
  SendToDialog(WM_LBUTTONUP, 0, PanePoint(toX, toY));
}

void SimulatedUser::DoMainJob() const {
  Choose(IDC_FEED_METHOD, kPlaten);
  Press(IDC_PREVIEW);
  Settle();
  Press(IDC_TOOL_SELECT);
  Drag(5, 5, 40, 40);
  Press(IDM_ROTATE_RIGHT);
  Settle();
  Press(IDC_SCAN);
}

void SimulatedUser::ActAtRandom(std::mt19937& random, bool mayEnd) const {
  constexpr int kChildren[] = {IDC_PREVIEW_PANE, IDC_ZOOM_LIST,     IDC_TOOL_SELECT, IDC_TOOL_ZOOM,
                               IDC_TOOL_PAN,     IDC_BRIGHTNESS,    IDC_RESOLUTION,  IDC_HORIZONTAL_SCROLL,
                               IDC_STATUS_BAR,   IDC_ORIGINAL_SIZE, IDC_FEED_METHOD, IDC_VERTICAL_SCROLL};
  const HWND child = GetDlgItem(m_dialog, OneOf(random, kChildren));
  const int kind = Below(random, 100);
  if (kind < 36) {
    // Mostly over the pane, sometimes beside it.
    constexpr UINT kMessages[] = {WM_MOUSEMOVE,   WM_MOUSEMOVE,  WM_MOUSEMOVE,     WM_LBUTTONDOWN, WM_LBUTTONDOWN,
                                  WM_LBUTTONUP,   WM_LBUTTONUP,  WM_LBUTTONDBLCLK, WM_RBUTTONDOWN, WM_RBUTTONUP,
                                  WM_MBUTTONDOWN, WM_MOUSELEAVE, WM_NCMOUSEMOVE,   WM_MOUSEHOVER,  WM_NCHITTEST};
    SendToDialog(OneOf(random, kMessages), random() % 32, PanePoint(Below(random, 130) - 15, Below(random, 130) - 15));
  } else if (kind < 42) {
    Drag(Below(random, 100), Below(random, 100), Below(random, 140) - 20, Below(random, 140) - 20);
  } else if (kind < 60) {
    constexpr int kCommands[] = {IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_PAN,    IDC_TOOL_ROTATE,
                                 IDM_ZOOM_IN,     IDM_ZOOM_OUT,  IDM_ROTATE_LEFT, IDM_ROTATE_UPSIDE_DOWN,
                                 IDC_DEFAULT,     IDC_PREVIEW,   IDC_FEED_METHOD, IDC_PLACEMENT};
    Press(OneOf(random, kCommands));
  } else if (kind < 64) {
    Choose(IDC_ZOOM_LIST, Below(random, 8) - 1);
  } else if (kind < 74) {
    const bool horizontal = Below(random, 2) == 0;
    const HWND bar = GetDlgItem(m_dialog, horizontal ? IDC_HORIZONTAL_SCROLL : IDC_VERTICAL_SCROLL);
    SendToDialog(horizontal ? WM_HSCROLL : WM_VSCROLL, MAKEWPARAM(Below(random, 10), Below(random, 4000)),
                 reinterpret_cast<LPARAM>(Below(random, 8) == 0 ? nullptr : bar));
  } else if (kind < 82) {
    constexpr WORD kKeys[] = {VK_TAB, VK_UP, VK_DOWN, VK_LEFT, VK_RIGHT, VK_SPACE, VK_PRIOR, VK_END, VK_F4, 'A'};
    PostMessageW(child, Below(random, 2) == 0 ? WM_KEYDOWN : WM_KEYUP, OneOf(random, kKeys), 1);
  } else if (kind < 85) {
    PostMessageW(Below(random, 2) == 0 ? child : m_dialog, Below(random, 2) == 0 ? WM_MOUSEWHEEL : WM_MOUSEHWHEEL,
                 MAKEWPARAM(0, (Below(random, 7) - 3) * WHEEL_DELTA), 0);
  } else if (kind < 88) {
    SendToDialog(WM_ACTIVATE, MAKEWPARAM(Below(random, 3), Below(random, 4) == 0), 0);
  } else if (kind < 90) {
    RedrawWindow(m_dialog, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
  } else if (kind < 91) {
    RECT button = {};
    GetWindowRect(GetDlgItem(m_dialog, Below(random, 2) == 0 ? IDC_TOOL_ZOOM : IDC_TOOL_ROTATE), &button);
    SendToDialog(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(m_dialog), MAKELPARAM(button.left + 2, button.top + 2));
  } else if (kind < 96) {
    constexpr UINT kHarmless[] = {WM_SIZE,           WM_MOVE,          WM_TIMER,        WM_SYSCOLORCHANGE,
                                  WM_CAPTURECHANGED, WM_MOUSEACTIVATE, WM_THEMECHANGED, WM_DISPLAYCHANGE,
                                  WM_CANCELMODE,     WM_SETFOCUS,      WM_KILLFOCUS,    WM_SHOWWINDOW,
                                  WM_NCPAINT,        WM_PAINT,         WM_NULL};
    SendToDialog(OneOf(random, kHarmless), random() % 3, 0);
  } else if (kind < 99) {
    // Private and registered messages of somebody else; the dialog classes own the first of WM_USER.
    SendToDialog(static_cast<UINT>(WM_USER + 0x10 + Below(random, 0xFF00 - WM_USER)), random(), random());
  } else if (mayEnd && Below(random, 4) == 0) {
    Press(Below(random, 2) == 0 ? IDC_SCAN : IDCANCEL);
  }
  if (IsShown()) {
    Settle();
  }
}

}  // namespace simulator
