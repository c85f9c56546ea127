// What the device can do: read once, when the dialog opens. A device that does not answer is a device without the
// capability; no failure here keeps the dialog from opening.
#include <windows.h>

#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"

using platform::ComPtr;

namespace {

constexpr LONG kFeedCapability = 0x001;  // FEED of WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES

PROPSPEC PropertyById(PROPID id) {
  PROPSPEC property = {};
  property.ulKind = PRSPEC_PROPID;
  property.propid = id;
  return property;
}

bool IsInteger(const PROPVARIANT& value) { return value.vt == VT_I4 || value.vt == VT_UI4; }

// The 32-bit integers of a vector of valid values; drivers use signed and unsigned ones.
bool ContainsInteger(const PROPVARIANT& values, LONG wanted) {
  if (values.vt != (VT_VECTOR | VT_I4) && values.vt != (VT_VECTOR | VT_UI4)) {
    return false;
  }
  for (ULONG i = 0; values.cal.pElems != nullptr && i < values.cal.cElems; ++i) {
    if (values.cal.pElems[i] == wanted) {
      return true;
    }
  }
  return false;
}

}  // namespace

ComPtr<IWiaItem2> SCAN_DIALOG::FirstChildItem(const GUID& category, HRESULT* result) const {
  IWiaItem2* root = m_pDeviceDialogData->pIWiaItemRoot;
  if (root == nullptr) {
    *result = E_INVALIDARG;
    return nullptr;
  }
  ComPtr<IEnumWiaItem2> children;
  *result = root->EnumChildItems(&category, &children);
  if (FAILED(*result)) {
    return nullptr;
  }
  if (children == nullptr) {
    *result = E_UNEXPECTED;
    return nullptr;
  }
  ComPtr<IWiaItem2> item;
  ULONG fetched = 0;
  *result = children->Next(1, &item, &fetched);
  if (FAILED(*result) || fetched != 1) {
    return nullptr;
  }
  return item;
}

void SCAN_DIALOG::ReadFeederCapability() {
  ComPtr<IWiaPropertyStorage> storage;
  IWiaItem2* root = m_pDeviceDialogData->pIWiaItemRoot;
  if (root == nullptr || FAILED(root->QueryInterface(IID_IWiaPropertyStorage, &storage)) || storage == nullptr) {
    return;
  }
  const PROPSPEC property = PropertyById(WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES);
  platform::ScopedPropVariant value;
  if (storage->ReadMultiple(1, &property, value.put()) == S_OK && IsInteger(value.get())) {
    m_bHasFeeder = (value.get().lVal & kFeedCapability) != 0;
  }
}

void SCAN_DIALOG::ReadResolutionCapability() {
  HRESULT result = S_OK;
  const ComPtr<IWiaItem2> flatbed = FirstChildItem(WIA_CATEGORY_FLATBED, &result);
  ComPtr<IWiaPropertyStorage> storage;
  if (flatbed == nullptr || FAILED(flatbed->QueryInterface(IID_IWiaPropertyStorage, &storage)) || storage == nullptr) {
    return;
  }
  PROPSPEC property = PropertyById(WIA_IPS_XRES);  // some headers take it by non-const pointer
  ULONG flags = 0;
  platform::ScopedPropVariant values;
  if (storage->GetPropertyAttributes(1, &property, &flags, values.put()) != S_OK) {
    return;
  }
  // Every element counts, also the count and the nominal value that stand before a list's values.
  m_bRes400 = m_bRes400 || ContainsInteger(values.get(), 400);
  m_bRes600 = m_bRes600 || ContainsInteger(values.get(), 600);
}
