// What the status bar says while a transfer runs.
#pragma once

#include "scan_dialog/scan_dialog.h"

// "Please wait..." until the device reports; afterwards the part is empty again, whatever ended the transfer.
class SCAN_DIALOG::Progress {
 public:
  explicit Progress(SCAN_DIALOG& dialog) noexcept;
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  SCAN_DIALOG& m_dialog;
};
