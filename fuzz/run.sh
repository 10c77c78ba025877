#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the fuzz targets and runs each for some seconds: fuzz/run.sh [SECONDS] [TARGET...]
# New inputs that reach new code are kept in build/fuzz/corpus; a finding is saved as
# build/fuzz/corpus/TARGET-crash-... and fails the run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=${1:-60}
[ $# -gt 0 ] && shift
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=($(sed -n 's/^set(targets \(.*\))$/\1/p' fuzz/CMakeLists.txt))

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

bin=build/fuzz/fuzz
run() {
    local target=$1 corpus=build/fuzz/corpus/$1 dictionary=fuzz/${1#fuzz_}.dict
    mkdir -p "$corpus"
    "$bin/${target}_replay" --write "$corpus" >/dev/null
    [ -f "$dictionary" ] || dictionary=fuzz/aiff.dict
    "$bin/$target" "$corpus" -dict="$dictionary" -max_total_time="$seconds" -timeout=20 -seed=1 \
        -rss_limit_mb=2048 -artifact_prefix="$corpus-" -print_final_stats=1 \
        >"$corpus.log" 2>&1 || { tail -n 40 "$corpus.log"; echo "$target: a finding" >&2; return 1; }
    echo "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$corpus.log") runs, no finding"
}
export -f run
export bin seconds
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -euo pipefail -c 'run {}'
