// An image device in the registry, as setup leaves one behind: a device node, its driver key and a device interface
// that counts as present. Needs the rights of an administrator on Windows.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

#include "platform/scoped.h"

namespace simulator {

struct DeviceRegistrationValues {
  std::wstring deviceId;                     // "DeviceID": what the device's WIA items answer as their identifier
  std::optional<std::wstring> friendlyName;  // "FriendlyName"
  std::optional<std::wstring> description;   // "DriverDesc"
};

// Registered from construction to destruction; devices made later come later in an enumeration.
class DeviceRegistration {
 public:
  explicit DeviceRegistration(const DeviceRegistrationValues& values);
  ~DeviceRegistration();
  DeviceRegistration(const DeviceRegistration&) = delete;
  DeviceRegistration& operator=(const DeviceRegistration&) = delete;

  bool Registered() const { return m_registered; }

 private:
  bool CreateDevice();
  bool WriteDriverKey(const DeviceRegistrationValues& values);
  bool CreateInterface();

  platform::DeviceInfoSet m_set;
  SP_DEVINFO_DATA m_device = {};
  std::wstring m_interfaceKey;  // below HKEY_LOCAL_MACHINE
  bool m_created = false;
  bool m_registered = false;
};

}  // namespace simulator
