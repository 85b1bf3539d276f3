#!/usr/bin/env bash
# Checks tarvo as users install it, after scripts/test.sh has built and tested
# the tree (CI runs it as root on a fresh Debian machine):
#  1. builds the Debian package (dpkg-buildpackage -us -uc -b, without the test
#     suite, which test.sh has run) from a clean copy of the tree, installs it
#     with apt-get, and converts the bundled example to PDF and PDF/A through
#     the installed binary, with no environment variables, and to PostScript
#     and PDF through CUPS's cupsfilter and the installed filter;
#  2. installs from source into a custom prefix with cmake --install (the
#     build tree is reconfigured for the prefix and back, which rebuilds one
#     file) and converts the example there, again without variables.
# Usage: scripts/install-check.sh [--no-package]
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
tarvo_install_deps test

src=$PWD
tmp=$(mktemp -d /tmp/tarvo-install-check.XXXXXX)
trap 'rm -rf "$tmp"' EXIT
jobs=$(nproc 2>/dev/null || echo 2)
version=$(sed -n 's/^project(tarvo VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
run_clean() { env -i PATH=/usr/local/bin:/usr/bin:/bin "$@"; }

# Converts a job to PDF and PDF/A with the given binary and checks the text
# and the PDF/A identification of the results.
convert_example() {
    local tarvo=$1 job=$2 out=$3
    mkdir -p "$out"
    run_clean "$tarvo" -p -o "$out/invoice.pdf" "$job"
    run_clean "$tarvo" -ppp -t "Invoice 117" -o "$out/invoice-pdfa.pdf" "$job"
    pdftotext "$out/invoice.pdf" - | grep -q "INVOICE No." || { echo "no text in $out/invoice.pdf"; return 1; }
    grep -aq "pdfaid:part='2'" "$out/invoice-pdfa.pdf" || grep -aq 'pdfaid:part="2"' "$out/invoice-pdfa.pdf" ||
        { echo "$out/invoice-pdfa.pdf is not PDF/A-2"; return 1; }
    echo "  $tarvo: PDF and PDF/A-2 of $job"
}

if [ "${1:-}" != "--no-package" ]; then
    echo "== Debian package"
    # A clean copy, so the tree's own build directories stay out of it.
    pkgsrc="$tmp/tarvo-$version"
    mkdir -p "$pkgsrc"
    tar -C "$src" --exclude='./build*' --exclude=./.git --exclude=./demo-output \
        --exclude=./fuzz/artifacts -cf - . | tar -C "$pkgsrc" -xf -
    (cd "$pkgsrc" && DEB_BUILD_OPTIONS="nocheck parallel=$jobs" dpkg-buildpackage -us -uc -b >"$tmp/dpkg-buildpackage.log" 2>&1) ||
        { tail -50 "$tmp/dpkg-buildpackage.log"; exit 1; }
    deb=$(ls "$tmp"/tarvo_*.deb)
    echo "  built $(basename "$deb")"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    (cd "$tmp" && DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "./$(basename "$deb")" >/dev/null)
    # The resources are the system's files, linked, not copied.
    for f in /usr/share/tarvo/ps/barcode.ps /usr/share/tarvo/ps/sRGB.icc; do
        [ -L "$f" ] && [ -r "$f" ] || { echo "$f is not a link to an installed file"; exit 1; }
    done
    convert_example /usr/bin/tarvo /usr/share/doc/tarvo/examples/invoice.pcl "$tmp/package"
    python3 tests/e2e/cups_chain.py --job /usr/share/doc/tarvo/examples/invoice.pcl --text "INVOICE No."
fi

echo "== cmake --install into a custom prefix"
prefix="$tmp/prefix"
old_prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' build/CMakeCache.txt)
cmake -S . -B build -DCMAKE_INSTALL_PREFIX="$prefix" >/dev/null
restore() {
    cmake -S . -B build -DCMAKE_INSTALL_PREFIX="$old_prefix" >/dev/null &&
        cmake --build build -j "$jobs" --target tarvo tarvo-cups >/dev/null
}
trap 'restore; rm -rf "$tmp"' EXIT
cmake --build build -j "$jobs" --target tarvo tarvo-cups >/dev/null
cmake --install build >/dev/null
convert_example "$prefix/bin/tarvo" "$prefix/share/doc/tarvo/examples/invoice.pcl" "$tmp/custom"
# The barcode example, with its configuration, from the installed examples.
(cd "$prefix/share/doc/tarvo/examples/barcode" &&
    run_clean "$prefix/bin/tarvo" -p -c tarvo.cfg -o "$tmp/custom/labels.pdf" labels.pcl)
echo "  $prefix/bin/tarvo: barcode example"
echo "install checks passed"
