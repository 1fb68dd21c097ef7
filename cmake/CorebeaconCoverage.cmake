# COREBEACON_COVERAGE (clang only) makes every program of the build count which way each of its
# branches went. All of it is instrumented, tests included: of an inline function that only some
# callers count, the linker could keep the copy that does not.
if(COREBEACON_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "COREBEACON_COVERAGE needs clang++: g++ counts the exception edges of "
                        "nearly every call as branches")
  endif()
  # The engine's workers count beside the test's own thread.
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic)
  add_link_options(-fprofile-instr-generate)
endif()
