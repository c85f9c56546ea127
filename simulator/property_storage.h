// IWiaPropertyStorage over an item's property table. Internal to the simulator.
#pragma once

#include "simulator/device.h"

namespace simulator {

// A face of an item: its references are the item's.
class PropertyStorage final : public IWiaPropertyStorage {
 public:
  PropertyStorage(IUnknown& owner, Device& device, ItemKind kind) : m_owner(owner), m_device(device), m_kind(kind) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return m_owner.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return m_owner.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return m_owner.Release(); }

  HRESULT STDMETHODCALLTYPE ReadMultiple(ULONG count, const PROPSPEC specifications[], PROPVARIANT values[]) override;
  HRESULT STDMETHODCALLTYPE WriteMultiple(ULONG count, const PROPSPEC specifications[], const PROPVARIANT values[],
                                          PROPID firstName) override;
  HRESULT STDMETHODCALLTYPE GetPropertyAttributes(ULONG count, PROPSPEC specifications[], ULONG flags[],
                                                  PROPVARIANT values[]) override;

  HRESULT STDMETHODCALLTYPE DeleteMultiple(ULONG, const PROPSPEC[]) override { return Missing("DeleteMultiple"); }
  HRESULT STDMETHODCALLTYPE ReadPropertyNames(ULONG, const PROPID[], LPOLESTR[]) override {
    return Missing("ReadPropertyNames");
  }
  HRESULT STDMETHODCALLTYPE WritePropertyNames(ULONG, const PROPID[], const LPOLESTR[]) override {
    return Missing("WritePropertyNames");
  }
  HRESULT STDMETHODCALLTYPE DeletePropertyNames(ULONG, const PROPID[]) override {
    return Missing("DeletePropertyNames");
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return Missing("Commit"); }
  HRESULT STDMETHODCALLTYPE Revert() override { return Missing("Revert"); }
  HRESULT STDMETHODCALLTYPE Enum(IEnumSTATPROPSTG**) override { return Missing("Enum"); }
  HRESULT STDMETHODCALLTYPE SetTimes(const FILETIME*, const FILETIME*, const FILETIME*) override {
    return Missing("SetTimes");
  }
  HRESULT STDMETHODCALLTYPE SetClass(REFCLSID) override { return Missing("SetClass"); }
  HRESULT STDMETHODCALLTYPE Stat(STATPROPSETSTG*) override { return Missing("Stat"); }
  HRESULT STDMETHODCALLTYPE GetCount(ULONG*) override { return Missing("GetCount"); }
  HRESULT STDMETHODCALLTYPE GetPropertyStream(GUID*, IStream**) override { return Missing("GetPropertyStream"); }
  HRESULT STDMETHODCALLTYPE SetPropertyStream(GUID*, IStream*) override { return Missing("SetPropertyStream"); }

 private:
  HRESULT Missing(const char* method) noexcept {
    return Answer(m_device, (std::string("IWiaPropertyStorage::") + method).c_str(),
                  [](const auto&) { return E_NOTIMPL; });
  }

  IUnknown& m_owner;
  Device& m_device;
  const ItemKind m_kind;
};

}  // namespace simulator
