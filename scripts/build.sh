#!/usr/bin/env bash
# Configures and builds one flavour of the project.
#   scripts/build.sh [normal|asan|tsan|fuzz]
# normal -> build/ (the executables build/installer and build/packer)
# asan   -> build-asan/ (AddressSanitizer and UndefinedBehaviorSanitizer)
# tsan   -> build-tsan/ (ThreadSanitizer; only the executables and the test programs of the
#           install and the packer, whose code runs on several threads)
# fuzz   -> build-fuzz/ (clang with libFuzzer)
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
flavour=${1:-normal}
targets=()
jobs=$(nproc 2>/dev/null || echo 2)

case "$flavour" in
    normal) dir=build; extra=() ;;
    asan)   dir=build-asan; extra=(-DORLU_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug) ;;
    tsan)   dir=build-tsan; extra=(-DORLU_THREAD_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
            targets=(--target installer packer test_installer test_tools) ;;
    fuzz)   dir=build-fuzz; extra=(-DORLU_FUZZ=ON -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++) ;;
    *) echo "unknown flavour: $flavour" >&2; exit 2 ;;
esac

generator=()
command -v ninja >/dev/null 2>&1 && generator=(-G Ninja)
if [ -f "$top/$dir/CMakeCache.txt" ]; then
    cmake -S "$top" -B "$top/$dir" "${extra[@]}" >/dev/null
else
    cmake -S "$top" -B "$top/$dir" "${generator[@]}" "${extra[@]}" >/dev/null
fi
cmake --build "$top/$dir" -j "$jobs" "${targets[@]}"
