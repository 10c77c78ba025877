#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds Debian's packages from a copy of the project and checks them: lintian, installing them
# into an empty root, use of the program and of the SDK from there, and purging. Optimisation and
# debug symbols, which nothing here looks at, are left out to save time.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
project=$PWD
work=$project/build/package
root=$work/root
rm -rf "$work"
mkdir -p "$work/aiffconv" "$root"/var/lib/dpkg/{info,updates}

quietly() { "$@" > "$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }; }
in_root() { quietly fakeroot dpkg --root="$root" --force-depends --log=/dev/null "$@"; }
files_of_root() { find "$root" -path "$root/var/lib/dpkg" -prune -o ! -type d -print; }

git ls-files -z | xargs -0 cp --parents -t "$work/aiffconv"
cd "$work/aiffconv"
export DEB_BUILD_OPTIONS="nocheck noopt noautodbgsym parallel=2" DEB_CFLAGS_STRIP=-g DEB_CXXFLAGS_STRIP=-g
quietly dpkg-buildpackage -us -uc -b
version=$(dpkg-parsechangelog -S Version)
cd "$work"
lintian --fail-on error,warning --tag-display-limit 0 ./*.changes

touch "$root"/var/lib/dpkg/{status,available}
in_root --install {aiffconv,qvcodec-aiff,qvcodec-dev}_"$version"_*.deb
[ "$("$root/usr/bin/aiffconv" --version)" = "aiffconv $version" ]
"$project/tests/host/sdk_test.sh" "$root/usr" cc
for file in man/man1/aiffconv.1.gz bash-completion/completions/aiffconv \
    zsh/vendor-completions/_aiffconv fish/vendor_completions.d/aiffconv.fish \
    doc/aiffconv/PARALLEL.md doc/qvcodec-aiff/copyright; do
    [ -e "$root/usr/share/$file" ] || { echo "$file is missing from the packages" >&2; exit 1; }
done
in_root --purge aiffconv qvcodec-aiff qvcodec-dev
[ -z "$(files_of_root)" ] || { echo "Purging leaves:" "$(files_of_root)" >&2; exit 1; }
echo "The packages are complete, work and leave nothing."
