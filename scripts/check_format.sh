#!/usr/bin/env bash
# Fails when clang-format would change a source.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files '*.c' '*.cpp' '*.h' | xargs clang-format --dry-run -Werror
