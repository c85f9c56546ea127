// The scan dialog among the windows of this process.
#pragma once

#include <windows.h>

namespace simulator {

// Whether a window is a scan dialog that can be seen.
bool IsScanDialog(HWND window);

// The topmost one of this process; null when none is shown. Any thread may ask.
HWND FindScanDialog();

}  // namespace simulator
