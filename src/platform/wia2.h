// The WIA 2.0 declarations that the dialog uses.
//
// mingw-w64 ships WIA 1.0 only: its wia.h has IWiaPropertyStorage, IEnumWIA_DEV_CAPS and IEnumWIA_FORMAT_INFO, and
// neither IWiaItem2 nor the transfer and UI extension interfaces. They are declared here in their documented order.
// On a toolchain whose headers have them (the Windows SDK) this file adds nothing.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <wia.h>
#include <wiadef.h>

#include <cstddef>

#if defined(__IWiaItem2_INTERFACE_DEFINED__)

#include <wiadevd.h>

#else

struct IEnumWiaItem2;
struct IWiaPreview;
struct IWiaTransferCallback;

extern "C" {
extern const IID IID_IWiaItem2;
extern const IID IID_IEnumWiaItem2;
extern const IID IID_IWiaTransfer;
extern const IID IID_IWiaTransferCallback;
extern const IID IID_IWiaUIExtension2;

extern const GUID WIA_CATEGORY_FLATBED;
extern const GUID WIA_CATEGORY_FEEDER;
}

struct IWiaItem2 : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateChildItem(LONG lItemFlags, LONG lCreationFlags, BSTR bstrItemName,
                                                    IWiaItem2** ppIWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteItem(LONG lFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumChildItems(const GUID* pCategoryGUID, IEnumWiaItem2** ppIEnumWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindItemByName(LONG lFlags, BSTR bstrFullItemName, IWiaItem2** ppIWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetItemCategory(GUID* pItemCategoryGUID) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetItemType(LONG* pItemType) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeviceDlg(LONG lFlags, HWND hwndParent, BSTR bstrFolderName, BSTR bstrFilename,
                                              LONG* plNumFiles, BSTR** ppbstrFilePaths, IWiaItem2** ppItem) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeviceCommand(LONG lFlags, const GUID* pCmdGUID, IWiaItem2** ppIWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG lFlags, IEnumWIA_DEV_CAPS** ppIEnumWIA_DEV_CAPS) = 0;
  virtual HRESULT STDMETHODCALLTYPE CheckExtension(LONG lFlags, BSTR bstrName, REFIID riidExtensionInterface,
                                                   BOOL* pbExtensionExists) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetExtension(LONG lFlags, BSTR bstrName, REFIID riidExtensionInterface,
                                                 void** ppOut) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetParentItem(IWiaItem2** ppIWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem2** ppIWiaItem2) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPreviewComponent(LONG lFlags, IWiaPreview** ppWiaPreview) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG lFlags, const GUID* pEventGUID,
                                                          IEnumWIA_DEV_CAPS** ppIEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE Diagnostic(ULONG ulSize, BYTE* pBuffer) = 0;
};

struct IEnumWiaItem2 : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG cElt, IWiaItem2** ppIWiaItem2, ULONG* pcEltFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cElt) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumWiaItem2** ppIEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetCount(ULONG* cElt) = 0;
};

struct IWiaTransfer : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Download(LONG lFlags, IWiaTransferCallback* pIWiaTransferCallback) = 0;
  virtual HRESULT STDMETHODCALLTYPE Upload(LONG lFlags, IStream* pSource,
                                           IWiaTransferCallback* pIWiaTransferCallback) = 0;
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** ppEnum) = 0;
};

struct WiaTransferParams {
  LONG lMessage;
  LONG lPercentComplete;
  ULONG64 ulTransferredBytes;
  HRESULT hrErrorStatus;
};

struct IWiaTransferCallback : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE TransferCallback(LONG lFlags, WiaTransferParams* pWiaTransferParams) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNextStream(LONG lFlags, BSTR bstrItemName, BSTR bstrFullItemName,
                                                  IStream** ppDestination) = 0;
};

struct DEVICEDIALOGDATA2 {
  DWORD cbSize;
  IWiaItem2* pIWiaItemRoot;
  DWORD dwFlags;
  HWND hwndParent;
  BSTR bstrFolderName;
  BSTR bstrFilename;
  LONG lNumFiles;
  BSTR* pbstrFilePaths;
  IWiaItem2* pWiaItem;
};
using PDEVICEDIALOGDATA2 = DEVICEDIALOGDATA2*;

struct IWiaUIExtension2 : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE DeviceDialog(PDEVICEDIALOGDATA2 pDeviceDialogData) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDeviceIcon(BSTR bstrDeviceId, HICON* phIcon, ULONG nSize) = 0;
};

#endif

static_assert(sizeof(WiaTransferParams) == 24);
#ifdef _WIN64
static_assert(sizeof(DEVICEDIALOGDATA2) == 72);
static_assert(offsetof(DEVICEDIALOGDATA2, pIWiaItemRoot) == 8);
static_assert(offsetof(DEVICEDIALOGDATA2, pWiaItem) == 64);
#endif

// Constants whose header spelling mingw-w64 lacks. A header that has them defines macros, hence the guards.
#ifndef WIA_IPS_DOCUMENT_HANDLING_SELECT
inline constexpr PROPID WIA_IPS_DOCUMENT_HANDLING_SELECT = 3088;
#endif
#ifndef WIA_IPS_PAGES
inline constexpr PROPID WIA_IPS_PAGES = 3096;
#endif
#ifndef WIA_IPS_PAGE_SIZE
inline constexpr PROPID WIA_IPS_PAGE_SIZE = 3097;
#endif
#ifndef WIA_IPS_PREVIEW
inline constexpr PROPID WIA_IPS_PREVIEW = 3100;
#endif
#ifndef WIA_TRANSFER_MSG_STATUS
inline constexpr LONG WIA_TRANSFER_MSG_STATUS = 1;
inline constexpr LONG WIA_TRANSFER_MSG_END_OF_STREAM = 2;
inline constexpr LONG WIA_TRANSFER_MSG_END_OF_TRANSFER = 3;
inline constexpr LONG WIA_TRANSFER_MSG_DEVICE_STATUS = 5;
inline constexpr LONG WIA_TRANSFER_MSG_NEW_PAGE = 6;
#endif
