# SPDX-License-Identifier: MIT
# What run.sh and campaign.sh have in common; they source it at the top of the repository.
# Each target has a corpus in build/fuzz/corpus/TARGET, which starts with its seeds and with
# what fuzz/corpus/TARGET.tar.gz keeps. A finding is saved as build/fuzz/corpus/TARGET-crash-...

bin=build/fuzz/fuzz
corpora=build/fuzz/corpus
jobs=$(getconf _NPROCESSORS_ONLN)
all_targets=$(cd fuzz && echo fuzz_*.cpp | sed 's/\.cpp//g')

prepare() { # target...
    cmake --preset fuzz >/dev/null
    # shellcheck disable=SC2046 # a list of words
    cmake --build --preset fuzz --target "$@" $(printf '%s_replay ' "$@")
    for target in "$@"; do
        mkdir -p "$corpora/$target"
        "$bin/${target}_replay" --write "$corpora/$target" >/dev/null
        [ ! -f "fuzz/corpus/$target.tar.gz" ] ||
            tar -xzf "fuzz/corpus/$target.tar.gz" -C "$corpora/$target"
    done
}

# Prints the seed and the CPU seconds of user and system; the rest is in the log.
fuzz() { # target seconds log
    local dictionary=fuzz/${1#fuzz_}.dict seed=$((RANDOM << 15 | RANDOM)) TIMEFORMAT='CPU seconds: %U %S'
    [ -f "$dictionary" ] || dictionary=fuzz/aiff.dict
    echo "$1 -seed=$seed"
    # Spreading the inputs' energy by entropy would take half of the time.
    time "$bin/$1" "$corpora/$1" -dict="$dictionary" -max_total_time="$2" -seed="$seed" -timeout=20 \
        -entropic=0 -detect_leaks=0 -reload=1 -max_len=4096 -rss_limit_mb=2048 -artifact_prefix="$corpora/$1-" \
        -print_final_stats=1 >"$3" 2>&1
}

runs_in() { # log
    sed -n 's/^stat::number_of_executed_units: *//p' "$1"
}
