#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the package and checks it: its files, lintian, and that the installed aiffconv
# finds its plug-in.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
build=build/release
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$build" && cpack -B "$work" >/dev/null)
package=$(ls "$work"/*.deb)
lintian --fail-on error "$package"
dpkg-deb -x "$package" "$work/root"
for file in bin/aiffconv include/qvcodec.h share/man/man1/aiffconv.1.gz \
    share/bash-completion/completions/aiffconv share/zsh/vendor-completions/_aiffconv \
    share/fish/vendor_completions.d/aiffconv.fish share/doc/aiffconv/HOST_GUIDE.md; do
    [ -e "$work/root/usr/$file" ] || { echo "$file is missing from the package" >&2; exit 1; }
done
"$build/bin/make_aiff" "$work/tone.aiff" --type aiff --bits 16 --channels 2 --rate 44100 --seconds 1
env -u QVCODECPATH "$work/root/usr/bin/aiffconv" convert "$work/tone.aiff" -o "$work/tone.wav"
[ -s "$work/tone.wav" ]
echo "The package is complete and works."
