// Formatting and scanning with an argument list, for ARM64 programs of mingw-w64.
//
// On ARM64 Windows a va_list is a plain pointer; on other ARM64 systems it is a record. Wine's ARM64 C runtime is built
// with the compiler of such a system and misreads the list that a Windows program passes, so every printf of ours would
// crash there (Windows itself is fine). These five functions are what all of mingw-w64's printf and scanf family ends
// in (the universal C runtime has no others): defining them here, on mingw-w64's own formatter, keeps argument lists
// inside our module. Compilers with their own C runtime don't see this file.
#if defined(__MINGW32__) && defined(__aarch64__)

#include <stdio.h>
#include <wchar.h>

extern "C" {

// mingw-w64's formatter ends a full buffer; the runtime's functions take a null buffer to ask for the length.
int __cdecl __stdio_common_vsprintf(unsigned __int64, char* text, size_t size, const char* format, _locale_t,
                                    va_list values) {
  return __mingw_vsnprintf(text, size, format, values);
}

int __cdecl __stdio_common_vswprintf(unsigned __int64, wchar_t* text, size_t size, const wchar_t* format, _locale_t,
                                     va_list values) {
  return __mingw_vsnwprintf(text, size, format, values);
}

int __cdecl __stdio_common_vfprintf(unsigned __int64, FILE* file, const char* format, _locale_t, va_list values) {
  return __mingw_vfprintf(file, format, values);
}

int __cdecl __stdio_common_vfwprintf(unsigned __int64, FILE* file, const wchar_t* format, _locale_t, va_list values) {
  return __mingw_vfwprintf(file, format, values);
}

int __cdecl __stdio_common_vsscanf(unsigned __int64, const char* text, size_t, const char* format, _locale_t,
                                   va_list values) {
  return __mingw_vsscanf(text, format, values);
}

}  // extern "C"

#endif
