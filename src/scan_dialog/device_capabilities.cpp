// What the device can do: read once, when the dialog opens. A device that does not answer is a device without the
// capability; no failure here keeps the dialog from opening.
#include <windows.h>

#include <algorithm>

#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"

using platform::ComPtr;

namespace {

constexpr LONG kFeedCapability = 0x001;  // FEED of WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES

bool IsLongInteger(int type) { return type == VT_I4 || type == VT_UI4 || type == VT_INT || type == VT_UINT; }

// Whether a vector of valid values has this among its 32-bit integers; drivers use signed and unsigned ones.
bool ContainsInteger(const PROPVARIANT& values, LONG wanted) {
  if ((values.vt & VT_VECTOR) == 0 || !IsLongInteger(values.vt & VT_TYPEMASK) || values.cal.pElems == nullptr) {
    return false;
  }
  LONG* const end = values.cal.pElems + values.cal.cElems;
  return std::find(values.cal.pElems, end, wanted) != end;
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

ComPtr<IWiaPropertyStorage> SCAN_DIALOG::FlatbedStorage() const {
  HRESULT result = S_OK;
  return platform::Query<IWiaPropertyStorage>(FirstChildItem(WIA_CATEGORY_FLATBED, &result).Get(),
                                              IID_IWiaPropertyStorage);
}

void SCAN_DIALOG::ReadFeederCapability() {
  const auto storage =
      platform::Query<IWiaPropertyStorage>(m_pDeviceDialogData->pIWiaItemRoot, IID_IWiaPropertyStorage);
  if (storage == nullptr) {
    return;
  }
  const PROPSPEC property = {PRSPEC_PROPID, {WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES}};
  platform::ScopedPropVariant value;
  if (storage->ReadMultiple(1, &property, value.put()) == S_OK) {
    // Of whichever integer type the driver answers: all of them begin with the same bits.
    const int type = value.get().vt;
    m_bHasFeeder =
        (IsLongInteger(type) || type == VT_I2 || type == VT_UI2) && (value.get().iVal & kFeedCapability) != 0;
  }
}

void SCAN_DIALOG::ReadResolutionCapability() {
  const auto storage = FlatbedStorage();
  if (storage == nullptr) {
    return;
  }
  PROPSPEC property = {PRSPEC_PROPID, {WIA_IPS_XRES}};  // some headers take it by non-const pointer
  ULONG flags = 0;
  platform::ScopedPropVariant values;
  if (storage->GetPropertyAttributes(1, &property, &flags, values.put()) != S_OK) {
    return;
  }
  // Every element counts, also the count and the nominal value that stand before a list's values.
  m_bRes400 = m_bRes400 || ContainsInteger(values.get(), 400);
  m_bRes600 = m_bRes600 || ContainsInteger(values.get(), 600);
}
