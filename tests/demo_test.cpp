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

// With a user who gives the dialog these commands, and closes it.
Ran RunLine(const std::vector<std::wstring>& arguments, const std::vector<int>& commands = {}) {
  const SimulatedUser user([&](SimulatedUser& at) {
    for (const int command : commands) at.Press(command);
  });
  Ran ran;
  ran.code = RunDemo(arguments, {[&](const std::wstring& line) { ran.lines += line + L"\n"; },
                                 [&](const std::wstring& line) { ran.mistakes += line + L"\n"; }});
  return ran;
}

bool Says(const std::wstring& text, const std::wstring& part) { return text.find(part) != std::wstring::npos; }

void ExpectSays(const std::wstring& text, const std::vector<std::wstring>& parts) {
  for (const std::wstring& part : parts) EXPECT_TRUE(Says(text, part)) << part << L" is not in " << text;
}

// Nothing opens.
void ExpectMistake(const std::vector<std::wstring>& arguments, int code, const std::wstring& mistake) {
  const Ran ran = RunLine(arguments);
  EXPECT_EQ(ran.code, code) << mistake;
  EXPECT_EQ(ran.lines, L"");
  ExpectSays(ran.mistakes, {mistake});
}

UINT WINAPI RefuseTemporaryFile(LPCWSTR, LPCWSTR, UINT, LPWSTR) {
  SetLastError(ERROR_WRITE_PROTECT);
  return 0;
}

TEST(Demo, RefusesWhatCantBeBeforeAnythingOpens) {
  const TemporaryFolder folder;
  const std::wstring text = folder.File(L"README.md");
  std::ofstream(std::filesystem::path(text)) << "no picture";
  ExpectMistake({L"--page", text}, 2, L"README.md is no picture");
  ExpectMistake({L"--page", folder.File(L"none.jpg")}, 2, L"no page file");
  ExpectMistake({L"--tour", folder.File(L"none")}, 2, L"no folder");
  ExpectMistake({L"--device", L"1", L"--pages", L"2"}, 2, L"--pages is for the simulated scanner");
  ExpectMistake({L"--fault", L"status:800403EG@50"}, 2, L"--fault can't be status:800403EG@50");
  ExpectMistake({L"--device", L""}, 2, L"--device can't be");
  ExpectMistake({L"--steps"}, 2, L"--steps needs a value");
  ExpectMistake({L"--unknown"}, 2, L"Unknown option: --unknown");
  void* original = ReplaceImport("GetTempFileNameW", reinterpret_cast<void*>(&RefuseTemporaryFile));
  ExpectMistake({L"--folder", folder.path.wstring()}, 2,
                L"Nothing can be written into the folder " + folder.path.wstring());
  ReplaceImport("GetTempFileNameW", original);
  EXPECT_EQ(folder.Names().size(), 1U);
}

TEST(Demo, RealDevices) {
  const SimulatedScanner nameless({.deviceId = L"{1}\\1", .deviceName = L""});
  const SimulatedScanner broken({.deviceId = L"{1}\\2", .deviceName = L"Twin"});
  const SimulatedScanner twin({.deviceId = L"{1}\\3", .deviceName = L"Twin"});
  const Ran real = RunLine({L"--list"});
  EXPECT_TRUE(Says(real.mistakes, L"This system has no WIA 2.0 device manager") || !Says(real.lines, L"{1}\\1"));
  {
    const DeviceManagerRegistration none({});
    ASSERT_EQ(none.Result(), S_OK);
    ExpectMistake({L"--list"}, 1, L"There is no WIA device. Connect one");
    ExpectMistake({L"--device", L"1"}, 1, L"There is no WIA device. Connect one");
  }
  const DeviceManagerRegistration manager({{&nameless}, {&broken, HRESULT(0x80210005)}, {&twin}});
  const Ran listed = RunLine({L"--list"});
  EXPECT_EQ(listed.code, 0);
  EXPECT_EQ(listed.lines, L"1  (without name)  {1}\\1\n2  Twin  {1}\\2\n3  Twin  {1}\\3\n");
  ExpectMistake({L"--device", L"4"}, 1, L"There is no WIA device \"4\". These are here:\n1  (without name)");
  ExpectMistake({L"--device", L"Twin"}, 1, L"Several devices are named \"Twin\": give the number or the identifier");
  ExpectMistake({L"--device", L"2"}, 1, L"Twin  {1}\\2 can't be opened: 0x80210005, the device is offline");
  for (const wchar_t* which : {L"1", L"{1}\\3"}) {
    const Ran ran = RunLine({L"--device", which});
    EXPECT_EQ(ran.code, 0) << ran.mistakes;
    ExpectSays(ran.lines, {L"closed by the user"});
  }
  EXPECT_TRUE(nameless.LiveObjects().empty() && twin.LiveObjects().empty());
}

TEST(Demo, SaysWhatTheDriverTook) {
  const TemporaryFolder folder;
  const auto run = [&folder](bool leavesBadValues) {
    const SimulatedScanner scanner({.resolutions = {100, 200},
                                    .nominalResolution = 100,
                                    .unknownProperties = {kAutoFeed},
                                    .leavesBadValues = leavesBadValues});
    const DeviceManagerRegistration manager({{&scanner}});
    const Ran ran = RunLine({L"--device", L"1", L"--folder", folder.path.wstring()}, {IDC_PREVIEW, IDC_SCAN});
    EXPECT_EQ(ran.code, 0) << ran.mistakes;
    EXPECT_TRUE(scanner.LiveObjects().empty());
    return std::regex_replace(ran.lines, std::wregex(L" +"), L" ");
  };
  // The preview's 200 dpi, and the scan's 300.
  ExpectSays(run(false), {L"Preview from ", L"Scan from ", L"WIA_IPS_XRES 200 refused with the batch; it stays 100",
                          L"WIA_IPS_XRES 300 refused: 100, 200 are valid; it stays 100",
                          L"WIA_IPS_PREVIEW 1 refused with the batch; it stays 0", L"WIA_IPA_FORMAT JPEG is so already",
                          L"PROP_AUTO_FEED 1 not known to the driver", L"The driver refused: 0x80070057",
                          L"Transfer: 0x00000000, complete", L"Files: 1"});
  const std::wstring taken = run(true);
  const auto size = std::filesystem::file_size(folder.path / L"Scan (2).JPG");
  ExpectSays(taken, {L"WIA_IPS_XRES 200 taken", L"WIA_IPS_XRES 300 the driver made it 200",
                     L"WIA_IPA_FORMAT JPEG taken", L": " + std::to_wstring(size) + L" bytes"});
  EXPECT_FALSE(Says(taken, L"The driver refused"));
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
  const Ran ran = RunLine({L"--device", L"1", L"--folder", folder.path.wstring()}, {IDC_SCAN, IDC_PREVIEW});
  EXPECT_EQ(ran.code, 1);
  ExpectSays(ran.lines, {L"Transfer: 0x8021000A, the connection to the device broke: check its cable"});
  ExpectSays(ran.mistakes, {L"The last transfer failed"});
  // The pages that had arrived are there, and said to be.
  for (const wchar_t* page : {L"Scan.JPG", L"Scan (2).JPG"}) {
    EXPECT_TRUE(IsWholeJpeg(folder.path / page));
    ExpectSays(ran.lines, {L" bytes in " + folder.File(page)});
  }
}

TEST(DemoCheck, ProgramsEndOrAreEnded) {
  const TemporaryFolder folder;
  const Ended ended = RunProgram(L"cmd /c \"echo said& exit 3\"", folder.path.wstring(), 60000);
  EXPECT_TRUE(ended.error == ERROR_SUCCESS && !ended.hung && ended.code == 3 && ended.said == "said\r\n") << ended.said;
  // Its child, the one that hangs, ends with it: a current folder can't be deleted.
  const std::wstring current = folder.File(L"current");
  std::filesystem::create_directory(current);
  EXPECT_TRUE(RunProgram(L"cmd /c \"cmd /c for /l %i in (0,0,1) do @rem\"", current, 1000).hung);
  for (int i = 0; i < 100 && !RemoveDirectoryW(current.c_str()); ++i) Sleep(50);
  EXPECT_TRUE(folder.Names().empty());
}

TEST(DemoCheck, VerdictsAreWhatTheTestSaid) {
  const std::string list = "Suite.\r\n  One\r\n  Two  # GetParam() = 3\r\nOther/0.  # TypeParam = int\r\n  Three\r\n";
  EXPECT_EQ(TestsIn(list), (std::vector<std::string>{"Suite.One", "Suite.Two", "Other/0.Three"}));
  const std::string ok = "[       OK ] S.T (3 ms)\r\n";
  const std::string skipped = "[ RUN      ] S.T\r\nwhy\r\n[  SKIPPED ] S.T (0 ms)\r\n";
  EXPECT_EQ(Verdict(L"S.T", {.said = ok}), L"passed   S.T");
  EXPECT_EQ(Verdict(L"S.T", {.said = skipped}), L"skipped  S.T: why");
  EXPECT_EQ(Verdict(L"S.T", {.said = "[==========] Running 0 tests\r\n"}), L"FAILED   S.T: code 0");
  EXPECT_EQ(Verdict(L"S.T", {.code = 1, .said = ok + "and then a crash"}), L"FAILED   S.T: code 1");
  EXPECT_EQ(Verdict(L"S.T", {.hung = true, .said = ok}), L"FAILED   S.T: hung, and was ended");
  EXPECT_EQ(Verdict(L"S.T", {.error = 5}), L"FAILED   S.T: not started, error 5");
}

// A kit that can't be run: one architecture's program is none, the others are missing.
TEST(DemoCheck, WhatDoesNotRunIsSkippedAndWhatIsMissingFails) {
  const TemporaryFolder kit;
  std::filesystem::create_directory(kit.path / "arm64");
  std::ofstream(kit.path / "arm64/wia_scan_dialog_tests.exe") << "no program";
  EXPECT_EQ(RunLine({L"--check", kit.path.wstring()}).code, 1);
  const std::string report = Bytes(kit.path / "check-report.txt");
  for (const char* line : {"skipped  arm64: this PC does not run its programs\r\n",
                           "FAILED   x64: the test program does not start, error ",
                           "\r\nSum: 0 passed, 2 failed, 1 skipped; arm64 does not run here\r\n"}) {
    EXPECT_NE(report.find(line), std::string::npos) << line << report;
  }
}

}  // namespace
