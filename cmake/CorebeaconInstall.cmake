# What `cmake --install` lays down: the headers, both libraries, the man pages, the program with the
# schema of its boards, and the two ways for another build to find them (a CMake package and a
# pkg-config file). All of it is relocatable.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/corebeacon)

install(DIRECTORY include/corebeacon DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
install(FILES man/libcorebeacon.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
install(TARGETS corebeacon_shared corebeacon_static EXPORT corebeacon_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET corebeacon)
  install(TARGETS corebeacon RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES tools/board/board.xsd DESTINATION ${CMAKE_INSTALL_DATADIR}/corebeacon)
  install(FILES man/corebeacon.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES man/corebeacon-script.5 man/corebeacon-board.5
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
  # Where the shells look when the prefix is /usr.
  install(FILES completions/corebeacon.bash RENAME corebeacon
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES completions/_corebeacon
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  install(FILES completions/corebeacon.fish
          DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

install(EXPORT corebeacon_targets NAMESPACE corebeacon:: FILE corebeaconTargets.cmake
        DESTINATION ${package_dir})
configure_package_config_file(cmake/corebeaconConfig.cmake.in
  ${PROJECT_BINARY_DIR}/corebeaconConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/corebeaconConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/corebeaconConfig.cmake
              ${PROJECT_BINARY_DIR}/corebeaconConfigVersion.cmake
        DESTINATION ${package_dir})

# The prefix is told relative to the .pc file, so that a staged or moved tree still works.
file(RELATIVE_PATH COREBEACON_PC_PREFIX
     ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/corebeacon.pc.in ${PROJECT_BINARY_DIR}/corebeacon.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/corebeacon.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
