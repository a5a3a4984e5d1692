#!/usr/bin/env bash
# Builds the release preset and runs every benchmark. Extra arguments go to each benchmark
# (e.g. --benchmark_repetitions=5).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release
for b in build/release/bin/*_bench; do
  echo "== $(basename "$b")"
  "$b" "$@"
done
