# SPDX-License-Identifier: MIT
# What authors of hosts install: the header, and two ways to find it and the plug-ins, as a
# CMake package and for pkg-config. Both work wherever the installed tree is moved to.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvcodec)
configure_package_config_file(cmake/qvcodecConfig.cmake.in
  ${CMAKE_BINARY_DIR}/sdk/qvcodecConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS AIFF_INSTALL_PLUGIN_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/sdk/qvcodecConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/sdk/qvcodecConfig.cmake
  ${CMAKE_BINARY_DIR}/sdk/qvcodecConfigVersion.cmake DESTINATION ${package_dir})
install(TARGETS qvcodec_header EXPORT qvcodec)
install(EXPORT qvcodec NAMESPACE qvcodec:: FILE qvcodecTargets.cmake DESTINATION ${package_dir})

# A path below the prefix stays relative to it, an absolute one is what it is.
set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${pc_dir} OUTPUT_VARIABLE pc_prefix)
cmake_path(APPEND pc_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
cmake_path(APPEND pc_plugindir "\${prefix}" ${AIFF_INSTALL_PLUGIN_DIR})
list(TRANSFORM CMAKE_DL_LIBS PREPEND "-l" OUTPUT_VARIABLE pc_libs)
configure_file(cmake/qvcodec.pc.in ${CMAKE_BINARY_DIR}/sdk/qvcodec.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/sdk/qvcodec.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES include/qvcodec.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
set(sdk_doc_dir ${CMAKE_INSTALL_DATAROOTDIR}/doc/qvcodec)
install(FILES docs/HOST_GUIDE.md docs/VALIDATION.md DESTINATION ${sdk_doc_dir})
install(DIRECTORY docs/examples DESTINATION ${sdk_doc_dir})
