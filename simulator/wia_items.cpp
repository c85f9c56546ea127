#include "simulator/wia_items.h"

#include <algorithm>

namespace simulator {

namespace {

using Microsoft::WRL::ComPtr;

// mingw-w64's wiadef.h lacks it: the item is a source that its settings program.
constexpr LONG kItemTypeProgrammableDataSource = 0x00080000;

const GUID& CategoryOf(ItemKind kind) {
  if (kind == ItemKind::root) {
    return kCategoryRoot;
  }
  return kind == ItemKind::flatbed ? WIA_CATEGORY_FLATBED : WIA_CATEGORY_FEEDER;
}

}  // namespace

const char* ItemName(ItemKind kind) {
  constexpr const char* kNames[] = {"Root", "Flatbed", "Feeder"};
  return kNames[static_cast<std::size_t>(kind)];
}

std::wstring WideItemName(ItemKind kind) {
  const std::string name = ItemName(kind);
  return std::wstring(name.begin(), name.end());
}

WiaItem::WiaItem(const std::shared_ptr<Device>& device, ItemKind kind)
    : CountedObject(device, ItemName(kind)),
      m_kind(kind),
      m_properties(*static_cast<IWiaItem2*>(this), *device, kind),
      m_transfer(*static_cast<IWiaItem2*>(this), *device, kind) {}

ComPtr<IWiaItem2> WiaItem::Create(const std::shared_ptr<Device>& device, ItemKind kind) {
  ComPtr<IWiaItem2> item;
  // Not Attach: mingw-w64's ComPtr takes a reference of its own there.
  *item.GetAddressOf() = new WiaItem(device, kind);
  return item;
}

HRESULT WiaItem::QueryInterface(REFIID iid, void** object) {
  if (object != nullptr) {
    *object = nullptr;
  }
  return Answer(*SharedDevice(), "IWiaItem2::QueryInterface", [&](const auto&) -> HRESULT {
    if (object == nullptr) {
      return E_POINTER;
    }
    if (iid == IID_IUnknown || iid == IID_IWiaItem2) {
      *object = static_cast<IWiaItem2*>(this);
    } else if (iid == IID_IWiaPropertyStorage) {
      *object = static_cast<IWiaPropertyStorage*>(&m_properties);
    } else if (iid == IID_IWiaTransfer && m_kind != ItemKind::root) {
      *object = static_cast<IWiaTransfer*>(&m_transfer);
    } else {
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  });
}

HRESULT WiaItem::EnumChildItems(const GUID* category, IEnumWiaItem2** items) {
  if (items != nullptr) {
    *items = nullptr;
  }
  return Answer(*SharedDevice(), "IWiaItem2::EnumChildItems", [&](const auto&) -> HRESULT {
    if (items == nullptr) {
      return E_POINTER;
    }
    std::vector<ItemKind> children;
    for (const ItemKind kind : {ItemKind::flatbed, ItemKind::feeder}) {
      const bool wanted = category == nullptr || *category == CategoryOf(kind);
      if (m_kind == ItemKind::root && wanted && SharedDevice()->Has(kind)) {
        children.push_back(kind);
      }
    }
    *items = new ItemEnumerator(SharedDevice(), std::move(children), 0);
    return S_OK;
  });
}

HRESULT WiaItem::FindItemByName(LONG, BSTR fullName, IWiaItem2** item) {
  if (item != nullptr) {
    *item = nullptr;
  }
  return Answer(*SharedDevice(), "IWiaItem2::FindItemByName", [&](const auto&) -> HRESULT {
    if (item == nullptr) {
      return E_POINTER;
    }
    const std::wstring wanted(fullName, SysStringLen(fullName));
    for (const ItemKind kind : {ItemKind::root, ItemKind::flatbed, ItemKind::feeder}) {
      const auto name = SharedDevice()->Properties(kind).Find(WIA_IPA_FULL_ITEM_NAME);
      if (name && SharedDevice()->Has(kind) && std::get<std::wstring>(name->value) == wanted) {
        *item = Create(SharedDevice(), kind).Detach();
        return S_OK;
      }
    }
    return S_FALSE;
  });
}

HRESULT WiaItem::GetItemCategory(GUID* category) {
  return Answer(*SharedDevice(), "IWiaItem2::GetItemCategory", [&](const auto&) -> HRESULT {
    if (category == nullptr) {
      return E_POINTER;
    }
    *category = CategoryOf(m_kind);
    return S_OK;
  });
}

HRESULT WiaItem::GetItemType(LONG* type) {
  return Answer(*SharedDevice(), "IWiaItem2::GetItemType", [&](const auto&) -> HRESULT {
    if (type == nullptr) {
      return E_POINTER;
    }
    *type = m_kind == ItemKind::root
                ? WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice
                : WiaItemTypeImage | WiaItemTypeFile | WiaItemTypeTransfer | kItemTypeProgrammableDataSource;
    return S_OK;
  });
}

HRESULT WiaItem::GetParentItem(IWiaItem2** item) {
  return ReturnRoot("IWiaItem2::GetParentItem", item, m_kind != ItemKind::root);
}

HRESULT WiaItem::GetRootItem(IWiaItem2** item) { return ReturnRoot("IWiaItem2::GetRootItem", item, true); }

HRESULT WiaItem::ReturnRoot(const char* method, IWiaItem2** item, bool exists) {
  if (item != nullptr) {
    *item = nullptr;
  }
  return Answer(*SharedDevice(), method, [&](const auto&) -> HRESULT {
    if (item == nullptr) {
      return E_POINTER;
    }
    *item = exists ? Create(SharedDevice(), ItemKind::root).Detach() : nullptr;
    return exists ? S_OK : S_FALSE;
  });
}

HRESULT WiaItem::CreateChildItem(LONG, LONG, BSTR, IWiaItem2**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::CreateChildItem");
}
HRESULT WiaItem::DeleteItem(LONG) { return NotImplemented(*SharedDevice(), "IWiaItem2::DeleteItem"); }
HRESULT WiaItem::DeviceDlg(LONG, HWND, BSTR, BSTR, LONG*, BSTR**, IWiaItem2**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::DeviceDlg");
}
HRESULT WiaItem::DeviceCommand(LONG, const GUID*, IWiaItem2**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::DeviceCommand");
}
HRESULT WiaItem::EnumDeviceCapabilities(LONG, IEnumWIA_DEV_CAPS**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::EnumDeviceCapabilities");
}
HRESULT WiaItem::CheckExtension(LONG, BSTR, REFIID, BOOL*) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::CheckExtension");
}
HRESULT WiaItem::GetExtension(LONG, BSTR, REFIID, void**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::GetExtension");
}
HRESULT WiaItem::GetPreviewComponent(LONG, IWiaPreview**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::GetPreviewComponent");
}
HRESULT WiaItem::EnumRegisterEventInfo(LONG, const GUID*, IEnumWIA_DEV_CAPS**) {
  return NotImplemented(*SharedDevice(), "IWiaItem2::EnumRegisterEventInfo");
}
HRESULT WiaItem::Diagnostic(ULONG, BYTE*) { return NotImplemented(*SharedDevice(), "IWiaItem2::Diagnostic"); }

ItemEnumerator::ItemEnumerator(const std::shared_ptr<Device>& device, std::vector<ItemKind> items, std::size_t position)
    : CountedObject(device, "Enumerator"), m_items(std::move(items)), m_position(position) {}

HRESULT ItemEnumerator::QueryInterface(REFIID iid, void** object) {
  if (object != nullptr) {
    *object = nullptr;
  }
  return Answer(*SharedDevice(), "IEnumWiaItem2::QueryInterface", [&](const auto&) -> HRESULT {
    if (object == nullptr) {
      return E_POINTER;
    }
    if (iid != IID_IUnknown && iid != IID_IEnumWiaItem2) {
      return E_NOINTERFACE;
    }
    *object = static_cast<IEnumWiaItem2*>(this);
    AddRef();
    return S_OK;
  });
}

HRESULT ItemEnumerator::Next(ULONG count, IWiaItem2** items, ULONG* fetched) {
  if (items != nullptr && count > 0) {
    *items = nullptr;
  }
  if (fetched != nullptr) {
    *fetched = 0;
  }
  return Answer(*SharedDevice(), "IEnumWiaItem2::Next", [&](const auto& fault) -> HRESULT {
    if (items == nullptr || (fetched == nullptr && count != 1)) {
      return E_POINTER;
    }
    if (fault && fault->kind == CallFault::Kind::wrongCount) {
      return S_OK;
    }
    ULONG delivered = 0;
    while (delivered < count) {
      const std::size_t position = m_position++;
      if (position >= m_items.size()) {
        m_position = m_items.size();
        break;
      }
      items[delivered++] = WiaItem::Create(SharedDevice(), m_items[position]).Detach();
    }
    if (fetched != nullptr) {
      *fetched = delivered;
    }
    return delivered == count ? S_OK : S_FALSE;
  });
}

HRESULT ItemEnumerator::Skip(ULONG count) {
  return Answer(*SharedDevice(), "IEnumWiaItem2::Skip", [&](const auto&) -> HRESULT {
    const std::size_t left = m_items.size() - m_position;
    m_position += std::min<std::size_t>(count, left);
    return count <= left ? S_OK : S_FALSE;
  });
}

HRESULT ItemEnumerator::Reset() {
  return Answer(*SharedDevice(), "IEnumWiaItem2::Reset", [&](const auto&) -> HRESULT {
    m_position = 0;
    return S_OK;
  });
}

HRESULT ItemEnumerator::Clone(IEnumWiaItem2** copy) {
  if (copy != nullptr) {
    *copy = nullptr;
  }
  return Answer(*SharedDevice(), "IEnumWiaItem2::Clone", [&](const auto&) -> HRESULT {
    if (copy == nullptr) {
      return E_POINTER;
    }
    *copy = new ItemEnumerator(SharedDevice(), m_items, m_position);
    return S_OK;
  });
}

HRESULT ItemEnumerator::GetCount(ULONG* count) {
  return Answer(*SharedDevice(), "IEnumWiaItem2::GetCount", [&](const auto&) -> HRESULT {
    if (count == nullptr) {
      return E_POINTER;
    }
    *count = static_cast<ULONG>(m_items.size());
    return S_OK;
  });
}

}  // namespace simulator
