// Creating files under names that nobody has.
#pragma once

#include <windows.h>

#include <objidl.h>

#include "platform/scoped.h"

namespace scanning {

// A file that was just created, empty.
struct NewFile {
  wchar_t path[MAX_PATH] = {};
  int number = 0;  // in its name; 1: the name as it was asked for
  platform::ComPtr<IStream> stream;
};

// Creates the file `path`, or when that name is taken "name (2).ext", "name (3).ext" and so on, beginning with the
// given number (1: the name itself). Each is tried by creating it exclusively, so that no file that is there is ever
// opened; a link counts as taken, wherever it leads.
//   S_OK          *file is the new file
//   0x8007007A    the name that comes next has more than 259 characters
//   any other     the platform's reason why the file could not be created
HRESULT CreateNewFile(const wchar_t* path, int firstNumber, NewFile* file);

}  // namespace scanning
