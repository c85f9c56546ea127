#include "demo/tour.h"

#include <tuple>

#include "platform/gdiplus_owners.h"
#include "platform/scoped.h"
#include "resources/resource_ids.h"
#include "simulator/gdiplus_session.h"

namespace simulator {
namespace {

constexpr DWORD kPatience = 60000;  // milliseconds for a step; some machines emulate, or are busy
constexpr DWORD kMoment = 15;       // milliseconds between two movements of the pointer
constexpr int kDragMoves = 12;

void Input(const INPUT& input) {
  INPUT copy = input;
  SendInput(1, &copy, sizeof(copy));
  Sleep(kMoment);
}

void MovePointer(POINT screen) {
  // Absolute coordinates run from 0 to 65535 over the primary screen; half a pixel more keeps rounding from the next
  // one.
  const auto absolute = [](LONG position, int size) { return (position * 65536 + 32768) / size; };
  INPUT input = {};
  input.type = INPUT_MOUSE;
  input.mi.dx = absolute(screen.x, GetSystemMetrics(SM_CXSCREEN));
  input.mi.dy = absolute(screen.y, GetSystemMetrics(SM_CYSCREEN));
  input.mi.dwFlags = MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE;
  Input(input);
}

void PointerButton(DWORD flags) {
  INPUT input = {};
  input.type = INPUT_MOUSE;
  input.mi.dwFlags = flags;
  Input(input);
}

void ClickAt(POINT screen) {
  MovePointer(screen);
  PointerButton(MOUSEEVENTF_LEFTDOWN);
  PointerButton(MOUSEEVENTF_LEFTUP);
}

void PressKey(WORD key) {
  INPUT input = {};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = key;
  Input(input);
  input.ki.dwFlags = KEYEVENTF_KEYUP;
  Input(input);
}

bool SavePng(HBITMAP bitmap, const std::wstring& path) {
  const CLSID pngEncoder = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};
  const GdiplusSession session;
  Gdiplus::Bitmap picture(bitmap, nullptr);
  return picture.Save(path.c_str(), &pngEncoder, nullptr) == Gdiplus::Ok;
}

}  // namespace

Tour::Tour(const std::wstring& folder, int steps, Report report)
    : m_folder(folder), m_steps(steps), m_report(std::move(report)), m_thread([this] { Run(); }) {}

Tour::~Tour() { Finish(); }

bool Tour::Finish() {
  m_done = true;
  if (m_thread.joinable()) {
    m_thread.join();
  }
  return m_complete;
}

void Tour::Run() {
  m_complete = Step(L"opened", L"the dialog opened", &Tour::WaitForDialog) &&
               Step(L"previewed", L"Preview pressed, the page appeared", &Tour::TakePreview) &&
               Step(L"zoomed", L"zoomed in by a click on the page", &Tour::ZoomIn) &&
               Step(L"panned", L"moved the page", &Tour::PanPage) &&
               Step(L"zoomed-out", L"zoomed back to 100% by keyboard", &Tour::ZoomByKeyboard) &&
               Step(L"turned", L"turned the page right", &Tour::TurnRight) &&
               Step(L"framed", L"drew a selection frame", &Tour::DrawFrame) &&
               Step(L"scanned", L"Scan pressed, the dialog closed", &Tour::StartScan);
  if (IsWindow(m_dialog)) {
    PostMessageW(m_dialog, WM_COMMAND, IDCANCEL, 0);
  }
}

bool Tour::Step(const wchar_t* name, const wchar_t* what, bool (Tour::*action)()) {
  if (m_step == m_steps) {
    return true;
  }
  ++m_step;
  const bool happened = (this->*action)();
  m_report(std::to_wstring(m_step) + (happened ? L". " : L". FAILED, this did not happen: ") + what);
  if (IsShown()) {
    // The dialog's thread paints when it has nothing else to do; the screen follows with a delay.
    RedrawWindow(m_dialog, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    Sleep(300);
    TakePicture(name);
  }
  return happened;
}

bool Tour::Wait(const std::function<bool()>& condition) {
  const ULONGLONG end = GetTickCount64() + kPatience;
  while (!condition()) {
    if (GetTickCount64() > end) {
      return false;
    }
    Sleep(20);
  }
  return true;
}

bool Tour::WaitForDialog() {
  const bool shown = Wait([this] {
    m_dialog = FindScanDialog();
    return m_dialog != nullptr || m_done;
  });
  Sleep(500);  // window managers give the focus with a delay
  return shown && m_dialog != nullptr;
}

bool Tour::TakePreview() {
  Click(IDC_PREVIEW);
  // The pane is enabled before the page is drawn. Who asks for the progress waits until the dialog's thread is done.
  return Wait([this] { return IsEnabled(IDC_PREVIEW_PANE) && Status(0).empty(); });
}

bool Tour::ZoomIn() {
  const int before = ZoomPercent();
  Click(IDC_TOOL_ZOOM);
  // Until the page no longer fits: on a denser screen the pane shows more of it. Two places in turn: a second click at
  // the same one would be a double click.
  for (int clicks = 0; ZoomPercent() < before * 2 || Fits(IDC_HORIZONTAL_SCROLL) || Fits(IDC_VERTICAL_SCROLL);
       ++clicks) {
    const int percent = ZoomPercent();
    ClickAt(clicks % 2 == 0 ? PanePoint(0.3, 0.3) : PanePoint(0.2, 0.35));
    if (!Wait([&] { return ZoomPercent() > percent; })) {
      return false;
    }
  }
  return true;
}

bool Tour::Fits(int scrollBar) const {
  const SCROLLINFO info = Bar(scrollBar);
  return static_cast<int>(info.nPage) >= info.nMax;
}

bool Tour::PanPage() {
  const int before = Bar(IDC_VERTICAL_SCROLL).nPos;
  Click(IDC_TOOL_PAN);
  // Down the page, or back where the zoom has left its end in view.
  if (before == 0) {
    DragInPane(0.5, 0.7, 0.4, 0.4);
  } else {
    DragInPane(0.4, 0.4, 0.5, 0.7);
  }
  return Wait([&] { return Bar(IDC_VERTICAL_SCROLL).nPos != before; });
}

bool Tour::ZoomByKeyboard() {
  constexpr int kWhole = 2;  // the position of 100%
  const int selected = Selected(IDC_ZOOM_LIST);
  Click(IDC_ZOOM_LIST);
  if (!Wait([this] { return Ask(IDC_ZOOM_LIST, CB_GETDROPPEDSTATE) != FALSE; })) {
    return false;
  }
  for (int i = selected; i > kWhole; --i) {
    PressKey(VK_UP);
  }
  PressKey(VK_RETURN);
  return Wait([this] { return ZoomPercent() == 100; });
}

bool Tour::TurnRight() {
  const auto extent = [this](int bar) { return Bar(bar).nMax; };
  const int width = extent(IDC_HORIZONTAL_SCROLL);
  const int height = extent(IDC_VERTICAL_SCROLL);
  Click(IDC_TOOL_ROTATE);
  return Wait([&] { return extent(IDC_HORIZONTAL_SCROLL) == height && extent(IDC_VERTICAL_SCROLL) == width; });
}

bool Tour::DrawFrame() {
  Click(IDC_TOOL_SELECT);
  DragInPane(0.08, 0.06, 0.8, 0.45);
  const bool shown = Wait([this] { return !Status(2).empty(); });
  std::tie(m_frameWidth, m_frameHeight) = Lengths(2);
  return shown && m_frameWidth >= 10.0 && m_frameHeight >= 10.0;
}

bool Tour::StartScan() {
  Click(IDC_SCAN);
  return Wait([this] { return !IsWindow(m_dialog) || m_done; });
}

void Tour::Click(int control) const {
  const RECT area = Area(control);
  ClickAt({(area.left + area.right) / 2, (area.top + area.bottom) / 2});
}

POINT Tour::PanePoint(double x, double y) const {
  const RECT pane = Area(IDC_PREVIEW_PANE);
  return {pane.left + static_cast<LONG>((pane.right - pane.left) * x),
          pane.top + static_cast<LONG>((pane.bottom - pane.top) * y)};
}

void Tour::DragInPane(double fromX, double fromY, double toX, double toY) const {
  MovePointer(PanePoint(fromX, fromY));
  PointerButton(MOUSEEVENTF_LEFTDOWN);
  for (int move = 1; move <= kDragMoves; ++move) {
    const double done = static_cast<double>(move) / kDragMoves;
    MovePointer(PanePoint(fromX + (toX - fromX) * done, fromY + (toY - fromY) * done));
  }
  PointerButton(MOUSEEVENTF_LEFTUP);
}

void Tour::TakePicture(const wchar_t* name) {
  const std::wstring path = m_folder + L"\\" + std::to_wstring(m_step) + L"-" + name + L".png";
  if (!SaveWindowPicture(m_dialog, path)) {
    m_report(L"the picture " + path + L" can't be written");
  }
}

bool SaveWindowPicture(HWND window, const std::wstring& path) {
  // Wine 8 brings what a thread has drawn to the screen when that thread asks for messages.
  MSG message;
  PeekMessageW(&message, nullptr, 0xBFFF, 0xBFFF, PM_NOREMOVE);
  RECT frame = {};
  GetWindowRect(window, &frame);
  const int width = frame.right - frame.left;
  const int height = frame.bottom - frame.top;
  const platform::WindowDC screen(GetDesktopWindow());
  const platform::Unique<HDC, &DeleteDC> memory(CreateCompatibleDC(screen.get()));
  const platform::GdiObject bitmap(CreateCompatibleBitmap(screen.get(), width, height));
  {
    const platform::SelectedObject selected(memory.get(), bitmap.get());
    BitBlt(memory.get(), 0, 0, width, height, screen.get(), frame.left, frame.top, SRCCOPY);
  }
  return SavePng(static_cast<HBITMAP>(bitmap.get()), path);
}

}  // namespace simulator
