#include "scanning/page_stream.h"

#include <mutex>

void CPageStream::Close() noexcept {
  const std::lock_guard locked(m_fileLock);
  m_file.Reset();
}

template <class Method, class... Arguments>
HRESULT CPageStream::PassOn(Method method, Arguments... arguments) noexcept {
  // The platform does not promise that its file streams order the calls of several threads.
  const std::lock_guard locked(m_fileLock);
  return m_file != nullptr ? (m_file.Get()->*method)(arguments...) : STG_E_REVERTED;
}

HRESULT STDMETHODCALLTYPE CPageStream::QueryInterface(REFIID riid, void** ppv) {
  return platform::AnswerQuery<IStream>(this, riid, ppv, IID_IUnknown, IID_ISequentialStream, IID_IStream);
}

ULONG STDMETHODCALLTYPE CPageStream::AddRef() { return static_cast<ULONG>(InterlockedIncrement(&m_cRef)); }

ULONG STDMETHODCALLTYPE CPageStream::Release() {
  if (m_cRef == 2) {
    Close();  // before the reference is given up: the transfer may drop its own at any time
  }
  const LONG count = InterlockedDecrement(&m_cRef);
  if (count == 0) {
    delete this;
  }
  return static_cast<ULONG>(count);
}

HRESULT STDMETHODCALLTYPE CPageStream::Read(void* bytes, ULONG size, ULONG* read) {
  return PassOn(&IStream::Read, bytes, size, read);
}

HRESULT STDMETHODCALLTYPE CPageStream::Write(const void* bytes, ULONG size, ULONG* written) {
  return PassOn(&IStream::Write, bytes, size, written);
}

HRESULT STDMETHODCALLTYPE CPageStream::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  return PassOn(&IStream::Seek, move, origin, position);
}

HRESULT STDMETHODCALLTYPE CPageStream::SetSize(ULARGE_INTEGER size) { return PassOn(&IStream::SetSize, size); }

HRESULT STDMETHODCALLTYPE CPageStream::CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                                              ULARGE_INTEGER* written) {
  if (target == this) {
    return E_INVALIDARG;  // its writing would wait for its own reading
  }
  return PassOn(&IStream::CopyTo, target, size, read, written);
}

HRESULT STDMETHODCALLTYPE CPageStream::Commit(DWORD flags) { return PassOn(&IStream::Commit, flags); }

HRESULT STDMETHODCALLTYPE CPageStream::Revert() { return PassOn(&IStream::Revert); }

HRESULT STDMETHODCALLTYPE CPageStream::LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) {
  return PassOn(&IStream::LockRegion, offset, size, type);
}

HRESULT STDMETHODCALLTYPE CPageStream::UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) {
  return PassOn(&IStream::UnlockRegion, offset, size, type);
}

HRESULT STDMETHODCALLTYPE CPageStream::Stat(STATSTG* status, DWORD flags) {
  return PassOn(&IStream::Stat, status, flags);
}

HRESULT STDMETHODCALLTYPE CPageStream::Clone(IStream** /*clone*/) { return E_NOTIMPL; }
