// What is on the screen.
#pragma once

#include <windows.h>

#include <vector>

namespace harness {

// The preview pane as the user sees it, its border included, row by row; each pixel 0xRRGGBB.
struct PaneScreen {
  // pane: in screen pixels.
  explicit PaneScreen(const RECT& pane);
  DWORD At(int x, int y) const {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
  }
  // R, G, B, Y, k for the dark grey background, K for black, '?' for anything else.
  char Letter(int x, int y) const;
  bool HasBlackBorder() const;
  friend bool operator==(const PaneScreen&, const PaneScreen&) = default;

  int width;
  int height;
  std::vector<DWORD> pixels;
};

// An icon or cursor, drawn. Two that look alike are equal.
std::vector<DWORD> PixelsOf(HICON icon);

}  // namespace harness
