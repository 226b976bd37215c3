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
example=resources/examples/scotland-the-brave.wav
echo "No display: transcribing $example with ceolmark-cli" >&2
exec build/src/cli/ceolmark-cli frames "$example"
