#pragma once
// The game's flat art, drawn by code. Each function returns one picture; the caller decides
// the file and its compression.
#include <string>
#include <vector>

#include "image.h"

struct ArtFonts {
    TrueType regular;  // DejaVu Sans
    TrueType bold;     // DejaVu Sans Bold
    bool Load(const std::string& font_dir);
};

struct Texture {
    std::string path;  // relative to the data folder
    Image image;
    bool dxt5 = false;  // DXT5 where the picture needs alpha, DXT1 elsewhere
};

// Every DDS picture of the game except the two character atlases.
std::vector<Texture> MakeFlatTextures(const ArtFonts& fonts);

// A texture atlas from a layout description (see tools/layouts/). `height` receives the
// relief used for the normal map, one float per pixel in 0..1.
bool MakeAtlas(const std::string& layout_path, const ArtFonts& fonts, Image* colour,
               std::vector<float>* height);
Image NormalMapFromHeight(const std::vector<float>& height, int w, int h, int out_w, int out_h,
                          float strength);

// One picture of the intro clip (frame `i` of `count`).
Image IntroFrame(const ArtFonts& fonts, int w, int h, int i, int count);
