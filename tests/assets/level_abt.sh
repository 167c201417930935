#!/usr/bin/env bash
# Rebuilds the level's ABT file with the engine's builder and compares it with the committed
# copy: level_abt.sh <velmora_levelabt> <source-dir> <scratch-dir>
# The header's second line (the build's time) is left out: the game itself rewrites the
# committed file, with its own time, whenever it loads the level from the checkout.
set -euo pipefail
tool="$1"
src="$2"
scratch="$3"
rm -rf "$scratch"
mkdir -p "$scratch"
"$tool" "$src/data" scenes/enemy_test.cfo "$scratch/courtyard.abt" >"$scratch/build.log"
if ! cmp -s <(sed 2d "$scratch/courtyard.abt") <(sed 2d "$src/data/resources/meshes/courtyard.abt"); then
  echo "differs from data/: resources/meshes/courtyard.abt (refresh it with velmora_levelabt)"
  exit 1
fi
echo "resources/meshes/courtyard.abt matches a fresh build"
