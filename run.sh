#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what the build needs, builds, and converts demonstration files to WAV.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

scripts/setup.sh build
cmake --preset release -DAIFF_TESTS=OFF >/dev/null
cmake --build --preset release --target AIFF aiffconv make_aiff

demo=build/demo
aiffconv=build/release/bin/aiffconv
rm -rf "$demo"
mkdir -p "$demo/aiff"
build/release/bin/make_aiff --demo "$demo/aiff"

echo
echo "The demonstration files, as the plug-in describes them:"
"$aiffconv" info "$demo"/aiff/*.aif*
echo
echo "Converting them:"
"$aiffconv" convert "$demo"/aiff/*.aif* -o "$demo/wav"
echo
echo "The result:"
ls -l "$demo/wav"
echo
echo "Try it on your own files: $aiffconv convert FILE.aiff -o FILE.wav"
