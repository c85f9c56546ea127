// IWiaTransfer: sends the pages. Internal to the simulator.
#pragma once

#include "simulator/device.h"

namespace simulator {

// A face of an item: its references are the item's.
class Transfer final : public IWiaTransfer {
 public:
  Transfer(IUnknown& owner, Device& device, ItemKind kind) : m_owner(owner), m_device(device), m_kind(kind) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return m_owner.QueryInterface(iid, object);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return m_owner.AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return m_owner.Release(); }

  HRESULT STDMETHODCALLTYPE Download(LONG flags, IWiaTransferCallback* callback) override;
  HRESULT STDMETHODCALLTYPE Cancel() override;
  HRESULT STDMETHODCALLTYPE Upload(LONG, IStream*, IWiaTransferCallback*) override {
    return NotImplemented(m_device, "IWiaTransfer::Upload");
  }
  HRESULT STDMETHODCALLTYPE EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO**) override {
    return NotImplemented(m_device, "IWiaTransfer::EnumWIA_FORMAT_INFO");
  }

 private:
  IUnknown& m_owner;
  Device& m_device;
  const ItemKind m_kind;
};

}  // namespace simulator
