// The library as its clients see it, and DeviceDialog's bracket around the dialog.
#include <gtest/gtest.h>

#include "entry/class_factory.h"
#include "entry/wia_ui_extension.h"
#include "platform/module_state.h"
#include "tests/support/dialog_harness.h"

namespace {

using platform::ComPtr;

template <class Function>
Function Export(const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(harness::Library(), name)));
}

HRESULT ClassObject(REFCLSID clsid, REFIID iid, void** object) {
  return Export<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(clsid, iid, object);
}

HRESULT CanUnload() { return Export<HRESULT(WINAPI*)()>("DllCanUnloadNow")(); }

void* const GARBAGE = reinterpret_cast<void*>(0x10);

TEST(Entry, ClassObjectAndUnloading) {
  EXPECT_EQ(CanUnload(), S_OK);
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IUnknown, nullptr), E_INVALIDARG);
  void* object = GARBAGE;
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  object = GARBAGE;
  EXPECT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IWiaUIExtension2, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CanUnload(), S_OK);

  ComPtr<IClassFactory> factory;
  ASSERT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IClassFactory, &factory), S_OK);
  EXPECT_EQ(CanUnload(), S_FALSE);
  EXPECT_EQ(factory->AddRef(), 2U);
  EXPECT_EQ(factory->AddRef(), 2U);
  EXPECT_EQ(factory->Release(), 1U);
  EXPECT_EQ(factory->Release(), 1U);
  EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  IClassFactory* locked = factory.Get();
  factory.Reset();
  EXPECT_EQ(CanUnload(), S_FALSE);
  EXPECT_EQ(locked->LockServer(FALSE), S_OK);
  EXPECT_EQ(CanUnload(), S_OK);
  EXPECT_EQ(Export<HRESULT(WINAPI*)()>("DllRegisterServer")(), S_OK);
  EXPECT_EQ(Export<HRESULT(WINAPI*)()>("DllUnregisterServer")(), S_OK);
}

TEST(Entry, FactoryMakesCountedObjects) {
  void* object = GARBAGE;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(g_classFactory.CreateInstance(&g_classFactory, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
  object = GARBAGE;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(g_cLocks, 0) << "an object that lacks the interface is freed again";
  {
    const harness::AllocationFault fault(1);
    EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, &object), E_OUTOFMEMORY);
  }
  ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  EXPECT_EQ(g_cLocks, 1);
  EXPECT_EQ(extension->AddRef(), 2U);
  EXPECT_EQ(extension->Release(), 1U);
  EXPECT_EQ(extension->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  object = GARBAGE;
  EXPECT_EQ(extension->QueryInterface(IID_IClassFactory, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  extension.Reset();
  EXPECT_EQ(g_cLocks, 0);
}

class EntryDialog : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
    request.lNumFiles = 77;
    request.pbstrFilePaths = reinterpret_cast<BSTR*>(0x20);
  }
  // DeviceDialog with a user who gives this command. The outputs must be as the caller left them.
  HRESULT Run(int command) {
    const harness::DialogDriver user([command](HWND dialog) { PostMessageW(dialog, WM_COMMAND, command, 0); });
    const HRESULT result = extension->DeviceDialog(&request);
    EXPECT_EQ(request.lNumFiles, 77);
    EXPECT_EQ(request.pbstrFilePaths, reinterpret_cast<BSTR*>(0x20));
    EXPECT_EQ(request.pWiaItem, nullptr);
    EXPECT_EQ(g_pLangResource, nullptr);
    return result;
  }
  ComPtr<IWiaUIExtension2> extension;
  DEVICEDIALOGDATA2 request = {};
};

TEST_F(EntryDialog, ResultsOfTwoDialogsInARow) {
  constexpr HRESULT kTooLong = static_cast<HRESULT>(0x8007007A);
  EXPECT_EQ(extension->DeviceDialog(nullptr), E_INVALIDARG);
  EXPECT_EQ(Run(IDCANCEL), S_FALSE);
  EXPECT_EQ(Run(IDC_SCAN), S_OK);
  for (const auto& [length, result] : {std::pair{259U, S_OK}, std::pair{260U, kTooLong}}) {
    const platform::BasicString name(SysAllocString(std::wstring(length, L'n').c_str()));
    request.bstrFilename = name.get();
    EXPECT_EQ(Run(IDC_SCAN), result) << length;
    EXPECT_EQ(Run(IDCANCEL), S_FALSE) << length;
  }
}

TEST_F(EntryDialog, ASecondDialogAtOnceIsRefused) {
  HRESULT second = S_OK;
  const harness::DialogDriver user([&](HWND dialog) {
    DEVICEDIALOGDATA2 other = {};
    second = extension->DeviceDialog(&other);
    PostMessageW(dialog, WM_CLOSE, 0, 0);
  });
  EXPECT_EQ(extension->DeviceDialog(&request), S_FALSE);
  EXPECT_EQ(second, HRESULT_FROM_WIN32(ERROR_BUSY));
}

TEST_F(EntryDialog, NoMemoryAtEachAllocation) {
  int failing = 1;
  for (HRESULT result = E_OUTOFMEMORY; result == E_OUTOFMEMORY && failing < 500; ++failing) {
    const harness::DialogDriver user([](HWND dialog) { PostMessageW(dialog, WM_CLOSE, 0, 0); });
    const harness::AllocationFault fault(failing);
    result = extension->DeviceDialog(&request);
    EXPECT_TRUE(result == E_OUTOFMEMORY || (result == S_FALSE && fault.Count() < failing)) << failing;
    EXPECT_EQ(g_pLangResource, nullptr);
  }
  EXPECT_GT(failing, 5) << "the dialog allocates at least its language resources and pictures";
}

TEST_F(EntryDialog, WithoutATemplateNothingIsShown) {
  g_hInstance = GetModuleHandleW(nullptr);
  EXPECT_EQ(extension->DeviceDialog(&request), S_OK);
  g_hInstance = harness::Library();
  EXPECT_EQ(g_pLangResource, nullptr);
}

TEST_F(EntryDialog, DeviceIconInAnySize) {
  EXPECT_EQ(extension->GetDeviceIcon(nullptr, nullptr, 32), E_INVALIDARG);
  for (const int size : {16, 32, 48}) {
    HICON icon = nullptr;
    ASSERT_EQ(extension->GetDeviceIcon(nullptr, &icon, static_cast<ULONG>(size)), S_OK);
    const platform::Icon owned(icon);
    ICONINFO info = {};
    ASSERT_TRUE(GetIconInfo(icon, &info));
    const platform::GdiObject color(info.hbmColor);
    const platform::GdiObject mask(info.hbmMask);
    BITMAP bitmap = {};
    GetObjectW(info.hbmColor, sizeof(bitmap), &bitmap);
    EXPECT_EQ(bitmap.bmWidth, size);
    EXPECT_EQ(bitmap.bmHeight, size);
  }
  g_hInstance = GetModuleHandleW(nullptr);
  auto untouched = static_cast<HICON>(GARBAGE);
  EXPECT_EQ(extension->GetDeviceIcon(nullptr, &untouched, 32), E_FAIL);
  EXPECT_EQ(untouched, GARBAGE);
  g_hInstance = harness::Library();
}

}  // namespace
