#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds what is compared in the release preset and runs the comparison. Works from
# any folder; `bench/run.sh --help` tells the options.
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! (cd "$root" && cmake --preset release -DAIFF_BENCH=ON && cmake --build build/release --target bench) \
    > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
python3 -B "$root/bench/report.py" --build "$root/build/release" "$@"
