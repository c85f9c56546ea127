#include "scanning/transfer_callback.h"

#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "platform/debug_trace.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
// Last: it declares the unbounded string functions deprecated.
#include <strsafe.h>

namespace {

struct DeviceError {
  HRESULT status;
  UINT stringId;
};

constexpr DeviceError kDeviceErrors[] = {
    {static_cast<HRESULT>(0x800403E9), IDS_ERROR_NO_PAPER},
    {static_cast<HRESULT>(0x800403EA), IDS_ERROR_PAPER_JAM},
    {static_cast<HRESULT>(0x800403EB), IDS_ERROR_BUSY},
    {static_cast<HRESULT>(0x800403EC), IDS_ERROR_SCAN_FAILURE},
    {static_cast<HRESULT>(0x800403ED), IDS_ERROR_COVER_OPEN},
    {static_cast<HRESULT>(0x800403EE), IDS_ERROR_OFFLINE},
};

// Counts a call for the length of a scope, so that Close can wait for it.
class CallInside {
 public:
  explicit CallInside(std::atomic<int>& count) noexcept : m_count(count) { ++m_count; }
  ~CallInside() { --m_count; }
  CallInside(const CallInside&) = delete;
  CallInside& operator=(const CallInside&) = delete;

 private:
  std::atomic<int>& m_count;
};

// The path itself, or "name (2).JPG" and so on when a file of that name exists. The file's folder and leaf name go in
// separately: the form that takes a full path appends "(null)" on one runtime. Empty when there is none.
void MakeUniquePath(wchar_t* unique, const wchar_t* path) {
  wchar_t folder[MAX_PATH] = {};
  StringCchCopyW(folder, MAX_PATH, path);
  PathRemoveFileSpecW(folder);
  if (!PathYetAnotherMakeUniqueName(unique, folder, nullptr, PathFindFileNameW(path))) {
    unique[0] = L'\0';
  }
}

// "name (number).JPG", as the platform writes it. False when that is too long.
bool MakeVariant(wchar_t* variant, const wchar_t* path, int number) {
  const wchar_t* extension = PathFindExtensionW(path);
  return SUCCEEDED(StringCchPrintfW(variant, MAX_PATH, L"%.*ls (%d)%ls", static_cast<int>(extension - path), path,
                                    number, extension));
}

// The number in a variant of the path; 0 for the path itself, and for a name that the platform made in another way.
int NumberOfVariant(const wchar_t* variant, const wchar_t* path) {
  const wchar_t* bracket = StrRChrW(variant, nullptr, L'(');
  const int number = bracket != nullptr ? StrToIntW(bracket + 1) : 0;
  wchar_t same[MAX_PATH] = {};
  return number > 1 && MakeVariant(same, path, number) && std::wcscmp(same, variant) == 0 ? number : 0;
}

// Null when a file of that name is there, or none can be made. flags: as CreateFileW takes them beside the attributes.
platform::ComPtr<IStream> CreateNewFile(const wchar_t* path, DWORD flags) {
  platform::ComPtr<IStream> file;
  const DWORD attributes = FILE_ATTRIBUTE_NORMAL | flags;
  if (SHCreateStreamOnFileEx(path, STGM_READWRITE, attributes, TRUE, nullptr, &file) != S_OK) {
    return nullptr;
  }
  return file;
}

}  // namespace

CSimpleWIACallback::CSimpleWIACallback(HWND owner, const wchar_t* filePath, Purpose purpose)
    : m_hwndOwner(owner), m_purpose(purpose) {
  StringCchCopyW(m_wszFileName, MAX_PATH, filePath);
}

HRESULT STDMETHODCALLTYPE CSimpleWIACallback::QueryInterface(REFIID riid, void** ppv) {
  if (ppv == nullptr) {
    return E_POINTER;
  }
  *ppv = nullptr;
  if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IWiaTransferCallback)) {
    return E_NOINTERFACE;
  }
  *ppv = static_cast<IWiaTransferCallback*>(this);
  AddRef();
  return S_OK;
}

ULONG STDMETHODCALLTYPE CSimpleWIACallback::AddRef() { return static_cast<ULONG>(InterlockedIncrement(&m_cRef)); }

ULONG STDMETHODCALLTYPE CSimpleWIACallback::Release() {
  const LONG count = InterlockedDecrement(&m_cRef);
  if (count == 0) {
    delete this;
  }
  return static_cast<ULONG>(count);
}

HRESULT STDMETHODCALLTYPE CSimpleWIACallback::TransferCallback(LONG /*lFlags*/, WiaTransferParams* pWiaTransferParams) {
  const CallInside inside(m_callsInside);
  if (m_closed || pWiaTransferParams == nullptr || pWiaTransferParams->lMessage != WIA_TRANSFER_MSG_STATUS) {
    return S_OK;
  }
  const HRESULT status = pWiaTransferParams->hrErrorStatus;
  const auto error = std::find_if(std::begin(kDeviceErrors), std::end(kDeviceErrors),
                                  [status](const DeviceError& known) { return known.status == status; });
  if (error != std::end(kDeviceErrors)) {
    // On another thread the box has no owner: disabling the dialog would wait for its thread, which waits in Download.
    const bool onDialogThread = GetWindowThreadProcessId(m_hwndOwner, nullptr) == GetCurrentThreadId();
    g_pLangResource->ShowMessage(onDialogThread ? m_hwndOwner : nullptr, error->stringId);
  }
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CSimpleWIACallback::GetNextStream(LONG /*lFlags*/, BSTR /*bstrItemName*/,
                                                            BSTR /*bstrFullItemName*/, IStream** ppDestination) {
  const CallInside inside(m_callsInside);
  if (m_closed || ppDestination == nullptr) {
    return E_FAIL;
  }
  AcquireSRWLockExclusive(&m_filesLock);
  const HRESULT result = CreatePageFile(ppDestination);
  ReleaseSRWLockExclusive(&m_filesLock);
  return result;
}

HRESULT CSimpleWIACallback::CreatePageFile(IStream** destination) {
  wchar_t wszFileName[MAX_PATH] = {};
  platform::ComPtr<IStream> file;
  // The platform's search asks for the path itself and then for every number from 2 on. In a stack of pages all of them
  // are taken up to the last page's, so the next one is tried first. A name that somebody freed meanwhile is not used
  // again: the pages keep their order.
  const bool named = m_firstFile.empty()
                         ? SUCCEEDED(StringCchCopyW(wszFileName, MAX_PATH, m_wszFileName))
                         : m_lastVariant != 0 && MakeVariant(wszFileName, m_wszFileName, m_lastVariant + 1);
  if (named) {
    // Nobody has asked whether a link of that name is there. One whose target is missing would create the target; with
    // the flag it counts as a file.
    file = CreateNewFile(wszFileName, FILE_FLAG_OPEN_REPARSE_POINT);
  }
  if (file == nullptr) {
    MakeUniquePath(wszFileName, m_wszFileName);
    file = CreateNewFile(wszFileName, 0);  // fails when a file of that name has appeared meanwhile
  }
  DebugTrace(L"CSimpleWIACallback::GetNextStream - wszFileName = [%s]\n", wszFileName);
  if (file == nullptr) {
    return E_FAIL;
  }
  m_lastVariant = NumberOfVariant(wszFileName, m_wszFileName);
  platform::ComPtr<CPageStream> stream;
  try {
    *stream.GetAddressOf() = new CPageStream(file.Get());
    file.Reset();
    RememberFile(wszFileName, stream.Get());
  } catch (...) {
    file.Reset();
    stream.Reset();
    DeleteFileW(wszFileName);
    return E_FAIL;
  }
  *destination = stream.Detach();
  return S_OK;
}

void CSimpleWIACallback::RememberFile(const wchar_t* path, CPageStream* stream) {
  m_streams.emplace_back(stream);
  if (m_firstFile.empty()) {
    m_firstFile = path;
  } else if (m_purpose == Purpose::Preview) {
    m_laterPreviewFiles.emplace_back(path);
  }
}

void CSimpleWIACallback::Close() noexcept {
  m_closed = true;
  // Only calls on other threads can still be inside; a message box there ends when the user closes it.
  while (m_callsInside != 0) {
    Sleep(1);
  }
  for (const platform::ComPtr<CPageStream>& stream : m_streams) {
    stream->Close();
  }
}
