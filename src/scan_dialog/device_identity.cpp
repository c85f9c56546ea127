// The device's name in the title bar: found in the registry by the identifier that the device reports.
#include <windows.h>

#include <setupapi.h>

#include <cwchar>
#include <memory>
#include <new>

#include "platform/debug_trace.h"
#include "platform/registry_reader.h"
#include "platform/scoped.h"
#include "platform/wia2.h"
#include "scan_dialog/scan_dialog.h"
#include <strsafe.h>

namespace {

// {6BDD1FC6-810F-11D0-BEC7-08002BE2092F}: GUID_DEVINTERFACE_IMAGE
constexpr GUID kDevinterfaceImage = {0x6BDD1FC6, 0x810F, 0x11D0, {0xBE, 0xC7, 0x08, 0x00, 0x2B, 0xE2, 0x09, 0x2F}};

platform::DeviceInfoSet PresentImageDevices() {
  const HDEVINFO devices = SetupDiGetClassDevsExW(&kDevinterfaceImage, nullptr, nullptr,
                                                  DIGCF_PRESENT | DIGCF_DEVICEINTERFACE, nullptr, nullptr, nullptr);
  return platform::DeviceInfoSet(devices != INVALID_HANDLE_VALUE ? devices : nullptr);
}

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
  const platform::DeviceInfoSet devices = PresentImageDevices();
  if (devices == nullptr) {
    return;
  }
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
