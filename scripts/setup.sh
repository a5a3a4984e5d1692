#!/usr/bin/env bash
# Installs what vekrsensors needs to build, run and test, from Debian's packages.
# Idempotent: packages already present are not fetched again, and the script stays quiet
# when there is nothing to do.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  g++ clang clang-format libclang-rt-14-dev
  qt6-base-dev qt6-base-dev-tools libgl-dev libxcb1-dev libwayland-dev qt6-wayland weston
  libcli11-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libudev-dev umockdev libumockdev-dev udev libdrm-dev libevdev-dev
  librsvg2-bin
  dpkg-dev python3-jsonschema
  xvfb
  locales
  prometheus-node-exporter prometheus
  desktop-file-utils appstream
  libsystemd-dev iio-sensor-proxy python3-dbusmock dbus
  # The Windows Sensor API backend's tests: a mingw-w64 cross build run under Wine.
  g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev wine64
)

missing=()
for p in "${packages[@]}"; do
  # grep reads to the end: with -q its early exit could fail the writer under pipefail.
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep 'install ok installed' >/dev/null; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "setup: installing ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# A comma-decimal locale lets the number-parsing tests prove they ignore the locale.
if ! locale -a 2>/dev/null | grep -i '^de_DE\.utf8$' >/dev/null; then
  if [ -f /etc/locale.gen ] && [ "$(id -u)" -eq 0 ]; then
    sed -i 's/^# *de_DE.UTF-8 UTF-8/de_DE.UTF-8 UTF-8/' /etc/locale.gen
    locale-gen >/dev/null 2>&1 || true
  fi
fi
