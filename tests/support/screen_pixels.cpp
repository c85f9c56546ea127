#include "tests/support/screen_pixels.h"

#include <cstdlib>
#include <utility>

#include "platform/scoped.h"

namespace harness {
namespace {

// The pixels that are drawn into a bitmap of this size, each 0xRRGGBB.
template <class Drawing>
std::vector<DWORD> Drawn(int width, int height, const Drawing& draw) {
  BITMAPINFO info = {};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const platform::Unique<HDC, &DeleteDC> memory(CreateCompatibleDC(nullptr));
  const platform::GdiObject bitmap(CreateDIBSection(memory.get(), &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  const platform::SelectedObject selected(memory.get(), bitmap.get());
  draw(memory.get());
  GdiFlush();
  const auto* first = static_cast<const DWORD*>(bits);
  std::vector<DWORD> pixels(first, first + static_cast<std::ptrdiff_t>(width) * height);
  for (DWORD& pixel : pixels) pixel &= 0xFFFFFF;
  return pixels;
}

}  // namespace

PaneScreen::PaneScreen(const RECT& pane) : width(pane.right - pane.left), height(pane.bottom - pane.top) {
  // Drawing is collected until the thread finds no message waiting.
  MSG message;
  PeekMessageW(&message, nullptr, 0xBFFF, 0xBFFF, PM_NOREMOVE);
  const platform::WindowDC screen(GetDesktopWindow());
  pixels = Drawn(width, height,
                 [&](HDC memory) { BitBlt(memory, 0, 0, width, height, screen.get(), pane.left, pane.top, SRCCOPY); });
  // The box between the two scroll bars overlaps the pane's last corner.
  for (const int corner : {1, 2, width + 1, width + 2}) pixels[pixels.size() - static_cast<std::size_t>(corner)] = 0;
}

char PaneScreen::Letter(int x, int y) const {
  constexpr int kTolerance = 12;
  for (const auto& [letter, color] :
       {std::pair{'R', 0xFF0000U}, {'G', 0x00FF00U}, {'B', 0x0000FFU}, {'Y', 0xFFFF00U}, {'k', 0x404040U}, {'K', 0U}}) {
    const auto differs = [pixel = At(x, y), wanted = color](int shift) {
      return std::abs(static_cast<int>(pixel >> shift & 255) - static_cast<int>(wanted >> shift & 255)) > kTolerance;
    };
    if (!differs(0) && !differs(8) && !differs(16)) return letter;
  }
  return '?';
}

bool PaneScreen::HasBlackBorder() const {
  bool black = true;
  for (int x = 0; x < width; ++x) black = black && At(x, 0) == 0 && At(x, height - 1) == 0;
  for (int y = 0; y < height; ++y) black = black && At(0, y) == 0 && At(width - 1, y) == 0;
  return black;
}

std::vector<DWORD> PixelsOf(HICON icon) {
  constexpr int kSide = 48;
  return Drawn(kSide, kSide, [icon](HDC memory) { DrawIconEx(memory, 0, 0, icon, 0, 0, 0, nullptr, DI_NORMAL); });
}

}  // namespace harness
