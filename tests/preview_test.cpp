// The preview pane as the user meets it: page, zoom, scrolling, tools, selection frame, menus, turning.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

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
  // The same, the tool for selection frames taken.
  void Framing(const SimulatedUser::Task& task, Content page = Quadrants(1700, 2200, 200, 200)) {
    const auto framing = [&task](SimulatedUser& user) {
      user.Press(IDC_TOOL_SELECT);
      task(user);
    };
    WithPage(framing, std::move(page));
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

void Repaint(const SimulatedUser& user, const RECT* part = nullptr) {
  InvalidateRect(user.Dialog(), part, TRUE);
  user.Settle();
}

void ScrollTo(const SimulatedUser& user, int x, int y) {
  user.Scroll(IDC_HORIZONTAL_SCROLL, SB_THUMBTRACK, x);
  user.Scroll(IDC_VERTICAL_SCROLL, SB_THUMBTRACK, y);
}

std::pair<int, int> Scrolled(const SimulatedUser& user) { return {user.ScrollX(), user.ScrollY()}; }

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
      ScrollTo(user, offset, offset);
      if (step % 2 == 0) Repaint(user);
      ExpectPage(user, std::clamp(static_cast<int>(1700 - pane.cx / zoom), 0, offset),
                 std::clamp(static_cast<int>(2200 - pane.cy / zoom), 0, offset));
    }
  });
}

TEST_F(Preview, FramesInAllDirectionsWithTheirMinimumSide) {
  Framing([](SimulatedUser& user) {
    const PaneScreen before = user.Pane();
    const std::tuple<POINT, POINT, Rect> drags[] = {
        {{60, 60}, {110, 100}, {64, 64, 116, 106}},
        {{110, 100}, {60, 60}, {63, 63, 116, 106}},
        {{100, 100}, {102, 97}, {106, 96, 116, 106}},
        {{100, 100}, {97, 102}, {96, 106, 106, 116}},
        {{4, 4}, {2, 2}, {0, 0, 10, 10}},
        {{203, 263}, {204, 264}, {206, 269, 216, 279}},
        {{204, 264}, {209, 269}, {206, 269, 216, 279}},   // outward from the last pixel that can be seen
        {{150, 200}, {215, 280}, {159, 212, 216, 279}}};  // the band ends with the image
    for (const auto& [from, to, millimetres] : drags) {
      user.Drag(from.x, from.y, to.x, to.y);
      EXPECT_EQ(user.Frame(), millimetres) << from.x << "," << from.y;
      EXPECT_FALSE(user.Pane() == before);
      user.Drag(20, 20, 20, 20);  // a click, however often the platform repeats the last movement
      EXPECT_EQ(user.Frame(), Rect{});
      EXPECT_TRUE(user.Pane() == before) << from.x << "," << from.y;
    }
    user.Drag(206, 100, 150, 150);  // from beside the image
    EXPECT_EQ(user.Frame(), Rect{});
  });
  Framing(
      [](SimulatedUser& user) {
        user.Drag(51, 132, 102, 264);
        EXPECT_EQ(user.Frame(), (Rect{108, 140, 216, 279})) << "each axis by its own resolution";
      },
      Quadrants(850, 2200, 100, 200));
}

TEST_F(Preview, AFrameInvertsItsOutlineAndLeavesNoTrace) {
  Framing([](SimulatedUser& user) {
    for (const int step : {kZoom100, kZoom50, kZoom400}) {  // whole, whole and smaller, partly in view
      user.Choose(IDC_ZOOM_LIST, kZoom100);
      user.Press(IDC_TOOL_SELECT);
      user.Drag(60, 60, 110, 100);
      user.Choose(IDC_ZOOM_LIST, step);
      ScrollTo(user, step == kZoom400 ? 600 : 0, 0);
      const PaneScreen framed = user.Pane();
      EXPECT_TRUE(framed.HasBlackBorder());
      // A part of the pane that was covered, as a window before it leaves it.
      RECT part = user.Area(IDC_PREVIEW_PANE);
      MapWindowPoints(nullptr, user.Dialog(), reinterpret_cast<POINT*>(&part), 2);
      part = {part.left - 5, part.top + 30, part.left + 90, part.top + 80};
      Repaint(user, &part);
      EXPECT_TRUE(user.Pane() == framed) << step;
      user.Press(IDC_TOOL_SELECT);
      EXPECT_EQ(user.Frame(), Rect{});
      const PaneScreen bare = user.Pane();
      EXPECT_TRUE(bare.HasBlackBorder());
      int inverted = 0;
      for (std::size_t i = 0; i < bare.pixels.size(); ++i) {
        if (bare.pixels[i] == framed.pixels[i]) continue;
        ASSERT_EQ(bare.pixels[i] ^ framed.pixels[i], 0xFFFFFFU);
        ++inverted;
      }
      EXPECT_GT(inverted, 20) << step;
      EXPECT_LE(inverted, 2 * (bare.width + bare.height)) << "an outline";
      Repaint(user);
      EXPECT_TRUE(user.Pane() == bare) << "a trace was left";
    }
  });
}

TEST_F(Preview, TheNineByNineCornerResizes) {
  Framing([](SimulatedUser& user) {
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
    ScrollTo(user, 700, 700);
    Repaint(user);
    user.Press(IDC_TOOL_PAN);
    user.Click(1, 1);  // where the pane's corner stands for that of a frame out of view
    EXPECT_EQ(user.Frame(), frame);
  });
}

TEST_F(Preview, ADragThatLostItsReleaseIsFinished) {
  // A movement first: Wine 10 told of the real pointer. Deactivated: another window's handle stands where a press has
  // its position.
  const auto press = [](SimulatedUser& user, UINT message) {
    user.Point(WM_MOUSEMOVE, 80, 60);
    user.Point(message, 30, 30);
  };
  const SimulatedUser::Task ends[] = {
      [&press](SimulatedUser& user) { press(user, WM_LBUTTONDOWN); },
      [&press](SimulatedUser& user) { press(user, WM_ACTIVATE); },
      [](SimulatedUser& user) { user.Press(IDC_TOOL_ZOOM); },
      [](SimulatedUser& user) { user.Press(IDM_ROTATE_UPSIDE_DOWN); },
      [](SimulatedUser& user) { user.Scroll(IDC_VERTICAL_SCROLL, SB_PAGEDOWN); },
      [](SimulatedUser& user) { user.Scroll(IDC_VERTICAL_SCROLL, SB_ENDSCROLL); },
  };
  Framing([&](SimulatedUser& user) {
    for (const auto& end : ends) {
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
    const std::tuple<int, int, int> requests[] = {
        {SB_LINELEFT, 0, 690}, {SB_LINERIGHT, 0, 710},     {SB_PAGELEFT, 0, 700 - page}, {SB_PAGERIGHT, 0, 700 + page},
        {SB_LEFT, 0, 0},       {SB_THUMBTRACK, 42, 42},    {SB_THUMBTRACK, 0, 0},        {SB_THUMBTRACK, 1699, last},
        {SB_RIGHT, 0, last},   {SB_THUMBPOSITION, 9, 700}, {SB_ENDSCROLL, 0, 700}};
    for (const auto& [request, thumb, offset] : requests) {
      ScrollTo(user, 700, 600);
      user.Scroll(IDC_HORIZONTAL_SCROLL, request, thumb);
      EXPECT_NEAR(user.ScrollX(), offset, offset == last ? 2 : 0) << request;  // the bar is longer than the pane
      EXPECT_EQ(user.ScrollY(), 600) << request;
      ExpectPage(user, offset, 600);
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
    const auto cross = PictureOf(IDC_CURSOR_CROSS, 32, IMAGE_CURSOR);
    const auto hand = PictureOf(IDI_PAN, 16);
    for (const auto& [tool, inside, pressed] :
         {std::tuple{IDC_TOOL_SELECT, cross, cross},
          {IDM_ZOOM_OUT, PictureOf(IDI_ZOOM_OUT, 16), PictureOf(IDI_ZOOM_OUT, 16)},
          {IDM_ZOOM_IN, PictureOf(IDI_ZOOM_IN, 16), PictureOf(IDI_ZOOM_IN, 16)},
          {IDC_TOOL_PAN, hand, PictureOf(IDI_PANNING, 16)}}) {
      user.Press(tool);
      const bool zooms = tool == IDM_ZOOM_OUT || tool == IDM_ZOOM_IN;
      EXPECT_EQ(GetFocus(), user.Control(zooms ? IDC_TOOL_ZOOM : tool)) << "as if it had been clicked";
      if (tool == IDM_ZOOM_OUT) EXPECT_EQ(buttonShows(IDC_TOOL_ZOOM), PictureOf(IDI_ZOOM_OUT, 20));
      if (tool == IDM_ZOOM_IN) EXPECT_EQ(buttonShows(IDC_TOOL_ZOOM), PictureOf(IDI_ZOOM_IN, 20));
      user.Point(WM_MOUSEMOVE, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), inside) << tool;
      EXPECT_EQ(GetCapture(), user.Dialog());
      user.Point(WM_LBUTTONDOWN, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), pressed) << tool;
      user.Point(WM_LBUTTONUP, 30, 30);
      EXPECT_EQ(PixelsOf(GetCursor()), inside) << tool;
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
    }
    user.Press(IDC_TOOL_PAN);
    const HWND other = CreateWindowW(L"STATIC", L"", WS_VISIBLE, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    SetActiveWindow(other);
    user.Point(WM_MOUSEMOVE, 30, 30);
    EXPECT_EQ(GetCapture(), nullptr) << "another window is active";
    DestroyWindow(other);
    for (const auto& [part, id] : {std::pair{1, IDI_AREA_POSITION}, {2, IDI_AREA_SIZE}}) {
      EXPECT_EQ(PixelsOf(reinterpret_cast<HICON>(user.Ask(IDC_STATUS_BAR, SB_GETICON, static_cast<WPARAM>(part)))),
                PictureOf(id, 16));
    }
  });
}

TEST_F(Preview, ZoomClicksCentreAndPanFollows) {
  Framing([](SimulatedUser& user) {
    user.Drag(20, 20, 60, 60);
    const Rect frame = user.Frame();
    for (const auto& [direction, step, zoomed] : {std::tuple{IDM_ZOOM_IN, kZoom100, 150},
                                                  {IDM_ZOOM_IN, kZoom400, 400},
                                                  {IDM_ZOOM_OUT, kZoom400, 300},
                                                  {IDM_ZOOM_OUT, kZoom50, 50}}) {
      user.Choose(IDC_ZOOM_LIST, step);
      ScrollTo(user, 0, 0);
      const double before = user.ZoomPercent() * kScaleOfOnePercent;
      user.Press(direction);
      user.Click(90, 120);
      EXPECT_EQ(user.ZoomPercent(), zoomed);
      // Wine 8 leaves out the first row of a picture at some offsets.
      const auto belowFirstRow = [](const PaneScreen& pane) {
        return std::vector(pane.pixels.begin() + std::ptrdiff_t{2} * pane.width, pane.pixels.end());
      };
      const auto shown = belowFirstRow(user.Pane());
      Repaint(user);
      EXPECT_TRUE(belowFirstRow(user.Pane()) == shown) << "the frame stood at the old scale";
      const auto offset = [&, percent = zoomed](int clicked, int pane, int image) {
        const double half = pane / (2 * percent * kScaleOfOnePercent);
        const int centred = static_cast<int>(static_cast<int>(clicked / before) - half);
        return std::clamp(centred, 0, std::max(0, static_cast<int>(image - 2 * half)));
      };
      const SIZE pane = user.PaneSize();
      EXPECT_EQ(Scrolled(user), std::pair(offset(90, pane.cx, 1700), offset(120, pane.cy, 2200))) << zoomed;
      user.Press(IDC_TOOL_PAN);
      user.Press(direction);
      EXPECT_EQ(user.Frame(), frame);
    }
    user.Choose(IDC_ZOOM_LIST, kZoom400);
    user.Press(IDC_TOOL_PAN);
    ScrollTo(user, 500, 500);
    user.Drag(100, 100, 76, 148);
    EXPECT_EQ(Scrolled(user), std::pair(550, 400));
    ExpectPage(user, 550, 400);
    user.Point(WM_MOUSEMOVE, 150, 150);
    EXPECT_EQ(user.ScrollX(), 550) << "the button is up";
  });
}

TEST_F(Preview, TurningTakesPictureFrameAndViewAlong) {
  // The frame is in view, or scrolled out of it.
  const std::tuple<int, int, Rect, const char*> turns[] = {{IDM_ROTATE_RIGHT, 0, {205, 11, 258, 116}, "BRYG"},
                                                           {IDC_TOOL_ROTATE, 700, {205, 11, 258, 116}, "BRYG"},
                                                           {IDM_ROTATE_LEFT, 700, {21, 99, 74, 204}, "GYRB"},
                                                           {IDM_ROTATE_UPSIDE_DOWN, 0, {99, 205, 204, 258}, "YBGR"}};
  Framing([&turns](SimulatedUser& user) {
    for (const auto& [command, scroll, frame, expected] : turns) {
      user.Press(IDC_PREVIEW);
      user.Press(IDC_TOOL_SELECT);
      user.Drag(10, 20, 110, 70);
      EXPECT_EQ(user.Frame(), (Rect{11, 21, 116, 74}));
      user.Choose(IDC_ZOOM_LIST, kZoom400);
      ScrollTo(user, 0, scroll);
      user.Press(command);
      EXPECT_EQ(user.Frame(), frame) << command;
      EXPECT_EQ(user.Selected(IDC_ZOOM_LIST), kZoom100);
      EXPECT_EQ(Scrolled(user), std::pair(0, 0));
      const bool quarter = command != IDM_ROTATE_UPSIDE_DOWN;
      EXPECT_EQ(user.Bar(IDC_VERTICAL_SCROLL).nMax, quarter ? 1700 : 2200);
      user.Press(IDC_TOOL_SELECT);
      const PaneScreen screen = user.Pane();
      const int right = quarter ? std::min(260, screen.width - 5) : 200;
      const int bottom = quarter ? 200 : 260;
      const std::string corners = {screen.Letter(4, 4), screen.Letter(right, 4), screen.Letter(4, bottom),
                                   screen.Letter(right, bottom)};
      EXPECT_EQ(corners, expected) << command;
      user.Press(command);
      EXPECT_EQ(user.Frame(), Rect{}) << "there was none any more";
    }
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
  Framing([&](SimulatedUser& user) {
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
    user.Press(IDM_ROTATE_RIGHT);  // from the menu, which a disabled button has too
    host.scanner->SetFaults({.streamContent = Quadrants(90, 90, 100, 100)});
    user.Press(IDC_SCAN);
  });
  const GdiPlus session;
  EXPECT_EQ(Picture(host.Reported()).Corners(), "RGBY") << "turned as no preview was";
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
    EXPECT_EQ(itemsAt(rotate.right, rotate.bottom), "3003 3004 3005 ");
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
