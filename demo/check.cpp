#include "demo/check.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "demo/text.h"
#include "platform/scoped.h"

namespace simulator {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kPatience = 300000;  // milliseconds for a test, or the tour; slow machines take a minute
constexpr DWORD kWarning = 10000;
constexpr const char* kSkipped = "[  SKIPPED ]";
const std::wstring kPassedWord = L"passed   ";
const std::wstring kFailedWord = L"FAILED   ";
const std::wstring kSkippedWord = L"skipped  ";
constexpr const wchar_t* kArchitectures[] = {L"x64", L"arm64", L"x86"};

template <class Function>
Function Find(const wchar_t* library, const char* name) {
  const HMODULE module = LoadLibraryExW(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  return module == nullptr ? nullptr : std::bit_cast<Function>(GetProcAddress(module, name));
}

std::wstring RegistryText(const wchar_t* name) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion", 0,
                    KEY_READ | KEY_WOW64_64KEY, &opened) != ERROR_SUCCESS) {
    return {};
  }
  const platform::RegistryKey key(opened);
  wchar_t text[128] = {};
  DWORD size = sizeof(text) - sizeof(wchar_t);
  return RegQueryValueExW(key.get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) == ERROR_SUCCESS
             ? text
             : std::wstring();
}

std::wstring System() {
  RTL_OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  if (const auto getVersion = Find<LONG(WINAPI*)(RTL_OSVERSIONINFOW*)>(L"ntdll.dll", "RtlGetVersion")) {
    getVersion(&version);
  }
  const auto wineVersion = Find<const char*(CDECL*)()>(L"ntdll.dll", "wine_get_version");
  return L"System: " + RegistryText(L"ProductName") + L" " + RegistryText(L"DisplayVersion") + L", version " +
         std::to_wstring(version.dwMajorVersion) + L"." + std::to_wstring(version.dwMinorVersion) + L", build " +
         std::to_wstring(version.dwBuildNumber) +
         (wineVersion != nullptr ? L"; not Windows, but Wine " + Widened(wineVersion()) : L"");
}

std::wstring Architecture() {
  USHORT process = 0;
  USHORT native = 0;
  const auto isWow64 = Find<BOOL(WINAPI*)(HANDLE, USHORT*, USHORT*)>(L"kernel32.dll", "IsWow64Process2");
  if (isWow64 == nullptr || !isWow64(GetCurrentProcess(), &process, &native)) {
    SYSTEM_INFO info = {};
    GetNativeSystemInfo(&info);
    native = info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64 ? IMAGE_FILE_MACHINE_AMD64
             : info.wProcessorArchitecture == 12                         ? 0xAA64
                                                                         : IMAGE_FILE_MACHINE_I386;
  }
  return std::wstring(L"Processor: ") + (native == IMAGE_FILE_MACHINE_AMD64 ? L"x64"
                                         : native == 0xAA64                 ? L"ARM64"
                                                                            : L"x86");
}

std::wstring Language() {
  wchar_t locale[LOCALE_NAME_MAX_LENGTH] = {};
  wchar_t display[LOCALE_NAME_MAX_LENGTH] = {};
  GetUserDefaultLocaleName(locale, LOCALE_NAME_MAX_LENGTH);
  LCIDToLocaleName(MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT), display, LOCALE_NAME_MAX_LENGTH, 0);
  return std::wstring(L"Language: ") + locale + L", of the display " + display;
}

BOOL CALLBACK DescribeScreen(HMONITOR screen, HDC, LPRECT area, LPARAM text) {
  UINT densityX = 0;
  UINT densityY = 0;
  if (const auto getDensity = Find<HRESULT(WINAPI*)(HMONITOR, int, UINT*, UINT*)>(L"shcore.dll", "GetDpiForMonitor")) {
    getDensity(screen, 0, &densityX, &densityY);
  }
  std::wostringstream line;
  line << L"; " << area->right - area->left << L" x " << area->bottom - area->top << L" at " << area->left << L", "
       << area->top;
  if (densityX != 0) {
    line << L", " << densityX << L" dpi";
  }
  *reinterpret_cast<std::wstring*>(text) += line.str();
  return TRUE;
}

std::wstring Screens() {
  std::wstring text = L"Screens: " + std::to_wstring(GetSystemMetrics(SM_CMONITORS));
  // As each of them is, not as the system shows it to programs that know one density only.
  const auto setAwareness = Find<HANDLE(WINAPI*)(HANDLE)>(L"user32.dll", "SetThreadDpiAwarenessContext");
  const HANDLE before = setAwareness != nullptr ? setAwareness(reinterpret_cast<HANDLE>(INT_PTR{-3})) : nullptr;
  EnumDisplayMonitors(nullptr, nullptr, &DescribeScreen, reinterpret_cast<LPARAM>(&text));
  if (before != nullptr) {
    setAwareness(before);
  }
  return text;
}

// The line before the word.
std::wstring ReasonForSkipping(const std::string& said) {
  std::istringstream lines(said);
  std::string before;
  for (std::string line; std::getline(lines, line) && line.find(kSkipped) == std::string::npos;) {
    before = line.substr(0, line.find('\r'));
  }
  return Widened(before);
}

class Check {
 public:
  Check(fs::path folder, const Output& output)
      : m_folder(std::move(folder)), m_output(output), m_report(m_folder / L"check-report.txt", std::ios::binary) {}

  int Run() {
    if (!m_report) {
      m_output.mistake(L"check-report.txt can't be written into " + m_folder.wstring() +
                       L". Unpack the zip into a folder of yours, and start check.cmd there");
      return 1;
    }
    for (const std::wstring& line : {System(), Architecture(), Language(), Screens()}) {
      Line(line);
    }
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // the programs inherit it
    for (const wchar_t* architecture : kArchitectures) {
      CheckArchitecture(architecture);
    }
    Line(L"Sum: " + std::to_wstring(m_passed) + L" passed, " + std::to_wstring(m_failed) + L" failed, " +
         std::to_wstring(m_skipped) + L" skipped" + m_architectures);
    return m_failed == 0 && m_ran ? 0 : 1;
  }

 private:
  void Line(const std::wstring& line) {
    m_output.line(line);
    m_report << Narrowed(line) << "\r\n" << std::flush;
  }
  // One more line of the sum; what a failed program said goes along.
  void Count(const std::wstring& verdict, const std::string& said) {
    Line(verdict);
    if (verdict.starts_with(kPassedWord)) {
      ++m_passed;
    } else if (verdict.starts_with(kSkippedWord)) {
      ++m_skipped;
    } else {
      ++m_failed;
      m_report << said << "\r\n" << std::flush;
    }
  }
  void NoteArchitecture(const std::wstring& what) {
    m_architectures += (m_architectures.empty() ? L"; " : L", ") + what;
  }

  void CheckArchitecture(const std::wstring& name) {
    const fs::path folder = m_folder / name;
    const std::wstring tests = L"\"" + (folder / L"wia_scan_dialog_tests.exe").wstring() + L"\" ";
    const Ended listed = RunProgram(tests + L"--gtest_list_tests", folder.wstring(), kPatience);
    // The last one: Wine 8 without its 32-bit side.
    if (listed.error == ERROR_BAD_EXE_FORMAT || listed.error == ERROR_EXE_MACHINE_TYPE_MISMATCH ||
        listed.error == ERROR_INTERNAL_ERROR) {
      Count(kSkippedWord + name + L": this PC does not run its programs", {});
      NoteArchitecture(name + L" does not run here");
      return;
    }
    if (listed.error != ERROR_SUCCESS || listed.hung || listed.code != 0) {
      Count(kFailedWord + name + L": the test program does not start, error " + std::to_wstring(listed.error) +
                L", code " + std::to_wstring(listed.code),
            listed.said);
      return;
    }
    if (!m_ran) {
      m_output.line(
          L"The pointer will move by itself for some minutes, and dialogs come and go. Please leave mouse and "
          L"keyboard alone. It begins in ten seconds; close this window to end it.");
      Sleep(kWarning);
    }
    for (const std::string& test : TestsIn(listed.said)) {
      const Ended ended = RunProgram(tests + L"--leave-machine --gtest_color=no --gtest_filter=" + Widened(test),
                                     folder.wstring(), kPatience);
      Count(Verdict(name + L" " + Widened(test), ended), ended.said);
    }
    TakeTour(name, folder);
    NoteArchitecture(name + L" ran");
    m_ran = true;
  }

  void TakeTour(const std::wstring& name, const fs::path& folder) {
    const fs::path pictures = m_folder / L"check-pictures" / name;
    std::error_code ignored;
    fs::remove_all(pictures, ignored);
    fs::create_directories(pictures, ignored);
    const std::wstring quoted = L"\"" + pictures.wstring() + L"\"";
    const Ended ended = RunProgram(L"\"" + (folder / L"scan_demo.exe").wstring() + L"\" --tour " + quoted +
                                       L" --folder " + quoted + L" --close-after 240000",
                                   folder.wstring(), kPatience);
    const bool toured = ended.code == 0 && ended.error == ERROR_SUCCESS && !ended.hung;
    Count((toured ? kPassedWord : kFailedWord) + name + L" the tour; its pictures are in check-pictures\\" + name,
          ended.said);
  }

  const fs::path m_folder;
  const Output& m_output;
  std::ofstream m_report;
  int m_passed = 0;
  int m_failed = 0;
  int m_skipped = 0;
  bool m_ran = false;
  std::wstring m_architectures;
};

}  // namespace

// What it prints goes through a temporary file: a pipe would stay open as long as one of its processes lives.
Ended RunProgram(std::wstring command, const std::wstring& folder, DWORD patience) {
  wchar_t path[MAX_PATH] = {};
  GetTempFileNameW(fs::temp_directory_path().c_str(), L"wsd", 0, path);
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  platform::File file(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr));
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = startup.hStdError = file.get();
  PROCESS_INFORMATION process = {};
  Ended ended;
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr, folder.c_str(),
                      &startup, &process)) {
    ended.error = GetLastError();
  } else {
    const platform::File owner(process.hProcess);
    const platform::File thread(process.hThread);
    const platform::File job(CreateJobObjectW(nullptr, nullptr));
    AssignProcessToJobObject(job.get(), process.hProcess);
    ResumeThread(process.hThread);
    ended.hung = WaitForSingleObject(process.hProcess, patience) != WAIT_OBJECT_0;
    TerminateJobObject(job.get(), ERROR_TIMEOUT);
    TerminateProcess(process.hProcess, ERROR_TIMEOUT);
    WaitForSingleObject(process.hProcess, kWarning);
    GetExitCodeProcess(process.hProcess, &ended.code);
    std::ostringstream text;
    text << std::ifstream(fs::path(path), std::ios::binary).rdbuf();
    ended.said = text.str();
  }
  file.reset();  // a file that is open can't be deleted
  DeleteFileW(path);
  return ended;
}

// "Suite." and, indented, "Test  # GetParam() = ...".
std::vector<std::string> TestsIn(const std::string& list) {
  std::vector<std::string> tests;
  std::istringstream lines(list);
  std::string suite;
  for (std::string line; std::getline(lines, line);) {
    line.erase(std::min(line.find('#'), line.size()));
    line.erase(line.find_last_not_of(" \r") + 1);
    if (line.empty()) {
      continue;
    }
    if (line.front() != ' ') {
      suite = line;
    } else if (!suite.empty() && suite.back() == '.') {
      tests.push_back(suite + line.substr(2));
    }
  }
  return tests;
}

std::wstring Verdict(const std::wstring& test, const Ended& ended) {
  if (ended.error != ERROR_SUCCESS) {
    return kFailedWord + test + L": not started, error " + std::to_wstring(ended.error);
  }
  if (ended.hung) {
    return kFailedWord + test + L": hung, and was ended";
  }
  if (ended.code == 0 && ended.said.find(kSkipped) != std::string::npos) {
    return kSkippedWord + test + L": " + ReasonForSkipping(ended.said);
  }
  // A filter that fits no test ends well, too.
  return ended.code == 0 && ended.said.find("[       OK ]") != std::string::npos
             ? kPassedWord + test
             : kFailedWord + test + L": code " + std::to_wstring(ended.code);
}

int RunCheck(const std::wstring& folder, const Output& output) { return Check(folder, output).Run(); }

}  // namespace simulator
