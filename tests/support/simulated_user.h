// A user who works by window messages, on the dialog's own thread: fast enough for thousands of dialogs, and
// repeatable. The tour (demo/tour.h) is the one with a real pointer and keyboard.
#pragma once

#include <windows.h>

#include <functional>
#include <random>

namespace simulator {

// Handles every message that waits, paint requests included, as the dialog's loop does.
void HandleMessages(HWND dialog);

// Waits for the next scan dialog of the thread that made it and acts in its message loop. Meanwhile it answers the
// process's message boxes and leaves the thread's menus. One at a time on a thread. What a dialog that has ended is
// told is lost.
class SimulatedUser {
 public:
  using Task = std::function<void(SimulatedUser&)>;

  // task: called once, as soon as the dialog is shown; the dialog stays open unless the task ends it.
  explicit SimulatedUser(Task task);
  ~SimulatedUser();
  SimulatedUser(const SimulatedUser&) = delete;
  SimulatedUser& operator=(const SimulatedUser&) = delete;

  // Null until the dialog was found.
  HWND Dialog() const { return m_dialog; }
  // False when the dialog has ended, also while its code still runs.
  bool IsShown() const { return IsWindowVisible(m_dialog) != FALSE; }

  void Settle() const { HandleMessages(m_dialog); }
  // A button or menu item.
  void Press(int command) const;
  // An entry of a list, by its position.
  void Choose(int list, int index) const;
  // A drag over the pane with the left button, in hundredths of its width and height.
  void Drag(int fromX, int fromY, int toX, int toY) const;

  // Preview, frame, quarter turn and scan from the flatbed. The dialog has ended then, unless something went wrong.
  void DoMainJob() const;

  // One event as a cat on the keyboard makes it: pointer, keys, wheel, commands, scroll codes, activation, sizes,
  // menus, paint requests and unknown messages. Scan and Close only if they may end the dialog.
  void ActAtRandom(std::mt19937& random, bool mayEnd) const;

 private:
  static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void Look();
  LPARAM PanePoint(int x, int y) const;
  void SendToDialog(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const;

  Task m_task;
  HWND m_timer = nullptr;
  HWND m_dialog = nullptr;
};

}  // namespace simulator
