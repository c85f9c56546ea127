#include "demo/application.h"

#include <windows.h>

#include <shlwapi.h>

#include <cmath>
#include <memory>
#include <optional>

#include "demo/batch_report.h"
#include "demo/check.h"
#include "demo/command_line.h"
#include "demo/recorder.h"
#include "demo/shown_dialog.h"
#include "demo/tour.h"
#include "demo/wia_devices.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "simulator/device_registration.h"
#include "simulator/gdiplus_session.h"

namespace simulator {
namespace {

using platform::ComPtr;

constexpr CLSID kExtensionClass = {0x7C3E51A2, 0x4B90, 0x4D6E, {0x9F, 0x21, 0x58, 0xA0, 0xC4, 0xD7, 0xE9, 0x13}};
constexpr UINT kCloseAgainAfter = 250;

using Library = platform::Unique<HMODULE, &FreeLibrary>;

int Fail(const Output& output, const std::wstring& what, HRESULT result) {
  output.mistake(what + L": " + DescribeResult(result));
  return 1;
}

std::wstring FullPath(const std::wstring& path) {
  wchar_t full[MAX_PATH] = {};
  const DWORD length = GetFullPathNameW(path.c_str(), MAX_PATH, full, nullptr);
  return length > 0 && length < MAX_PATH ? full : path;
}

// A library named without a folder is the one beside this program, never one in the current folder.
std::wstring LibraryPath(const std::wstring& given) {
  if (PathFindFileNameW(given.c_str()) != given.c_str()) {
    return FullPath(given);
  }
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  PathRemoveFileSpecW(path);
  return std::wstring(path) + L"\\" + given;
}

// Declines every dialog of this process that can be answered: a message box first, its owner the next time.
BOOL CALLBACK CloseDialog(HWND window, LPARAM) {
  wchar_t name[16] = {};
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  GetClassNameW(window, name, 16);
  if (process == GetCurrentProcessId() && std::wstring(name) == L"#32770" && IsWindowEnabled(window) &&
      IsWindowVisible(window)) {
    PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
  }
  return TRUE;
}

void CALLBACK OnCloseTimer(HWND, UINT, UINT_PTR timer, DWORD) {
  EnumWindows(&CloseDialog, 0);
  SetTimer(nullptr, timer, kCloseAgainAfter, &OnCloseTimer);
}

HRESULT CreateExtension(HMODULE library, ComPtr<IWiaUIExtension2>& extension) {
  const auto getClassObject = reinterpret_cast<decltype(&DllGetClassObject)>(
      reinterpret_cast<void*>(GetProcAddress(library, "DllGetClassObject")));
  if (getClassObject == nullptr) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  ComPtr<IClassFactory> factory;
  const HRESULT result =
      getClassObject(kExtensionClass, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf()));
  return FAILED(result) ? result
                        : factory->CreateInstance(nullptr, IID_IWiaUIExtension2,
                                                  reinterpret_cast<void**>(extension.GetAddressOf()));
}

struct PixelSize {
  int width = 0;
  int height = 0;
};

ULONGLONG FileSize(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
  return static_cast<ULONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

PixelSize PrintFile(const std::wstring& path, const Output& output) {
  const GdiplusSession session;
  Gdiplus::Bitmap image(path.c_str());
  if (image.GetLastStatus() != Gdiplus::Ok) {
    output.line(L"  " + path + L": can't be read");
    return {};
  }
  output.line(L"  " + path + L": " + std::to_wstring(FileSize(path)) + L" bytes, " + std::to_wstring(image.GetWidth()) +
              L" x " + std::to_wstring(image.GetHeight()) + L" pixels, " +
              std::to_wstring(std::lround(image.GetHorizontalResolution())) + L" x " +
              std::to_wstring(std::lround(image.GetVerticalResolution())) + L" dpi");
  return {static_cast<int>(image.GetWidth()), static_cast<int>(image.GetHeight())};
}

void PrintItem(IWiaItem2& item, const Output& output) {
  if (const auto properties = platform::Query<IWiaPropertyStorage>(&item, IID_IWiaPropertyStorage)) {
    output.line(L"Item: " + ReadText(*properties.Get(), WIA_IPA_FULL_ITEM_NAME));
  }
}

// Prints what the dialog handed over, and frees it as its owner. The size of the first file.
PixelSize TakeOutputs(DEVICEDIALOGDATA2& data, const Output& output) {
  PixelSize first;
  output.line(L"Files: " + std::to_wstring(data.lNumFiles));
  for (LONG i = 0; data.pbstrFilePaths != nullptr && i < data.lNumFiles; ++i) {
    const platform::BasicString path(data.pbstrFilePaths[i]);
    const PixelSize size = PrintFile(std::wstring(path.get(), SysStringLen(path.get())), output);
    first = i == 0 ? size : first;
  }
  CoTaskMemFree(data.pbstrFilePaths);
  if (data.pWiaItem != nullptr) {
    PrintItem(*data.pWiaItem, output);
    data.pWiaItem->Release();
  }
  return first;
}

// The scan must be the part of the page that the tour's frame enclosed, at the dialog's default of 300 dpi. The status
// bar may have shown the frame in hundredths of an inch, which is good for three pixels.
bool IsFramedPart(const PixelSize& size, const Tour& tour, const Output& output) {
  constexpr double kPixelsPerMm = 300 / 25.4;
  constexpr double kTolerance = 3;
  const double width = tour.FrameWidth() * kPixelsPerMm;
  const double height = tour.FrameHeight() * kPixelsPerMm;
  const bool framed = std::abs(size.width - width) <= kTolerance && std::abs(size.height - height) <= kTolerance;
  output.line(framed ? L"The scan is what the frame enclosed"
                     : L"FAILED: the frame enclosed " + std::to_wstring(std::lround(width)) + L" x " +
                           std::to_wstring(std::lround(height)) + L" pixels of the page");
  return framed;
}

HRESULT RunDialog(IWiaUIExtension2& extension, IWiaItem2* root, const DemoOptions& options, const Output& output) {
  const platform::BasicString folder(SysAllocString(FullPath(options.folder).c_str()));
  const platform::BasicString file(SysAllocString(options.file.c_str()));
  DEVICEDIALOGDATA2 data = {};
  data.cbSize = sizeof(data);
  data.pIWiaItemRoot = root;
  data.bstrFolderName = folder.get();
  data.bstrFilename = file.get();

  std::optional<Tour> tour;
  if (!options.tour.empty()) {
    tour.emplace(FullPath(options.tour), options.steps, output.line);
  }
  const UINT_PTR timer = options.closeAfter == 0 ? 0 : SetTimer(nullptr, 0, options.closeAfter, &OnCloseTimer);
  const HRESULT result = extension.DeviceDialog(&data);
  if (timer != 0) {
    KillTimer(nullptr, timer);
  }
  const bool toured = !tour || tour->Finish();
  output.line(L"DeviceDialog: " + (result == S_OK      ? L"S_OK"
                                   : result == S_FALSE ? L"closed by the user"
                                                       : DescribeResult(result)));
  const PixelSize size = TakeOutputs(data, output);
  const bool scanned = tour && options.steps == Tour::kSteps;
  return !toured || (scanned && !IsFramedPart(size, *tour, output)) ? E_FAIL : result;
}

// Nothing of the dialog's may be left now: no reference to the device, no object that keeps the library loaded.
bool NothingLeft(HMODULE library, const SimulatedScanner& scanner, const Output& output) {
  for (const LiveObject& object : scanner.LiveObjects()) {
    output.mistake(L"Still referenced: " + std::wstring(object.kind.begin(), object.kind.end()));
  }
  const auto canUnload =
      reinterpret_cast<decltype(&DllCanUnloadNow)>(reinterpret_cast<void*>(GetProcAddress(library, "DllCanUnloadNow")));
  const bool unloadable = canUnload != nullptr && canUnload() == S_OK;
  if (!unloadable) {
    output.mistake(L"The library can't be unloaded");
  }
  return unloadable && scanner.LiveObjects().empty();
}

int RunWith(HMODULE library, ComPtr<IWiaItem2> root, const SimulatedScanner& scanner, const DemoOptions& options,
            const Output& output) {
  ComPtr<IWiaUIExtension2> extension;
  if (const HRESULT result = CreateExtension(library, extension); FAILED(result)) {
    return Fail(output, L"The dialog's object can't be created", result);
  }
  const HRESULT result = RunDialog(*extension.Get(), root.Get(), options, output);
  extension.Reset();
  root.Reset();
  return NothingLeft(library, scanner, output) && (result == S_OK || result == S_FALSE) ? 0 : 1;
}

int RunSimulated(HMODULE library, const DemoOptions& options, const Output& output) {
  std::optional<DeviceRegistration> device;
  if (!options.name.empty()) {
    device.emplace(DeviceRegistrationValues{options.scanner.deviceId, options.name, std::nullopt});
    if (!device->Registered()) {
      output.mistake(L"The device can't be registered, the title stays empty");
    }
  }
  FaultPlan plan = options.faults;
  if (!options.tour.empty()) {
    // Of each transfer in turn: the picture of the last one, the scan, stays.
    plan.hook = [&options, taken = false](const TransferPoint& point) mutable {
      Sleep(taken ? 0 : 150);  // so slow that every percentage is shown
      if (!taken && point.percent >= 50) {
        taken = true;
        SaveWindowPicture(FindScanDialog(), FullPath(options.tour) + L"\\8-scanning.png");
      }
    };
  }
  const SimulatedScanner scanner(options.scanner, std::move(plan));
  const int code = RunWith(library, scanner.Root(), scanner, options, output);
  output.line(L"Calls to the device: " + std::to_wstring(scanner.Calls().size()));
  return code;
}

int RunReal(HMODULE library, const DemoOptions& options, const Output& output) {
  const OpenedDevice device = OpenWiaDevice(options.device);
  if (device.root == nullptr) {
    output.mistake(device.mistake);
    return 1;
  }
  output.line(L"Device: " + device.title);
  const auto recorder = std::make_shared<Recorder>(output.line);
  const int code = RunWith(library, RecordItem(device.root, recorder), SimulatedScanner(), options, output);
  if (!recorder->Failed()) {
    return code;
  }
  output.mistake(L"The last transfer failed. Pages of a scan that had arrived are kept, see above");
  return 1;
}

int Run(const DemoOptions& options, const Output& output) {
  const Library library(LoadLibraryExW(LibraryPath(options.library).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  if (library == nullptr) {
    return Fail(output, LibraryPath(options.library), HRESULT_FROM_WIN32(GetLastError()));
  }
  return options.device.empty() ? RunSimulated(library.get(), options, output)
                                : RunReal(library.get(), options, output);
}

int List(const Output& output) {
  const WiaDevices devices = FindWiaDevices();
  for (const std::wstring& line : DescribeDevices(devices)) {
    output.line(line);
  }
  if (!devices.mistake.empty()) {
    output.mistake(devices.mistake);
  }
  return devices.found.empty() ? 1 : 0;
}

}  // namespace

int RunDemo(const std::vector<std::wstring>& arguments, const Output& output) {
  const auto parsed = ParseCommandLine(arguments);
  if (const std::wstring* mistake = std::get_if<std::wstring>(&parsed)) {
    output.mistake(L"scan_demo: " + *mistake + L". See scan_demo --help");
    return 2;
  }
  const DemoOptions& options = std::get<DemoOptions>(parsed);
  if (options.help) {
    output.line(kDemoHelp);
    return 0;
  }
  if (!options.check.empty()) {
    return RunCheck(FullPath(options.check), output);
  }
  const platform::ComSession com;
  return options.list ? List(output) : Run(options, output);
}

}  // namespace simulator
