// The library as its clients see it, and DeviceDialog's bracket around the dialog.
#include <gtest/gtest.h>

#include <thread>

#include "entry/class_factory.h"
#include "entry/wia_ui_extension.h"
#include "platform/module_state.h"
#include "simulator/simulated_scanner.h"
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

// An application that scans with the library as it is linked into this program.
struct ScanningHost {
  HRESULT Run(simulator::SimulatedUser::Task task) {
    ComPtr<IWiaUIExtension2> extension;
    EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
    const platform::BasicString folderName(SysAllocString(folder.path.c_str()));
    const platform::BasicString fileName(SysAllocString(L"Scan"));
    const auto root = scanner.Root();
    request = {};
    request.pIWiaItemRoot = root.Get();
    request.bstrFolderName = folderName.get();
    request.bstrFilename = fileName.get();
    const simulator::SimulatedUser user(std::move(task));
    return extension->DeviceDialog(&request);
  }
  // Of the page that was reported, which is deleted. 0: none was.
  UINT TakeWidth() {
    if (request.lNumFiles != 1) return 0;
    const UINT width = samples::Picture(request.pbstrFilePaths[0]).GetWidth();
    DeleteFileW(request.pbstrFilePaths[0]);
    SysFreeString(request.pbstrFilePaths[0]);
    CoTaskMemFree(request.pbstrFilePaths);
    request.pWiaItem->Release();
    request.lNumFiles = 0;
    return width;
  }
  samples::GdiPlus gdiplus;
  samples::TemporaryFolder folder;
  simulator::SimulatedScanner scanner;
  DEVICEDIALOGDATA2 request = {};
};

void DoMainJob(simulator::SimulatedUser& user) { user.DoMainJob(); }

// Page turned and cut also where the thread has no COM; it has none afterwards.
TEST(EntryHost, WorksInEveryApartment) {
  UINT expected = 0;
  for (const int apartment : {-1, static_cast<int>(COINIT_APARTMENTTHREADED), static_cast<int>(COINIT_MULTITHREADED)}) {
    UINT width = 0;
    APTTYPE before = APTTYPE_CURRENT;
    APTTYPE after = APTTYPE_CURRENT;
    std::thread([&] {
      APTTYPEQUALIFIER qualifier = {};
      if (apartment >= 0) CoInitializeEx(nullptr, static_cast<DWORD>(apartment));
      CoGetApartmentType(&before, &qualifier);
      ScanningHost host;
      EXPECT_EQ(host.Run(DoMainJob), S_OK) << apartment;
      width = host.TakeWidth();
      CoGetApartmentType(&after, &qualifier);
      if (apartment >= 0) CoUninitialize();
    }).join();
    EXPECT_EQ(before, after) << apartment;
    expected = expected == 0 ? width : expected;
    EXPECT_EQ(width, expected) << apartment;
  }
  EXPECT_GT(expected, 0U);
}

// The look and the density that a thread has, as far as this platform knows the latter.
struct ThreadContexts {
  ThreadContexts() {
    GetCurrentActCtx(&look);
    if (look != nullptr) ReleaseActCtx(look);
    using Get = HANDLE(WINAPI*)();
    const auto get = Function<Get>("GetThreadDpiAwarenessContext");
    density = get != nullptr ? get() : nullptr;
  }
  template <class Type>
  static Type Function(const char* name) {
    return reinterpret_cast<Type>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32"), name)));
  }
  static bool SameDensity(HANDLE one, HANDLE other) {
    const auto equal = Function<BOOL(WINAPI*)(HANDLE, HANDLE)>("AreDpiAwarenessContextsEqual");
    return equal == nullptr || equal(one, other);
  }
  friend bool operator==(const ThreadContexts& one, const ThreadContexts& other) {
    return one.look == other.look && SameDensity(one.density, other.density);
  }
  HANDLE look = nullptr;
  HANDLE density = nullptr;
};

// The file that holds the window's procedure: the side-by-side folder of version 6 has it in its name. What the file
// itself answers for its version is 5.81 on Wine 8, in either folder.
std::wstring FileOfClass(HWND window) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(GetClassLongPtrW(window, GCLP_WNDPROC)), &module);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(module, path, MAX_PATH);
  CharLowerW(path);
  return path;
}

TEST(EntryHost, TheThreadsContextsAreAsBefore) {
  const HANDLE perMonitor = reinterpret_cast<HANDLE>(INT_PTR{-3});
  const HANDLE system = reinterpret_cast<HANDLE>(INT_PTR{-2});
  const auto set = ThreadContexts::Function<HANDLE(WINAPI*)(HANDLE)>("SetThreadDpiAwarenessContext");
  const HANDLE initial = set != nullptr ? set(perMonitor) : nullptr;
  const ThreadContexts before;
  ScanningHost host;
  EXPECT_EQ(host.Run([&](simulator::SimulatedUser& user) {
    const ThreadContexts inside;
    EXPECT_NE(inside.look, before.look);
    const auto ofWindow = ThreadContexts::Function<HANDLE(WINAPI*)(HWND)>("GetWindowDpiAwarenessContext");
    EXPECT_TRUE(ofWindow == nullptr || ThreadContexts::SameDensity(ofWindow(user.Dialog()), system));
    const std::wstring file = FileOfClass(GetDlgItem(user.Dialog(), IDC_STATUS_BAR));
    EXPECT_NE(file.find(L"common-controls_6595b64144ccf1df_6."), std::wstring::npos)
        << std::filesystem::path(file).string();
    user.Press(IDCANCEL);
  }),
            S_FALSE);
  EXPECT_TRUE(ThreadContexts() == before);
  g_hInstance = GetModuleHandleW(nullptr);  // no template, and no manifest of the library's
  EXPECT_EQ(host.Run(DoMainJob), S_OK);
  g_hInstance = harness::Library();
  EXPECT_TRUE(ThreadContexts() == before) << "no dialog could be made";
  if (set != nullptr) set(initial);
}

// Lets a handler run out of memory while a dialog that has scanned closes.
struct FailureWhileClosing {
  static inline LPARAM pressed = 0;
  static inline bool failed = false;
  static LRESULT CALLBACK Look(int code, WPARAM wParam, LPARAM lParam) {
    const auto& message = *reinterpret_cast<const CWPSTRUCT*>(lParam);
    if (message.message == WM_LBUTTONDOWN) pressed = message.lParam;
    if (message.message == WM_DESTROY && GetDlgItem(message.hwnd, IDC_PREVIEW_PANE) != nullptr) {
      const harness::AllocationFault fault(1, true);
      BASE_DIALOG::StaticDialogProc(message.hwnd, WM_LBUTTONDOWN, 0, pressed);
      failed = fault.Count() > 0;
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }
};

TEST(EntryHost, AReportedScanIsNotTakenBack) {
  const HHOOK hook = SetWindowsHookExW(WH_CALLWNDPROC, FailureWhileClosing::Look, nullptr, GetCurrentThreadId());
  ScanningHost host;
  const HRESULT result = host.Run([](simulator::SimulatedUser& user) {
    user.Choose(IDC_FEED_METHOD, 2);
    user.Press(IDC_PREVIEW);
    user.Settle();
    user.Press(IDC_TOOL_SELECT);
    user.Drag(5, 5, 40, 40);
    user.Press(IDC_SCAN);
  });
  UnhookWindowsHookEx(hook);
  EXPECT_TRUE(FailureWhileClosing::failed);
  EXPECT_EQ(SUCCEEDED(result), host.request.lNumFiles == 1);
  EXPECT_GT(host.TakeWidth(), 0U);
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
