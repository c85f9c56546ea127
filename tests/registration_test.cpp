// The library as COM finds it, registered by what integrators get: the .reg file, and the sections of the INF.
#include <windows.h>

#include <gtest/gtest.h>
#include <setupapi.h>

#include <fstream>

#include "entry/class_factory.h"
#include "tests/support/machine.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
namespace fs = std::filesystem;

constexpr wchar_t kHandler[] =
    L"CLSID\\{9010E5D3-AA46-4339-8055-770823255443}\\shellex\\WiaDialogExtensionHandlers\\"
    L"{7C3E51A2-4B90-4D6E-9F21-58A0C4D7E913}";

fs::path Packaged(const wchar_t* name) { return TestData().parent_path() / L"packaging" / name; }

void Import(const wchar_t* name) {
  EXPECT_EQ(_wsystem((L"regedit /S \"" + Packaged(name).wstring() + L"\"").c_str()), 0);
}

// Where the library is installed.
fs::path Installed(const wchar_t* folder = L"System32") {
  wchar_t windows[MAX_PATH] = {};
  GetWindowsDirectoryW(windows, MAX_PATH);
  return fs::path(windows) / folder / L"WiaScanDialog.dll";
}

// What the installing left, and what the uninstalling takes away.
void ExpectUsableUntilUnregistered() {
  EXPECT_EQ(RegQueryValueW(HKEY_CLASSES_ROOT, kHandler, nullptr, nullptr), ERROR_SUCCESS);
  // In another apartment, an object of this one could not be reached: no proxy is known for its interface.
  for (const DWORD apartment : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED}) {
    RunOnThread(static_cast<int>(apartment), [] {
      platform::ComPtr<IWiaUIExtension2> extension;
      void** const out = reinterpret_cast<void**>(extension.GetAddressOf());
      ASSERT_EQ(CoCreateInstance(CLSID_WiaScanDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IWiaUIExtension2, out), S_OK);
      ScanHost host;
      const auto dialog = [&](DEVICEDIALOGDATA2* request) { return extension->DeviceDialog(request); };
      EXPECT_EQ(host.RunLoaded(dialog, [](SimulatedUser&) {}), S_FALSE);
    });
  }
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_TRUE(DeleteFileW(Installed().c_str())) << "not there, or still loaded";
  Import(L"unregister.reg");
  EXPECT_EQ(RegQueryValueW(HKEY_CLASSES_ROOT, kHandler, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

// Goes on at every step of an installation, and gives up where the platform would ask the user for a file.
UINT CALLBACK AskNobody(void*, UINT notification, UINT_PTR, UINT_PTR) {
  return notification == SPFILENOTIFY_COPYERROR ? FILEOP_ABORT : FILEOP_DOIT;
}

TEST(Registration, RegFile) {
  if (leaveMachine) GTEST_SKIP() << "registers the library on this machine";
  fs::copy_file(LibraryPath(), Installed(), fs::copy_options::overwrite_existing);
  Import(L"register.reg");
  ExpectUsableUntilUnregistered();
}

TEST(Registration, InfSections) {
  if (leaveMachine) GTEST_SKIP() << "registers the library on this machine";
  // A driver package in small: the sections in an INF of its own, and this architecture's library under every name. Of
  // the registry only the machine's own view: Wine 8 knows no FLG_ADDREG_32BITKEY and would write both into one.
  const bool is64Bit = sizeof(void*) == 8;
  const TemporaryFolder package;
  const std::wstring path = package.File(L"driver.inf");
  std::ofstream(fs::path(path), std::ios::binary)
      << "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Install]\r\nAddReg=WiaScanDialog.Registry\r\n"
      << "CopyFiles=WiaScanDialog.Files" << (is64Bit ? ",WiaScanDialog.Files.WOW64\r\n" : "\r\n")
      << std::ifstream(Packaged(L"WiaScanDialog.inf"), std::ios::binary).rdbuf();
  // Wine 8 knows no [SourceDisksFiles] of one architecture, and takes what is beside the INF.
  for (const wchar_t* name : {L"x64\\WiaScanDialog.dll", L"arm64\\WiaScanDialog.dll", L"x86\\WiaScanDialog.dll",
                              L"x86\\WiaScanDialog32.dll", L"WiaScanDialog.dll", L"WiaScanDialog32.dll"}) {
    fs::create_directories((package.path / name).parent_path());
    fs::copy_file(LibraryPath(), package.path / name);
  }

  const HINF inf = SetupOpenInfFileW(path.c_str(), nullptr, INF_STYLE_WIN4, nullptr);
  ASSERT_NE(inf, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(SetupInstallFromInfSectionW(nullptr, inf, L"Install", SPINST_FILES | SPINST_REGISTRY, nullptr,
                                          package.path.c_str(), 0, AskNobody, nullptr, nullptr, nullptr));
  SetupCloseInfFile(inf);
  // To a 32-bit program on a 64-bit machine that folder is its System32.
  if (is64Bit) EXPECT_TRUE(DeleteFileW(Installed(L"SysWOW64").c_str()));
  ExpectUsableUntilUnregistered();
}

}  // namespace
