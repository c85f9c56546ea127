// An application that has the dialog opened for a simulated scanner, and then looks for what it left behind.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/scoped.h"
#include "platform/wia2.h"
#include "simulator/simulated_scanner.h"
#include "tests/support/temporary_folder.h"

namespace simulator {

class ScanHost {
 public:
  static constexpr char kHang[] = "hang; ";

  ScanHost();

  // One dialog from opening to end. `call` calls DeviceDialog with the request that it is given; whatever makes the
  // user, and things fail, lives inside it. What is wrong afterwards, in words; empty: nothing.
  using Call = std::function<HRESULT(DEVICEDIALOGDATA2*)>;
  std::string Run(SimulatedScanner& scanner, HWND owner, const Call& call);

  TemporaryFolder folder;            // where pages go; holds a file of somebody else's under the name that is asked for
  ULONGLONG patience = 5000;         // milliseconds for a whole dialog
  bool hostileContent = false;       // pages need not be whole, since the device sends none that are
  std::size_t filesThatMayStay = 0;  // set within a call whose deletions were refused

 private:
  std::string WhatLies(const std::wstring& reportedPath, bool complete) const;

  platform::BasicString m_folderName;
  platform::BasicString m_fileName;
};

// The library as an application loads it, and an object of its class.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const wchar_t* path);
  ~LoadedLibrary() { Unload(); }
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  IWiaUIExtension2& Extension() { return *m_extension.Get(); }
  // Drops the object; whether the library says that it can go then.
  bool CanUnload();
  void Unload();

 private:
  FARPROC Function(const char* name) const { return GetProcAddress(m_module, name); }
  HMODULE m_module;
  platform::ComPtr<IWiaUIExtension2> m_extension;
};

// Leaves so many of the GDI objects that a process may have, while it lives.
class FewGdiObjects {
 public:
  explicit FewGdiObjects(std::size_t left);
  ~FewGdiObjects();
  FewGdiObjects(const FewGdiObjects&) = delete;
  FewGdiObjects& operator=(const FewGdiObjects&) = delete;

 private:
  void GiveBack();
  std::vector<HGDIOBJ> m_taken;
};

// The growth of each resource (see CountHostResources) from the first quarter of the cycles to the last. A peak in one
// of them is no leak, so the smallest count of a quarter stands for it.
std::map<std::string, long long> Growth(int cycles, const std::function<void()>& cycle);

// Runs it on a new thread in an apartment of this kind (COINIT_...), with a stack of so many bytes, and waits.
void RunOnThread(DWORD apartment, std::size_t stack, const std::function<void()>& body);

}  // namespace simulator
