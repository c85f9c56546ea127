#include "tests/support/platform_faults.h"

#include <shlwapi.h>

#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>

#include "platform/gdiplus_owners.h"
#include "platform/scoped.h"

namespace harness {
namespace {

namespace gdip = Gdiplus::DllExports;

thread_local PlatformFaults* current = nullptr;

struct Redirection {
  const char* name;
  void* replacement;
};

// The function that the import table named before; one for each redirection.
void* originals[32];

template <std::size_t kIndex, PlatformCalls kCalls, LONG_PTR kFailure, class Result, class... Arguments>
Result WINAPI Replacement(Arguments... arguments) {
  if (PlatformFaults::Strikes(kCalls, kIndex == 0)) {
    if constexpr (std::is_pointer_v<Result>) {
      return reinterpret_cast<Result>(kFailure);
    } else {
      return static_cast<Result>(kFailure);
    }
  }
  return reinterpret_cast<Result(WINAPI*)(Arguments...)>(originals[kIndex])(arguments...);
}

// kFailure is what the function answers when it fails. The function itself is named for its type only.
template <std::size_t kIndex, PlatformCalls kCalls, LONG_PTR kFailure, class Result, class... Arguments>
Redirection Redirect(const char* name, Result(WINAPI* /*function*/)(Arguments...)) {
  return {name, reinterpret_cast<void*>(&Replacement<kIndex, kCalls, kFailure, Result, Arguments...>)};
}

constexpr PlatformCalls kFiles = PlatformCalls::files;
constexpr PlatformCalls kMemory = PlatformCalls::memory;
constexpr PlatformCalls kGraphics = PlatformCalls::graphics;

// What the library calls. The index is the place in this list; the deletion of files comes first.
const Redirection kRedirections[] = {
    Redirect<0, kFiles, FALSE>("DeleteFileW", &DeleteFileW),
    Redirect<1, kFiles, FALSE>("MoveFileW", &MoveFileW),
    Redirect<2, kFiles, -1>("CreateFileW", &CreateFileW),
    Redirect<3, kFiles, FALSE>("ReadFile", &ReadFile),
    Redirect<4, kFiles, FALSE>("GetFileSizeEx", &GetFileSizeEx),
    Redirect<5, kFiles, 0>("GetTempPathW", &GetTempPathW),
    Redirect<6, kFiles, 0>("GetTempFileNameW", &GetTempFileNameW),
    Redirect<7, kFiles, E_ACCESSDENIED>("SHCreateStreamOnFileEx", &SHCreateStreamOnFileEx),
    Redirect<8, kMemory, 0>("SysAllocString", &SysAllocString),
    Redirect<9, kMemory, 0>("CoTaskMemAlloc", &CoTaskMemAlloc),
    Redirect<10, kMemory, 0>("GlobalAlloc", &GlobalAlloc),
    Redirect<11, kGraphics, 0>("GetDC", &GetDC),
    Redirect<12, kGraphics, 0>("CreatePen", &CreatePen),
    Redirect<13, kGraphics, 0>("CreateFontW", &CreateFontW),
    Redirect<14, kGraphics, 0>("LoadImageW", &LoadImageW),
    Redirect<15, kGraphics, 0>("LoadMenuW", &LoadMenuW),
    Redirect<16, kGraphics, Gdiplus::Win32Error>("GdiplusStartup", &Gdiplus::GdiplusStartup),
    Redirect<17, kGraphics, Gdiplus::OutOfMemory>("GdipCreateFromHDC", &gdip::GdipCreateFromHDC),
    Redirect<18, kGraphics, Gdiplus::OutOfMemory>("GdipLoadImageFromFile", &gdip::GdipLoadImageFromFile),
    Redirect<19, kGraphics, Gdiplus::OutOfMemory>("GdipCreateBitmapFromScan0", &gdip::GdipCreateBitmapFromScan0),
    Redirect<20, kGraphics, Gdiplus::OutOfMemory>("GdipBitmapLockBits", &gdip::GdipBitmapLockBits),
    Redirect<21, kGraphics, Gdiplus::OutOfMemory>("GdipSaveImageToStream", &gdip::GdipSaveImageToStream),
    Redirect<22, kGraphics, REGDB_E_CLASSNOTREG>("CoCreateInstance", &CoCreateInstance),
};
static_assert(std::size(kRedirections) <= std::size(originals));

bool RedirectImports() {
  for (std::size_t i = 0; i < std::size(kRedirections); ++i) {
    originals[i] = ReplaceImport(kRedirections[i].name, kRedirections[i].replacement);
  }
  return true;
}

}  // namespace

void* ReplaceImport(const char* name, void* replacement) {
  void* before = nullptr;
  auto* base = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
  for (; library->Name != 0; ++library) {
    const auto* lookup = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
    auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->FirstThunk);
    for (; lookup->u1.AddressOfData != 0; ++lookup, ++address) {
      const auto* import = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + lookup->u1.AddressOfData);
      if (IMAGE_SNAP_BY_ORDINAL(lookup->u1.Ordinal) ||
          std::strcmp(reinterpret_cast<const char*>(import->Name), name) != 0) {
        continue;
      }
      DWORD protection = 0;
      VirtualProtect(&address->u1.Function, sizeof(address->u1.Function), PAGE_READWRITE, &protection);
      before = reinterpret_cast<void*>(address->u1.Function);
      address->u1.Function = reinterpret_cast<ULONG_PTR>(replacement);
      VirtualProtect(&address->u1.Function, sizeof(address->u1.Function), protection, &protection);
    }
  }
  return before;
}

namespace {

const char* userLanguage = "0409";
DWORD userMeasure = 0;

int WINAPI LanguageOfUser(LCID /*locale*/, LCTYPE /*type*/, LPSTR data, int capacity) {
  return lstrcpynA(data, userLanguage, capacity) != nullptr ? lstrlenA(data) + 1 : 0;
}

int WINAPI MeasureOfUser(LCID locale, LCTYPE type, LPWSTR data, int capacity) {
  if (type != (LOCALE_IMEASURE | LOCALE_RETURN_NUMBER)) {
    return platform::LoadedFunction<decltype(&GetLocaleInfoW)>(L"kernel32", "GetLocaleInfoW")(locale, type, data,
                                                                                              capacity);
  }
  std::memcpy(data, &userMeasure, sizeof(userMeasure));
  return sizeof(userMeasure) / sizeof(wchar_t);
}

}  // namespace

UserLocale::UserLocale(const char* language, bool inches)
    : m_language(std::exchange(userLanguage, language)), m_measure(std::exchange(userMeasure, inches ? 1 : 0)) {
  ReplaceImport("GetLocaleInfoA", reinterpret_cast<void*>(&LanguageOfUser));
  ReplaceImport("GetLocaleInfoW", reinterpret_cast<void*>(&MeasureOfUser));
}

UserLocale::~UserLocale() {
  userLanguage = m_language;
  userMeasure = m_measure;
}

PlatformFaults::PlatformFaults(PlatformCalls calls, const PlatformFault& fault) : m_calls(calls), m_fault(fault) {
  static const bool redirected = RedirectImports();
  current = redirected ? this : nullptr;
}

PlatformFaults::~PlatformFaults() { current = nullptr; }

bool PlatformFaults::Strikes(PlatformCalls calls, bool deletes) noexcept {
  PlatformFaults* faults = current;
  if (faults == nullptr || faults->m_calls != calls) {
    return false;
  }
  const std::size_t call = ++faults->m_count;
  const PlatformFault& fault = faults->m_fault;
  if (fault.call == 0 || call < fault.call || (call > fault.call && !fault.fromThenOn)) {
    return false;
  }
  faults->m_refusedDeletions += deletes ? 1 : 0;
  SetLastError(fault.error);
  return true;
}

}  // namespace harness
