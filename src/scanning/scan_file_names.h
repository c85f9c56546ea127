// Where the scanned pages go.
#pragma once

#include <windows.h>

namespace scanning {

// Builds "<folder>\<fileName>.JPG" in `path`, a buffer of MAX_PATH characters. A null file name counts as empty.
//   E_INVALIDARG  the folder is null or empty
//   0x8007007A    the path has more than 259 characters
HRESULT MakeDestinationPath(const wchar_t* folder, const wchar_t* fileName, wchar_t* path);

// A preview's file in the temporary folder (the Windows folder when there is none). The platform reserves the name by
// an empty placeholder, "RVX<number>.tmp", beside which the preview goes as "RVX<number>.JPG"; the placeholder lives as
// long as this object.
class PreviewFileName {
 public:
  PreviewFileName() = default;
  ~PreviewFileName();
  PreviewFileName(const PreviewFileName&) = delete;
  PreviewFileName& operator=(const PreviewFileName&) = delete;

  // S_OK, or the platform's reason why no temporary name could be made.
  HRESULT Make();

  const wchar_t* path() const noexcept { return m_path; }

 private:
  wchar_t m_placeholder[MAX_PATH] = {};
  wchar_t m_path[MAX_PATH] = {};
};

}  // namespace scanning
