// The host survives: faults in the device and the platform, a hostile device, damaged files, a user out of his mind,
// and hosts of every kind. After each run nothing is held, nothing of ours lies around, no file is half done.
#include <gtest/gtest.h>
#include <winternl.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "entry/class_factory.h"
#include "platform/registry_reader.h"
#include "scanning/image_file.h"
#include "tests/support/damaged_jpeg.h"
#include "tests/support/image_samples.h"
#include "tests/support/machine.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using simulator::CallFault;
using simulator::FaultPlan;
using simulator::ScannerConfiguration;
using Names = std::set<std::wstring>;
using Counts = std::map<std::string, long long>;

// How much is thrown at the library, in the ordinary run and in the thorough one. Of the calls in a sweep, one in so
// many fails; the thorough run begins somewhere else each time.
struct Effort {
  std::size_t everyDeviceFault = thorough ? 5 : 71;
  std::size_t everyPlatformCall = thorough ? 1 : 17;
  std::size_t everyAllocation = thorough ? 5 : 47;
  std::size_t first = thorough ? static_cast<std::size_t>(GetTickCount64()) : 0;
  int mutations = thorough ? 1500 : 40;
  int monkeyEvents = thorough ? 6000 : 400;
  int warmUp = thorough ? 20 : 4;
  int cycles = thorough ? 40 : 9;
  int pages = thorough ? 500 : 50;  // of one transfer
};

// Blocks in use in all of the process's heaps; smaller leaks show here than in whole pages.
long long HeapBytes() {
  HANDLE heaps[64];
  const DWORD count = std::min<DWORD>(GetProcessHeaps(64, heaps), 64);
  long long bytes = 0;
  for (DWORD i = 0; i < count && HeapLock(heaps[i]); ++i) {
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heaps[i], &entry)) bytes += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

// Wine 8 and 10 count none: there it is the used places of the table that the process environment block points to.
long long GdiObjects() {
  const DWORD counted = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
  if (counted != 0) return counted;
  const bool wide = sizeof(void*) == 8 || IsWow64();  // the machine's entries, not the program's
  PROCESS_BASIC_INFORMATION process = {};
  NtQueryInformationProcess(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process), nullptr);
  const BYTE* table = nullptr;
  const auto* pointer = reinterpret_cast<const BYTE*>(process.PebBaseAddress) + (sizeof(void*) == 8 ? 0xF8 : 0x94);
  std::memcpy(&table, pointer, sizeof(table));
  if (table == nullptr) return 0;  // 32-bit programs on Wine 8 may have none
  long long used = 0;
  for (int i = 0; i < 0x10000; ++i) used += table[i * (wide ? 24 : 16) + (wide ? 0x0E : 0x0A)] != 0 ? 1 : 0;
  return used;
}

// Handles of kernel objects are small multiples of four. (GetProcessHandleCount is 0 on Wine 8.)
long long KernelHandles() {
  long long count = 0;
  DWORD flags = 0;
  for (UINT_PTR value = 4; value < 0x1000; value += 4) {
    count += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1 : 0;
  }
  return count;
}

// The growth of what the process holds in one cycle: the median, since a cache of other components grows in one of
// them, and with Wine 10 the heap by a whole group of small blocks.
Counts Growth(int cycles, const std::function<void()>& cycle) {
  std::map<std::string, std::vector<long long>> steps;
  for (int i = 0; i <= cycles; ++i) {
    for (const auto& [name, held] :
         Counts{{"GDI objects", GdiObjects()}, {"kernel handles", KernelHandles()}, {"heap bytes", HeapBytes()}}) {
      if (i > 0) steps[name].back() += held;
      if (i < cycles) steps[name].push_back(-held);
    }
    if (i < cycles) cycle();
  }
  Counts medians;
  for (auto& [name, growths] : steps) {
    std::ranges::nth_element(growths, growths.begin() + cycles / 2);
    medians[name] = growths[static_cast<std::size_t>(cycles / 2)];
  }
  return medians;
}

class Robustness : public testing::Test {
 protected:
  Robustness() { host.patience = 20000; }  // some machines are busy, or emulate
  void TearDown() override {
    EXPECT_GT(count, 0);
    const auto* result = testing::UnitTest::GetInstance()->current_test_info()->result();
    if (thorough) printf("%-62s | %9lld | %8d\n", what.c_str(), count, result->total_part_count());
  }
  // What the device does, sending a small page if nothing else is said.
  void Plan(FaultPlan plan = {}) {
    if (!plan.streamContent) plan.streamContent = page;
    host.scanner->ClearLog();
    host.scanner->SetFaults(std::move(plan));
  }
  void RunMainJob(const std::string& label, const ScanHost::During& during = nullptr) {
    SCOPED_TRACE(label);
    ++count;
    host.Run(MainJob, during);
  }
  static void MainJob(SimulatedUser& user) { user.DoMainJob(); }

  const Effort effort;
  const Content page = Quadrants(400, 560, 100, 100);
  ScanHost host;
  std::string what;
  long long count = 0;
};

TEST_F(Robustness, DeviceCallsFail) {
  what = "device calls failing, one dialog each";
  Plan();
  RunMainJob("no fault");
  const std::vector<std::string> calls = host.scanner->Calls();
  ASSERT_GT(calls.size(), 20U);
  EXPECT_EQ(host.scanner->Transfers().size(), 2U) << "preview and scan";
  // Among them: busy, offline, jam, cover open, item deleted, server disconnected.
  constexpr DWORD kCodes[] = {0x80004005, 0x8007000E, 0x80210006, 0x80210005, 0x80210002,
                              0x80210016, 0x80210009, 0x800706BA, S_FALSE};
  std::size_t turn = effort.first;
  for (std::size_t call = 1; call <= calls.size(); ++call) {
    for (const bool fromThenOn : {false, true}) {
      std::vector<CallFault> faults;
      for (const DWORD code : kCodes)
        faults.push_back({call, CallFault::Kind::result, static_cast<HRESULT>(code), fromThenOn});
      for (const char* data : {"ReadMultiple", "GetPropertyAttributes", "Next"}) {
        if (calls[call - 1].find(data) == std::string::npos) continue;
        faults.push_back({call, CallFault::Kind::wrongType, S_OK, fromThenOn});
        faults.push_back({call, CallFault::Kind::wrongCount, S_OK, fromThenOn});
      }
      for (const CallFault& fault : faults) {
        if (turn++ % effort.everyDeviceFault != 0) continue;
        Plan({.calls = {fault}});
        RunMainJob(calls[call - 1] + " " + std::to_string(static_cast<unsigned>(fault.result)));
      }
    }
  }
}

TEST_F(Robustness, PlatformCallsFail) {
  what = "file, memory and graphics calls failing, one dialog each";
  for (const PlatformCalls calls :
       {PlatformCalls::files, PlatformCalls::memory, PlatformCalls::graphics, PlatformCalls::allocations}) {
    const std::string kind = "kind " + std::to_string(static_cast<int>(calls)) + " call ";
    std::size_t counted = 0;
    const auto failing = [&](const PlatformFault& fault) {
      Plan();
      RunMainJob(kind + std::to_string(fault.call) + (fault.fromThenOn ? " on" : ""), [&](const auto& dialog) {
        const PlatformFaults faults(calls, fault);
        const HRESULT result = dialog();
        counted = faults.Count();
        host.filesThatMayStay = faults.RefusedDeletions();
        return result;
      });
    };
    failing({});
    const std::size_t all = counted;
    EXPECT_GT(all, 2U);
    const std::size_t every = calls == PlatformCalls::allocations ? effort.everyAllocation : effort.everyPlatformCall;
    for (std::size_t call = 1 + effort.first % every; call <= all; call += every) {
      failing({call, false, ERROR_SHARING_VIOLATION});
      failing({call, true, ERROR_DISK_FULL});
    }
  }
}

TEST_F(Robustness, HostileDevice) {
  what = "hostile devices, one dialog each";
  host.hostileContent = true;
  const auto run = [this](const char* label, const ScannerConfiguration& configuration, const FaultPlan& plan = {}) {
    host.scanner = std::make_unique<simulator::SimulatedScanner>(configuration);
    Plan(plan);
    RunMainJob(label);
  };
  run("huge vector", {.rawResolutionValues = std::vector<LONG>(65535, 600)});
  run("vector that lies", {.rawResolutionValues = std::vector<LONG>{900, 200, 300}});
  run("null device name", {.nullDeviceId = true});
  run("long device name", {.deviceId = std::wstring(10000, L'x')});
  run("nothing in it", {.hasFlatbed = false, .hasFeeder = false});
  // The page with another size and resolution in its header; 0: its own.
  const auto claims = [this](int side, int dpi) {
    std::string bytes(page.begin(), page.end());
    const auto twice = [](int number) {
      const std::string once = {static_cast<char>(number >> 8), static_cast<char>(number)};
      return once + once;
    };
    bytes.replace(14, 4, twice(dpi));
    if (side > 0) bytes.replace(bytes.find("\xFF\xC0") + 5, 4, twice(side));
    return Content(bytes.begin(), bytes.end());
  };
  run("30,000 x 30,000", {}, {.streamContent = claims(30000, 100)});
  run("65,535 x 65,535", {}, {.streamContent = claims(65535, 100)});
  for (const int dpi : {0, 1, 65535}) run("resolution", {}, {.streamContent = claims(0, dpi)});
  for (const std::size_t size : {0U, 1U, 2U, 600U}) {
    run("not a JPEG", {}, {.streamContent = Content(size, 0xD8)});
    run("cut off", {}, {.cutAfterBytes = size, .cutResult = S_OK});
  }
  for (const int streams : {0, 1}) run("streams", {}, {.streamCount = streams});
  host.patience *= 5;  // a thousand files
  run("many streams", {}, {.streamCount = effort.pages});
  host.patience /= 5;
  run("another thread", {}, {.callbacksOnAnotherThread = true});
  run("null record, null names", {}, {.nullRecord = true, .nullNames = true});
  run("keeps its streams", {}, {.keepStreams = true});
  run("keeps the callback", {}, {.keepCallback = true});
  for (const bool thread : {false, true}) {
    run("tells and goes on", {},
        {.statuses = {{static_cast<HRESULT>(0x800403EA), 30, false}}, .callbacksOnAnotherThread = thread});
  }
  for (const auto lie : {CallFault::Kind::wrongType, CallFault::Kind::wrongCount}) {
    run("lies", {}, {.calls = {{.call = 1, .kind = lie, .result = S_OK, .fromThenOn = true}}});
  }
}

TEST_F(Robustness, DamagedFiles) {
  what = "damaged JPEG files through pane and transforms";
  std::vector<Content> kinds = JpegsIn(TestData());
  kinds.push_back(page);
  ASSERT_GE(kinds.size(), 6U);
  const TemporaryFolder folder;
  const std::wstring file = folder.File(L"damaged.jpg");
  const GdiPlus session;
  std::mt19937 random(8);
  // The transforms, and the whole way through the dialog.
  const auto throwAt = [&](SimulatedUser& user, const Content& content) {
    const auto type = static_cast<int>(random() % 6);
    const std::string before(content.begin(), content.end());
    std::ofstream(std::filesystem::path(file), std::ios::binary | std::ios::trunc) << before;
    const bool turned = scanning::rotateImageFile(type, PathBuffer(file));
    EXPECT_TRUE(turned || Bytes(file) == before) << "changed by a failure";
    EXPECT_TRUE(!turned || type < 2 || IsWholeJpeg(file)) << "half a file";
    const std::string uncut = Bytes(file);
    const bool trimmed = scanning::trimImageFile(PathBuffer(file), 1, 1, 30.0 + random() % 90, 25);
    EXPECT_TRUE(trimmed || Bytes(file) == uncut) << "changed by a failed cut";
    host.scanner->SetFaults({.streamContent = content});
    user.Press(IDC_PREVIEW);
    user.Press(IDM_ROTATE_LEFT);
    user.Settle();
    EXPECT_EQ(folder.Names(), Names{L"damaged.jpg"});
  };
  host.patience = INFINITE;
  host.Run([&](SimulatedUser& user) {
    for (; count < effort.mutations; ++count) {
      SCOPED_TRACE("mutation " + std::to_string(count));
      throwAt(user, Damaged(kinds[static_cast<std::size_t>(count) % kinds.size()], random));
    }
    host.scanner->ClearLog();
  });
}

// One event as a cat on the keyboard makes it; now and then Scan and Close.
void ActAtRandom(const SimulatedUser& user, std::mt19937& random) {
  constexpr int kChildren[] = {IDC_PREVIEW_PANE,      IDC_ZOOM_LIST,  IDC_TOOL_ZOOM,  IDC_TOOL_ROTATE,
                               IDC_HORIZONTAL_SCROLL, IDC_BRIGHTNESS, IDC_FEED_METHOD};
  constexpr int kBars[] = {IDC_HORIZONTAL_SCROLL, IDC_VERTICAL_SCROLL};
  constexpr UINT kPointer[] = {WM_MOUSEMOVE,     WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONDOWN, WM_LBUTTONUP,
                               WM_LBUTTONDBLCLK, WM_RBUTTONUP, WM_MOUSELEAVE,  WM_NCMOUSEMOVE, WM_NCHITTEST};
  constexpr int kCommands[] = {IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_PAN,    IDC_TOOL_ROTATE,
                               IDM_ZOOM_IN,     IDM_ZOOM_OUT,  IDM_ROTATE_LEFT, IDM_ROTATE_UPSIDE_DOWN,
                               IDC_DEFAULT,     IDC_PREVIEW,   IDC_PLACEMENT,   IDC_FEED_METHOD};
  constexpr WORD kKeys[] = {VK_TAB, VK_UP, VK_DOWN, VK_LEFT, VK_RIGHT, VK_SPACE, VK_PRIOR, VK_END, VK_F4, 'A'};
  constexpr UINT kHarmless[] = {WM_SIZE,      WM_MOVE,       WM_TIMER,    WM_CAPTURECHANGED, WM_THEMECHANGED,  WM_PAINT,
                                WM_KILLFOCUS, WM_CANCELMODE, WM_ACTIVATE, WM_SHOWWINDOW,     WM_DISPLAYCHANGE, WM_NULL};
  const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  const auto oneOf = [&random](const auto& values) { return values[random() % std::size(values)]; };
  // Mostly over the pane, sometimes beside it.
  const SIZE pane = user.PaneSize();
  const auto anyX = [&] { return pane.cx * (below(130) - 15) / 100; };
  const auto anyY = [&] { return pane.cy * (below(130) - 15) / 100; };
  const auto anyChild = [&] { return user.Control(oneOf(kChildren)); };
  const std::function<void()> point = [&] { user.Point(oneOf(kPointer), anyX(), anyY()); };
  const std::function<void()> press = [&] { user.Press(oneOf(kCommands)); };
  const std::function<void()> acts[] = {
      point, point, point, press, press, [&] { user.Drag(anyX(), anyY(), anyX(), anyY()); },
      [&] { user.Choose(IDC_ZOOM_LIST, below(8) - 1); }, [&] { user.Scroll(oneOf(kBars), below(10), below(4000)); },
      [&] { PostMessageW(anyChild(), below(2) == 0 ? WM_KEYDOWN : WM_KEYUP, oneOf(kKeys), 1); },
      [&] { PostMessageW(anyChild(), WM_MOUSEWHEEL, MAKEWPARAM(0, (below(7) - 3) * WHEEL_DELTA), 0); },
      [&] { user.Send(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(anyChild()), -1); },
      [&] { user.Send(oneOf(kHarmless), random() % 3, 0); },
      // Private and registered messages of somebody else; the dialog classes own the first of WM_USER.
      [&] { user.Send(static_cast<UINT>(WM_USER + 0x10 + below(0xFF00 - WM_USER)), random(), random()); }};
  below(400) == 0 ? user.Press(below(2) == 0 ? IDC_SCAN : IDCANCEL) : oneOf(acts)();
  if (user.IsShown()) user.Settle();
}

// What must hold after every event, as far as the user can see it.
std::string Broken(const SimulatedUser& user) {
  std::string wrong;
  if (!user.IsEnabled(IDC_PREVIEW_PANE))
    return (user.Status(1) + user.Status(2)).empty() ? wrong : "readout of no page; ";
  const preview::Rect frame = user.Frame();
  // A press shows where a frame begins, before a movement says how large it is.
  if (user.Status(1).empty() && !user.Status(2).empty()) wrong += "size of a frame that is nowhere; ";
  if (frame.hasArea() && std::min(frame.width(), frame.height()) < preview::kMinimumSideMm - 1)
    wrong += "frame too small; ";
  // A page that is larger than the pane fills it.
  const PaneScreen pane = user.Pane();
  const double scale = preview::ScaleOfPercent(user.ZoomPercent());
  if (user.Bar(IDC_HORIZONTAL_SCROLL).nMax * scale > pane.width && pane.Letter(pane.width - 4, 2) == 'k')
    wrong += "scrolled beyond the right edge; ";
  if (user.Bar(IDC_VERTICAL_SCROLL).nMax * scale > pane.height && pane.Letter(2, pane.height - 4) == 'k')
    wrong += "scrolled beyond the bottom; ";
  return wrong;
}

TEST_F(Robustness, Monkey) {
  what = "events of a monkey";
  host.patience = INFINITE;
  std::mt19937 random(20);
  while (count < effort.monkeyEvents) {
    Plan();
    host.Run([&](SimulatedUser& user) {
      user.Press(IDC_PREVIEW);
      while (count < effort.monkeyEvents && user.IsShown()) {
        // Every now and then the device fails, and the preview goes.
        host.scanner->SetFaults({.cutAfterBytes = random() % 8 == 0 ? std::optional<std::size_t>(99) : std::nullopt,
                                 .streamContent = page});
        ActAtRandom(user, random);
        ++count;
        if (user.IsShown()) ASSERT_EQ(Broken(user), "") << "event " << count;
      }
    });
  }
}

// Loaded twice, the second time for a few dialogs; a copy, since the library stays loaded for the other tests.
TEST_F(Robustness, NothingLeaksAndTheLibraryGoes) {
  what = "cycles of the main job: nothing held, no stray file";
  const TemporaryFolder elsewhere;
  const std::wstring copy = elsewhere.File(L"Library.dll");
  CopyFileW(LibraryPath().c_str(), copy.c_str(), FALSE);
  for (const int cycles : {effort.cycles, 0}) {
    const HMODULE library = LoadLibraryW(copy.c_str());
    platform::ComPtr<IClassFactory> factory;
    platform::ComPtr<IWiaUIExtension2> extension;
    platform::LoadedFunction<HRESULT(WINAPI*)(REFCLSID, REFIID, void**)>(copy.c_str(), "DllGetClassObject")(
        CLSID_WiaScanDialog, IID_IClassFactory, &factory);
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
    const auto cycle = [&] {
      Plan();
      host.RunLoaded([&](DEVICEDIALOGDATA2* request) { return extension->DeviceDialog(request); }, MainJob);
      ++count;
    };
    for (int i = 0; i < effort.warmUp; ++i) cycle();
    for (const auto& [name, growth] : Growth(cycles, cycle)) {
      // The themed controls keep up to 1590 bytes of every dialog on Wine 10, 321 on Wine 8, and none where neither
      // host nor library asks for version 6.
      EXPECT_LE(growth, name == "heap bytes" ? 1600 : 0) << name;
      if (thorough) printf("%lld %s more in each of %d cycles\n", growth, name.c_str(), cycles);
    }
    extension.Reset();
    factory.Reset();
    EXPECT_EQ(platform::LoadedFunction<HRESULT(WINAPI*)()>(copy.c_str(), "DllCanUnloadNow")(), S_OK);
    FreeLibrary(library);
    EXPECT_EQ(GetModuleHandleW(copy.c_str()), nullptr);
  }
  // The counting above sees what is lost in each cycle.
  Counts lost = Growth(9, [] {
    CreatePen(PS_SOLID, 1, 0);
    CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SysAllocStringLen(nullptr, 20000);  // too long for a group of blocks
  });
  if (GdiObjects() == 0) lost.erase("GDI objects");  // nothing counts them here
  for (const auto& [name, growth] : lost) EXPECT_GE(growth, 1) << name;
}

// Owner windows of every kind, in every apartment and where the thread has no COM, which the page's codecs are made of.
TEST_F(Robustness, Hosts) {
  what = "kinds of host and owner window";
  for (const int apartment : {-1, static_cast<int>(COINIT_APARTMENTTHREADED), static_cast<int>(COINIT_MULTITHREADED)}) {
    for (const std::string kind :
         {"none", "shown", "disabled", "disabled meanwhile", "hidden", "destroyed", "destroyed in transfer"}) {
      RunOnThread(apartment, [&] {
        SCOPED_TRACE(kind + " owner, apartment " + std::to_string(apartment));
        HWND window = nullptr;
        if (kind != "none") {
          const DWORD style = WS_OVERLAPPEDWINDOW | (kind != "hidden" ? WS_VISIBLE : 0);
          window = CreateWindowW(L"STATIC", L"host", style, 5, 5, 200, 90, nullptr, nullptr, nullptr, nullptr);
        }
        EnableWindow(window, kind != "disabled");
        FaultPlan plan;
        if (kind == "destroyed in transfer") plan.hook = [window](const auto&) { DestroyWindow(window); };
        Plan(plan);
        host.owner = window;
        // Not CoGetApartmentType: a thread without COM belongs to the apartment of others.
        const auto com = [] {
          const HRESULT initialised = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
          if (SUCCEEDED(initialised)) CoUninitialize();
          return initialised;
        };
        const HRESULT before = com();
        host.Run([&](SimulatedUser& user) {
          if (kind == "disabled meanwhile") EnableWindow(window, FALSE);
          if (kind == "destroyed") DestroyWindow(window);
          MainJob(user);
        });
        ++count;
        EXPECT_EQ(com(), before);
        const GdiPlus session;
        const UINT width = kind == "shown" ? Picture(host.Reported()).GetWidth() : 500;
        EXPECT_TRUE(400 < width && width < 560) << "of 400 x 560, turned and cut";
        DestroyWindow(window);
      });
    }
  }
}

}  // namespace
