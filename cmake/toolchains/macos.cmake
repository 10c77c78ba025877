# SPDX-License-Identifier: MIT
# macOS, compiled and linked elsewhere. scripts/cross_macos.sh uses it and lays out
# AIFF_MACOS_ROOT: the compiler (bin), the system's headers and stubs (sdk), and the headers of
# the libraries (prefix). Set CMAKE_OSX_ARCHITECTURES to x86_64 or arm64.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES AIFF_MACOS_ROOT)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_OSX_ARCHITECTURES})
set(CMAKE_C_COMPILER ${AIFF_MACOS_ROOT}/bin/clang)
set(CMAKE_CXX_COMPILER ${AIFF_MACOS_ROOT}/bin/clang++)
set(CMAKE_OSX_SYSROOT ${AIFF_MACOS_ROOT}/sdk)
foreach(tool ar ranlib nm install-name-tool)
  string(MAKE_C_IDENTIFIER "CMAKE_${tool}" variable)
  string(TOUPPER ${variable} variable)
  find_program(${variable} llvm-${tool} REQUIRED)
endforeach()
# The libraries are there as headers only; the script looks at what is left undefined.
foreach(kind EXE MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT -Wl,-undefined,dynamic_lookup)
endforeach()
set(CMAKE_PREFIX_PATH ${AIFF_MACOS_ROOT}/prefix)
set(CMAKE_FIND_ROOT_PATH ${AIFF_MACOS_ROOT}/prefix)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
set(ENV{PKG_CONFIG_LIBDIR} ${AIFF_MACOS_ROOT}/prefix/pkgconfig)
