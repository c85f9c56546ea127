// The component's one class: the scan dialog of a WIA device.
#pragma once

#include <windows.h>

#include "platform/wia2.h"

// Made by CClassFactory only, on the heap; frees itself with its last reference. References may be taken and dropped on
// any thread; DeviceDialog runs the dialog on the thread that calls it and returns when it has ended.
class CWiaUIExtension final : public IWiaUIExtension2 {
 public:
  CWiaUIExtension() = default;
  CWiaUIExtension(const CWiaUIExtension&) = delete;
  CWiaUIExtension& operator=(const CWiaUIExtension&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // Shows the scan dialog. The fields lNumFiles, pbstrFilePaths and pWiaItem are set by a successful final scan (the
  // caller then owns the array, its strings and the item) and otherwise keep what the caller passed.
  //   S_OK            the dialog ended with Scan; whether a file was made is told by the fields
  //   S_FALSE         the user closed the dialog
  //   0x8007007A      as S_OK, but bstrFilename has 260 or more characters
  //   E_INVALIDARG    pDeviceDialogData is null; nothing was touched
  //   HRESULT_FROM_WIN32(ERROR_BUSY)  a dialog is already running in this process; nothing was touched
  //   E_OUTOFMEMORY, E_FAIL           the dialog could not go on; everything was cleaned up
  HRESULT STDMETHODCALLTYPE DeviceDialog(PDEVICEDIALOGDATA2 pDeviceDialogData) override;

  // Stores a copy of the device's icon, nSize x nSize pixels, which the caller destroys. The device is not looked at.
  //   E_INVALIDARG    phIcon is null
  //   E_FAIL          the icon could not be loaded; *phIcon is unchanged
  HRESULT STDMETHODCALLTYPE GetDeviceIcon(BSTR bstrDeviceId, HICON* phIcon, ULONG nSize) override;

 private:
  ~CWiaUIExtension() = default;
  HRESULT RunScanDialog(DEVICEDIALOGDATA2* pDeviceDialogData);

  ULONG_PTR m_ulGdiplusToken = 0;
  volatile LONG m_cRef = 0;
};
