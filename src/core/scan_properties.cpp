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

  void AddBrightness(const SettingsSnapshot& settings) {
    Add(PropertyId::PROP_AUTO_BRIGHTNESS, settings.autoBrightness ? 1 : 0);
    if (!settings.autoBrightness) {
      Add(PropertyId::Brightness, settings.brightness);
    }
  }

  void AddScanMethod(const SettingsSnapshot& settings) {
    const std::int32_t pages = settings::ValueAt(settings::kScanMethod, settings.scanMethod, kNoScanMethod);
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

ScanPropertyBatch BuildScanProperties(const SettingsSnapshot& settings, bool preview) {
  using settings::ValueAt;
  const int resolution = preview ? kPreviewResolutionDpi : settings.resolutionDpi;

  BatchBuilder batch;
  batch.Add(PropertyId::Format, 0);
  batch.Add(PropertyId::Preview, preview ? 1 : 0);
  batch.Add(PropertyId::PageSize, ValueAt(settings::kOriginalSize, settings.originalSize, 0));
  batch.Add(PropertyId::Rotation, ValueAt(settings::kPlacement, settings.placement, 0));
  batch.Add(PropertyId::DataType, ValueAt(settings::kScanColor, settings.scanColor, kDataColor));
  batch.Add(PropertyId::PROP_AUTO_FEED, ValueAt(settings::kFeedMethod, settings.feedMethod, 0));
  batch.Add(PropertyId::PROP_ORIGINAL_QUALITY, ValueAt(settings::kOriginalQuality, settings.quality, 0));
  batch.Add(PropertyId::PROP_SEND_SIZE, ValueAt(settings::kSendSize, settings.sendSize, 0));
  batch.AddBrightness(settings);
  batch.AddScanMethod(settings);
  batch.Add(PropertyId::HorizontalResolution, resolution);
  batch.Add(PropertyId::VerticalResolution, resolution);
  batch.Add(PropertyId::PROP_REVERSE_IMAGE, settings.reverseImage ? 1 : 0);
  return batch.Batch();
}

}  // namespace scanning
