// What scan_demo does, as a function: a WIA application in small. It loads the library as COM would, opens its dialog
// for a scanner, prints what comes back, and checks that nothing stayed behind.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace simulator {

// Where lines go, and mistakes, which are lines for the error output. Both may be called from any thread.
struct Output {
  std::function<void(const std::wstring&)> line;
  std::function<void(const std::wstring&)> mistake;
};

// Runs a command line, without the program's name. The program's exit code, as the help says.
int RunDemo(const std::vector<std::wstring>& arguments, const Output& output);

}  // namespace simulator
