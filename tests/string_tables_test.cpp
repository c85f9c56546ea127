// The string tables that the built library carries, and whether every text fits its control.
#include <gtest/gtest.h>

#include <set>

#include "core/settings_catalogue.h"
#include "platform/scoped.h"
#include "resources/lang_resource.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using namespace settings;
using Numbers = std::set<int>;
constexpr int kEnglish = 0x0409;

BOOL CALLBACK AddLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR languages) {
  return reinterpret_cast<Numbers*>(languages)->insert(language).second;
}

Numbers Languages() {
  Numbers languages;
  EnumResourceLanguagesW(Library(), RT_STRING, MAKEINTRESOURCEW(IDS_SCAN / 16 + 1), &AddLanguage,
                         reinterpret_cast<LONG_PTR>(&languages));
  return languages;
}

std::wstring Text(int id, int language) {
  wchar_t text[256] = {};
  LANG_RESOURCE(Library()).GetTextW(static_cast<UINT>(id), text, 256, static_cast<std::uint32_t>(language));
  return text;
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
  COMBOBOXINFO combo = {sizeof(combo), {}, {}, 0, nullptr, nullptr, nullptr};
  LONG edges = 0;
  if (GetComboBoxInfo(control, &combo)) {
    room = combo.rcItem;
    edges = 3;  // of one pixel, and one more before the text
  } else if ((GetWindowLongPtrW(control, GWL_STYLE) & BS_TYPEMASK) == BS_GROUPBOX) {
    edges = 18;  // the frame's corners
  } else if ((SendMessageW(control, WM_GETDLGCODE, 0, 0) & DLGC_BUTTON) != 0) {
    edges = 8;  // border and focus rectangle
  }
  return room.right - room.left - edges - size.cx;
}

TEST(StringTables, TextsAreThereTranslatedAndTrimmed) {
  EXPECT_EQ(Languages().size(), 36U);
  for (const int language : Languages()) {
    int texts = 0;
    int same = 0;
    for (int id = 2000; id < 2096; ++id) {
      const std::wstring text = Text(id, language);
      if (text.empty()) continue;
      EXPECT_EQ(text.find_first_of(L"\x00C3\xFFFD"), std::wstring::npos) << "the wrong code page: " << id;
      EXPECT_FALSE(iswspace(text.front()) || iswspace(text.back())) << language << ": " << id;
      same += text == Text(id, kEnglish) ? 1 : 0;
      ++texts;
    }
    EXPECT_GE(texts, language == kEnglish ? 83 : 77) << language << ": at most six lack, which no control shows";
    // "OCR" and seven percentages are the same everywhere, and at most six words rightly in one language (French).
    EXPECT_TRUE(language == kEnglish || same <= 14) << language << ": " << same;
  }
  for (const auto& [id, percent] : kZoomTable) EXPECT_EQ(Text(id, kEnglish), std::to_wstring(percent) + L"%");
}

TEST(StringTables, EveryVisibleTextFitsItsControl) {
  ScanHost host;
  host.Run([](SimulatedUser& user) {
    for (const int language : Languages()) {
      const auto expectFits = [&](int control, const std::wstring& text) {
        if (!IsWindowVisible(user.Control(control))) return;
        EXPECT_FALSE(text.empty()) << language << ": " << control;
        EXPECT_GE(Spare(user.Control(control), text, language), 0) << language << ": " << control;
      };
      for (const auto& label : kLabels) expectFits(label.control, Text(label.stringId, language));
      for (const auto* list :
           {&kOriginalSize, &kPlacement, &kFeedMethod, &kOriginalQuality, &kScanMethod, &kScanColor, &kResolution}) {
        for (const auto& entry : list->entries) {
          expectFits(list->control, entry.text != nullptr ? entry.text : Text(entry.stringId, language));
        }
      }
    }
  });
}

}  // namespace
