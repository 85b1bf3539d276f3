#!/usr/bin/env bash
# Installs what is missing, builds tarvo and converts the bundled example job
# to PostScript and PDF.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
tarvo_install_deps

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$jobs" --target tarvo

mkdir -p demo-output
job=examples/invoice.pcl
./build/tarvo -a "$job" > demo-output/invoice.trace
echo "analysis trace:  demo-output/invoice.trace"
