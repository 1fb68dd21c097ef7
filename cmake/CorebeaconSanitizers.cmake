# COREBEACON_SANITIZE instruments everything that is built, tests included: a race or an overrun
# between library and caller is seen only when both sides are watched.
if(COREBEACON_SANITIZE)
  add_compile_options(-fsanitize=${COREBEACON_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${COREBEACON_SANITIZE})
  # Some tests count or refuse allocations with operators of their own. g++'s run time lets them;
  # clang's, when it is linked in, defines the operators a second time.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND COREBEACON_SANITIZE MATCHES "thread")
    add_link_options(-fno-sanitize-link-c++-runtime)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-runtime-dir
                    OUTPUT_VARIABLE sanitizer_dir OUTPUT_STRIP_TRAILING_WHITESPACE)
    add_link_options(-shared-libsan)
    list(APPEND CMAKE_BUILD_RPATH ${sanitizer_dir})
  endif()
endif()
