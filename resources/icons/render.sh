#!/bin/sh
# Renders every icon SVG here to the 64 x 64 PNG the program loads (no SVG plugin at run
# time), and the application icon also at 256 x 256. Needs rsvg-convert (librsvg2-bin).
set -eu
cd "$(dirname "$0")"
for svg in *.svg; do
    rsvg-convert --width 64 --height 64 --keep-aspect-ratio "$svg" --output "${svg%.svg}.png"
done
rsvg-convert --width 256 --height 256 --keep-aspect-ratio ceolmark.svg --output ceolmark-256.png
