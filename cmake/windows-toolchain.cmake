# Debian's clang and lld for each architecture of Windows. WSD_ARCHITECTURE is x64, x86 or arm64; the presets set it.
set(CMAKE_SYSTEM_NAME Windows)
# CMake's own compiler checks read this file again, in a project that does not know the variables.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES WSD_ARCHITECTURE WSD_ARM64_TOOLCHAIN)

if(WSD_ARCHITECTURE STREQUAL "x64")
  set(CMAKE_SYSTEM_PROCESSOR x86_64)
elseif(WSD_ARCHITECTURE STREQUAL "x86")
  set(CMAKE_SYSTEM_PROCESSOR i686)
elseif(WSD_ARCHITECTURE STREQUAL "arm64")
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
else()
  message(FATAL_ERROR "WSD_ARCHITECTURE is \"${WSD_ARCHITECTURE}\", and neither x64 nor x86 nor arm64")
endif()

# Thread-local variables by way of TlsGetValue. GCC's C++ library, which x64 and x86 link, knows no other. And Wine's
# ARM64 runtime calls libraries of its host that overwrite x18, the register through which Windows programs otherwise
# reach them (and C++ exceptions need one).
set(flags -femulated-tls)
set(link_flags -fuse-ld=lld-19)
if(WSD_ARCHITECTURE STREQUAL "arm64")
  # Debian has no Windows libraries for ARM64: scripts/toolchain-arm64 makes them, and keeps them outside of the work
  # tree.
  if(NOT WSD_ARM64_TOOLCHAIN)
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/toolchain-arm64 --path
      OUTPUT_VARIABLE WSD_ARM64_TOOLCHAIN OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  if(NOT EXISTS ${WSD_ARM64_TOOLCHAIN})
    message(FATAL_ERROR "The ARM64 toolchain is not made yet: run scripts/toolchain-arm64")
  endif()
  set(CMAKE_SYSROOT ${WSD_ARM64_TOOLCHAIN}/aarch64-w64-mingw32)
  set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
  string(APPEND flags " -resource-dir ${WSD_ARM64_TOOLCHAIN}/clang")
  set(cxx_flags -stdlib=libc++)
  string(APPEND link_flags " -rtlib=compiler-rt -unwindlib=libunwind")
else()
  # Debian's own Windows libraries, and the C++ library of its GCC in the variant whose std::thread works; that one
  # wants libwinpthread.
  set(CMAKE_FIND_ROOT_PATH /usr/${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
  string(APPEND link_flags " -pthread")
  if(WSD_ARCHITECTURE STREQUAL "x86")
    # The same arithmetic as on the other architectures, not the extended precision of the x87; and a stack aligned for
    # it, which 32-bit callers don't promise.
    string(APPEND flags " -msse2 -mfpmath=sse -mstackrealign")
  endif()
endif()

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-runner)
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${CMAKE_SYSTEM_PROCESSOR}-w64-windows-gnu)
  set(CMAKE_${language}_FLAGS_INIT "${flags}")
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " ${cxx_flags}")
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "${link_flags}")
endforeach()
set(CMAKE_RC_COMPILER llvm-windres-19)
set(CMAKE_RC_FLAGS_INIT "--target=${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32 -I ${CMAKE_FIND_ROOT_PATH}/include")
set(CMAKE_AR /usr/bin/llvm-ar-19)
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-19)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
