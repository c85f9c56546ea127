#include "platform/module_state.h"

volatile LONG g_cLocks = 0;

namespace {
volatile LONG dialogRunning = 0;
}

DialogClaim::DialogClaim() noexcept : m_granted(InterlockedCompareExchange(&dialogRunning, 1, 0) == 0) {}

DialogClaim::~DialogClaim() {
  if (m_granted) {
    InterlockedExchange(&dialogRunning, 0);
  }
}
