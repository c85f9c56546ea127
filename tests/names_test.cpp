// The words for controls that show none: what assistive technology reads, and the tool buttons' tips.
#include <gtest/gtest.h>
#include <oleacc.h>

#include "tests/support/scan_host.h"

namespace {

using namespace harness;

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

TEST(Names, EveryControlHasOne) {
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
  for (const bool isEnglish : {true, false}) {
    ScanHost host;
    host.language = isEnglish ? "0409" : "040D";
    host.Run([&](SimulatedUser& user) {
      for (const auto& row : rows) {
        EXPECT_EQ(SpokenName(user.Control(row.control)), isEnglish ? row.english : row.hebrew) << row.control;
      }
      for (HWND child = GetWindow(user.Dialog(), GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
        EXPECT_TRUE(!IsWindowVisible(child) || !SpokenName(child).starts_with(L"IDC_")) << "a symbol of ours";
      }
    });
  }
}

HWND Tips(const SimulatedUser& user) {
  HWND found = nullptr;
  do {
    found = FindWindowExW(nullptr, found, TOOLTIPS_CLASSW, nullptr);
  } while (found != nullptr && GetWindow(found, GW_OWNER) != user.Dialog());
  return found;
}

// The tip that appears under a resting pointer; empty when none does.
std::wstring TipOver(const SimulatedUser& user, int control) {
  const HWND tips = Tips(user);
  SendMessageW(tips, TTM_SETDELAYTIME, TTDT_INITIAL, 1);
  const RECT area = user.Area(control);
  SetCursorPos(area.left - 3, area.top - 3);  // a pointer that rests where it was is no movement
  user.Settle();
  SetCursorPos((area.left + area.right) / 2, (area.top + area.bottom) / 2);
  for (const ULONGLONG end = GetTickCount64() + 3000; GetTickCount64() < end && !IsWindowVisible(tips); Sleep(5)) {
    user.Settle();
  }
  wchar_t text[128] = {};
  if (IsWindowVisible(tips)) GetWindowTextW(tips, text, 128);
  SendMessageW(tips, TTM_POP, 0, 0);
  return text;
}

TEST(Names, TipsAppearOverEnabledAndDisabledButtons) {
  const std::pair<int, const wchar_t*> tips[] = {{IDC_TOOL_SELECT, L"Select Area"},
                                                 {IDC_TOOL_ZOOM, L"Zoom In"},
                                                 {IDC_TOOL_ROTATE, L"Rotate"},
                                                 {IDC_TOOL_PAN, L"Move"}};
  HWND window = nullptr;
  ScanHost host;
  host.Run([&](SimulatedUser& user) {
    for (const bool enabled : {false, true}) {
      for (const auto& [control, text] : tips) {
        EnableWindow(user.Control(control), enabled);
        EXPECT_EQ(TipOver(user, control), text) << enabled;
      }
    }
    user.Press(IDM_ZOOM_OUT);
    EXPECT_EQ(TipOver(user, IDC_TOOL_ZOOM), L"Zoom Out");
    user.Press(IDM_ZOOM_IN);
    EXPECT_EQ(TipOver(user, IDC_TOOL_ZOOM), L"Zoom In");
    window = Tips(user);
  });
  EXPECT_NE(window, nullptr);
  EXPECT_FALSE(IsWindow(window)) << "they go with the dialog";
  host.language = "0401";
  host.Run([](SimulatedUser& user) {
    EXPECT_NE(TipOver(user, IDC_TOOL_PAN), L"");
    EXPECT_NE(GetWindowLongPtrW(Tips(user), GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0);
  });
}

}  // namespace
