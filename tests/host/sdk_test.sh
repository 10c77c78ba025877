#!/bin/sh
# SPDX-License-Identifier: MIT
# Uses an installed tree as authors of hosts do: by the commands of its guide, and by its CMake
# package. All hosts decode what aiffconv decodes.
#
#   sdk_test.sh PREFIX CC
set -eu
prefix=$(cd "$1" && pwd) CC=$2
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name qvcodec.pc)")
export CC PKG_CONFIG_PATH
unset QVCODECPATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cp "$prefix"/share/doc/qvcodec*/examples/* .

# A WAV file of 16 bits, mono: a header of 44 bytes, then 200000 bytes of aiffconv itself.
{
    printf 'RIFF\144\15\3\0'
    printf 'WAVEfmt \20\0\0\0\1\0\1\0\104\254\0\0\210\130\1\0\2\0\20\0data\100\15\3\0'
    head -c 200000 "$prefix/bin/aiffconv"
} > in.wav
"$prefix/bin/aiffconv" encode in.wav -o song.aiff -q
"$prefix/bin/aiffconv" convert song.aiff -o song.wav -q
cmp in.wav song.wav
check() {
    [ "$(cat told)" = "44100 Hz, 1 channels, 16 bits, 2267 ms" ]
    tail -c +45 in.wav | cmp - song.pcm
    rm song.pcm
}

gzip -cdf "$prefix"/share/doc/qvcodec*/HOST_GUIDE.md* | grep -E '^    (cc|\./|python3)' > commands
[ "$(wc -l < commands)" = 3 ]
cc() { command "$CC" -std=c99 -Wall -Wextra -Wpedantic -Werror "$@"; }
while read -r command; do
    eval "$command" 2> told || { cat told >&2; exit 1; }
    [ "${command#cc}" != "$command" ] || check
done < commands

cat > CMakeLists.txt << 'END'
cmake_minimum_required(VERSION 3.22)
project(host LANGUAGES C)
find_package(qvcodec 0.1 REQUIRED)
add_executable(cmake_host example_host.c)
target_link_libraries(cmake_host PRIVATE qvcodec::qvcodec)
file(CREATE_LINK "${qvcodec_PLUGIN_DIR}" decoders SYMBOLIC)
END
cmake -B build -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
cmake --build build > /dev/null
build/cmake_host decoders/AIFF.so song.aiff > song.pcm 2> told
check

refused() {
    if $host "$1" "$2" > song.pcm 2> told; then return 1; fi
    grep -q "$3" told
}
for host in ./example_host "python3 example_host.py"; do
    refused decoders/AIFF.so in.wav 'Error first chunk unknown: RIFF'
    refused in.wav song.aiff 'in.wav: no decoder plug-in'
done
