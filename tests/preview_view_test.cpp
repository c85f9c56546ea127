// The preview pane on the screen: image, frame, repainting, loading and turning.
#include "tests/support/pane_harness.h"

namespace {

using namespace harness;
using Mode = PreviewDrawMode;

class PreviewView : public PaneTest {};

// The letter of a page of 1700 x 2200 pixels at an image pixel; 0 too near an edge to tell.
char PageLetter(double x, double y, double zoom) {
  for (const double d : {x - 850, x - 1700, y - 1100, y - 2200}) {
    if (std::abs(d) * zoom < 2.5) return 0;
  }
  return x > 1700 || y > 2200 ? 'k' : "RGBY"[(x > 850 ? 1 : 0) + (y > 1100 ? 2 : 0)];
}

void ExpectPage(const TestDialog& d, double zoom) {
  const PaneScreen screen(d);
  for (int y = 4; y < screen.height - 4; y += 11) {
    for (int x = 4; x < screen.width - 4; x += 11) {
      const char expected = PageLetter(d.m_nScrollX + (x - 1) / zoom, d.m_nScrollY + (y - 1) / zoom, zoom);
      if (expected == 0) continue;
      ASSERT_EQ(screen.Letter(x, y), expected) << zoom << " at " << x << "," << y;
    }
  }
}

TEST_F(PreviewView, EveryZoomStepAtSeveralOffsets) {
  WithPage(1700, 2200, 200, [](TestDialog& d) {
    for (int i = 0; i < 7; ++i) {
      const double zoom = Scale(kZoomPercent[i]);
      d.Send(IDC_ZOOM_LIST, CB_SETCURSEL, static_cast<WPARAM>(i));
      d.Command(IDC_ZOOM_LIST, CBN_SELCHANGE);
      EXPECT_EQ(d.m_dZoom, zoom);
      RECT bar = {};
      GetClientRect(d.Control(IDC_HORIZONTAL_SCROLL), &bar);
      EXPECT_EQ(std::pair(d.m_siHorz.nPage, d.m_siVert.nMax), std::pair(static_cast<UINT>(bar.right / zoom), 2200));
      d.Send(IDC_ZOOM_LIST, CB_SETCURSEL, static_cast<WPARAM>(-1));
      d.SyncZoomCombo(d.m_hDlg);
      EXPECT_EQ(d.Send(IDC_ZOOM_LIST, CB_GETCURSEL), i);
      for (const int offset : {-50, 0, 333, 9999}) {
        d.m_nScrollX = d.m_nScrollY = offset;
        d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawZoom, zoom);
        const int largest = static_cast<int>(2200 - d.m_rcPane.height() / zoom);
        EXPECT_EQ(d.m_nScrollY, offset <= 0 || largest <= 0 ? 0 : std::min(offset, largest)) << zoom;
        ExpectPage(d, zoom);
      }
    }
  });
}

TEST_F(PreviewView, DrawingModesScrollAndClearAsTheyShould) {
  WithPage(1700, 2200, 200, [&](TestDialog& d) {
    const int maxX = static_cast<int>(1700 - d.m_rcPane.width() / 0.48);
    const int maxY = static_cast<int>(2200 - d.m_rcPane.height() / 0.48);
    const int centreX = static_cast<int>(850 - d.m_rcPane.width() / 0.96);
    const int centreY = static_cast<int>(1100 - d.m_rcPane.height() / 0.96);
    const struct {
      Mode mode;
      int x, y;
      bool clears;
    } cases[] = {{Mode::DrawZoomAtPoint, centreX, centreY, true},
                 {Mode::DrawScrollX, maxX, 5000, false},
                 {Mode::DrawScrollY, 5000, maxY, false},
                 {Mode::DrawReset, 0, 0, true},
                 {Mode::DrawRepaint, 5000, 5000, false},
                 {Mode::DrawPan, maxX, maxY, false},
                 {Mode::DrawZoom, maxX, maxY, true}};
    for (const auto& c : cases) {
      d.m_nScrollX = d.m_nScrollY = 5000;
      d.DrawPreviewImage(d.m_hDlg, 850, 1100, c.mode, 0.48);
      EXPECT_EQ(std::pair(d.m_nScrollX, d.m_nScrollY), std::pair(c.x, c.y)) << static_cast<int>(c.mode);
    }
    Load(d, 400, 300, 200);  // 48 x 36 pane pixels
    for (const auto& c : cases) {
      const RECT pane = {0, 0, d.m_rcPane.width(), d.m_rcPane.height()};
      FillRect(platform::WindowDC(d.Control(IDC_PREVIEW_PANE)).get(), &pane,
               static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
      d.m_nScrollX = d.m_nScrollY = 0;
      d.DrawPreviewImage(d.m_hDlg, 200, 150, c.mode, 0.12);
      const PaneScreen screen(d);
      EXPECT_EQ(screen.Letter(4, 4), 'R');
      EXPECT_EQ(screen.Letter(44, 32), 'Y');
      for (const auto& [x, y] : {std::pair{53, 4}, {4, 41}, {screen.width - 9, screen.height - 9}}) {
        EXPECT_EQ(screen.Letter(x, y), c.clears ? 'k' : 'K') << static_cast<int>(c.mode);
      }
    }
  });
}

TEST_F(PreviewView, AFileThatCannotBeReadKeepsTheMeasures) {
  WithPage(1700, 2200, 200, [&](TestDialog& d) {
    ASSERT_TRUE(DeleteFileW(d.m_wstrPreviewFile));
    d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawRepaint, d.m_dZoom);
    EXPECT_EQ(PaneScreen(d).Letter(4, 4), 'R');
    d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawReset, d.m_dZoom);
    EXPECT_EQ(PaneScreen(d).Letter(4, 4), 'k');
    EXPECT_EQ(d.m_nImageWidth, 1700U);
    EXPECT_DOUBLE_EQ(d.m_dImageHeightMm, 279.4);
  });
}

TEST_F(PreviewView, FrameInsideCutAndOutsideIsErasedWithoutATrace) {
  WithPage(1700, 2200, 200, [](TestDialog& d) {
    const struct {
      int percent, scroll;
      preview::Rect frame;  // millimetres
      bool visible;
    } cases[] = {{100, 0, {20, 20, 60, 80}, true},      {50, 0, {0, 0, 216, 279}, true},
                 {400, 300, {50, 50, 70, 70}, true},    {400, 300, {10, 10, 60, 60}, true},
                 {400, 300, {50, 50, 150, 200}, true},  {400, 300, {5, 5, 30, 30}, false},
                 {400, 300, {150, 50, 200, 70}, false}, {400, 300, {10, 10, 200, 200}, true}};
    for (const auto& c : cases) {
      d.m_dZoom = Scale(c.percent);
      d.m_nScrollX = d.m_nScrollY = c.scroll;
      d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawZoom, d.m_dZoom);
      d.m_rcSelection = {};
      d.DrawSelectionFrame(d.m_hDlg);
      const PaneScreen before(d);
      EXPECT_TRUE(before.HasBlackBorder());
      d.m_rcSelection = c.frame;
      d.DrawSelectionFrame(d.m_hDlg);
      const PaneScreen drawn(d);
      EXPECT_TRUE(drawn.HasBlackBorder());
      EXPECT_EQ(d.m_bFrameHidden, !c.visible);
      int inverted = 0;
      for (int y = 1; y < before.height - 1; ++y) {
        for (int x = 1; x < before.width - 1; ++x) {
          if (before.At(x, y) == drawn.At(x, y)) continue;
          ++inverted;
          EXPECT_EQ(before.At(x, y) ^ drawn.At(x, y), 0xFFFFFFU);
          EXPECT_TRUE(x + d.m_rcPane.left == d.m_rcFrame.left || x + d.m_rcPane.left == d.m_rcFrame.right - 1 ||
                      y + d.m_rcPane.top == d.m_rcFrame.top || y + d.m_rcPane.top == d.m_rcFrame.bottom - 1);
        }
      }
      // A frame round the whole view lies under the border.
      EXPECT_EQ(inverted > 0, c.visible && c.frame.width() != 190) << c.percent << " " << c.frame.left;
      d.EraseSelectionFrame(d.m_hDlg);
      EXPECT_TRUE(PaneScreen(d) == before) << c.percent << " " << c.frame.left;
    }
  });
}

TEST_F(PreviewView, WhateverCoversThePaneLeavesNoTrace) {
  for (const int width : {1700, 400}) {
    WithPage(width, width, 200, [](TestDialog& d) {
      const auto cover = [&] {
        RECT dialog = {};
        GetWindowRect(d.m_hDlg, &dialog);
        const HWND window = CreateWindowExW(WS_EX_TOPMOST | WS_EX_NOACTIVATE, L"STATIC", L"", WS_POPUP | WS_VISIBLE,
                                            dialog.left + d.m_rcPane.left + 20, dialog.top, 80, 300, nullptr, nullptr,
                                            nullptr, nullptr);
        HandleMessages(d.m_hDlg);
        DestroyWindow(window);
        const RECT part = {d.m_rcPane.left - 5, d.m_rcPane.top + 30, d.m_rcPane.left + 90, d.m_rcPane.top + 90};
        InvalidateRect(d.m_hDlg, &part, TRUE);
        HandleMessages(d.m_hDlg);
      };
      const PaneScreen empty(d);
      cover();
      EXPECT_TRUE(PaneScreen(d) == empty);
      d.m_rcSelection = {10, 10, 40, 40};
      d.DrawSelectionFrame(d.m_hDlg);
      const PaneScreen framed(d);
      cover();
      EXPECT_TRUE(PaneScreen(d) == framed);
      d.EraseSelectionFrame(d.m_hDlg);
      EXPECT_TRUE(PaneScreen(d) == empty);
    });
  }
}

TEST_F(PreviewView, LoadingAndClearingResetTheView) {
  WithPage(1700, 2200, 200, [&](TestDialog& d) {
    const int controls[] = {IDC_PREVIEW_PANE, IDC_ZOOM_LIST, IDC_TOOL_SELECT,       IDC_TOOL_ZOOM,
                            IDC_TOOL_ROTATE,  IDC_TOOL_PAN,  IDC_HORIZONTAL_SCROLL, IDC_VERTICAL_SCROLL};
    for (int pass = 0; pass < 2; ++pass) {
      for (const int control : controls) EXPECT_EQ(d.Enabled(control), pass == 0) << control;
      EXPECT_EQ(d.m_rcSelection, preview::Rect{});
      EXPECT_TRUE(d.m_bFrameHidden && !d.m_bSelectTool && !d.m_bZoomTool && !d.m_bPanTool && !d.m_bSelecting);
      EXPECT_EQ(d.m_nRotation + d.m_nScrollX + d.m_nScrollY, 0);
      EXPECT_EQ(d.StatusText(1) + d.StatusText(2), L"");
      EXPECT_EQ(d.Send(IDC_ZOOM_LIST, CB_GETCURSEL), 2);
      if (pass == 1) break;
      EXPECT_EQ(GetScrollPos(d.Control(IDC_VERTICAL_SCROLL), SB_CTL), 0);
      d.Command(IDC_TOOL_SELECT);
      d.m_rcSelection = {10, 10, 40, 40};
      d.DrawSelectionFrame(d.m_hDlg);
      d.RotatePreview(d.m_hDlg, IDM_ROTATE_LEFT);
      d.Send(IDC_ZOOM_LIST, CB_SETCURSEL, 6);
      d.Command(IDC_ZOOM_LIST, CBN_SELCHANGE);
      d.OnVScroll(d.m_hDlg, SB_BOTTOM, 0);
      d.ClearPreview();
    }
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EQ(PaneScreen(d).Letter(20, 20), '?');  // the dialog's own background
    d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawReset, 0.12);
    EXPECT_TRUE(d.m_bPreviewLoaded && !d.m_bRepaintPreview);
    d.UpdatePreviewImage(std::wstring(300, L'x').c_str());
    EXPECT_EQ(d.m_wstrPreviewFile[0], L'\0');
  });
}

TEST_F(PreviewView, WithoutAPreviewNothingIsDrawnIntoThePane) {
  TestDialog dialog;
  RunDialog(dialog, [](TestDialog& d) {
    const PaneScreen before(d);
    for (const int command : {IDM_ROTATE_RIGHT, IDC_TOOL_SELECT, IDM_ZOOM_IN}) d.Command(command);
    d.Command(IDC_ZOOM_LIST, CBN_SELCHANGE);
    SendMessageW(d.m_hDlg, WM_HSCROLL, SB_RIGHT, reinterpret_cast<LPARAM>(d.Control(IDC_HORIZONTAL_SCROLL)));
    EXPECT_TRUE(PaneScreen(d) == before);
  });
}

TEST_F(PreviewView, TurningTakesPictureFrameAndViewAlong) {
  const struct {
    int command, degrees;
    preview::Rect frame;
    const char* corners;
    const wchar_t* position;
  } cases[] = {{IDM_ROTATE_RIGHT, 90, {209, 10, 259, 110}, "BRYG", L"209mm,  10mm"},
               {IDM_ROTATE_LEFT, 270, {20, 105, 70, 205}, "GYRB", L" 20mm, 105mm"},
               {IDM_ROTATE_UPSIDE_DOWN, 180, {105, 209, 205, 259}, "YBGR", L"105mm, 209mm"},
               {0, 0, {10, 20, 110, 70}, "RGBY", L" 10mm,  20mm"}};
  WithPage(8, 8, 100, [&](TestDialog& d) {
    d.m_bInch = 0;
    for (const auto& c : cases) {
      for (const int scroll : {0, 600}) {  // the frame in view, and scrolled out of it
        Load(d, 850, 1100, 100);
        d.m_rcSelection = {10, 20, 110, 70};
        d.m_dZoom = Scale(400);
        d.m_nScrollX = d.m_nScrollY = scroll;
        d.DrawPreviewImage(d.m_hDlg, 0, 0, Mode::DrawZoom, d.m_dZoom);
        d.DrawSelectionFrame(d.m_hDlg);
        EXPECT_EQ(d.m_bFrameHidden, scroll != 0);
        d.RotatePreview(d.m_hDlg, c.command);
        EXPECT_EQ(d.m_rcSelection, c.frame) << c.command;
        EXPECT_EQ(d.m_nRotation, c.degrees);
        EXPECT_EQ(std::pair(d.m_dZoom, d.Send(IDC_ZOOM_LIST, CB_GETCURSEL)), std::pair(0.12, LRESULT{2}));
        EXPECT_EQ(d.StatusText(1), c.position);
        d.EraseSelectionFrame(d.m_hDlg);
        const PaneScreen screen(d);
        const int right = static_cast<int>(d.m_nImageWidth * 0.12) - 4;
        const int bottom = static_cast<int>(d.m_nImageHeight * 0.12) - 4;
        const std::string corners = {screen.Letter(4, 4), screen.Letter(right, 4), screen.Letter(4, bottom),
                                     screen.Letter(right, bottom)};
        EXPECT_EQ(corners, c.corners);
        d.ClearSelection(d.m_hDlg);
        d.RotatePreview(d.m_hDlg, c.command);
        EXPECT_EQ(d.m_nRotation, c.degrees * 2 % 360);
        EXPECT_EQ(d.StatusText(1) + d.StatusText(2), L"");
      }
    }
  });
}

TEST_F(PreviewView, RightToLeftShowsThePageUnmirrored) {
  WithPage<MirroredDialog>(1700, 2200, 200, [](TestDialog& d) {
    ASSERT_NE(GetWindowLongW(d.m_hDlg, GWL_EXSTYLE) & WS_EX_LAYOUTRTL, 0);
    EXPECT_LT(d.m_rcPane.left, 100);  // the preview half is on the left
    ExpectPage(d, 0.12);
    const PaneScreen before(d);
    d.m_rcSelection = {25, 25, 102, 127};
    d.DrawSelectionFrame(d.m_hDlg);
    EXPECT_EQ(d.m_rcFrame.left, d.m_rcPane.left + 23);
    const PaneScreen drawn(d);
    EXPECT_TRUE(drawn.HasBlackBorder());
    EXPECT_EQ(before.At(23, 40) ^ drawn.At(23, 40), 0xFFFFFFU);
    EXPECT_EQ(before.At(24, 40), drawn.At(24, 40));
    d.ClearPreview();
    EXPECT_EQ(PaneScreen(d).Letter(100, 100), '?') << "the old page stands";
  });
}

}  // namespace
