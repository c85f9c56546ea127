#include "core/scan_properties.h"

#include "core/settings_catalogue.h"

namespace scanning {
namespace {

constexpr std::int32_t kDataColor = 3;                // WIA_DATA_COLOR
constexpr std::int32_t kHandlingFeeder = 0x001;       // FEEDER
constexpr std::int32_t kHandlingAutoAdvance = 0x200;  // AUTO_ADVANCE
constexpr std::int32_t kNoScanMethod = -1;

}  // namespace

ScanPropertyBatch BuildScanProperties(const SettingsSnapshot& chosen, bool preview) {
  using settings::ValueAt;
  const int resolution = preview ? kPreviewResolutionDpi : chosen.resolutionDpi;
  const std::int32_t pages = ValueAt(settings::kScanMethod, chosen.scanMethod, kNoScanMethod);

  ScanPropertyBatch batch;
  const auto add = [&batch](PropertyId id, std::int32_t value) { batch.properties[batch.count++] = {id, value}; };
  add(PropertyId::Format, 0);
  add(PropertyId::Preview, preview ? 1 : 0);
  add(PropertyId::PageSize, ValueAt(settings::kOriginalSize, chosen.originalSize, 0));
  add(PropertyId::Rotation, ValueAt(settings::kPlacement, chosen.placement, 0));
  add(PropertyId::DataType, ValueAt(settings::kScanColor, chosen.scanColor, kDataColor));
  add(PropertyId::PROP_AUTO_FEED, ValueAt(settings::kFeedMethod, chosen.feedMethod, 0));
  add(PropertyId::PROP_ORIGINAL_QUALITY, ValueAt(settings::kOriginalQuality, chosen.quality, 0));
  add(PropertyId::PROP_SEND_SIZE, ValueAt(settings::kSendSize, chosen.sendSize, 0));
  add(PropertyId::PROP_AUTO_BRIGHTNESS, chosen.autoBrightness ? 1 : 0);
  if (!chosen.autoBrightness) {
    add(PropertyId::Brightness, chosen.brightness);
  }
  if (pages != kNoScanMethod) {
    // All pages (0) means that the feeder goes on by itself; a single page is fetched from it.
    add(PropertyId::DocumentHandlingSelect, pages == 0 ? kHandlingAutoAdvance : kHandlingFeeder);
    add(PropertyId::Pages, pages);
  }
  add(PropertyId::HorizontalResolution, resolution);
  add(PropertyId::VerticalResolution, resolution);
  add(PropertyId::PROP_REVERSE_IMAGE, chosen.reverseImage ? 1 : 0);
  return batch;
}

}  // namespace scanning
