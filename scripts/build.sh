#!/usr/bin/env bash
# Configures and builds one flavour of the project.
#   scripts/build.sh release   optimised, asserts on (build/release)
#   scripts/build.sh asan      Debug with AddressSanitizer and UBSan (build/asan)
#   scripts/build.sh fuzz      clang, libFuzzer targets only (build/fuzz)
set -euo pipefail
cd "$(dirname "$0")/.."
flavour=${1:-release}
jobs=${JOBS:-$(nproc)}
gen=()
command -v ninja >/dev/null && gen=(-G Ninja)
case "$flavour" in
  release) cmake -S . -B build/release "${gen[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null ;;
  asan)    cmake -S . -B build/asan "${gen[@]}" -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON \
             -DVELMORA_BENCH=OFF -DVELMORA_TOOLS=OFF >/dev/null ;;
  fuzz)    CC=clang CXX=clang++ cmake -S . -B build/fuzz "${gen[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
             -DVELMORA_FUZZ=ON >/dev/null ;;
  *) echo "unknown flavour: $flavour" >&2; exit 2 ;;
esac
cmake --build "build/$flavour" -j "$jobs"
