#include <gtest/gtest.h>

#include <memory>

#include "imagewriters.h"
#include "resources/imagefiles.h"
#include "resources/resourcemanager.h"
#include "resources/texturetga.h"
#include "testdir.h"

using namespace testfiles;

namespace {
struct TgaDeleter {
    void operator()(TgaImage* i) const { FreeTGA(i); }
};
using TgaPtr = std::unique_ptr<TgaImage, TgaDeleter>;

TgaPtr Parse(const std::vector<uint8_t>& file, std::string* out = nullptr) {
    testing::internal::CaptureStdout();
    TgaImage* image = ParseTGA(file.data(), file.size(), "t.tga");
    std::string text = testing::internal::GetCapturedStdout();
    if (out) *out = text;
    return TgaPtr(image);
}

std::vector<uint8_t> Pixels(const TgaImage& image) {
    return std::vector<uint8_t>(image.pixels, image.pixels + size_t(image.width) * image.height *
                                                                 size_t(image.bytes_per_pixel));
}
}  // namespace

TEST(TgaReader, Type2And3With24BitsLoadWithoutRowFlip) {
    // 2x2, BGR in the file: rows stay in file order.
    std::vector<uint8_t> data = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    for (uint8_t type : {2, 3}) {
        auto image = Parse(MakeTGA(type, 24, 2, 2, data));
        ASSERT_TRUE(image) << int(type);
        EXPECT_EQ(image->bytes_per_pixel, 3);
        EXPECT_EQ(image->width, 2u);
        EXPECT_EQ(image->height, 2u);
        EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10}));
    }
}

TEST(TgaReader, ThirtyTwoBitsKeepAlpha) {
    auto image = Parse(MakeTGA(2, 32, 1, 2, {10, 20, 30, 40, 50, 60, 70, 80}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bytes_per_pixel, 4);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{30, 20, 10, 40, 70, 60, 50, 80}));
}

TEST(TgaReader, IdFieldIsSkipped) {
    auto image = Parse(MakeTGA(2, 24, 1, 1, {1, 2, 3}, 5));
    ASSERT_TRUE(image);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{3, 2, 1}));
}

TEST(TgaReader, EightBitColourMappedReturnsNull) {
    EXPECT_EQ(Parse(MakeTGA(1, 8, 2, 2, {0, 1, 2, 3})), nullptr);
    EXPECT_EQ(Parse(MakeTGA(2, 8, 2, 2, {0, 1, 2, 3})), nullptr);
    EXPECT_EQ(Parse(MakeTGA(10, 8, 2, 2, {0x83, 1})), nullptr);
}

TEST(TgaReader, SixteenBitsGiveThreeChannelsWithoutLowBits) {
    // (1, 2, 3) in 5-5-5; white with the attribute bit; the attribute bit alone.
    uint16_t values[] = {uint16_t((1 << 10) | (2 << 5) | 3), 0xFFFF, 0x8000};
    std::vector<uint8_t> data;
    for (uint16_t v : values) data.push_back(uint8_t(v)), data.push_back(uint8_t(v >> 8));
    auto image = Parse(MakeTGA(2, 16, 3, 1, data));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bytes_per_pixel, 3);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{8, 16, 24, 248, 248, 248, 0, 0, 0}));
}

TEST(TgaReader, RunLengthRawAndRunPackets) {
    // 4x1: a run of 3 of (B1,G2,R3), then a raw packet of one (4,5,6).
    auto image = Parse(MakeTGA(10, 24, 4, 1, {0x82, 1, 2, 3, 0x00, 4, 5, 6}));
    ASSERT_TRUE(image);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{3, 2, 1, 3, 2, 1, 3, 2, 1, 6, 5, 4}));
}

TEST(TgaReader, RunLength32BitsKeepsAlpha) {
    auto image = Parse(MakeTGA(10, 32, 2, 1, {0x81, 1, 2, 3, 4}));
    ASSERT_TRUE(image);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{3, 2, 1, 4, 3, 2, 1, 4}));
}

TEST(TgaReader, RunPastTheImageEndStopsAtTheEnd) {
    // 2x1 image, run packet of 128 pixels.
    auto image = Parse(MakeTGA(10, 24, 2, 1, {0xFF, 9, 8, 7}));
    ASSERT_TRUE(image);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{7, 8, 9, 7, 8, 9}));
    // Raw packet longer than the image.
    auto raw = Parse(MakeTGA(10, 24, 1, 1, {0x05, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    ASSERT_TRUE(raw);
    EXPECT_EQ(Pixels(*raw), (std::vector<uint8_t>{3, 2, 1}));
}

TEST(TgaReader, RunLengthDataEndingEarlyLeavesBlack) {
    auto image = Parse(MakeTGA(10, 24, 3, 1, {0x80, 1, 2, 3}));
    ASSERT_TRUE(image);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{3, 2, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(TgaReader, SixteenBitRunLengthKeepsItsTwoBytesAPixel) {
    auto image = Parse(MakeTGA(10, 16, 2, 1, {0x01, 0x11, 0x22, 0x33, 0x44}));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bytes_per_pixel, 2);
    EXPECT_EQ(Pixels(*image), (std::vector<uint8_t>{0, 0x22, 0, 0x44}));
}

TEST(TgaReader, HeaderClaimingMoreThanTheFileIsRefused) {
    std::string out;
    EXPECT_EQ(Parse(MakeTGA(2, 32, 65535, 65535, {1, 2, 3, 4}), &out), nullptr);
    EXPECT_EQ(out, "TextureTGA: 't.tga' holds less data than its 65535x65535 image\n");
    EXPECT_EQ(Parse(MakeTGA(10, 32, 65535, 65535, {0xFF, 1, 2, 3, 4}), &out), nullptr);
    EXPECT_EQ(out, "TextureTGA: 't.tga' holds less data than its 65535x65535 image\n");
    // Uncompressed data one byte short.
    EXPECT_EQ(Parse(MakeTGA(2, 24, 2, 1, {1, 2, 3, 4, 5}), &out), nullptr);
    EXPECT_EQ(Parse(MakeTGA(2, 24, 0, 5, {}), &out), nullptr);
}

TEST(TgaReader, TruncatedAtEveryOffsetNeverCrashes) {
    auto file = MakeTGA(10, 32, 4, 4, {0x83, 1,  2,  3,  4,  0x03, 1,  2,  3,    4, 5, 6, 7, 8,
                                       9,    10, 11, 12, 13, 14,   15, 16, 0x87, 9, 9, 9, 9});
    for (size_t cut = 0; cut <= file.size(); cut++) {
        std::vector<uint8_t> part(file.begin(), file.begin() + long(cut));
        auto image = Parse(part);
        if (cut < 17) {
            EXPECT_EQ(image, nullptr) << cut;  // no depth byte yet
        }
        if (image) {
            EXPECT_EQ(image->width * image->height, 16u);
        }
    }
}

TEST(TextureTGALoad, SixteenBitRunLengthAndMissingFilesFailThroughTheManager) {
    WriteFile("tga/rle16.tga", MakeTGA(10, 16, 2, 1, {0x01, 0x11, 0x22, 0x33, 0x44}));
    WriteFile("tga/indexed.tga", MakeTGA(1, 8, 2, 2, {0, 1, 2, 3}));
    ResourceManager manager;
    manager.RegisterType<TextureTGA>("tga");
    ResourceHandle<TextureTGA> h;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "tga/rle16.tga"));
    EXPECT_FALSE(manager.Load(h, "tga/indexed.tga"));
    EXPECT_FALSE(manager.Load(h, "tga/missing.TGA"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "TextureTGA: cannot upload 2 bytes a pixel from 'tga/rle16.tga'\n"
              "Could not load resource 'tga/rle16.tga'\n"
              "Could not load resource 'tga/indexed.tga'\n"
              "Could not load resource 'tga/missing.TGA'\n");
}
