#!/bin/sh
# Fails when the host uses the core anywhere but in its author/ drawer. Linking cannot show
# it: the core is linked for author/, and then every object file may refer to it.
#
#     check_core_use.sh NM CORE AUTHOR ARCHIVE...
#
# NM     the program that lists symbols
# CORE, AUTHOR, ARCHIVE  static libraries: the core, author/, and those that must not use it
set -eu
nm=$1 core=$2 author=$3
shift 3
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT

# Inline functions are weak symbols (W, V), which every archive defines for itself.
"$nm" -g "$core" | awk '$2 ~ /^[TDBRSG]$/ { print $3 }' | sort -u >"$folder/core"

# Core symbols that these archives refer to.
core_symbols() {
    "$nm" -u "$@" >"$folder/list"
    awk '$1 == "U" { print $2 } NF == 1 && !/:$/' "$folder/list" | sort -u |
        comm -12 - "$folder/core"
}

if [ -z "$(core_symbols "$author")" ]; then
    echo "$author does not use the core: this test would find nothing" >&2
    exit 1
fi
found=$(core_symbols "$@")
if [ -n "$found" ]; then
    echo "The core is used outside author/:" >&2
    echo "$found" | { c++filt 2>/dev/null || cat; } >&2
    exit 1
fi
