#!/usr/bin/env bash
# Regenerates the flat data into a scratch folder and compares every file, and the contact
# sheet, with the committed copies: regenerate.sh <velmora_assetgen> <source-dir> <scratch-dir>
set -euo pipefail
gen="$1"
src="$2"
scratch="$3"
rm -rf "$scratch"
mkdir -p "$scratch"
ASSETGEN="$gen" bash "$src/tools/make_assets.sh" "$scratch/data" "$scratch/contact_sheet.png"
count=0
status=0
while IFS= read -r -d '' f; do
  rel="${f#"$scratch/data/"}"
  count=$((count + 1))
  if [ ! -f "$src/data/$rel" ]; then
    echo "missing in data/: $rel"
    status=1
  elif ! cmp -s "$f" "$src/data/$rel"; then
    echo "differs from data/: $rel"
    status=1
  fi
done < <(find "$scratch/data" -type f -print0 | sort -z)
if ! cmp -s "$scratch/contact_sheet.png" "$src/docs/contact_sheet.png"; then
  echo "differs: docs/contact_sheet.png"
  status=1
fi
echo "compared $count generated files"
if [ "$count" -lt 60 ]; then
  echo "expected at least 60 generated files"
  status=1
fi
exit $status
