#include "entry/class_factory.h"

#include <new>

#include "entry/wia_ui_extension.h"
#include "platform/module_state.h"
#include "platform/scoped.h"

CClassFactory g_classFactory;

HRESULT STDMETHODCALLTYPE CClassFactory::QueryInterface(REFIID riid, void** ppv) {
  return platform::AnswerQuery<IClassFactory>(this, riid, ppv, IID_IUnknown, IID_IClassFactory);
}

ULONG STDMETHODCALLTYPE CClassFactory::AddRef() {
  InterlockedIncrement(&g_cLocks);
  return 2;
}

ULONG STDMETHODCALLTYPE CClassFactory::Release() {
  InterlockedDecrement(&g_cLocks);
  return 1;
}

HRESULT STDMETHODCALLTYPE CClassFactory::CreateInstance(IUnknown* pUnkOuter, REFIID riid, void** ppv) {
  if (ppv == nullptr) {
    return E_POINTER;
  }
  *ppv = nullptr;
  if (pUnkOuter != nullptr) {
    return CLASS_E_NOAGGREGATION;
  }
  auto* extension = new (std::nothrow) CWiaUIExtension;
  if (extension == nullptr) {
    return E_OUTOFMEMORY;
  }
  // The reference held meanwhile frees the object again when it lacks the interface.
  extension->AddRef();
  const HRESULT result = extension->QueryInterface(riid, ppv);
  extension->Release();
  return result;
}

HRESULT STDMETHODCALLTYPE CClassFactory::LockServer(BOOL fLock) {
  if (fLock) {
    InterlockedIncrement(&g_cLocks);
  } else {
    InterlockedDecrement(&g_cLocks);
  }
  return S_OK;
}
