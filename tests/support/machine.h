// What the tests may do to the machine they run on and how much of it they may take, and where their files are.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif

#include <filesystem>

namespace harness {

// Told by "--leave-machine": tests that change the registry, the system's folder or the devices are skipped.
inline bool leaveMachine = false;
// Told by "--thorough": the robustness suites throw everything that they have, and print a table of it.
inline bool thorough = false;

// The sample files: in the folder "data" beside the program, so that both can be moved together.
inline std::filesystem::path TestData() {
#ifdef _WIN32
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path() / "data";
#else
  return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "data";
#endif
}

}  // namespace harness
