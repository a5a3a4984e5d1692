#!/usr/bin/env bash
# Configures and builds one CMake preset (default: debug). Usage: scripts/build.sh [PRESET]
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-debug}
if [ ! -f "build/$preset/CMakeCache.txt" ]; then
  cmake --preset "$preset" >/dev/null
fi
cmake --build --preset "$preset" -- -j"$(nproc)" | grep -v -E '^\[[0-9]+/[0-9]+\] ' || true
test "${PIPESTATUS[0]}" -eq 0
