#!/usr/bin/env bash
# Installs what the project needs, builds it twice (normal, and with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every test on both builds, runs the install's and the
# packer's tests once more with ThreadSanitizer (their code runs on several threads), checks
# that the normal build's run-time is self-contained (scripts/check-runtime.sh: ldd, and the
# packed sample run in an empty chroot), then the fuzz targets for a short fixed number of runs.
# Exits non-zero on any failure.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
cd "$top"

./scripts/install-deps.sh

status=0
echo "=== layers"
./scripts/check-layers.sh || status=1

for flavour in normal asan; do
    echo "=== build: $flavour"
    ./scripts/build.sh "$flavour"
done

echo "=== tests: normal"
ctest --test-dir build --output-on-failure -j 2 || status=1
echo "=== run-time: self-contained"
./scripts/check-runtime.sh build || status=1
echo "=== tests: asan"
ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build-asan --output-on-failure -j 2 || status=1

echo "=== build and tests: tsan (install and packer)"
./scripts/build.sh tsan
for program in test_installer test_tools; do
    TSAN_OPTIONS="halt_on_error=1 exitcode=66" build-tsan/tests/$program --gtest_brief=1 || status=1
done

if [ -f tests/fuzz/CMakeLists.txt ] && [ -n "$(ls tests/fuzz/*.cpp 2>/dev/null)" ]; then
    echo "=== fuzz"
    ./scripts/build.sh fuzz
    ./scripts/run-fuzzers.sh 2000 || status=1
fi

exit $status
