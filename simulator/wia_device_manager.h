// The device manager of WIA 2.0, which mingw-w64's headers lack, as the platform's wia.h documents it, methods in the
// documented order. On a toolchain whose headers have it (the Windows SDK) this file adds nothing but its identifiers.
#pragma once

#include "platform/wia2.h"

#if !defined(__IWiaDevMgr2_INTERFACE_DEFINED__)

struct IWiaDevMgr2 : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE EnumDeviceInfo(LONG lFlags, IEnumWIA_DEV_INFO** ppIEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateDevice(LONG lFlags, BSTR bstrDeviceID, IWiaItem2** ppWiaItem2Root) = 0;
  virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlg(HWND hwndParent, LONG lDeviceType, LONG lFlags, BSTR* pbstrDeviceID,
                                                    IWiaItem2** ppItemRoot) = 0;
  virtual HRESULT STDMETHODCALLTYPE SelectDeviceDlgID(HWND hwndParent, LONG lDeviceType, LONG lFlags,
                                                      BSTR* pbstrDeviceID) = 0;
  virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackInterface(LONG lFlags, BSTR bstrDeviceID,
                                                                   const GUID* pEventGUID,
                                                                   IWiaEventCallback* pIWiaEventCallback,
                                                                   IUnknown** pEventObject) = 0;
  virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackProgram(LONG lFlags, BSTR bstrDeviceID, const GUID* pEventGUID,
                                                                 BSTR bstrFullAppName, BSTR bstrCommandlineArg,
                                                                 BSTR bstrName, BSTR bstrDescription,
                                                                 BSTR bstrIcon) = 0;
  virtual HRESULT STDMETHODCALLTYPE RegisterEventCallbackCLSID(LONG lFlags, BSTR bstrDeviceID, const GUID* pEventGUID,
                                                               const GUID* pClsID, BSTR bstrName, BSTR bstrDescription,
                                                               BSTR bstrIcon) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetImageDlg(LONG lFlags, BSTR bstrDeviceID, HWND hwndParent, BSTR bstrFolderName,
                                                BSTR bstrFilename, LONG* plNumFiles, BSTR** ppbstrFilePaths,
                                                IWiaItem2** ppItem) = 0;
};

#endif

namespace simulator {

inline constexpr CLSID kDeviceManagerClass = {
    0xB6C292BC, 0x7C88, 0x41EE, {0x8B, 0x54, 0x8E, 0xC9, 0x26, 0x17, 0xE5, 0x99}};
inline constexpr IID kDeviceManagerInterface = {
    0x79C07CF1, 0xCBDD, 0x41EE, {0x8E, 0xC3, 0xF0, 0x00, 0x80, 0xCA, 0xDA, 0x7A}};
// Of IEnumWIA_DEV_INFO. Not the one of mingw-w64's libuuid, which lies in one object with identifiers that ARM64 lacks
// and that are therefore defined in platform/wia2.cpp.
inline constexpr IID kDeviceEnumeratorInterface = {
    0x5E38B83C, 0x8CF1, 0x11D1, {0xBF, 0x92, 0x00, 0x60, 0x08, 0x1E, 0xD8, 0x11}};

}  // namespace simulator
