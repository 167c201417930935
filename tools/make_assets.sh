#!/usr/bin/env bash
# Regenerates all of Velmora's flat data (textures, fonts, sounds, the intro video, the level's
# meshes and document, the two characters and their animations) into a folder:
# tools/make_assets.sh <out-dir> [contact-sheet.png]
# The same inputs give the same bytes: fixed seeds, no time stamps, no metadata, ffmpeg in
# bit-exact mode on one thread. tools/make_assets.sh data docs/contact_sheet.png refreshes
# the committed copies.
# ASSETGEN may name a built velmora_assetgen; otherwise the tools are built under
# build/assets-tools.
set -euo pipefail
if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  echo "usage: tools/make_assets.sh <out-dir> [contact-sheet.png]"
  exit 2
fi
root="$(cd "$(dirname "$0")/.." && pwd)"
out="$1"
sheet="${2:-}"
fonts=/usr/share/fonts/truetype/dejavu

if [ -z "${ASSETGEN:-}" ]; then
  cmake -S "$root/tools" -B "$root/build/assets-tools" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$root/build/assets-tools" -j2 >/dev/null
  ASSETGEN="$root/build/assets-tools/velmora_assetgen"
fi

mkdir -p "$out"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT

# Textures, fonts and the short samples.
"$ASSETGEN" data "$out" "$root/tools/layouts" "$fonts"

# The courtyard level: its meshes, the sky dome, the level document and the mini map (a top
# view over exactly the level's area, compressed by the generator).
python3 "$root/tools/levelgen/levelgen.py" "$out" "$tmp/minimap.ppm"
"$ASSETGEN" dds "$tmp/minimap.ppm" "$out/resources/textures/level1/minimap.dds"

# The two characters, hero and patrol: skinned meshes and their animations.
python3 "$root/tools/chargen/chargen.py" "$out"

# The props: the sliding gate, the hinged door, the switch lever down and up, the two items.
python3 "$root/tools/propgen/propgen.py" "$out"

# The ambient rain loop: synthesised, then encoded as Ogg Vorbis.
"$ASSETGEN" rain "$tmp/rain.wav"
mkdir -p "$out/resources/sounds"
ffmpeg -nostdin -hide_banner -loglevel error -y -i "$tmp/rain.wav" -map_metadata -1 \
  -c:a libvorbis -q:a 2 -threads 1 -fflags +bitexact -flags:a +bitexact \
  "$out/resources/sounds/rain_loop.ogg"

# The intro clip: 10 s at 25 pictures a second, an MPEG-2 video elementary stream.
mkdir -p "$out/resources/video"
"$ASSETGEN" frames 320 240 250 "$fonts" |
  ffmpeg -nostdin -hide_banner -loglevel error -y -f rawvideo -pix_fmt rgb24 -s 320x240 -r 25 -i - \
    -map_metadata -1 -c:v mpeg2video -pix_fmt yuv420p -q:v 6 -g 12 -bf 2 \
    -threads 1 -filter_threads 1 -sws_flags bilinear -flags +bitexact -fflags +bitexact \
    -f mpeg2video "$out/resources/video/intro.m2v"
# The encoder leaves the stream open; the end-of-sequence code lets the decoder hand out its
# last pictures and report the end.
printf '\000\000\001\267' >>"$out/resources/video/intro.m2v"

if [ -n "$sheet" ]; then
  "$ASSETGEN" contact "$out" "$fonts" "$sheet"
fi
