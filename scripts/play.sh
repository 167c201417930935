#!/usr/bin/env bash
# Sets up a fresh Debian machine, builds Velmora and starts the game from the checkout.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
bash scripts/build.sh release
exec ./build/release/velmora "$@"
