#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs missing Debian packages for one or more purposes.
#
#   scripts/setup.sh build         what building the plug-in and the host needs
#   scripts/setup.sh build test    plus what the tests need
#   scripts/setup.sh build test coverage
#                                  plus what scripts/coverage.sh needs
#   scripts/setup.sh build test ci plus what the checks of .ci/run need
#
# If nothing is missing, it does nothing and needs no network; otherwise it needs root
# or sudo.
set -euo pipefail

packages_build=(g++ cmake ninja-build pkg-config libsndfile1-dev libcli11-dev nlohmann-json3-dev
    libtag1-dev libcurl4-openssl-dev)
packages_coverage=(gcovr jq)
packages_test=(libgtest-dev nginx-light python3 python3-mutagen)
packages_ci=(clang clang-format clang-tidy libclang-rt-14-dev debhelper fakeroot lintian strace
    sox sndfile-programs ffmpeg)

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

missing=()
for purpose in "$@"; do
    declare -n packages="packages_$purpose"
    for package in "${packages[@]}"; do
        is_installed "$package" || missing+=("$package")
    done
done
[ ${#missing[@]} -eq 0 ] && exit 0

if ! command -v apt-get >/dev/null; then
    echo "Please install the equivalents of these Debian packages: ${missing[*]}" >&2
    exit 1
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing; install them as root: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
