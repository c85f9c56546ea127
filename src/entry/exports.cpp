// The library's entry points.
#include <windows.h>

#include "entry/class_factory.h"
#include "platform/module_state.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_hInstance = instance;
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv) {
  if (ppv == nullptr) {
    return E_INVALIDARG;
  }
  if (!IsEqualCLSID(rclsid, CLSID_WiaScanDialog)) {
    *ppv = nullptr;
    return CLASS_E_CLASSNOTAVAILABLE;
  }
  return g_classFactory.QueryInterface(riid, ppv);
}

STDAPI DllCanUnloadNow() { return g_cLocks == 0 ? S_OK : S_FALSE; }

// The class identifier and the device's UI entries are written by the driver's INF: there is nothing to register here.
STDAPI DllRegisterServer() {
  OutputDebugStringW(L"DllRegisterServer\n");
  return S_OK;
}

STDAPI DllUnregisterServer() {
  OutputDebugStringW(L"DllUnregisterServer\n");
  return S_OK;
}
