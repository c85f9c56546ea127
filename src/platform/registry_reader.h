// Reading string values of a device's driver key.
#pragma once

#include <windows.h>

// Reads a string value of an open key into `value`, a buffer of at least MAX_PATH characters. A 32-bit process on
// 64-bit Windows reads the 64-bit registry view. The number of bytes that the registry stored, terminator included; 0
// with an empty buffer on failure, which includes a value of more than MAX_PATH characters. The value's type is not
// examined.
DWORD GetRegValueString(HKEY key, const wchar_t* name, wchar_t* value);

// True in a 32-bit process on 64-bit Windows.
bool IsWow64();

// The access mask for reading a key: KEY_READ, in the 64-bit view where IsWow64.
REGSAM RegistryReadAccess();
