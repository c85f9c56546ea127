// What keeps the library loaded.
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
