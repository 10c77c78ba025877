#!/bin/sh
# SPDX-License-Identifier: MIT
# Compiles the example for host writers as its comment says and compares what it decodes
# with what aiffconv does.
#
#   example_host_test.sh CC PROJECT AIFF.so aiffconv
set -eu
cc=$1 project=$2 plugin=$3 aiffconv=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$cc" -std=c11 -D_DEFAULT_SOURCE -Wall -Wextra -Wpedantic -Werror -I "$project/include" \
    "$project/docs/example_host.c" -ldl -o example_host
# A WAV file of 16 bits, mono: a header of 44 bytes, then 30000 bytes of the plug-in itself.
{
    printf 'RIFF\124\165\0\0WAVEfmt \20\0\0\0\1\0\1\0\104\254\0\0\210\130\1\0\2\0\20\0data\60\165\0\0'
    head -c 30000 "$plugin"
} > in.wav
"$aiffconv" encode in.wav -o in.aiff -q
./example_host "$plugin" in.aiff > out.pcm 2> told
tail -c +45 in.wav | cmp - out.pcm
grep -q '^44100 Hz, 1 channels, 16 bits, 340 ms$' told
! ./example_host "$plugin" in.wav > /dev/null 2> told
grep -q 'Error first chunk unknown: RIFF' told
