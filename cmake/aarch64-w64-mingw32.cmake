# Debian's clang and lld with the ARM64 runtime libraries that scripts/toolchain-arm64 makes and keeps outside of the
# work tree.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
if(NOT WSD_ARM64_TOOLCHAIN)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/toolchain-arm64 --path
    OUTPUT_VARIABLE WSD_ARM64_TOOLCHAIN OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()
if(NOT EXISTS ${WSD_ARM64_TOOLCHAIN})
  message(FATAL_ERROR "The ARM64 toolchain is not made yet: run scripts/toolchain-arm64")
endif()
# CMake's own compiler checks read this file again, in a project that does not know the variable.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES WSD_ARM64_TOOLCHAIN)

set(CMAKE_SYSROOT ${WSD_ARM64_TOOLCHAIN}/aarch64-w64-mingw32)
# Thread-local variables by way of TlsGetValue: Wine's ARM64 runtime calls libraries of its host that overwrite x18, the
# register through which Windows programs otherwise reach them (and C++ exceptions need one).
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET aarch64-w64-windows-gnu)
  set(CMAKE_${language}_FLAGS_INIT "-resource-dir ${WSD_ARM64_TOOLCHAIN}/clang -femulated-tls")
endforeach()
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
string(APPEND CMAKE_CXX_FLAGS_INIT " -stdlib=libc++")
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld-19 -rtlib=compiler-rt -unwindlib=libunwind")
endforeach()
set(CMAKE_RC_COMPILER llvm-windres-19)
set(CMAKE_RC_FLAGS_INIT "--target=aarch64-w64-mingw32 -I ${CMAKE_SYSROOT}/include")
set(CMAKE_AR /usr/bin/llvm-ar-19)
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-19)
set(CMAKE_OBJCOPY /usr/bin/llvm-objcopy-19)
set(CMAKE_STRIP /usr/bin/llvm-strip-19)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/arm64-runner)
