#include "scanning/transfer_callback.h"

#include <algorithm>
#include <iterator>
#include <mutex>

#include "platform/debug_trace.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scanning/new_file.h"
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

// Counts a call until its scope ends, so that Close can wait for it. No lock: a call can come back on its own thread,
// from the message loop of its message box.
auto CountCall(volatile LONG& count) noexcept {
  InterlockedIncrement(&count);
  return platform::Finally([&count] { InterlockedDecrement(&count); });
}

}  // namespace

CSimpleWIACallback::CSimpleWIACallback(HWND owner, const wchar_t* filePath) : m_hwndOwner(owner) {
  StringCchCopyW(m_wszFileName, MAX_PATH, filePath);
}

HRESULT STDMETHODCALLTYPE CSimpleWIACallback::QueryInterface(REFIID riid, void** ppv) {
  return platform::AnswerQuery<IWiaTransferCallback>(this, riid, ppv, IID_IUnknown, IID_IWiaTransferCallback);
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
  const auto inside = CountCall(m_callsInside);
  if (m_closed != 0 || pWiaTransferParams == nullptr || pWiaTransferParams->lMessage != WIA_TRANSFER_MSG_STATUS) {
    return S_OK;
  }
  const auto error = std::ranges::find(kDeviceErrors, pWiaTransferParams->hrErrorStatus, &DeviceError::status);
  if (error == std::end(kDeviceErrors)) {
    // Drivers report with every band, and painting may take milliseconds: a fast feeder would wait for the status bar.
    constexpr DWORD kInterval = 100;  // milliseconds
    const DWORD now = GetTickCount();
    if (now - static_cast<DWORD>(m_reported) < kInterval) {
      return S_OK;
    }
    InterlockedExchange(&m_reported, static_cast<LONG>(now));
    // Handled before this returns when the dialog's thread calls, otherwise when that thread next takes messages: it
    // may be waiting for this one.
    SendNotifyMessageW(m_hwndOwner, kProgressMessage, static_cast<WPARAM>(pWiaTransferParams->lPercentComplete), 0);
    return S_OK;
  }
  // On another thread the box has no owner: disabling the dialog would wait for its thread, which waits in Download.
  const bool onDialogThread = GetWindowThreadProcessId(m_hwndOwner, nullptr) == GetCurrentThreadId();
  g_pLangResource->ShowMessage(onDialogThread ? m_hwndOwner : nullptr, error->stringId);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE CSimpleWIACallback::GetNextStream(LONG /*lFlags*/, BSTR /*bstrItemName*/,
                                                            BSTR /*bstrFullItemName*/, IStream** ppDestination) {
  const auto inside = CountCall(m_callsInside);
  if (m_closed != 0 || ppDestination == nullptr) {
    return E_FAIL;
  }
  const std::lock_guard one(m_filesLock);
  return CreatePageFile(ppDestination);
}

HRESULT CSimpleWIACallback::CreatePageFile(IStream** destination) {
  // A stack goes on from its last number: asking for all the names that its own pages took would cost more with each
  // page, and a name that somebody freed meanwhile would break the order.
  scanning::NewFile file;
  const HRESULT created = scanning::CreateNewFile(m_wszFileName, m_nextNumber, &file);
  DebugTrace(L"CSimpleWIACallback::GetNextStream - wszFileName = [%s]\n", file.path);
  if (FAILED(created)) {
    return E_FAIL;
  }
  m_nextNumber = file.number + 1;
  platform::ComPtr<CPageStream> stream;
  try {
    *stream.GetAddressOf() = new CPageStream(file.stream.Get());
    file.stream.Reset();
    m_streams.push_back(stream);
    m_files.emplace_back(file.path);
  } catch (...) {
    file.stream.Reset();
    if (stream != nullptr) {
      stream->Close();  // it may be among the streams already, and an open file can't be deleted
    }
    DeleteFileW(file.path);
    return E_FAIL;
  }
  *destination = stream.Detach();
  return S_OK;
}

void CSimpleWIACallback::Close() noexcept {
  InterlockedExchange(&m_closed, 1);
  // Only calls on other threads can still be inside; a message box there ends when the user closes it.
  while (m_callsInside != 0) {
    Sleep(1);
  }
  for (const platform::ComPtr<CPageStream>& stream : m_streams) {
    stream->Close();
  }
}
