#!/usr/bin/env bash
# Installs every Debian package Velmora needs to build, test and run.
# Non-interactive and idempotent; runs as root or through sudo.
set -euo pipefail

PACKAGES=(
  # toolchain and test tools
  build-essential cmake ninja-build pkg-config git
  clang libclang-rt-14-dev llvm clang-format
  libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev
  # engine libraries
  libsdl2-dev libsdl2-mixer-dev libphysfs-dev zlib1g-dev
  libgl-dev libgl1-mesa-dev libglu1-mesa-dev libgl1-mesa-dri mesa-utils
  libmpeg2-4-dev
  # graphical tests: virtual X server, synthetic input, screenshots
  xvfb xauth x11-utils x11-apps xdotool imagemagick python3
  # asset tools and comparisons
  libstb-dev fonts-dejavu-core sox libsox-fmt-all ffmpeg libbox2d-dev
)

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ "${#missing[@]}" -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -q
  $SUDO env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
else
  echo "All packages present."
fi
