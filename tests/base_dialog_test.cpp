// The message map: what reaches which handler, and what the dialog procedure answers.
#include "dialog/base_dialog.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "platform/module_state.h"
#include "resources/resource_ids.h"

namespace {

// Notes the handler that was reached and answers TRUE, so that the platform's default processing stays out.
class Recorder : public BASE_DIALOG {
 public:
  using BASE_DIALOG::m_bMouseInPane, BASE_DIALOG::m_bPanTool, BASE_DIALOG::m_bSelecting, BASE_DIALOG::m_bSelectTool;
  using BASE_DIALOG::m_bZoomTool;

  INT_PTR OnCommand(HWND, WPARAM, LPARAM) override { throw std::runtime_error("handler"); }
  INT_PTR OnNotify(HWND, WPARAM, LPARAM) override { return Hit("notify"); }
  INT_PTR OnNcMouseMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("pointer"); }
  INT_PTR OnShowWindow(HWND, WPARAM, LPARAM) override { return Hit("show"); }
  INT_PTR OnHideWindow(HWND, WPARAM, LPARAM) override { return Hit("hide"); }
  INT_PTR OnUserMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("user"); }
  INT_PTR OnAppMessage(HWND, UINT, WPARAM, LPARAM) override { return Hit("app"); }
  void UpdatePreviewImage(const wchar_t*) override {}
  BOOL processImageFile(wchar_t*, const ImageEditParams&) override { return FALSE; }
  void ClearPreview() override {}
  void OnHScroll(HWND, WPARAM, LPARAM) override { Hit("scroll"); }
  void OnVScroll(HWND, WPARAM, LPARAM) override { Hit("scroll"); }
  void OnLButtonDown(HWND, WPARAM, LPARAM) override { Hit("press"); }
  void OnLButtonUp(HWND, WPARAM, LPARAM) override {}
  void OnMouseMove(HWND, WPARAM, LPARAM) override { Hit("move"); }

  INT_PTR Hit(const char* handler) {
    reached = handler;
    return TRUE;
  }
  std::string reached;
};

// In a real window from the real template.
TEST(BaseDialog, MessagesReachTheirHandlers) {
  Recorder dialog;
  const HWND window = CreateDialogParamW(g_hInstance, MAKEINTRESOURCEW(IDD_SCAN_DIALOG), nullptr,
                                         BASE_DIALOG::StaticDialogProc, reinterpret_cast<LPARAM>(&dialog));
  const auto route = [&](UINT message, WPARAM wParam = 0) {
    dialog.reached.clear();
    SendMessageW(window, message, wParam, 0);
    return dialog.reached;
  };
  const std::pair<const char*, std::vector<UINT>> messages[] = {
      {"pointer",
       {WM_NCHITTEST, WM_NCMOUSEMOVE, WM_NCMBUTTONDBLCLK, WM_LBUTTONDBLCLK, WM_MBUTTONDBLCLK, WM_MOUSELEAVE}},
      {"user", {WM_USER + 2, WM_APP - 1}},
      {"app", {WM_APP, 0xBFFF}},
      {"", {WM_NCMBUTTONDBLCLK + 1, WM_MOUSEWHEEL, 0xC000, WM_HSCROLL, WM_VSCROLL, WM_MOUSEMOVE}}};
  for (const auto& [handler, reaching] : messages) {
    for (const UINT message : reaching) EXPECT_EQ(route(message), handler) << std::hex << message;
  }
  EXPECT_EQ(route(WM_SHOWWINDOW, TRUE), "show");
  EXPECT_EQ(route(WM_SHOWWINDOW, FALSE), "hide");
  EXPECT_EQ(route(WM_ACTIVATE, WA_INACTIVE), "press");
  EXPECT_EQ(route(WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, 1)), "") << "deactivated while minimised";
  const HWND other = CreateWindowW(L"STATIC", L"", WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
  for (bool Recorder::* flag : {&Recorder::m_bPanTool, &Recorder::m_bSelectTool, &Recorder::m_bMouseInPane,
                                &Recorder::m_bZoomTool, &Recorder::m_bSelecting}) {
    dialog.*flag = true;
    SetActiveWindow(window);
    EXPECT_EQ(route(WM_MOUSEMOVE), "move");
    SetActiveWindow(other);
    EXPECT_EQ(route(WM_MOUSEMOVE), "") << "another window is active";
    dialog.*flag = false;
  }
  DestroyWindow(other);
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_NOTIFY, 0, 0), TRUE) << "the handler's answer";
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_LBUTTONDOWN, 0, 0), FALSE) << "whatever the handler says";
  EXPECT_EQ(BASE_DIALOG::StaticDialogProc(window, WM_COMMAND, IDOK, 0), FALSE);
  EXPECT_EQ(dialog.HandlerFailure(), E_FAIL);
  DestroyWindow(window);
}

}  // namespace
