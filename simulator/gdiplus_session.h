// GDI+ for the length of a scope, with its token.
#pragma once

#include "platform/gdiplus_owners.h"

namespace simulator {

class GdiplusSession {
 public:
  bool Started() const { return m_session.Started(); }

 private:
  ULONG_PTR m_token = 0;
  const platform::GdiplusSession m_session{m_token};
};

}  // namespace simulator
