// The library as COM finds it, registered with the file that integrators get.
#include <gtest/gtest.h>

#include "entry/class_factory.h"
#include "tests/support/dialog_harness.h"

namespace {

constexpr wchar_t kHandler[] =
    L"CLSID\\{9010E5D3-AA46-4339-8055-770823255443}\\shellex\\WiaDialogExtensionHandlers\\"
    L"{7C3E51A2-4B90-4D6E-9F21-58A0C4D7E913}";

void Import(const wchar_t* name) {
  const auto file = std::filesystem::absolute(std::filesystem::path(WSD_TEST_DATA) / L"../../packaging" / name);
  EXPECT_EQ(_wsystem((L"regedit /S \"" + file.lexically_normal().wstring() + L"\"").c_str()), 0);
}

TEST(Registration, ComFindsTheLibraryAndItsDialogOpens) {
  wchar_t original[MAX_PATH] = {}, folder[MAX_PATH] = {};
  GetModuleFileNameW(harness::Library(), original, MAX_PATH);
  GetSystemDirectoryW(folder, MAX_PATH);
  const std::wstring installed = std::wstring(folder) + L"\\WiaScanDialog.dll";
  ASSERT_TRUE(CopyFileW(original, installed.c_str(), FALSE));
  Import(L"register.reg");
  EXPECT_EQ(RegQueryValueW(HKEY_CLASSES_ROOT, kHandler, nullptr, nullptr), ERROR_SUCCESS);
  platform::ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(CoCreateInstance(CLSID_WiaScanDialog, nullptr, CLSCTX_INPROC_SERVER, IID_IWiaUIExtension2, &extension),
            S_OK);
  const harness::DialogDriver user([](HWND dialog) { PostMessageW(dialog, WM_CLOSE, 0, 0); });
  DEVICEDIALOGDATA2 request = {};
  EXPECT_EQ(extension->DeviceDialog(&request), S_FALSE);
  extension.Reset();
  CoFreeUnusedLibrariesEx(0, 0);
  EXPECT_TRUE(DeleteFileW(installed.c_str())) << "still loaded";
  Import(L"unregister.reg");
  EXPECT_EQ(RegQueryValueW(HKEY_CLASSES_ROOT, kHandler, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

}  // namespace
