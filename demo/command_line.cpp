#include "demo/command_line.h"

#include <shlwapi.h>

namespace simulator {

const wchar_t kDemoHelp[] =
    LR"(scan_demo: opens the scan dialog for a simulated scanner, as a WIA application would.

  --page FILE          a JPEG that lies on the glass and in the feeder; otherwise a test page
  --pages N            sheets in the feeder (1)
  --no-feeder          a device without document feeder
  --no-flatbed         a device without platen
  --resolutions LIST   what the device offers (75,100,150,200,300,400,600)
  --name kName          the device's name in the dialog's title; registers a device while the program runs
  --folder DIR         where the scan is written (the current folder)
  --file kName          its name without extension (Scan)
  --fault WHAT         something goes wrong; may be repeated:
      status:CODE@PERCENT      the device reports CODE, the transfer goes on
      stop:CODE@PERCENT        the device reports CODE, the transfer ends with it
      call:K=HRESULT           call K to the device fails once     call:K+=HRESULT   ... and all later ones
      call:K=type              wrong value type at call K          call:K=count      wrong count
      cut:BYTES[=HRESULT]      the page ends early                 pause:MS@PERCENT  the device stalls
      result:HRESULT           what the transfer answers           streams:N         pages sent
      thread                   callbacks on another thread         null-record       a callback without a record
  --tour DIR           nobody sits at the screen: goes through preview, zoom, pan, turn, frame and scan with real
                       pointer and keyboard input, and keeps a picture of each step in DIR
  --steps N            ends the tour after N steps (1: the dialog opened, 2: a preview) and closes the dialog
  --close-after MS     closes the dialog, for runs without a user
  --dll PATH           the library (WiaScanDialog.dll beside this program)
  --help               this text

CODE and HRESULT in hexadecimal, 0x800403EA for example is a paper jam. The dialog's language is the user's: on Wine
set LC_ALL, for example LC_ALL=he_IL.UTF-8.

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
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring& name = arguments[i];
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
  if (!options.scanner.pageFile.empty() && !PathFileExistsW(options.scanner.pageFile.c_str())) {
    return L"There is no page file " + options.scanner.pageFile;
  }
  if (!PathIsDirectoryW(options.folder.c_str())) {
    return L"There is no folder " + options.folder;
  }
  return options;
}

}  // namespace simulator
