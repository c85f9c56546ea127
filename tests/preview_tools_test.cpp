// The mouse tools, the scroll bars and the menus of the preview pane.
#include "tests/support/pane_harness.h"

namespace {

using namespace harness;
using preview::Rect;

// A pointer over the pane, in pixels from the pane's top-left corner. The page of 1700 x 2200 pixels at 200 dpi covers
// 204 x 264 of them at 100 %, 24 to an inch.
struct Pointer {
  void Send(UINT message, int x, int y) {
    SendMessageW(d.m_hDlg, message, 0, MAKELPARAM(d.m_rcPane.left + x, d.m_rcPane.top + y));
  }
  void Move(int x, int y) { Send(WM_MOUSEMOVE, x, y); }
  void Press(int x, int y) {
    Move(x, y);
    Send(WM_LBUTTONDOWN, x, y);
  }
  void Release(int x, int y) { Send(WM_LBUTTONUP, x, y); }
  void Drag(int x, int y, int toX, int toY) {
    Press(x, y);
    Move(toX, toY);
    Release(toX, toY);
  }
  TestDialog& d;
};

class PreviewTools : public PaneTest {
 protected:
  void WithTool(int tool, const std::function<void(TestDialog&, Pointer&)>& script) {
    WithPage(1700, 2200, 200, [&](TestDialog& d) {
      d.m_bInch = 0;
      d.Command(tool);
      Pointer pointer{d};
      script(d, pointer);
    });
  }
};

void Zoom(TestDialog& d, int listIndex, int scroll) {
  d.Send(IDC_ZOOM_LIST, CB_SETCURSEL, static_cast<WPARAM>(listIndex));
  d.OnZoomComboChange(d.m_hDlg);
  d.m_nScrollX = d.m_nScrollY = scroll;
  d.UpdateScrollBars(d.m_hDlg, false);
}

TEST_F(PreviewTools, OneToolAtMostIsCurrent) {
  WithTool(IDC_TOOL_PAN, [](TestDialog& d, Pointer&) {
    const struct {
      int command, notification;
      const char* tools;  // select, zoom, pan
      bool keepsFrame;
    } cases[] = {{IDC_TOOL_ZOOM, 0, "-z-", true}, {IDC_TOOL_PAN, 0, "--p", true},   {IDC_TOOL_SELECT, 0, "s--", false},
                 {IDC_ZOOM_LIST, 7, "---", true}, {IDM_ZOOM_OUT, 0, "-z-", true},   {IDC_TOOL_ROTATE, 0, "---", true},
                 {IDM_ZOOM_IN, 0, "-z-", true},   {IDM_ROTATE_LEFT, 0, "-z-", true}};
    for (const auto& c : cases) {
      d.m_rcSelection = {20, 20, 60, 60};
      d.DrawSelectionFrame(d.m_hDlg);
      d.Command(c.command, c.notification);
      const std::string tools = {d.m_bSelectTool ? 's' : '-', d.m_bZoomTool ? 'z' : '-', d.m_bPanTool ? 'p' : '-'};
      EXPECT_EQ(tools, c.tools) << c.command;
      EXPECT_EQ(d.m_rcSelection.hasArea(), c.keepsFrame) << c.command;
      EXPECT_EQ(d.m_bZoomIn, c.command == IDM_ZOOM_OUT || c.command == IDC_TOOL_ROTATE ? 0 : 1) << c.command;
    }
  });
}

TEST_F(PreviewTools, FramesInAllDirectionsWithTheirMinimumSide) {
  WithTool(IDC_TOOL_SELECT, [](TestDialog& d, Pointer& pointer) {
    const struct {
      int x, y, toX, toY;
      Rect frame;  // millimetres
    } cases[] = {{60, 60, 110, 100, {64, 64, 116, 106}},
                 {110, 100, 60, 60, {63, 63, 116, 106}},
                 {100, 100, 102, 97, {106, 96, 116, 106}},
                 {100, 100, 97, 102, {96, 106, 106, 116}},
                 {4, 4, 2, 2, {0, 0, 10, 10}},
                 {203, 263, 204, 264, {206, 269, 216, 279}},
                 {204, 264, 209, 269, {206, 269, 216, 279}},   // outward from the last pixel that can be seen
                 {150, 200, 215, 280, {159, 212, 216, 279}}};  // the band ends with the image
    for (const auto& c : cases) {
      const PaneScreen before(d);
      pointer.Press(c.x, c.y);
      EXPECT_TRUE(d.m_bSelecting);
      EXPECT_EQ(d.StatusText(2), L"");
      pointer.Move(c.toX - 1, c.toY - 1);
      pointer.Move(c.toX, c.toY);
      EXPECT_EQ(d.StatusText(2) == L" 10mm x  10mm", std::abs(c.toX - c.x) < 9);
      EXPECT_EQ(d.m_rcPane.left + std::min(c.toX, 204), d.m_ptMouse.x);
      pointer.Release(c.toX, c.toY);
      EXPECT_FALSE(d.m_bSelecting);
      EXPECT_EQ(d.m_rcSelection, c.frame) << c.x << "," << c.y;
      EXPECT_TRUE(PaneScreen(d).HasBlackBorder());
      pointer.Press(20, 20);  // a click without movement, however often the platform repeats the last one
      pointer.Move(20, 20);
      pointer.Release(20, 20);
      EXPECT_EQ(d.m_rcSelection, Rect{});
      EXPECT_EQ(d.StatusText(1) + d.StatusText(2), L"");
      EXPECT_TRUE(PaneScreen(d) == before) << c.x << "," << c.y;
    }
    pointer.Drag(60, 60, 110, 100);
    EXPECT_EQ(d.StatusText(1), L" 64mm,  64mm");
    EXPECT_EQ(d.StatusText(2), L" 52mm x  42mm");
    pointer.Send(WM_LBUTTONDOWN, 206, 100);  // beside the image
    EXPECT_FALSE(d.m_bSelecting);
  });
}

TEST_F(PreviewTools, TheNineByNineCornerResizes) {
  WithTool(IDC_TOOL_SELECT, [](TestDialog& d, Pointer& pointer) {
    const PaneScreen clean(d);
    for (int offset = -5; offset <= 5; ++offset) {
      for (const bool horizontal : {true, false}) {
        d.ClearSelection(d.m_hDlg);
        d.m_rcSelection = {20, 20, 60, 80};
        d.DrawSelectionFrame(d.m_hDlg);
        const PaneScreen framed(d);
        const int cornerX = d.m_rcFrame.right - d.m_rcPane.left;
        const int cornerY = d.m_rcFrame.bottom - d.m_rcPane.top;
        const int x = cornerX + (horizontal ? offset : 4);
        const int y = cornerY + (horizontal ? -4 : offset);
        const bool resizes = std::abs(offset) < 5;
        pointer.Move(x, y);
        EXPECT_EQ(GetCursor() == d.m_hCurSizeNWSE, resizes) << offset;
        EXPECT_EQ(GetCursor() == d.m_hCurCross, !resizes) << offset;
        pointer.Press(x, y);
        pointer.Release(x, y);
        EXPECT_EQ(d.m_rcSelection, (resizes ? Rect{20, 20, 60, 80} : Rect{})) << offset;
        if (!resizes) continue;
        EXPECT_TRUE(PaneScreen(d) == framed) << "a click moved the frame";
        pointer.Drag(x, y, cornerX + 24, cornerY + 24);
        EXPECT_EQ(d.m_rcSelection.left + d.m_rcSelection.top, 40);
        EXPECT_NEAR(d.m_rcSelection.right, 85, 1);
        EXPECT_NEAR(d.m_rcSelection.bottom, 105, 1);
        d.ClearSelection(d.m_hDlg);
        EXPECT_TRUE(PaneScreen(d) == clean) << "a rubber band was not erased";
      }
    }
  });
}

TEST_F(PreviewTools, AFrameOutOfViewIsNotLost) {
  WithTool(IDC_TOOL_SELECT, [](TestDialog& d, Pointer& pointer) {
    pointer.Drag(24, 24, 60, 60);
    const Rect frame = d.m_rcSelection;
    Zoom(d, 6, 700);
    InvalidateRect(d.m_hDlg, nullptr, TRUE);
    HandleMessages(d.m_hDlg);
    pointer.Press(1, 1);  // where the pane's corner stands for the frame's
    pointer.Release(1, 1);
    EXPECT_EQ(d.m_rcSelection, frame);
  });
}

TEST_F(PreviewTools, ADragThatLostItsReleaseIsFinished) {
  using End = std::function<void(TestDialog&, Pointer&)>;
  std::vector<End> ends = {[](TestDialog&, Pointer& pointer) {
                             pointer.Move(80, 60);  // the platform may have told of the real pointer since
                             pointer.Send(WM_LBUTTONDOWN, 30, 30);
                           },
                           [](TestDialog& d, Pointer&) { d.Command(IDC_TOOL_ZOOM); },
                           [](TestDialog& d, Pointer&) { d.Command(IDM_ROTATE_UPSIDE_DOWN); }};
  for (int code = 0; code <= 8; ++code) {
    ends.push_back([code](TestDialog& d, Pointer&) {
      SendMessageW(d.m_hDlg, WM_VSCROLL, static_cast<WPARAM>(code),
                   reinterpret_cast<LPARAM>(d.Control(IDC_VERTICAL_SCROLL)));
    });
  }
  WithTool(IDC_TOOL_SELECT, [&](TestDialog& d, Pointer& pointer) {
    for (const End& end : ends) {
      Zoom(d, 6, 300);
      d.Command(IDC_TOOL_SELECT);
      pointer.Press(110, 100);
      pointer.Move(60, 60);
      EXPECT_EQ(GetCapture(), d.m_hDlg);
      pointer.Move(-5, 60);  // out of the pane, where another window gets the release
      EXPECT_EQ(GetCapture(), nullptr);
      EXPECT_TRUE(d.m_bSelecting);
      pointer.Move(80, 60);
      InvalidateRect(d.m_hDlg, nullptr, TRUE);  // repainted in the middle of the drag
      HandleMessages(d.m_hDlg);
      end(d, pointer);
      EXPECT_FALSE(d.m_bSelecting);
      EXPECT_LE(d.m_rcSelection.left + 10, d.m_rcSelection.right);
      d.ClearSelection(d.m_hDlg);
      const PaneScreen after(d);
      InvalidateRect(d.m_hDlg, nullptr, TRUE);
      HandleMessages(d.m_hDlg);
      EXPECT_TRUE(after == PaneScreen(d));  // nothing was left of rubber band and frame
    }
  });
}

TEST_F(PreviewTools, EveryScrollCode) {
  WithTool(IDC_TOOL_PAN, [](TestDialog& d, Pointer&) {
    const int maxX = static_cast<int>(1700 - d.m_rcPane.width() / 0.48);
    const struct {
      int code, thumb, offset;
    } cases[] = {{SB_LINELEFT, 0, 690}, {SB_LINERIGHT, 0, 710},     {SB_PAGELEFT, 0, -1},
                 {SB_PAGERIGHT, 0, -2}, {SB_THUMBTRACK, 42, 42},    {SB_LEFT, 0, 0},
                 {SB_RIGHT, 0, maxX},   {SB_THUMBPOSITION, 9, 700}, {SB_ENDSCROLL, 0, 700},
                 {SB_THUMBTRACK, 0, 0}, {SB_THUMBTRACK, 1699, maxX}};
    for (const auto& c : cases) {
      Zoom(d, 6, 700);
      const int page = static_cast<int>(d.m_siHorz.nPage);
      SendMessageW(d.m_hDlg, WM_HSCROLL, MAKEWPARAM(c.code, c.thumb),
                   reinterpret_cast<LPARAM>(d.Control(IDC_HORIZONTAL_SCROLL)));
      EXPECT_EQ(d.m_nScrollX, c.offset == -1 ? 700 - page : c.offset == -2 ? 700 + page : c.offset) << c.code;
      EXPECT_EQ(d.m_nScrollY, 700);
    }
    Zoom(d, 0, 0);  // narrower than the pane: the draw shows column 0 whatever the bar says
    d.OnHScroll(d.m_hDlg, SB_RIGHT, 0);
    EXPECT_LT(d.m_siHorz.nPos, 0);
    EXPECT_EQ(d.m_nScrollX, 0);
    d.ClearPreview();
    for (const auto& c : cases) d.OnVScroll(d.m_hDlg, MAKEWPARAM(c.code, c.thumb), 0);
  });
}

TEST_F(PreviewTools, CursorsAndCaptureFollowThePointer) {
  WithTool(IDC_TOOL_SELECT, [](TestDialog& d, Pointer& pointer) {
    const struct {
      int command;
      HCURSOR inside, pressed;
    } cases[] = {{IDC_TOOL_SELECT, d.m_hCurCross, d.m_hCurCross},
                 {IDM_ZOOM_IN, d.m_hCurZoomIn, d.m_hCurZoomIn},
                 {IDM_ZOOM_OUT, d.m_hCurZoomOut, d.m_hCurZoomOut},
                 {IDC_TOOL_PAN, d.m_hCurPan, d.m_hCurPanning}};
    for (const auto& c : cases) {
      ASSERT_NE(c.inside, nullptr);
      d.Command(c.command);
      pointer.Move(30, 30);
      EXPECT_EQ(GetCursor(), c.inside) << c.command;
      EXPECT_EQ(GetCapture(), d.m_hDlg);
      pointer.Press(30, 30);
      EXPECT_EQ(GetCursor(), c.pressed) << c.command;
      pointer.Release(30, 30);
      EXPECT_EQ(GetCursor(), c.inside) << c.command;
      pointer.Move(30, d.m_rcPane.height() + 1);
      EXPECT_EQ(GetCursor(), d.m_hCurArrow);
      EXPECT_EQ(GetCapture(), nullptr);
      pointer.Move(30, d.m_rcPane.height());  // the edge counts as inside
      EXPECT_EQ(GetCapture(), d.m_hDlg);
      SetCapture(GetDlgItem(d.m_hDlg, IDC_ZOOM_LIST));
      pointer.Move(30, 31);
      EXPECT_EQ(GetCapture(), d.m_hDlg) << "somebody else took it";
      d.Command(IDC_ZOOM_LIST);
      EXPECT_EQ(GetCapture(), nullptr) << "without a tool nothing else would give the capture up";
    }
  });
}

TEST_F(PreviewTools, ZoomClicksCentreAndPanFollows) {
  WithTool(IDC_TOOL_ZOOM, [](TestDialog& d, Pointer& pointer) {
    const struct {
      int direction, listIndex, percent;
    } cases[] = {{IDM_ZOOM_IN, 0, 75},   {IDM_ZOOM_IN, 2, 150},  {IDM_ZOOM_IN, 5, 400}, {IDM_ZOOM_IN, 6, 400},
                 {IDM_ZOOM_OUT, 6, 300}, {IDM_ZOOM_OUT, 3, 100}, {IDM_ZOOM_OUT, 0, 50}};
    for (const auto& c : cases) {
      d.Command(c.direction);
      Zoom(d, c.listIndex, 0);
      d.m_rcSelection = {20, 20, 60, 60};
      pointer.Press(90, 120);
      pointer.Release(90, 120);
      EXPECT_DOUBLE_EQ(d.m_dZoom, Scale(c.percent));
      EXPECT_EQ(d.Send(IDC_ZOOM_LIST, CB_GETITEMDATA, static_cast<WPARAM>(d.Send(IDC_ZOOM_LIST, CB_GETCURSEL))),
                c.percent);
      const int clicked = static_cast<int>(120 / Scale(kZoomPercent[c.listIndex]));
      const int centred = static_cast<int>(clicked - d.m_rcPane.height() / (2 * d.m_dZoom));
      EXPECT_EQ(d.m_nScrollY, 2200 * d.m_dZoom < d.m_rcPane.height() ? 0 : std::max(centred, 0)) << c.percent;
      EXPECT_EQ(d.m_siVert.nPos, d.m_nScrollY);
      EXPECT_EQ(d.m_rcSelection, (Rect{20, 20, 60, 60}));
    }
    d.Command(IDC_TOOL_PAN);
    Zoom(d, 5, 500);
    d.Send(IDC_ZOOM_LIST, CB_SETCURSEL, 6);
    d.OnZoomComboChange(d.m_hDlg);
    EXPECT_EQ(std::pair(d.m_siHorz.nPos, d.m_siVert.nPos), std::pair(500, 500));
    pointer.Press(100, 100);
    pointer.Move(76, 148);
    EXPECT_EQ(std::pair(d.m_nScrollX, d.m_nScrollY), std::pair(550, 400));
    EXPECT_EQ(GetScrollPos(d.Control(IDC_VERTICAL_SCROLL), SB_CTL), 400);
    pointer.Move(64, 124);
    EXPECT_EQ(std::pair(d.m_nScrollX, d.m_nScrollY), std::pair(575, 450));
    pointer.Release(64, 124);
    pointer.Move(150, 150);
    EXPECT_EQ(d.m_nScrollX, 575);
  });
}

struct ShownMenu {
  static inline std::string items;
  static void CALLBACK Look(HWND, UINT, UINT_PTR, DWORD) {
    const HWND window = FindWindowW(L"#32768", nullptr);
    const auto menu = reinterpret_cast<HMENU>(SendMessageW(window, MN_GETHMENU, 0, 0));
    if (window == nullptr || menu == nullptr) return;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
      items += std::to_string(GetMenuItemID(menu, i));
      items += GetMenuState(menu, static_cast<UINT>(i), MF_BYPOSITION) & MF_CHECKED ? "* " : " ";
    }
    EndMenu();
  }
};

TEST_F(PreviewTools, ContextMenusOfTheToolButtons) {
  WithTool(IDC_TOOL_PAN, [](TestDialog& d, Pointer&) {
    SetWindowPos(d.m_hDlg, nullptr, -500, -10, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    const UINT_PTR timer = SetTimer(nullptr, 0, 30, ShownMenu::Look);
    const auto itemsAt = [&](LONG x, LONG y) {
      ShownMenu::items.clear();
      EXPECT_EQ(d.OnContextMenu(d.m_hDlg, 0, MAKELPARAM(x, y)), 1);
      return ShownMenu::items;
    };
    RECT zoom = {};
    RECT rotate = {};
    GetWindowRect(d.Control(IDC_TOOL_ZOOM), &zoom);
    GetWindowRect(d.Control(IDC_TOOL_ROTATE), &rotate);
    ASSERT_LT(zoom.left, 0);
    EXPECT_EQ(itemsAt(zoom.left, zoom.top), "3001* 3002 ");
    d.SetZoomDirection(d.m_hDlg, IDM_ZOOM_OUT);
    EXPECT_EQ(itemsAt(zoom.left + 1, zoom.bottom), "3001 3002* ");
    EXPECT_EQ(itemsAt(rotate.left + 1, rotate.bottom), "3003 3004 3005 ");
    EXPECT_EQ(itemsAt(zoom.left + 1, zoom.bottom + 1), "");
    KillTimer(nullptr, timer);
  });
}

TEST_F(PreviewTools, ARealPointerDrawsTheSameFrameInBothDirectionsOfReading) {
  const auto drag = [](TestDialog& d) {
    d.Command(IDC_TOOL_SELECT);
    const auto real = [&](int x, int y, DWORD button) {
      const POINT pane = PaneOrigin(d);
      SetCursorPos(pane.x + x, pane.y + y);
      mouse_event(button, 0, 0, 0, 0);
      for (int i = 0; i < 10; ++i) {
        Sleep(5);
        HandleMessages(d.m_hDlg);
      }
    };
    real(50, 50, 0);
    real(60, 60, 0);
    real(60, 60, MOUSEEVENTF_LEFTDOWN);
    real(110, 100, 0);
    real(110, 100, MOUSEEVENTF_LEFTUP);
    EXPECT_EQ(d.m_rcSelection, (Rect{64, 64, 116, 106}));
    EXPECT_EQ(d.m_rcFrame.left - d.m_rcPane.left, 60);
  };
  WithPage(1700, 2200, 200, drag);
  WithPage<MirroredDialog>(1700, 2200, 200, drag);
}

}  // namespace
