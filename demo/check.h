// The check kit: what this PC is, and every test of every architecture that it runs, in one report.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "demo/application.h"

namespace simulator {

// folder: holds x64, arm64 and x86, each with the library, scan_demo.exe, wia_scan_dialog_tests.exe and its data.
// Writes check-report.txt and the pictures of check-pictures there, and nothing else. 0 when nothing failed, else 1.
int RunCheck(const std::wstring& folder, const Output& output);

// How a program ended.
struct Ended {
  DWORD error = ERROR_SUCCESS;  // why it could not be started
  bool hung = false;            // it was ended
  DWORD code = 0;
  std::string said = {};  // on both outputs
};

// Runs a command line in a folder. After `patience` milliseconds it is ended, with all processes that it started.
Ended RunProgram(std::wstring command, const std::wstring& folder, DWORD patience);

// The full names in what --gtest_list_tests prints.
std::vector<std::string> TestsIn(const std::string& list);

// What a test program's end means for the one test that it was to run: "passed   ", "FAILED   " or "skipped  ", the
// test's name, and the reason for what is not passed.
std::wstring Verdict(const std::wstring& test, const Ended& ended);

}  // namespace simulator
