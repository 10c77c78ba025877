#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# clang-tidy, with the checks of .clang-tidy, over all of src/ or the sources that are named.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
cmake --preset asan -DAIFF_TESTS=ON >/dev/null
cmake --build --preset asan >/dev/null # for its precompiled headers
if [ $# -gt 0 ]; then
    printf '%s\n' "$@"
else
    git ls-files 'src/*.cpp' | grep -v 'Mac\.cpp$'
fi | xargs -P "$(getconf _NPROCESSORS_ONLN)" -n 4 clang-tidy --quiet -p build/asan
