#!/usr/bin/env bash
# Sets up, builds and runs the module on the embedded simulated sensors.
# Extra arguments go to the module, e.g. scripts/demo.sh --report - or --lang de.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh release
exec build/release/bin/vekrsensors.vkm --backend sim "$@"
