#include "core/settings_catalogue.h"

#include <algorithm>

namespace settings {
namespace {

constexpr ListEntry Localised(int stringId, std::int32_t value) { return {stringId, nullptr, value}; }
constexpr ListEntry Literal(const wchar_t* text, std::int32_t value) { return {0, text, value}; }

constexpr auto ORIGINAL_SIZE_ENTRIES = [] {
  std::array<ListEntry, PAPER_SIZE_NAMES.size()> entries{};
  std::transform(PAPER_SIZE_NAMES.begin(), PAPER_SIZE_NAMES.end(), entries.begin(),
                 [](const PaperSize& size) { return Literal(size.name, size.pageSizeCode); });
  return entries;
}();

constexpr auto SEND_SIZE_ENTRIES = [] {
  std::array<ListEntry, ORIGINAL_SIZE_ENTRIES.size() + 1> entries{};
  entries[0] = Localised(IDS_AUTO, PAGE_SIZE_AUTO);
  std::copy(ORIGINAL_SIZE_ENTRIES.begin(), ORIGINAL_SIZE_ENTRIES.end(), entries.begin() + 1);
  return entries;
}();

constexpr std::array PLACEMENT_ENTRIES = {
    Localised(IDS_PORTRAIT_LONG_EDGE, 0),    // PORTRAIT
    Localised(IDS_LANDSCAPE_SHORT_EDGE, 1),  // LANSCAPE, as the platform spells it
};

constexpr std::array FEED_METHOD_ENTRIES = {
    Localised(IDS_AUTO, 1),
    Localised(IDS_DOCUMENT_PROCESSOR, 0),
    Localised(IDS_PLATEN, 0),
};

constexpr std::array QUALITY_ENTRIES = {
    Localised(IDS_QUALITY_TEXT, 1),
    Localised(IDS_QUALITY_PHOTO, 2),
    Localised(IDS_QUALITY_TEXT_PHOTO, 3),
};

constexpr std::array SCAN_METHOD_ENTRIES = {
    Localised(IDS_AUTO, 0),
    Localised(IDS_PAGE, 1),
};

constexpr std::array SCAN_COLOR_ENTRIES = {
    Localised(IDS_FULL_COLOR, 3),  // WIA_DATA_COLOR
    Localised(IDS_GRAYSCALE, 2),   // WIA_DATA_GRAYSCALE
};

constexpr std::array RESOLUTION_ENTRIES = {
    Literal(L"200x200 dpi", 200),
    Literal(L"300x300 dpi", 300),
    Literal(L"400x400 dpi", 400),
    Literal(L"600x600 dpi", 600),
};

}  // namespace

const SettingList ORIGINAL_SIZE = {IDC_ORIGINAL_SIZE, ORIGINAL_SIZE_ENTRIES, 0};
const SettingList PLACEMENT = {IDC_PLACEMENT, PLACEMENT_ENTRIES, 0};
const SettingList FEED_METHOD = {IDC_FEED_METHOD, FEED_METHOD_ENTRIES, FEED_METHOD_AUTO_INDEX};
const SettingList ORIGINAL_QUALITY = {IDC_ORIGINAL_QUALITY, QUALITY_ENTRIES, 2};
const SettingList SCAN_METHOD = {IDC_SCAN_METHOD, SCAN_METHOD_ENTRIES, 0};
const SettingList SEND_SIZE = {IDC_SEND_SIZE, SEND_SIZE_ENTRIES, 0};
const SettingList SCAN_COLOR = {IDC_SCAN_COLOR, SCAN_COLOR_ENTRIES, 0};
const SettingList RESOLUTION = {IDC_RESOLUTION, RESOLUTION_ENTRIES, 1};

const std::array<const SettingList*, 8> ALL_LISTS = {
    &ORIGINAL_SIZE, &PLACEMENT, &FEED_METHOD, &ORIGINAL_QUALITY, &SCAN_METHOD, &SEND_SIZE, &SCAN_COLOR, &RESOLUTION,
};

std::int32_t ValueAt(const SettingList& list, int index, std::int32_t fallback) {
  if (index < 0 || static_cast<std::size_t>(index) >= list.entries.size()) {
    return fallback;
  }
  return list.entries[static_cast<std::size_t>(index)].value;
}

bool IsResolutionOffered(const ListEntry& entry, bool has400, bool has600) {
  if (entry.value == 400) {
    return has400;
  }
  return entry.value != 600 || has600;
}

std::int32_t ResolutionOfText(std::wstring_view text) {
  const auto entry = std::find_if(RESOLUTION_ENTRIES.begin(), RESOLUTION_ENTRIES.end(),
                                  [text](const ListEntry& e) { return text == e.text; });
  return entry == RESOLUTION_ENTRIES.end() ? 0 : entry->value;
}

}  // namespace settings
