// A user who acts from another thread, while the dialog's own is inside DeviceDialog or a transfer.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace simulator {

// Waits until a dialog is shown, then calls the action with its window.
class DialogDriver {
 public:
  explicit DialogDriver(std::function<void(HWND)> action);
  ~DialogDriver();
  DialogDriver(const DialogDriver&) = delete;
  DialogDriver& operator=(const DialogDriver&) = delete;

 private:
  std::atomic<bool> m_stop = false;
  std::thread m_thread;
};

// Answers message boxes with this caption as a user would, and keeps their texts.
class MessageBoxCloser {
 public:
  explicit MessageBoxCloser(const std::wstring& caption);
  ~MessageBoxCloser();
  MessageBoxCloser(const MessageBoxCloser&) = delete;
  MessageBoxCloser& operator=(const MessageBoxCloser&) = delete;
  // Texts shown so far. Call after the boxes are closed.
  const std::vector<std::wstring>& Texts() const { return m_texts; }

 private:
  void Run(const std::wstring& caption);
  std::atomic<bool> m_stop = false;
  std::vector<std::wstring> m_texts;
  std::thread m_thread;
};

}  // namespace simulator
