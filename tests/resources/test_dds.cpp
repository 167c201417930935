#include <gtest/gtest.h>

#include "imagewriters.h"
#include "resources/imagefiles.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "testdir.h"

using namespace testfiles;

namespace {
std::string ParseQuiet(const std::vector<uint8_t>& file, bool& ok, DdsImage& image,
                       const std::string& name = "t.dds") {
    testing::internal::CaptureStdout();
    ok = ParseDDS(file.data(), file.size(), name, image);
    return testing::internal::GetCapturedStdout();
}
}  // namespace

TEST(DdsReader, OneByOneDxt1IsOneLevelOfEightBytes) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(1, 1, "DXT1", 1, Dxt1Solid(0xF800));
    ASSERT_EQ(file.size(), 128u + 8u);
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    ASSERT_TRUE(ok);
    EXPECT_EQ(image.format, DDS_FORMAT_DXT1);
    EXPECT_EQ(image.block_bytes, 8u);
    ASSERT_EQ(image.chain.size(), 1u);
    EXPECT_EQ(image.chain[0].size, 8u);
    EXPECT_EQ(image.total, 8u);
    EXPECT_EQ(image.data, file.data() + 128);

    // The linear size must be exactly 8.
    auto wrong = file;
    PutU32(wrong, 20, 16);
    EXPECT_EQ(ParseQuiet(wrong, ok, image), "");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, FourByFourDxt5WithThreeLevelsIsThreeBlocks) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(4, 4, "DXT5", 3, std::vector<uint8_t>(16, 0xAB));
    ParseQuiet(file, ok, image);
    ASSERT_TRUE(ok);
    EXPECT_EQ(image.format, DDS_FORMAT_DXT5);
    EXPECT_EQ(image.levels, 3u);
    ASSERT_EQ(image.chain.size(), 3u);
    uint32_t expect_w[] = {4, 2, 1};
    for (size_t i = 0; i < 3; i++) {
        EXPECT_EQ(image.chain[i].width, expect_w[i]);
        EXPECT_EQ(image.chain[i].height, expect_w[i]);
        EXPECT_EQ(image.chain[i].size, 16u);
        EXPECT_EQ(image.chain[i].offset, 16u * i);
    }
    EXPECT_EQ(image.total, 48u);
}

TEST(DdsReader, Dxt3UsesSixteenByteBlocks) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(8, 4, "DXT3", 1, std::vector<uint8_t>(16, 1));
    ParseQuiet(file, ok, image);
    ASSERT_TRUE(ok);
    EXPECT_EQ(image.format, DDS_FORMAT_DXT3);
    EXPECT_EQ(image.total, 32u);
}

TEST(DdsReader, MipCountZeroIsOneLevel) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(8, 8, "DXT1", 0, Dxt1Solid(0x07E0));
    ParseQuiet(file, ok, image);
    ASSERT_TRUE(ok);
    EXPECT_EQ(image.levels, 1u);
    ASSERT_EQ(image.chain.size(), 1u);
    EXPECT_EQ(image.total, 32u);
}

TEST(DdsReader, PowerOfTwoRules) {
    DdsImage image;
    bool ok;
    EXPECT_EQ(ParseQuiet(MakeDDS(512, 256, "DXT1", 1, {}), ok, image), "");
    EXPECT_TRUE(ok);
    EXPECT_EQ(image.total, 128u * 64u * 8u);

    EXPECT_EQ(ParseQuiet(MakeDDS(512, 300, "DXT1", 1, {}), ok, image, "art/odd.dds"),
              "TextureDDS: Image non power of two 'art/odd.dds'\n");
    EXPECT_FALSE(ok);

    EXPECT_EQ(ParseQuiet(MakeDDS(0, 16, "DXT1", 1, {}), ok, image), "");
    EXPECT_FALSE(ok);
    EXPECT_EQ(ParseQuiet(MakeDDS(16, 0, "DXT1", 1, {}), ok, image), "");
    EXPECT_FALSE(ok);
    EXPECT_EQ(ParseQuiet(MakeDDS(3, 4, "DXT1", 1, {}), ok, image, "x"),
              "TextureDDS: Image non power of two 'x'\n");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, UncompressedAndUnknownCodesFailSilently) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(4, 4, "DXT1", 1, {});
    std::memset(file.data() + 84, 0, 4);  // no four-character code: plain RGB surface
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
    std::memcpy(file.data() + 84, "DXT2", 4);
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, WrongLinearSizeFailsSilently) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(8, 8, "DXT5", 1, {});
    PutU32(file, 20, 63);
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, WrongMagicFails) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(4, 4, "DXT1", 1, {});
    file[3] = 'X';
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, ExtraClaimedLevelsCountOneBlockEach) {
    DdsImage image;
    bool ok;
    // 4x4 DXT1 claiming 5 levels: 4x4, 2x2, 1x1, 1x1, 1x1, eight bytes each.
    auto file = MakeDDS(4, 4, "DXT1", 5, {});
    ASSERT_EQ(file.size(), 128u + 40u);
    ParseQuiet(file, ok, image);
    ASSERT_TRUE(ok);
    ASSERT_EQ(image.chain.size(), 5u);
    EXPECT_EQ(image.chain[4].width, 1u);
    EXPECT_EQ(image.chain[4].offset, 32u);
    EXPECT_EQ(image.total, 40u);
}

TEST(DdsReader, TruncatedAtEveryOffsetFails) {
    auto file = MakeDDS(16, 8, "DXT5", 4, std::vector<uint8_t>(16, 7));
    DdsImage image;
    for (size_t cut = 0; cut < file.size(); cut++) {
        std::vector<uint8_t> part(file.begin(), file.begin() + long(cut));
        testing::internal::CaptureStdout();
        bool ok = ParseDDS(part.data(), part.size(), "cut.dds", image);
        std::string out = testing::internal::GetCapturedStdout();
        EXPECT_FALSE(ok) << "cut at " << cut;
        EXPECT_EQ(out, "") << "cut at " << cut;
    }
    bool ok;
    ParseQuiet(file, ok, image);
    EXPECT_TRUE(ok);
    EXPECT_EQ(ParseDDS(nullptr, 0, "null", image), false);
}

TEST(DdsReader, HugeDimensionsDoNotAllocate) {
    DdsImage image;
    bool ok;
    // 2^31 by 2^31: a power of two, but level 0 cannot match any 32-bit linear size and
    // the file holds nothing.
    auto file = DdsHeader(0x80000000u, 0x80000000u, "DXT1", 1, 0);
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
    EXPECT_TRUE(image.chain.empty());
    // Even with the linear size set to what fits in 32 bits, the data is missing.
    auto file2 =
        DdsHeader(0x10000u, 0x10000u, "DXT1", 1, int64_t(BlockLevelSize(0x10000u, 0x10000u, 8)));
    EXPECT_EQ(ParseQuiet(file2, ok, image), "");
    EXPECT_FALSE(ok);
}

TEST(DdsReader, MipCountOfFourBillionStopsAtTheDataEnd) {
    DdsImage image;
    bool ok;
    auto file = MakeDDS(1, 1, "DXT1", 1, {});
    PutU32(file, 28, 0xFFFFFFF0u);                   // mipmap count
    for (int i = 0; i < 10; i++) file.push_back(0);  // a little more than one level
    EXPECT_EQ(ParseQuiet(file, ok, image), "");
    EXPECT_FALSE(ok);
    EXPECT_LE(image.chain.size(), 3u);
}

TEST(TextureDDSLoad, FailuresReachTheManagerWithTheirLines) {
    WriteFile("dds/odd.dds", MakeDDS(512, 300, "DXT1", 1, {}));
    WriteFile("dds/uncompressed.dds", [] {
        auto f = MakeDDS(4, 4, "DXT1", 1, {});
        std::memset(f.data() + 84, 0, 4);
        return f;
    }());
    WriteFile("dds/short.dds", DdsHeader(64, 64, "DXT5", 1));
    ResourceManager manager;
    manager.RegisterType<TextureDDS>("dds");
    ResourceHandle<TextureDDS> h;

    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "dds/odd.dds"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "TextureDDS: Image non power of two 'dds/odd.dds'\nCould not load resource "
              "'dds/odd.dds'\n");

    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "dds/uncompressed.dds"));
    EXPECT_FALSE(manager.Load(h, "dds/short.dds"));
    EXPECT_FALSE(manager.Load(h, "dds/missing.dds"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Could not load resource 'dds/uncompressed.dds'\n"
              "Could not load resource 'dds/short.dds'\n"
              "Could not load resource 'dds/missing.dds'\n");
    EXPECT_FALSE(h.IsValid());
    EXPECT_EQ(h.Get()->texture_id, 0u);
    EXPECT_TRUE(manager.GetResources().empty());

    // Names differing only in case are separate resources, but A.DDS still reaches TextureDDS.
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "dds/ODD.DDS"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Could not load resource 'dds/ODD.DDS'\n");
}
