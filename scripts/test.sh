#!/usr/bin/env bash
# Runs every test of the project: the release build's whole suite (graphical tests under
# their own Xvfb included, and the conventions: include layers and formatting), each
# libFuzzer target for a bounded time, and the suite again under AddressSanitizer and
# UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

echo "== conventions"
# First, so that a broken layer or an unformatted file fails in seconds; ctest runs both
# again with their own tests.
python3 scripts/check_layers.py
bash scripts/check_format.sh

echo "== release build"
bash scripts/build.sh release
ctest --test-dir build/release --output-on-failure -j "$(nproc)" --timeout 300

echo "== fuzzing"
bash scripts/build.sh fuzz
bash scripts/fuzz.sh "${FUZZ_SECONDS:-15}"

echo "== sanitizer build"
bash scripts/build.sh asan
# Mesa's llvmpipe is not built for the sanitizers: graphical tests run in the release build
# only; the conventions do not depend on the build.
ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --test-dir build/asan --output-on-failure -j "$(nproc)" --timeout 600 -LE "gfx|conventions"
