#!/usr/bin/env bash
# Sets up and runs every test: the whole suite with g++ (debug), again under AddressSanitizer
# and UBSan with clang 14, and the thread-heavy tests under ThreadSanitizer.
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
echo "== release (build only: optimised builds warn differently)"
scripts/build.sh release
run asan-ubsan
run tsan
