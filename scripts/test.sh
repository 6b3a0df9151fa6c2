#!/usr/bin/env bash
# Builds everything and runs all tests: the normal build, its tests under the environment's locale
# and again under a German one, then an ASan+UBSan build with the DXF reader fuzzer, run for a
# bounded time on its seed corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

jobs=2
fuzz_seconds=${TV_FUZZ_SECONDS:-60}

echo "== build (RelWithDebInfo)"
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$jobs"
echo "== tests"
(cd build && ctest -j"$jobs" --output-on-failure)
echo "== tests under a German locale (a ',' decimal point)"
(cd build && LANG=de_DE.UTF-8 LC_ALL=de_DE.UTF-8 ctest -j"$jobs" --output-on-failure)

echo "== build (clang, AddressSanitizer + UndefinedBehaviorSanitizer, fuzzer)"
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_COMPILER=clang \
    -DCMAKE_CXX_COMPILER=clang++ -DTV_SANITIZE=ON -DTV_FUZZ=ON -DTV_BENCH=OFF >/dev/null
cmake --build build-asan -j"$jobs"
echo "== tests under sanitizers"
(cd build-asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest -j"$jobs" --output-on-failure -LE interop)

echo "== fuzzing the DXF reader for ${fuzz_seconds}s"
mkdir -p build-asan/fuzz-corpus
build-asan/fuzz/dxf_reader_fuzzer -max_total_time="$fuzz_seconds" -max_len=65536 \
    -timeout=20 -rss_limit_mb=4096 -artifact_prefix=build-asan/ -print_final_stats=1 build-asan/fuzz-corpus fuzz/corpus \
    2>build-asan/fuzz.log || { tail -50 build-asan/fuzz.log; exit 1; }
grep -E "stat::number_of_executed_units" build-asan/fuzz.log || true
echo "fuzz: 1 passed, 0 failed"
