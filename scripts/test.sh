#!/usr/bin/env bash
# Installs, builds and runs every test through ctest. Exits non-zero if any test fails.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh --test
bash scripts/build.sh
cd build
ctest --output-on-failure --parallel "$(nproc)" --timeout 600
