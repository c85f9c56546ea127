// The properties of one item: values, types, access and valid values. Internal to the simulator.
#pragma once

#include <map>
#include <mutex>

#include "simulator/simulated_scanner.h"

namespace simulator {

struct Property {
  PropertyValue value;
  ULONG access = WIA_PROP_READ | WIA_PROP_NONE;  // access rights and the kind of valid values
  std::vector<LONG> valid;                       // as clients see it: list, range or flag elements in WIA's order

  VARTYPE Type() const;
  bool Accepts(const PropertyValue& candidate) const;
};

class PropertyTable {
 public:
  void Define(PROPID id, Property property);

  // What GetPropertyAttributes shows instead of the values that are really valid.
  void ShowInstead(PROPID id, std::vector<LONG> valid);

  std::optional<Property> Find(PROPID id) const;             // with the valid values shown
  LONG Number(PROPID id) const;                              // 0 when there is none
  HRESULT Write(const std::vector<WrittenProperty>& batch);  // all or nothing, unless the device leaves bad values

  void DefineDevice(const ScannerConfiguration& configuration, const std::wstring& name);
  void DefineRoot(const ScannerConfiguration& configuration);
  void DefineScanItem(const ScannerConfiguration& configuration);

 private:
  mutable std::mutex m_mutex;
  std::map<PROPID, Property> m_properties;
  std::map<PROPID, std::vector<LONG>> m_shown;
  bool m_leavesBadValues = false;
};

}  // namespace simulator
