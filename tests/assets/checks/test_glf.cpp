// The three fonts of the game: codes 32 to 126, a glyph table and a luminance-alpha atlas
// that fit the file exactly, glyph rectangles inside the atlas, and one line height for all
// glyphs, so that the height the game measures (the glyph of code 64) is the line's.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "assetfiles.h"

namespace {

struct Glyph {
    float dx, dy, tx1, ty1, tx2, ty2;
};

struct Glf {
    int32_t tex_width = 0, tex_height = 0, start_char = 0, end_char = 0;
    std::vector<Glyph> glyphs;
    std::vector<uint8_t> pixels;  // luminance, alpha
};

std::string ReadGlf(const std::vector<uint8_t>& f, Glf* out) {
    if (f.size() < 24) return "short header";
    out->tex_width = int32_t(Le32(f, 4));
    out->tex_height = int32_t(Le32(f, 8));
    out->start_char = int32_t(Le32(f, 12));
    out->end_char = int32_t(Le32(f, 16));
    if (out->tex_width <= 0 || out->tex_height <= 0 || out->tex_width > 4096 ||
        out->tex_height > 4096)
        return "texture size";
    if (out->end_char < out->start_char || out->start_char < 0 || out->end_char > 255)
        return "code range";
    size_t count = size_t(out->end_char - out->start_char + 1);
    size_t table_end = 24 + count * 24;
    if (f.size() < table_end) return "short table";
    for (size_t i = 0; i < count; ++i) {
        Glyph g;
        std::memcpy(&g, &f[24 + i * 24], 24);
        out->glyphs.push_back(g);
    }
    size_t pixel_bytes = size_t(out->tex_width) * size_t(out->tex_height) * 2;
    if (f.size() < table_end + pixel_bytes) return "short pixels";
    if (f.size() != table_end + pixel_bytes) return "trailing bytes";
    out->pixels.assign(f.begin() + long(table_end), f.end());
    return "";
}

}  // namespace

TEST(GlfReader, RejectsTruncatedFiles) {
    std::vector<uint8_t> f = ReadAll(DataPath("system/tahoma2.glf"));
    ASSERT_GT(f.size(), 24u + 95 * 24);
    Glf g;
    EXPECT_EQ(ReadGlf(std::vector<uint8_t>(f.begin(), f.begin() + 20), &g), "short header");
    Glf g2;
    EXPECT_EQ(ReadGlf(std::vector<uint8_t>(f.begin(), f.begin() + 24 + 10 * 24), &g2),
              "short table");
    Glf g3;
    EXPECT_EQ(ReadGlf(std::vector<uint8_t>(f.begin(), f.end() - 1), &g3), "short pixels");
}

class GlfData : public testing::TestWithParam<const char*> {};

TEST_P(GlfData, CodesTableAndAtlasFit) {
    Glf g;
    ASSERT_EQ(ReadGlf(ReadAll(DataPath(GetParam())), &g), "");
    EXPECT_EQ(g.start_char, 32);
    EXPECT_EQ(g.end_char, 126);
    ASSERT_EQ(g.glyphs.size(), 95u);
    // The game reads the height from the table entry at index start_char: it must exist.
    ASSERT_GE(g.end_char - g.start_char, g.start_char);
    float dy = g.glyphs[0].dy;
    EXPECT_GT(dy, 0.0f);
    for (size_t i = 0; i < g.glyphs.size(); ++i) {
        const Glyph& q = g.glyphs[i];
        EXPECT_GT(q.dx, 0.0f) << i;
        EXPECT_FLOAT_EQ(q.dy, dy) << i;
        EXPECT_GE(q.tx1, 0.0f);
        EXPECT_GE(q.ty1, 0.0f);
        EXPECT_LE(q.tx2, 1.0f);
        EXPECT_LE(q.ty2, 1.0f);
        EXPECT_NEAR(q.tx2 - q.tx1, q.dx, 1e-6f) << i;
        EXPECT_NEAR(q.ty2 - q.ty1, q.dy, 1e-6f) << i;
    }
    // Luminance is white everywhere; the shapes are in alpha, and a space is empty.
    size_t inked = 0;
    for (size_t i = 0; i < g.pixels.size(); i += 2) {
        EXPECT_EQ(g.pixels[i], 255) << i;
        if (g.pixels[i + 1]) ++inked;
    }
    EXPECT_GT(inked, 1000u);
    const Glyph& space = g.glyphs[0];
    int x0 = int(std::lround(space.tx1 * g.tex_width)),
        y0 = int(std::lround(space.ty1 * g.tex_height));
    int x1 = int(std::lround(space.tx2 * g.tex_width)),
        y1 = int(std::lround(space.ty2 * g.tex_height));
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) EXPECT_EQ(g.pixels[(size_t(y) * g.tex_width + x) * 2 + 1], 0);
    // '@' (code 64) carries ink.
    const Glyph& at = g.glyphs[64 - 32];
    size_t at_ink = 0;
    for (int y = int(std::lround(at.ty1 * g.tex_height));
         y < int(std::lround(at.ty2 * g.tex_height)); ++y)
        for (int x = int(std::lround(at.tx1 * g.tex_width));
             x < int(std::lround(at.tx2 * g.tex_width)); ++x)
            if (g.pixels[(size_t(y) * g.tex_width + x) * 2 + 1] > 128) ++at_ink;
    EXPECT_GT(at_ink, 20u);
}

INSTANTIATE_TEST_SUITE_P(Fonts, GlfData,
                         testing::Values("system/tahoma2.glf", "resources/fonts/arial.glf",
                                         "resources/fonts/tahoma.glf"));

TEST(GlfData, SizesSuitTheGuiScales) {
    auto line_height = [](const char* rel) {
        Glf g;
        EXPECT_EQ(ReadGlf(ReadAll(DataPath(rel)), &g), "");
        return g.glyphs.empty() ? 0.0f : g.glyphs[64 - 32].dy * float(g.tex_height);
    };
    // The list draws tahoma at 0.5 in rows of 13 units.
    EXPECT_LE(line_height("resources/fonts/tahoma.glf") * 0.5f, 15.0f);
    EXPECT_GE(line_height("resources/fonts/tahoma.glf") * 0.5f, 11.0f);
    // Button labels at 0.6 stay within a 40-unit button and readable.
    EXPECT_LE(line_height("resources/fonts/arial.glf") * 0.6f, 30.0f);
    EXPECT_GE(line_height("resources/fonts/arial.glf") * 0.6f, 16.0f);
    EXPECT_GE(line_height("system/tahoma2.glf") * 0.5f, 14.0f);
}
