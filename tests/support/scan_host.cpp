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
void ExpectNothingTemporary(const Names& before, std::size_t mayStay) {
  const Names left = TemporaryPreviews();
  EXPECT_LE(left.size(), before.size() + mayStay) << "a temporary file stays";
  for (const std::wstring& name : left) {
    if (before.count(name) != 0) continue;
    EXPECT_TRUE(DeleteFileW((std::filesystem::temp_directory_path() / name).c_str())) << "held open";
  }
}

// A driver that goes on after the end with what it kept.
void ExpectNoCallsTaken(simulator::SimulatedScanner& scanner) {
  for (const auto& stream : scanner.KeptStreams()) EXPECT_TRUE(FAILED(stream->Write("late", 4, nullptr)));
  platform::ComPtr<IStream> page;
  const auto callback = scanner.KeptCallback();
  if (callback != nullptr) EXPECT_TRUE(FAILED(callback->GetNextStream(0, nullptr, nullptr, &page)));
  scanner.ReleaseKept();
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

HRESULT ScanHost::Run(const SimulatedUser::Task& task, const During& during) {
  platform::ComPtr<IWiaUIExtension2> extension;
  EXPECT_EQ(g_classFactory.CreateInstance(nullptr, IID_IWiaUIExtension2, &extension), S_OK);
  const UserLocale locale(language, inches);
  RunLoaded([&](DEVICEDIALOGDATA2* data) { return extension->DeviceDialog(data); }, task, during);
  extension.Reset();
  EXPECT_EQ(g_pLangResource, nullptr);
  EXPECT_EQ(g_cLocks, 0);
  return result;
}

HRESULT ScanHost::RunLoaded(const Dialog& dialog, const SimulatedUser::Task& task, const During& during) {
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
  EXPECT_LE(GetTickCount64() - start, patience) << "it hung";
  ExpectNoCallsTaken(*scanner);
  EXPECT_EQ(request.lNumFiles, IsReported() ? 1 : 0);
  EXPECT_EQ(request.pWiaItem != nullptr, IsReported());
  EXPECT_FALSE(IsReported() && FAILED(result));
  EXPECT_EQ(scanner->LiveObjects().size(), IsReported() ? 2U : 1U) << "references to items";
  ExpectNothingTemporary(before, filesThatMayStay);
  ExpectWholeFiles();
  return result;
}

std::set<std::wstring> ScanHost::Pages() const {
  Names names = folder.Names();
  names.erase(kTakenName);
  return names;
}

void ScanHost::ExpectWholeFiles() const {
  EXPECT_EQ(Bytes(folder.path / kTakenName), kSomebodyElses);
  const auto transfers = scanner->Transfers();
  const bool complete = !transfers.empty() && transfers.back().result == S_OK && !hostileContent;
  if (IsReported() && complete) EXPECT_TRUE(IsWholeJpeg(Reported()));
  for (const std::wstring& name : Pages()) {
    const std::wstring path = folder.File(name);
    const bool page = std::filesystem::path(name).extension() == L".JPG";
    EXPECT_TRUE(page || path == Reported() || filesThatMayStay != 0) << "a stray file";
    EXPECT_TRUE(!page || !complete || IsWholeJpeg(path)) << "half a file";
  }
}

void ScanHost::FreeOutputs() {
  if (IsReported()) SysFreeString(request.pbstrFilePaths[0]);
  CoTaskMemFree(request.pbstrFilePaths);
  if (request.pWiaItem != nullptr) request.pWiaItem->Release();
  request = {};
}

}  // namespace harness
