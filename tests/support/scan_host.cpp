#include "tests/support/scan_host.h"

#include <algorithm>

#include "entry/class_factory.h"
#include "tests/support/host_resources.h"

namespace simulator {
namespace {

using Names = std::set<std::wstring>;

constexpr wchar_t kRequestedName[] = L"Image";
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
std::string CallsTaken(const SimulatedScanner& scanner) {
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

void Free(const DEVICEDIALOGDATA2& request) {
  SysFreeString(request.pbstrFilePaths[0]);
  CoTaskMemFree(request.pbstrFilePaths);
  request.pWiaItem->Release();
}

DWORD WINAPI CallBody(void* body) {
  (*static_cast<const std::function<void()>*>(body))();
  return 0;
}

}  // namespace

ScanHost::ScanHost()
    : m_folderName(SysAllocString(folder.path.wstring().c_str())), m_fileName(SysAllocString(kRequestedName)) {}

std::string ScanHost::Run(SimulatedScanner& scanner, HWND owner, const Call& call) {
  for (const std::wstring& name : folder.Names()) {
    DeleteFileW(folder.File(name).c_str());
  }
  std::ofstream(folder.path / kTakenName, std::ios::binary) << kSomebodyElses;
  const Names before = TemporaryPreviews();
  const auto root = scanner.Root();
  DEVICEDIALOGDATA2 request = {};
  request.cbSize = sizeof(request);
  request.pIWiaItemRoot = root.Get();
  request.hwndParent = owner;
  request.bstrFolderName = m_folderName.get();
  request.bstrFilename = m_fileName.get();
  filesThatMayStay = 0;
  const ULONGLONG start = GetTickCount64();
  const HRESULT result = call(&request);
  std::string wrong = GetTickCount64() - start > patience ? kHang : "";
  wrong += CallsTaken(scanner);
  scanner.ReleaseKept();

  const bool reported = request.lNumFiles == 1;
  if (reported != (request.pbstrFilePaths != nullptr) || reported != (request.pWiaItem != nullptr) ||
      (reported && FAILED(result))) {
    return wrong + "outputs; ";
  }
  if (scanner.LiveObjects().size() != (reported ? 2U : 1U)) {
    wrong += "references; ";
  }
  wrong += WhatIsTemporary(before, filesThatMayStay);
  const auto transfers = scanner.Transfers();
  const bool complete = !transfers.empty() && transfers.back().result == S_OK && !hostileContent;
  wrong += WhatLies(reported ? request.pbstrFilePaths[0] : L"", complete);
  if (reported) {
    Free(request);
  }
  return wrong;
}

std::string ScanHost::WhatLies(const std::wstring& reportedPath, bool complete) const {
  std::string wrong;
  if (Bytes(folder.path / kTakenName) != kSomebodyElses) {
    wrong += "somebody else's file; ";
  }
  if (!reportedPath.empty() && complete && !IsWholeJpeg(reportedPath)) {
    wrong += "reported file; ";
  }
  for (const std::wstring& name : folder.Names()) {
    const std::wstring path = folder.File(name);
    const bool page = std::filesystem::path(name).extension() == L".JPG";
    if (!page && path != reportedPath && filesThatMayStay == 0) {
      wrong += "stray file; ";
    }
    if (page && name != kTakenName && complete && !IsWholeJpeg(path)) {
      wrong += "half a file; ";
    }
  }
  return wrong;
}

LoadedLibrary::LoadedLibrary(const wchar_t* path) : m_module(LoadLibraryW(path)) {
  using GetClassObject = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
  const auto get = reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(Function("DllGetClassObject")));
  platform::ComPtr<IClassFactory> factory;
  get(CLSID_WiaScanDialog, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf()));
  factory->CreateInstance(nullptr, IID_IWiaUIExtension2, reinterpret_cast<void**>(m_extension.GetAddressOf()));
}

bool LoadedLibrary::CanUnload() {
  m_extension.Reset();
  const auto can = reinterpret_cast<HRESULT(WINAPI*)()>(reinterpret_cast<void*>(Function("DllCanUnloadNow")));
  return can() == S_OK;
}

void LoadedLibrary::Unload() {
  m_extension.Reset();
  if (m_module != nullptr) {
    FreeLibrary(m_module);
  }
  m_module = nullptr;
}

FewGdiObjects::FewGdiObjects(std::size_t left) {
  while (const HGDIOBJ taken = CreateSolidBrush(static_cast<COLORREF>(m_taken.size()))) {
    m_taken.push_back(taken);
  }
  for (; left > 0 && !m_taken.empty(); --left) {
    GiveBack();
  }
}

FewGdiObjects::~FewGdiObjects() {
  while (!m_taken.empty()) {
    GiveBack();
  }
}

void FewGdiObjects::GiveBack() {
  DeleteObject(m_taken.back());
  m_taken.pop_back();
}

std::map<std::string, long long> Growth(int cycles, const std::function<void()>& cycle) {
  std::map<std::string, long long> first;
  std::map<std::string, long long> last;
  for (int i = 0; i < cycles; ++i) {
    cycle();
    auto* const quarter = i < cycles / 4 ? &first : i >= cycles - cycles / 4 ? &last : nullptr;
    if (quarter == nullptr) {
      continue;
    }
    for (const HostResource& resource : CountHostResources()) {
      const auto found = quarter->try_emplace(resource.name, resource.count).first;
      found->second = std::min(found->second, static_cast<long long>(resource.count));
    }
  }
  for (auto& [name, count] : last) {
    count -= first[name];
  }
  return last;
}

void RunOnThread(DWORD apartment, std::size_t stack, const std::function<void()>& body) {
  const std::function<void()> inside = [&] {
    const HRESULT initialised = CoInitializeEx(nullptr, apartment);
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

}  // namespace simulator
