#!/usr/bin/env bash
# Saves frames of the dialogs (at rest and mid-test, in every shipped language) as a person
# sees them: on a bare X server (Xvfb, no window manager, so no title bar), or with
# `--wayland` on Debian's weston (headless, no XWayland). `--scale 1.5` or `--scale 2` shows
# them as on a high-density screen (QT_SCALE_FACTOR); the frame test's pixel checks are
# written for scale 1, so at other scales only the frames count. The frames land in
# build/debug/frames/. Usage: tools/frames.sh [--wayland] [--scale N]
set -euo pipefail
cd "$(dirname "$0")/.."
wayland=0 scale=1
while (($#)); do
  case $1 in
    --wayland) wayland=1 ;;
    --scale) scale=$2; shift ;;
    *) echo "usage: tools/frames.sh [--wayland] [--scale N]" >&2; exit 64 ;;
  esac
  shift
done
scripts/build.sh debug
cd build/debug
rm -rf frames
tests=(./bin/vekrsensors_tests --gtest_filter='Shipped/Frames.*')
if ((wayland)); then
  runtime=$(mktemp -d /tmp/vekr-frames-XXXXXX)
  XDG_RUNTIME_DIR=$runtime weston --backend=headless-backend.so --socket=wayland-frames \
    --idle-time=0 >/dev/null 2>&1 &
  weston=$!
  trap 'kill $weston; rm -rf "$runtime"' EXIT
  for _ in $(seq 100); do [ -S "$runtime/wayland-frames" ] && break; sleep 0.1; done
  env -u DISPLAY XDG_RUNTIME_DIR="$runtime" WAYLAND_DISPLAY=wayland-frames \
    QT_QPA_PLATFORM=wayland QT_SCALE_FACTOR="$scale" "${tests[@]}" >/dev/null || [ "$scale" != 1 ]
else
  xvfb-run -a -s "-screen 0 1920x1600x24" env QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR="$scale" \
    "${tests[@]}" >/dev/null || [ "$scale" != 1 ]
fi
echo "frames in build/debug/frames (scale $scale, $( ((wayland)) && echo weston || echo Xvfb)):"
ls frames/*.png
