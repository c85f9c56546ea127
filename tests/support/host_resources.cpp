#include "tests/support/host_resources.h"

#include <tlhelp32.h>
#include <winternl.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/scoped.h"

namespace simulator {
namespace {

// The table of all GDI objects of the process, which the process environment block points to.
std::size_t GdiObjects() {
  constexpr bool kWide = sizeof(void*) == 8;
  constexpr std::size_t kTableOffset = kWide ? 0xF8 : 0x94;
  constexpr std::size_t kEntrySize = kWide ? 24 : 16;
  constexpr std::size_t kTypeOffset = kWide ? 0x0E : 0x0A;
  constexpr std::size_t kEntries = 0x10000;
  PROCESS_BASIC_INFORMATION process = {};
  NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process), nullptr);
  const BYTE* table = nullptr;
  std::memcpy(&table, reinterpret_cast<const BYTE*>(process.PebBaseAddress) + kTableOffset, sizeof(table));
  if (table == nullptr) {
    return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  }
  std::size_t count = 0;
  for (std::size_t i = 0; i < kEntries; ++i) {
    count += table[i * kEntrySize + kTypeOffset] != 0 ? 1 : 0;
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

std::size_t KernelHandles() {
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
  std::size_t count = 0;
  for (ULONG i = 0; status >= 0 && i < all; ++i) {
    SystemHandle handle;
    std::memcpy(&handle, buffer.data() + sizeof(void*) + i * sizeof(handle), sizeof(handle));
    count += handle.process == (GetCurrentProcessId() & 0xFFFF) ? 1 : 0;
  }
  return count;
}

BOOL CALLBACK CountChild(HWND, LPARAM count) {
  ++*reinterpret_cast<std::size_t*>(count);
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

std::size_t Windows() {
  std::size_t count = 0;
  EnumWindows(&CountWindow, reinterpret_cast<LPARAM>(&count));
  return count;
}

// Menus can't be enumerated. Where a handle without its upper half is taken for the object, all of them are tried;
// elsewhere the platform counts user objects.
std::size_t Menus() {
  std::size_t count = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
  for (ULONG_PTR handle = 0x20; handle < 0x10000; handle += 2) {
    count += IsMenu(reinterpret_cast<HMENU>(handle)) ? 1 : 0;
  }
  return count;
}

// Classes are found by their atoms, which are given out in rising order.
std::size_t WindowClasses() {
  constexpr ULONG_PTR kFirstAtom = 0xC000;
  constexpr ULONG_PTR kAtoms = 0x800;
  std::size_t count = 0;
  for (ULONG_PTR atom = kFirstAtom; atom < kFirstAtom + kAtoms; ++atom) {
    WNDCLASSEXW found = {};
    found.cbSize = sizeof(found);
    count += GetClassInfoExW(GetModuleHandleW(nullptr), reinterpret_cast<LPCWSTR>(atom), &found) ? 1 : 0;
  }
  return count;
}

std::size_t Threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  const platform::Unique<HANDLE, &CloseHandle> owner(snapshot);
  THREADENTRY32 thread = {};
  thread.dwSize = sizeof(thread);
  std::size_t count = 0;
  for (BOOL more = Thread32First(snapshot, &thread); more; more = Thread32Next(snapshot, &thread)) {
    count += thread.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
  }
  return count;
}

// Committed pages that belong to nothing but this process.
std::size_t PrivateKilobytes() {
  std::size_t bytes = 0;
  MEMORY_BASIC_INFORMATION region = {};
  for (const BYTE* address = nullptr; VirtualQuery(address, &region, sizeof(region)) != 0;
       address = static_cast<const BYTE*>(region.BaseAddress) + region.RegionSize) {
    bytes += region.State == MEM_COMMIT && region.Type == MEM_PRIVATE ? region.RegionSize : 0;
  }
  return bytes / 1024;
}

// Blocks in use in all of the process's heaps; smaller leaks show here than in whole pages.
std::size_t HeapBytes() {
  HANDLE heaps[64];
  const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
  std::size_t bytes = 0;
  for (DWORD i = 0; i < count && HeapLock(heaps[i]); ++i) {
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heaps[i], &entry)) {
      bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    }
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

}  // namespace

std::array<HostResource, 8> CountHostResources() {
  return {{{"GDI objects", GdiObjects()},
           {"kernel handles", KernelHandles()},
           {"windows", Windows()},
           {"menus", Menus()},
           {"window classes", WindowClasses()},
           {"threads", Threads()},
           {"private kilobytes", PrivateKilobytes()},
           {"heap bytes", HeapBytes()}}};
}

}  // namespace simulator
