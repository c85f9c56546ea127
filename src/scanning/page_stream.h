// The stream that a driver writes a page into.
#pragma once

#include <windows.h>

#include <objidl.h>

#include <mutex>

#include "platform/module_state.h"
#include "platform/scoped.h"

// Passes everything on to the file's own stream until it is closed, and fails from then on. A driver that keeps its
// stream would otherwise keep the file open: a preview could not be deleted, a scan not be turned or read.
//
// Made on the heap with one reference; frees itself with the last. Of the references one is the transfer's: the file is
// closed when no other is left, as the driver expects. May be used from any thread.
class CPageStream final : public IStream {
 public:
  explicit CPageStream(IStream* file) : m_file(file) {}

  // Waits for a call in progress on another thread.
  void Close() noexcept {
    const std::lock_guard locked(m_fileLock);
    m_file.Reset();
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    return platform::AnswerQuery<IStream>(this, riid, ppv, IID_IUnknown, IID_ISequentialStream, IID_IStream);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_cRef)); }
  ULONG STDMETHODCALLTYPE Release() override {
    if (m_cRef == 2) {
      Close();  // before the reference is given up: the transfer may drop its own at any time
    }
    const LONG count = InterlockedDecrement(&m_cRef);
    if (count == 0) {
      delete this;
    }
    return static_cast<ULONG>(count);
  }

  HRESULT STDMETHODCALLTYPE Read(void* bytes, ULONG size, ULONG* read) override {
    return PassOn(&IStream::Read, bytes, size, read);
  }
  HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG size, ULONG* written) override {
    return PassOn(&IStream::Write, bytes, size, written);
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    return PassOn(&IStream::Seek, move, origin, position);
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override { return PassOn(&IStream::SetSize, size); }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override {
    if (target == this) {
      return E_INVALIDARG;  // its writing would wait for its own reading
    }
    return PassOn(&IStream::CopyTo, target, size, read, written);
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override { return PassOn(&IStream::Commit, flags); }
  HRESULT STDMETHODCALLTYPE Revert() override { return PassOn(&IStream::Revert); }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override {
    return PassOn(&IStream::LockRegion, offset, size, type);
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override {
    return PassOn(&IStream::UnlockRegion, offset, size, type);
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD flags) override {
    return PassOn(&IStream::Stat, status, flags);
  }
  // As the file's own stream answers.
  HRESULT STDMETHODCALLTYPE Clone(IStream** /*clone*/) override { return E_NOTIMPL; }

 private:
  ~CPageStream() = default;

  template <class Method, class... Arguments>
  HRESULT PassOn(Method method, Arguments... arguments) noexcept {
    // The platform does not promise that its file streams order the calls of several threads.
    const std::lock_guard locked(m_fileLock);
    return m_file != nullptr ? (m_file.Get()->*method)(arguments...) : STG_E_REVERTED;
  }

  const ModuleLock m_moduleLock;
  volatile LONG m_cRef = 1;
  platform::Lock m_fileLock;         // one call at a time
  platform::ComPtr<IStream> m_file;  // null: closed
};
