// A COM object with one interface, for any thread.
#pragma once

#include <windows.h>

#include <atomic>

#include "platform/scoped.h"

namespace simulator {

// Starts with one reference; frees itself with the last.
template <class Interface>
class ComObject : public Interface {
 public:
  explicit ComObject(REFIID iid) : m_iid(iid) {}
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    return platform::AnswerQuery<Interface>(this, iid, object, IID_IUnknown, m_iid);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --m_references;
    if (left == 0) {
      delete this;
    }
    return left;
  }

 protected:
  virtual ~ComObject() = default;

 private:
  const IID m_iid;
  std::atomic<ULONG> m_references = 1;
};

// The owner of a new object's first reference. Not Attach: mingw-w64's ComPtr takes a reference of its own there.
template <class Interface>
platform::ComPtr<Interface> Own(Interface* object) {
  platform::ComPtr<Interface> owner;
  *owner.GetAddressOf() = object;
  return owner;
}

}  // namespace simulator
