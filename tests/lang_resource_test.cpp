// Language, strings and font.
#include "resources/lang_resource.h"

#include <gtest/gtest.h>

#include "platform/module_state.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;

std::wstring TextOf(const LANG_RESOURCE& resource, UINT id, std::uint32_t language = 0) {
  wchar_t text[1024] = L"untouched";
  return resource.GetTextW(id, text, 1024, language) != nullptr ? text : L"(none)";
}

UINT boxStyle = 0;

int WINAPI NoteStyle(HWND, LPCWSTR, LPCWSTR, UINT style) {
  boxStyle = style;
  return IDOK;
}

// The user's language, the table that must answer, its direction, and a message that some tables lack.
TEST(LangResource, FollowsTheUsersLocale) {
  const struct {
    const char* language;
    std::uint32_t table;
    bool rightToLeft;
  } rows[] = {{"0409", 0x0409, false}, {"0C0A", 10, false}, {"0401", 1, true}, {"040D", 13, true}, {"080A", 10, false}};
  for (const auto& row : rows) {
    const UserLocale locale(row.language);
    LANG_RESOURCE resource(g_hInstance);
    EXPECT_EQ(resource.IsRightToLeft(), row.rightToLeft);
    EXPECT_EQ(TextOf(resource, IDS_ORIGINAL_SIZE), TextOf(resource, IDS_ORIGINAL_SIZE, row.table)) << row.language;
    // What the box is asked for: Wine 8 shows nothing of it.
    void* const messageBox = ReplaceImport("MessageBoxW", reinterpret_cast<void*>(&NoteStyle));
    resource.ShowMessage(nullptr, IDS_ERROR_BUSY);
    ReplaceImport("MessageBoxW", messageBox);
    EXPECT_EQ(boxStyle, row.rightToLeft ? MB_OK | MB_RTLREADING | MB_RIGHT : MB_OK) << row.language;

    ScanHost host;
    host.language = row.language;
    host.Run([&](SimulatedUser& user) {
      EXPECT_EQ(user.Text(IDC_SCAN), TextOf(resource, IDS_SCAN, row.table));
      for (const int id : {IDC_ORIGINAL_SIZE_LABEL, IDC_RESOLUTION, IDC_SCAN}) {
        EXPECT_EQ((GetWindowLongPtrW(user.Control(id), GWL_EXSTYLE) & WS_EX_RTLREADING) != 0, row.rightToLeft) << id;
      }
      // The page is never mirrored, and neither are the direction of its scroll bar and a tool's picture.
      for (const int id : {IDC_PREVIEW_PANE, IDC_HORIZONTAL_SCROLL, IDC_TOOL_ROTATE}) {
        EXPECT_EQ(GetWindowLongPtrW(user.Control(id), GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0) << id;
      }
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
  EXPECT_EQ(TextOf(resource, 4711), L"(none)");
  wchar_t text[10] = L"untouched";
  EXPECT_EQ(resource.GetTextW(4711, text, 10), nullptr);
  EXPECT_STREQ(text, L"untouched");
  EXPECT_STREQ(resource.GetTextW(IDS_FULL_COLOR, text, 4, 0x0409), L"Ful");
  EXPECT_EQ(resource.GetTextW(IDS_FULL_COLOR, text, 0), nullptr);
}

TEST(LangResource, MessagesAreNeverEmpty) {
  const UserLocale spanish("0C0A");
  const LANG_RESOURCE resource(g_hInstance);
  SimulatedUser user(nullptr);
  EXPECT_EQ(resource.ShowMessage(nullptr, IDS_ERROR_BUSY), IDOK) << "Spanish lacks it";
  EXPECT_EQ(resource.ShowMessage(nullptr, 2061), 0) << "English lacks it too";
  EXPECT_EQ(user.messages, std::vector<std::wstring>{L"Device is busy."});
}

TEST(LangResource, FontIsMadeOnceAndDeletedWithTheResource) {
  HFONT font = nullptr;
  {
    LANG_RESOURCE resource(g_hInstance);
    font = resource.GetDialogFont();
    EXPECT_TRUE(font != nullptr && resource.GetDialogFont() == font);
  }
  EXPECT_EQ(GetObjectType(font), 0U);
}

}  // namespace
