# COREBEACON_SANITIZE instruments everything that is built, tests included: a race or an overrun
# between library and caller is seen only when both sides are watched.
if(COREBEACON_SANITIZE)
  add_compile_options(-fsanitize=${COREBEACON_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${COREBEACON_SANITIZE})
  # Some tests count or refuse allocations with operators of their own. g++'s run time lets them;
  # clang's, as it is linked by default, defines the operators a second time. What works differs:
  # shared, the one for threads crashes at start; for addresses, its C++ part is indispensable.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND NOT COREBEACON_FUZZ)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
                    OUTPUT_VARIABLE runtime_dir OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(COREBEACON_SANITIZE MATCHES "thread")
      set(runtime ${runtime_dir}/libclang_rt.tsan-${CMAKE_SYSTEM_PROCESSOR}.a)
      add_link_options(-fno-sanitize-link-runtime)
      string(APPEND CMAKE_EXE_LINKER_FLAGS
        " -Wl,--whole-archive ${runtime} -Wl,--no-whole-archive -Wl,--dynamic-list=${runtime}.syms -lm")
    else()
      add_link_options(-shared-libsan)
      list(APPEND CMAKE_BUILD_RPATH ${runtime_dir})
    endif()
  endif()
endif()

# COREBEACON_FUZZ lets libFuzzer see which way everything that is built goes. Its own main function
# is for the fuzz programs alone, which ask for it themselves.
if(COREBEACON_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "COREBEACON_FUZZ needs clang++, which brings libFuzzer")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
