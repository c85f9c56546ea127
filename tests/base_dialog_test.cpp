// The message map: what reaches which handler, and what the dialog procedure answers.
#include "dialog/base_dialog.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/module_state.h"
#include "resources/resource_ids.h"

namespace {

// Notes the handler that was reached and answers TRUE, so that the platform's default processing stays out.
class Recorder : public BASE_DIALOG {
 public:
  using BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_bPanTool, BASE_DIALOG::m_bSelecting, BASE_DIALOG::m_bSelectTool;
  using BASE_DIALOG::m_bZoomTool;

  INT_PTR OnCommand(HWND, WPARAM, LPARAM) override { return Hit("command"); }
  INT_PTR OnContextMenu(HWND, WPARAM, LPARAM) override { return Hit("contextmenu"); }
  INT_PTR OnNotify(HWND, WPARAM, LPARAM) override { return Hit("notify"); }
  INT_PTR OnNcMouseMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("ncmouse"); }
  INT_PTR OnShowWindow(HWND, WPARAM, LPARAM) override { return Hit("show"); }
  INT_PTR OnHideWindow(HWND, WPARAM, LPARAM) override { return Hit("hide"); }
  INT_PTR OnUserMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("user"); }
  INT_PTR OnAppMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("app"); }
  void UpdatePreviewImage(const wchar_t*) override {}
  BOOL processImageFile(wchar_t*, const ImageEditParams&) override { return FALSE; }
  void ClearPreview() override {}
  void OnHScroll(HWND, WPARAM, LPARAM) override { Hit("hscroll"); }
  void OnVScroll(HWND, WPARAM, LPARAM) override { Hit("vscroll"); }
  void OnLButtonDown(HWND, WPARAM, LPARAM) override { Hit("press"); }
  void OnLButtonUp(HWND, WPARAM, LPARAM) override { Hit("release"); }
  void OnMouseMove(HWND, WPARAM, LPARAM) override { Hit("mousemove"); }

  INT_PTR Hit(const char* handler) {
    reached = handler;
    if (reached == throwIn) throw std::runtime_error("handler");
    return TRUE;
  }
  std::string reached;
  std::string throwIn;
};

// A real dialog window from the real template, bound to a recorder.
class BaseDialog : public testing::Test {
 protected:
  HWND Make(LPARAM bound) {
    return CreateDialogParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), nullptr, BASE_DIALOG::StaticDialogProc,
                              bound);
  }
  void SetUp() override { window = Make(reinterpret_cast<LPARAM>(&dialog)); }
  void TearDown() override { DestroyWindow(window); }

  // The handler that a message sent to the window reaches; "" for none.
  std::string Route(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
    dialog.reached.clear();
    SendMessageW(window, message, wParam, lParam);
    return dialog.reached;
  }
  Recorder dialog;
  HWND window = nullptr;
};

// Where ranges of messages begin and end.
TEST_F(BaseDialog, MessagesReachTheirHandlers) {
  const std::pair<UINT, const char*> messages[] = {{WM_NCHITTEST, "ncmouse"},
                                                   {WM_NCMOUSEMOVE, "ncmouse"},
                                                   {WM_NCMBUTTONDBLCLK, "ncmouse"},
                                                   {WM_LBUTTONDBLCLK, "ncmouse"},
                                                   {WM_MBUTTONDBLCLK, "ncmouse"},
                                                   {WM_MOUSELEAVE, "ncmouse"},
                                                   {WM_MOUSEWHEEL, ""},
                                                   {WM_NCMBUTTONDBLCLK + 1, ""},
                                                   {WM_USER + 2, "user"},
                                                   {WM_APP - 1, "user"},
                                                   {WM_APP, "app"},
                                                   {0xBFFF, "app"},
                                                   {0xC000, ""},
                                                   {WM_TIMER, ""}};
  for (const auto& [message, handler] : messages) EXPECT_EQ(Route(message), handler) << std::hex << message;
  EXPECT_EQ(Route(WM_SHOWWINDOW, TRUE), "show");
  EXPECT_EQ(Route(WM_SHOWWINDOW, FALSE), "hide");
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_NOTIFY, 0, 0), TRUE) << "the handler's answer";
}

TEST_F(BaseDialog, PointerAndScrollMessages) {
  EXPECT_EQ(Route(WM_ACTIVATE, WA_INACTIVE, 0x1234), "press");
  EXPECT_EQ(Route(WM_ACTIVATE, WA_ACTIVE), "");
  EXPECT_EQ(Route(WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 1)), "") << "deactivated while minimised";
  EXPECT_EQ(Route(WM_LBUTTONUP), "release");
  EXPECT_EQ(Route(WM_LBUTTONDOWN), "press");
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_LBUTTONDOWN, 0, 0), FALSE) << "whatever the handler says";
  const auto from = [this](int control) { return reinterpret_cast<LPARAM>(GetDlgItem(window, control)); };
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_HORIZONTAL_SCROLL)), "hscroll");
  EXPECT_EQ(Route(WM_VSCROLL, 0, from(IDC_VERTICAL_SCROLL)), "vscroll");
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_BRIGHTNESS)), "");
  EXPECT_EQ(Route(WM_HSCROLL, 0, from(IDC_VERTICAL_SCROLL)), "");
  EXPECT_EQ(Route(WM_VSCROLL, 0, 0), "");

  SetActiveWindow(window);
  EXPECT_EQ(Route(WM_MOUSEMOVE), "") << "no tool";
  for (bool Recorder::* flag : {&Recorder::m_bPanTool, &Recorder::m_bSelectTool, &Recorder::m_bMouseInPane,
                                &Recorder::m_bZoomTool, &Recorder::m_bSelecting}) {
    dialog.*flag = true;
    EXPECT_EQ(Route(WM_MOUSEMOVE), "mousemove");
    const HWND other =
        CreateWindowW(L"STATIC", L"", WS_OVERLAPPED | WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    SetActiveWindow(other);
    EXPECT_EQ(Route(WM_MOUSEMOVE), "") << "another window is active";
    DestroyWindow(other);
    SetActiveWindow(window);
    dialog.*flag = false;
  }
}

TEST_F(BaseDialog, UnboundWindowsAndExceptions) {
  const HWND unbound = Make(0);
  ASSERT_NE(unbound, nullptr);
  dialog.reached.clear();
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(unbound, WM_COMMAND, IDOK, 0), FALSE);
  EXPECT_EQ(dialog.reached, "");
  DestroyWindow(unbound);

  EXPECT_EQ(dialog.HandlerFailure(), S_OK);
  dialog.throwIn = "command";
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_COMMAND, IDOK, 0), FALSE);
  EXPECT_EQ(dialog.HandlerFailure(), E_FAIL);
}

}  // namespace
