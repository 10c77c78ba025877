#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the fuzz targets for some hours, as many at a time as there are processors, and keeps what
# it has reached: fuzz/campaign.sh HOURS [TARGET...]
# In the end fuzz/corpus holds the smallest corpora with the same coverage, and a table is printed,
# also as build/fuzz/campaign.md. A finding does not end the campaign, but fails it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source fuzz/targets.sh
hours=${1:?usage: fuzz/campaign.sh HOURS [TARGET...]}
shift
[ $# -gt 0 ] || set -- $all_targets
prepare "$@"
logs=build/fuzz/campaign
rm -rf "$logs"
mkdir -p "$logs"

# Everybody works on parts of some minutes, each with another seed, so that no processor is idle
# before the end. With more processors than targets, several share a target's corpus.
parts=$(awk "BEGIN { n = int($hours * 6 * $jobs / $#); print (n > 0 ? n : 1) }")
seconds=$(awk "BEGIN { print int($hours * 3600 * $jobs / ($# * $parts)) }")

# Starts anew after a finding.
work() { # target.part
    source fuzz/targets.sh
    local log end=$((SECONDS + seconds)) try=0 left
    while left=$((end - SECONDS)) && [ "$left" -gt 0 ]; do
        try=$((try + 1)) log=$logs/$1.$try
        fuzz "${1%.*}" "$left" "$log.log" >"$log.time" 2>&1 || sleep 1
    done
}
export -f work
export seconds logs
for part in $(seq "$parts"); do
    printf "%s.$part\n" "$@"
done | xargs -P "$jobs" -I{} bash -euo pipefail -c 'work {}'

minimise() {
    source fuzz/targets.sh
    local least=$logs/$1.least
    mkdir -p "$least"
    "$bin/$1" -merge=1 "$least" "$corpora/$1" -timeout=20 >"$logs/$1.merge" 2>&1
    tar --sort=name --mtime=@0 --owner=0 --group=0 --numeric-owner -C "$least" -cf - . |
        gzip -9n >"fuzz/corpus/$1.tar.gz"
    "$bin/$1" "$least" -runs=0 >"$logs/$1.cover" 2>&1
}
export -f minimise
printf '%s\n' "$@" | xargs -P "$jobs" -I{} bash -euo pipefail -c 'minimise {}'

row() { # name runs cpu edges inputs findings
    awk -v name="$1" -v runs="$2" -v cpu="$3" -v rest="$4 | $5 | $6" 'BEGIN {
        printf "| %s | %d | %d | %s |\n", name, runs, runs / (cpu > 0 ? cpu : 1), rest }'
}
total_runs=0 total_cpu=0 total_findings=0
{
    echo "Commit $(git rev-parse --short HEAD), $(date -u +%F), $hours hours, $jobs processors"
    echo
    echo "| target | executions | per CPU second | edges | inputs kept | findings |"
    echo "|---|---:|---:|---:|---:|---:|"
    for target in "$@"; do
        runs=$(cat "$logs/$target".*.log | runs_in /dev/stdin | awk '{ n += $1 } END { print n + 0 }')
        cpu=$(awk '/^CPU seconds/ { n += $3 + $4 } END { print n + 0 }' "$logs/$target".*.time)
        edges=$(sed -n 's/.*INITED cov: \([0-9]*\) .*/\1/p' "$logs/$target.cover")
        kept=$(find "$logs/$target.least" -type f | wc -l)
        findings=$(grep -lE '^==[0-9]+== ?ERROR: ' "$logs/$target".*.log | wc -l || true)
        row "$target" "$runs" "$cpu" "$edges" "$kept" "$findings"
        total_runs=$((total_runs + runs)) total_findings=$((total_findings + findings))
        total_cpu=$(awk "BEGIN { print $total_cpu + $cpu }")
    done
    row all "$total_runs" "$total_cpu" "" "" "$total_findings"
    echo "$total_findings" >"$logs/findings"
} | tee build/fuzz/campaign.md
[ "$(cat "$logs/findings")" = 0 ] || { ls "$corpora"/*-{crash,timeout,oom,leak}-* 2>/dev/null; exit 1; }
