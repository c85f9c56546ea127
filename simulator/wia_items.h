// IWiaItem2 and IEnumWiaItem2. Internal to the simulator.
#pragma once

#include "simulator/device.h"
#include "simulator/property_storage.h"
#include "simulator/transfer.h"

namespace simulator {

// "Root", "Flatbed" or "Feeder": the item's name, the log's name for it and the kind of its live objects.
const char* ItemName(ItemKind kind);
std::wstring WideItemName(ItemKind kind);

class WiaItem final : public IWiaItem2, public CountedObject {
 public:
  static Microsoft::WRL::ComPtr<IWiaItem2> Create(const std::shared_ptr<Device>& device, ItemKind kind);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return AddReference(); }
  ULONG STDMETHODCALLTYPE Release() override { return DropReference(); }

  HRESULT STDMETHODCALLTYPE EnumChildItems(const GUID* category, IEnumWiaItem2** items) override;
  HRESULT STDMETHODCALLTYPE FindItemByName(LONG flags, BSTR fullName, IWiaItem2** item) override;
  HRESULT STDMETHODCALLTYPE GetItemCategory(GUID* category) override;
  HRESULT STDMETHODCALLTYPE GetItemType(LONG* type) override;
  HRESULT STDMETHODCALLTYPE GetParentItem(IWiaItem2** item) override;
  HRESULT STDMETHODCALLTYPE GetRootItem(IWiaItem2** item) override;

  HRESULT STDMETHODCALLTYPE CreateChildItem(LONG, LONG, BSTR, IWiaItem2**) override;
  HRESULT STDMETHODCALLTYPE DeleteItem(LONG) override;
  HRESULT STDMETHODCALLTYPE DeviceDlg(LONG, HWND, BSTR, BSTR, LONG*, BSTR**, IWiaItem2**) override;
  HRESULT STDMETHODCALLTYPE DeviceCommand(LONG, const GUID*, IWiaItem2**) override;
  HRESULT STDMETHODCALLTYPE EnumDeviceCapabilities(LONG, IEnumWIA_DEV_CAPS**) override;
  HRESULT STDMETHODCALLTYPE CheckExtension(LONG, BSTR, REFIID, BOOL*) override;
  HRESULT STDMETHODCALLTYPE GetExtension(LONG, BSTR, REFIID, void**) override;
  HRESULT STDMETHODCALLTYPE GetPreviewComponent(LONG, IWiaPreview**) override;
  HRESULT STDMETHODCALLTYPE EnumRegisterEventInfo(LONG, const GUID*, IEnumWIA_DEV_CAPS**) override;
  HRESULT STDMETHODCALLTYPE Diagnostic(ULONG, BYTE*) override;

 private:
  WiaItem(const std::shared_ptr<Device>& device, ItemKind kind);
  ~WiaItem() override = default;

  HRESULT ReturnRoot(const char* method, IWiaItem2** item, bool exists);

  const ItemKind m_kind;
  PropertyStorage m_properties;
  Transfer m_transfer;
};

class ItemEnumerator final : public IEnumWiaItem2, public CountedObject {
 public:
  ItemEnumerator(const std::shared_ptr<Device>& device, std::vector<ItemKind> items, std::size_t position);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return AddReference(); }
  ULONG STDMETHODCALLTYPE Release() override { return DropReference(); }

  HRESULT STDMETHODCALLTYPE Next(ULONG count, IWiaItem2** items, ULONG* fetched) override;
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE Clone(IEnumWiaItem2** copy) override;
  HRESULT STDMETHODCALLTYPE GetCount(ULONG* count) override;

 private:
  ~ItemEnumerator() override = default;

  const std::vector<ItemKind> m_items;
  std::atomic<std::size_t> m_position;
};

}  // namespace simulator
