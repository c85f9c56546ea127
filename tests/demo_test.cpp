// scan_demo as a driver's author uses it: its command lines, and real devices behind the platform's device manager.
#include <gtest/gtest.h>

#include <regex>

#include "demo/application.h"
#include "demo/check.h"
#include "demo/command_line.h"
#include "simulator/device_manager.h"
#include "tests/support/platform_faults.h"
#include "tests/support/simulated_user.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/machine.h"

namespace {

using namespace harness;
using namespace simulator;

struct Ran {
  int code = 0;
  std::wstring lines;
  std::wstring mistakes;
};

Ran RunLine(const std::vector<std::wstring>& arguments) {
  Ran ran;
  ran.code = RunDemo(arguments, {[&](const std::wstring& line) { ran.lines += line + L"\n"; },
                                 [&](const std::wstring& line) { ran.mistakes += line + L"\n"; }});
  return ran;
}

// A user who gives the dialog these commands, and closes it.
Ran RunAndPress(const std::vector<std::wstring>& arguments, const std::vector<int>& commands) {
  const SimulatedUser user([&](SimulatedUser& at) {
    for (const int command : commands) at.Press(command);
  });
  return RunLine(arguments);
}

bool Says(const std::wstring& text, const std::wstring& part) { return text.find(part) != std::wstring::npos; }

UINT WINAPI RefuseTemporaryFile(LPCWSTR, LPCWSTR, UINT, LPWSTR) {
  SetLastError(ERROR_WRITE_PROTECT);
  return 0;
}

TEST(Demo, RefusesWhatCantBeBeforeAnythingOpens) {
  const TemporaryFolder folder;
  const std::wstring text = folder.File(L"README.md");
  std::ofstream(std::filesystem::path(text)) << "no picture";
  const std::pair<std::vector<std::wstring>, const wchar_t*> wrong[] = {
      {{L"--page", text}, L"README.md is no picture"},
      {{L"--page", folder.File(L"none.jpg")}, L"no page file"},
      {{L"--tour", folder.File(L"none")}, L"no folder"},
      {{L"--device", L"1", L"--pages", L"2"}, L"--pages is for the simulated scanner"},
      {{L"--fault", L"status:800403EG@50"}, L"--fault can't be status:800403EG@50"},
      {{L"--steps"}, L"--steps needs a value"},
      {{L"--unknown"}, L"Unknown option: --unknown"},
  };
  for (const auto& [arguments, mistake] : wrong) {
    const Ran ran = RunLine(arguments);
    EXPECT_EQ(ran.code, 2);
    EXPECT_TRUE(Says(ran.mistakes, mistake)) << ran.mistakes << mistake;
    EXPECT_EQ(ran.lines, L"");
  }
  void* original = ReplaceImport("GetTempFileNameW", reinterpret_cast<void*>(&RefuseTemporaryFile));
  const Ran ran = RunLine({L"--folder", folder.path.wstring()});
  ReplaceImport("GetTempFileNameW", original);
  EXPECT_EQ(ran.code, 2);
  EXPECT_TRUE(Says(ran.mistakes, L"Nothing can be written into the folder " + folder.path.wstring()));
  EXPECT_EQ(folder.Names().size(), 1u);
}

TEST(Demo, RealDevices) {
  const SimulatedScanner nameless({.deviceId = L"{1}\\1", .deviceName = L""});
  const SimulatedScanner broken({.deviceId = L"{1}\\2", .deviceName = L"Twin"});
  const SimulatedScanner twin({.deviceId = L"{1}\\3", .deviceName = L"Twin"});
  EXPECT_TRUE(Says(RunLine({L"--list"}).mistakes, L"This system has no WIA 2.0 device manager") ||
              !Says(RunLine({L"--list"}).lines, L"{1}\\1"));
  {
    const DeviceManagerRegistration none({});
    ASSERT_EQ(none.Result(), S_OK);
    for (const std::vector<std::wstring>& arguments : {std::vector<std::wstring>{L"--list"}, {L"--device", L"1"}}) {
      const Ran ran = RunLine(arguments);
      EXPECT_EQ(ran.code, 1);
      EXPECT_TRUE(Says(ran.mistakes, L"There is no WIA device. Connect one"));
    }
  }
  const DeviceManagerRegistration manager({{&nameless}, {&broken, HRESULT(0x80210005)}, {&twin}});
  const Ran listed = RunLine({L"--list"});
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.lines, L"1  (without name)  {1}\\1\n2  Twin  {1}\\2\n3  Twin  {1}\\3\n");
  const std::pair<const wchar_t*, const wchar_t*> refused[] = {
      {L"4", L"There is no WIA device \"4\". These are here:\n1  (without name)"},
      {L"", L"--device can't be"},
      {L"Twin", L"Several devices are named \"Twin\": give the number or the identifier"},
      {L"2", L"Twin  {1}\\2 can't be opened: 0x80210005, the device is offline"},
  };
  for (const auto& [which, mistake] : refused) {
    const Ran ran = RunLine({L"--device", which});
    EXPECT_EQ(ran.code, *which == L'\0' ? 2 : 1);
    EXPECT_TRUE(Says(ran.mistakes, mistake)) << ran.mistakes;
  }
  for (const wchar_t* which : {L"1", L"{1}\\3"}) {
    const Ran ran = RunAndPress({L"--device", which}, {});
    EXPECT_EQ(ran.code, 0) << ran.mistakes;
    EXPECT_TRUE(Says(ran.lines, L"closed by the user"));
  }
  EXPECT_TRUE(nameless.LiveObjects().empty() && twin.LiveObjects().empty());
}

TEST(Demo, SaysWhatTheDriverTook) {
  const TemporaryFolder folder;
  const std::vector<std::wstring> arguments = {L"--device", L"1", L"--folder", folder.path.wstring()};
  for (const bool leaves : {false, true}) {
    SimulatedScanner scanner({.resolutions = {100, 200},
                              .nominalResolution = 100,
                              .unknownProperties = {kAutoFeed},
                              .leavesBadValues = leaves});
    const DeviceManagerRegistration manager({{&scanner}});
    const Ran ran = RunAndPress(arguments, {IDC_PREVIEW, IDC_SCAN});
    EXPECT_EQ(ran.code, 0) << ran.mistakes;
    // The preview's 200 dpi, and the scan's 300.
    const auto outcome = [&](const wchar_t* property, int batch) {
      std::wsmatch found;
      std::wstring rest = ran.lines.substr(ran.lines.find(batch == 0 ? L"Preview from" : L"Scan from"));
      std::regex_search(rest, found, std::wregex(std::wstring(property) + L" +(.*)"));
      return found.str(1);
    };
    EXPECT_EQ(outcome(L"WIA_IPS_XRES", 0), leaves ? L"200   taken" : L"200   refused with the batch; it stays 100");
    EXPECT_EQ(outcome(L"WIA_IPS_XRES", 1),
              leaves ? L"300   the driver made it 200" : L"300   refused: 100, 200 are valid; it stays 100");
    EXPECT_EQ(outcome(L"WIA_IPS_PREVIEW", 0), leaves ? L"1     taken" : L"1     refused with the batch; it stays 0");
    EXPECT_EQ(outcome(L"WIA_IPA_FORMAT", 1), leaves ? L"JPEG  taken" : L"JPEG  is so already");
    EXPECT_EQ(outcome(L"PROP_AUTO_FEED", 0), L"1     not known to the driver");
    EXPECT_EQ(Says(ran.lines, L"The driver refused: 0x80070057"), !leaves);
    EXPECT_TRUE(Says(ran.lines, L"Transfer: 0x00000000, complete") && Says(ran.lines, L"Files: 1"));
    const auto size = std::filesystem::file_size(folder.path / (leaves ? L"Scan (2).JPG" : L"Scan.JPG"));
    EXPECT_TRUE(Says(ran.lines, L": " + std::to_wstring(size) + L" bytes"));
    EXPECT_TRUE(scanner.LiveObjects().empty());
  }
}

TEST(Demo, DeviceUnpluggedInMidTransfer) {
  const TemporaryFolder folder;
  SimulatedScanner scanner({.feederPages = 3});
  FaultPlan plan = {.downloadResult = kCommunicationError, .streamCount = 2};
  plan.hook = [&](const TransferPoint& point) {
    if (point.page == 1) {
      scanner.SetFaults({.calls = {{.call = 1, .result = kCommunicationError, .fromThenOn = true}}});
    }
  };
  scanner.SetFaults(plan);
  const DeviceManagerRegistration manager({{&scanner}});
  const Ran ran = RunAndPress({L"--device", L"1", L"--folder", folder.path.wstring()}, {IDC_SCAN, IDC_PREVIEW});
  EXPECT_EQ(ran.code, 1);
  EXPECT_TRUE(Says(ran.lines, L"Transfer: 0x8021000A, the connection to the device broke: check its cable"));
  // The pages that had arrived are there, and said to be.
  for (const wchar_t* page : {L"Scan.JPG", L"Scan (2).JPG"}) {
    EXPECT_TRUE(IsWholeJpeg(folder.path / page) && Says(ran.lines, L" bytes in " + folder.File(page)));
  }
  EXPECT_TRUE(Says(ran.mistakes, L"The last transfer failed"));
}

TEST(DemoCheck, ProgramsEndOrAreEnded) {
  const TemporaryFolder folder;
  const Ended ended = RunProgram(L"cmd /c \"echo said& exit 3\"", folder.path.wstring(), 60000);
  EXPECT_TRUE(ended.error == ERROR_SUCCESS && !ended.hung && ended.code == 3 && ended.said == "said\r\n") << ended.said;
  EXPECT_EQ(RunProgram(folder.File(L"none.exe"), folder.path.wstring(), 60000).error, DWORD{ERROR_FILE_NOT_FOUND});
  // Its child, the one that hangs, holds the file open.
  const std::wstring held = folder.File(L"held");
  const Ended hung = RunProgram(L"cmd /c \"cmd /c for /l %i in (0,0,1) do @rem > held\"", folder.path.wstring(), 1000);
  EXPECT_TRUE(hung.hung);
  EXPECT_TRUE(DeleteFileW(held.c_str()));
}

TEST(DemoCheck, VerdictsAreWhatTheTestSaid) {
  const std::string list = "Suite.\r\n  One\r\n  Two  # GetParam() = 3\r\nOther/0.  # TypeParam = int\r\n  Three\r\n";
  EXPECT_EQ(TestsIn(list), (std::vector<std::string>{"Suite.One", "Suite.Two", "Other/0.Three"}));
  const std::pair<Ended, const wchar_t*> ends[] = {
      {{.said = "[       OK ] S.T (3 ms)\r\n"}, L"passed   S.T"},
      {{.said = "[ RUN      ] S.T\r\nwhy\r\n[  SKIPPED ] S.T (0 ms)\r\n"}, L"skipped  S.T: why"},
      {{.said = "[==========] Running 0 tests\r\n"}, L"FAILED   S.T: code 0"},
      {{.code = 1, .said = "[       OK ] S.T (3 ms)\r\nand then a crash"}, L"FAILED   S.T: code 1"},
      {{.hung = true, .said = "[       OK ] S.T (3 ms)\r\n"}, L"FAILED   S.T: hung, and was ended"},
      {{.error = 5}, L"FAILED   S.T: not started, error 5"},
  };
  for (const auto& [ended, verdict] : ends) {
    EXPECT_EQ(Verdict(L"S.T", ended), verdict);
  }
}

// A kit that can't be run: one architecture's program is none, the others are missing.
TEST(DemoCheck, WhatDoesNotRunIsSkippedAndWhatIsMissingFails) {
  const TemporaryFolder kit;
  std::filesystem::create_directory(kit.path / "arm64");
  std::ofstream(kit.path / "arm64/wia_scan_dialog_tests.exe") << "no program";
  const Ran ran = RunLine({L"--check", kit.path.wstring()});
  EXPECT_EQ(ran.code, 1);
  std::string report = Bytes(kit.path / "check-report.txt");
  EXPECT_NE(report.find("skipped  arm64: this PC does not run its programs\r\n"), std::string::npos) << report;
  EXPECT_NE(report.find("FAILED   x64: the test program does not start, error "), std::string::npos) << report;
  EXPECT_NE(report.find("\r\nSum: 0 passed, 2 failed, 1 skipped; arm64 does not run here\r\n"), std::string::npos);
}

}  // namespace
