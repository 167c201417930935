#pragma once
// GLF bitmap fonts: a luminance-alpha glyph atlas with a table of glyph rectangles, codes 32
// to 126. Every glyph cell is one line high, so every glyph (the one of code 64 included,
// which the game measures text height by) has the height of the whole line.
#include <cstdint>
#include <vector>

#include "image.h"

constexpr int kGlfFirst = 32;
constexpr int kGlfLast = 126;

// Builds the file bytes; `preview` receives the atlas as white glyphs with alpha.
bool MakeGlf(const TrueType& font, float pixel_height, int atlas_width, std::vector<uint8_t>* out,
             Image* preview);

// Reads the atlas of a GLF file back as an image, for the contact sheet.
bool DecodeGlf(const std::vector<uint8_t>& file, Image* out);
