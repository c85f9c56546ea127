// What the tests of the preview pane share: a dialog with a page of four coloured quadrants, and the pane's screen.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/dialog_harness.h"

namespace harness {

constexpr COLORREF DARK_GREY = RGB(64, 64, 64);
constexpr int ZOOM_PERCENT[] = {50, 75, 100, 150, 200, 300, 400};

inline double Scale(int percent) { return percent / 100.0 * 0.12; }

// Brings what was drawn to the screen: drawing is collected until the thread finds no message waiting.
inline void Flush() {
  MSG message;
  PeekMessageW(&message, nullptr, 0xBFFF, 0xBFFF, PM_NOREMOVE);
}

// The pane's top-left corner on the screen.
inline POINT PaneOrigin(const TestDialog& d) {
  RECT client = {};
  GetClientRect(d.m_hDlg, &client);
  MapWindowPoints(d.m_hDlg, nullptr, reinterpret_cast<POINT*>(&client), 2);
  return {client.left + d.m_rcPane.left, client.top + d.m_rcPane.top};
}

// The pane's pixels as the user sees them, row by row, its border included.
struct PaneScreen {
  explicit PaneScreen(const TestDialog& d) : width(d.m_rcPane.width()), height(d.m_rcPane.height()) {
    Flush();
    const POINT origin = PaneOrigin(d);
    BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    void* bits = nullptr;
    const platform::WindowDC screen(GetDesktopWindow());
    const HDC memory = CreateCompatibleDC(screen.get());
    const platform::GdiObject bitmap(CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
    {
      const platform::SelectedObject selected(memory, bitmap.get());
      BitBlt(memory, 0, 0, width, height, screen.get(), origin.x, origin.y, SRCCOPY);
      GdiFlush();
      const auto* first = static_cast<const DWORD*>(bits);
      for (int i = 0; i < width * height; ++i) {
        // The box between the two scroll bars overlaps the pane's last corner.
        const bool isBox = i % width >= width - 2 && i / width >= height - 2;
        pixels.push_back(isBox ? 0 : first[i] & 0xFFFFFF);
      }
    }
    DeleteDC(memory);
  }
  DWORD At(int x, int y) const { return pixels[static_cast<std::size_t>(y * width + x)]; }  // 0xRRGGBB
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
    } known[] = {{0xFF0000, 'R'}, {0x00FF00, 'G'}, {0x0000FF, 'B'}, {0xFFFF00, 'Y'}, {DARK_GREY, 'k'}, {0, 'K'}};
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
  friend bool operator==(const PaneScreen&, const PaneScreen&) = default;

  int width;
  int height;
  std::vector<DWORD> pixels;
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
    Pump(d.m_hDlg);
  }
  samples::TemporaryFolder folder;
};

}  // namespace harness
