// How much the robustness suites throw at the library, and what came of it.
#pragma once

#include <string>
#include <vector>

namespace harness {

// The ordinary run's share; the thorough program raises it before the suites start.
struct Effort {
  // Of the calls in a sweep: this one and its multiples. There are more faults for each of the device's calls, and a
  // dialog allocates much more often than it opens a file.
  std::size_t everyDeviceFault = 71;
  std::size_t everyPlatformCall = 17;
  std::size_t everyAllocation = 47;
  int mutations = 60;
  int monkeyEvents = 700;
  int warmUp = 8;
  int cycles = 20;  // of a leak measurement, after the warm-up
  int loads = 3;    // of the library
};
inline Effort effort;

struct Figure {
  std::string thrown;
  long long count;
  long long failures;
};
inline std::vector<Figure> figures;

}  // namespace harness
