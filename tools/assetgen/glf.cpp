#include "glf.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {
void Put32(std::vector<uint8_t>& v, uint32_t x) {
    for (int i = 0; i < 4; ++i) v.push_back(uint8_t(x >> (8 * i)));
}
void PutFloat(std::vector<uint8_t>& v, float f) {
    uint32_t bits;
    std::memcpy(&bits, &f, 4);
    Put32(v, bits);
}
int32_t Get32(const std::vector<uint8_t>& v, size_t at) {
    return int32_t(uint32_t(v[at]) | uint32_t(v[at + 1]) << 8 | uint32_t(v[at + 2]) << 16 |
                   uint32_t(v[at + 3]) << 24);
}
}  // namespace

bool MakeGlf(const TrueType& font, float px, int atlas_w, std::vector<uint8_t>* out,
             Image* preview) {
    int ascent, descent;
    font.Ascent(px, &ascent, &descent);
    const int pad = 1, gap = 2;
    const int line_h = ascent - descent + 2 * pad;
    const int baseline = pad + ascent;
    struct Cell {
        int x, y, w;
    };
    std::vector<Cell> cells;
    int x = gap, y = gap;
    for (int c = kGlfFirst; c <= kGlfLast; ++c) {
        int w = std::max(1, font.Advance(c, px));
        if (x + w + gap > atlas_w) {
            x = gap;
            y += line_h + gap;
        }
        cells.push_back({x, y, w});
        x += w + gap;
    }
    int needed = y + line_h + gap;
    int atlas_h = 1;
    while (atlas_h < needed) atlas_h *= 2;
    if (atlas_h > 2048) {
        std::printf("Font of %g pixels does not fit an atlas %d wide\n", px, atlas_w);
        return false;
    }
    std::vector<uint8_t> alpha(size_t(atlas_w) * atlas_h, 0);
    for (int c = kGlfFirst; c <= kGlfLast; ++c) {
        const Cell& cell = cells[size_t(c - kGlfFirst)];
        int gx, gy, gw, gh;
        std::vector<uint8_t> bits = font.Glyph(c, px, &gx, &gy, &gw, &gh);
        for (int j = 0; j < gh; ++j)
            for (int i = 0; i < gw; ++i) {
                int ax = gx + i, ay = baseline + gy + j;  // inside the cell; overhangs are clipped
                if (ax < 0 || ax >= cell.w || ay < 0 || ay >= line_h) continue;
                uint8_t& a = alpha[size_t(cell.y + ay) * atlas_w + cell.x + ax];
                a = std::max(a, bits[size_t(j) * gw + i]);
            }
    }
    out->clear();
    Put32(*out, 0);  // texture name, set by the game at load
    Put32(*out, uint32_t(atlas_w));
    Put32(*out, uint32_t(atlas_h));
    Put32(*out, kGlfFirst);
    Put32(*out, kGlfLast);
    Put32(*out, 0);  // glyph pointer, set by the game at load
    for (const Cell& cell : cells) {
        PutFloat(*out, float(cell.w) / float(atlas_w));
        PutFloat(*out, float(line_h) / float(atlas_h));
        PutFloat(*out, float(cell.x) / float(atlas_w));
        PutFloat(*out, float(cell.y) / float(atlas_h));
        PutFloat(*out, float(cell.x + cell.w) / float(atlas_w));
        PutFloat(*out, float(cell.y + line_h) / float(atlas_h));
    }
    for (uint8_t a : alpha) {
        out->push_back(255);
        out->push_back(a);
    }
    if (preview) DecodeGlf(*out, preview);
    return true;
}

bool DecodeGlf(const std::vector<uint8_t>& f, Image* out) {
    if (f.size() < 24) return false;
    int32_t w = Get32(f, 4), h = Get32(f, 8), first = Get32(f, 12), last = Get32(f, 16);
    if (w <= 0 || h <= 0 || w > 4096 || h > 4096 || last < first || first < 0 || last > 255)
        return false;
    size_t pixels = 24 + size_t(last - first + 1) * 24;
    if (f.size() < pixels + size_t(w) * h * 2) return false;
    *out = Image(w, h);
    for (size_t i = 0; i < size_t(w) * h; ++i) {
        out->px[i * 4 + 0] = out->px[i * 4 + 1] = out->px[i * 4 + 2] = f[pixels + i * 2];
        out->px[i * 4 + 3] = f[pixels + i * 2 + 1];
    }
    return true;
}
