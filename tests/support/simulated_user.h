// A user who works by window messages, on the dialog's own thread, and looks at the screen: fast enough for thousands
// of dialogs, and repeatable. The tour (demo/tour.h) is the one with a real pointer and keyboard.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "core/geometry.h"
#include "demo/shown_dialog.h"
#include "resources/resource_ids.h"
#include "tests/support/screen_pixels.h"

namespace harness {

// Positions in the Feed Method and the zoom list.
inline constexpr int kPlaten = 2;
inline constexpr int kZoom50 = 0, kZoom100 = 2, kZoom400 = 6;

// Handles every message that waits, paint requests included, as the dialog's loop does.
void HandleMessages(HWND dialog);

// Waits for the next scan dialog of the thread that made it and acts in its message loop. Meanwhile it answers the
// process's message boxes and leaves the thread's menus, and remembers what they said. One at a time on a thread. What
// a dialog that has ended is told is lost.
class SimulatedUser : public simulator::ShownDialog {
 public:
  using Task = std::function<void(SimulatedUser&)>;

  // task: called once, as soon as the dialog is shown, which is closed afterwards unless the task ended it.
  explicit SimulatedUser(Task task);
  ~SimulatedUser();
  SimulatedUser(const SimulatedUser&) = delete;
  SimulatedUser& operator=(const SimulatedUser&) = delete;

  void Settle() const { HandleMessages(m_dialog); }
  void Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;

  // A button or menu item.
  void Press(int command, int notification = BN_CLICKED) const;
  // An entry of a list, by its position.
  void Choose(int list, int index) const;
  // A pointer message, in pixels from the pane's top-left corner.
  void Point(UINT message, int x, int y) const;
  void Drag(int fromX, int fromY, int toX, int toY) const;
  void Click(int x, int y) const;
  void Scroll(int scrollBar, int request, int thumb = 0) const;
  // Preview, frame, quarter turn and scan from the flatbed. The dialog has ended then, unless something went wrong.
  void DoMainJob() const;

  int ScrollX() const { return Bar(IDC_HORIZONTAL_SCROLL).nPos; }
  int ScrollY() const { return Bar(IDC_VERTICAL_SCROLL).nPos; }
  SIZE PaneSize() const;
  PaneScreen Pane() const;
  // What the status bar says of the selection frame, in millimetres; all 0: nothing.
  preview::Rect Frame() const;
  // The texts of the message boxes so far, and the identifiers of the menu items, a star behind those with a mark.
  std::vector<std::wstring> messages;
  std::string menuItems;

 private:
  static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void Look();
  void ReadMenu();

  Task m_task;
  HWND m_timer = nullptr;
  HWND m_answered = nullptr;
};

}  // namespace harness
