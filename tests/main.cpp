#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/dialog_harness.h"
#include "tests/support/machine.h"

namespace harness {

std::filesystem::path LibraryPath() {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path() / L"WiaScanDialog.dll";
}

HMODULE Library() {
  static const HMODULE library = LoadLibraryW(LibraryPath().c_str());
  return library;
}

INT_PTR RunDialog(TestDialog& dialog, const TestDialog::Script& script, DEVICEDIALOGDATA2* request) {
  const samples::GdiPlus gdiplus;
  DEVICEDIALOGDATA2 empty = {};
  dialog.script = script;
  const INT_PTR endCode = dialog.DoModal(request != nullptr ? request : &empty);
  delete g_pLangResource;
  g_pLangResource = nullptr;
  return endCode;
}

}  // namespace harness

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  simulator::TakeMachine(argc, argv);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  g_hInstance = harness::Library();
  if (g_hInstance == nullptr) {
    fprintf(stderr, "WiaScanDialog.dll does not load\n");
    return 1;
  }
  return RUN_ALL_TESTS();
}
