// What keeps the library loaded, and the one dialog that may run.
#pragma once

#include <windows.h>

// Live CWiaUIExtension objects plus outstanding class-factory references plus server locks. Changed only by
// InterlockedIncrement and InterlockedDecrement; the library may be unloaded while it is 0.
extern volatile LONG g_cLocks;

// Claims the process's one device dialog for a scope. The language resources hang on a process-wide pointer, so a
// second dialog, started from another thread or from inside the first, must not touch anything.
class DialogClaim {
 public:
  DialogClaim() noexcept;
  ~DialogClaim();
  DialogClaim(const DialogClaim&) = delete;
  DialogClaim& operator=(const DialogClaim&) = delete;

  // False when another dialog is running.
  bool granted() const noexcept { return m_granted; }

 private:
  bool m_granted;
};
