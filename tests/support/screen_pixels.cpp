#include "tests/support/screen_pixels.h"

#include "platform/scoped.h"

namespace simulator {

ScreenPixels::ScreenPixels(int x, int y, int columns, int rows) : width(columns), height(rows) {
  // Drawing is collected until the thread finds no message waiting.
  MSG message;
  PeekMessageW(&message, nullptr, 0xBFFF, 0xBFFF, PM_NOREMOVE);
  BITMAPINFO info = {};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const platform::WindowDC screen(GetDesktopWindow());
  const HDC memory = CreateCompatibleDC(screen.get());
  const platform::GdiObject bitmap(CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  {
    const platform::SelectedObject selected(memory, bitmap.get());
    BitBlt(memory, 0, 0, width, height, screen.get(), x, y, SRCCOPY);
    GdiFlush();
    const auto* first = static_cast<const DWORD*>(bits);
    pixels.assign(first, first + static_cast<std::ptrdiff_t>(width) * height);
  }
  DeleteDC(memory);
  for (DWORD& pixel : pixels) {
    pixel &= 0xFFFFFF;
  }
}

}  // namespace simulator
