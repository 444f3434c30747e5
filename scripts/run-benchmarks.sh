#!/usr/bin/env bash
# Builds and runs every benchmark under bench/. Each prints its figures as ratios against a
# reference measured in the same run.
#   scripts/run-benchmarks.sh [name ...]     (names without "bench_"; default: all but the
#                                             nightly-size "large", which needs some 23 GB of disk)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/build.sh" normal >/dev/null
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
    for source in "$top"/bench/bench_*.cpp; do
        name=$(basename "$source" .cpp)
        [ "$name" = bench_large ] && continue
        names+=("${name#bench_}")
    done
fi
for name in "${names[@]}"; do
    cmake --build "$top/build" --target "bench_$name" >/dev/null
    echo "=== bench_$name"
    "$top/build/bench/bench_$name"
    echo
done
