#!/usr/bin/env bash
# Installs the Debian packages tarvo needs, if any are missing. Sourced by the
# other scripts. The lists are the Debian package's own (debian/control):
#   tarvo_install_deps build   what building needs (Build-Depends without the
#                              <!nocheck> ones), through apt-get build-dep
#   tarvo_install_deps test    building and the test suite (all Build-Depends)
#   tarvo_install_deps run     what running needs (the package's Depends)
#   tarvo_install_deps fuzz    clang and its libFuzzer runtime
# Several words may be given.
set -euo pipefail

tarvo_deps_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

tarvo_sudo() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

tarvo_apt_updated=0
tarvo_apt() {
    if [ $tarvo_apt_updated -eq 0 ]; then
        tarvo_sudo apt-get update -qq
        tarvo_apt_updated=1
    fi
    DEBIAN_FRONTEND=noninteractive tarvo_sudo apt-get -y -qq --no-install-recommends "$@" >/dev/null
}

# The Depends of the binary package, without substitution variables and
# version constraints.
tarvo_run_packages() {
    awk '/^Package: tarvo$/ {p = 1} p && /^Depends:/ {d = 1; sub(/^Depends:/, "")}
         d && /^[A-Z]/ && !/^Depends:/ {d = 0}
         d {print}' "$tarvo_deps_root/debian/control" |
        tr ',' '\n' | sed 's/(.*)//; s/^[[:space:]]*//; s/[[:space:]]*$//' | grep -v '^\$' | grep -v '^$'
}

tarvo_install_packages() {
    local missing=() p
    for p in "$@"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    tarvo_apt install "${missing[@]}"
}

# Build-Depends through apt-get build-dep on the source tree; profiles, e.g.
# nocheck, leave out what only the tests need.
tarvo_install_build_deps() {
    local profile=()
    [ -n "${1:-}" ] && profile=(-P "$1")
    if command -v dpkg-checkbuilddeps >/dev/null &&
        (cd "$tarvo_deps_root" && dpkg-checkbuilddeps "${profile[@]}" >/dev/null 2>&1); then
        return 0
    fi
    echo "installing the build dependencies${1:+ ($1)}"
    (cd "$tarvo_deps_root" && tarvo_apt build-dep "${profile[@]}" ./)
}

tarvo_install_deps() {
    local what
    for what in "$@"; do
        case $what in
        build) tarvo_install_build_deps nocheck ;;
        test) tarvo_install_build_deps ;;
        run) mapfile -t pkgs < <(tarvo_run_packages); tarvo_install_packages "${pkgs[@]}" ;;
        fuzz) tarvo_install_packages clang libclang-rt-14-dev ;;
        *) echo "tarvo_install_deps: unknown word $what" >&2; return 2 ;;
        esac
    done
}
