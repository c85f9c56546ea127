// What this process holds at the moment, to be compared before and after.
#pragma once

#include <windows.h>

#include <array>
#include <cstddef>

namespace simulator {

struct HostResource {
  const char* name;
  std::size_t count;
};

// GDI objects, kernel handles, windows, menus, threads, kilobytes of private memory and bytes on the heaps. Counted by
// hand where the documented counters (GetGuiResources, GetProcessHandleCount) answer 0 on some runtimes.
std::array<HostResource, 8> CountHostResources();

}  // namespace simulator
