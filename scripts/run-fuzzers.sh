#!/usr/bin/env bash
# Runs every built fuzz target for a fixed number of runs over its seed corpus.
#   scripts/run-fuzzers.sh [runs] [extra libFuzzer options...]
# Targets are build-fuzz/fuzz/fuzz_<reader>; the seeds are tests/fuzz/corpus/<reader>/, and
# tests/fuzz/<reader>.dict, when present, is the target's dictionary, and tests/fuzz/<reader>.seeds
# lists files elsewhere in the tree (sample skins, configurations) that seed it too, so that a
# sample is not kept twice. Each
# target works on a copy of its corpus in a temporary folder, so the committed seeds never change.
# A crash leaves its input in build-fuzz/fuzz-artifacts/. Exits non-zero if any target fails.
set -uo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
runs=${1:-2000}
shift || true

targets=$(find "$top/build-fuzz/fuzz" -maxdepth 1 -type f -name 'fuzz_*' -perm -u+x 2>/dev/null | sort)
if [ -z "$targets" ]; then
    echo "no fuzz targets in build-fuzz/fuzz: run scripts/build.sh fuzz first" >&2
    exit 2
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
artifacts="$top/build-fuzz/fuzz-artifacts"
mkdir -p "$artifacts"

status=0
for target in $targets; do
    name=$(basename "$target")
    reader=${name#fuzz_}
    corpus="$work/$reader"
    mkdir -p "$corpus"
    if [ -d "$top/tests/fuzz/corpus/$reader" ]; then
        cp -R "$top/tests/fuzz/corpus/$reader/." "$corpus/"
    fi
    if [ -f "$top/tests/fuzz/$reader.seeds" ]; then
        while read -r seed; do
            [ -n "$seed" ] && cp "$top/$seed" "$corpus/"
        done <"$top/tests/fuzz/$reader.seeds"
    fi
    if [ -z "$(ls -A "$corpus")" ]; then
        echo "warning: no seed corpus for $name" >&2
    fi
    dictionary=()
    [ -f "$top/tests/fuzz/$reader.dict" ] && dictionary=(-dict="$top/tests/fuzz/$reader.dict")
    echo "=== $name: $runs runs"
    if ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1} UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1} \
        "$target" -runs="$runs" -timeout=20 -rss_limit_mb=2048 -artifact_prefix="$artifacts/$name-" \
        "${dictionary[@]}" "$@" "$corpus" >"$work/$name.log" 2>&1; then
        tail -n 1 "$work/$name.log"
    else
        echo "FAILED: $name (log follows)" >&2
        tail -n 60 "$work/$name.log" >&2
        status=1
    fi
done
exit $status
