// The string tables and pictures that the built library carries, and whether every text fits its control.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "core/settings_catalogue.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "tests/support/scan_host.h"

namespace {

using Numbers = std::set<int>;
constexpr int kEnglish = 0x0409;

BOOL CALLBACK AddLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR languages) {
  return reinterpret_cast<Numbers*>(languages)->insert(language).second;
}

Numbers Languages() {
  Numbers languages;
  EnumResourceLanguagesW(harness::Library(), RT_STRING, MAKEINTRESOURCEW(IDS_SCAN / 16 + 1), &AddLanguage,
                         reinterpret_cast<LONG_PTR>(&languages));
  return languages;
}

std::wstring Text(int id, int language) {
  wchar_t text[256] = {};
  LANG_RESOURCE(harness::Library()).GetTextW(static_cast<UINT>(id), text, 256, static_cast<std::uint32_t>(language));
  return text;
}

const WORD* Picture(LPCWSTR type, int id) {
  const HRSRC found = FindResourceExW(harness::Library(), type, MAKEINTRESOURCEW(id), kEnglish);
  return found == nullptr ? nullptr : static_cast<const WORD*>(LockResource(LoadResource(harness::Library(), found)));
}

// What a control has left beside its text, in pixels; negative: the text is cut. Measured in the control's font as the
// platform chooses it for users of the language, since a face that lacks their script is replaced.
int Spare(HWND control, const std::wstring& text, int language) {
  LOGFONTW font = {};
  GetObjectW(reinterpret_cast<HGDIOBJ>(SendMessageW(control, WM_GETFONT, 0, 0)), sizeof(font), &font);
  UINT_PTR codePage = 0;
  GetLocaleInfoW(MAKELCID(language, SORT_DEFAULT), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                 reinterpret_cast<LPWSTR>(&codePage), 2);
  CHARSETINFO charSet = {};
  TranslateCharsetInfo(reinterpret_cast<DWORD*>(codePage), &charSet, TCI_SRCCODEPAGE);
  font.lfCharSet = static_cast<BYTE>(charSet.ciCharset);
  const platform::GdiObject fontOfLanguage(CreateFontIndirectW(&font));
  const platform::WindowDC dc(control);
  const platform::SelectedObject selected(dc.get(), fontOfLanguage.get());
  SIZE size = {};
  if (language == LANG_ARABIC) {
    // The letters without the shaping, in which Wine 10 overflows the stack with some fonts: unjoined they are wider.
    std::vector<WORD> glyphs(text.size());
    GetGlyphIndicesW(dc.get(), text.c_str(), static_cast<int>(text.size()), glyphs.data(), 0);
    GetTextExtentPointI(dc.get(), glyphs.data(), static_cast<int>(glyphs.size()), &size);
  } else {
    RECT bounds = {};
    DrawTextW(dc.get(), text.c_str(), -1, &bounds, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
    size.cx = bounds.right;
  }
  RECT room = {};
  GetClientRect(control, &room);
  wchar_t className[16] = {};
  GetClassNameW(control, className, 16);
  COMBOBOXINFO combo = {sizeof(combo), {}, {}, 0, nullptr, nullptr, nullptr};
  if (GetComboBoxInfo(control, &combo)) {
    // An edge of one pixel, and one more before the text.
    room = {combo.rcItem.left + 2, 0, combo.rcItem.right - 1, 0};
  } else if (std::wstring(className) == L"Button") {  // the frame's corners; border and focus rectangle
    room.right -= (GetWindowLongPtrW(control, GWL_STYLE) & BS_TYPEMASK) == BS_GROUPBOX ? 18 : 8;
  }
  return room.right - room.left - size.cx;
}

}  // namespace

TEST(StringTables, TextsAreThereTranslatedAndTrimmed) {
  EXPECT_EQ(Languages().size(), 36U);
  for (const int language : Languages()) {
    int missing = 0;
    int same = 0;
    int all = 0;
    for (int id = 2000; id < 2096; ++id) {
      const std::wstring text = Text(id, language);
      missing += text.empty() != Text(id, kEnglish).empty() ? 1 : 0;
      if (text.empty()) continue;
      EXPECT_EQ(text.find_first_of(L"\x00C3\xFFFD"), std::wstring::npos) << "the wrong code page: " << id;
      EXPECT_FALSE(iswspace(text.front()) || iswspace(text.back())) << language << ": " << id;
      same += text == Text(id, kEnglish) ? 1 : 0;
      ++all;
    }
    EXPECT_EQ(all + missing, 83);
    EXPECT_LE(missing, 6) << language << ": no control shows those";
    // "OCR" and seven percentages are the same everywhere, and at most six words rightly in one language (French).
    EXPECT_TRUE(language == kEnglish || same <= 14) << language << ": " << same;
  }
  for (const auto& zoom : settings::kZoomTable)
    EXPECT_EQ(Text(zoom.stringId, kEnglish), std::to_wstring(zoom.percent) + L"%");
}

TEST(StringTables, EveryVisibleTextFitsItsControl) {
  harness::ScanHost host;
  int measured = 0;
  host.Run([&measured](harness::SimulatedUser& user) {
    for (const int language : Languages()) {
      const auto expectFits = [&](int control, int id, const wchar_t* literal = nullptr) {
        if (!IsWindowVisible(user.Control(control))) return;
        EXPECT_GE(Spare(user.Control(control), id != 0 ? Text(id, language) : literal, language), 0)
            << language << ": " << id;
        ++measured;
      };
      for (const auto& label : settings::kLabels) expectFits(label.control, label.stringId);
      for (const auto& step : settings::kZoomTable) expectFits(IDC_ZOOM_LIST, step.stringId);
      for (const auto* list :
           {&settings::kOriginalSize, &settings::kPlacement, &settings::kFeedMethod, &settings::kOriginalQuality,
            &settings::kScanMethod, &settings::kScanColor, &settings::kResolution}) {
        for (const auto& entry : list->entries) expectFits(list->control, entry.stringId, entry.text);
      }
    }
  });
  EXPECT_GT(measured, 36 * 50);
}

// Every size that the dialog asks for, at 96, 144 and 192 dots per inch: the platform would scale others.
TEST(StringTablesPictures, ArePresentInTheirSizes) {
  const std::pair<int, std::set<int>> icons[] = {
      {IDI_DEVICE, {16, 32}},          {IDI_BRIGHTNESS_LOW, {32, 48, 64}},  {IDI_BRIGHTNESS_HIGH, {32, 48, 64}},
      {IDI_TOOL_SELECT, {20, 30, 40}}, {IDI_ROTATE_RIGHT, {20, 30, 40}},    {IDI_ZOOM_IN, {16, 20, 24, 30, 32, 40}},
      {IDI_PANNING, {16, 24, 32}},     {IDI_PAN, {16, 20, 24, 30, 32, 40}}, {IDI_ZOOM_OUT, {16, 20, 24, 30, 32, 40}},
      {IDI_AREA_SIZE, {16, 24, 32}},   {IDI_AREA_POSITION, {16, 24, 32}}};
  for (const auto& [id, wanted] : icons) {
    const WORD* group = Picture(RT_GROUP_ICON, id);
    ASSERT_NE(group, nullptr) << id;
    std::set<int> missing = wanted;
    for (int i = 0; i < group[2]; ++i) {
      const auto* image = reinterpret_cast<const BITMAPINFOHEADER*>(Picture(RT_ICON, group[3 + 7 * i + 6]));
      missing.erase(image->biWidth);
      if (image->biWidth != 20) continue;
      // A disabled button shows its icon as the silhouette of the opaque pixels, which must not be a block.
      const auto* pixels = reinterpret_cast<const RGBQUAD*>(image + 1);
      const auto opaque = std::count_if(pixels, pixels + 400, [](RGBQUAD p) { return p.rgbReserved >= 128; });
      EXPECT_TRUE(opaque > 60 && opaque < 240) << id << ": " << opaque;
    }
    EXPECT_TRUE(missing.empty()) << id;
  }
  for (const auto& [id, hotSpot] : {std::pair(IDC_CURSOR_CROSS, 15), std::pair(IDC_CURSOR_SIZE_NWSE, 5)}) {
    const WORD* group = Picture(RT_GROUP_CURSOR, id);
    const WORD* image = group != nullptr ? Picture(RT_CURSOR, group[9]) : nullptr;
    ASSERT_TRUE(image != nullptr && image[0] == hotSpot && image[1] == hotSpot) << id;
  }
}
