// What a host's thread is set to while windows of ours live on it. Each is as before when its owner goes out of scope;
// a platform that lacks one, or refuses it, shows the dialog without.
#pragma once

#include <windows.h>

#include "platform/scoped.h"

namespace platform {

// Version 6 of the common controls, by the manifest that the module carries: the host may have none. Windows made on
// this thread in the scope get it, message boxes included.
class ControlsContext {
 public:
  // The resource identifier that Windows reserves for the manifest of a library.
  static constexpr int kManifest = 2;

  explicit ControlsContext(HMODULE module) noexcept {
    ACTCTXW context = {};
    context.cbSize = sizeof(context);
    context.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
    context.hModule = module;
    context.lpResourceName = MAKEINTRESOURCEW(kManifest);
    m_context = CreateActCtxW(&context);
    m_active = m_context != INVALID_HANDLE_VALUE && ActivateActCtx(m_context, &m_cookie);
  }
  ~ControlsContext() {
    if (m_active) {
      // The flag: a context that somebody else activated meanwhile and left so must not raise an exception here.
      DeactivateActCtx(DEACTIVATE_ACTCTX_FLAG_FORCE_EARLY_DEACTIVATION, m_cookie);
    }
    if (m_context != INVALID_HANDLE_VALUE) {
      ReleaseActCtx(m_context);
    }
  }
  ControlsContext(const ControlsContext&) = delete;
  ControlsContext& operator=(const ControlsContext&) = delete;

 private:
  HANDLE m_context;
  ULONG_PTR m_cookie = 0;
  bool m_active;
};

// The density of the system's first screen for all windows made in the scope. A host that is aware of each monitor's
// own would have its dialogs laid out anew when they are moved, and the pane's rectangle would no longer be true. From
// Windows 10 1607 on; before, windows are not laid out anew.
class SystemDensity {
 public:
  SystemDensity() noexcept : m_before(Set(kSystemAware)) {}
  ~SystemDensity() {
    if (m_before != nullptr) {
      Set(m_before);
    }
  }
  SystemDensity(const SystemDensity&) = delete;
  SystemDensity& operator=(const SystemDensity&) = delete;

 private:
  // DPI_AWARENESS_CONTEXT and DPI_AWARENESS_CONTEXT_SYSTEM_AWARE, which headers for older versions lack.
  using Awareness = HANDLE;
  static inline const Awareness kSystemAware = reinterpret_cast<Awareness>(static_cast<INT_PTR>(-2));

  // The one before; null when there is no such function, or it failed.
  static Awareness Set(Awareness awareness) noexcept {
    const auto set = LoadedFunction<Awareness(WINAPI*)(Awareness)>(L"user32", "SetThreadDpiAwarenessContext");
    return set != nullptr ? set(awareness) : nullptr;
  }

  const Awareness m_before;
};

}  // namespace platform
