#!/usr/bin/env bash
# Configures and builds into build/ (Release). Extra arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCEOLMARK_WARNINGS_FATAL=ON "$@"
cmake --build build --parallel "$(nproc)"
