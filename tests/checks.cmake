# Checks that run no Windows program: of the built library, and of the sources. Included for Windows builds.
set(checks ${CMAKE_SOURCE_DIR}/cmake/checks)

set(machine_x86_64 x64)
set(machine_aarch64 arm64)
set(machine_i686 x86)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_test(NAME dll_static COMMAND ${Python3_EXECUTABLE} ${checks}/check_dll.py $<TARGET_FILE:WiaScanDialog>
    --machine ${machine_${CMAKE_SYSTEM_PROCESSOR}} --version ${PROJECT_VERSION}
    --ids ${CMAKE_SOURCE_DIR}/src/resources/resource_ids.h)
endif()

# The sources are the same for every architecture.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  add_test(NAME layering COMMAND ${Python3_EXECUTABLE} ${checks}/check_layering.py ${CMAKE_SOURCE_DIR})
  add_test(NAME package COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tests/package_test.py)
  find_program(CLANG_FORMAT clang-format-19 REQUIRED)
  set(formatted "")
  foreach(folder src simulator demo tests bench)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.h ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND formatted ${sources})
  endforeach()
  add_test(NAME formatting COMMAND ${CLANG_FORMAT} --dry-run -Werror ${formatted})
endif()
