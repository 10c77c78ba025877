# SPDX-License-Identifier: MIT
# What is installed along with the programs, and the packages: `cpack` lays out what
# `cmake --install` does, as .deb and .tar.gz.
set(AIFF_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/aiffconv)
install(FILES docs/PARALLEL.md DESTINATION ${AIFF_DOC_DIR})

if(AIFF_HOST)
  # Compressed without name and time: the same input gives the same package.
  find_program(AIFF_GZIP gzip)
  function(install_compressed source name folder)
    set(compressed ${CMAKE_BINARY_DIR}/package/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
      COMMAND sh -c "mkdir -p '${CMAKE_BINARY_DIR}/package' && '${AIFF_GZIP}' -9nc '${source}' > '${compressed}'"
      DEPENDS ${source} VERBATIM)
    add_custom_target(compress_${name} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${folder})
  endfunction()
  if(AIFF_GZIP)
    install_compressed(${PROJECT_SOURCE_DIR}/docs/aiffconv.1 aiffconv.1
      ${CMAKE_INSTALL_MANDIR}/man1)
  else()
    install(FILES docs/aiffconv.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  endif()

  install(FILES completions/aiffconv.bash RENAME aiffconv
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions)
  install(FILES completions/aiffconv.fish
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
  # Where zsh looks depends on who installs: Debian keeps a folder for its packages.
  install(CODE "
    set(folder site-functions)
    if(EXISTS /etc/debian_version AND \"\${CMAKE_INSTALL_PREFIX}\" MATCHES \"/usr\$\")
      set(folder vendor-completions)
    endif()
    file(INSTALL \"${PROJECT_SOURCE_DIR}/completions/_aiffconv\"
      DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}/zsh/\${folder}\")")
  if(AIFF_GZIP AND EXISTS /etc/debian_version)
    install_compressed(${PROJECT_SOURCE_DIR}/cmake/debian/changelog changelog.Debian
      ${AIFF_DOC_DIR})
    install(FILES cmake/debian/copyright DESTINATION ${AIFF_DOC_DIR})
  endif()
endif()

set(CPACK_PACKAGE_NAME aiffconv)
set(CPACK_PACKAGE_CONTACT "The AIFF plug-in developers <maintainers@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "AIFF/AIFF-C decoder plug-in and converter")
set(CPACK_PACKAGE_DESCRIPTION
  "aiffconv converts AIFF and AIFF-C audio files to WAV and other audio files to
AIFF, bit for bit, shows and checks what is in them, and keeps their tags.
.
The decoder is a plug-in, AIFF.so, that other audio hosts can load. It opens
files and HTTP streams, decodes to little-endian PCM, and reads and writes
ID3v2 tags. The header for hosts, an example and a guide are included.")
set(CPACK_GENERATOR "TGZ;DEB")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
