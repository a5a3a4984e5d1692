#!/usr/bin/env bash
# The dialogs on the displays a person has: a bare X server (Xvfb, no window manager) and a
# Wayland compositor without XWayland (Debian's weston, headless, in a runtime folder of its
# own). On each, every dialog's frames and accessible texts in every language, a finger on
# each dialog, and the orientation and results windows. Started and stopped here.
# Usage: dialogs_on_displays.sh TESTS_BINARY     (exit 77: Xvfb or weston missing)
set -euo pipefail
tests=$1
filter='Shipped/Frames.*:Touch.*'
command -v xvfb-run >/dev/null && command -v weston >/dev/null ||
  { echo "skipped: xvfb-run or weston is not installed"; exit 77; }

echo "== Xvfb"
xvfb-run -a -s "-screen 0 1280x1024x24" env QT_QPA_PLATFORM=xcb "$tests" --gtest_filter="$filter"

echo "== weston"
runtime=$(mktemp -d /tmp/vekr-wl-XXXXXX)
XDG_RUNTIME_DIR=$runtime weston --backend=headless-backend.so --socket=wayland-dialogs \
  --idle-time=0 >/dev/null 2>&1 &
weston=$!
trap 'kill $weston 2>/dev/null; wait $weston 2>/dev/null; rm -rf "$runtime"' EXIT
for _ in $(seq 600); do [ -S "$runtime/wayland-dialogs" ] && break; sleep 0.1; done
[ -S "$runtime/wayland-dialogs" ] || { echo "weston did not start"; exit 1; }
env -u DISPLAY XDG_RUNTIME_DIR="$runtime" WAYLAND_DISPLAY=wayland-dialogs QT_QPA_PLATFORM=wayland \
  "$tests" --gtest_filter="$filter"
