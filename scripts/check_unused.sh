#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fails when the linker drops a function of ours from both AIFF.so and aiffconv that is not
# in scripts/unused_functions.txt, or when that list names one that is used or gone.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/unused
export LC_ALL=C # one order for sort and comm
# Without inlining every function is there by its name, in a section of its own.
cmake -S . -B $build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DAIFF_TESTS=OFF -DAIFF_BENCH=OFF -DAIFF_PRECOMPILE=ON \
    -DCMAKE_CXX_FLAGS="-O0 -g0 -ffunction-sections" \
    -DCMAKE_EXE_LINKER_FLAGS=-Wl,--gc-sections \
    -DCMAKE_MODULE_LINKER_FLAGS=-Wl,--gc-sections >/dev/null
cmake --build $build --target AIFF aiffconv

functions_in() { nm --defined-only "$@" 2>/dev/null | awk '$2 ~ /^[Tt]$/ {print $3}' | sort -u; }
functions_in $build/bin/aiffconv $build/Codecs/Bin/decoder/AIFF.so >$build/used.txt
find $build -name '*.a' -exec nm --defined-only {} + 2>/dev/null |
    awk '$2 == "T" {print $3}' | sort -u >$build/ours.txt
comm -23 $build/ours.txt $build/used.txt | c++filt -p | sed 's/\[abi:[^]]*\]//' | sort -u >$build/dropped.txt
sed -e '/^#/d' -e '/^$/d' scripts/unused_functions.txt | sort -u >$build/listed.txt

if ! diff --unchanged-line-format= --old-line-format='listed, but used or gone: %L' \
    --new-line-format='unused: %L' $build/listed.txt $build/dropped.txt; then
    exit 1
fi
echo "$(wc -l <$build/ours.txt) functions, $(wc -l <$build/dropped.txt) unused ones, all listed"
