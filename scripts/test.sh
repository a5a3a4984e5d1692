#!/usr/bin/env bash
# Sets up and runs every test: the whole suite with g++ (debug, with the package test), the
# Windows build (mingw-w64) with its tests under Wine, a plain optimised build, the suite again
# under AddressSanitizer and UBSan with clang 14, and the thread-heavy tests under
# ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh

run() {
  local preset=$1
  echo "== $preset"
  scripts/build.sh "$preset"
  ctest --preset "$preset" -j"$(nproc)" --timeout 120
}

run debug
# After debug: the Windows module's runs are compared with the debug build's module.
started=$SECONDS
run windows
echo "== windows: $((SECONDS - started)) s"
# A plain build as a distribution makes it (no preset, -O3, tests on), with warnings as errors
# so that what g++ says at -O3 is seen here first. Build only.
echo "== plain Release build (no preset)"
if [ ! -f build/plain-release/CMakeCache.txt ]; then
  cmake -S . -B build/plain-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVEKR_WERROR=ON \
    -DVEKR_BUILD_BENCH=OFF >/dev/null
fi
cmake --build build/plain-release -- -j"$(nproc)" >build/plain-release.log 2>&1 ||
  { grep -v -E '^\[[0-9]+/[0-9]+\] ' build/plain-release.log; exit 1; }
run asan-ubsan
run tsan
