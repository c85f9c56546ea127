// The options of scan_demo.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "demo/tour.h"
#include "simulator/simulated_scanner.h"

namespace simulator {

struct DemoOptions {
  bool list = false;    // name the real devices, open nothing
  std::wstring device;  // a real one, by number, name or identifier; empty: the simulated scanner
  ScannerConfiguration scanner;
  FaultPlan faults;
  std::wstring library = L"WiaScanDialog.dll";  // without a folder: beside the program
  std::wstring name;                            // of the device; empty: none is registered
  std::wstring folder = L".";
  std::wstring file = L"Scan";
  std::wstring tour;  // folder for the pictures; empty: a user sits at the screen
  int steps = Tour::kSteps;
  DWORD closeAfter = 0;  // milliseconds; 0: the user closes the dialog
  std::wstring check;    // folder of the check kit, to run its tests; empty: no check
  bool help = false;
};

extern const wchar_t kDemoHelp[];

// The options, or what is wrong with the command line. `arguments` without the program's name.
std::variant<DemoOptions, std::wstring> ParseCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace simulator
