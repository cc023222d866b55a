# What is installed, in three components: the library (runtime), what a daemon is built with
# (development), and the programs of the desk (tools). Packages have the same three parts.
include(CMakePackageConfigHelpers)

install(TARGETS hearth EXPORT hearth_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libhearth${PROJECT_VERSION_MAJOR}
  RENAME copyright COMPONENT runtime)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libhearth-dev
  RENAME copyright COMPONENT development)
install(DIRECTORY include/hearth DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT hearth_targets NAMESPACE hearth:: FILE hearthTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth COMPONENT development)

configure_package_config_file(cmake/hearthConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/hearthConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/hearthConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
# The prefix is found from where hearth.pc lies, so that an installed tree can be moved.
file(RELATIVE_PATH HEARTH_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/hearth.pc.in ${CMAKE_CURRENT_BINARY_DIR}/hearth.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/hearthConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/hearthConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth COMPONENT development)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/hearth.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# All that is installed, and nothing else.
add_custom_target(hearth_installed DEPENDS hearth)
if(HEARTH_BUILD_DEVICE)
  # Optional: whoever built the library alone can install it alone.
  foreach(program hearth-at-server hearth-modem hearth-notify-server hearth-root hearth-tool
      hearth-web)
    if(NOT TARGET ${program})
      continue()
    endif()
    add_dependencies(hearth_installed ${program})
    install(TARGETS ${program} OPTIONAL
      RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  endforeach()
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/hearth-tools
    RENAME copyright COMPONENT tools)
  install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(DIRECTORY device/scenarios/ DESTINATION ${CMAKE_INSTALL_DATADIR}/hearth
    COMPONENT tools)
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/hearth_packages.cmake)
endif()
