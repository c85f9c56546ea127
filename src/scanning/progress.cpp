#include "scanning/progress.h"

#include <algorithm>
#include <iterator>

#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scanning/transfer_callback.h"
#include <strsafe.h>

namespace {

constexpr int kProgressPart = 0;
constexpr std::size_t kTextCapacity = 128;

// Painted at once: no message loop runs while the dialog's thread waits for the device.
void ShowInStatusBar(HWND statusBar, const wchar_t* text) noexcept {
  SendMessageW(statusBar, SB_SETTEXTW, kProgressPart, reinterpret_cast<LPARAM>(text));
  UpdateWindow(statusBar);
}

}  // namespace

SCAN_DIALOG::Progress::Progress(SCAN_DIALOG& dialog) noexcept : m_dialog(dialog) {
  wchar_t text[kTextCapacity] = {};
  g_pLangResource->GetTextW(IDS_PLEASE_WAIT, text, static_cast<int>(std::size(text)));
  m_dialog.m_nProgress = kNothingReported;
  ShowInStatusBar(m_dialog.m_hwndStatusBar, text);
}

SCAN_DIALOG::Progress::~Progress() { ShowInStatusBar(m_dialog.m_hwndStatusBar, L""); }

INT_PTR SCAN_DIALOG::OnAppMessage(HWND /*hDlg*/, UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  if (message == scanning::kProgressMessage && m_bTransferring) {
    ShowProgress(std::clamp(static_cast<int>(wParam), 0, 100));
  }
  return FALSE;
}

// Without allocations, which could fail: an exception in a handler would end the dialog, and progress must not.
void SCAN_DIALOG::ShowProgress(int percent) noexcept {
  if (percent == m_nProgress) {
    return;  // drivers report with every band
  }
  m_nProgress = percent;
  wchar_t text[kTextCapacity] = {};
  wchar_t number[12] = {};
  g_pLangResource->GetTextW(IDS_SCANNING, text, static_cast<int>(std::size(text)));
  _itow_s(percent, number, std::size(number), 10);
  if (text[0] != L'\0') {
    StringCchCatW(text, std::size(text), L" ");
  }
  StringCchCatW(text, std::size(text), number);
  StringCchCatW(text, std::size(text), L" %");
  ShowInStatusBar(m_hwndStatusBar, text);
}
