# SPDX-License-Identifier: MIT
# What is installed along with aiffconv, and the archives that `cpack` makes of all that is
# installed. Debian's packages are made by debian/.
if(AIFF_HOST)
  set(AIFF_ZSH_COMPLETION_DIR ${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions CACHE STRING
    "Where zsh finds completions")
  install(FILES docs/aiffconv.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES docs/PARALLEL.md LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/aiffconv)
  install(FILES completions/aiffconv.bash RENAME aiffconv
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
  install(FILES completions/aiffconv.fish
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
  install(FILES completions/_aiffconv DESTINATION ${AIFF_ZSH_COMPLETION_DIR})
endif()

set(CPACK_PACKAGE_NAME aiffconv)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "AIFF/AIFF-C decoder plug-in and converter")
configure_file(LICENSE ${CMAKE_BINARY_DIR}/package/LICENSE.txt COPYONLY) # productbuild's ending
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_BINARY_DIR}/package/LICENSE.txt)
set(CPACK_GENERATOR TGZ)
if(APPLE)
  list(APPEND CPACK_GENERATOR productbuild)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr/local)
endif()
set(CPACK_STRIP_FILES ON)
include(CPack)
