#!/usr/bin/env bash
# Sets up, builds and runs all tests: ./test.sh [preset]
# The presets are those of CMakePresets.json; the tests run with release by default.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
preset=${1:-release}

scripts/setup.sh build test
cmake --preset "$preset" -DAIFF_TESTS=ON >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" -j "$(nproc)"
