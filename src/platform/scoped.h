// Owners for Win32 resources: each releases what it holds when it goes out of scope. COM pointers are held by
// Microsoft::WRL::ComPtr.
#pragma once

#include <windows.h>

#include <objidl.h>
#include <oleauto.h>
#include <setupapi.h>
#include <wrl/client.h>

#include <memory>
#include <utility>

namespace platform {

using Microsoft::WRL::ComPtr;

// Calls Close on a handle that is not null.
template <class Handle, auto Close>
struct Closer {
  using pointer = Handle;
  void operator()(Handle handle) const noexcept { Close(handle); }
};

template <class Handle, auto Close>
using Unique = std::unique_ptr<void, Closer<Handle, Close>>;

using GdiObject = Unique<HGDIOBJ, &DeleteObject>;  // pens, brushes and fonts that are not stock objects
using Menu = Unique<HMENU, &DestroyMenu>;
using Icon = Unique<HICON, &DestroyIcon>;
using Cursor = Unique<HCURSOR, &DestroyCursor>;
using RegistryKey = Unique<HKEY, &RegCloseKey>;
using GlobalBlock = Unique<HGLOBAL, &GlobalFree>;
using TaskMemory = Unique<void*, &CoTaskMemFree>;
using BasicString = Unique<BSTR, &SysFreeString>;
using File = Unique<HANDLE, &CloseHandle>;

// CreateFile without security attributes and template; null on failure.
inline File OpenFile(const wchar_t* path, DWORD access, DWORD share, DWORD disposition, DWORD flags) noexcept {
  const HANDLE opened = CreateFileW(path, access, share, nullptr, disposition, flags, nullptr);
  return File(opened != INVALID_HANDLE_VALUE ? opened : nullptr);
}

// SetupAPI reports failure as INVALID_HANDLE_VALUE, so the set is owned only when the call succeeded.
using DeviceInfoSet = Unique<HDEVINFO, &SetupDiDestroyDeviceInfoList>;

// A device context of a window's client area, drawing in unmirrored pixels also when the window is laid out
// right-to-left: images and frames in it must stand as they are scanned. Null when the window is gone, and for a null
// window: the platform would give the screen's, and a dialog whose owner was destroyed meanwhile would draw there.
class WindowDC {
 public:
  explicit WindowDC(HWND window) noexcept : m_window(window), m_context(window != nullptr ? GetDC(window) : nullptr) {
    if (m_context != nullptr) {
      SetLayout(m_context, 0);
    }
  }
  ~WindowDC() {
    if (m_context != nullptr) {
      ReleaseDC(m_window, m_context);
    }
  }
  WindowDC(const WindowDC&) = delete;
  WindowDC& operator=(const WindowDC&) = delete;

  HDC get() const noexcept { return m_context; }

 private:
  HWND m_window;
  HDC m_context;
};

// Where the top-left corner of a window's client area is on the screen, also of a mirrored window, whose client
// coordinates count from the right: of two points the platform makes a rectangle with its sides in order.
inline POINT ClientOrigin(HWND window) noexcept {
  RECT client = {};
  GetClientRect(window, &client);
  MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&client), 2);
  return {client.left, client.top};
}

// Selects a GDI object and puts the previous one back. Declare it after the object's owner, so that the object is no
// longer selected when it is deleted.
class SelectedObject {
 public:
  SelectedObject(HDC context, HGDIOBJ object) noexcept
      : m_context(context), m_previous(SelectObject(context, object)) {}
  ~SelectedObject() {
    if (m_previous != nullptr) {
      SelectObject(m_context, m_previous);
    }
  }
  SelectedObject(const SelectedObject&) = delete;
  SelectedObject& operator=(const SelectedObject&) = delete;

 private:
  HDC m_context;
  HGDIOBJ m_previous;
};

// A lock for std::lock_guard. Not recursive. It may be destroyed when nobody holds it.
class Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void lock() noexcept { AcquireSRWLockExclusive(&m_lock); }
  void unlock() noexcept { ReleaseSRWLockExclusive(&m_lock); }

 private:
  SRWLOCK m_lock = SRWLOCK_INIT;
};

// COM on this thread for the length of a scope. A thread that has it keeps its apartment; one without gets a
// single-threaded apartment, which a thread with windows must have.
class ComSession {
 public:
  ComSession() noexcept : m_result(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE)) {}
  ~ComSession() {
    if (SUCCEEDED(m_result)) {
      CoUninitialize();  // also balances the S_FALSE of a thread that had it
    }
  }
  ComSession(const ComSession&) = delete;
  ComSession& operator=(const ComSession&) = delete;

 private:
  const HRESULT m_result;  // RPC_E_CHANGED_MODE in a multithreaded apartment
};

// A function of a module that is loaded, or null where the system lacks it. By way of void*: compilers compare the two
// function types otherwise.
template <class Function>
Function LoadedFunction(const wchar_t* module, const char* name) noexcept {
  const HMODULE loaded = GetModuleHandleW(module);
  return reinterpret_cast<Function>(
      reinterpret_cast<void*>(loaded != nullptr ? GetProcAddress(loaded, name) : nullptr));
}

// The interface of an object, or null: also when a faulty implementation answers success and gives none. result: if not
// null, why there is none (E_UNEXPECTED for such a success).
template <class Interface>
ComPtr<Interface> Query(IUnknown* object, REFIID iid, HRESULT* result = nullptr) {
  ComPtr<Interface> found;
  HRESULT queried =
      object != nullptr ? object->QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf())) : E_INVALIDARG;
  if (FAILED(queried)) {
    *found.GetAddressOf() = nullptr;  // whatever it holds is no reference
  } else if (found == nullptr) {
    queried = E_UNEXPECTED;
  }
  if (result != nullptr) {
    *result = queried;
  }
  return found;
}

// QueryInterface of an object that has one interface, which answers to these identifiers.
template <class Interface, class... Identifiers>
HRESULT AnswerQuery(Interface* object, REFIID riid, void** ppv, const Identifiers&... identifiers) {
  if (ppv == nullptr) {
    return E_POINTER;
  }
  *ppv = nullptr;
  if (!(IsEqualIID(riid, identifiers) || ...)) {
    return E_NOINTERFACE;
  }
  object->AddRef();
  *ppv = object;
  return S_OK;
}

// Clears a PROPVARIANT with everything that it owns.
class ScopedPropVariant {
 public:
  ScopedPropVariant() noexcept { PropVariantInit(&m_value); }
  ~ScopedPropVariant() { FreePropVariantArray(1, &m_value); }
  ScopedPropVariant(const ScopedPropVariant&) = delete;
  ScopedPropVariant& operator=(const ScopedPropVariant&) = delete;

  PROPVARIANT* put() noexcept { return &m_value; }
  const PROPVARIANT& get() const noexcept { return m_value; }

 private:
  PROPVARIANT m_value;
};

// Calls a function, which must not throw, when the scope ends, whatever ends it.
template <class Function>
class Finally {
 public:
  explicit Finally(Function function) noexcept : m_function(std::move(function)) {}
  ~Finally() { m_function(); }
  Finally(const Finally&) = delete;
  Finally& operator=(const Finally&) = delete;

 private:
  const Function m_function;
};

}  // namespace platform
