#include "simulator/device_registration.h"

#include <cstddef>
#include <vector>

namespace simulator {

namespace {

constexpr GUID kImageClass = {0x6BDD1FC6, 0x810F, 0x11D0, {0xBE, 0xC7, 0x08, 0x00, 0x2B, 0xE2, 0x09, 0x2F}};
constexpr wchar_t kInterfaceClassKey[] =
    L"System\\CurrentControlSet\\Control\\DeviceClasses\\{6bdd1fc6-810f-11d0-bec7-08002be2092f}\\";

bool SetText(HKEY key, const wchar_t* name, const std::wstring& text) {
  const DWORD size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), size) == ERROR_SUCCESS;
}

// \\?\root#... as the interface class's key spells it: ##?#root#...
std::wstring InterfaceKey(HDEVINFO set, SP_DEVICE_INTERFACE_DATA& deviceInterface) {
  DWORD size = 0;
  SetupDiGetDeviceInterfaceDetailW(set, &deviceInterface, nullptr, 0, &size, nullptr);
  if (size == 0) {
    return {};
  }
  std::vector<std::max_align_t> memory(size / sizeof(std::max_align_t) + 1);
  auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory.data());
  detail->cbSize = sizeof(*detail);
  if (!SetupDiGetDeviceInterfaceDetailW(set, &deviceInterface, detail, size, nullptr, nullptr)) {
    return {};
  }
  const std::wstring path = detail->DevicePath;
  return path.size() > 4 ? kInterfaceClassKey + (L"##?#" + path.substr(4)) : std::wstring();
}

}  // namespace

DeviceRegistration::DeviceRegistration(const DeviceRegistrationValues& values) {
  const HDEVINFO set = SetupDiCreateDeviceInfoList(&kImageClass, nullptr);
  if (set == INVALID_HANDLE_VALUE) {
    return;
  }
  m_set.reset(set);
  m_created = CreateDevice();
  m_registered = m_created && WriteDriverKey(values) && CreateInterface();
}

DeviceRegistration::~DeviceRegistration() {
  if (!m_interfaceKey.empty()) {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, m_interfaceKey.c_str());
  }
  if (m_created) {
    SetupDiDeleteDevRegKey(m_set.get(), &m_device, DICS_FLAG_GLOBAL, 0, DIREG_DRV);
    SetupDiRemoveDevice(m_set.get(), &m_device);
  }
}

bool DeviceRegistration::CreateDevice() {
  m_device.cbSize = sizeof(m_device);
  return SetupDiCreateDeviceInfoW(m_set.get(), L"SIMULATEDSCANNER", &kImageClass, nullptr, nullptr, DICD_GENERATE_ID,
                                  &m_device) &&
         SetupDiRegisterDeviceInfo(m_set.get(), &m_device, 0, nullptr, nullptr, nullptr);
}

bool DeviceRegistration::WriteDriverKey(const DeviceRegistrationValues& values) {
  const HKEY opened = SetupDiCreateDevRegKeyW(m_set.get(), &m_device, DICS_FLAG_GLOBAL, 0, DIREG_DRV, nullptr, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    return false;
  }
  const platform::RegistryKey key(opened);
  return SetText(key.get(), L"DeviceID", values.deviceId) &&
         (!values.friendlyName || SetText(key.get(), L"FriendlyName", *values.friendlyName)) &&
         (!values.description || SetText(key.get(), L"DriverDesc", *values.description));
}

// A driver enables its interfaces when it is loaded. Without one the mark that says so is set here.
bool DeviceRegistration::CreateInterface() {
  SP_DEVICE_INTERFACE_DATA deviceInterface = {};
  deviceInterface.cbSize = sizeof(deviceInterface);
  if (!SetupDiCreateDeviceInterfaceW(m_set.get(), &m_device, &kImageClass, nullptr, 0, &deviceInterface)) {
    return false;
  }
  m_interfaceKey = InterfaceKey(m_set.get(), deviceInterface);
  HKEY opened = nullptr;
  if (m_interfaceKey.empty() ||
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, (m_interfaceKey + L"\\#\\Control").c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                      nullptr, &opened, nullptr) != ERROR_SUCCESS) {
    return false;
  }
  const platform::RegistryKey key(opened);
  const DWORD linked = 1;
  return RegSetValueExW(key.get(), L"Linked", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&linked), sizeof(linked)) ==
         ERROR_SUCCESS;
}

}  // namespace simulator
