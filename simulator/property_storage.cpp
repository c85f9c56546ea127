#include "simulator/property_storage.h"

#include <algorithm>

#include "simulator/wia_items.h"

namespace simulator {

namespace {

// A task-memory copy, as PROPVARIANTs own them.
template <class Element>
Element* CopyToTaskMemory(const Element* elements, std::size_t count) {
  auto* copy = static_cast<Element*>(CoTaskMemAlloc(count * sizeof(Element)));
  if (copy == nullptr) {
    throw std::bad_alloc();
  }
  std::copy_n(elements, count, copy);
  return copy;
}

void PutText(const std::wstring& text, PROPVARIANT& out) {
  out.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (out.bstrVal == nullptr) {
    throw std::bad_alloc();
  }
  out.vt = VT_BSTR;
}

void PutNumber(LONG number, PROPVARIANT& out, VARTYPE type = VT_I4) {
  out.lVal = number;  // little endian: the shorter types read their part of it
  out.vt = type;
}

void PutValue(const PropertyValue& value, PROPVARIANT& out, VARTYPE integerType) {
  if (const LONG* number = std::get_if<LONG>(&value)) {
    PutNumber(*number, out, integerType);
  } else if (const std::wstring* text = std::get_if<std::wstring>(&value)) {
    PutText(*text, out);
  } else if (const GUID* guid = std::get_if<GUID>(&value)) {
    out.puuid = CopyToTaskMemory(guid, 1);
    out.vt = VT_CLSID;
  }
}

void PutNumbers(const std::vector<LONG>& numbers, PROPVARIANT& out, VARTYPE type) {
  out.cal.pElems = numbers.empty() ? nullptr : CopyToTaskMemory(numbers.data(), numbers.size());
  out.cal.cElems = static_cast<ULONG>(numbers.size());
  out.vt = static_cast<VARTYPE>(VT_VECTOR | type);
}

// The formats' list has the count as the first four bytes of its first element, which nobody reads, and the nominal
// format as the second.
void PutFormats(PROPVARIANT& out) {
  GUID formats[] = {GUID{1, 0, 0, {}}, WiaImgFmt_JPEG, WiaImgFmt_JPEG};
  out.cauuid.pElems = CopyToTaskMemory(formats, std::size(formats));
  out.cauuid.cElems = static_cast<ULONG>(std::size(formats));
  out.vt = VT_VECTOR | VT_CLSID;
}

bool IsKind(const std::optional<CallFault>& fault, CallFault::Kind kind) { return fault && fault->kind == kind; }

WrittenProperty ReadEntry(const PROPSPEC& specification, const PROPVARIANT& value) {
  WrittenProperty entry;
  entry.id = specification.ulKind == PRSPEC_PROPID ? specification.propid : 0;
  entry.type = value.vt;
  if (value.vt == VT_I4) {
    entry.value = value.lVal;
  } else if (value.vt == VT_CLSID && value.puuid != nullptr) {
    entry.value = *value.puuid;
  } else if (value.vt == VT_BSTR) {
    entry.value = std::wstring(value.bstrVal, SysStringLen(value.bstrVal));
  }
  return entry;
}

}  // namespace

HRESULT PropertyStorage::ReadMultiple(ULONG count, const PROPSPEC specifications[], PROPVARIANT values[]) {
  for (ULONG i = 0; values != nullptr && i < count; ++i) {
    PropVariantInit(&values[i]);
  }
  return Answer(m_device, "IWiaPropertyStorage::ReadMultiple", [&](const auto& fault) -> HRESULT {
    if (count == 0 || specifications == nullptr || values == nullptr) {
      return E_INVALIDARG;
    }
    bool found = false;
    for (ULONG i = 0; i < count; ++i) {
      const bool named = specifications[i].ulKind != PRSPEC_PROPID;
      const auto property = named ? std::nullopt : m_device.Properties(m_kind).Find(specifications[i].propid);
      if (!property) {
        continue;
      }
      found = true;
      if (IsKind(fault, CallFault::Kind::wrongType)) {
        property->Type() == VT_I4 ? PutText(L"not a number", values[i]) : PutNumber(0x7FFFFFFF, values[i]);
      } else if (specifications[i].propid == WIA_DIP_DEV_ID && m_device.Configuration().nullDeviceId) {
        values[i].bstrVal = nullptr;
        values[i].vt = VT_BSTR;
      } else {
        PutValue(property->value, values[i], m_device.Configuration().integerType);
      }
    }
    return found ? S_OK : S_FALSE;
  });
}

HRESULT PropertyStorage::WriteMultiple(ULONG count, const PROPSPEC specifications[], const PROPVARIANT values[],
                                       PROPID firstName) {
  return Answer(m_device, "IWiaPropertyStorage::WriteMultiple", [&](const auto&) -> HRESULT {
    if (count == 0 || specifications == nullptr || values == nullptr) {
      return E_INVALIDARG;
    }
    WrittenBatch batch;
    batch.item = WideItemName(m_kind);
    batch.firstName = firstName;
    for (ULONG i = 0; i < count; ++i) {
      batch.entries.push_back(ReadEntry(specifications[i], values[i]));
    }
    const HRESULT result = m_device.Properties(m_kind).Write(batch.entries);
    batch.result = result;
    m_device.Record(std::move(batch));
    return result;
  });
}

HRESULT PropertyStorage::GetPropertyAttributes(ULONG count, PROPSPEC specifications[], ULONG flags[],
                                               PROPVARIANT values[]) {
  for (ULONG i = 0; flags != nullptr && values != nullptr && i < count; ++i) {
    flags[i] = 0;
    PropVariantInit(&values[i]);
  }
  return Answer(m_device, "IWiaPropertyStorage::GetPropertyAttributes", [&](const auto& fault) -> HRESULT {
    if (count == 0 || specifications == nullptr || flags == nullptr || values == nullptr) {
      return E_INVALIDARG;
    }
    bool found = false;
    for (ULONG i = 0; i < count; ++i) {
      const bool named = specifications[i].ulKind != PRSPEC_PROPID;
      auto property = named ? std::nullopt : m_device.Properties(m_kind).Find(specifications[i].propid);
      if (!property) {
        continue;
      }
      found = true;
      flags[i] = property->access;
      if (IsKind(fault, CallFault::Kind::wrongCount) && !property->valid.empty()) {
        property->valid.front() = 60000;
      }
      if (IsKind(fault, CallFault::Kind::wrongType)) {
        PutNumber(1000, values[i]);  // read as a vector: 1000 elements at address 0
      } else if (property->Type() == VT_CLSID) {
        PutFormats(values[i]);
      } else if ((property->access & WIA_PROP_NONE) == 0) {
        PutNumbers(property->valid, values[i], m_device.Configuration().integerType);
      }
    }
    return found ? S_OK : S_FALSE;
  });
}

}  // namespace simulator
