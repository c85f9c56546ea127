#include "demo/wia_devices.h"

#include "demo/batch_report.h"
#include "simulator/fault_plan.h"

namespace simulator {
namespace {

using platform::ComPtr;

std::vector<WiaDevice> ReadAll(IEnumWIA_DEV_INFO& devices) {
  std::vector<WiaDevice> found;
  for (ComPtr<IWiaPropertyStorage> device; devices.Next(1, &device, nullptr) == S_OK && device != nullptr;) {
    found.push_back({ReadText(*device.Get(), WIA_DIP_DEV_ID), ReadText(*device.Get(), WIA_DIP_DEV_NAME)});
  }
  return found;
}

std::wstring Title(const WiaDevice& device) {
  return (device.name.empty() ? L"(without name)" : device.name) + L"  " + device.id;
}

// The devices that `which` means: one, unless it is unknown or a name that several have.
std::vector<std::size_t> Matching(const std::vector<WiaDevice>& devices, const std::wstring& which) {
  std::vector<std::size_t> named;
  for (std::size_t i = 0; i < devices.size(); ++i) {
    if (devices[i].id == which) {
      return {i};
    }
    if (devices[i].name == which) {
      named.push_back(i);
    }
  }
  const auto number = ParseNumber(which);
  return named.empty() && number && *number >= 1 && *number <= devices.size() ? std::vector<std::size_t>{*number - 1}
                                                                              : named;
}

}  // namespace

WiaDevices FindWiaDevices() {
  WiaDevices devices;
  const HRESULT created =
      CoCreateInstance(kDeviceManagerClass, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                       kDeviceManagerInterface, reinterpret_cast<void**>(devices.manager.GetAddressOf()));
  if (created == REGDB_E_CLASSNOTREG) {
    devices.mistake =
        L"This system has no WIA 2.0 device manager, so no real device can be opened; without --device "
        L"the dialog opens for a simulated scanner";
    return devices;
  }
  ComPtr<IEnumWIA_DEV_INFO> list;
  const HRESULT listed =
      FAILED(created) ? created : devices.manager->EnumDeviceInfo(WIA_DEVINFO_ENUM_LOCAL, list.GetAddressOf());
  if (FAILED(listed) || list == nullptr) {
    devices.mistake = L"The devices can't be listed: " + DescribeResult(listed) +
                      L". Is the service \"Windows Image Acquisition\" running?";
    return devices;
  }
  devices.found = ReadAll(*list.Get());
  if (devices.found.empty()) {
    devices.mistake = L"There is no WIA device. Connect one, switch it on and install its driver";
  }
  return devices;
}

std::vector<std::wstring> DescribeDevices(const WiaDevices& devices) {
  std::vector<std::wstring> lines;
  lines.reserve(devices.found.size());
  for (const WiaDevice& device : devices.found) {
    lines.push_back(std::to_wstring(lines.size() + 1) + L"  " + Title(device));
  }
  return lines;
}

OpenedDevice OpenWiaDevice(const std::wstring& which) {
  const WiaDevices devices = FindWiaDevices();
  if (!devices.mistake.empty()) {
    return {nullptr, {}, devices.mistake};
  }
  const std::vector<std::size_t> matching = Matching(devices.found, which);
  if (matching.size() != 1) {
    std::wstring mistake = matching.empty() ? L"There is no WIA device \"" + which + L"\". These are here:"
                                            : L"Several devices are named \"" + which +
                                                  L"\": give the number or the identifier of one. These are here:";
    for (const std::wstring& line : DescribeDevices(devices)) {
      mistake += L"\n" + line;
    }
    return {nullptr, {}, mistake};
  }
  const WiaDevice& device = devices.found[matching.front()];
  const platform::BasicString id(SysAllocString(device.id.c_str()));
  OpenedDevice opened = {nullptr, Title(device), {}};
  const HRESULT result = devices.manager->CreateDevice(0, id.get(), opened.root.GetAddressOf());
  if (FAILED(result) || opened.root == nullptr) {
    opened.root = nullptr;
    opened.mistake = opened.title + L" can't be opened: " + DescribeResult(result) +
                     L". Switch it on, check its cable, and close other programs that use it";
  }
  return opened;
}

}  // namespace simulator
