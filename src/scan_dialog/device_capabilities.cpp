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

PROPSPEC PropertyById(PROPID id) {
  PROPSPEC property = {};
  property.ulKind = PRSPEC_PROPID;
  property.propid = id;
  return property;
}

// The value as a 32-bit integer, of whichever integer type the driver answers; 0 for any other.
LONG IntegerOf(const PROPVARIANT& value) {
  switch (value.vt) {
    case VT_I2:
      return value.iVal;
    case VT_UI2:
      return value.uiVal;
    case VT_I4:
    case VT_INT:
    case VT_UI4:
    case VT_UINT:
      return value.lVal;
    default:
      return 0;
  }
}

// Whether a vector of valid values has this among its 32-bit integers; drivers use signed and unsigned ones.
bool ContainsInteger(const PROPVARIANT& values, LONG wanted) {
  const int type = values.vt & VT_TYPEMASK;
  if ((values.vt & VT_VECTOR) == 0 || (type != VT_I4 && type != VT_UI4 && type != VT_INT && type != VT_UINT) ||
      values.cal.pElems == nullptr) {
    return false;
  }
  return std::find(values.cal.pElems, values.cal.pElems + values.cal.cElems, wanted) !=
         values.cal.pElems + values.cal.cElems;
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
  const auto storage =
      platform::Query<IWiaPropertyStorage>(m_pDeviceDialogData->pIWiaItemRoot, IID_IWiaPropertyStorage);
  if (storage == nullptr) {
    return;
  }
  const PROPSPEC property = PropertyById(WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES);
  platform::ScopedPropVariant value;
  if (storage->ReadMultiple(1, &property, value.put()) == S_OK) {
    m_bHasFeeder = (IntegerOf(value.get()) & kFeedCapability) != 0;
  }
}

void SCAN_DIALOG::ReadResolutionCapability() {
  HRESULT result = S_OK;
  const auto storage = platform::Query<IWiaPropertyStorage>(FirstChildItem(WIA_CATEGORY_FLATBED, &result).Get(),
                                                            IID_IWiaPropertyStorage);
  if (storage == nullptr) {
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
