// Owners for objects of the flat GDI+ interface. GDI+ must be started while one of them is alive.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <algorithm>

namespace Gdiplus {
// The GDI+ headers use min and max unqualified; NOMINMAX takes the macros away.
using std::max;
using std::min;
}  // namespace Gdiplus

#include <gdiplus.h>

#include "platform/scoped.h"

namespace platform {

using GdipImage = Unique<Gdiplus::GpImage*, &Gdiplus::DllExports::GdipDisposeImage>;
using GdipGraphics = Unique<Gdiplus::GpGraphics*, &Gdiplus::DllExports::GdipDeleteGraphics>;

// std::unique_ptr has no out-parameter form before C++23: these take the two-step creation into one call each.
// Null on failure.
inline GdipImage LoadImageFromFile(const wchar_t* path) {
  Gdiplus::GpImage* image = nullptr;
  if (Gdiplus::DllExports::GdipLoadImageFromFile(path, &image) != Gdiplus::Ok) {
    return nullptr;
  }
  return GdipImage(image);
}

inline GdipImage LoadBitmapFromFile(const wchar_t* path) {
  Gdiplus::GpBitmap* bitmap = nullptr;
  if (Gdiplus::DllExports::GdipCreateBitmapFromFile(path, &bitmap) != Gdiplus::Ok) {
    return nullptr;
  }
  return GdipImage(bitmap);
}

inline GdipGraphics GraphicsOnDC(HDC context) {
  Gdiplus::GpGraphics* graphics = nullptr;
  if (Gdiplus::DllExports::GdipCreateFromHDC(context, &graphics) != Gdiplus::Ok) {
    return nullptr;
  }
  return GdipGraphics(graphics);
}

inline GdipGraphics GraphicsOnImage(Gdiplus::GpImage* image) {
  Gdiplus::GpGraphics* graphics = nullptr;
  if (Gdiplus::DllExports::GdipGetImageGraphicsContext(image, &graphics) != Gdiplus::Ok) {
    return nullptr;
  }
  return GdipGraphics(graphics);
}

}  // namespace platform
