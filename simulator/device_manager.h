// The platform's device manager with simulated scanners behind it, for this process only.
#pragma once

#include <vector>

#include "simulator/simulated_scanner.h"

namespace simulator {

struct ManagedDevice {
  const SimulatedScanner* scanner = nullptr;  // must outlive the registration
  HRESULT opening = S_OK;                     // a failure: the device is listed, and can't be opened
};

// Registered with COM from construction to destruction. The thread must have COM.
class DeviceManagerRegistration {
 public:
  explicit DeviceManagerRegistration(std::vector<ManagedDevice> devices);
  ~DeviceManagerRegistration();
  DeviceManagerRegistration(const DeviceManagerRegistration&) = delete;
  DeviceManagerRegistration& operator=(const DeviceManagerRegistration&) = delete;

  HRESULT Result() const { return m_result; }

 private:
  DWORD m_cookie = 0;
  HRESULT m_result = E_FAIL;
};

}  // namespace simulator
