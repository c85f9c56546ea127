// GDI+ for the length of a scope.
#pragma once

#include "platform/gdiplus_owners.h"

namespace simulator {

// The client may have GDI+ running or not; starts are counted.
class GdiplusSession {
 public:
  GdiplusSession() noexcept {
    const Gdiplus::GdiplusStartupInput input;
    m_started = Gdiplus::GdiplusStartup(&m_token, &input, nullptr) == Gdiplus::Ok;
  }
  ~GdiplusSession() {
    if (m_started) {
      Gdiplus::GdiplusShutdown(m_token);
    }
  }
  GdiplusSession(const GdiplusSession&) = delete;
  GdiplusSession& operator=(const GdiplusSession&) = delete;

  bool Started() const { return m_started; }

 private:
  ULONG_PTR m_token = 0;
  bool m_started = false;
};

}  // namespace simulator
