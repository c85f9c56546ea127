// The WIA 2.0 devices of this PC, as the platform's device manager knows them.
#pragma once

#include <string>
#include <vector>

#include "platform/scoped.h"
#include "simulator/wia_device_manager.h"

namespace simulator {

struct WiaDevice {
  std::wstring id;
  std::wstring name;  // empty: it has none
};

struct WiaDevices {
  platform::ComPtr<IWiaDevMgr2> manager;
  std::vector<WiaDevice> found;
  std::wstring mistake;  // why there are none, and what to do; empty: there are some
};

// The thread must have COM.
WiaDevices FindWiaDevices();

struct OpenedDevice {
  platform::ComPtr<IWiaItem2> root;
  std::wstring title;    // name and identifier
  std::wstring mistake;  // why there is no root item, and what to do
};

// which: a number from 1 on, a name or an identifier.
OpenedDevice OpenWiaDevice(const std::wstring& which);

// "1  Name  identifier" for each device.
std::vector<std::wstring> DescribeDevices(const WiaDevices& devices);

}  // namespace simulator
