#include "entry/wia_ui_extension.h"

#include <new>

#include "platform/gdiplus_owners.h"
#include "platform/module_instance.h"
#include "platform/module_state.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "resources/resource_ids.h"
#include "scan_dialog/scan_dialog.h"
// Last: it declares the unbounded string functions deprecated.
#include <strsafe.h>

namespace {

// Runs GDI+ for a scope: everything that the dialog decodes, draws and saves.
class GdiplusSession {
 public:
  explicit GdiplusSession(ULONG_PTR& token) noexcept : m_token(token) {
    const Gdiplus::GdiplusStartupInput input;
    m_token = 0;
    m_started = Gdiplus::GdiplusStartup(&m_token, &input, nullptr) == Gdiplus::Ok;
  }
  ~GdiplusSession() {
    if (m_started) {
      Gdiplus::GdiplusShutdown(m_token);
    }
  }
  GdiplusSession(const GdiplusSession&) = delete;
  GdiplusSession& operator=(const GdiplusSession&) = delete;

 private:
  ULONG_PTR& m_token;
  bool m_started;
};

// Frees the dialog's language resources, whoever created them meanwhile. Outlives the dialog, whose controls use the
// fonts.
class LanguageResources {
 public:
  LanguageResources() noexcept { g_pLangResource = nullptr; }
  ~LanguageResources() {
    delete g_pLangResource;
    g_pLangResource = nullptr;
  }
  LanguageResources(const LanguageResources&) = delete;
  LanguageResources& operator=(const LanguageResources&) = delete;
};

// S_OK when the name fits a path buffer, 0x8007007A when it was cut.
HRESULT CheckFileName(const wchar_t* fileName) {
  wchar_t copy[MAX_PATH] = {};
  return StringCchCatW(copy, MAX_PATH, fileName != nullptr ? fileName : L"");
}

}  // namespace

HRESULT STDMETHODCALLTYPE CWiaUIExtension::QueryInterface(REFIID riid, void** ppv) {
  if (ppv == nullptr) {
    return E_POINTER;
  }
  *ppv = nullptr;
  if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IWiaUIExtension2)) {
    return E_NOINTERFACE;
  }
  *ppv = static_cast<IWiaUIExtension2*>(this);
  AddRef();
  return S_OK;
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
  const DialogClaim claim;
  if (!claim.granted()) {
    return HRESULT_FROM_WIN32(ERROR_BUSY);
  }
  try {
    return RunScanDialog(pDeviceDialogData);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

HRESULT CWiaUIExtension::RunScanDialog(DEVICEDIALOGDATA2* pDeviceDialogData) {
  const HRESULT result = CheckFileName(pDeviceDialogData->bstrFilename);
  const LanguageResources languageResources;
  const GdiplusSession gdiplus(m_ulGdiplusToken);
  SCAN_DIALOG dialog;
  const INT_PTR endCode = dialog.DoModal(pDeviceDialogData);
  if (FAILED(dialog.HandlerFailure())) {
    return dialog.HandlerFailure();
  }
  return endCode == IDCANCEL ? S_FALSE : result;
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
