#include "simulator/property_table.h"

#include <algorithm>

namespace simulator {

namespace {

// Properties whose names are macros of unparenthesised sums in some headers, hence the sums here.
constexpr PROPID kDeviceId = WIA_DIP_DEV_ID;
constexpr PROPID kHandlingCapabilities = WIA_DPS_DOCUMENT_HANDLING_CAPABILITIES;
constexpr PROPID kItemName = WIA_IPA_ITEM_NAME;
constexpr PROPID kFullItemName = WIA_IPA_FULL_ITEM_NAME;
constexpr PROPID kDataType = WIA_IPA_DATATYPE;
constexpr PROPID kFormat = WIA_IPA_FORMAT;
constexpr PROPID kXRes = WIA_IPS_XRES;
constexpr PROPID kYRes = WIA_IPS_YRES;
constexpr PROPID kBrightness = WIA_IPS_BRIGHTNESS;
constexpr PROPID kRotation = WIA_IPS_ROTATION;

constexpr LONG kPageAuto = 100;
constexpr LONG kSheetsAtMost = 999;
constexpr LONG kHandlingFlags = FEEDER | FLATBED | AUTO_ADVANCE;

Property ReadOnly(PropertyValue value) { return {std::move(value), WIA_PROP_READ | WIA_PROP_NONE, {}}; }

Property List(LONG nominal, const std::vector<LONG>& values) {
  std::vector<LONG> valid = {static_cast<LONG>(values.size()), nominal};
  valid.insert(valid.end(), values.begin(), values.end());
  return {nominal, WIA_PROP_RW | WIA_PROP_LIST, std::move(valid)};
}

Property Range(LONG minimum, LONG nominal, LONG maximum) {
  return {nominal, WIA_PROP_RW | WIA_PROP_RANGE, {minimum, nominal, maximum, 1}};
}

Property Flags(LONG nominal, LONG flags) { return {nominal, WIA_PROP_RW | WIA_PROP_FLAG, {nominal, flags}}; }

Property Resolutions(const ScannerConfiguration& configuration) {
  const std::vector<LONG>& values = configuration.resolutions;
  if (!configuration.resolutionRange || values.empty()) {
    return List(configuration.nominalResolution, values);
  }
  const auto [minimum, maximum] = std::minmax_element(values.begin(), values.end());
  return Range(*minimum, configuration.nominalResolution, *maximum);
}

std::vector<LONG> PageSizeCodes() {
  std::vector<LONG> codes;
  for (LONG code = 0; code <= 0x8010; ++code) {
    if (PageSizeOfCode(code)) {
      codes.push_back(code);
    }
  }
  return codes;
}

}  // namespace

VARTYPE Property::Type() const {
  if (std::holds_alternative<LONG>(value)) {
    return VT_I4;
  }
  return std::holds_alternative<GUID>(value) ? VT_CLSID : VT_BSTR;
}

bool Property::Accepts(const PropertyValue& candidate) const {
  if (candidate.index() != value.index()) {
    return false;
  }
  if (const GUID* guid = std::get_if<GUID>(&candidate)) {
    return *guid == WiaImgFmt_JPEG;
  }
  const LONG* number = std::get_if<LONG>(&candidate);
  if (number == nullptr) {
    return true;
  }
  if (access & WIA_PROP_LIST) {
    return std::find(valid.begin() + WIA_LIST_VALUES, valid.end(), *number) != valid.end();
  }
  if (access & WIA_PROP_RANGE) {
    return *number >= valid[WIA_RANGE_MIN] && *number <= valid[WIA_RANGE_MAX] &&
           (*number - valid[WIA_RANGE_MIN]) % valid[WIA_RANGE_STEP] == 0;
  }
  if (access & WIA_PROP_FLAG) {
    return (*number & ~valid[WIA_FLAG_VALUES]) == 0;
  }
  return true;
}

void PropertyTable::Define(PROPID id, Property property) {
  const std::lock_guard lock(m_mutex);
  m_properties.insert_or_assign(id, std::move(property));
}

void PropertyTable::ShowInstead(PROPID id, std::vector<LONG> valid) {
  const std::lock_guard lock(m_mutex);
  m_shown.insert_or_assign(id, std::move(valid));
}

std::optional<Property> PropertyTable::Find(PROPID id) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_properties.find(id);
  if (found == m_properties.end()) {
    return std::nullopt;
  }
  Property property = found->second;
  if (const auto shown = m_shown.find(id); shown != m_shown.end()) {
    property.valid = shown->second;
  }
  return property;
}

LONG PropertyTable::Number(PROPID id) const {
  const std::optional<Property> property = Find(id);
  const LONG* number = property ? std::get_if<LONG>(&property->value) : nullptr;
  return number != nullptr ? *number : 0;
}

HRESULT PropertyTable::Write(const std::vector<WrittenProperty>& batch) {
  const std::lock_guard lock(m_mutex);
  const auto fits = [this](const WrittenProperty& entry) {
    const auto found = m_properties.find(entry.id);
    return found != m_properties.end() && (found->second.access & WIA_PROP_WRITE) != 0 &&
           entry.type == found->second.Type() && found->second.Accepts(entry.value);
  };
  if (!m_leavesBadValues && !std::all_of(batch.begin(), batch.end(), fits)) {
    return E_INVALIDARG;
  }
  for (const WrittenProperty& entry : batch) {
    if (fits(entry)) {
      m_properties[entry.id].value = entry.value;
    }
  }
  return S_OK;
}

void PropertyTable::DefineDevice(const ScannerConfiguration& configuration, const std::wstring& name) {
  Define(kDeviceId, ReadOnly(configuration.deviceId));
  if (configuration.deviceName) {
    Define(WIA_DIP_DEV_NAME, ReadOnly(*configuration.deviceName));
  }
  Define(kItemName, ReadOnly(name));
  Define(kFullItemName, ReadOnly(name == L"Root" ? L"0000\\Root" : L"0000\\Root\\" + name));
}

void PropertyTable::DefineRoot(const ScannerConfiguration& configuration) {
  const LONG capabilities = (configuration.hasFeeder ? FEED : 0) | (configuration.hasFlatbed ? FLAT : 0);
  Define(kHandlingCapabilities, {capabilities, WIA_PROP_READ | WIA_PROP_FLAG, {capabilities, capabilities}});
}

// Flatbed and feeder know the same properties: clients of this device write one batch to either.
void PropertyTable::DefineScanItem(const ScannerConfiguration& configuration) {
  const std::vector<LONG> pageSizes = PageSizeCodes();
  std::vector<LONG> sendSizes = pageSizes;
  sendSizes.push_back(kPageAuto);

  Define(kFormat, {WiaImgFmt_JPEG, WIA_PROP_RW | WIA_PROP_LIST, {}});
  Define(kDataType, List(WIA_DATA_COLOR, {WIA_DATA_GRAYSCALE, WIA_DATA_COLOR}));
  Define(kXRes, Resolutions(configuration));
  Define(kYRes, Resolutions(configuration));
  Define(kBrightness, Range(-3, 0, 3));
  Define(kRotation, List(PORTRAIT, {PORTRAIT, LANSCAPE, ROT180, ROT270}));
  Define(WIA_IPS_DOCUMENT_HANDLING_SELECT, Flags(FEEDER, kHandlingFlags));
  Define(WIA_IPS_PAGES, Range(0, ALL_PAGES, kSheetsAtMost));
  Define(WIA_IPS_PAGE_SIZE, List(WIA_PAGE_A4, pageSizes));
  Define(WIA_IPS_PREVIEW, List(WIA_FINAL_SCAN, {WIA_FINAL_SCAN, WIA_PREVIEW_SCAN}));
  Define(kAutoFeed, List(0, {0, 1}));
  Define(kOriginalQuality, List(3, {1, 2, 3}));
  Define(kAutoBrightness, List(0, {0, 1}));
  Define(kSendSize, List(kPageAuto, sendSizes));
  Define(kReverseImage, List(0, {0, 1}));
  for (const PROPID id : configuration.unknownProperties) {
    m_properties.erase(id);
  }
  m_leavesBadValues = configuration.leavesBadValues;
  if (configuration.rawResolutionValues) {
    ShowInstead(kXRes, *configuration.rawResolutionValues);
  }
}

}  // namespace simulator
