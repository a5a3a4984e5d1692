#!/usr/bin/env bash
# Builds both packages, installs them into a temporary root with dpkg -x and runs the module
# from there as an installed command: first with the core package alone (the threshold tests
# run, the interactive ones end CANNOTRUN naming the dialogs package), then with both.
# Usage: package_test.sh BUILD_DIR BUILD_TREE_MODULE VERSION
set -euo pipefail
build=$1 tree_module=$2 version=$3
scratch=$(mktemp -d /tmp/vekr-package.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
# grep -q stops reading at the first match; under pipefail the writer, cut off, then fails the
# whole pipeline now and then. Whatever is piped in is read to the end instead.
holds() { grep "$@" >/dev/null; }

cmake --build "$build" --target package >"$scratch/package.log" 2>&1 ||
  { cat "$scratch/package.log"; fail "the package target failed"; }
core="$build/vekrsensors_${version}_amd64.deb"
dialogs="$build/vekrsensors-dialogs_${version}_amd64.deb"
[ -f "$core" ] && [ -f "$dialogs" ] || fail "packages missing: $(ls "$build"/*.deb 2>/dev/null)"

# Control fields: the core package needs no Qt and recommends the dialogs, which need Qt and
# exactly this core.
core_control=$(dpkg-deb -f "$core")
dialogs_control=$(dpkg-deb -f "$dialogs")
grep -q '^Depends:.*libudev1' <<<"$core_control" || fail "core depends: $core_control"
! grep -qi 'qt' <<<"$(dpkg-deb -f "$core" Depends)" || fail "core depends on Qt"
grep -q '^Recommends: vekrsensors-dialogs' <<<"$core_control" || fail "core recommends"
grep -q "^Depends:.*vekrsensors (= $version)" <<<"$dialogs_control" || fail "dialogs depends"
grep -q '^Recommends: qt6-wayland' <<<"$dialogs_control" || fail "dialogs recommends"
grep -q '^Depends:.*libqt6widgets6' <<<"$dialogs_control" || fail "dialogs needs Qt Widgets"

root="$scratch/root"
dpkg -x "$core" "$root"
cmd="$root/usr/bin/vekrsensors"
module="$root/usr/lib/vekrsensors/vekrsensors.vkm"
[ -L "$cmd" ] || fail "bin/vekrsensors is not a link to the module"
! ldd "$module" | holds -i qt || fail "the module file links Qt"
[ ! -e "$root/usr/share/vekrsensors/artwork" ] || fail "vector sources installed"
zcat "$root/usr/share/man/man1/vekrsensors.1.gz" | holds '^\.SH EXIT STATUS' ||
  fail "man page without EXIT STATUS"
[ -f "$root/usr/share/doc/vekrsensors/copyright" ] || fail "no copyright file"
# The health check's units as systemd reads them, their command pointed at the unpacked one
# (the man page is checked above).
mkdir "$scratch/units"
for unit in vekrsensors-check.service vekrsensors-check.timer; do
  sed "s|/usr/bin/vekrsensors|$cmd|" "$root/usr/lib/systemd/system/$unit" >"$scratch/units/$unit"
done
systemd-analyze verify --man=no "$scratch/units/vekrsensors-check.service" \
  "$scratch/units/vekrsensors-check.timer" >"$scratch/verify.log" 2>&1 ||
  fail "systemd-analyze verify: $(cat "$scratch/verify.log")"
[ ! -s "$scratch/verify.log" ] || fail "systemd-analyze verify says: $(cat "$scratch/verify.log")"

# Run from a folder that has nothing of ours: resources come from the install.
cd "$scratch"
export -n DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM
[ "$("$cmd" --version)" = "vekrsensors.vkm $version (build 000000001)" ] || fail "--version"
diff <("$cmd" --list) <(cd / && "$tree_module" --list) >/dev/null ||
  fail "--list differs from the build tree's"

# Every option of --help is in the man page and completes.
# shellcheck disable=SC1091
source "$root/usr/share/bash-completion/completions/vekrsensors"
complete_line() {  # the words of a command line; prints the completions of its last word
  COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=(); _vekrsensors; printf '%s\n' "${COMPREPLY[@]}"
}
for option in $("$cmd" --help | grep -o -- '--[a-z-]*' | sort -u); do
  zcat "$root/usr/share/man/man1/vekrsensors.1.gz" | holds -- "${option//-/\\\\-}" ||
    fail "$option is not in the man page"
  complete_line "$cmd" "$option" | holds -x -- "$option" || fail "$option does not complete"
done
complete_line "$cmd" --test Acc | holds -x AccelerometerTest || fail "test names do not complete"
complete_line "$cmd" --param Lux | holds -x LuxValueThreshold= || fail "parameters do not complete"
complete_line "$cmd" --lang "" | holds -x de ||
  fail "languages do not complete: [$(complete_line "$cmd" --lang "" | tr '\n' ' ')] from $(ls "$root/usr/share/vekrsensors/strings" 2>&1 | tr '\n' ' ')"

# The core package alone.
set +e
"$cmd" --backend sim --quiet --report core.json >core.out 2>&1
code=$?
set -e
[ "$code" = 3 ] || { cat core.out; fail "core alone: exit $code, wanted 3 (CANNOTRUN)"; }
for t in AmbientLightSensorTest AccelerometerTest; do
  grep -q "^  $t .* PASS " core.out || { cat core.out; fail "$t did not pass without the plugin"; }
done
for t in MagnetometerTest GyrometerTest ProximitySensorTest; do
  grep -q "^  $t .* CANNOTRUN " core.out || { cat core.out; fail "$t is not CANNOTRUN"; }
done
grep -q 'note: the dialogs plugin could not be loaded (.*): install the vekrsensors-dialogs package' core.out ||
  { cat core.out; fail "no note naming the package"; }

# With the dialogs: the embedded demo passes end to end, offscreen.
dpkg -x "$dialogs" "$root"
# The launcher as a desktop and a software centre read it.
desktop-file-validate "$root/usr/share/applications/vekrsensors.desktop" ||
  fail "desktop entry does not validate"
appstreamcli validate --no-net "$root/usr/share/metainfo/org.vekrsensors.vekrsensors.metainfo.xml" \
  >"$scratch/appstream.log" 2>&1 || fail "metainfo: $(cat "$scratch/appstream.log")"
for size in 48x48 64x64 128x128 256x256 scalable; do
  ls "$root/usr/share/icons/hicolor/$size/apps/vekrsensors."* >/dev/null || fail "no $size icon"
done
"$cmd" --backend sim --quiet --report both.json --junit both.xml >both.out 2>&1 ||
  { cat both.out; fail "the demo did not pass with both packages"; }
[ "$(grep -c '^  [A-Za-z]*Test .* PASS ' both.out)" = 5 ] || { cat both.out; fail "not five passes"; }
echo "packages install and run: $(basename "$core"), $(basename "$dialogs")"
