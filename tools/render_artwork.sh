#!/usr/bin/env bash
# Renders the dialogs' artwork from its vector sources (resources/vekrsensors/artwork/*.svg)
# to the PNG files the dialogs load, each at the pixel size the dialog loads it at.
# Run after editing a source; the PNGs are committed so that a build needs no renderer.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v rsvg-convert >/dev/null || { echo "render_artwork: rsvg-convert missing (scripts/setup.sh installs it)" >&2; exit 1; }

src=resources/vekrsensors/artwork
out=resources/vekrsensors

# name                          width height
sizes=(
  "gyrometer_bg                  752 752"
  "gyrometer_dial                156 162"
  "gyrometer_marble               61  62"
  "gyrometer_marble_hole          56  56"
  "gyrometer_light_red            83  84"
  "gyrometer_light_green          83  84"
  "gyrometer_dial_arrow_right    108  75"
  "gyrometer_dial_arrow_left     108  75"
  "compass_container_bg          498 437"
  "compass_bg                    375 375"
  "compass_needle                183 702"
  "compass_needle_cap             75  75"
  "compass_marker                 30  41"
  "compass_arrow_left            201 406"
  "compass_arrow_right           201 406"
  "proxCantSee                   394 336"
  "proxHoldSteady                394 336"
  "proxNowMove                   394 336"
  "close                          32  32"
  "orientation_upright           240 240"
  "orientation_left_up           240 240"
  "orientation_face_up           240 240"
  "orientation_upside_down       240 240"
  "orientation_right_up          240 240"
  "vekrsensors_icon               64  64"
)

# Each at its size, and at twice its size as name@2x.png for screens at 150-200 % scale (the
# dialogs scale the 2x rendition down to the screen's ratio, never a 1x one up).
for row in "${sizes[@]}"; do
  read -r name width height <<<"$row"
  for scale in 1 2; do
    suffix=$([ "$scale" = 1 ] || echo "@${scale}x")
    tmp=$(mktemp "$out/.$name.XXXXXX")
    rsvg-convert --width $((width * scale)) --height $((height * scale)) --format png \
      "$src/$name.svg" >"$tmp"
    chmod 644 "$tmp"
    mv "$tmp" "$out/$name$suffix.png"
  done
done
echo "render_artwork: ${#sizes[@]} images at 1x and 2x in $out"

# The launcher's icon, at the sizes desktops use (hicolor theme), from the window icon's source.
for size in 48 64 128 256; do
  mkdir -p packaging/desktop/icons/$size
  rsvg-convert --width $size --height $size --format png "$src/vekrsensors_icon.svg" \
    >packaging/desktop/icons/$size/vekrsensors.png
done
