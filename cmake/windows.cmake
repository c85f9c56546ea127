# The library, the simulated scanner and the demo host, for Windows.
enable_language(RC)
find_package(Python3 REQUIRED COMPONENTS Interpreter)

add_compile_definitions(
  UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
  _WIN32_WINNT=0x0601
  # strsafe.h would otherwise poison standard functions that headers included after it use.
  STRSAFE_NO_DEPRECATE)

if(NOT MSVC)
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")
  # Two builds give the same bytes: no path of the build machine, and no time of day (below).
  add_compile_options(-ffunction-sections -fdata-sections -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.
    -ffile-prefix-map=${CMAKE_BINARY_DIR}=build)
  add_link_options(-static -Wl,--gc-sections -Wl,--dynamicbase -Wl,--nxcompat -Wl,--no-insert-timestamp)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    add_link_options(-Wl,--high-entropy-va)
  else()
    # The export list names the functions as callers look them up, without the decoration of 32-bit __stdcall.
    add_link_options(-Wl,--enable-stdcall-fixup)
  endif()
  if(CMAKE_BUILD_TYPE STREQUAL "Debug")
    # Traps instead of reporting: that needs no sanitizer runtime, which this toolchain lacks.
    add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS)
  endif()
  string(APPEND CMAKE_RC_FLAGS " -c 65001")
endif()

# Without it GNU's objcopy and strip put the time of day into the file; LLVM's don't, and lack the option.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(WSD_KEEP_TIME -p)
endif()

# Keeps the debug information beside the program, in <file>.debug, and out of what is shipped.
function(wsd_split_debug_information target)
  if(MSVC OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} ${WSD_KEEP_TIME} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${CMAKE_STRIP} ${WSD_KEEP_TIME} $<TARGET_FILE:${target}>
    COMMAND ${CMAKE_OBJCOPY} ${WSD_KEEP_TIME} --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
    VERBATIM)
endfunction()

# Everything but the exports: the library and the tests are made of it.
file(GLOB WSD_CORE_SOURCES CONFIGURE_DEPENDS src/*/*.cpp)
list(FILTER WSD_CORE_SOURCES EXCLUDE REGEX "src/entry/(exports|load_config)\\.cpp$")
add_library(wsd_core STATIC ${WSD_CORE_SOURCES})
target_include_directories(wsd_core PUBLIC src)
target_link_libraries(wsd_core PUBLIC
  advapi32 comctl32 gdi32 gdiplus ole32 oleaut32 setupapi shell32 shlwapi user32 uuid)

add_library(WiaScanDialog SHARED src/entry/exports.cpp src/entry/load_config.cpp src/entry/WiaScanDialog.def res/wia_scan_dialog.rc)
set_target_properties(WiaScanDialog PROPERTIES PREFIX "")
target_link_libraries(WiaScanDialog PRIVATE wsd_core)
if(MSVC)
  target_link_options(WiaScanDialog PRIVATE /DEPENDENTLOADFLAG:0x800)
else()
  # Nothing refers to the load configuration; a 32-bit symbol has one underscore more.
  set(underscore $<$<EQUAL:${CMAKE_SIZEOF_VOID_P},4>:_>)
  target_link_options(WiaScanDialog PRIVATE -Wl,-u,${underscore}_load_config_used)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_custom_command(TARGET WiaScanDialog POST_BUILD
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/cmake/set_load_config.py $<TARGET_FILE:WiaScanDialog> VERBATIM)
endif()
file(GLOB_RECURSE WSD_RESOURCE_FILES CONFIGURE_DEPENDS res/*.rc res/images/*.ico res/images/*.cur res/*.manifest)
set_source_files_properties(res/wia_scan_dialog.rc PROPERTIES
  OBJECT_DEPENDS "${WSD_RESOURCE_FILES};${CMAKE_SOURCE_DIR}/src/resources/resource_ids.h"
  INCLUDE_DIRECTORIES "${CMAKE_SOURCE_DIR}/src;${CMAKE_SOURCE_DIR}/res"
  COMPILE_DEFINITIONS "PROJECT_VERSION_MAJOR=${PROJECT_VERSION_MAJOR};PROJECT_VERSION_MINOR=${PROJECT_VERSION_MINOR};PROJECT_VERSION_PATCH=${PROJECT_VERSION_PATCH};PROJECT_VERSION_STRING=\\\"${PROJECT_VERSION}\\\"")
wsd_split_debug_information(WiaScanDialog)

file(GLOB sources CONFIGURE_DEPENDS simulator/*.cpp)
add_library(wsd_simulator STATIC ${sources} src/platform/wia2.cpp)
target_include_directories(wsd_simulator PUBLIC src ${CMAKE_SOURCE_DIR})
target_link_libraries(wsd_simulator PUBLIC
  advapi32 gdi32 gdiplus ntdll ole32 oleaut32 setupapi shlwapi user32 uuid windowscodecs)

file(GLOB sources CONFIGURE_DEPENDS demo/*.cpp)
set_source_files_properties(demo/program.rc PROPERTIES OBJECT_DEPENDS ${CMAKE_SOURCE_DIR}/demo/program.manifest
  INCLUDE_DIRECTORIES ${CMAKE_SOURCE_DIR}/demo)
add_executable(scan_demo ${sources} demo/program.rc)
target_link_libraries(scan_demo PRIVATE wsd_simulator advapi32 setupapi shell32)
wsd_split_debug_information(scan_demo)
