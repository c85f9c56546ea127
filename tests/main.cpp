#include <gtest/gtest.h>

#include <filesystem>

#include "tests/dialog_harness.h"

namespace {

BOOL CALLBACK FindScanDialog(HWND window, LPARAM found) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != GetCurrentProcessId() || !IsWindowVisible(window) || !GetDlgItem(window, IDC_STATUS_BAR)) {
    return TRUE;
  }
  *reinterpret_cast<HWND*>(found) = window;
  return FALSE;
}

}  // namespace

namespace harness {

DialogDriver::DialogDriver(std::function<void(HWND)> action)
    : m_thread([this, action = std::move(action)] {
        HWND dialog = nullptr;
        while (!m_stop && dialog == nullptr) {
          EnumWindows(FindScanDialog, reinterpret_cast<LPARAM>(&dialog));
          Sleep(5);
        }
        if (dialog != nullptr) {
          action(dialog);
        }
      }) {}
DialogDriver::~DialogDriver() {
  m_stop = true;
  m_thread.join();
}

std::filesystem::path LibraryPath() {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path() / L"WiaScanDialog.dll";
}

HMODULE Library() {
  static const HMODULE library = LoadLibraryW(LibraryPath().c_str());
  return library;
}

INT_PTR RunDialog(TestDialog& dialog, const TestDialog::Script& script, DEVICEDIALOGDATA2* request) {
  const samples::GdiPlus gdiplus;
  DEVICEDIALOGDATA2 empty = {};
  dialog.script = script;
  const INT_PTR endCode = dialog.DoModal(request != nullptr ? request : &empty);
  delete g_pLangResource;
  g_pLangResource = nullptr;
  return endCode;
}

MessageBoxCloser::MessageBoxCloser(const std::wstring& caption) : m_thread([this, caption] { Run(caption); }) {}

MessageBoxCloser::~MessageBoxCloser() {
  m_stop = true;
  m_thread.join();
}

void MessageBoxCloser::Run(const std::wstring& caption) {
  while (!m_stop) {
    const HWND box = FindWindowW(L"#32770", caption.c_str());
    const HWND text = box != nullptr ? GetDlgItem(box, 0xFFFF) : nullptr;
    if (text != nullptr && IsWindowVisible(box)) {
      wchar_t shown[1024] = {};
      GetWindowTextW(text, shown, 1024);
      m_texts.emplace_back(shown);
      SendMessageW(box, WM_COMMAND, IDOK, 0);
      while (!m_stop && IsWindow(box)) {
        Sleep(5);
      }
    }
    Sleep(10);
  }
}

}  // namespace harness

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  g_hInstance = harness::Library();
  if (g_hInstance == nullptr) {
    fprintf(stderr, "WiaScanDialog.dll does not load\n");
    return 1;
  }
  return RUN_ALL_TESTS();
}
