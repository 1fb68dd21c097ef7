# Defines GTest::gtest and GTest::gtest_main for this directory and those below: the packaged
# library on this machine, or the packaged sources when building for another one.
if(CMAKE_CROSSCOMPILING)
  set(COREBEACON_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's source tree")
  set(BUILD_GMOCK OFF)
  set(INSTALL_GTEST OFF)
  add_subdirectory(${COREBEACON_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest
                   EXCLUDE_FROM_ALL)
  if(NOT TARGET GTest::gtest)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
else()
  find_package(GTest REQUIRED)
endif()
