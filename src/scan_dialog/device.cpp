// What the device can do, and its name in the title bar: read once, when the dialog opens. A device that does not
// answer is a device without the capability; no failure here keeps the dialog from opening.
#include <windows.h>

#include <setupapi.h>

#include <algorithm>
#include <memory>
#include <new>

#include "platform/debug_trace.h"
#include "platform/registry_reader.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"
#include <strsafe.h>

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

// {6BDD1FC6-810F-11D0-BEC7-08002BE2092F}: GUID_DEVINTERFACE_IMAGE
constexpr GUID kDevinterfaceImage = {0x6BDD1FC6, 0x810F, 0x11D0, {0xBE, 0xC7, 0x08, 0x00, 0x2B, 0xE2, 0x09, 0x2F}};

// The device that an interface belongs to. SetupAPI names it only together with the interface's path, whose length has
// to be asked for first.
bool DeviceOfInterface(HDEVINFO devices, SP_DEVICE_INTERFACE_DATA* interfaceData, SP_DEVINFO_DATA* device) {
  DWORD size = 0;
  SetupDiGetDeviceInterfaceDetailW(devices, interfaceData, nullptr, 0, &size, nullptr);
  if (size < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W)) {
    return false;
  }
  const auto buffer = std::make_unique<BYTE[]>(size);
  auto* detail = new (buffer.get()) SP_DEVICE_INTERFACE_DETAIL_DATA_W{};
  detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
  *device = {};
  device->cbSize = sizeof(*device);
  return SetupDiGetDeviceInterfaceDetailW(devices, interfaceData, detail, size, nullptr, device) != FALSE;
}

// True when the driver key carries this device identifier; then `name` is its display name, empty when it has none.
bool ReadNameOfDevice(HDEVINFO devices, SP_DEVINFO_DATA* device, const wchar_t* deviceId, wchar_t* name) {
  const HKEY opened = SetupDiOpenDevRegKey(devices, device, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
  if (opened == INVALID_HANDLE_VALUE) {
    return false;
  }
  const platform::RegistryKey driverKey(opened);
  GetRegValueString(driverKey.get(), L"DeviceID", name);
  DebugTrace(L"DeviceID = [%s]\n", name);
  if (CompareStringOrdinal(name, -1, deviceId, -1, TRUE) != CSTR_EQUAL) {
    return false;
  }
  if (GetRegValueString(driverKey.get(), L"FriendlyName", name) != 0) {
    DebugTrace(L"FriendlyName = [%s]\n", name);
  } else if (GetRegValueString(driverKey.get(), L"DriverDesc", name) != 0) {
    DebugTrace(L"DriverDesc = [%s]\n", name);
  }
  return true;
}

// Every present device is looked at, so that the last of several with one identifier sets the title.
void SetTitleFromRegistry(HWND hDlg, const wchar_t* deviceId) {
  const HDEVINFO opened = SetupDiGetClassDevsExW(&kDevinterfaceImage, nullptr, nullptr,
                                                 DIGCF_PRESENT | DIGCF_DEVICEINTERFACE, nullptr, nullptr, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    return;
  }
  const platform::DeviceInfoSet devices(opened);
  SP_DEVICE_INTERFACE_DATA interfaceData = {};
  interfaceData.cbSize = sizeof(interfaceData);
  for (DWORD index = 0; SetupDiEnumDeviceInterfaces(devices.get(), nullptr, &kDevinterfaceImage, index, &interfaceData);
       ++index) {
    SP_DEVINFO_DATA device = {};
    wchar_t name[MAX_PATH] = {};
    if (DeviceOfInterface(devices.get(), &interfaceData, &device) &&
        ReadNameOfDevice(devices.get(), &device, deviceId, name)) {
      SetWindowTextW(hDlg, name);
    }
  }
}

}  // namespace

ComPtr<IWiaItem2> SCAN_DIALOG::FirstChildItem(const GUID& category, HRESULT* result) const {
  IWiaItem2* root = m_pDeviceDialogData->pIWiaItemRoot;
  ComPtr<IEnumWiaItem2> children;
  ComPtr<IWiaItem2> item;
  ULONG fetched = 0;
  *result = root != nullptr ? root->EnumChildItems(&category, &children) : E_INVALIDARG;
  if (SUCCEEDED(*result)) {
    *result = children != nullptr ? children->Next(1, &item, &fetched) : E_UNEXPECTED;
  }
  return SUCCEEDED(*result) && fetched == 1 ? item : nullptr;
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

void SCAN_DIALOG::ReadDeviceIdentity() {
  const auto storage = FlatbedStorage();
  if (storage == nullptr) {
    return;
  }
  const PROPSPEC property = {PRSPEC_PROPID, {WIA_DIP_DEV_ID}};
  platform::ScopedPropVariant value;
  if (FAILED(storage->ReadMultiple(1, &property, value.put())) || value.get().vt != VT_BSTR) {
    return;
  }
  // A longer identifier keeps its first 259 characters; a null string is an empty one.
  wchar_t deviceId[MAX_PATH] = {};
  StringCchCopyW(deviceId, MAX_PATH, value.get().bstrVal != nullptr ? value.get().bstrVal : L"");
  DebugTrace(L"WIA_DIP_DEV_ID = [%s]\n", deviceId);
  SetTitleFromRegistry(m_hDlg, deviceId);
}
