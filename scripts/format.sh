#!/bin/sh
# Formats the hand-written C++ sources with the repository's .clang-format.
# The generated tables are left alone: their generators own their layout and
# the staleness tests compare them byte for byte.
#   scripts/format.sh           rewrite the files in place
#   scripts/format.sh --check   list files whose formatting differs; exit 1 if any
set -eu
cd "$(dirname "$0")/.."
files=$(git ls-files '*.cpp' '*.h' | grep -v -e '_tables\.cpp$')
if [ "${1:-}" = "--check" ]; then
    bad=0
    for f in $files; do
        if ! clang-format --dry-run -Werror "$f" >/dev/null 2>&1; then
            echo "$f"
            bad=1
        fi
    done
    exit $bad
fi
# shellcheck disable=SC2086
clang-format -i $files
