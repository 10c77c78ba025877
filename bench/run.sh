#!/bin/sh
# Builds the plug-in, the host and the measuring programs in the release preset and
# runs the comparison. Works from any folder; see `bench/run.sh --help`.
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
(
    cd "$root"
    cmake --preset release
    cmake --build build/release --target bench
) > "${TMPDIR:-/tmp}/aiff-bench-build.$$" 2>&1 || {
    cat "${TMPDIR:-/tmp}/aiff-bench-build.$$" >&2
    rm -f "${TMPDIR:-/tmp}/aiff-bench-build.$$"
    exit 1
}
rm -f "${TMPDIR:-/tmp}/aiff-bench-build.$$"
exec python3 "$root/bench/report.py" --build "$root/build/release" "$@"
