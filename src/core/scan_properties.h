// The settings as the batch of WIA properties that the driver expects: a pure mapping without windows or devices.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace scanning {

// What the controls said at one moment. A list without a selection reads -1, as CB_GETCURSEL does.
struct SettingsSnapshot {
  int originalSize = -1;
  int placement = -1;
  int feedMethod = -1;
  int quality = -1;
  int sendSize = -1;
  int scanMethod = -1;
  int scanColor = -1;
  int resolutionDpi = 0;  // of the selected entry; 0 without a selection
  int brightness = 0;     // -3 to +3, the slider's own scale
  bool autoBrightness = false;
  bool reverseImage = false;
};

// Property identifiers, copied from the SDK so that this compiles without it. The last five, named as drivers know
// them, lie in the range that WIA reserves for a driver's own item properties.
enum class PropertyId : std::uint32_t {
  DocumentHandlingSelect = 3088,  // WIA_IPS_DOCUMENT_HANDLING_SELECT
  Pages = 3096,                   // WIA_IPS_PAGES
  PageSize = 3097,                // WIA_IPS_PAGE_SIZE
  Preview = 3100,                 // WIA_IPS_PREVIEW
  DataType = 4103,                // WIA_IPA_DATATYPE
  Format = 4106,                  // WIA_IPA_FORMAT
  HorizontalResolution = 6147,    // WIA_IPS_XRES
  VerticalResolution = 6148,      // WIA_IPS_YRES
  Brightness = 6154,              // WIA_IPS_BRIGHTNESS
  Rotation = 6157,                // WIA_IPS_ROTATION
  PROP_AUTO_FEED = 71693,
  PROP_ORIGINAL_QUALITY = 71694,
  PROP_AUTO_BRIGHTNESS = 71695,
  PROP_SEND_SIZE = 71696,
  PROP_REVERSE_IMAGE = 71697,
};

// One property to write: a signed 32-bit integer, except Format, which is always the JPEG format's GUID.
struct ScanProperty {
  PropertyId id{};
  std::int32_t value = 0;
  friend bool operator==(const ScanProperty&, const ScanProperty&) = default;
};

inline constexpr std::size_t kMaximumScanProperties = 15;

struct ScanPropertyBatch {
  std::array<ScanProperty, kMaximumScanProperties> properties{};
  std::size_t count = 0;
};

inline constexpr int kPreviewResolutionDpi = 200;

// The batch for a preview (true) or a final scan (false), in the order in which it is written. A selection outside its
// list contributes the value 0, except the data type (colour); without a scan method its two entries are left out.
ScanPropertyBatch BuildScanProperties(const SettingsSnapshot& settings, bool preview);

}  // namespace scanning
