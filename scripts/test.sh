#!/usr/bin/env bash
# Installs what is missing, builds tarvo and runs the whole test suite through
# CTest: first a normal build, then a build with AddressSanitizer and
# UndefinedBehaviorSanitizer. --quick skips the sanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
tarvo_install_deps test

jobs=$(nproc 2>/dev/null || echo 2)
quick=0
[ "${1:-}" = "--quick" ] && quick=1

cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARVO_BUILD_TESTS=ON >/dev/null
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

if [ $quick -eq 0 ]; then
    cmake -S . -B build-sanitize -DCMAKE_BUILD_TYPE=Debug -DTARVO_SANITIZE=ON >/dev/null
    cmake --build build-sanitize -j "$jobs"
    ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
        ctest --test-dir build-sanitize --output-on-failure -j "$jobs"
fi
