// Every DDS of the data folder obeys the rules the game's texture loader applies: the magic,
// sides that are powers of two, a DXT1/3/5 code, a linear size equal to level 0 and all
// levels present. The checker is written here on its own, from the file layout.
#include <gtest/gtest.h>

#include <cstring>

#include "assetfiles.h"

namespace {

struct DdsInfo {
    uint32_t width = 0, height = 0, levels = 0, block = 0;
    std::string code;
    size_t chain_bytes = 0;  // all levels, as the loader counts them
};

bool PowerOfTwo(uint32_t v) {
    if (v == 0) return false;
    while (v % 2 == 0) v /= 2;
    return v == 1;
}

// Returns "" for a good file, else the reason.
std::string CheckDds(const std::vector<uint8_t>& f, DdsInfo* info) {
    if (f.size() < 4 || std::memcmp(f.data(), "DDS ", 4) != 0) return "magic";
    if (f.size() < 128) return "short header";
    info->height = Le32(f, 12);
    info->width = Le32(f, 16);
    uint32_t linear = Le32(f, 20);
    info->levels = Le32(f, 28) == 0 ? 1 : Le32(f, 28);
    info->code.assign(reinterpret_cast<const char*>(&f[84]), 4);
    if (info->code == "DXT1")
        info->block = 8;
    else if (info->code == "DXT3" || info->code == "DXT5")
        info->block = 16;
    else
        return "format";
    if (info->width == 0 || info->height == 0) return "zero size";
    if (!PowerOfTwo(info->width) || !PowerOfTwo(info->height)) return "non power of two";
    if (info->levels > 32) return "level count";
    uint64_t w = info->width, h = info->height, total = 0;
    for (uint32_t i = 0; i < info->levels; ++i) {
        uint64_t size = ((w + 3) / 4) * ((h + 3) / 4) * info->block;
        if (i == 0 && size != linear) return "linear size";
        total += size;
        w = std::max<uint64_t>(1, w / 2);
        h = std::max<uint64_t>(1, h / 2);
    }
    info->chain_bytes = size_t(total);
    if (f.size() < 128 + total) return "short data";
    return "";
}

std::vector<uint8_t> Header(uint32_t w, uint32_t h, uint32_t linear, uint32_t mips,
                            const char* code, size_t data) {
    std::vector<uint8_t> f(128 + data, 0);
    std::memcpy(f.data(), "DDS ", 4);
    auto put = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i) f[at + i] = uint8_t(v >> (8 * i));
    };
    put(4, 124);
    put(12, h);
    put(16, w);
    put(20, linear);
    put(28, mips);
    if (code) std::memcpy(&f[84], code, 4);
    return f;
}

uint32_t FullChain(uint32_t w, uint32_t h) {
    uint32_t n = 1;
    while (w > 1 || h > 1) {
        w = std::max(1u, w / 2);
        h = std::max(1u, h / 2);
        ++n;
    }
    return n;
}

}  // namespace

TEST(DdsChecker, OnePixelDxt1IsOneBlockOfEightBytes) {
    DdsInfo info;
    EXPECT_EQ(CheckDds(Header(1, 1, 8, 1, "DXT1", 8), &info), "");
    EXPECT_EQ(info.chain_bytes, 8u);
    EXPECT_EQ(CheckDds(Header(1, 1, 16, 1, "DXT1", 16), &info), "linear size");
}

TEST(DdsChecker, FourByFourDxt5WithThreeLevelsReadsThreeBlocks) {
    DdsInfo info;
    EXPECT_EQ(CheckDds(Header(4, 4, 16, 3, "DXT5", 48), &info), "");
    EXPECT_EQ(info.chain_bytes, 48u);
    EXPECT_EQ(info.levels, 3u);
    EXPECT_EQ(CheckDds(Header(4, 4, 16, 3, "DXT5", 47), &info), "short data");
}

TEST(DdsChecker, MipCountZeroMeansOneLevel) {
    DdsInfo info;
    EXPECT_EQ(CheckDds(Header(8, 8, 32, 0, "DXT1", 32), &info), "");
    EXPECT_EQ(info.levels, 1u);
    EXPECT_EQ(info.chain_bytes, 32u);
}

TEST(DdsChecker, SidesMustBeNonZeroPowersOfTwo) {
    DdsInfo info;
    EXPECT_EQ(CheckDds(Header(512, 256, 128 * 64 * 8, 1, "DXT1", 128 * 64 * 8), &info), "");
    EXPECT_EQ(CheckDds(Header(512, 300, 128 * 75 * 8, 1, "DXT1", 128 * 75 * 8), &info),
              "non power of two");
    EXPECT_EQ(CheckDds(Header(0, 16, 0, 1, "DXT1", 0), &info), "zero size");
}

TEST(DdsChecker, RejectsUncompressedAndBadMagic) {
    DdsInfo info;
    EXPECT_EQ(CheckDds(Header(4, 4, 8, 1, nullptr, 8), &info), "format");
    std::vector<uint8_t> f = Header(4, 4, 8, 1, "DXT1", 8);
    f[3] = 'X';
    EXPECT_EQ(CheckDds(f, &info), "magic");
    EXPECT_EQ(CheckDds(std::vector<uint8_t>(f.begin(), f.begin() + 100), &info), "magic");
    f[3] = ' ';
    EXPECT_EQ(CheckDds(std::vector<uint8_t>(f.begin(), f.begin() + 100), &info), "short header");
}

TEST(DdsData, TheFilesTheGameNamesExist) {
    const char* named[] = {
        "system/white.dds",
        "resources/textures/gui/cursor.dds",
        "resources/textures/gui/scroll_bar_button_up.dds",
        "resources/textures/gui/scroll_bar_button_down.dds",
        "resources/textures/gui/scroll_bar_button_up_s.dds",
        "resources/textures/gui/scroll_bar_button_down_s.dds",
        "resources/textures/gui/ingame/health_ico.dds",
        "resources/textures/gui/ingame/enemy_ico.dds",
        "resources/textures/gui/ingame/target_ico.dds",
        "resources/textures/gui/ingame/yellow_arrow.dds",
        "resources/textures/character_shadow.dds",
        "resources/textures/particle.dds",
        "resources/textures/chek.dds",
        "resources/textures/polic.dds",
        "resources/textures/orsin_d.dds",
    };
    for (const char* n : named) EXPECT_TRUE(std::filesystem::is_regular_file(DataPath(n))) << n;
    for (const char* b : {"play", "credits", "exit", "continue", "load_scene", "editor", "delete",
                          "close", "open", "cancel", "exit_intro", "exit_level"}) {
        EXPECT_TRUE(std::filesystem::is_regular_file(
            DataPath(std::string("resources/textures/gui/buttons/") + b + ".dds")));
        EXPECT_TRUE(std::filesystem::is_regular_file(
            DataPath(std::string("resources/textures/gui/buttons/") + b + "_s.dds")));
    }
}

TEST(DdsData, EveryDdsIsWellFormedWithItsWholeChain) {
    std::vector<std::string> files = DataFiles(".dds");
    ASSERT_GE(files.size(), 51u);
    for (const std::string& rel : files) {
        std::vector<uint8_t> f = ReadAll(DataPath(rel));
        DdsInfo info;
        ASSERT_EQ(CheckDds(f, &info), "") << rel;
        EXPECT_EQ(info.levels, FullChain(info.width, info.height)) << rel;
        EXPECT_EQ(f.size(), 128 + info.chain_bytes) << rel;
        EXPECT_LE(info.width, 1024u) << rel;
        EXPECT_LE(info.height, 1024u) << rel;
    }
}

TEST(DdsData, AlphaWhereTheArtNeedsIt) {
    for (const char* rel :
         {"resources/textures/gui/cursor.dds", "resources/textures/character_shadow.dds",
          "resources/textures/particle.dds", "resources/textures/gui/ingame/health_ico.dds",
          "resources/textures/gui/ingame/yellow_arrow.dds",
          "resources/textures/gui/buttons/play_s.dds"}) {
        DdsInfo info;
        ASSERT_EQ(CheckDds(ReadAll(DataPath(rel)), &info), "") << rel;
        EXPECT_EQ(info.code, "DXT5") << rel;
    }
    DdsInfo white;
    std::vector<uint8_t> f = ReadAll(DataPath("system/white.dds"));
    ASSERT_EQ(CheckDds(f, &white), "");
    EXPECT_EQ(white.code, "DXT1");
    // A white DXT1 block: both end colours 0xFFFF.
    EXPECT_EQ(f[128], 0xFF);
    EXPECT_EQ(f[129], 0xFF);
}

TEST(TgaData, HeroNormalMapIsUncompressed24Bit) {
    std::vector<uint8_t> f = ReadAll(DataPath("resources/textures/orsin_n.tga"));
    ASSERT_GE(f.size(), 18u);
    EXPECT_EQ(f[2], 2);    // uncompressed true colour
    EXPECT_EQ(f[16], 24);  // bits per pixel
    uint32_t w = f[12] | f[13] << 8, h = f[14] | f[15] << 8;
    EXPECT_EQ(w, 256u);
    EXPECT_EQ(h, 256u);
    ASSERT_EQ(f.size(), 18u + f[0] + w * h * 3);
    // Normals point out of the surface: blue (the third byte in the file is red, the first blue)
    // stays above the middle everywhere.
    size_t low_blue = 0;
    for (size_t i = 18 + f[0]; i + 2 < f.size(); i += 3)
        if (f[i] < 128) ++low_blue;
    EXPECT_EQ(low_blue, 0u);
}
