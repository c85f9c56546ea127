// Language, strings and font. The suite that names the locale also runs under others (see CMakeLists.txt).
#include <gtest/gtest.h>

#include <map>

#include "tests/support/dialog_harness.h"
#include "tests/support/machine.h"
#include "tests/support/platform_faults.h"

namespace {

std::wstring TextOf(const LANG_RESOURCE& resource, UINT id, std::uint32_t language = 0) {
  wchar_t text[1024] = L"untouched";
  return resource.GetTextW(id, text, 1024, language) != nullptr ? text : L"(none)";
}

std::wstring boxText;
UINT boxStyle = 0;

int WINAPI NoteMessageBox(HWND /*owner*/, LPCWSTR text, LPCWSTR /*caption*/, UINT style) {
  boxText = text;
  boxStyle = style;
  return IDOK;
}

// The user's languages that this machine's locales give, with the table that must answer and its direction.
TEST(LangResourceLocale, FollowsTheUsersLocale) {
  const std::map<std::uint32_t, std::pair<std::uint32_t, bool>> expected = {
      {0x0409, {0x0409, false}}, {0x0C0A, {10, false}},     {0x0401, {1, true}},
      {0x040D, {13, true}},      {0x0C07, {0x0409, false}},  // no German table for Austria: the platform's own choice
  };
  LANG_RESOURCE resource(g_hInstance);
  const std::uint32_t language = resource.GetUserLanguage();
  ASSERT_EQ(language, simulator::UsersLanguage()) << "the locale did not take effect";
  const auto& [table, rightToLeft] = expected.at(language);
  EXPECT_EQ(TextOf(resource, IDS_ORIGINAL_SIZE), TextOf(resource, IDS_ORIGINAL_SIZE, table));
  EXPECT_EQ(TextOf(resource, IDS_ZOOM_100), L"100%");

  harness::TestDialog dialog;
  harness::RunDialog(dialog, [&, table = table, rtl = rightToLeft](harness::TestDialog& shown) {
    const LONG_PTR style = GetWindowLongPtrW(shown.m_hDlg, GWL_EXSTYLE);
    EXPECT_EQ((style & WS_EX_LAYOUTRTL) != 0, rtl);
    EXPECT_EQ((style & WS_EX_RTLREADING) != 0, rtl);
    for (const int id : {IDC_ORIGINAL_SIZE_LABEL, IDC_RESOLUTION, IDC_SCAN}) {
      EXPECT_EQ((GetWindowLongPtrW(shown.Control(id), GWL_EXSTYLE) & WS_EX_RTLREADING) != 0, rtl) << id;
    }
    // The page is never mirrored, and neither is the direction in which its scroll bar moves.
    for (const int id : {IDC_PREVIEW_PANE, IDC_HORIZONTAL_SCROLL, IDC_TOOL_ROTATE}) {
      EXPECT_EQ(GetWindowLongPtrW(shown.Control(id), GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0) << id;
    }
    EXPECT_EQ(shown.Text(IDC_SCAN), TextOf(resource, IDS_SCAN, table));
  });

  // What the box is asked for: Wine 8 shows nothing of it.
  void* messageBox = simulator::ReplaceImport("MessageBoxW", reinterpret_cast<void*>(&NoteMessageBox));
  resource.ShowMessage(nullptr, IDS_ERROR_BUSY);
  simulator::ReplaceImport("MessageBoxW", messageBox);
  EXPECT_EQ(boxStyle, rightToLeft ? MB_OK | MB_RTLREADING | MB_RIGHT : MB_OK);
  EXPECT_EQ(boxText, TextOf(resource, IDS_ERROR_BUSY, table == 10 ? 0x0409 : table)) << "Spanish lacks it";
}

TEST(LangResource, LooksStringsUp) {
  const LANG_RESOURCE resource(g_hInstance);
  EXPECT_EQ(TextOf(resource, IDS_SCAN_ERROR, 0x0409), L"Scan Error");
  EXPECT_EQ(TextOf(resource, IDS_ERROR_BUSY, 9242), L"") << "a gap does not fall back to English";
  EXPECT_EQ(TextOf(resource, IDS_SCAN, 0x080A), TextOf(resource, IDS_SCAN, 10)) << "by primary language";
  wchar_t chosen[32] = {};
  LoadStringW(g_hInstance, IDS_SCAN, chosen, 32);
  EXPECT_EQ(TextOf(resource, IDS_SCAN, 0x043F), chosen) << "Kazakh: the platform's choice";
  EXPECT_EQ(TextOf(resource, 4711), L"(none)");
  wchar_t text[10] = L"untouched";
  EXPECT_EQ(resource.GetTextW(4711, text, 10), nullptr);
  EXPECT_STREQ(text, L"untouched");
  EXPECT_STREQ(resource.GetTextW(IDS_FULL_COLOR, text, 4, 0x0409), L"Ful");
  EXPECT_EQ(resource.GetTextW(IDS_FULL_COLOR, text, 0), nullptr);
}

TEST(LangResource, FontIsMadeOnceAndDeletedWithTheResource) {
  HFONT font = nullptr;
  {
    LANG_RESOURCE resource(g_hInstance);
    font = resource.GetDialogFont();
    EXPECT_EQ(resource.GetDialogFont(), font);
    LOGFONTW made = {};
    ASSERT_NE(GetObjectW(font, sizeof(made), &made), 0);
    const platform::WindowDC screen(GetDesktopWindow());
    EXPECT_EQ(made.lfHeight, -MulDiv(8, GetDeviceCaps(screen.get(), LOGPIXELSY), 72));
    EXPECT_STREQ(made.lfFaceName, L"Microsoft Sans Serif");
  }
  LOGFONTW gone = {};
  EXPECT_EQ(GetObjectW(font, sizeof(gone), &gone), 0);
}

TEST(LangResource, MessagesAreNeverEmpty) {
  const LANG_RESOURCE resource(g_hInstance);
  const std::wstring caption = TextOf(resource, IDS_SCAN_ERROR);
  harness::MessageBoxCloser user(caption);
  EXPECT_EQ(resource.ShowMessage(nullptr, IDS_ERROR_PAPER_JAM), IDOK);
  EXPECT_EQ(resource.ShowMessage(nullptr, 2061), 0) << "English lacks it too";
  Sleep(50);
  EXPECT_EQ(user.Texts(), std::vector{TextOf(resource, IDS_ERROR_PAPER_JAM)});
}

}  // namespace
