#!/usr/bin/env bash
# Installs the Debian packages tarvo needs to build, test and run, if any are
# missing. Sourced by demo.sh and test.sh.
set -euo pipefail

tarvo_packages=(g++ cmake make time libgtest-dev python3 python3-fonttools clang libclang-rt-14-dev ghostscript libpostscriptbarcode
                icc-profiles-free poppler-utils psutils fonts-urw-base35)

tarvo_install_deps() {
    local missing=()
    local p
    for p in "${tarvo_packages[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
            missing+=("$p")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}
