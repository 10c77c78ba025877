# SPDX-License-Identifier: MIT
# Compiler settings shared by all targets, carried by one interface library.

find_package(Threads REQUIRED)

add_library(aiff_settings INTERFACE)
target_link_libraries(aiff_settings INTERFACE Threads::Threads)
target_compile_options(aiff_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wundef
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast>
  # gcc 12 sees overlaps in std::string's operator+ that are not there.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${AIFF_WERROR}>:-Werror>
  -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)

if(AIFF_FUZZ)
  # Dictionaries and structured mutations find what tracing comparisons would, in half the time;
  # nothing asks for indirect calls and the depth of the stack.
  target_compile_options(aiff_settings INTERFACE
    -fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp,indirect-calls,stack-depth)
endif()
if(AIFF_SANITIZE)
  target_compile_options(aiff_settings INTERFACE
    -fsanitize=${AIFF_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
    -g1 -O$<IF:$<BOOL:${AIFF_FUZZ}>,2,1>)
  target_link_options(aiff_settings INTERFACE -fsanitize=${AIFF_SANITIZE})
  if(AIFF_FUZZ) # the corpus is replayed with these checks, of each access
    target_compile_options(aiff_settings INTERFACE
      -fno-sanitize=alignment,null,object-size,vptr)
  endif()
else()
  # Hardening. Fortify needs an optimising build.
  target_compile_options(aiff_settings INTERFACE
    -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  if(NOT APPLE)
    target_link_options(aiff_settings INTERFACE
      -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  endif()
endif()

# For builds from scratch, where most of the time goes into reading the standard headers.
if(AIFF_PRECOMPILE)
  foreach(header algorithm array cstdint filesystem functional limits map memory optional set
      span string string_view vector)
    target_precompile_headers(aiff_settings INTERFACE "$<$<COMPILE_LANGUAGE:CXX>:<${header}$<ANGLE-R>>")
  endforeach()
endif()
