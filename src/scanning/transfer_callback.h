// The transfer's other end: makes the files that the device writes into and shows the device's error messages.
#pragma once

#include <windows.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/module_state.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scanning/page_stream.h"

// Made on the heap with one reference, which Close must precede; frees itself with the last. The platform may take and
// drop references and call from other threads; after Close every call is refused, since a driver that keeps the
// callback would otherwise make files, or show messages, for a dialog that is gone.
class CSimpleWIACallback final : public IWiaTransferCallback {
 public:
  // To the dialog, while a transfer runs: wParam is the percentage as the device reports it, not yet brought into 0 to
  // 100.
  static constexpr UINT kProgressMessage = WM_APP + 1;

  // owner: the dialog window, owner of the message boxes. filePath: where the first page goes; cut to 259 characters.
  CSimpleWIACallback(HWND owner, const wchar_t* filePath);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // Shows the message of a known device error, modally: the transfer waits. Any other status is progress, which the
  // dialog is told. Always S_OK; it never cancels.
  HRESULT STDMETHODCALLTYPE TransferCallback(LONG lFlags, WiaTransferParams* pWiaTransferParams) override;

  // Creates the next page's file, under the path itself or "name (2).JPG", "name (3).JPG" and so on; never opens a file
  // that is there. The caller owns the stream. E_FAIL with *ppDestination untouched when no file could be made.
  HRESULT STDMETHODCALLTYPE GetNextStream(LONG lFlags, BSTR bstrItemName, BSTR bstrFullItemName,
                                          IStream** ppDestination) override;

  // The transfer is over: waits for a call in progress on another thread, refuses further ones, and closes the files,
  // also those whose streams the driver keeps: nobody could open or delete them otherwise.
  void Close() noexcept;

  // After Close. The files that were created, in their order; none when no stream was asked for. Moved, so that no
  // allocation can lose a name.
  std::vector<std::wstring> TakeFiles() noexcept { return std::move(m_files); }

 private:
  ~CSimpleWIACallback() = default;
  HRESULT CreatePageFile(IStream** destination);

  const ModuleLock m_moduleLock;
  volatile LONG m_cRef = 1;
  HWND m_hwndOwner;
  wchar_t m_wszFileName[MAX_PATH] = {};

  volatile LONG m_closed = 0;
  volatile LONG m_callsInside = 0;
  volatile LONG m_reported = static_cast<LONG>(GetTickCount());  // when the dialog was last told of progress
  platform::Lock m_filesLock;                                    // guards what follows while calls run
  int m_nextNumber = 1;                                          // in the next page's name; 1: the path itself
  std::vector<std::wstring> m_files;
  std::vector<platform::ComPtr<CPageStream>> m_streams;
};
