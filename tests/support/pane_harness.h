// What the tests of the preview pane share: a dialog with a page of four coloured quadrants, and the pane's screen.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/dialog_harness.h"
#include "tests/support/screen_pixels.h"

namespace harness {

constexpr COLORREF kDarkGrey = RGB(64, 64, 64);
constexpr int kZoomPercent[] = {50, 75, 100, 150, 200, 300, 400};

inline double Scale(int percent) { return percent / 100.0 * 0.12; }

// The pane's top-left corner on the screen.
inline POINT PaneOrigin(const TestDialog& d) {
  RECT client = {};
  GetClientRect(d.m_hDlg, &client);
  MapWindowPoints(d.m_hDlg, nullptr, reinterpret_cast<POINT*>(&client), 2);
  return {client.left + d.m_rcPane.left, client.top + d.m_rcPane.top};
}

// The pane's pixels as the user sees them, row by row, its border included.
struct PaneScreen : simulator::ScreenPixels {
  explicit PaneScreen(const TestDialog& d)
      : ScreenPixels(PaneOrigin(d).x, PaneOrigin(d).y, d.m_rcPane.width(), d.m_rcPane.height()) {
    // The box between the two scroll bars overlaps the pane's last corner.
    for (const int corner : {1, 2, width + 1, width + 2}) pixels[pixels.size() - static_cast<std::size_t>(corner)] = 0;
  }
  // R, G, B, Y, k for the dark grey background, K for black, '?' for anything else.
  char Letter(int x, int y) const {
    const auto isClose = [pixel = At(x, y)](DWORD color) {
      for (int shift = 0; shift < 24; shift += 8) {
        if (std::abs(static_cast<int>(pixel >> shift & 255) - static_cast<int>(color >> shift & 255)) > 12)
          return false;
      }
      return true;
    };
    const struct {
      DWORD color;
      char letter;
    } known[] = {{0xFF0000, 'R'}, {0x00FF00, 'G'}, {0x0000FF, 'B'}, {0xFFFF00, 'Y'}, {kDarkGrey, 'k'}, {0, 'K'}};
    for (const auto& k : known) {
      if (isClose(k.color)) return k.letter;
    }
    return '?';
  }
  bool HasBlackBorder() const {
    bool black = true;
    for (int x = 0; x < width; ++x) black = black && At(x, 0) == 0 && At(x, height - 1) == 0;
    for (int y = 0; y < height; ++y) black = black && At(0, y) == 0 && At(width - 1, y) == 0;
    return black;
  }
};

class MirroredDialog : public TestDialog {
 public:
  MirroredDialog() { SetProcessDefaultLayout(LAYOUT_RTL); }
  ~MirroredDialog() { SetProcessDefaultLayout(0); }
  INT_PTR OnInitDialog(HWND hDlg, WPARAM wParam, LPARAM lParam) override {
    m_bRightToLeft = true;
    return TestDialog::OnInitDialog(hDlg, wParam, lParam);
  }
};

class PaneTest : public testing::Test {
 protected:
  // Shows a page of quadrants RG over BY and runs the script with it.
  template <class Dialog = TestDialog>
  void WithPage(int width, int height, float dpi, const TestDialog::Script& script) {
    Dialog dialog;
    bool ran = false;
    RunDialog(dialog, [&](TestDialog& d) {
      Load(d, width, height, dpi);
      script(d);
      ran = true;
    });
    EXPECT_TRUE(ran);
  }
  void Load(TestDialog& d, int width, int height, float dpi) {
    const std::wstring file = folder.File(L"page.jpg");
    ASSERT_TRUE(samples::WriteQuadrants(file, width, height, dpi, dpi));
    d.UpdatePreviewImage(file.c_str());
    HandleMessages(d.m_hDlg);
  }
  samples::TemporaryFolder folder;
};

}  // namespace harness
