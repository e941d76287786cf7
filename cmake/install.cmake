# Installation under the prefix, laid out by GNUInstallDirs: the shared
# object with its SONAME links, the header, the message file, a pkg-config
# file, a CMake package giving orvls::orvls, and the documentation.
include(CMakePackageConfigHelpers)

set(ORVLS_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/orvls)

install(TARGETS orvls EXPORT orvlsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/orvls.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/orvls_e.bin DESTINATION ${ORVLS_INSTALL_MESSAGE_DIR} COMPONENT runtime)

install(EXPORT orvlsTargets NAMESPACE orvls:: DESTINATION ${ORVLS_INSTALL_CMAKEDIR} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orvlsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/orvlsConfig.cmake INSTALL_DESTINATION ${ORVLS_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvlsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvlsConfig.cmake ${PROJECT_BINARY_DIR}/orvlsConfigVersion.cmake
  DESTINATION ${ORVLS_INSTALL_CMAKEDIR} COMPONENT development)

# Directories under the prefix are written relative to it, so that
# pkg-config --define-prefix can move the installed tree.
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(ORVLS_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(ORVLS_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvls.pc.in ${PROJECT_BINARY_DIR}/orvls.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvls.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# The README always; the reference manual when the docs target has built it.
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR} OPTIONAL
  COMPONENT documentation)
