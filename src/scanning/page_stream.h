// The stream that a driver writes a page into.
#pragma once

#include <windows.h>

#include <objidl.h>

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
  CPageStream(const CPageStream&) = delete;
  CPageStream& operator=(const CPageStream&) = delete;

  // Waits for a call in progress on another thread.
  void Close() noexcept;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  HRESULT STDMETHODCALLTYPE Read(void* bytes, ULONG size, ULONG* read) override;
  HRESULT STDMETHODCALLTYPE Write(const void* bytes, ULONG size, ULONG* written) override;
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER size) override;
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                   ULARGE_INTEGER* written) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Revert() override;
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) override;
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* status, DWORD flags) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** clone) override;  // E_NOTIMPL, as the file's own stream answers

 private:
  ~CPageStream() = default;
  template <class Method, class... Arguments>
  HRESULT PassOn(Method method, Arguments... arguments) noexcept;

  const ModuleLock m_moduleLock;
  volatile LONG m_cRef = 1;
  platform::Lock m_fileLock;         // one call at a time
  platform::ComPtr<IStream> m_file;  // null: closed
};
