# What `cmake --install` puts under the prefix: the library with its headers, vkd, the data
# files, a CMake package (find_package(vxkd) gives vxkd::vxkd) and a pkg-config file; and
# the Debian package that `cpack -G DEB` makes of the same.

include(CMakePackageConfigHelpers)

set(VXKD_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vxkd)
set(VXKD_DATA_DIR ${CMAKE_INSTALL_DATADIR}/vxkd)

install(TARGETS vxkd EXPORT vxkdTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(TARGETS vkd RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/ DESTINATION ${VXKD_DATA_DIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vxkd ${PROJECT_BINARY_DIR}/include/vxkd
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")

install(EXPORT vxkdTargets NAMESPACE vxkd:: DESTINATION ${VXKD_CMAKE_DIR}
  COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vxkdConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vxkdConfig.cmake INSTALL_DESTINATION ${VXKD_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vxkdConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxkdConfig.cmake ${PROJECT_BINARY_DIR}/vxkdConfigVersion.cmake
  DESTINATION ${VXKD_CMAKE_DIR} COMPONENT development)

# The pkg-config file names its folders relative to its own, so the installed tree can move.
set(VXKD_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH VXKD_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_PREFIX}/${VXKD_PKGCONFIG_DIR}
     ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VXKD_PREFIX_FROM_PKGCONFIG "${VXKD_PREFIX_FROM_PKGCONFIG}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/vxkd.pc.in ${PROJECT_BINARY_DIR}/vxkd.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vxkd.pc DESTINATION ${VXKD_PKGCONFIG_DIR}
  COMPONENT development)

# The Debian package: everything in one package, with the library dependencies that
# dpkg-shlibdeps finds. A project that adds vxkd as a subdirectory packages itself.
if(NOT VXKD_TOP_LEVEL)
  return()
endif()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vxkd)
set(CPACK_PACKAGE_VENDOR "Tessund")
set(CPACK_PACKAGE_CONTACT "Tessund <vxkd@tessund.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
include(CPack)
