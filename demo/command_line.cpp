#include "demo/command_line.h"

#include <shlwapi.h>

#include <algorithm>
#include <iterator>

#include "simulator/gdiplus_session.h"

namespace simulator {

const wchar_t kDemoHelp[] =
    LR"(scan_demo: opens the scan dialog as a WIA application would, for a simulated scanner or for a real device.

  --list               names the WIA devices: number, name, identifier
  --device WHICH       opens one of them, by its number, name or identifier; after each preview and scan it prints what
                       the dialog asked for and what the driver took
  --folder DIR         where the scan is written (the current folder)
  --file NAME          its name without extension (Scan)
  --tour DIR           nobody sits at the screen: goes through preview, zoom, pan, turn, frame and scan with real
                       pointer and keyboard input, and keeps a picture of each step in DIR
  --steps N            ends the tour after N steps (1: the dialog opened, 2: a preview) and closes the dialog
  --close-after MS     closes the dialog, for runs without a user
  --check DIR          runs every test of the check kit that was unpacked into DIR; check.cmd starts it
  --dll PATH           the library (WiaScanDialog.dll beside this program)
  --help               this text

The simulated scanner:

  --page FILE          a JPEG that lies on the glass and in the feeder; otherwise a test page
  --pages N            sheets in the feeder (1)
  --no-feeder          a device without document feeder
  --no-flatbed         a device without platen
  --resolutions LIST   what the device offers (75,100,150,200,300,400,600)
  --name NAME          the device's name in the dialog's title; registers a device while the program runs
  --fault WHAT         something goes wrong; may be repeated:
      status:CODE@PERCENT      the device reports CODE, the transfer goes on
      stop:CODE@PERCENT        the device reports CODE, the transfer ends with it
      call:K=HRESULT           call K to the device fails once     call:K+=HRESULT   ... and all later ones
      call:K=type              wrong value type at call K          call:K=count      wrong count
      cut:BYTES[=HRESULT]      the page ends early                 pause:MS@PERCENT  the device stalls
      result:HRESULT           what the transfer answers           streams:N         pages sent
      thread                   callbacks on another thread         null-record       a callback without a record

CODE and HRESULT are hexadecimal, with 0x or without. The dialog's language is the user's.

    scan_demo --no-feeder --resolutions 200,300     a flatbed without 400 and 600 dpi
    scan_demo --fault status:800403EA@50            a paper jam at half of the page
    scan_demo --device 1 --folder .                 a real device

Ends with 0 when the dialog was scanned with or closed, 1 when something failed, 2 for a wrong command line.
)";

namespace {

bool ParseResolutions(std::wstring_view text, std::vector<LONG>& resolutions) {
  resolutions.clear();
  while (true) {
    const std::size_t comma = text.find(L',');
    const auto number = ParseNumber(text.substr(0, comma));
    if (!number || *number == 0 || *number > 0xFFFF) {
      return false;
    }
    resolutions.push_back(static_cast<LONG>(*number));
    if (comma == std::wstring_view::npos) {
      return true;
    }
    text.remove_prefix(comma + 1);
  }
}

// True when `name` is an option without a value.
bool ApplyFlag(const std::wstring& name, DemoOptions& options) {
  if (name == L"--no-feeder") {
    options.scanner.hasFeeder = false;
  } else if (name == L"--no-flatbed") {
    options.scanner.hasFlatbed = false;
  } else if (name == L"--list") {
    options.list = true;
  } else if (name == L"--help") {
    options.help = true;
  } else {
    return false;
  }
  return true;
}

std::wstring* TextOption(const std::wstring& name, DemoOptions& options) {
  if (name == L"--page") {
    return &options.scanner.pageFile;
  }
  if (name == L"--check") {
    return &options.check;
  }
  if (name == L"--device") {
    return &options.device;
  }
  if (name == L"--name") {
    return &options.name;
  }
  if (name == L"--folder") {
    return &options.folder;
  }
  if (name == L"--file") {
    return &options.file;
  }
  if (name == L"--tour") {
    return &options.tour;
  }
  return name == L"--dll" ? &options.library : nullptr;
}

bool ConcernsTheSimulation(const std::wstring& name) {
  constexpr const wchar_t* kNames[] = {L"--page",        L"--pages", L"--no-feeder", L"--no-flatbed",
                                       L"--resolutions", L"--name",  L"--fault"};
  return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

// As the simulated scanner will read it.
bool IsPicture(const std::wstring& path) {
  const GdiplusSession session;
  Gdiplus::Bitmap picture(path.c_str());
  return picture.GetLastStatus() == Gdiplus::Ok && picture.GetWidth() > 0;
}

// By trying: rights, a full disk and a read-only medium look alike afterwards.
bool CanWriteInto(const std::wstring& folder) {
  wchar_t path[MAX_PATH] = {};
  return GetTempFileNameW(folder.c_str(), L"wsd", 0, path) != 0 && DeleteFileW(path);
}

// What is wrong with a file or folder that the options name; empty: nothing.
std::wstring FileMistake(const DemoOptions& options) {
  const std::wstring& page = options.scanner.pageFile;
  if (!page.empty() && !PathFileExistsW(page.c_str())) {
    return L"There is no page file " + page;
  }
  if (!page.empty() && !IsPicture(page)) {
    return page + L" is no picture; --page takes a JPEG";
  }
  for (const std::wstring& folder : {options.folder, options.tour, options.check}) {
    if (!folder.empty() && !PathIsDirectoryW(folder.c_str())) {
      return L"There is no folder " + folder;
    }
    if (!folder.empty() && !CanWriteInto(folder)) {
      return L"Nothing can be written into the folder " + folder + L"; name another one";
    }
  }
  return {};
}

enum class Applied { yes, badValue, unknown };

Applied ApplyValue(const std::wstring& name, const std::wstring& value, DemoOptions& options) {
  const auto outcome = [](bool good) { return good ? Applied::yes : Applied::badValue; };
  if (std::wstring* text = TextOption(name, options)) {
    *text = value;
    return outcome(!value.empty());
  }
  if (name == L"--resolutions") {
    return outcome(ParseResolutions(value, options.scanner.resolutions));
  }
  if (name == L"--fault") {
    return outcome(ParseFault(value, options.faults));
  }
  const auto number = ParseNumber(value);
  if (name == L"--pages") {
    options.scanner.feederPages = static_cast<int>(number.value_or(0));
    return outcome(number && *number <= 9999);
  }
  if (name == L"--steps") {
    options.steps = static_cast<int>(number.value_or(0));
    return outcome(options.steps > 0 && options.steps <= Tour::kSteps);
  }
  if (name == L"--close-after") {
    options.closeAfter = number.value_or(0);
    return outcome(options.closeAfter > 0);
  }
  return Applied::unknown;
}

}  // namespace

std::variant<DemoOptions, std::wstring> ParseCommandLine(const std::vector<std::wstring>& arguments) {
  DemoOptions options;
  std::wstring simulated;  // an option that has no meaning for a real device
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring& name = arguments[i];
    simulated = ConcernsTheSimulation(name) ? name : simulated;
    if (ApplyFlag(name, options)) {
      continue;
    }
    const bool last = i + 1 == arguments.size();
    const Applied applied = ApplyValue(name, last ? std::wstring() : arguments[i + 1], options);
    if (applied == Applied::unknown) {
      return L"Unknown option: " + name;
    }
    if (last) {
      return name + L" needs a value";
    }
    if (applied == Applied::badValue) {
      return name + L" can't be " + arguments[i + 1];
    }
    ++i;
  }
  if (!options.device.empty() && !simulated.empty()) {
    return simulated + L" is for the simulated scanner and can't go with --device";
  }
  if (std::wstring mistake = FileMistake(options); !mistake.empty()) {
    return mistake;
  }
  return options;
}

}  // namespace simulator
