// The message map: which message reaches which handler, with what, and what the dialog procedure returns.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "tests/support/dialog_harness.h"

namespace {

// Notes the slot that was reached and answers TRUE, so that the platform's default processing stays out.
class SlotRecorder : public BASE_DIALOG {
 public:
  using BASE_DIALOG::m_bButtonDown, BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_bPanTool, BASE_DIALOG::m_bSelecting;
  using BASE_DIALOG::m_bSelectTool, BASE_DIALOG::m_bZoomTool, BASE_DIALOG::m_hDlg;

  INT_PTR OnInitDialog(HWND, WPARAM, LPARAM) override { return Hit(1); }
  INT_PTR OnCtlColorDlg(HWND, WPARAM, LPARAM) override { return Hit(2); }
  INT_PTR OnCtlColorStatic(HWND, WPARAM, LPARAM) override { return Hit(3); }
  INT_PTR OnCtlColorBtn(HWND, WPARAM, LPARAM) override { return Hit(4); }
  INT_PTR OnCtlColorEdit(HWND, WPARAM, LPARAM) override { return Hit(5); }
  INT_PTR OnCtlColorListBox(HWND, WPARAM, LPARAM) override { return Hit(6); }
  INT_PTR OnCtlColorScrollBar(HWND, WPARAM, LPARAM) override { return Hit(7); }
  INT_PTR OnPaint(HWND, HDC hdc, WPARAM, LPARAM) override { return Hit(hdc != nullptr ? 9 : -9); }
  INT_PTR OnCommand(HWND, WPARAM, LPARAM) override { return Hit(10); }
  INT_PTR OnContextMenu(HWND, WPARAM, LPARAM) override { return Hit(11); }
  INT_PTR OnNotify(HWND, WPARAM, LPARAM) override { return Hit(12); }
  INT_PTR OnDrawItem(HWND, WPARAM, LPARAM) override { return Hit(13); }
  INT_PTR OnMove(HWND, WPARAM, LPARAM) override { return Hit(14); }
  INT_PTR OnSize(HWND, WPARAM, LPARAM) override { return Hit(15); }
  INT_PTR OnDestroy(HWND, WPARAM, LPARAM) override { return Hit(16); }
  INT_PTR OnClose(HWND, WPARAM, LPARAM) override { return Hit(17); }
  INT_PTR Reserved18(HWND, WPARAM, LPARAM) override { return Hit(18); }
  INT_PTR Reserved19(HWND, WPARAM, LPARAM) override { return Hit(19); }
  INT_PTR Reserved20(HWND, WPARAM, LPARAM) override { return Hit(20); }
  INT_PTR OnNcMouseMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit(22); }
  INT_PTR OnShowWindow(HWND, WPARAM, LPARAM) override { return Hit(23); }
  INT_PTR OnHideWindow(HWND, WPARAM, LPARAM) override { return Hit(24); }
  INT_PTR Reserved25(HWND, WPARAM, LPARAM) override { return Hit(25); }
  INT_PTR Reserved26(HWND, WPARAM, LPARAM) override { return Hit(26); }
  INT_PTR OnSetFocus(HWND, WPARAM, LPARAM) override { return Hit(27); }
  INT_PTR OnKillFocus(HWND, WPARAM, LPARAM) override { return Hit(28); }
  INT_PTR OnNcPaint(HWND, WPARAM, LPARAM) override { return Hit(29); }
  INT_PTR OnUserMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit(30); }
  INT_PTR OnAppMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit(31); }
  void UpdatePreviewImage(const wchar_t*) override { Hit(32); }
  BOOL processImageFile(wchar_t*, const ImageEditParams&) override { return Hit(33) != 0; }
  void ClearPreview() override { Hit(34); }
  void OnHScroll(HWND hDlg, WPARAM, LPARAM) override { Hit(hDlg == m_hDlg ? 35 : -35); }
  void OnVScroll(HWND hDlg, WPARAM, LPARAM) override { Hit(hDlg == m_hDlg ? 36 : -36); }
  void OnLButtonDown(HWND, WPARAM wParam, LPARAM lParam) override {
    Hit(37);
    pressed = {wParam, lParam};
  }
  void OnLButtonUp(HWND, WPARAM, LPARAM) override { Hit(38); }
  void OnMouseMove(HWND, WPARAM, LPARAM) override { Hit(39); }

  int Hit(int reached) {
    slot = reached;
    if (reached == throwIn) {
      throw std::runtime_error("handler");
    }
    return TRUE;
  }
  int slot = 0;
  int throwIn = 0;
  std::pair<WPARAM, LPARAM> pressed;
};

// A real dialog window from the real template, bound to a recorder.
class BaseDialog : public testing::Test {
 protected:
  void SetUp() override {
    window = CreateDialogParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), nullptr, BASE_DIALOG::StaticDialogProc,
                                reinterpret_cast<LPARAM>(&dialog));
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(dialog.m_hDlg, window);
  }
  void TearDown() override { DestroyWindow(window); }

  // The slot that a message sent to the window reaches, and what the dialog procedure answers.
  std::pair<int, INT_PTR> Route(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    dialog.slot = 0;
    SendMessageW(window, message, wParam, lParam);
    const int reached = dialog.slot;
    return {reached, BASE_DIALOG::StaticDialogProc(window, message, wParam, lParam)};
  }
  using Routed = std::pair<int, INT_PTR>;
  SlotRecorder dialog;
  HWND window = nullptr;
};

TEST_F(BaseDialog, EveryMessageReachesItsSlot) {
  const struct {
    UINT first;
    UINT last;
    int slot;
  } rows[] = {{WM_MOVE, WM_MOVE, 14},
              {WM_SIZE, WM_SIZE, 15},
              {WM_SETFOCUS, WM_SETFOCUS, 27},
              {WM_KILLFOCUS, WM_KILLFOCUS, 28},
              {WM_PAINT, WM_PAINT, 9},
              {WM_CLOSE, WM_CLOSE, 17},
              {0x0021, 0x0021, 22},
              {0x002B, 0x002B, 13},
              {0x004E, 0x004E, 12},
              {0x007B, 0x007B, 11},
              {0x0084, 0x0085 - 1, 22},
              {0x0085, 0x0085, 29},
              {0x00A0, 0x00A9, 22},
              {0x0111, 0x0111, 10},
              {0x0133, 0x0133, 5},
              {0x0134, 0x0134, 6},
              {0x0135, 0x0135, 4},
              {0x0136, 0x0136, 2},
              {0x0137, 0x0137, 7},
              {0x0138, 0x0138, 3},
              {0x0203, 0x0209, 22},
              {0x02A0, 0x02A3, 22},
              {0x7FFF, 0x7FFF, 30},
              {0x8000, 0x8000, 31},
              {0xBFFF, 0xBFFF, 31}};
  for (const auto& row : rows) {
    for (UINT message = row.first; message <= row.last; ++message) {
      EXPECT_EQ(Route(message), Routed(row.slot, TRUE)) << std::hex << message;
    }
  }
  EXPECT_EQ(Route(WM_SHOWWINDOW, TRUE), Routed(23, TRUE));
  EXPECT_EQ(Route(WM_SHOWWINDOW, FALSE), Routed(24, TRUE));
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, 0x0400, 0, 0), TRUE);
  EXPECT_EQ(dialog.slot, 30);
  for (const UINT unmapped : {0x0001U, 0x0086U, 0x009FU, 0x00AAU, 0x0112U, 0x0113U, 0x020AU, 0x029FU, 0xC000U}) {
    dialog.slot = 0;
    EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, unmapped, 0, 0), FALSE) << unmapped;
    EXPECT_EQ(dialog.slot, 0) << unmapped;
  }
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_DESTROY, 0, 0), TRUE);
  EXPECT_EQ(dialog.slot, 16);
}

TEST_F(BaseDialog, PointerAndScrollMessages) {
  EXPECT_EQ(Route(WM_ACTIVATE, WA_INACTIVE, 0x1234), Routed(37, FALSE));
  EXPECT_TRUE(dialog.m_bButtonDown);
  EXPECT_EQ(dialog.pressed, (std::pair<WPARAM, LPARAM>(0, 0x1234)));
  EXPECT_EQ(Route(WM_ACTIVATE, WA_ACTIVE), Routed(0, FALSE));
  EXPECT_EQ(Route(WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 1)), Routed(0, FALSE)) << "deactivated while minimised";
  EXPECT_EQ(Route(WM_LBUTTONUP), Routed(38, FALSE));
  EXPECT_FALSE(dialog.m_bButtonDown);
  EXPECT_EQ(Route(WM_LBUTTONDOWN), Routed(37, FALSE));
  EXPECT_TRUE(dialog.m_bButtonDown);

  const auto from = [this](int control) { return reinterpret_cast<LPARAM>(GetDlgItem(window, control)); };
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_HORIZONTAL_SCROLL)), Routed(35, FALSE));
  EXPECT_EQ(Route(WM_VSCROLL, 0, from(IDC_VERTICAL_SCROLL)), Routed(36, FALSE));
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_BRIGHTNESS)), Routed(0, FALSE));
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_VERTICAL_SCROLL)), Routed(0, FALSE));
  EXPECT_EQ(Route(WM_VSCROLL, 0, 0), Routed(0, FALSE));

  SetActiveWindow(window);
  EXPECT_EQ(Route(WM_MOUSEMOVE), Routed(0, FALSE)) << "no tool";
  for (bool SlotRecorder::* flag :
       {&SlotRecorder::m_bPanTool, &SlotRecorder::m_bSelectTool, &SlotRecorder::m_bMouseInPane,
        &SlotRecorder::m_bZoomTool, &SlotRecorder::m_bSelecting}) {
    dialog.*flag = true;
    EXPECT_EQ(Route(WM_MOUSEMOVE), Routed(39, FALSE));
    SetActiveWindow(nullptr);
    const HWND other =
        CreateWindowW(L"STATIC", L"", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    SetActiveWindow(other);
    EXPECT_EQ(Route(WM_MOUSEMOVE), Routed(0, FALSE)) << "another window is active";
    DestroyWindow(other);
    SetActiveWindow(window);
    dialog.*flag = false;
  }
}

// Clients of the class call through its table of operations, whose order is fixed. On 32-bit x86 an operation takes its
// own arguments off the stack, so their number counts.
TEST_F(BaseDialog, SlotsStandInOrder) {
  void* const* table = nullptr;
  std::memcpy(&table, static_cast<const void*>(&dialog), sizeof(table));
  const auto call = [&](int slot, auto... arguments) {
    reinterpret_cast<INT_PTR(__thiscall*)(void*, decltype(arguments)...)>(table[slot])(&dialog, arguments...);
  };
  const INT_PTR none = 0;
  for (int slot = 1; slot < 40; ++slot) {
    dialog.slot = 0;
    if (slot == 34) {
      call(slot);
    } else if (slot == 32) {
      call(slot, none);
    } else if (slot == 33) {
      call(slot, none, none);
    } else if (slot == 9 || slot == 21 || slot == 22 || slot == 30 || slot == 31) {
      call(slot, window, none, none, none);
    } else {
      call(slot, window, none, none);
    }
    EXPECT_EQ(dialog.slot, slot == 8 ? 9 : slot == 9 ? -9 : slot == 21 ? 22 : slot);
  }
}

TEST_F(BaseDialog, UnboundWindowsAndExceptions) {
  const HWND unbound =
      CreateDialogParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), nullptr, BASE_DIALOG::StaticDialogProc, 0);
  ASSERT_NE(unbound, nullptr);
  dialog.slot = 0;
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(unbound, WM_INITDIALOG, 0, 0), FALSE);
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(unbound, WM_COMMAND, IDOK, 0), FALSE);
  EXPECT_EQ(dialog.slot, 0);
  DestroyWindow(unbound);

  dialog.throwIn = 10;
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_COMMAND, IDOK, 0), FALSE);
  EXPECT_EQ(dialog.HandlerFailure(), E_FAIL);
}

// What the built template says, read from the real window.
TEST(BaseDialogTemplate, ControlsAsDesigned) {
  harness::TestDialog dialog;
  const INT_PTR endCode = harness::RunDialog(dialog, [](harness::TestDialog& shown) {
    EXPECT_EQ(static_cast<DWORD>(GetWindowLongPtrW(shown.m_hDlg, GWL_STYLE)) & 0xFFFF0000U, 0x94C80000U);
    EXPECT_EQ(shown.Text(0), L"");
    int count = 0;
    for (HWND child = GetWindow(shown.m_hDlg, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
      ++count;
    }
    EXPECT_EQ(count, 49) << "47 controls, the zoom list's label and the status bar";
    for (const int hidden : {1045, 1062, 109, 1006, 1019, 1011, 1074, 1012, 1024, 1073}) {
      EXPECT_FALSE(IsWindowVisible(shown.Control(hidden))) << hidden;
      EXPECT_FALSE(shown.Enabled(hidden)) << hidden;
    }
    RECT unit = {0, 0, 4, 8};
    MapDialogRect(shown.m_hDlg, &unit);
    EXPECT_EQ(shown.m_rcPane.left, MulDiv(276, unit.right, 4));
    EXPECT_EQ(SendMessageW(shown.m_hDlg, DM_GETDEFID, 0, 0), MAKELRESULT(IDC_SCAN, DC_HASDEFID));
  });
  EXPECT_EQ(endCode, IDCANCEL);
}

}  // namespace
