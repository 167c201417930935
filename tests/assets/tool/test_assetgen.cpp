// The generator's own pieces: DDS encoding and its mip chain, the DXT reader of the contact
// sheet, GLF layout, WAV encoding, the seamless rain loop, the layout parser's refusals and
// the determinism of every picture.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "art.h"
#include "audio.h"
#include "glf.h"
#include "image.h"

namespace {
uint32_t Le32(const std::vector<uint8_t>& v, size_t at) {
    return uint32_t(v[at]) | uint32_t(v[at + 1]) << 8 | uint32_t(v[at + 2]) << 16 |
           uint32_t(v[at + 3]) << 24;
}
const char* kFontDir = "/usr/share/fonts/truetype/dejavu";

std::string WriteTemp(const std::string& name, const std::string& text) {
    std::string path = std::string(VELMORA_BINARY_DIR) + "/assetgen_test_" + name;
    std::ofstream(path) << text;
    return path;
}
}  // namespace

TEST(AssetgenDds, FourByFourWhiteDxt1HasThreeLevelsOfOneBlock) {
    std::vector<uint8_t> f = EncodeDds(Image(4, 4, Col{1, 1, 1, 1}), false);
    ASSERT_EQ(f.size(), 128u + 3 * 8);
    EXPECT_EQ(std::memcmp(f.data(), "DDS ", 4), 0);
    EXPECT_EQ(Le32(f, 4), 124u);
    EXPECT_EQ(Le32(f, 12), 4u);  // height
    EXPECT_EQ(Le32(f, 16), 4u);  // width
    EXPECT_EQ(Le32(f, 20), 8u);  // linear size of level 0
    EXPECT_EQ(Le32(f, 28), 3u);  // 4x4, 2x2, 1x1
    EXPECT_EQ(std::memcmp(&f[84], "DXT1", 4), 0);
    Image back;
    ASSERT_TRUE(DecodeDds(f, &back));
    for (size_t i = 0; i < back.px.size(); ++i) EXPECT_EQ(back.px[i], 255) << i;
}

TEST(AssetgenDds, NonSquareChainClampsTheShortSide) {
    // 8x2 -> 4x1 -> 2x1 -> 1x1: four levels of 2, 1, 1 and 1 DXT5 blocks.
    std::vector<uint8_t> f = EncodeDds(Image(8, 2, Col{0, 0, 0, 0.5f}), true);
    EXPECT_EQ(Le32(f, 28), 4u);
    EXPECT_EQ(Le32(f, 20), 32u);
    EXPECT_EQ(f.size(), 128u + (2 + 1 + 1 + 1) * 16);
    Image back;
    ASSERT_TRUE(DecodeDds(f, &back));
    EXPECT_EQ(back.w, 8);
    EXPECT_EQ(back.h, 2);
    EXPECT_NEAR(back.px[3], 128, 2);  // alpha survives DXT5
}

TEST(AssetgenDds, RefusesSidesThatAreNotPowersOfTwo) {
    std::string path = std::string(VELMORA_BINARY_DIR) + "/assetgen_test_bad.dds";
    std::remove(path.c_str());
    EXPECT_FALSE(WriteDds(path, Image(12, 8), false));
    EXPECT_FALSE(std::ifstream(path).good());
}

TEST(AssetgenDds, ReaderRejectsBadFiles) {
    std::vector<uint8_t> f = EncodeDds(Image(8, 8, Col{1, 0, 0, 1}), false);
    Image out;
    EXPECT_FALSE(DecodeDds(std::vector<uint8_t>(f.begin(), f.begin() + 127), &out));
    EXPECT_FALSE(
        DecodeDds(std::vector<uint8_t>(f.begin(), f.begin() + 128 + 10), &out));  // short level 0
    std::vector<uint8_t> huge = f;
    huge[16] = 0;
    huge[17] = 0;
    huge[18] = 0;
    huge[19] = 0x40;  // width 2^30
    EXPECT_FALSE(DecodeDds(huge, &out));
    std::vector<uint8_t> plain = f;
    std::memcpy(&plain[84], "ABCD", 4);
    EXPECT_FALSE(DecodeDds(plain, &out));
    EXPECT_TRUE(DecodeDds(f, &out));
}

TEST(AssetgenTga, RowsFromTheTopInBlueGreenRed) {
    Image img(2, 1);
    img.Set(0, 0, Col{1, 0, 0, 1});
    img.Set(1, 0, Col{0, 0, 1, 1});
    std::string path = std::string(VELMORA_BINARY_DIR) + "/assetgen_test.tga";
    ASSERT_TRUE(WriteTga24(path, img));
    std::ifstream in(path, std::ios::binary);
    std::vector<uint8_t> f((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_EQ(f.size(), 18u + 6);
    EXPECT_EQ(f[2], 2);
    EXPECT_EQ(f[16], 24);
    EXPECT_EQ(f[17], 0x20);
    EXPECT_EQ(f[18], 0);    // blue of the red pixel
    EXPECT_EQ(f[20], 255);  // its red
    EXPECT_EQ(f[21], 255);  // blue of the blue pixel
    Image back;
    ASSERT_TRUE(DecodeTga(f, &back));
    EXPECT_EQ(back.px[0], 255);
    EXPECT_EQ(back.px[6], 255);
}

TEST(AssetgenGlf, OneLineHeightAndAnExactFile) {
    TrueType face;
    ASSERT_TRUE(face.Load(std::string(kFontDir) + "/DejaVuSans.ttf"));
    std::vector<uint8_t> f;
    Image atlas;
    ASSERT_TRUE(MakeGlf(face, 20, 256, &f, &atlas));
    int32_t w = int32_t(Le32(f, 4)), h = int32_t(Le32(f, 8));
    EXPECT_EQ(w, 256);
    EXPECT_EQ(Le32(f, 12), 32u);
    EXPECT_EQ(Le32(f, 16), 126u);
    ASSERT_EQ(f.size(), 24u + 95 * 24 + size_t(w) * h * 2);
    float dy0;
    std::memcpy(&dy0, &f[24 + 4], 4);
    for (int i = 0; i < 95; ++i) {
        float g[6];
        std::memcpy(g, &f[24 + size_t(i) * 24], 24);
        EXPECT_FLOAT_EQ(g[1], dy0);
        EXPECT_GT(g[0], 0.0f);
        EXPECT_LE(g[4], 1.0f);
        EXPECT_LE(g[5], 1.0f);
    }
    EXPECT_EQ(atlas.w, w);
    EXPECT_EQ(atlas.h, h);
    Image out;
    EXPECT_FALSE(DecodeGlf(std::vector<uint8_t>(f.begin(), f.end() - 2), &out));
    EXPECT_FALSE(DecodeGlf(std::vector<uint8_t>(f.begin(), f.begin() + 23), &out));
}

TEST(AssetgenGlf, TooLargeForTheAtlasFails) {
    TrueType face;
    ASSERT_TRUE(face.Load(std::string(kFontDir) + "/DejaVuSans.ttf"));
    std::vector<uint8_t> f;
    EXPECT_FALSE(MakeGlf(face, 400, 256, &f, nullptr));
}

TEST(AssetgenTrueType, MissingFileFails) {
    TrueType face;
    EXPECT_FALSE(face.Load("/nonexistent/face.ttf"));
}

TEST(AssetgenAudio, WavHeaderAndLength) {
    std::vector<uint8_t> w = EncodeWav({0.0f, 1.0f, -1.0f, 2.0f});
    ASSERT_EQ(w.size(), 44u + 8);
    EXPECT_EQ(std::string(w.begin(), w.begin() + 4), "RIFF");
    EXPECT_EQ(Le32(w, 4), 36u + 8);
    EXPECT_EQ(Le32(w, 24), 22050u);
    EXPECT_EQ(Le32(w, 40), 8u);
    EXPECT_EQ(w[46], 0xFF);  // 32767 little-endian
    EXPECT_EQ(w[47], 0x7F);
    EXPECT_EQ(w[50], 0xFF);  // clamped 2.0 is 32767 too
    EXPECT_EQ(w[51], 0x7F);
}

TEST(AssetgenAudio, RainLoopHasNoSeam) {
    std::vector<float> s = RainLoop(10.0f);
    ASSERT_EQ(s.size(), size_t(10 * kSampleRate));
    // The step from the last sample to the first is no larger than the steps inside the loop.
    float largest = 0, mean = 0;
    for (size_t i = 1; i < s.size(); ++i) {
        float d = std::fabs(s[i] - s[i - 1]);
        largest = std::max(largest, d);
        mean += d;
    }
    mean /= float(s.size() - 1);
    EXPECT_LE(std::fabs(s.front() - s.back()), largest);
    EXPECT_LE(std::fabs(s.front() - s.back()), 6 * mean);
    float peak = 0;
    for (float v : s) peak = std::max(peak, std::fabs(v));
    EXPECT_NEAR(peak, 0.7f, 1e-5f);
}

TEST(AssetgenAudio, SamplesAreDeterministicAndSized) {
    EXPECT_EQ(DoorMove(), DoorMove());
    EXPECT_EQ(DoorMove().size(), size_t(1.8f * kSampleRate));
    EXPECT_EQ(SwitchClick().size(), size_t(0.25f * kSampleRate));
    EXPECT_EQ(ItemPickup().size(), size_t(0.5f * kSampleRate));
}

TEST(AssetgenLayout, BadLayoutsAreRefused) {
    ArtFonts fonts;
    ASSERT_TRUE(fonts.Load(kFontDir));
    Image img;
    std::vector<float> height;
    EXPECT_FALSE(MakeAtlas("/nonexistent/layout", fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("nosize", "rect 0 0 4 4 1 2 3 flat\n"), fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("npot", "size 300 256\n"), fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("huge", "size 65536 65536\n"), fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("short", "size 64 64\nrect 0 0 4\n"), fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("word", "size 64 64\nblob 1 2\n"), fonts, &img, &height));
    EXPECT_FALSE(MakeAtlas(WriteTemp("empty", "# nothing\n"), fonts, &img, &height));
}

TEST(AssetgenLayout, RegionsSeamsAndReliefLandWhereWritten) {
    ArtFonts fonts;
    ASSERT_TRUE(fonts.Load(kFontDir));
    Image img;
    std::vector<float> height;
    // A region reaching past the edge is clipped, not written out of range.
    std::string path = WriteTemp("good",
                                 "size 64 32  # comment\nrect 8 8 16 16 200 100 50 flat\nrect 60 "
                                 "28 40 40 10 20 30 flat\ndisc 40 16 4 255 255 255\n");
    ASSERT_TRUE(MakeAtlas(path, fonts, &img, &height));
    ASSERT_EQ(img.w, 64);
    ASSERT_EQ(img.h, 32);
    ASSERT_EQ(height.size(), 64u * 32);
    Col inside = img.Get(16, 16);
    EXPECT_NEAR(inside.r * 255, 200, 1);
    EXPECT_NEAR(inside.g * 255, 100, 1);
    Col seam = img.Get(8, 16);
    EXPECT_NEAR(seam.r * 255, 120, 1);  // 0.6 of the colour
    EXPECT_FLOAT_EQ(height[16 * 64 + 8], 0.2f);
    EXPECT_FLOAT_EQ(height[16 * 64 + 16], 0.5f);
    EXPECT_FLOAT_EQ(height[16 * 64 + 40], 0.75f);
    Col outside = img.Get(2, 2);
    EXPECT_EQ(outside.r, 0.0f);
    Image normal = NormalMapFromHeight(height, 64, 32, 32, 16, 3.0f);
    EXPECT_EQ(normal.w, 32);
    Col flat = normal.Get(1, 1);
    EXPECT_NEAR(flat.b * 255, 255, 1);  // flat ground points straight out
}

TEST(AssetgenArt, EveryPictureIsAPowerOfTwoAndRepeatable) {
    ArtFonts fonts;
    ASSERT_TRUE(fonts.Load(kFontDir));
    std::vector<Texture> a = MakeFlatTextures(fonts);
    std::vector<Texture> b = MakeFlatTextures(fonts);
    ASSERT_EQ(a.size(), 49u);  // and the two character atlases make 51 DDS files
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) {
        EXPECT_TRUE(IsPowerOfTwo(a[i].image.w) && IsPowerOfTwo(a[i].image.h)) << a[i].path;
        EXPECT_EQ(a[i].path, b[i].path);
        EXPECT_TRUE(a[i].image.px == b[i].image.px) << a[i].path;
    }
    Image f1 = IntroFrame(fonts, 64, 48, 0, 10), f9 = IntroFrame(fonts, 64, 48, 9, 10),
          f5 = IntroFrame(fonts, 64, 48, 5, 10);
    EXPECT_EQ(f1.px[0], 0);  // fades in from black
    EXPECT_EQ(f9.px[0], 0);  // and out to black
    EXPECT_GT(f5.px[(24 * 64 + 32) * 4] + f5.px[(24 * 64 + 32) * 4 + 1], 0);
}

TEST(AssetgenArt, CompressedPicturesStayCloseToTheirSources) {
    ArtFonts fonts;
    ASSERT_TRUE(fonts.Load(kFontDir));
    for (const Texture& t : MakeFlatTextures(fonts)) {
        Image back;
        ASSERT_TRUE(DecodeDds(EncodeDds(t.image, t.dxt5), &back)) << t.path;
        ASSERT_EQ(back.px.size(), t.image.px.size()) << t.path;
        double err[4] = {0, 0, 0, 0};
        for (size_t i = 0; i < back.px.size(); ++i)
            err[i % 4] += std::abs(int(back.px[i]) - int(t.image.px[i]));
        size_t n = back.px.size() / 4;
        for (int c = 0; c < 3; ++c)
            EXPECT_LT(err[c] / double(n), 12.0) << t.path << " channel " << c;
        if (t.dxt5) {
            EXPECT_LT(err[3] / double(n), 6.0) << t.path << " alpha";
        }
    }
}
