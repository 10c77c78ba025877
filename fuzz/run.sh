#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzz targets and runs each for some seconds: fuzz/run.sh [SECONDS] [TARGET...]
# Every run has another seed, which it prints. A finding fails the run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source fuzz/targets.sh
seconds=${1:-60}
[ $# -gt 0 ] && shift
[ $# -gt 0 ] || set -- $all_targets
prepare "$@"

run() {
    source fuzz/targets.sh
    local log=$corpora/$1.log
    fuzz "$1" "$seconds" "$log" || { tail -n 40 "$log"; echo "$1: a finding" >&2; return 1; }
    echo "$1: $(runs_in "$log") runs, no finding"
}
export -f run
export seconds
printf '%s\n' "$@" | xargs -P "$jobs" -I{} bash -euo pipefail -c 'run {}'
