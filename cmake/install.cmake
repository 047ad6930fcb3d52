# What "cmake --install" puts on a system, in the places that GNU programs have.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# ---- The library -------------------------------------------------------------------------------------

set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/osif)
install(TARGETS osif EXPORT osif-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/osif.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# For find_package(osif), which gives the target osif::osif.
install(EXPORT osif-targets NAMESPACE osif:: DESTINATION ${cmake_folder})
configure_file(packaging/osif-config.cmake.in osif-config.cmake COPYONLY)
# What programs can rely on has only grown since the first version.
write_basic_package_version_file(osif-config-version.cmake COMPATIBILITY AnyNewerVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/osif-config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/osif-config-version.cmake
  DESTINATION ${cmake_folder})

configure_file(packaging/write_pkg_config.cmake.in write_pkg_config.cmake @ONLY)
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/write_pkg_config.cmake)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/osif.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES docs/man/libosif.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)

# ---- The command -------------------------------------------------------------------------------------

# It finds the library wherever both were installed. A package for a system's own folders wants no such path:
# it sets CMAKE_SKIP_INSTALL_RPATH.
file(RELATIVE_PATH from_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(osif_command PROPERTIES INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
install(TARGETS osif_command RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/man/osif.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES packaging/completion/osif.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME osif)
install(FILES packaging/completion/osif.zsh
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _osif)
install(FILES packaging/completion/osif.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

# ---- The service -------------------------------------------------------------------------------------

set_target_properties(osifd PROPERTIES INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
install(TARGETS osifd RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/man/osifd.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
# systemd looks here below every usual prefix, whatever the folder of libraries is called.
configure_file(packaging/write_units.cmake.in write_units.cmake @ONLY)
install(SCRIPT ${CMAKE_CURRENT_BINARY_DIR}/write_units.cmake)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/units/system/osifd.service
  DESTINATION lib/systemd/system)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/units/user/osifd.service
  ${CMAKE_CURRENT_BINARY_DIR}/units/user/osif-mirror@.service DESTINATION lib/systemd/user)

# ---- Taking it off again -------------------------------------------------------------------------------

# The prefix may have been given when it was installed.
install(CODE "file(WRITE \"${CMAKE_BINARY_DIR}/install_prefix.txt\" \"\${CMAKE_INSTALL_PREFIX}\\n\")")
add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -D MANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt
    -D PREFIX_FILE=${CMAKE_BINARY_DIR}/install_prefix.txt -P ${CMAKE_SOURCE_DIR}/cmake/uninstall.cmake
  COMMENT "Taking off what was installed" VERBATIM)
