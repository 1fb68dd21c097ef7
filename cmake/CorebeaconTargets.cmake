# The few target shapes of this project, each said once.

add_library(corebeacon_warnings INTERFACE)
target_compile_options(corebeacon_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2
  $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
  # g++ 12 sees overlaps in the standard library's own operator+ of strings that cannot be.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${COREBEACON_WERROR}>:-Werror>)

# corebeacon_module(platform a.cpp b.cpp): one folder of the library as an object library.
# Which folder may include which is proven by a test; include paths are the same for all.
function(corebeacon_module name)
  add_library(corebeacon_${name} OBJECT ${ARGN})
  target_include_directories(corebeacon_${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(corebeacon_${name} PUBLIC Threads::Threads PRIVATE corebeacon_warnings)
  # -O3 makes the library a fifth larger and no request faster.
  target_compile_options(corebeacon_${name} PRIVATE
    $<$<CONFIG:Release>:-O2> -ffunction-sections -fdata-sections)
  # The folders whose classes and functions are public, for the test of the binary interface.
  if(COREBEACON_BUILD_TESTS AND name MATCHES "^(platform|config|front)$")
    target_compile_options(corebeacon_${name} PRIVATE $<$<CONFIG:Release>:-g>)
  endif()
endfunction()

# corebeacon_seldom(a.cpp ...): files of a module that run once or for a person, built for size.
function(corebeacon_seldom)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-Os>)
endfunction()

# Tests are compiled for the person who waits for them: what they say is not timed, and an optimiser
# spends most of its time on their macros. The library under them keeps the build type's flags.
add_library(corebeacon_test_flags INTERFACE)
target_compile_options(corebeacon_test_flags INTERFACE -O0)
target_link_libraries(corebeacon_test_flags INTERFACE corebeacon_warnings)

# The test programs' common precompiled header. Its owner is itself a program, since compilers refuse
# a header that was precompiled for another kind of code.
function(corebeacon_use_test_pch target)
  if(NOT COREBEACON_TEST_PCH)
    return()
  endif()
  if(NOT TARGET corebeacon_test_pch)
    file(WRITE ${PROJECT_BINARY_DIR}/test_pch.cpp "int main() { return 0; }\n")
    add_executable(corebeacon_test_pch ${PROJECT_BINARY_DIR}/test_pch.cpp)
    target_link_libraries(corebeacon_test_pch PRIVATE
      GTest::gtest Threads::Threads corebeacon_test_flags)
    target_precompile_headers(corebeacon_test_pch PRIVATE
      <gtest/gtest.h> <functional> <map> <memory> <set> <sstream> <string> <thread> <vector>)
  endif()
  target_precompile_headers(${target} REUSE_FROM corebeacon_test_pch)
endfunction()

# The tests of the library, labelled "library".
set(corebeacon_library_suites
  platform config command engine resources front model faults soak races oom)

# corebeacon_test(engine SOURCES a.cpp LIBS corebeacon_platform ...): one GoogleTest program
# named corebeacon_<name>_tests, run by ctest as <name>.
function(corebeacon_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(corebeacon_${name}_tests ${ARG_SOURCES})
  target_include_directories(corebeacon_${name}_tests PRIVATE
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests
    ${PROJECT_SOURCE_DIR}/tools)
  target_link_libraries(corebeacon_${name}_tests PRIVATE
    ${ARG_LIBS} GTest::gtest GTest::gtest_main Threads::Threads corebeacon_test_flags)
  corebeacon_use_test_pch(corebeacon_${name}_tests)
  add_test(NAME ${name} COMMAND corebeacon_${name}_tests)
  if(name IN_LIST corebeacon_library_suites)
    set_tests_properties(${name} PROPERTIES LABELS library)
  endif()
endfunction()
