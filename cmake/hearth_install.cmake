include(CMakePackageConfigHelpers)

install(TARGETS hearth EXPORT hearth_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/hearth DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT hearth_targets NAMESPACE hearth:: FILE hearthTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth)

configure_package_config_file(cmake/hearthConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/hearthConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/hearthConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
configure_file(cmake/hearth.pc.in ${CMAKE_CURRENT_BINARY_DIR}/hearth.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/hearthConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/hearthConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/hearth)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/hearth.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
