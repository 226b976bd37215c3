#!/usr/bin/env bash
# Installs, builds and runs Ceolmark: the application when there is a display, otherwise
# the command-line tool on the bundled example recording.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -x build/src/app/ceolmark ]; then
  exec build/src/app/ceolmark
fi
# The recording brings its tempo, time signature, time shift, tune details and calibration.
example=build/resources/examples/scotland-the-brave.cmk
score=build/scotland-the-brave.bww
echo "No display: transcribing $example with ceolmark-cli" >&2
build/src/cli/ceolmark-cli transcribe "$example" --bww "$score"
echo "The score, as Bagpipe Music Writer text, is in $score" >&2
