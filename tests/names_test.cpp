// The words for controls that show none: what assistive technology reads, and the tool buttons' tips.
#include <gtest/gtest.h>
#include <oleacc.h>

#include "tests/support/scan_host.h"

namespace {

using namespace harness;

// What the platform calls a window. The name of a drop-down list is its label's: Windows looks for it by itself, Wine
// gives the current entry.
std::wstring SpokenName(HWND window) {
  COMBOBOXINFO list = {sizeof(list), {}, {}, 0, nullptr, nullptr, nullptr};
  const HWND named = GetComboBoxInfo(window, &list) ? GetWindow(window, GW_HWNDPREV) : window;
  platform::ComPtr<IAccessible> accessible;
  EXPECT_EQ(AccessibleObjectFromWindow(named, OBJID_CLIENT, IID_PPV_ARGS(accessible.GetAddressOf())), S_OK);
  VARIANT self = {};
  self.vt = VT_I4;
  BSTR name = nullptr;
  if (accessible != nullptr) accessible->get_accName(self, &name);
  const platform::BasicString owned(name);
  return name != nullptr ? name : L"";
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

TEST(Names, EveryControlHasOneAndEveryToolATip) {
  HWND window = nullptr;
  ScanHost host;
  host.Run([&](SimulatedUser& user) {
    std::wstring names;
    for (const int control :
         {IDC_ORIGINAL_SIZE,   IDC_PLACEMENT,  IDC_FEED_METHOD, IDC_ORIGINAL_QUALITY, IDC_SCAN_METHOD,
          IDC_SCAN_COLOR,      IDC_RESOLUTION, IDC_BRIGHTNESS,  IDC_TOOL_SELECT,      IDC_TOOL_ZOOM,
          IDC_TOOL_ROTATE,     IDC_TOOL_PAN,   IDC_ZOOM_LIST,   IDC_PREVIEW_PANE,     IDC_HORIZONTAL_SCROLL,
          IDC_VERTICAL_SCROLL, IDC_PREVIEW,    IDC_SCAN,        IDC_DEFAULT,          IDCANCEL}) {
      names += SpokenName(user.Control(control)) + L".";
    }
    EXPECT_EQ(names,
              L"Original Size:.Original Placement:.Feed Method:.Original Quality:.Scan Method:.Scan Color:.Resolution:."
              L"Brightness:.Select Area.Zoom.Rotate.Move.Zoom.Preview.Preview.Preview.Preview.Scan.Default.Close.");
    for (HWND child = GetWindow(user.Dialog(), GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
      EXPECT_TRUE(!IsWindowVisible(child) || !SpokenName(child).starts_with(L"IDC_")) << "a symbol of ours";
    }
    for (const BOOL enabled : {FALSE, TRUE}) {
      std::wstring tips;
      for (const int tool : {IDC_TOOL_SELECT, IDC_TOOL_ZOOM, IDC_TOOL_ROTATE, IDC_TOOL_PAN}) {
        EnableWindow(user.Control(tool), enabled);
        tips += TipOver(user, tool) + L".";
      }
      EXPECT_EQ(tips, L"Select Area.Zoom In.Rotate.Move.") << enabled;
    }
    user.Press(IDM_ZOOM_OUT);
    EXPECT_EQ(TipOver(user, IDC_TOOL_ZOOM), L"Zoom Out");
    user.Press(IDM_ZOOM_IN);
    EXPECT_EQ(TipOver(user, IDC_TOOL_ZOOM), L"Zoom In");
    window = Tips(user);
  });
  EXPECT_TRUE(window != nullptr && !IsWindow(window)) << "they go with the dialog";
  host.language = "040D";
  host.Run([](SimulatedUser& user) {
    for (const int control : {IDC_TOOL_SELECT, IDC_ZOOM_LIST, IDC_RESOLUTION}) {
      EXPECT_GT(SpokenName(user.Control(control))[0], L'z') << "Hebrew letters come later: " << control;
    }
    EXPECT_GT(TipOver(user, IDC_TOOL_PAN)[0], L'z');
    EXPECT_NE(GetWindowLongPtrW(Tips(user), GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0);
  });
}

}  // namespace
