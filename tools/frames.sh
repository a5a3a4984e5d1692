#!/usr/bin/env bash
# Saves frames of the three dialogs (at rest and mid-test, in every shipped language) as a
# person sees them on a bare X server: Xvfb, no window manager, so no title bar. The frames
# are taken off the screen and land in build/debug/frames/. Usage: tools/frames.sh
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh debug
cd build/debug
xvfb-run -a -s "-screen 0 1280x1024x24" env QT_QPA_PLATFORM=xcb \
  ./bin/vekrsensors_tests --gtest_filter='Shipped/Frames.*' >/dev/null
echo "frames in build/debug/frames:"
ls frames/*_{en,de,fr}.png
