#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds the plug-in in the release preset and compares its streaming with curl. Works
# from any folder; `bench/stream/run.sh --help` tells the options.
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/../.." && pwd)
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! (cd "$root" && cmake --preset release &&
    cmake --build build/release --target stream_client AIFF) > "$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
python3 "$root/bench/stream/stream_bench.py" --build "$root/build/release" "$@"
