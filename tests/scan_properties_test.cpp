// The batch for what the dialog shows. Runs natively too; the dialog's own choices are tested with the dialog.
#include "core/scan_properties.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "core/settings_catalogue.h"

namespace {

std::map<int, int> Batch(const scanning::SettingsSnapshot& settings) {
  const scanning::ScanPropertyBatch batch = scanning::BuildScanProperties(settings, false);
  std::map<int, int> values;
  for (std::size_t i = 0; i < batch.count; ++i) {
    values[static_cast<int>(batch.properties[i].id)] = batch.properties[i].value;
  }
  EXPECT_EQ(values.size(), batch.count);
  return values;
}

// Positions that no list has, such as CB_ERR (-1), become the values that cannot do harm; nothing is told of a scan
// method that is not selected.
TEST(ScanProperties, PositionsOutsideTheirLists) {
  for (const int outside : {-1, 1000}) {
    scanning::SettingsSnapshot settings;
    settings.originalSize = settings.placement = settings.feedMethod = settings.sendSize = outside;
    settings.scanMethod = settings.scanColor = settings.quality = outside;
    settings.resolutionDpi = 300;
    const std::map<int, int> expected = {{4106, 0},   {3100, 0},   {3097, 0},  {6157, 0},  {4103, 3},
                                         {71693, 0},  {71694, 0},  {71696, 0}, {71695, 0}, {6154, 0},
                                         {6147, 300}, {6148, 300}, {71697, 0}};
    EXPECT_EQ(Batch(settings), expected) << outside;
  }
}

}  // namespace
