// The library's class factory.
#pragma once

#include <windows.h>

#include <unknwn.h>

// {7C3E51A2-4B90-4D6E-9F21-58A0C4D7E913}
inline constexpr CLSID CLSID_WiaScanDialog = {
    0x7C3E51A2, 0x4B90, 0x4D6E, {0x9F, 0x21, 0x58, 0xA0, 0xC4, 0xD7, 0xE9, 0x13}};

// One static object, never allocated or freed: its references are counted in g_cLocks, so that they keep the library
// loaded. May be used from any thread.
class CClassFactory final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override;   // always 2
  ULONG STDMETHODCALLTYPE Release() override;  // always 1
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL fLock) override;
};

extern CClassFactory g_classFactory;
