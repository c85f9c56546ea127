#include "demo/shown_dialog.h"

#include <commctrl.h>

#include <cwchar>

#include "resources/resource_ids.h"

namespace simulator {
namespace {

constexpr int kTextCapacity = 1024;
constexpr double kMillimetresPerInch = 25.4;

struct Search {
  DWORD thread;
  HWND found;
};

BOOL CALLBACK TakeFirst(HWND window, LPARAM parameter) {
  auto& search = *reinterpret_cast<Search*>(parameter);
  DWORD process = 0;
  const DWORD thread = GetWindowThreadProcessId(window, &process);
  const bool ours = process == GetCurrentProcessId() && (search.thread == 0 || search.thread == thread);
  if (!ours || !IsWindowVisible(window) || GetDlgItem(window, IDC_STATUS_BAR) == nullptr) {
    return TRUE;
  }
  search.found = window;
  return FALSE;
}

}  // namespace

HWND FindScanDialog(DWORD thread) {
  Search search = {thread, nullptr};
  EnumWindows(&TakeFirst, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

std::wstring ShownDialog::Text(int control) const {
  wchar_t text[kTextCapacity] = {};
  GetWindowTextW(control == 0 ? m_dialog : Control(control), text, kTextCapacity);
  return text;
}

std::wstring ShownDialog::Status(int part) const {
  wchar_t text[kTextCapacity] = {};
  Ask(IDC_STATUS_BAR, SB_GETTEXTW, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text));
  return text;
}

std::pair<double, double> ShownDialog::Lengths(int part) const {
  const std::wstring text = Status(part);  // "  5mm,  10mm" or "8.50inch x 11.69inch"
  const double unit = text.ends_with(L"inch") ? kMillimetresPerInch : 1.0;
  // Without scanf: Wine 8 for ARM64 takes its arguments from the wrong places.
  wchar_t* end = nullptr;
  const double first = std::wcstod(text.c_str(), &end);
  const double second = std::wcstod(end + std::wcscspn(end, L"-0123456789"), nullptr);
  return {first * unit, second * unit};
}

std::vector<std::wstring> ShownDialog::Entries(int list) const {
  std::vector<std::wstring> texts;
  for (LRESULT i = 0; i < Ask(list, CB_GETCOUNT); ++i) {
    wchar_t text[kTextCapacity] = {};
    Ask(list, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(text));
    texts.emplace_back(text);
  }
  return texts;
}

int ShownDialog::ZoomPercent() const {
  return static_cast<int>(Ask(IDC_ZOOM_LIST, CB_GETITEMDATA, static_cast<WPARAM>(Selected(IDC_ZOOM_LIST))));
}

SCROLLINFO ShownDialog::Bar(int scrollBar) const {
  SCROLLINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = SIF_ALL;
  GetScrollInfo(Control(scrollBar), SB_CTL, &info);
  return info;
}

RECT ShownDialog::Area(int control) const {
  RECT area = {};
  GetWindowRect(Control(control), &area);
  return area;
}

}  // namespace simulator
