#!/usr/bin/env bash
# Runs each built libFuzzer target for a bounded time over its seed corpus.
#   scripts/fuzz.sh [seconds per target]
# The video target only replays its corpus here: libmpeg2 0.5.1 itself writes and frees out
# of bounds on some mutated streams (the game tries a stream in a child process first, but
# a stray write inside the decoder's own memory cannot be seen from outside). Run it with
# mutation through VELMORA_FUZZ_VIDEO=1, outside the test command.
set -euo pipefail
cd "$(dirname "$0")/.."
secs=${1:-15}
shopt -s nullglob
status=0
for exe in build/fuzz/fuzz/fuzz_*; do
  [ -x "$exe" ] || continue
  name=$(basename "$exe"); name=${name#fuzz_}
  work=$(mktemp -d)
  seeds=()
  [ -d "fuzz/corpus/$name" ] && seeds=("fuzz/corpus/$name")
  mode=(-max_total_time="$secs")
  if [ "$name" = video ] && [ -z "${VELMORA_FUZZ_VIDEO:-}" ]; then
    mode=(-runs=0)
    echo "-- fuzz_$name: its corpus once"
  else
    echo "-- fuzz_$name for ${secs}s"
  fi
  if ! "$exe" "${mode[@]}" -rss_limit_mb=2048 -max_len=65536 -print_final_stats=0 \
       -artifact_prefix="$work/" "$work" "${seeds[@]}" >"$work/log" 2>&1; then
    tail -n 40 "$work/log"
    echo "fuzz_$name found a failure; inputs kept in $work"
    status=1
  else
    grep -aE '^#[0-9]+.*DONE' "$work/log" | tail -n 1 || true
    rm -rf "$work"
  fi
done
exit $status
