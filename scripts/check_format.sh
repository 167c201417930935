#!/usr/bin/env bash
# Checks that every C++ file of the project follows .clang-format.
#   scripts/check_format.sh           lists each file that differs, exits 1 if any does
#   scripts/check_format.sh --fix     rewrites them in place
#   scripts/check_format.sh --root D  checks the tree under D instead (for the check's own test)
# The files are those of source/, tests/, bench/, fuzz/ and tools/ ending in .cpp or .h.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
fix=0
while [ $# -gt 0 ]; do
  case "$1" in
    --fix) fix=1 ;;
    --root) root="$(cd "$2" && pwd)"; shift ;;
    *) echo "usage: $0 [--fix] [--root folder]" >&2; exit 2 ;;
  esac
  shift
done
# The style file is the project's own, wherever the checked tree lies.
style="file:$(cd "$(dirname "$0")/.." && pwd)/.clang-format"
if ! command -v clang-format >/dev/null; then
  echo "check_format: clang-format not found (scripts/setup.sh installs it)"
  exit 1
fi
cd "$root"
mapfile -t files < <(find source tests bench fuzz tools -type f \( -name '*.cpp' -o -name '*.h' \) \
  2>/dev/null | LC_ALL=C sort)
if [ "${#files[@]}" -eq 0 ]; then
  echo "check_format: no C++ files under $root"
  exit 1
fi
if [ "$fix" -eq 1 ]; then
  clang-format --style="$style" -i "${files[@]}"
  exit 0
fi
bad=0
for f in "${files[@]}"; do
  if ! clang-format --style="$style" --dry-run --Werror "$f" >/dev/null 2>&1; then
    echo "check_format: $f is not formatted (scripts/check_format.sh --fix)"
    bad=1
  fi
done
[ "$bad" -eq 0 ] && echo "check_format: ${#files[@]} files formatted"
exit $bad
