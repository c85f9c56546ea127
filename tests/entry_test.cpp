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
  EXPECT_EQ(CanUnload(), S_OK);
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IUnknown, nullptr), E_INVALIDARG);
  void* object = kGarbage;
  EXPECT_EQ(ClassObject(IID_IUnknown, IID_IClassFactory, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(std::exchange(object, kGarbage), nullptr);
  EXPECT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IWiaUIExtension2, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(CanUnload(), S_OK);

  ComPtr<IClassFactory> factory;
  ASSERT_EQ(ClassObject(CLSID_WiaScanDialog, IID_IClassFactory, &factory), S_OK);
  EXPECT_EQ(CanUnload(), S_FALSE);
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
  void* object = kGarbage;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
  EXPECT_EQ(g_classFactory.CreateInstance(&g_classFactory, IID_IUnknown, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(std::exchange(object, kGarbage), nullptr);
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IClassFactory, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(g_cLocks, 0) << "an object that lacks the interface is freed again";
  {
    const PlatformFaults fault(PlatformCalls::allocations, {.call = 1});
    EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IUnknown, &object), E_OUTOFMEMORY);
  }
  ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  EXPECT_EQ(extension->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
  object = kGarbage;
  EXPECT_EQ(extension->QueryInterface(IID_IClassFactory, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(extension->DeviceDialog(nullptr), E_INVALIDARG);
  EXPECT_EQ(g_cLocks, 1);
  EXPECT_EQ(extension.Reset(), 0U);
  EXPECT_EQ(g_cLocks, 0);
}

TEST(EntryDialog, ResultsOfDialogsInARow) {
  constexpr HRESULT kTooLong = static_cast<HRESULT>(0x8007007A);
  ScanHost host;
  host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
  EXPECT_EQ(host.Scan(), S_OK);
  for (const auto& [length, result] : {std::pair{259U, S_OK}, std::pair{260U, kTooLong}}) {
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

// Page turned and cut also where the thread has no COM; it has none afterwards.
TEST(EntryHost, WorksInEveryApartment) {
  for (const int apartment : {-1, static_cast<int>(COINIT_APARTMENTTHREADED), static_cast<int>(COINIT_MULTITHREADED)}) {
    RunOnThread(apartment, 0x100000, [apartment] {
      APTTYPE before = APTTYPE_CURRENT;
      APTTYPE after = APTTYPE_CURRENT;
      APTTYPEQUALIFIER qualifier = {};
      CoGetApartmentType(&before, &qualifier);
      ScanHost host;
      host.scanner->SetFaults({.streamContent = Quadrants(1700, 2200, 200, 200)});
      EXPECT_EQ(host.Run([](SimulatedUser& user) { user.DoMainJob(); }), S_OK) << apartment;
      CoGetApartmentType(&after, &qualifier);
      EXPECT_EQ(before, after) << apartment;
      const GdiPlus session;
      EXPECT_LT(Picture(host.Reported()).GetWidth(), 1700U) << apartment;
    });
  }
}

HANDLE LookOfThread() {
  HANDLE look = nullptr;
  GetCurrentActCtx(&look);
  if (look != nullptr) ReleaseActCtx(look);
  return look;
}

// Where the platform knows densities of threads.
template <class Function>
Function OfDensity(const char* name) {
  return platform::LoadedFunction<Function>(L"user32", name);
}

TEST(EntryHost, TheThreadsContextsAreAsBefore) {
  const HANDLE perMonitor = reinterpret_cast<HANDLE>(INT_PTR{-3});
  const HANDLE system = reinterpret_cast<HANDLE>(INT_PTR{-2});
  const auto set = OfDensity<HANDLE(WINAPI*)(HANDLE)>("SetThreadDpiAwarenessContext");
  const auto get = OfDensity<HANDLE(WINAPI*)()>("GetThreadDpiAwarenessContext");
  const auto getOfWindow = OfDensity<HANDLE(WINAPI*)(HWND)>("GetWindowDpiAwarenessContext");
  const auto equal = OfDensity<BOOL(WINAPI*)(HANDLE, HANDLE)>("AreDpiAwarenessContextsEqual");
  const bool knows = set != nullptr && get != nullptr && getOfWindow != nullptr && equal != nullptr;
  const HANDLE initial = knows ? set(perMonitor) : nullptr;
  const HANDLE look = LookOfThread();
  ScanHost host;
  host.Run([&](SimulatedUser& user) {
    EXPECT_NE(LookOfThread(), look);
    EXPECT_TRUE(!knows || equal(getOfWindow(user.Dialog()), system));
  });
  const auto asBefore = [&] { return LookOfThread() == look && (!knows || equal(get(), perMonitor)); };
  EXPECT_TRUE(asBefore());
  {
    const WithoutResources none;  // no template, and no manifest of the library's
    host.Run([](SimulatedUser&) {});
  }
  EXPECT_TRUE(asBefore()) << "no dialog could be made";
  if (knows) set(initial);
}

// Lets a handler run out of memory while a dialog that has scanned closes.
struct FailureWhileClosing {
  static inline LPARAM pressed = 0;
  static inline bool failed = false;
  static LRESULT CALLBACK Look(int code, WPARAM wParam, LPARAM lParam) {
    const auto& message = *reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (message.message == WM_LBUTTONDOWN) pressed = message.lParam;
    if (message.message == WM_DESTROY && GetDlgItem(message.hwnd, IDC_PREVIEW_PANE) != nullptr) {
      const PlatformFaults fault(PlatformCalls::allocations, {.call = 1, .fromThenOn = true});
      BASE_DIALOG::StaticDialogProc(message.hwnd, WM_LBUTTONDOWN, 0, pressed);
      failed = fault.Count() > 0;
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }
};

TEST(EntryHost, AReportedScanIsNotTakenBack) {
  const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, FailureWhileClosing::Look, nullptr, GetCurrentThreadId());
  ScanHost host;
  host.scanner->SetFaults({.streamContent = Quadrants(1700, 2200, 200, 200)});
  host.Run([](SimulatedUser& user) {
    user.Press(IDC_PREVIEW);
    user.Settle();
    user.Press(IDC_TOOL_SELECT);
    user.Drag(9, 9, 90, 90);
    user.Press(IDC_SCAN);
  });
  UnhookWindowsHookEx(hook);
  EXPECT_TRUE(FailureWhileClosing::failed);
  EXPECT_EQ(host.result, S_OK);
  EXPECT_EQ(host.request.lNumFiles, 1);
}

TEST(EntryIcon, DeviceIconInAnySize) {
  ComPtr<IWiaUIExtension2> extension;
  ASSERT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
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
    EXPECT_EQ(std::pair(bitmap.bmWidth, bitmap.bmHeight), std::pair(LONG{size}, LONG{size}));
  }
  const WithoutResources none;
  auto untouched = static_cast<HICON>(kGarbage);
  EXPECT_EQ(extension->GetDeviceIcon(nullptr, &untouched, 32), E_FAIL);
  EXPECT_EQ(untouched, kGarbage);
}

}  // namespace
