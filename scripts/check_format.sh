#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Fails when clang-format would change a source, or when a source or a script does not name
# its licence.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
git ls-files -z '*.c' '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror

without=$(git ls-files -z '*.c' '*.cpp' '*.h' '*.py' '*.sh' '*.cmake' '*.cmake.in' \
    '*CMakeLists.txt' .ci completions debian/rules | xargs -0 grep -L '^[#/* ]*SPDX-License-Identifier: MIT') || true
if [ -n "$without" ]; then
    echo "No line \"SPDX-License-Identifier: MIT\" at the top of:" >&2
    echo "$without" >&2
    exit 1
fi
