#include "core/settings_catalogue.h"

#include <algorithm>

namespace settings {
namespace {

constexpr ListEntry Localised(int stringId, std::int32_t value) { return {stringId, nullptr, value}; }
constexpr ListEntry Literal(const wchar_t* text, std::int32_t value) { return {0, text, value}; }

constexpr auto kSendSizeEntries = [] {
  std::array<ListEntry, PAPER_SIZE_NAMES.size() + 1> entries{};
  entries[0] = Localised(IDS_AUTO, 100);  // WIA_PAGE_AUTO
  std::copy(PAPER_SIZE_NAMES.begin(), PAPER_SIZE_NAMES.end(), entries.begin() + 1);
  return entries;
}();

constexpr std::array kPlacementEntries = {
    Localised(IDS_PORTRAIT_LONG_EDGE, 0),    // PORTRAIT
    Localised(IDS_LANDSCAPE_SHORT_EDGE, 1),  // LANSCAPE, as the platform spells it
};

constexpr std::array kFeedMethodEntries = {
    Localised(IDS_AUTO, 1),
    Localised(IDS_DOCUMENT_PROCESSOR, 0),
    Localised(IDS_PLATEN, 0),
};

constexpr std::array kQualityEntries = {
    Localised(IDS_QUALITY_TEXT, 1),
    Localised(IDS_QUALITY_PHOTO, 2),
    Localised(IDS_QUALITY_TEXT_PHOTO, 3),
};

constexpr std::array kScanMethodEntries = {
    Localised(IDS_AUTO, 0),
    Localised(IDS_PAGE, 1),
};

constexpr std::array kScanColorEntries = {
    Localised(IDS_FULL_COLOR, 3),  // WIA_DATA_COLOR
    Localised(IDS_GRAYSCALE, 2),   // WIA_DATA_GRAYSCALE
};

constexpr std::array kResolutionEntries = {
    Literal(L"200x200 dpi", 200),
    Literal(L"300x300 dpi", 300),
    Literal(L"400x400 dpi", 400),
    Literal(L"600x600 dpi", 600),
};

}  // namespace

const SettingList kOriginalSize = {IDC_ORIGINAL_SIZE, PAPER_SIZE_NAMES, 0};
const SettingList kPlacement = {IDC_PLACEMENT, kPlacementEntries, 0};
const SettingList kFeedMethod = {IDC_FEED_METHOD, kFeedMethodEntries, kFeedMethodAutoIndex};
const SettingList kOriginalQuality = {IDC_ORIGINAL_QUALITY, kQualityEntries, 2};
const SettingList kScanMethod = {IDC_SCAN_METHOD, kScanMethodEntries, 0};
const SettingList kSendSize = {IDC_SEND_SIZE, kSendSizeEntries, 0};
const SettingList kScanColor = {IDC_SCAN_COLOR, kScanColorEntries, 0};
const SettingList kResolution = {IDC_RESOLUTION, kResolutionEntries, 1};

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
  const auto entry = std::ranges::find(kResolutionEntries, text, &ListEntry::text);
  return entry == kResolutionEntries.end() ? 0 : entry->value;
}

}  // namespace settings
