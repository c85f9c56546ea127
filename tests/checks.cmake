# Checks that run no Windows program: of the built library, and of the sources. Included for Windows builds.
set(checks ${CMAKE_SOURCE_DIR}/cmake/checks)

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  find_program(LLVM_PDBUTIL llvm-pdbutil-19 REQUIRED)
  find_program(LLVM_READOBJ llvm-readobj-19 REQUIRED)
  add_test(NAME dll_static COMMAND ${Python3_EXECUTABLE} ${checks}/check_dll.py $<TARGET_FILE:WiaScanDialog>
    --machine ${WSD_ARCHITECTURE} --version ${PROJECT_VERSION}
    --ids ${CMAKE_SOURCE_DIR}/src/resources/resource_ids.h --readobj ${LLVM_READOBJ}
    --pdbutil ${LLVM_PDBUTIL})
endif()

# The sources are the same for every architecture.
if(WSD_ARCHITECTURE STREQUAL "x64")
  add_test(NAME layering COMMAND ${Python3_EXECUTABLE} ${checks}/check_layering.py ${CMAKE_SOURCE_DIR})
  add_test(NAME package COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tests/package_test.py)
  add_test(NAME documented_commands COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/tests/documented_commands_test.py
    $<TARGET_FILE:scan_demo> ${CMAKE_CROSSCOMPILING_EMULATOR})
  set_tests_properties(documented_commands PROPERTIES RESOURCE_LOCK screen TIMEOUT 300)
  find_program(CLANG_FORMAT clang-format-19 REQUIRED)
  set(formatted "")
  foreach(folder src simulator demo tests bench)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.h ${CMAKE_SOURCE_DIR}/${folder}/*.cpp)
    list(APPEND formatted ${sources})
  endforeach()
  add_test(NAME formatting COMMAND ${CLANG_FORMAT} --dry-run -Werror ${formatted})
endif()
