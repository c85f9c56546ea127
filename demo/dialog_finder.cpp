#include "demo/dialog_finder.h"

#include "resources/resource_ids.h"

namespace simulator {
namespace {

BOOL CALLBACK TakeFirst(HWND window, LPARAM found) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != GetCurrentProcessId() || !IsScanDialog(window)) {
    return TRUE;
  }
  *reinterpret_cast<HWND*>(found) = window;
  return FALSE;
}

}  // namespace

bool IsScanDialog(HWND window) { return IsWindowVisible(window) && GetDlgItem(window, IDC_STATUS_BAR) != nullptr; }

HWND FindScanDialog() {
  HWND found = nullptr;
  EnumWindows(&TakeFirst, reinterpret_cast<LPARAM>(&found));
  return found;
}

}  // namespace simulator
