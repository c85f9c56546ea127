// A user who goes through the main job: previews, zooms, pans, turns, draws a frame and scans.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "demo/shown_dialog.h"

namespace simulator {

// A picture of a window as it is on the screen. False when the file can't be written.
bool SaveWindowPicture(HWND window, const std::wstring& path);

// Drives the dialog of this process with real pointer and keyboard input from a thread of its own, checks after each
// step that it happened, and keeps a picture of the screen: "<folder>\1-opened.png" and so on. Start it before the
// dialog is opened. A step that does not happen within a minute fails the tour. A tour that does not come to the
// scan closes the dialog.
class Tour : private ShownDialog {
 public:
  using Report = std::function<void(const std::wstring&)>;
  static constexpr int kSteps = 8;

  // folder: where the pictures go; it must exist. steps: how many it makes, up to kSteps. report: called for every
  // step, on the tour's thread.
  Tour(const std::wstring& folder, int steps, Report report);
  // Waits for the tour to end.
  ~Tour();
  Tour(const Tour&) = delete;
  Tour& operator=(const Tour&) = delete;

  // Waits for the tour to end. True when every step happened.
  bool Finish();

  // After Finish: the frame that was drawn, in millimetres, as the status bar showed it.
  double FrameWidth() const { return m_frameWidth; }
  double FrameHeight() const { return m_frameHeight; }

 private:
  void Run();
  bool WaitForDialog();
  bool TakePreview();
  bool ZoomIn();
  bool PanPage();
  bool ZoomByKeyboard();
  bool TurnRight();
  bool DrawFrame();
  bool StartScan();

  // Waits until the condition holds; false after a minute.
  static bool Wait(const std::function<bool()>& condition);
  bool Step(const wchar_t* name, const wchar_t* what, bool (Tour::*action)());
  void TakePicture(const wchar_t* name);
  void Click(int control) const;
  // A drag inside the pane, in fractions of its size.
  void DragInPane(double fromX, double fromY, double toX, double toY) const;
  POINT PanePoint(double x, double y) const;
  // Whether the pane shows all of the page on a scroll bar's axis.
  bool Fits(int scrollBar) const;

  std::wstring m_folder;
  int m_steps;
  Report m_report;
  int m_step = 0;
  double m_frameWidth = 0.0;
  double m_frameHeight = 0.0;
  bool m_complete = false;
  std::atomic<bool> m_done = false;
  std::thread m_thread;
};

}  // namespace simulator
