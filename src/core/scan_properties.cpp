#include "core/scan_properties.h"

#include "core/settings_catalogue.h"

namespace scanning {
namespace {

constexpr std::int32_t kDataColor = 3;                // WIA_DATA_COLOR
constexpr std::int32_t kHandlingFeeder = 0x001;       // FEEDER
constexpr std::int32_t kHandlingAutoAdvance = 0x200;  // AUTO_ADVANCE
constexpr std::int32_t kNoScanMethod = -1;

class BatchBuilder {
 public:
  void Add(PropertyId id, std::int32_t value) { m_batch.properties[m_batch.count++] = {id, value}; }

  void AddBrightness(const SettingsSnapshot& chosen) {
    Add(PropertyId::PROP_AUTO_BRIGHTNESS, chosen.autoBrightness ? 1 : 0);
    if (!chosen.autoBrightness) {
      Add(PropertyId::Brightness, chosen.brightness);
    }
  }

  void AddScanMethod(const SettingsSnapshot& chosen) {
    const std::int32_t pages = settings::ValueAt(settings::kScanMethod, chosen.scanMethod, kNoScanMethod);
    if (pages == kNoScanMethod) {
      return;
    }
    // All pages (0) means that the feeder goes on by itself; a single page is fetched from it.
    Add(PropertyId::DocumentHandlingSelect, pages == 0 ? kHandlingAutoAdvance : kHandlingFeeder);
    Add(PropertyId::Pages, pages);
  }

  const ScanPropertyBatch& Batch() const { return m_batch; }

 private:
  ScanPropertyBatch m_batch;
};

}  // namespace

ScanPropertyBatch BuildScanProperties(const SettingsSnapshot& chosen, bool preview) {
  using settings::ValueAt;
  const int resolution = preview ? kPreviewResolutionDpi : chosen.resolutionDpi;

  BatchBuilder batch;
  batch.Add(PropertyId::Format, 0);
  batch.Add(PropertyId::Preview, preview ? 1 : 0);
  batch.Add(PropertyId::PageSize, ValueAt(settings::kOriginalSize, chosen.originalSize, 0));
  batch.Add(PropertyId::Rotation, ValueAt(settings::kPlacement, chosen.placement, 0));
  batch.Add(PropertyId::DataType, ValueAt(settings::kScanColor, chosen.scanColor, kDataColor));
  batch.Add(PropertyId::PROP_AUTO_FEED, ValueAt(settings::kFeedMethod, chosen.feedMethod, 0));
  batch.Add(PropertyId::PROP_ORIGINAL_QUALITY, ValueAt(settings::kOriginalQuality, chosen.quality, 0));
  batch.Add(PropertyId::PROP_SEND_SIZE, ValueAt(settings::kSendSize, chosen.sendSize, 0));
  batch.AddBrightness(chosen);
  batch.AddScanMethod(chosen);
  batch.Add(PropertyId::HorizontalResolution, resolution);
  batch.Add(PropertyId::VerticalResolution, resolution);
  batch.Add(PropertyId::PROP_REVERSE_IMAGE, chosen.reverseImage ? 1 : 0);
  return batch.Batch();
}

}  // namespace scanning
