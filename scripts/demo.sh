#!/usr/bin/env bash
# Installs what is missing (to build and to run, not the test tools), builds
# tarvo and converts the bundled example job examples/invoice.pcl to an
# analysis trace, PostScript, PDF and PDF/A.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
tarvo_install_deps build run

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVO_BUILD_TESTS=OFF >/dev/null
cmake --build build -j "$jobs" --target tarvo

# The build tree mirrors the installed share directory (share/tarvo/ps with
# the barcode library and the sRGB profile), so point the installation base
# there instead of installing.
export ZENTHORAX="$PWD/build"
job=examples/invoice.pcl
out=demo-output
mkdir -p "$out"
./build/tarvo -a "$job" > "$out/invoice.trace"
./build/tarvo -s -o "$out/invoice.ps" "$job"
./build/tarvo -p -o "$out/invoice.pdf" "$job"
./build/tarvo -ppp -t "ACME invoice 2024-0117" -o "$out/invoice-pdfa.pdf" "$job"

echo
echo "Converted $job:"
echo "  analysis trace  $out/invoice.trace"
echo "  PostScript      $out/invoice.ps"
echo "  PDF             $out/invoice.pdf"
echo "  PDF/A-2         $out/invoice-pdfa.pdf"
if command -v pdftotext >/dev/null; then
    echo
    echo "Text of the PDF (pdftotext):"
    pdftotext -layout "$out/invoice.pdf" - | sed 's/^/  | /'
fi
