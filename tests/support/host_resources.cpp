#include "tests/support/host_resources.h"

#include <winternl.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/registry_reader.h"
#include "platform/scoped.h"

namespace harness {
namespace {

// The table of all GDI objects of the process, which the process environment block points to.
long long GdiObjects() {
  constexpr std::size_t kTableOffset = sizeof(void*) == 8 ? 0xF8 : 0x94;
  const bool wide = sizeof(void*) == 8 || IsWow64();  // the machine's, not the program's
  const std::size_t entrySize = wide ? 24 : 16;
  const std::size_t typeOffset = wide ? 0x0E : 0x0A;
  constexpr std::size_t kEntries = 0x10000;
  PROCESS_BASIC_INFORMATION process = {};
  NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process), nullptr);
  const BYTE* table = nullptr;
  std::memcpy(&table, reinterpret_cast<const BYTE*>(process.PebBaseAddress) + kTableOffset, sizeof(table));
  if (table == nullptr) {
    return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  }
  long long count = 0;
  for (std::size_t i = 0; i < kEntries; ++i) {
    count += table[i * entrySize + typeOffset] != 0 ? 1 : 0;
  }
  return count;
}

struct SystemHandle {
  USHORT process;
  USHORT backTrace;
  BYTE type;
  BYTE flags;
  USHORT value;
  void* object;
  ULONG access;
};

long long KernelHandles() {
  constexpr auto kSystemHandles = static_cast<SYSTEM_INFORMATION_CLASS>(16);
  constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);
  std::vector<BYTE> buffer(0x40000);
  NTSTATUS status = kTooSmall;
  while ((status = NtQuerySystemInformation(kSystemHandles, buffer.data(), static_cast<ULONG>(buffer.size()),
                                            nullptr)) == kTooSmall) {
    buffer.resize(buffer.size() * 2);
  }
  ULONG all = 0;
  std::memcpy(&all, buffer.data(), sizeof(all));
  long long count = 0;
  for (ULONG i = 0; status >= 0 && i < all; ++i) {
    SystemHandle handle;
    std::memcpy(&handle, buffer.data() + sizeof(void*) + i * sizeof(handle), sizeof(handle));
    count += handle.process == (GetCurrentProcessId() & 0xFFFF) ? 1 : 0;
  }
  return count;
}

BOOL CALLBACK CountChild(HWND, LPARAM count) {
  ++*reinterpret_cast<long long*>(count);
  return TRUE;
}

BOOL CALLBACK CountWindow(HWND window, LPARAM count) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process == GetCurrentProcessId()) {
    CountChild(window, count);
    EnumChildWindows(window, &CountChild, count);
  }
  return TRUE;
}

long long Windows() {
  long long count = 0;
  EnumWindows(&CountWindow, reinterpret_cast<LPARAM>(&count));
  return count;
}

// Blocks in use in all of the process's heaps; smaller leaks show here than in whole pages.
long long HeapBytes() {
  HANDLE heaps[64];
  const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
  long long bytes = 0;
  for (DWORD i = 0; i < count && HeapLock(heaps[i]); ++i) {
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heaps[i], &entry)) {
      bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? static_cast<long long>(entry.cbData) : 0;
    }
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

}  // namespace

std::map<std::string, long long> CountHostResources() {
  return {{"GDI objects", GdiObjects()},
          {"kernel handles", KernelHandles()},
          {"windows", Windows()},
          {"heap bytes", HeapBytes()}};
}

}  // namespace harness
