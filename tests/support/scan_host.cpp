#include "tests/support/scan_host.h"

#include <gtest/gtest.h>

#include "entry/class_factory.h"
#include "platform/module_state.h"
#include "resources/lang_resource.h"

namespace harness {
namespace {

using Names = std::set<std::wstring>;

constexpr wchar_t kTakenName[] = L"Image.JPG";
constexpr char kSomebodyElses[] = "somebody else's";

// What has come since; it is deleted, so that the next run starts clean.
std::string WhatIsTemporary(const Names& before, std::size_t mayStay) {
  std::string wrong;
  const Names left = TemporaryPreviews();
  if (left.size() > before.size() + mayStay) {
    wrong += "temporary file; ";
  }
  for (const std::wstring& name : left) {
    std::error_code held;
    if (before.count(name) == 0) {
      std::filesystem::remove(std::filesystem::temp_directory_path() / name, held);
    }
    if (held) {
      wrong += "held open; ";
    }
  }
  return wrong;
}

// A driver that goes on after the end with what it kept.
std::string CallsTaken(const simulator::SimulatedScanner& scanner) {
  constexpr char kBytes[] = "late";
  std::string wrong;
  for (const auto& stream : scanner.KeptStreams()) {
    if (SUCCEEDED(stream->Write(kBytes, sizeof(kBytes), nullptr))) {
      wrong = "bytes taken after the end; ";
    }
  }
  const auto callback = scanner.KeptCallback();
  platform::ComPtr<IStream> page;
  if (callback != nullptr && SUCCEEDED(callback->GetNextStream(0, nullptr, nullptr, &page))) {
    wrong += "a page taken after the end; ";
  }
  return wrong;
}

DWORD WINAPI CallBody(void* body) {
  (*static_cast<const std::function<void()>*>(body))();
  return 0;
}

}  // namespace

std::filesystem::path LibraryPath() {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path() / L"WiaScanDialog.dll";
}

HMODULE Library() {
  static const HMODULE library = LoadLibraryW(LibraryPath().c_str());
  return library;
}

ScanHost::ScanHost(const simulator::ScannerConfiguration& device)
    : scanner(std::make_unique<simulator::SimulatedScanner>(device)), folderName(folder.path.wstring()) {}

HRESULT ScanHost::Run(const SimulatedUser::Task& task) {
  EXPECT_EQ(CheckLinked(task), "");
  return result;
}

std::string ScanHost::CheckLinked(const SimulatedUser::Task& task, const During& during) {
  platform::ComPtr<IWiaUIExtension2> extension;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  const UserLocale locale(language, inches);
  std::string wrong = Check([&](DEVICEDIALOGDATA2* data) { return extension->DeviceDialog(data); }, task, during);
  extension.Reset();
  if (g_pLangResource != nullptr) wrong += "language resources; ";
  if (g_cLocks != 0) wrong += "locks; ";
  return wrong;
}

std::string ScanHost::Check(const Dialog& dialog, const SimulatedUser::Task& task, const During& during) {
  FreeOutputs();
  for (const std::wstring& name : folder.Names()) DeleteFileW(folder.File(name).c_str());
  std::ofstream(folder.path / kTakenName, std::ios::binary) << kSomebodyElses;
  const Names before = TemporaryPreviews();
  const auto root = scanner->Root();
  const platform::BasicString wantedFolder(SysAllocString(folderName.c_str()));
  const platform::BasicString wantedName(SysAllocString(fileName.c_str()));
  request = {sizeof(request), root.Get(), 0, owner, wantedFolder.get(), wantedName.get(), 0, nullptr, nullptr};
  filesThatMayStay = 0;
  const ULONGLONG start = GetTickCount64();
  {
    SimulatedUser user(task);
    const auto call = [&] { return dialog(&request); };
    result = during ? during(call) : call();
    messages = user.messages;
  }
  std::string wrong = GetTickCount64() - start > patience ? kHang : "";
  wrong += CallsTaken(*scanner);
  scanner->ReleaseKept();

  const bool reported = request.lNumFiles == 1;
  if (reported != (request.pbstrFilePaths != nullptr) || reported != (request.pWiaItem != nullptr) ||
      (reported && FAILED(result))) {
    return wrong + "outputs; ";
  }
  if (scanner->LiveObjects().size() != (reported ? 2U : 1U)) wrong += "references; ";
  wrong += WhatIsTemporary(before, filesThatMayStay);
  return wrong + WhatLies();
}

std::set<std::wstring> ScanHost::Pages() const {
  Names names = folder.Names();
  names.erase(kTakenName);
  return names;
}

std::string ScanHost::WhatLies() const {
  std::string wrong;
  if (Bytes(folder.path / kTakenName) != kSomebodyElses) wrong += "somebody else's file; ";
  const auto transfers = scanner->Transfers();
  const bool complete = !transfers.empty() && transfers.back().result == S_OK && !hostileContent;
  if (request.lNumFiles == 1 && complete && !IsWholeJpeg(Reported())) wrong += "reported file; ";
  for (const std::wstring& name : Pages()) {
    const std::wstring path = folder.File(name);
    const bool page = std::filesystem::path(name).extension() == L".JPG";
    if (!page && path != Reported() && filesThatMayStay == 0) wrong += "stray file; ";
    if (page && complete && !IsWholeJpeg(path)) wrong += "half a file; ";
  }
  return wrong;
}

void ScanHost::FreeOutputs() {
  if (request.lNumFiles == 1) {
    SysFreeString(request.pbstrFilePaths[0]);
    CoTaskMemFree(request.pbstrFilePaths);
    request.pWiaItem->Release();
  }
  request = {};
}

void RunOnThread(int apartment, std::size_t stack, const std::function<void()>& body) {
  const std::function<void()> inside = [&] {
    const HRESULT initialised = apartment < 0 ? E_FAIL : CoInitializeEx(nullptr, static_cast<DWORD>(apartment));
    body();
    if (SUCCEEDED(initialised)) {
      CoUninitialize();
    }
  };
  const platform::Unique<HANDLE, &CloseHandle> thread(CreateThread(nullptr, stack, &CallBody,
                                                                   const_cast<std::function<void()>*>(&inside),
                                                                   STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
  WaitForSingleObject(thread.get(), INFINITE);
}

}  // namespace harness
