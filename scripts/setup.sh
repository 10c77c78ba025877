#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs missing packages for one or more purposes: Debian's, or Homebrew's on macOS.
#
#   scripts/setup.sh build         what building the plug-in and the host needs
#   scripts/setup.sh build test    plus what the tests need
#   scripts/setup.sh build test clang
#                                  plus clang, for the presets that sanitise
#   scripts/setup.sh build test coverage
#                                  plus what scripts/coverage.sh needs
#   scripts/setup.sh build test clang ci cross
#                                  plus what the checks of .ci/run need, those for other
#                                  platforms included (Debian only)
#
# If nothing is missing, it does nothing and needs no network; otherwise Debian needs root or
# sudo. macOS's own bash 3.2 runs it.
set -euo pipefail

manager=apt
[ "$(uname -s)" = Darwin ] && manager=brew

packages_for() { # purpose
    case $manager-$1 in
    apt-build) echo g++ cmake ninja-build pkg-config libsndfile1-dev libcli11-dev \
        nlohmann-json3-dev libtag1-dev libcurl4-openssl-dev libssl-dev ;;
    apt-test) echo libgtest-dev nginx-light python3 python3-mutagen ;;
    apt-coverage) echo gcovr jq ;;
    apt-clang) echo clang libclang-rt-14-dev ;;
    apt-ci) echo clang-format clang-tidy debhelper fakeroot lintian strace sox sndfile-programs \
        ffmpeg flac curl zsh fish ;;
    apt-cross) echo g++-aarch64-linux-gnu qemu-user libsndfile1-dev:arm64 libtag1-dev:arm64 \
        libcurl4-openssl-dev:arm64 libssl-dev:arm64 libgtest-dev:arm64 npm lld llvm ;;
    brew-build) echo cmake ninja pkgconf libsndfile cli11 nlohmann-json taglib curl openssl@3 ;;
    brew-test) echo googletest nginx ;;
    brew-clang) ;; # the system's compiler
    brew-coverage) echo gcovr jq ;;
    *)
        echo "scripts/setup.sh knows no packages for '$1' on this system." >&2
        return 1
        ;;
    esac
}

is_installed() { # package
    if [ $manager = brew ]; then
        brew list --versions "$1" >/dev/null 2>&1
    elif [ "$1" = npm ] && command -v npm >/dev/null; then
        return 0 # it comes with other packages of Node.js, too
    else
        local architectures
        architectures="all|$(dpkg --print-architecture)"
        case $1 in *:*) architectures=${1#*:} ;; esac
        dpkg-query -W -f '${Architecture} ${db:Status-Status}\n' "$1" 2>/dev/null |
            grep -Eqx "($architectures) installed"
    fi
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        echo "These packages are missing; install them as root:$missing" >&2
        exit 1
    fi
}

missing=
for purpose in "$@"; do
    packages=$(packages_for "$purpose")
    if ! command -v dpkg-query >/dev/null && ! command -v brew >/dev/null; then
        echo "Please install the equivalents of these Debian packages: $packages" >&2
        exit 1
    fi
    for package in $packages; do
        is_installed "$package" || missing="$missing $package"
    done
done
[ -n "$missing" ] || exit 0

echo "Installing:$missing"
if [ $manager = brew ]; then
    # shellcheck disable=SC2086 # a list of words
    exec brew install $missing
fi
case $missing in *:arm64*) as_root dpkg --add-architecture arm64 ;; esac
as_root apt-get update -qq
# shellcheck disable=SC2086
as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends $missing >/dev/null
