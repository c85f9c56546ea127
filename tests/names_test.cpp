// The words for controls that show none: what assistive technology reads, and the tool buttons' tips.
#include <gtest/gtest.h>
#include <oleacc.h>

#include "tests/support/dialog_harness.h"

namespace {

using harness::TestDialog;

// What the platform calls a window. The name of a drop-down list is its label's: Windows looks for it by itself, Wine
// gives the current entry.
std::wstring SpokenName(HWND window) {
  std::wstring text;
  wchar_t className[16] = {};
  GetClassNameW(window, className, 16);
  const bool isList = std::wstring(className) == L"ComboBox";
  platform::ComPtr<IAccessible> accessible;
  if (!isList && AccessibleObjectFromWindow(window, OBJID_CLIENT, IID_PPV_ARGS(accessible.GetAddressOf())) == S_OK) {
    VARIANT self = {};
    self.vt = VT_I4;
    BSTR name = nullptr;
    accessible->get_accName(self, &name);
    const platform::BasicString owned(name);
    text = name != nullptr ? name : L"";
  } else {
    wchar_t label[128] = {};
    GetWindowTextW(GetWindow(window, GW_HWNDPREV), label, 128);
    text = label;
  }
  std::erase(text, L'\x200F');  // the right-to-left mark behind a colon
  return text;
}

std::vector<HWND> VisibleControls(HWND dialog) {
  std::vector<HWND> visible;
  for (HWND child = GetWindow(dialog, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    if ((GetWindowLongPtrW(child, GWL_STYLE) & WS_VISIBLE) != 0) visible.push_back(child);
  }
  return visible;
}

// Runs under several languages, by the suite's name.
TEST(LangResourceLocale, EveryControlHasAName) {
  const struct {
    int control;
    const wchar_t* english;
    const wchar_t* hebrew;
  } rows[] = {{IDC_ORIGINAL_SIZE, L"Original Size:", L"גודל מסמך המקור:"},
              {IDC_PLACEMENT, L"Original Placement:", L"כיוון מסמך המקור:"},
              {IDC_FEED_METHOD, L"Feed Method:", L"שיטת הזנה:"},
              {IDC_ORIGINAL_QUALITY, L"Original Quality:", L"סוג מסמך המקור:"},
              {IDC_SCAN_METHOD, L"Scan Method:", L"שיטת סריקה:"},
              {IDC_SCAN_COLOR, L"Scan Color:", L"מצב צבע:"},
              {IDC_RESOLUTION, L"Resolution:", L"רזולוציה:"},
              {IDC_BRIGHTNESS, L"Brightness:", L"בהירות:"},
              {IDC_TOOL_SELECT, L"Select Area", L"בחירת אזור"},
              {IDC_TOOL_ZOOM, L"Zoom", L"זום"},
              {IDC_TOOL_ROTATE, L"Rotate", L"סיבוב"},
              {IDC_TOOL_PAN, L"Move", L"הזזה"},
              {IDC_ZOOM_LIST, L"Zoom", L"זום"},
              {IDC_PREVIEW_PANE, L"Preview", L"תצוגה מקדימה"},
              {IDC_HORIZONTAL_SCROLL, L"Preview", L"תצוגה מקדימה"},
              {IDC_VERTICAL_SCROLL, L"Preview", L"תצוגה מקדימה"},
              {IDC_PREVIEW, L"Preview", L"תצוגה מקדימה"},
              {IDC_SCAN, L"Scan", L"סריקה"},
              {IDC_DEFAULT, L"Default", L"ברירת מחדל"},
              {IDCANCEL, L"Close", L"סגירה"}};
  TestDialog dialog;
  harness::RunDialog(dialog, [&](TestDialog& shown) {
    const WORD language = static_cast<WORD>(g_pLangResource->GetUserLanguage());
    for (const auto& row : rows) {
      const std::wstring name = SpokenName(shown.Control(row.control));
      EXPECT_FALSE(name.empty()) << row.control;
      if (language == 0x0409 || language == 0x040D) {
        EXPECT_EQ(name, language == 0x0409 ? row.english : row.hebrew) << row.control;
      }
    }
    for (const HWND control : VisibleControls(shown.m_hDlg)) {
      EXPECT_NE(SpokenName(control).substr(0, 4), L"IDC_") << "a symbol of ours, from the template";
    }
  });
}

class Names : public testing::Test {
 protected:
  static HWND Tips(HWND dialog) {
    HWND found = nullptr;
    while ((found = FindWindowExW(nullptr, found, TOOLTIPS_CLASSW, nullptr)) != nullptr) {
      if (GetWindow(found, GW_OWNER) == dialog) break;
    }
    return found;
  }
  // The tip that appears under a resting pointer; empty when none does.
  static std::wstring TipOver(const TestDialog& dialog, int control) {
    const HWND tips = Tips(dialog.m_hDlg);
    SendMessageW(tips, TTM_SETDELAYTIME, TTDT_INITIAL, 1);
    RECT area = {};
    GetWindowRect(dialog.Control(control), &area);
    SetCursorPos(area.left - 3, area.top - 3);  // a pointer that rests where it was is no movement
    harness::HandleMessages(dialog.m_hDlg);
    SetCursorPos((area.left + area.right) / 2, (area.top + area.bottom) / 2);
    wchar_t text[128] = {};
    for (const ULONGLONG end = GetTickCount64() + 3000; GetTickCount64() < end && !IsWindowVisible(tips); Sleep(5)) {
      harness::HandleMessages(dialog.m_hDlg);
    }
    if (IsWindowVisible(tips)) GetWindowTextW(tips, text, 128);
    SendMessageW(tips, TTM_POP, 0, 0);
    return text;
  }
};

TEST_F(Names, TipsAppearOverEnabledAndDisabledButtons) {
  const std::pair<int, const wchar_t*> tips[] = {{IDC_TOOL_SELECT, L"Select Area"},
                                                 {IDC_TOOL_ZOOM, L"Zoom In"},
                                                 {IDC_TOOL_ROTATE, L"Rotate"},
                                                 {IDC_TOOL_PAN, L"Move"}};
  HWND window = nullptr;
  TestDialog dialog;
  harness::RunDialog(dialog, [&](TestDialog& shown) {
    for (const bool enabled : {false, true}) {
      for (const auto& [control, text] : tips) {
        EnableWindow(shown.Control(control), enabled);
        EXPECT_EQ(TipOver(shown, control), text) << enabled;
      }
    }
    shown.Command(IDM_ZOOM_OUT);
    EXPECT_EQ(TipOver(shown, IDC_TOOL_ZOOM), L"Zoom Out");
    shown.Command(IDM_ZOOM_IN);
    EXPECT_EQ(TipOver(shown, IDC_TOOL_ZOOM), L"Zoom In");
    window = Tips(shown.m_hDlg);
  });
  EXPECT_NE(window, nullptr);
  EXPECT_FALSE(IsWindow(window)) << "they go with the dialog";
}

}  // namespace
