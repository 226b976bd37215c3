#!/usr/bin/env bash
# Installs the Debian packages Ceolmark needs. With --test, also what the tests use:
# MuseScore 3 to read our .bww files, PulseAudio for real audio devices, clang for the fuzzer.
set -euo pipefail
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
packages=(build-essential cmake ninja-build pkg-config
  qtbase5-dev qtmultimedia5-dev libqt5multimedia5-plugins libqt5svg5-dev
  libkissfft-dev libsndfile1-dev libgtest-dev libgmock-dev libbenchmark-dev
  fonts-dejavu-core)
if [ "${1:-}" = "--test" ]; then
  packages+=(musescore3 pulseaudio pulseaudio-utils clang libclang-rt-14-dev xvfb xauth xdotool libx11-dev
    imagemagick desktop-file-utils)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
