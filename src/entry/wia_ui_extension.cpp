#include "entry/wia_ui_extension.h"

#include <cwchar>
#include <new>

#include "platform/gdiplus_owners.h"
#include "platform/module_state.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
#include <strsafe.h>

namespace {

// Set while the process's one dialog runs. The language resources hang on a process-wide pointer, so a second dialog,
// started from another thread or from inside the first, must not touch anything.
volatile LONG dialogRunning = 0;

}  // namespace

HRESULT STDMETHODCALLTYPE CWiaUIExtension::QueryInterface(REFIID riid, void** ppv) {
  return platform::AnswerQuery<IWiaUIExtension2>(this, riid, ppv, IID_IUnknown, IID_IWiaUIExtension2);
}

ULONG STDMETHODCALLTYPE CWiaUIExtension::AddRef() {
  if (m_cRef == 0) {
    InterlockedIncrement(&g_cLocks);
  }
  return static_cast<ULONG>(InterlockedIncrement(&m_cRef));
}

ULONG STDMETHODCALLTYPE CWiaUIExtension::Release() {
  const LONG count = InterlockedDecrement(&m_cRef);
  if (count == 0) {
    delete this;
    InterlockedDecrement(&g_cLocks);
  }
  return static_cast<ULONG>(count);
}

HRESULT STDMETHODCALLTYPE CWiaUIExtension::DeviceDialog(PDEVICEDIALOGDATA2 pDeviceDialogData) {
  if (pDeviceDialogData == nullptr) {
    return E_INVALIDARG;
  }
  if (InterlockedCompareExchange(&dialogRunning, 1, 0) != 0) {
    return HRESULT_FROM_WIN32(ERROR_BUSY);
  }
  const platform::Finally ended([] { InterlockedExchange(&dialogRunning, 0); });
  try {
    return RunScanDialog(pDeviceDialogData);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

HRESULT CWiaUIExtension::RunScanDialog(DEVICEDIALOGDATA2* pDeviceDialogData) {
  const wchar_t* name = pDeviceDialogData->bstrFilename;
  const bool fits = name == nullptr || wcsnlen(name, MAX_PATH) < MAX_PATH;
  const platform::ComSession com;  // the page's codecs are COM objects
  g_pLangResource = nullptr;
  // What DoModal creates outlives the dialog, whose controls use the fonts.
  const platform::Finally languageResourcesEnd([] {
    delete g_pLangResource;
    g_pLangResource = nullptr;
  });
  const platform::GdiplusSession gdiplus(m_ulGdiplusToken);
  SCAN_DIALOG dialog;
  const INT_PTR endCode = dialog.DoModal(pDeviceDialogData);
  // A scan that the outputs name already is not taken back by what fails while the dialog closes: the caller would own
  // outputs of a call that failed, and not look for them.
  if (FAILED(dialog.HandlerFailure()) && !dialog.HasReported()) {
    return dialog.HandlerFailure();
  }
  if (endCode == IDCANCEL) {
    return S_FALSE;
  }
  return fits ? S_OK : STRSAFE_E_INSUFFICIENT_BUFFER;
}

HRESULT STDMETHODCALLTYPE CWiaUIExtension::GetDeviceIcon(BSTR /*bstrDeviceId*/, HICON* phIcon, ULONG nSize) {
  if (phIcon == nullptr) {
    return E_INVALIDARG;
  }
  const int size = static_cast<int>(nSize);
  const platform::Icon loaded(static_cast<HICON>(
      LoadImageW(g_hInstance, MAKEINTRESOURCEW(IDI_DEVICE), IMAGE_ICON, size, size, LR_DEFAULTCOLOR)));
  const HICON copy = loaded != nullptr ? CopyIcon(loaded.get()) : nullptr;
  if (copy == nullptr) {
    return E_FAIL;
  }
  *phIcon = copy;
  return S_OK;
}
