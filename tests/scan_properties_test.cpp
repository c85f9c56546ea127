// The batch that the driver receives for what the dialog shows. Runs natively too.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <vector>

#include "core/scan_properties.h"
#include "core/settings_catalogue.h"

namespace {

using scanning::BuildScanProperties;
using scanning::PropertyId;
using scanning::ScanProperty;
using scanning::SettingsSnapshot;

SettingsSnapshot Defaults() {
  SettingsSnapshot settings;
  settings.originalSize = settings.placement = settings.feedMethod = settings.sendSize = 0;
  settings.scanMethod = settings.scanColor = 0;
  settings.quality = 2;
  settings.resolutionDpi = 300;
  return settings;
}

std::vector<ScanProperty> Batch(const SettingsSnapshot& settings, bool preview) {
  const scanning::ScanPropertyBatch batch = BuildScanProperties(settings, preview);
  return {batch.properties.begin(), batch.properties.begin() + static_cast<std::ptrdiff_t>(batch.count)};
}

std::optional<int> Value(const SettingsSnapshot& settings, PropertyId id, bool preview = false) {
  const auto batch = Batch(settings, preview);
  const auto found = std::find_if(batch.begin(), batch.end(), [id](const ScanProperty& p) { return p.id == id; });
  return found == batch.end() ? std::nullopt : std::optional<int>(found->value);
}

TEST(ScanProperties, DefaultsInOrder) {
  const auto id = [](std::uint32_t number) { return static_cast<PropertyId>(number); };
  const std::vector<ScanProperty> scan = {{id(4106), 0},   {id(3100), 0},   {id(3097), 1},     {id(6157), 0},
                                          {id(4103), 3},   {id(71693), 1},  {id(71694), 3},    {id(71696), 100},
                                          {id(71695), 0},  {id(6154), 0},   {id(3088), 0x200}, {id(3096), 0},
                                          {id(6147), 300}, {id(6148), 300}, {id(71697), 0}};
  EXPECT_EQ(Batch(Defaults(), false), scan);

  auto preview = scan;
  preview[1].value = 1;
  preview[12].value = preview[13].value = 200;
  EXPECT_EQ(Batch(Defaults(), true), preview);
}

TEST(ScanProperties, EveryEntryOfEveryList) {
  const std::vector<int> codes = {1,      3,      5,      0,      11,     12,     22,     23,
                                  0x8001, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006, 0x8007, 0x8008,
                                  0x8009, 0x800A, 0x800B, 0x800C, 0x800D, 0x800F, 0x8010};
  std::vector<int> sendCodes = codes;
  sendCodes.insert(sendCodes.begin(), 100);
  const struct {
    int SettingsSnapshot::* setting;
    PropertyId id;
    std::vector<int> values;
    int withoutSelection;
  } lists[] = {
      {&SettingsSnapshot::originalSize, PropertyId::PageSize, codes, 0},
      {&SettingsSnapshot::placement, PropertyId::Rotation, {0, 1}, 0},
      {&SettingsSnapshot::feedMethod, PropertyId::PROP_AUTO_FEED, {1, 0, 0}, 0},
      {&SettingsSnapshot::quality, PropertyId::PROP_ORIGINAL_QUALITY, {1, 2, 3}, 0},
      {&SettingsSnapshot::sendSize, PropertyId::PROP_SEND_SIZE, sendCodes, 0},
      {&SettingsSnapshot::scanColor, PropertyId::DataType, {3, 2}, 3},
  };
  for (const auto& list : lists) {
    SettingsSnapshot settings = Defaults();
    for (int index = 0; index < static_cast<int>(list.values.size()); ++index) {
      settings.*list.setting = index;
      EXPECT_EQ(Value(settings, list.id), list.values[static_cast<std::size_t>(index)]) << index;
    }
    for (const int outside : {-1, 1000}) {
      settings.*list.setting = outside;
      EXPECT_EQ(Value(settings, list.id), list.withoutSelection);
      EXPECT_EQ(Batch(settings, false).size(), 15U);
    }
  }
}

TEST(ScanProperties, EntriesThatComeAndGo) {
  SettingsSnapshot settings = Defaults();
  settings.brightness = -3;
  EXPECT_EQ(Value(settings, PropertyId::Brightness), -3);
  settings.autoBrightness = settings.reverseImage = true;
  EXPECT_EQ(Value(settings, PropertyId::Brightness), std::nullopt);
  EXPECT_EQ(Value(settings, PropertyId::PROP_AUTO_BRIGHTNESS), 1);
  EXPECT_EQ(Value(settings, PropertyId::PROP_REVERSE_IMAGE), 1);
  EXPECT_EQ(Batch(settings, false).size(), 14U);

  settings.scanMethod = 1;
  EXPECT_EQ(Value(settings, PropertyId::DocumentHandlingSelect), 0x001);
  EXPECT_EQ(Value(settings, PropertyId::Pages), 1);
  settings.scanMethod = -1;
  EXPECT_EQ(Value(settings, PropertyId::DocumentHandlingSelect), std::nullopt);
  EXPECT_EQ(Value(settings, PropertyId::Pages), std::nullopt);
  EXPECT_EQ(Batch(settings, false).size(), 12U);

  settings.resolutionDpi = 600;
  EXPECT_EQ(Value(settings, PropertyId::VerticalResolution), 600);
  EXPECT_EQ(Value(settings, PropertyId::VerticalResolution, true), 200);
}

TEST(ScanProperties, ResolutionFollowsTheEntrysText) {
  EXPECT_EQ(settings::ResolutionOfText(L"600x600 dpi"), 600);
  EXPECT_EQ(settings::ResolutionOfText(L"600"), 0);
  const auto offered = [](bool has400, bool has600) {
    std::vector<int> values;
    for (const auto& entry : settings::kResolution.entries) {
      if (settings::IsResolutionOffered(entry, has400, has600)) {
        values.push_back(entry.value);
      }
    }
    return values;
  };
  EXPECT_EQ(offered(false, false), (std::vector<int>{200, 300}));
  EXPECT_EQ(offered(true, false), (std::vector<int>{200, 300, 400}));
  EXPECT_EQ(offered(false, true), (std::vector<int>{200, 300, 600}));
}

}  // namespace
