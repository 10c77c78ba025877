#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs all tests, the replays of the fuzz targets among them, on a build that counts what is
# executed. Prints the line coverage of each folder of src/ and the functions that nothing called.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

scripts/setup.sh build test coverage
cmake --preset coverage -DAIFF_TESTS=ON >/dev/null
cmake --build --preset coverage
build=build/coverage
find $build -name '*.gcda' -delete
ctest --preset coverage -j "$(getconf _NPROCESSORS_ONLN)" >$build/tests.log || { tail -n 40 $build/tests.log; exit 1; }

# One record for each source: gcovr merges what the objects of several programs counted.
gcovr --root . --filter src/ --json $build/coverage.json $build
jq -r '
    def share: "\(map(select(. > 0)) | length) \(length)";
    (.files[] | "line \(.file | sub("/[^/]*$"; "")) \([.lines[] | select(."gcovr/noncode" | not) | .count] | share)"),
    (.files[] | .file as $file | .functions[]? | select(.execution_count == 0)
        | "never \($file):\(.lineno) \(.name)")' $build/coverage.json |
awk '
    $1 == "line" { hit[$2] += $3; all[$2] += $4; hit["src"] += $3; all["src"] += $4 }
    $1 == "never" { sub(/^never /, ""); never[++count] = $0 }
    END {
        for (folder in all) if (all[folder] > 0)
            printf "%6.1f %% of %5d lines  %s\n", 100 * hit[folder] / all[folder], all[folder], folder | "sort -k6"
        close("sort -k6")
        printf "\nFunctions that nothing called: %d\n", count
        for (i = 1; i <= count; ++i) print "  " never[i]
    }'
