#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what the tests need, builds, and runs all tests: ./test.sh [preset]
# The preset is one of CMakePresets.json, by default release.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
preset=${1:-release}

case $preset in clang | asan) compiler=clang ;; *) compiler= ;; esac
scripts/setup.sh build test $compiler
cmake --preset "$preset" -DAIFF_TESTS=ON >/dev/null
cmake --build --preset "$preset"
scripts/run_tests.py "$preset" -j "$(getconf _NPROCESSORS_ONLN)"
