// An application that has the dialog opened for a simulated scanner, and then looks for what it left behind.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/scoped.h"
#include "platform/wia2.h"
#include "simulator/simulated_scanner.h"
#include "tests/support/platform_faults.h"
#include "tests/support/simulated_user.h"
#include "tests/support/temporary_folder.h"

namespace harness {

// The built library, loaded beside the test program; g_hInstance points at it while the tests run.
HMODULE Library();
std::filesystem::path LibraryPath();

class ScanHost {
 public:
  explicit ScanHost(const simulator::ScannerConfiguration& device = {});
  ~ScanHost() { FreeOutputs(); }

  // DeviceDialog of a new object of the class as it is linked into this program, where faults can be planted. Whatever
  // was not left in order fails the test. `during`: calls the dialog, with whatever shall fail meanwhile.
  using During = std::function<HRESULT(const std::function<HRESULT()>&)>;
  HRESULT Run(const SimulatedUser::Task& task, const During& during = nullptr);
  HRESULT Scan() {
    return Run([](SimulatedUser& user) { user.Press(IDC_SCAN); });
  }
  // The same with another object's.
  using Dialog = std::function<HRESULT(DEVICEDIALOGDATA2*)>;
  HRESULT RunLoaded(const Dialog& dialog, const SimulatedUser::Task& task, const During& during = nullptr);

  // The path that the last dialog reported; it lies there until the next one. L"(none)": none.
  std::wstring Reported() const { return IsReported() ? request.pbstrFilePaths[0] : L"(none)"; }
  // The files beside the one of somebody else's, "Image.JPG", which has the name that is asked for.
  std::set<std::wstring> Pages() const;

  std::unique_ptr<simulator::SimulatedScanner> scanner;
  TemporaryFolder folder;
  std::wstring folderName;  // where pages are asked for
  std::wstring fileName = L"Image";
  HWND owner = nullptr;
  const char* language = "0409";
  bool inches = false;             // the user measures in them
  DEVICEDIALOGDATA2 request = {};  // with the outputs of the last dialog
  HRESULT result = S_OK;           // of the last dialog
  std::vector<std::wstring> messages;
  ULONGLONG patience = INFINITE;     // milliseconds for a whole dialog
  bool hostileContent = false;       // pages need not be whole, since the device sends none that are
  std::size_t filesThatMayStay = 0;  // set during a dialog whose deletions were refused

 private:
  bool IsReported() const { return request.pbstrFilePaths != nullptr; }
  void ExpectWholeFiles() const;
  void FreeOutputs();
};

// Runs it on a new thread with COM of this kind (COINIT_...; -1: none), and waits.
inline void RunOnThread(int apartment, const std::function<void()>& body) {
  std::thread([&] {
    if (apartment >= 0) CoInitializeEx(nullptr, static_cast<DWORD>(apartment));
    body();
    if (apartment >= 0) CoUninitialize();
  }).join();
}

}  // namespace harness
