#!/bin/sh
# SPDX-License-Identifier: MIT
# Fails when the host uses the core outside author/, which links it for all: object files tell.
#     check_core_use.sh NM CORE AUTHOR ARCHIVE...    (static libraries)
set -eu
nm=$1 core=$2 author=$3
shift 3
list=$(mktemp)
trap 'rm "$list"' EXIT
# Inline functions are weak symbols (W, V), which every archive defines for itself.
"$nm" -g "$core" | awk '$2 ~ /^[TDBRSG]$/ { print $3 }' | sort -u >"$list"
core_symbols() {
    names=$("$nm" -u "$@") # fails as nm does
    echo "$names" | awk '$1 == "U" { print $2 } NF == 1 && !/:$/' | sort -u | comm -12 - "$list"
}
[ -n "$(core_symbols "$author")" ] || { echo "$author does not use the core" >&2; exit 1; }
found=$(core_symbols "$@")
[ -z "$found" ] || { echo "The core is used outside author/: $found" | c++filt >&2; exit 1; }
