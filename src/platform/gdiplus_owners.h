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

// GDI+ for the length of a scope. Starts are counted: the host may have it running or not. On the thread that uses it.
class GdiplusSession {
 public:
  // token: where GDI+ keeps what it needs to be shut down; it must outlive this.
  explicit GdiplusSession(ULONG_PTR& token) noexcept : m_token(token) {
    const Gdiplus::GdiplusStartupInput input;
    m_token = 0;
    m_started = Gdiplus::GdiplusStartup(&m_token, &input, nullptr) == Gdiplus::Ok;
  }
  ~GdiplusSession() {
    if (m_started) {
      Gdiplus::GdiplusShutdown(m_token);
    }
  }
  GdiplusSession(const GdiplusSession&) = delete;
  GdiplusSession& operator=(const GdiplusSession&) = delete;

  bool Started() const noexcept { return m_started; }

 private:
  ULONG_PTR& m_token;
  bool m_started = false;
};

// What a function makes of its argument, or null on failure: std::unique_ptr has no out-parameter form before C++23.
template <class Owner, auto Create, class From>
Owner Made(From from) {
  typename Owner::pointer made = nullptr;
  return Owner(Create(from, &made) == Gdiplus::Ok ? made : nullptr);
}

}  // namespace platform
