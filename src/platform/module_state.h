// What keeps the library loaded, and the one dialog that may run.
#pragma once

#include <windows.h>

// Live CWiaUIExtension objects plus outstanding class-factory references plus server locks, plus the transfer objects
// that a driver holds. Changed only by InterlockedIncrement and InterlockedDecrement; the library may be unloaded while
// it is 0.
extern volatile LONG g_cLocks;

// A member of every object whose last reference may be somebody else's: keeps the library loaded while the object
// lives.
class ModuleLock {
 public:
  ModuleLock() noexcept { InterlockedIncrement(&g_cLocks); }
  ~ModuleLock() { InterlockedDecrement(&g_cLocks); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};

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
