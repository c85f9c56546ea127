// Language, strings and font.
#include "resources/lang_resource.h"

#include <gtest/gtest.h>

#include <tuple>

#include "platform/module_state.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;

std::wstring TextOf(const LANG_RESOURCE& resource, UINT id, std::uint32_t language) {
  wchar_t text[64] = L"untouched";
  resource.GetTextW(id, text, 64, language);
  return text;
}

UINT boxStyle = 0;

int WINAPI NoteStyle(HWND, LPCWSTR, LPCWSTR, UINT style) {
  boxStyle = style;
  return IDOK;
}

TEST(LangResource, FollowsTheUsersLocale) {
  // Spanish of any country has one table, and lacks the message.
  const std::tuple<const char*, std::uint32_t, bool> languages[] = {
      {"0409", 0x0409, false}, {"0C0A", LANG_SPANISH, false}, {"0401", LANG_ARABIC, true}, {"040D", LANG_HEBREW, true}};
  for (const auto& [language, table, rightToLeft] : languages) {
    ScanHost host;
    host.language = language;
    host.Run([&](SimulatedUser& user) {
      EXPECT_EQ(user.Text(IDC_SCAN), TextOf(*g_pLangResource, IDS_SCAN, table));
      EXPECT_EQ(reinterpret_cast<HFONT>(user.Ask(IDC_SCAN, WM_GETFONT)), g_pLangResource->GetDialogFont());
      const auto style = [&user](int id) { return GetWindowLongPtrW(user.Control(id), GWL_EXSTYLE); };
      EXPECT_EQ((style(IDC_SCAN) & WS_EX_RTLREADING) != 0, rightToLeft);
      // The page is never mirrored, and neither are the direction of its scroll bar and a tool's picture.
      for (const int id : {IDC_PREVIEW_PANE, IDC_HORIZONTAL_SCROLL, IDC_TOOL_ROTATE}) {
        EXPECT_EQ(style(id) & WS_EX_LAYOUTRTL, 0) << id;
      }
      // What the box is asked for: Wine 8 shows nothing of it.
      void* const messageBox = ReplaceImport("MessageBoxW", reinterpret_cast<void*>(&NoteStyle));
      g_pLangResource->ShowMessage(nullptr, IDS_ERROR_BUSY);
      ReplaceImport("MessageBoxW", messageBox);
      EXPECT_EQ(boxStyle, rightToLeft ? MB_OK | MB_RTLREADING | MB_RIGHT : MB_OK);
    });
  }
}

TEST(LangResource, LooksStringsUp) {
  const LANG_RESOURCE resource(g_hInstance);
  EXPECT_EQ(TextOf(resource, IDS_SCAN_ERROR, 0x0409), L"Scan Error");
  EXPECT_EQ(TextOf(resource, IDS_ERROR_BUSY, 9242), L"") << "a gap does not fall back to English";
  wchar_t chosen[32] = {};
  LoadStringW(g_hInstance, IDS_SCAN, chosen, 32);
  EXPECT_EQ(TextOf(resource, IDS_SCAN, 0x043F), chosen) << "Kazakh: the platform's choice";
  wchar_t text[10] = L"untouched";
  EXPECT_EQ(resource.GetTextW(4711, text, 10), nullptr);
  EXPECT_EQ(resource.GetTextW(IDS_FULL_COLOR, text, 0), nullptr);
  EXPECT_STREQ(text, L"untouched");
  EXPECT_STREQ(resource.GetTextW(IDS_FULL_COLOR, text, 4, 0x0409), L"Ful");
}

TEST(LangResource, MessagesAreNeverEmpty) {
  const UserLocale spanish("0C0A");
  const LANG_RESOURCE resource(g_hInstance);
  SimulatedUser user(nullptr);
  EXPECT_EQ(resource.ShowMessage(nullptr, IDS_ERROR_BUSY), IDOK) << "Spanish lacks it";
  EXPECT_EQ(resource.ShowMessage(nullptr, 2061), 0) << "English lacks it too";
  EXPECT_EQ(user.messages, std::vector<std::wstring>{L"Device is busy."});
}

}  // namespace
