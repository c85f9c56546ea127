// What the loader reads about a module before it runs any of its code, and what the compiler's hardening needs: the
// stack guard and the checks of indirect calls. MSVC's runtime brings all of this along; mingw-w64's does so from
// version 11 on.
#ifndef _MSC_VER

#include <windows.h>

#include <cstddef>

extern "C" {

// The linker's. What they stand for is their address: a table, the number of its entries, or the flags of the guard.
extern const BYTE __guard_fids_table, __guard_fids_count, __guard_flags;
extern const BYTE __guard_iat_table, __guard_iat_count;
extern const BYTE __guard_longjmp_table, __guard_longjmp_count;

// What a protected function puts between its arrays and its return address. The loader replaces the value, which it
// knows, by a random one.
#ifdef _WIN64
constexpr UINT_PTR kGuardToReplace = 0x00002B992DDFA232;
#else
constexpr UINT_PTR kGuardToReplace = 0xBB40E64E;
#endif
UINT_PTR __stack_chk_guard = kGuardToReplace;

// A protected function found the value changed. No handler may run: whoever overwrote the stack may have chosen it.
[[noreturn]] void __stack_chk_fail() {
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = static_cast<DWORD>(STATUS_STACK_BUFFER_OVERRUN);
  record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
  RaiseFailFastException(&record, nullptr, FAIL_FAST_GENERATE_EXCEPTION_ADDRESS);
  __builtin_trap();
}

// Stands for the system's check of indirect calls until the loader puts that one into the pointers below, and for good
// where the system has none. It takes the function's address in a register, and no other register may change.
[[gnu::naked]] void WsdUncheckedCall() {
#ifdef _M_AMD64
  asm("jmp *%rax");
#else
  asm("ret");
#endif
}

using GuardFunction = void (*)();
[[gnu::section(".00cfg")]] extern const GuardFunction __guard_check_icall_fptr = WsdUncheckedCall;
[[gnu::section(".00cfg")]] extern const GuardFunction __guard_dispatch_icall_fptr = WsdUncheckedCall;

// IMAGE_LOAD_CONFIG_DIRECTORY as far as it is needed here, with pointers where that has numbers: a compiler can store
// an address only in them. The headers of mingw-w64 before version 11 end at SEHandlerCount.
struct LoadConfig {
  DWORD size = sizeof(LoadConfig);
  // The linker enters DependentLoadFlags, which is among these.
  BYTE unused[offsetof(IMAGE_LOAD_CONFIG_DIRECTORY, SecurityCookie) - sizeof(DWORD)] = {};
  const void* security_cookie = &__stack_chk_guard;
  const void* exception_handlers[2] = {};
  const void* guard_check_function = &__guard_check_icall_fptr;
#ifdef _M_AMD64
  const void* guard_dispatch_function = &__guard_dispatch_icall_fptr;
#else
  const void* guard_dispatch_function = nullptr;
#endif
  const void* guard_functions = &__guard_fids_table;
  const void* guard_function_count = &__guard_fids_count;
  // Of the 64 bits that this takes in a 64-bit module the flags are the lower half; the upper one is the beginning of
  // the field that follows, and 0.
  const void* guard_flags = &__guard_flags;
  BYTE code_integrity[sizeof(void*) == 8 ? 8 : 12] = {};
  const void* guard_imports = &__guard_iat_table;
  const void* guard_import_count = &__guard_iat_count;
  const void* guard_long_jumps = &__guard_longjmp_table;
  const void* guard_long_jump_count = &__guard_longjmp_count;
};
static_assert(offsetof(LoadConfig, guard_functions) == (sizeof(void*) == 8 ? 128 : 80));
static_assert(sizeof(LoadConfig) == (sizeof(void*) == 8 ? 192 : 120));

// The linker enters it into the headers by this name.
extern constinit const LoadConfig _load_config_used = {};

}  // extern "C"

namespace {

// Loaders of old ignore the value: then the guard is at least another one each time. It runs before all code that the
// guard protects, as one of the C runtime's first initialisers.
[[gnu::no_stack_protector]] int __cdecl SeedStackGuard() {
  if (__stack_chk_guard == kGuardToReplace) {
    LARGE_INTEGER counter = {};
    FILETIME time = {};
    QueryPerformanceCounter(&counter);
    GetSystemTimeAsFileTime(&time);
    __stack_chk_guard ^= static_cast<UINT_PTR>(counter.QuadPart) * 0x9E3779B1 ^ time.dwLowDateTime ^
                         GetCurrentProcessId() ^ reinterpret_cast<UINT_PTR>(&counter);
  }
  return 0;
}

[[gnu::section(".CRT$XIB"), gnu::used]] int(__cdecl* const seedStackGuard)() = SeedStackGuard;

}  // namespace

#endif
