// The library as its clients see it, and DeviceDialog's bracket around the dialog.
#include <gtest/gtest.h>

#include "dialog/base_dialog.h"
#include "entry/class_factory.h"
#include "entry/wia_ui_extension.h"
#include "platform/module_state.h"
#include "resources/lang_resource.h"
#include "tests/support/image_samples.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using platform::ComPtr;

template <class Function>
Function Export(const char* name) {
  return platform::LoadedFunction<Function>(L"WiaScanDialog.dll", name);
}

HRESULT ClassObject(REFCLSID clsid, REFIID iid, void** object) {
  return Export<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(clsid, iid, object);
}

HRESULT CanUnload() { return Export<HRESULT(WINAPI*)()>("DllCanUnloadNow")(); }

void* const kGarbage = reinterpret_cast<void*>(0x10);

// What the library does without its resources.
struct WithoutResources {
  WithoutResources() { g_hInstance = GetModuleHandleW(nullptr); }
  ~WithoutResources() { g_hInstance = Library(); }
};

TEST(Entry, ClassObjectAndUnloading) {
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IUnknown, nullptr), E_INVALIDARG);
  void* object = kGarbage;
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IWiaUIExtension2, &object), E_NOINTERFACE);
  EXPECT_EQ(CanUnload(), S_OK);
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IClassFactory, &factory), S_OK);
  EXPECT_EQ(CanUnload(), S_FALSE);
  EXPECT_EQ(factory->LockServer(TRUE), S_OK);
  IClassFactory* locked = factory.Get();
  factory.Reset();
  EXPECT_EQ(CanUnload(), S_FALSE);
  EXPECT_EQ(locked->LockServer(FALSE), S_OK);
  EXPECT_EQ(CanUnload(), S_OK);
  for (const char* name : {"DllRegisterServer", "DllUnregisterServer"}) {
    EXPECT_EQ(Export<HRESULT(WINAPI*)()>(name)(), S_OK);
  }
}

TEST(Entry, FactoryMakesCountedObjects) {
  void* object = kGarbage;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(g_classFactory.CreateInstance(&g_classFactory, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
  EXPECT_EQ(g_cLocks, 0) << "an object that lacks the interface is freed again";
  {
    const PlatformFaults fault(PlatformCalls::allocations, {.call = 1});
    EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, &object), E_OUTOFMEMORY);
  }
  ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  EXPECT_EQ(extension->DeviceDialog(nullptr), E_INVALIDARG);
  EXPECT_EQ(g_cLocks, 1);
  EXPECT_EQ(extension.Reset(), 0U);
  EXPECT_EQ(g_cLocks, 0);
}

TEST(EntryDialog, ResultsOfDialogsInARow) {
  constexpr HRESULT kTooLong = static_cast<HRESULT>(0x8007007A);
  ScanHost host;
  host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
  for (const auto& [length, result] : {std::pair{1U, S_OK}, {259U, S_OK}, {260U, kTooLong}}) {
    host.fileName = std::wstring(length, L'n');
    EXPECT_EQ(host.Scan(), result) << length;
    EXPECT_EQ(host.Run([](SimulatedUser&) {}), S_FALSE) << length;
  }
  const WithoutResources none;
  EXPECT_EQ(host.Scan(), kTooLong) << "no dialog can be made";
  host.fileName = L"n";
  EXPECT_EQ(host.Scan(), S_OK);
}

TEST(EntryDialog, ASecondDialogAtOnceIsRefused) {
  ScanHost host;
  EXPECT_EQ(host.Run([](SimulatedUser& user) {
    DEVICEDIALOGDATA2 other = {};
    ComPtr<IWiaUIExtension2> extension;
    g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension);
    EXPECT_EQ(extension->DeviceDialog(&other), HRESULT_FROM_WIN32(ERROR_BUSY));
    EXPECT_TRUE(user.IsShown() && user.IsEnabled(IDC_SCAN));
  }),
            S_FALSE);
}

TEST(EntryDialog, AReportedScanIsNotTakenBack) {
  bool failed = false;
  ScanHost host;
  host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
  host.Run([&failed](SimulatedUser& user) {
    user.Press(IDC_SCAN);
    // The dialog has ended, its window is still there. The icon that this shows was not loaded yet.
    const PlatformFaults fault(PlatformCalls::allocations, {.call = 1, .fromThenOn = true});
    BASE_DIALOG::StaticDialogProc(user.Dialog(), WM_COMMAND, IDM_ZOOM_OUT, 0);
    failed = fault.Count() > 0;
  });
  EXPECT_TRUE(failed);
  EXPECT_EQ(host.result, S_OK);
  EXPECT_EQ(host.request.lNumFiles, 1);
}

HANDLE LookOfThread() {
  HANDLE look = nullptr;
  GetCurrentActCtx(&look);
  if (look != nullptr) ReleaseActCtx(look);
  return look;
}

TEST(EntryHost, TheThreadsContextsAreAsBefore) {
  // Where the platform knows densities of threads: "of each monitor" and "of the system".
  const HANDLE perMonitor = reinterpret_cast<HANDLE>(INT_PTR{-3});
  const HANDLE system = reinterpret_cast<HANDLE>(INT_PTR{-2});
  const auto set = platform::LoadedFunction<HANDLE(WINAPI*)(HANDLE)>(L"user32", "SetThreadDpiAwarenessContext");
  const auto ofWindow = platform::LoadedFunction<HANDLE(WINAPI*)(HWND)>(L"user32", "GetWindowDpiAwarenessContext");
  const auto equal = platform::LoadedFunction<BOOL(WINAPI*)(HANDLE, HANDLE)>(L"user32", "AreDpiAwarenessContextsEqual");
  const bool knows = set != nullptr && ofWindow != nullptr && equal != nullptr;
  const HANDLE initial = knows ? set(perMonitor) : nullptr;
  const HANDLE look = LookOfThread();
  ScanHost host;
  host.Run([&](SimulatedUser& user) {
    EXPECT_NE(LookOfThread(), look);
    EXPECT_TRUE(!knows || equal(ofWindow(user.Dialog()), system));
  });
  EXPECT_EQ(LookOfThread(), look);
  {
    const WithoutResources none;  // no template, and no manifest of the library's
    host.Run([](SimulatedUser&) {});
  }
  EXPECT_EQ(LookOfThread(), look) << "no dialog could be made";
  EXPECT_TRUE(!knows || equal(set(initial), perMonitor));
}

TEST(EntryIcon, DeviceIconInAnySize) {
  ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  EXPECT_EQ(extension->GetDeviceIcon(nullptr, nullptr, 32), E_INVALIDARG);
  for (const int size : {16, 48}) {
    HICON icon = nullptr;
    ASSERT_EQ(extension->GetDeviceIcon(nullptr, &icon, static_cast<ULONG>(size)), S_OK);
    const platform::Icon owned(icon);
    const platform::Icon wanted(
        static_cast<HICON>(LoadImageW(Library(), MAKEINTRESOURCEW(IDI_DEVICE), IMAGE_ICON, size, size, 0)));
    EXPECT_EQ(PixelsOf(icon), PixelsOf(wanted.get())) << size;
  }
  const WithoutResources none;
  auto untouched = static_cast<HICON>(kGarbage);
  EXPECT_EQ(extension->GetDeviceIcon(nullptr, &untouched, 32), E_FAIL);
  EXPECT_EQ(untouched, kGarbage);
}

}  // namespace
