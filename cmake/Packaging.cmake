# What is installed, and how other projects find it: a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS zqlogging EXPORT zqloggingTargets)
install(DIRECTORY include/zqlogging DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT zqloggingTargets NAMESPACE zqlogging:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zqlogging)
if(TARGET zqlog)
  file(RELATIVE_PATH zqlogging_libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(zqlog PROPERTIES INSTALL_RPATH "$ORIGIN/${zqlogging_libdir}")
  install(TARGETS zqlog)
endif()

set(zqlogging_generated ${CMAKE_CURRENT_BINARY_DIR}/package)
configure_package_config_file(cmake/zqloggingConfig.cmake.in ${zqlogging_generated}/zqloggingConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zqlogging)
write_basic_package_version_file(${zqlogging_generated}/zqloggingConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${zqlogging_generated}/zqloggingConfig.cmake ${zqlogging_generated}/zqloggingConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zqlogging)

file(RELATIVE_PATH zqlogging_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/zqlogging.pc.in ${zqlogging_generated}/zqlogging.pc @ONLY)
install(FILES ${zqlogging_generated}/zqlogging.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
