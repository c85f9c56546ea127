# The library, the simulated scanner and the demo host, for Windows.
enable_language(RC)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

add_compile_definitions(
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
  _WIN32_WINNT=0x0601
  # strsafe.h would otherwise poison standard functions that headers included after it use.
  STRSAFE_NO_DEPRECATE)

if(NOT MSVC)
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
  set(CMAKE_CXX_FLAGS_DEBUG "")
  # Symbols as Windows debuggers read them, in <program>.pdb beside each program, which names it without a path. Those
  # of the C++ library, in another format, are left out.
  add_compile_options(-g -gcodeview -gno-codeview-command-line)
  add_link_options(LINKER:--pdb= LINKER:-Xlink=-pdbaltpath:%_PDB% LINKER:--strip-all)
  # Two builds give the same bytes: no path of the build machine, and no time of day. In the symbols the linker
  # puts the sources below a folder of this name.
  set(symbols_root ${PROJECT_NAME}-${PROJECT_VERSION})
  add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}=. -fdebug-prefix-map=${CMAKE_SOURCE_DIR}/=
    -fdebug-compilation-dir=.)
  if(WSD_ARM64_TOOLCHAIN)
    add_compile_options(-fdebug-prefix-map=${WSD_ARM64_TOOLCHAIN}=/toolchain)
  endif()
  add_link_options(LINKER:-Xlink=-pdbsourcepath:${symbols_root} LINKER:--no-insert-timestamp)
  # Hardening: stack guard, checked indirect calls, and what the loader needs for them.
  add_compile_options(-fstack-protector-strong -mguard=cf)
  add_link_options(-mguard=cf LINKER:--dynamicbase LINKER:--nxcompat)

  add_compile_options(-ffunction-sections -fdata-sections)
  add_link_options(-static LINKER:--gc-sections)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    add_link_options(LINKER:--high-entropy-va)
  else()
    # The export list names the functions as callers look them up, without the decoration of 32-bit __stdcall.
    add_link_options(LINKER:--enable-stdcall-fixup)
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    # Traps instead of reporting: that needs no sanitizer runtime, which this toolchain lacks.
    add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS)
  endif()
  string(APPEND CMAKE_RC_FLAGS " -c 65001")

  add_library(wsd_load_config STATIC src/platform/load_config.cpp)
  link_libraries(wsd_load_config)
endif()

# Everything but the exports: the library and the tests are made of it.
file(GLOB WSD_CORE_SOURCES CONFIGURE_DEPENDS src/*/*.cpp)
list(FILTER WSD_CORE_SOURCES EXCLUDE REGEX "src/(entry/exports|platform/load_config)\\.cpp$")
add_library(wsd_core STATIC ${WSD_CORE_SOURCES})
target_include_directories(wsd_core PUBLIC src)
target_link_libraries(wsd_core PUBLIC
  advapi32 comctl32 gdi32 gdiplus ole32 oleaut32 setupapi shell32 shlwapi user32 uuid)

add_library(WiaScanDialog SHARED src/entry/exports.cpp res/wia_scan_dialog.rc)
set_target_properties(WiaScanDialog PROPERTIES PREFIX "")
target_link_libraries(WiaScanDialog PRIVATE wsd_core)
# The libraries that this one imports come from the system's folder. Otherwise the loader looks into the application's
# folder first, where, unlike into the system's, others may be able to write. The value is LoadLibraryEx's
# LOAD_LIBRARY_SEARCH_SYSTEM32; Windows heeds it from version 10 1607 on.
if(MSVC)
  target_link_options(WiaScanDialog PRIVATE /DEPENDENTLOADFLAG:0x800)
else()
  target_link_options(WiaScanDialog PRIVATE LINKER:-Xlink=-dependentloadflag:0x800)
endif()
# A relative path, because the linker writes its command line into the symbols.
set(exports src/entry/WiaScanDialog.def)
set_target_properties(WiaScanDialog PROPERTIES LINK_DEPENDS ${CMAKE_SOURCE_DIR}/${exports})
file(RELATIVE_PATH exports ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR}/${exports})
target_link_options(WiaScanDialog PRIVATE $<IF:$<BOOL:${MSVC}>,/DEF:${exports},${exports}>)
file(GLOB_RECURSE WSD_RESOURCE_FILES CONFIGURE_DEPENDS res/*.rc res/images/*.ico res/images/*.cur res/*.manifest)
set_source_files_properties(res/wia_scan_dialog.rc PROPERTIES
  OBJECT_DEPENDS "${WSD_RESOURCE_FILES};${CMAKE_SOURCE_DIR}/src/resources/resource_ids.h"
  INCLUDE_DIRECTORIES "${CMAKE_SOURCE_DIR}/src;${CMAKE_SOURCE_DIR}/res"
  COMPILE_DEFINITIONS "PROJECT_VERSION_MAJOR=${PROJECT_VERSION_MAJOR};PROJECT_VERSION_MINOR=${PROJECT_VERSION_MINOR};PROJECT_VERSION_PATCH=${PROJECT_VERSION_PATCH};PROJECT_VERSION_STRING=\\\"${PROJECT_VERSION}\\\"")

file(GLOB sources CONFIGURE_DEPENDS simulator/*.cpp)
add_library(wsd_simulator STATIC ${sources} src/platform/wia2.cpp)
target_include_directories(wsd_simulator PUBLIC src ${CMAKE_SOURCE_DIR})
target_link_libraries(wsd_simulator PUBLIC
  advapi32 gdi32 gdiplus ntdll ole32 oleaut32 setupapi shlwapi user32 uuid windowscodecs)

# Everything but the main function: the program and the tests are made of it.
file(GLOB sources CONFIGURE_DEPENDS demo/*.cpp)
list(FILTER sources EXCLUDE REGEX "/scan_demo\\.cpp$")
add_library(wsd_demo STATIC ${sources})
target_link_libraries(wsd_demo PUBLIC wsd_simulator shell32)
set_source_files_properties(demo/program.rc PROPERTIES OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/demo/program.manifest
  INCLUDE_DIRECTORIES ${CMAKE_SOURCE_DIR}/demo)
add_executable(scan_demo demo/scan_demo.cpp demo/program.rc)
target_link_libraries(scan_demo PRIVATE wsd_demo)
