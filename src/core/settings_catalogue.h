// What the scan dialog offers: every list with its entries in the order shown, the value each entry stands for, the
// defaults, the labels and the zoom table. Plain data without windows, read by initialisation, by SetDefaults and by
// the property mapping, so that no list exists twice.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "resources/resource_ids.h"

namespace settings {

// One entry of a drop-down list. The text is a string of the tables, or a literal that is the same in every language.
struct ListEntry {
  int stringId;         // 0: the literal
  const wchar_t* text;  // null: the string
  std::int32_t value;   // what the device is told; the unit is the property's
};

// A drop-down list of the dialog. A setting is the position of the selected entry.
struct SettingList {
  int control;
  std::span<const ListEntry> entries;
  int defaultIndex;
};

// Shared by Original Size and Send Size. The device knows the dimensions; the dialog only names them. The values are
// WIA_PAGE_*, above WIA_PAGE_CUSTOM_BASE (0x8000) the driver's own sizes.
inline constexpr std::array<ListEntry, 23> PAPER_SIZE_NAMES = {{
    {0, L"Letter", 1},
    {0, L"Legal", 3},
    {0, L"Statement", 5},
    {0, L"A4", 0},
    {0, L"A5", 11},
    {0, L"A6", 12},
    {0, L"B5", 22},
    {0, L"B6", 23},
    {0, L"Folio", 0x8001},
    {0, L"Oficio II", 0x8002},
    {0, L"Executive", 0x8003},
    {0, L"Envelope #10", 0x8004},
    {0, L"Envelope #9", 0x8005},
    {0, L"Envelope Monarch", 0x8006},
    {0, L"Envelope #6", 0x8007},
    {0, L"Envelope C5", 0x8008},
    {0, L"Envelope DL", 0x8009},
    {0, L"Hakaki", 0x800A},
    {0, L"Oufukuhagaki", 0x800B},
    {0, L"Youkei 2", 0x800C},
    {0, L"Youkei 4", 0x800D},
    {0, L"16K", 0x800F},  // the device has no size 0x800E
    {0, L"ISO B5", 0x8010},
}};

extern const SettingList kOriginalSize;     // value: page-size code
extern const SettingList kPlacement;        // value: WIA rotation
extern const SettingList kFeedMethod;       // value: the driver's auto-feed flag
extern const SettingList kOriginalQuality;  // value: the driver's quality code
extern const SettingList kScanMethod;       // value: number of pages, 0 for all
extern const SettingList kSendSize;         // value: page-size code
extern const SettingList kScanColor;        // value: WIA data type
extern const SettingList kResolution;       // value: dots per inch; 400 and 600 only where the device offers them

// Positions in kFeedMethod. The flatbed's is chosen when the device has no feeder.
inline constexpr int kFeedMethodAutoIndex = 0;
inline constexpr int kFeedMethodPlatenIndex = 2;

// The value of the entry at a list position; fallback for a position that the list does not have, such as CB_ERR (-1).
std::int32_t ValueAt(const SettingList& list, int index, std::int32_t fallback);

// True when the Resolution list holds this entry: always for 200 and 300 dpi.
bool IsResolutionOffered(const ListEntry& entry, bool has400, bool has600);

// Dots per inch of a Resolution entry by its text, since its position depends on the device; 0 for any other text.
std::int32_t ResolutionOfText(std::wstring_view text);

struct ZoomStep {
  int stringId;
  int percent;
};

inline constexpr std::array<ZoomStep, 7> kZoomTable = {{
    {IDS_ZOOM_50, 50},
    {IDS_ZOOM_75, 75},
    {IDS_ZOOM_100, 100},
    {IDS_ZOOM_150, 150},
    {IDS_ZOOM_200, 200},
    {IDS_ZOOM_300, 300},
    {IDS_ZOOM_400, 400},
}};
inline constexpr int kZoomDefaultIndex = 2;

inline constexpr int kBrightnessMinimum = -3;
inline constexpr int kBrightnessMaximum = 3;
inline constexpr int kBrightnessDefault = 0;

struct Label {
  int control;
  int stringId;
};

// Every visible text of the template, in the order in which it is set.
inline constexpr std::array<Label, 18> kLabels = {{
    {IDC_ORIGINAL_SETTINGS_GROUP, IDS_ORIGINAL_SETTINGS},
    {IDC_ORIGINAL_SIZE_LABEL, IDS_ORIGINAL_SIZE},
    {IDC_PLACEMENT_LABEL, IDS_ORIGINAL_PLACEMENT},
    {IDC_FEED_METHOD_LABEL, IDS_FEED_METHOD},
    {IDC_SCAN_SETTINGS_GROUP, IDS_SCAN_SETTINGS},
    {IDC_ORIGINAL_QUALITY_LABEL, IDS_ORIGINAL_QUALITY},
    {IDC_SCAN_METHOD_LABEL, IDS_SCAN_METHOD},
    {IDC_SEND_SIZE_LABEL, IDS_SEND_SIZE},
    {IDC_IMAGE_SETTINGS_GROUP, IDS_IMAGE_SETTINGS},
    {IDC_SCAN_COLOR_LABEL, IDS_SCAN_COLOR},
    {IDC_RESOLUTION_LABEL, IDS_RESOLUTION},
    {IDC_IMAGE_CONTROL_GROUP, IDS_IMAGE_CONTROL},
    {IDC_BRIGHTNESS_LABEL, IDS_BRIGHTNESS},
    {IDC_AUTO_BRIGHTNESS, IDS_AUTO},
    {IDC_PREVIEW, IDS_PREVIEW},
    {IDC_SCAN, IDS_SCAN},
    {IDC_DEFAULT, IDS_DEFAULT},
    {2, IDS_CLOSE},  // IDCANCEL
}};

// Window texts that no control draws: what assistive technology calls the controls that show a picture.
inline constexpr std::array<Label, 8> kSpokenNames = {{
    {IDC_TOOL_SELECT, IDS_SELECT_AREA},
    {IDC_TOOL_ZOOM, IDS_ZOOM},
    {IDC_TOOL_ROTATE, IDS_ROTATE},
    {IDC_TOOL_PAN, IDS_MOVE},
    {IDC_PREVIEW_PANE, IDS_PREVIEW},
    {IDC_HORIZONTAL_SCROLL, IDS_PREVIEW},
    {IDC_VERTICAL_SCROLL, IDS_PREVIEW},
    {IDC_BRIGHTNESS, IDS_BRIGHTNESS},
}};

}  // namespace settings
