// What this process holds at the moment, to be compared before and after.
#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace harness {

// GDI objects, kernel handles, windows and bytes on the heaps. Counted by hand: the documented counters
// (GetGuiResources, GetProcessHandleCount) answer 0 on Wine 8.
std::map<std::string, long long> CountHostResources();

}  // namespace harness
