#!/usr/bin/env bash
# Configures and builds one CMake preset (default: debug). Usage: scripts/build.sh [PRESET]
# Quiet on success; on failure the compiler's output is shown.
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-debug}
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if [ ! -f "build/$preset/CMakeCache.txt" ]; then
  cmake --preset "$preset" >"$log" 2>&1 || { cat "$log"; exit 1; }
fi
if ! cmake --build --preset "$preset" -- -j"$(nproc)" >"$log" 2>&1; then
  grep -v -E '^\[[0-9]+/[0-9]+\] ' "$log"
  exit 1
fi
