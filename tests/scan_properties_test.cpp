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

TEST(ScanProperties, ResolutionFollowsTheEntrysText) {
  EXPECT_EQ(settings::ResolutionOfText(L"600x600 dpi"), 600);
  EXPECT_EQ(settings::ResolutionOfText(L"600"), 0);
}

// The driver's own page sizes, by their names.
TEST(ScanProperties, PageSizesAsTheDriverKnowsThem) {
  const std::pair<const wchar_t*, int> sizes[] = {{L"Letter", 1},      {L"A4", 0},       {L"Folio", 0x8001},
                                                  {L"Hakaki", 0x800A}, {L"16K", 0x800F}, {L"ISO B5", 0x8010}};
  for (const auto& [name, code] : sizes) {
    scanning::SettingsSnapshot settings;
    int found = 0;
    for (int i = 0; i < static_cast<int>(settings::kOriginalSize.entries.size()); ++i) {
      if (std::wstring_view(settings::kOriginalSize.entries[static_cast<std::size_t>(i)].text) != name) continue;
      settings.originalSize = i;
      settings.sendSize = i + 1;  // behind "Auto"
      EXPECT_EQ(Batch(settings)[3097], code);
      EXPECT_EQ(Batch(settings)[71696], code);
      ++found;
    }
    EXPECT_EQ(found, 1);
  }
}

}  // namespace
