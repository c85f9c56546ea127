// What is on the screen.
#pragma once

#include <windows.h>

#include <vector>

namespace harness {

// A part of the screen, in screen pixels, row by row; each 0xRRGGBB.
struct ScreenPixels {
  ScreenPixels(int x, int y, int columns, int rows);
  DWORD At(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
  friend bool operator==(const ScreenPixels&, const ScreenPixels&) = default;

  int width;
  int height;
  std::vector<DWORD> pixels;
};

// The preview pane as the user sees it, its border included.
struct PaneScreen : ScreenPixels {
  explicit PaneScreen(const RECT& pane);
  // R, G, B, Y, k for the dark grey background, K for black, '?' for anything else.
  char Letter(int x, int y) const;
  bool HasBlackBorder() const;
};

// An icon or cursor, drawn. Two that look alike are equal.
std::vector<DWORD> PixelsOf(HICON icon);

}  // namespace harness
