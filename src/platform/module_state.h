// The library's own module, and what keeps it loaded.
#pragma once

#include <windows.h>

// Where the dialog template, strings, menus, icons and cursors are looked up. Set once by DllMain on process attach and
// valid until the library is unloaded.
inline HINSTANCE g_hInstance = nullptr;

// Live CWiaUIExtension objects plus outstanding class-factory references plus server locks, plus the transfer objects
// that a driver holds. Changed only by InterlockedIncrement and InterlockedDecrement; the library may be unloaded while
// it is 0.
inline volatile LONG g_cLocks = 0;

// A member of every object whose last reference may be somebody else's: keeps the library loaded while the object
// lives.
class ModuleLock {
 public:
  ModuleLock() noexcept { InterlockedIncrement(&g_cLocks); }
  ~ModuleLock() { InterlockedDecrement(&g_cLocks); }
  ModuleLock(const ModuleLock&) = delete;
  ModuleLock& operator=(const ModuleLock&) = delete;
};
