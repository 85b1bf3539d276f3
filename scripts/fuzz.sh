#!/usr/bin/env bash
# Builds the libFuzzer target with AddressSanitizer and UndefinedBehaviorSanitizer
# (clang) and fuzzes the whole converter for a bounded time, seeded with the
# golden test inputs, the regression inputs and the real jobs of ../shared/corpus.
# Every input runs from a file and through a pipe. Any crash, leak, time-out
# (20 s: every run is bounded by its macro replay allowance), output beyond
# the limit of the entry point or sanitizer report fails the run; the offending
# input is left in fuzz/artifacts/ — keep it in fuzz/regressions/.
# Usage: scripts/fuzz.sh [seconds]   (default 180)
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/deps.sh
tarvo_install_deps build fuzz
seconds=${1:-180}
jobs=$(nproc 2>/dev/null || echo 2)

CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=Debug \
    -DTARVO_FUZZ=ON -DTARVO_SANITIZE=ON -DTARVO_WERROR=OFF -DTARVO_BUILD_TESTS=OFF >/dev/null
cmake --build build-fuzz -j "$jobs" --target convert_fuzzer

work=build-fuzz/corpus
mkdir -p "$work" fuzz/artifacts
seeds=(tests/data fuzz/regressions)
[ -d ../shared/corpus ] && seeds+=(../shared/corpus/ghostpdl ../shared/corpus/other)
for d in "${seeds[@]}"; do
    find "$d" -maxdepth 1 -type f \( -name '*.pcl' -o -path 'fuzz/regressions/*' \) \
        ! -name '.keep' -exec cp -n {} "$work/" \; 2>/dev/null || true
done

echo "fuzzing for ${seconds}s"
ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1 \
UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    build-fuzz/fuzz/convert_fuzzer "$work" -max_total_time="$seconds" -timeout=20 \
        -rss_limit_mb=2048 -max_len=4096 -artifact_prefix=fuzz/artifacts/ \
        -print_final_stats=1 2>&1 | tail -n 25
status=${PIPESTATUS[0]}
if [ "$status" -ne 0 ]; then
    echo "fuzzing found a failure (status $status); see fuzz/artifacts/" >&2
    exit 1
fi
echo "fuzzing: no failure in ${seconds}s"
