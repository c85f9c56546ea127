// The module that carries the library's resources.
#pragma once

#include <windows.h>

// The library's own module, where the dialog template, strings, menus, icons and cursors are looked up. Set once by
// DllMain on process attach and valid until the library is unloaded.
extern HINSTANCE g_hInstance;
