#!/usr/bin/env bash
# Runs one command inside its own Xvfb server on a free display number, then stops the server.
#   scripts/with-xvfb.sh [--size WxH] command args...
# The command's exit code is returned. Rendering goes through Mesa's llvmpipe.
set -u
size=1280x1024
if [ "${1:-}" = "--size" ]; then size=$2; shift 2; fi

# A display number is free when neither its lock file nor its socket exists; the lock is
# taken by Xvfb itself, so two runs racing for one number make one of them retry.
start_server() {
  local n
  for _ in $(seq 1 50); do
    n=$(( (RANDOM % 4000) + 100 ))
    [ -e "/tmp/.X$n-lock" ] || [ -e "/tmp/.X11-unix/X$n" ] && continue
    Xvfb ":$n" -screen 0 "${size}x24" -nolisten tcp -noreset +extension GLX >/dev/null 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 1 100); do
      if [ -e "/tmp/.X11-unix/X$n" ]; then display=":$n"; return 0; fi
      kill -0 "$xvfb_pid" 2>/dev/null || break
      sleep 0.05
    done
    kill "$xvfb_pid" 2>/dev/null; wait "$xvfb_pid" 2>/dev/null
  done
  return 1
}

if ! start_server; then
  echo "with-xvfb: could not start Xvfb" >&2
  exit 1
fi
trap 'kill "$xvfb_pid" 2>/dev/null; wait "$xvfb_pid" 2>/dev/null' EXIT
export DISPLAY=$display
export LIBGL_ALWAYS_SOFTWARE=1
export SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy}
"$@"
exit $?
