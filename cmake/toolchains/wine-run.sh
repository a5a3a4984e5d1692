#!/usr/bin/env bash
# Runs a Windows program under Debian's wine64 in the given prefix, quietly.
# Usage: wine-run.sh PREFIX PROGRAM [ARGS...]
# The prefix is created on first use, once, even when several tests start together.
set -euo pipefail
prefix=$(realpath -m "$1")  # Wine wants an absolute path
shift
wine=${VEKR_WINE:-/usr/lib/wine/wine64}
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
# No display: Wine's console programs need none, and a stray window must not open one.
unset DISPLAY WAYLAND_DISPLAY
mkdir -p "$(dirname "$prefix")"
if [ ! -f "$prefix/system.reg" ]; then
  (
    flock 9
    if [ ! -f "$prefix/system.reg" ]; then
      "$wine" wineboot --init >/dev/null 2>&1
      /usr/lib/wine/wineserver -w
    fi
  ) 9>"$prefix.lock"
fi
exec "$wine" "$@"
