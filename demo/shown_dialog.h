// A scan dialog of this process as its user sees it: what it shows, and where.
#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

namespace simulator {

// The topmost one that this thread shows; 0: any thread. Null when none is shown. Any thread may ask.
HWND FindScanDialog(DWORD thread = 0);

// Any thread may ask it. Without a dialog, and of controls that it lacks, everything is empty.
class ShownDialog {
 public:
  explicit ShownDialog(HWND dialog = nullptr) : m_dialog(dialog) {}

  HWND Dialog() const { return m_dialog; }
  HWND Control(int id) const { return GetDlgItem(m_dialog, id); }
  // False when the dialog has ended, also while its code still runs.
  bool IsShown() const { return IsWindowVisible(m_dialog) != FALSE; }
  bool IsEnabled(int control) const { return IsWindowEnabled(Control(control)) != FALSE; }
  LRESULT Ask(int control, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
    return SendDlgItemMessageW(m_dialog, control, message, wParam, lParam);
  }

  // The title for 0.
  std::wstring Text(int control) const;
  // Of the status bar, from 0.
  std::wstring Status(int part) const;
  // The two numbers of such a part, in millimetres; 0 when it is empty.
  std::pair<double, double> Lengths(int part) const;
  std::vector<std::wstring> Entries(int list) const;
  int Selected(int list) const { return static_cast<int>(Ask(list, CB_GETCURSEL)); }
  int ZoomPercent() const;
  SCROLLINFO Bar(int scrollBar) const;
  // In screen pixels.
  RECT Area(int control) const;

 protected:
  HWND m_dialog;
};

}  // namespace simulator
