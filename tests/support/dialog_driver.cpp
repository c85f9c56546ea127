#include "tests/support/dialog_driver.h"

#include <utility>

#include "demo/dialog_finder.h"

namespace simulator {

DialogDriver::DialogDriver(std::function<void(HWND)> action)
    : m_thread([this, action = std::move(action)] {
        HWND dialog = nullptr;
        while (!m_stop && dialog == nullptr) {
          dialog = FindScanDialog();
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

}  // namespace simulator
