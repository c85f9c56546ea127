// The preview pane as the user meets it: page, zoom, scrolling, tools, selection frame, menus, turning.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/image_samples.h"
#include "tests/support/scan_host.h"

namespace {

using namespace harness;
using preview::Rect;

constexpr double kScaleOfOnePercent = 0.0012;  // pane pixels per image pixel

class Preview : public testing::Test {
 protected:
  // A user with a preview of a page of quadrants, RG over BY. The one that it has if nothing else is said is letter
  // paper at 200 dpi, which covers 204 x 264 pixels at 100 %, 24 to an inch.
  void WithPage(const SimulatedUser::Task& task, Content page = Quadrants(1700, 2200, 200, 200)) {
    host.scanner->SetFaults({.streamContent = std::move(page)});
    bool ran = false;
    host.Run([&](SimulatedUser& user) {
      user.Press(IDC_PREVIEW);
      user.Settle();
      task(user);
      ran = true;
    });
    EXPECT_TRUE(ran);
  }
  void WithTool(int tool, const SimulatedUser::Task& task) {
    WithPage([&](SimulatedUser& user) {
      user.Press(tool);
      task(user);
    });
  }
  ScanHost host;
};

// The letter paper in the pane, with this image pixel at the top left.
void ExpectPage(const SimulatedUser& user, int scrollX, int scrollY) {
  const double zoom = user.ZoomPercent() * kScaleOfOnePercent;
  const PaneScreen screen = user.Pane();
  for (int y = 4; y < screen.height - 4; y += 11) {
    for (int x = 4; x < screen.width - 4; x += 11) {
      const double column = scrollX + (x - 1) / zoom;
      const double row = scrollY + (y - 1) / zoom;
      const double edge =
          std::min({std::abs(column - 850), std::abs(column - 1700), std::abs(row - 1100), std::abs(row - 2200)});
      if (edge * zoom < 2.5) continue;
      const char expected = column > 1700 || row > 2200 ? 'k' : "RGBY"[(column > 850 ? 1 : 0) + (row > 1100 ? 2 : 0)];
      ASSERT_EQ(screen.Letter(x, y), expected) << zoom << " at " << x << "," << y;
    }
  }
}

std::vector<DWORD> PictureOf(int id, int size, UINT type = IMAGE_ICON) {
  const HANDLE loaded = LoadImageW(Library(), MAKEINTRESOURCEW(id), type, size, size, 0);
  const platform::Icon owned(static_cast<HICON>(loaded));
  return PixelsOf(owned.get());
}

void Repaint(const SimulatedUser& user) {
  InvalidateRect(user.Dialog(), nullptr, TRUE);
  user.Settle();
}

TEST_F(Preview, EveryZoomStepAtSeveralOffsets) {
  WithPage([](SimulatedUser& user) {
    const SIZE pane = user.PaneSize();
    for (int step = kZoom50; step <= kZoom400; ++step) {
      user.Choose(IDC_ZOOM_LIST, step);
      const double zoom = user.ZoomPercent() * kScaleOfOnePercent;
      RECT bar = {};
      GetClientRect(user.Control(IDC_HORIZONTAL_SCROLL), &bar);
      // A scroll bar takes no page that is longer than its range.
      EXPECT_EQ(user.Bar(IDC_HORIZONTAL_SCROLL).nPage, std::min(static_cast<UINT>(bar.right / zoom), 1701U));
      EXPECT_EQ(user.Bar(IDC_VERTICAL_SCROLL).nMax, 2200);
      const int offset = step % 2 == 0 ? 2199 : 333;
      user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, offset);
      user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, offset);
      if (step % 2 == 0) Repaint(user);
      ExpectPage(user, std::clamp(static_cast<int>(1700 - pane.cx / zoom), 0, offset),
                 std::clamp(static_cast<int>(2200 - pane.cy / zoom), 0, offset));
    }
  });
}

TEST_F(Preview, FramesInAllDirectionsWithTheirMinimumSide) {
  WithTool(IDC_TOOL_SELECT, [](SimulatedUser& user) {
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
      const PaneScreen before = user.Pane();
      user.Drag(c.x, c.y, c.toX, c.toY);
      EXPECT_EQ(user.Frame(), c.frame) << c.x << "," << c.y;
      EXPECT_TRUE(user.Pane().HasBlackBorder());
      EXPECT_FALSE(user.Pane() == before);
      user.Drag(20, 20, 20, 20);  // a click, however often the platform repeats the last movement
      EXPECT_EQ(user.Frame(), Rect{});
      EXPECT_TRUE(user.Pane() == before) << c.x << "," << c.y;
    }
    user.Drag(206, 100, 150, 150);  // from beside the image
    EXPECT_EQ(user.Frame(), Rect{});
  });
  WithPage(
      [](SimulatedUser& user) {
        user.Press(IDC_TOOL_SELECT);
        user.Drag(51, 132, 102, 264);
        EXPECT_EQ(user.Frame(), (Rect{108, 140, 216, 279})) << "each axis by its own resolution";
      },
      Quadrants(850, 2200, 100, 200));
}

TEST_F(Preview, AFrameInvertsItsOutlineAndNothingElse) {
  WithTool(IDC_TOOL_SELECT, [](SimulatedUser& user) {
    user.Drag(60, 60, 110, 100);
    for (const int step : {kZoom100, kZoom50, kZoom400}) {  // whole, whole and smaller, partly in view
      user.Choose(IDC_ZOOM_LIST, step);
      user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, step == kZoom400 ? 600 : 0);
      const PaneScreen framed = user.Pane();
      EXPECT_TRUE(framed.HasBlackBorder());
      user.Press(IDC_TOOL_SELECT);
      EXPECT_EQ(user.Frame(), Rect{});
      const PaneScreen bare = user.Pane();
      EXPECT_TRUE(bare.HasBlackBorder());
      std::set<int> columns, rows;
      int inverted = 0;
      for (int y = 0; y < bare.height; ++y) {
        for (int x = 0; x < bare.width; ++x) {
          if (bare.At(x, y) == framed.At(x, y)) continue;
          EXPECT_EQ(bare.At(x, y) ^ framed.At(x, y), 0xFFFFFFU);
          columns.insert(x);
          rows.insert(y);
          ++inverted;
        }
      }
      ASSERT_GT(inverted, 20) << step;
      EXPECT_LE(inverted, 2 * (*columns.rbegin() - *columns.begin() + *rows.rbegin() - *rows.begin() + 2));
      Repaint(user);
      EXPECT_TRUE(user.Pane() == bare) << "a trace was left";
      user.Choose(IDC_ZOOM_LIST, kZoom100);
      user.Press(IDC_TOOL_SELECT);
      user.Drag(60, 60, 110, 100);
    }
  });
}

TEST_F(Preview, TheNineByNineCornerResizes) {
  WithTool(IDC_TOOL_SELECT, [](SimulatedUser& user) {
    const auto resizing = PictureOf(IDC_CURSOR_SIZE_NWSE, 32, IMAGE_CURSOR);
    const auto crossing = PictureOf(IDC_CURSOR_CROSS, 32, IMAGE_CURSOR);
    const PaneScreen clean = user.Pane();
    for (const int offset : {-5, -4, 1, 4, 5}) {
      for (const bool horizontal : {true, false}) {
        user.Drag(60, 60, 110, 100);  // its corner is at 109,100
        const Rect drawn = user.Frame();
        const int x = 109 + (horizontal ? offset : 4);
        const int y = 100 + (horizontal ? -4 : offset);
        const bool resizes = std::abs(offset) < 5;
        user.Point(WM_MOUSEMOVE, x, y);
        EXPECT_EQ(PixelsOf(GetCursor()), resizes ? resizing : crossing) << offset;
        user.Click(x, y);
        EXPECT_EQ(user.Frame(), (resizes ? drawn : Rect{})) << offset;
        if (!resizes) continue;
        user.Drag(x, y, 133, 124);
        EXPECT_EQ(user.Frame(), (Rect{64, 64, 141, 131})) << "the anchor is the drawn corner";
        user.Press(IDC_TOOL_SELECT);
        EXPECT_TRUE(user.Pane() == clean) << "a rubber band was not erased";
      }
    }
    user.Drag(24, 24, 60, 60);
    const Rect frame = user.Frame();
    user.Choose(IDC_ZOOM_LIST, kZoom400);
    user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, 700);
    user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, 700);
    Repaint(user);
    user.Press(IDC_TOOL_PAN);
    user.Click(1, 1);  // where the pane's corner stands for that of a frame out of view
    EXPECT_EQ(user.Frame(), frame);
  });
}

TEST_F(Preview, ADragThatLostItsReleaseIsFinished) {
  using End = std::function<void(SimulatedUser&)>;
  std::vector<End> ends = {[](SimulatedUser& user) {
                             user.Point(WM_MOUSEMOVE, 80, 60);
                             user.Point(WM_LBUTTONDOWN, 30, 30);
                           },
                           [](SimulatedUser& user) { user.Press(IDC_TOOL_ZOOM); },
                           [](SimulatedUser& user) { user.Press(IDM_ROTATE_UPSIDE_DOWN); }};
  for (const int request : {SB_PAGEDOWN, SB_ENDSCROLL}) {
    ends.push_back([request](SimulatedUser& user) { user.Scroll(IDC_VERTICAL_SCROLL, request, 50); });
  }
  WithTool(IDC_TOOL_SELECT, [&](SimulatedUser& user) {
    for (const End& end : ends) {
      user.Choose(IDC_ZOOM_LIST, kZoom400);
      user.Press(IDC_TOOL_SELECT);
      user.Point(WM_MOUSEMOVE, 110, 100);
      user.Point(WM_LBUTTONDOWN, 110, 100);
      user.Point(WM_MOUSEMOVE, 60, 60);
      EXPECT_EQ(GetCapture(), user.Dialog());
      user.Point(WM_MOUSEMOVE, -5, 60);  // out of the pane, where another window gets the release
      EXPECT_EQ(GetCapture(), nullptr);
      user.Point(WM_MOUSEMOVE, 80, 60);
      Repaint(user);  // in the middle of the drag
      end(user);
      const Rect frame = user.Frame();
      EXPECT_GE(std::min(frame.width(), frame.height()), 10);
      user.Point(WM_MOUSEMOVE, 40, 140);
      EXPECT_EQ(user.Frame(), frame) << "it went on";
      user.Press(IDC_TOOL_SELECT);
      const PaneScreen after = user.Pane();
      Repaint(user);
      EXPECT_TRUE(user.Pane() == after) << "something was left of rubber band and frame";
    }
  });
}

TEST_F(Preview, EveryScrollRequest) {
  WithPage([](SimulatedUser& user) {
    user.Choose(IDC_ZOOM_LIST, kZoom400);
    const int page = static_cast<int>(user.Bar(IDC_HORIZONTAL_SCROLL).nPage);
    const int last = static_cast<int>(1700 - user.PaneSize().cx / (400 * kScaleOfOnePercent));
    const struct {
      int request, thumb, offset;
    } cases[] = {{SB_LINELEFT, 0, 690},         {SB_LINERIGHT, 0, 710},     {SB_PAGELEFT, 0, 700 - page},
                 {SB_PAGERIGHT, 0, 700 + page}, {SB_THUMBTRACK, 42, 42},    {SB_LEFT, 0, 0},
                 {SB_RIGHT, 0, last},           {SB_THUMBPOSITION, 9, 700}, {SB_ENDSCROLL, 0, 700},
                 {SB_THUMBTRACK, 0, 0},         {SB_THUMBTRACK, 1699, last}};
    user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, 600);
    for (const auto& c : cases) {
      user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, 700);
      user.Scroll(IDC_HORIZONTAL_SCROLL, c.request, c.thumb);
      EXPECT_NEAR(user.ScrollX(), c.offset, c.offset == last ? 2 : 0) << c.request;  // the bar is longer than the pane
      EXPECT_EQ(user.ScrollY(), 600) << c.request;
      ExpectPage(user, c.offset, 600);
    }
    const int before = user.ScrollX();
    user.Send(WM_HSCROLL, SB_LEFT, reinterpret_cast<LPARAM>(user.Control(IDC_BRIGHTNESS)));
    EXPECT_EQ(user.ScrollX(), before) << "the slider's";
  });
}

TEST_F(Preview, PointerAndButtonsShowWhatAClickDoes) {
  WithPage([](SimulatedUser& user) {
    const SIZE pane = user.PaneSize();
    const auto arrow = PixelsOf(LoadCursorW(nullptr, IDC_ARROW));
    const auto buttonShows = [&](int button) {
      return PixelsOf(reinterpret_cast<HICON>(user.Ask(button, BM_GETIMAGE, IMAGE_ICON)));
    };
    for (const auto& [button, icon] : {std::pair{IDC_TOOL_SELECT, IDI_TOOL_SELECT},
                                       {IDC_TOOL_ZOOM, IDI_ZOOM_IN},
                                       {IDC_TOOL_ROTATE, IDI_ROTATE_RIGHT},
                                       {IDC_TOOL_PAN, IDI_PAN}}) {
      EXPECT_EQ(buttonShows(button), PictureOf(icon, 20)) << button;
    }
    const struct {
      int command, inside, pressed;
    } cases[] = {{IDC_TOOL_SELECT, IDC_CURSOR_CROSS, IDC_CURSOR_CROSS},
                 {IDM_ZOOM_OUT, IDI_ZOOM_OUT, IDI_ZOOM_OUT},
                 {IDM_ZOOM_IN, IDI_ZOOM_IN, IDI_ZOOM_IN},
                 {IDC_TOOL_PAN, IDI_PAN, IDI_PANNING}};
    for (const auto& c : cases) {
      const bool isCursor = c.inside == IDC_CURSOR_CROSS;
      const auto picture = [&](int id) {
        return PictureOf(id, isCursor ? 32 : 16, isCursor ? IMAGE_CURSOR : IMAGE_ICON);
      };
      user.Press(c.command);
      user.Point(WM_MOUSEMOVE, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), picture(c.inside)) << c.command;
      EXPECT_EQ(GetCapture(), user.Dialog());
      user.Point(WM_LBUTTONDOWN, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), picture(c.pressed)) << c.command;
      user.Point(WM_LBUTTONUP, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), picture(c.inside)) << c.command;
      user.Point(WM_MOUSEMOVE, 30, pane.cy + 1);
      EXPECT_EQ(PixelsOf(GetCursor()), arrow);
      EXPECT_EQ(GetCapture(), nullptr);
      user.Point(WM_MOUSEMOVE, 30, pane.cy);  // the edge counts as inside
      EXPECT_EQ(GetCapture(), user.Dialog());
      SetCapture(user.Control(IDC_ZOOM_LIST));
      user.Point(WM_MOUSEMOVE, 30, 31);
      EXPECT_EQ(GetCapture(), user.Dialog()) << "somebody else took it";
      user.Press(IDC_ZOOM_LIST, CBN_DROPDOWN);
      EXPECT_EQ(GetCapture(), nullptr) << "without a tool nothing else would give the capture up";
      user.Point(WM_MOUSEMOVE, 30, 30);
      EXPECT_EQ(GetCapture(), nullptr) << "no tool is current";
      if (!isCursor && c.inside != IDI_PAN) EXPECT_EQ(buttonShows(IDC_TOOL_ZOOM), PictureOf(c.inside, 20));
    }
    for (const auto& [part, id] : {std::pair{1, IDI_AREA_POSITION}, {2, IDI_AREA_SIZE}}) {
      EXPECT_EQ(PixelsOf(reinterpret_cast<HICON>(user.Ask(IDC_STATUS_BAR, SB_GETICON, static_cast<WPARAM>(part)))),
                PictureOf(id, 16));
    }
  });
}

TEST_F(Preview, ZoomClicksCentreAndPanFollows) {
  WithTool(IDC_TOOL_SELECT, [](SimulatedUser& user) {
    user.Drag(20, 20, 60, 60);
    const Rect frame = user.Frame();
    const struct {
      int direction, step, percent;
    } cases[] = {{IDM_ZOOM_IN, 2, 150}, {IDM_ZOOM_IN, 6, 400}, {IDM_ZOOM_OUT, 6, 300}, {IDM_ZOOM_OUT, 0, 50}};
    for (const auto& c : cases) {
      user.Choose(IDC_ZOOM_LIST, c.step);
      user.Scroll(IDC_VERTICAL_SCROLL, SB_TOP);
      user.Scroll(IDC_HORIZONTAL_SCROLL, SB_LEFT);
      const int before = user.ZoomPercent();
      user.Press(c.direction);
      user.Click(90, 120);
      EXPECT_EQ(user.ZoomPercent(), c.percent);
      const auto offset = [&](int clicked, int pane, int image) {
        const double half = pane / (2 * c.percent * kScaleOfOnePercent);
        const int centred = static_cast<int>(static_cast<int>(clicked / (before * kScaleOfOnePercent)) - half);
        return std::clamp(centred, 0, std::max(0, static_cast<int>(image - 2 * half)));
      };
      const int x = offset(90, user.PaneSize().cx, 1700);
      const int y = offset(120, user.PaneSize().cy, 2200);
      EXPECT_EQ(std::pair(user.ScrollX(), user.ScrollY()), std::pair(x, y)) << c.percent;
      user.Press(IDC_TOOL_PAN);
      user.Press(c.direction);
      EXPECT_EQ(user.Frame(), frame);
    }
    user.Choose(IDC_ZOOM_LIST, kZoom400);
    user.Press(IDC_TOOL_PAN);
    user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, 500);
    user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, 500);
    user.Drag(100, 100, 76, 148);
    EXPECT_EQ(std::pair(user.ScrollX(), user.ScrollY()), std::pair(550, 400));
    ExpectPage(user, 550, 400);
    user.Point(WM_MOUSEMOVE, 150, 150);
    EXPECT_EQ(user.ScrollX(), 550) << "the button is up";
  });
}

TEST_F(Preview, TurningTakesPictureFrameAndViewAlong) {
  const struct {
    int command;
    int scroll;  // the frame in view, or scrolled out of it
    Rect frame;
    const char* corners;
  } cases[] = {{IDM_ROTATE_RIGHT, 0, {205, 11, 258, 116}, "BRYG"},
               {IDC_TOOL_ROTATE, 700, {205, 11, 258, 116}, "BRYG"},
               {IDM_ROTATE_LEFT, 700, {21, 99, 74, 204}, "GYRB"},
               {IDM_ROTATE_UPSIDE_DOWN, 0, {99, 205, 204, 258}, "YBGR"}};
  for (const auto& c : cases) {
    WithTool(IDC_TOOL_SELECT, [&](SimulatedUser& user) {
      user.Drag(10, 20, 110, 70);
      EXPECT_EQ(user.Frame(), (Rect{11, 21, 116, 74}));
      user.Choose(IDC_ZOOM_LIST, kZoom400);
      user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, c.scroll);
      user.Press(c.command);
      EXPECT_EQ(user.Frame(), c.frame) << c.command;
      EXPECT_EQ(user.Selected(IDC_ZOOM_LIST), kZoom100);
      EXPECT_EQ(std::pair(user.ScrollX(), user.ScrollY()), std::pair(0, 0));
      const bool quarter = c.command != IDM_ROTATE_UPSIDE_DOWN;
      EXPECT_EQ(user.Bar(IDC_VERTICAL_SCROLL).nMax, quarter ? 1700 : 2200);
      user.Press(IDC_TOOL_SELECT);
      const PaneScreen screen = user.Pane();
      const int right = quarter ? std::min(260, screen.width - 5) : 200;
      const int bottom = quarter ? 200 : 260;
      const std::string corners = {screen.Letter(4, 4), screen.Letter(right, 4), screen.Letter(4, bottom),
                                   screen.Letter(right, bottom)};
      EXPECT_EQ(corners, c.corners) << c.command;
      user.Press(c.command);
      EXPECT_EQ(user.Frame(), Rect{});
    });
  }
}

TEST_F(Preview, WhateverCoversThePaneLeavesNoTrace) {
  WithTool(IDC_TOOL_SELECT, [](SimulatedUser& user) {
    const auto cover = [&] {
      const RECT pane = user.Area(IDC_PREVIEW_PANE);
      const HWND window = CreateWindowExW(WS_EX_TOPMOST | WS_EX_NOACTIVATE, L"STATIC", L"", WS_POPUP | WS_VISIBLE,
                                          pane.left + 20, pane.top - 40, 80, 300, nullptr, nullptr, nullptr, nullptr);
      user.Settle();
      DestroyWindow(window);
      RECT part = {pane.left - 5, pane.top + 30, pane.left + 90, pane.top + 90};
      MapWindowPoints(nullptr, user.Dialog(), reinterpret_cast<POINT*>(&part), 2);
      InvalidateRect(user.Dialog(), &part, TRUE);
      user.Settle();
    };
    const PaneScreen empty = user.Pane();
    cover();
    EXPECT_TRUE(user.Pane() == empty);
    user.Drag(10, 10, 60, 60);
    const PaneScreen framed = user.Pane();
    cover();
    EXPECT_TRUE(user.Pane() == framed);
    user.Press(IDC_TOOL_SELECT);
    EXPECT_TRUE(user.Pane() == empty);
  });
}

TEST_F(Preview, WithoutAPreviewNothingIsDrawnAndNothingCanBeDone) {
  constexpr int kControls[] = {IDC_PREVIEW_PANE, IDC_ZOOM_LIST, IDC_TOOL_SELECT,       IDC_TOOL_ZOOM,
                               IDC_TOOL_ROTATE,  IDC_TOOL_PAN,  IDC_HORIZONTAL_SCROLL, IDC_VERTICAL_SCROLL};
  host.Run([](SimulatedUser& user) {
    const PaneScreen before = user.Pane();
    for (const int command : {IDM_ROTATE_RIGHT, IDC_TOOL_SELECT, IDM_ZOOM_IN}) user.Press(command);
    user.Press(IDC_ZOOM_LIST, CBN_SELCHANGE);
    user.Scroll(IDC_HORIZONTAL_SCROLL, SB_RIGHT);
    EXPECT_TRUE(user.Pane() == before);
  });
  // A preview that fails takes the one before with it.
  const std::size_t others = TemporaryPreviews().size();
  WithTool(IDC_TOOL_SELECT, [&](SimulatedUser& user) {
    for (const int control : kControls) EXPECT_TRUE(user.IsEnabled(control)) << control;
    EXPECT_EQ(TemporaryPreviews().size(), others + 1);
    user.Drag(10, 10, 60, 60);
    user.Choose(IDC_ZOOM_LIST, kZoom400);
    host.scanner->SetFaults({.cutAfterBytes = 300, .streamContent = Quadrants(90, 90, 100, 100)});
    user.Press(IDC_PREVIEW);
    user.Settle();
    for (const int control : kControls) EXPECT_FALSE(user.IsEnabled(control)) << control;
    EXPECT_EQ(TemporaryPreviews().size(), others);
    EXPECT_EQ(user.Frame(), Rect{});
    EXPECT_EQ(user.Selected(IDC_ZOOM_LIST), kZoom100);
    EXPECT_EQ(user.Pane().Letter(20, 20), '?') << "the old page stands";
  });
}

TEST_F(Preview, ContextMenusOfTheToolButtons) {
  WithPage([](SimulatedUser& user) {
    SetWindowPos(user.Dialog(), nullptr, -500, -10, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    const auto itemsAt = [&](LONG x, LONG y, HWND focus = nullptr) {
      user.menuItems.clear();
      user.Send(WM_CONTEXTMENU, reinterpret_cast<WPARAM>(focus), MAKELPARAM(x, y));
      return user.menuItems;
    };
    const RECT zoom = user.Area(IDC_TOOL_ZOOM);
    const RECT rotate = user.Area(IDC_TOOL_ROTATE);
    ASSERT_LT(zoom.left, 0);
    EXPECT_EQ(itemsAt(zoom.left, zoom.top), "3001* 3002 ");
    user.Press(IDM_ZOOM_OUT);
    EXPECT_EQ(itemsAt(zoom.left + 1, zoom.bottom), "3001 3002* ");
    EXPECT_EQ(itemsAt(rotate.left + 1, rotate.bottom), "3003 3004 3005 ");
    EXPECT_EQ(itemsAt(zoom.left + 1, zoom.bottom + 1), "");
    EXPECT_EQ(itemsAt(-1, -1, user.Control(IDC_TOOL_ROTATE)), "3003 3004 3005 ") << "by the keyboard";
    EXPECT_EQ(itemsAt(-1, -1, user.Control(IDC_SCAN)), "");
  });
}

TEST_F(Preview, BothDirectionsOfReadingShowAndFrameTheSamePage) {
  for (const char* language : {"0409", "040D"}) {
    host.language = language;
    const bool mirrored = host.language != std::string("0409");
    WithPage([&](SimulatedUser& user) {
      EXPECT_EQ((GetWindowLongPtrW(user.Dialog(), GWL_EXSTYLE) & WS_EX_LAYOUTRTL) != 0, mirrored);
      EXPECT_EQ(user.Area(IDC_PREVIEW_PANE).left < user.Area(IDC_ORIGINAL_SIZE).left, mirrored);
      ExpectPage(user, 0, 0);
      user.Press(IDC_TOOL_SELECT);
      const PaneScreen before = user.Pane();
      const auto real = [&](int x, int y, DWORD button) {
        const RECT pane = user.Area(IDC_PREVIEW_PANE);
        SetCursorPos(pane.left + x, pane.top + y);
        mouse_event(button, 0, 0, 0, 0);
        for (int i = 0; i < 10; ++i) {
          Sleep(5);
          user.Settle();
        }
      };
      real(50, 50, 0);
      real(60, 60, 0);
      real(60, 60, MOUSEEVENTF_LEFTDOWN);
      real(110, 100, 0);
      real(110, 100, MOUSEEVENTF_LEFTUP);
      EXPECT_EQ(user.Frame(), (Rect{64, 64, 116, 106}));
      EXPECT_EQ(before.At(60, 81) ^ user.Pane().At(60, 81), 0xFFFFFFU) << "the left side";
    });
  }
}

}  // namespace
