#include <gtest/gtest.h>

#include "imagewriters.h"
#include "resources/font.h"
#include "resources/glfont.h"
#include "testdir.h"

using namespace testfiles;

namespace {

// A font of codes `first`..`last` on a 64x32 texture; glyph k is (k+1)/64 wide and
// (k+2)/32 high, so every code has its own size.
std::vector<uint8_t> RampFont(int32_t first, int32_t last) {
    std::vector<Glyph> glyphs;
    for (int32_t k = 0; k <= last - first; k++)
        glyphs.push_back(Glyph{float(k + 1) / 64.0f, float(k + 2) / 32.0f, 0, 0, 0.5f, 0.5f});
    return MakeGLF(64, 32, first, last, glyphs, std::vector<uint8_t>(64 * 32 * 2, 0x7F));
}

bool ParseQuiet(GLFont& font, const std::vector<uint8_t>& file, std::string* out = nullptr,
                std::vector<uint8_t>* pixels = nullptr) {
    testing::internal::CaptureStdout();
    bool ok = font.Parse(file.data(), file.size(), "f.glf", pixels);
    std::string text = testing::internal::GetCapturedStdout();
    if (out) *out = text;
    return ok;
}

}  // namespace

TEST(GlfReader, HeaderTableAndPixels) {
    GLFont font;
    std::vector<uint8_t> pixels;
    ASSERT_TRUE(ParseQuiet(font, RampFont(65, 70), nullptr, &pixels));
    EXPECT_EQ(font.GetTexWidth(), 64);
    EXPECT_EQ(font.GetTexHeight(), 32);
    EXPECT_EQ(font.GetStartChar(), 65);
    EXPECT_EQ(font.GetEndChar(), 70);
    EXPECT_EQ(font.GlyphCount(), 6u);
    EXPECT_EQ(pixels.size(), 64u * 32u * 2u);
    EXPECT_EQ(pixels[100], 0x7F);
    // 'B' is glyph 1: 2/64 of 64 wide, 3/32 of 32 high.
    EXPECT_EQ(font.GetCharWidth('B'), 2);
    EXPECT_EQ(font.GetCharHeight('B'), 3);
    int size[2];
    font.GetCharSize('F', size);
    EXPECT_EQ(size[0], 6);
    EXPECT_EQ(size[1], 7);
    EXPECT_EQ(font.GetCharWidth('G'), 0);
    EXPECT_EQ(font.GetCharHeight('@'), 0);
    font.GetCharInterval(size);
    EXPECT_EQ(size[0], 65);
    EXPECT_EQ(size[1], 70);
}

TEST(GlfReader, EmptyStringHasWidthZeroAndHeightOfGlyphAtIndexStartChar) {
    GLFont font;
    ASSERT_TRUE(ParseQuiet(font, RampFont(2, 9)));
    int size[2] = {-1, -1};
    font.GetStringSize("", size);
    EXPECT_EQ(size[0], 0);
    // Index 2 of the table is code 4: (2+2)/32 of 32.
    EXPECT_EQ(size[1], 4);
}

TEST(GlfReader, Font32To126GivesEveryTextTheHeightOfCode64) {
    GLFont font;
    ASSERT_TRUE(ParseQuiet(font, RampFont(32, 126)));
    int size[2];
    font.GetStringSize("Hello", size);
    // Code 64 is index 32: (32+2)/32 of 32 = 34.
    EXPECT_EQ(size[1], 34);
    EXPECT_EQ(font.GetCharHeight(64), 34);
    font.GetStringSize("~", size);
    EXPECT_EQ(size[1], 34);
    // Widths: 'H' = 72 is index 40 -> 41, 'i' = 105 index 73 -> 74.
    font.GetStringSize("Hi", size);
    EXPECT_EQ(size[0], 41 + 74);
}

TEST(GlfReader, HighBytesAreDropped) {
    GLFont font;
    ASSERT_TRUE(ParseQuiet(font, RampFont(32, 126)));
    int plain[2], mixed[2];
    font.GetStringSize("AB", plain);
    font.GetStringSize(
        "A\xC3\xA9"
        "B\x80\xFF",
        mixed);
    EXPECT_EQ(mixed[0], plain[0]);
    // A table that starts below 0 still does not take bytes of 128 and more as codes
    // 128 and more: they are negative.
    GLFont low;
    ASSERT_TRUE(ParseQuiet(low, RampFont(-128, -1)));
    low.GetStringSize("\xFF", plain);  // -1 is the last glyph, index 127 -> 128 wide
    EXPECT_EQ(plain[0], 128);
}

TEST(GlfReader, WidthIsTruncatedOnceAtTheEnd) {
    // Each glyph 2.5 pixels wide.
    std::vector<Glyph> glyphs(3, Glyph{2.5f / 64.0f, 0.25f, 0, 0, 1, 1});
    GLFont font;
    ASSERT_TRUE(
        ParseQuiet(font, MakeGLF(64, 32, 'a', 'c', glyphs, std::vector<uint8_t>(64 * 32 * 2))));
    int size[2];
    font.GetStringSize("ab", size);
    EXPECT_EQ(size[0], 5);  // 2.5 + 2.5, not 2 + 2
    font.GetStringSize("abc", size);
    EXPECT_EQ(size[0], 7);  // 7.5 truncated
    EXPECT_EQ(font.GetCharWidth('a'), 2);
}

TEST(GlfReader, StartCharIndexOutsideTheTableGivesHeightZero) {
    GLFont font;
    ASSERT_TRUE(ParseQuiet(font, RampFont(100, 110)));
    int size[2];
    font.GetStringSize("d", size);
    EXPECT_EQ(size[1], 0);
    EXPECT_EQ(size[0], 1);
}

TEST(GlfReader, TableClaimingMoreGlyphsThanTheFileHoldsFails) {
    std::vector<Glyph> glyphs(3, Glyph{0.1f, 0.1f, 0, 0, 1, 1});
    GLFont font;
    std::string out;
    EXPECT_FALSE(ParseQuiet(font, MakeGLF(0, 0, 32, 126, glyphs, {}), &out));
    EXPECT_EQ(out, "GLFont: 'f.glf' claims 95 glyphs but holds 3\n");
    EXPECT_FALSE(font.HasTable());
    // A count of two billion glyphs allocates nothing.
    EXPECT_FALSE(ParseQuiet(font, MakeGLF(0, 0, -2000000000, 2000000000, glyphs, {}), &out));
    EXPECT_EQ(out, "GLFont: 'f.glf' claims 4000000001 glyphs but holds 3\n");
}

TEST(GlfReader, EndCharBelowStartCharFails) {
    GLFont font;
    std::string out;
    EXPECT_FALSE(ParseQuiet(font, MakeGLF(8, 8, 90, 80, {}, std::vector<uint8_t>(128)), &out));
    EXPECT_EQ(out, "GLFont: 'f.glf' has its last character 80 below its first 90\n");
    int size[2] = {-1, -1};
    font.GetStringSize("Z", size);
    EXPECT_EQ(size[0], 0);
    EXPECT_EQ(size[1], 0);
}

TEST(GlfReader, MissingPixelsAndShortHeadersFail) {
    GLFont font;
    std::string out;
    auto file = RampFont(65, 66);
    file.resize(file.size() - 1);
    EXPECT_FALSE(ParseQuiet(font, file, &out));
    EXPECT_EQ(out, "GLFont: 'f.glf' holds fewer pixels than its 64x32 texture\n");
    EXPECT_FALSE(ParseQuiet(font, MakeGLF(-4, 4, 65, 65, {Glyph{}}, {}), &out));
    EXPECT_EQ(out, "GLFont: 'f.glf' has a negative texture size\n");
    auto full = RampFont(65, 66);
    for (size_t cut = 0; cut < 24; cut++) {
        EXPECT_FALSE(font.Parse(full.data(), cut, "f.glf", nullptr));
    }
}

TEST(GlfReader, TruncatedAtEveryOffsetNeverCrashes) {
    auto file = RampFont(30, 40);
    testing::internal::CaptureStdout();
    for (size_t cut = 0; cut < file.size(); cut++) {
        GLFont font;
        EXPECT_FALSE(font.Parse(file.data(), cut, "f.glf", nullptr)) << cut;
    }
    testing::internal::GetCapturedStdout();
}

TEST(GlfReader, MissingFileLoadsAsEmptyFont) {
    ScratchDir();
    GLFont font;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(font.Create("fonts/missing.glf", 7));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_FALSE(font.HasTable());
    EXPECT_EQ(font.GetStartChar(), 0);
    EXPECT_EQ(font.GetEndChar(), 0);
    int size[2] = {-1, -1};
    font.GetStringSize("abc", size);
    EXPECT_EQ(size[0], 0);
    EXPECT_EQ(size[1], 0);
}

TEST(GlfReader, CopyKeepsItsOwnTable) {
    GLFont font;
    ASSERT_TRUE(ParseQuiet(font, RampFont(65, 70)));
    GLFont copy(font);
    font = GLFont();
    EXPECT_EQ(copy.GlyphCount(), 6u);
    EXPECT_EQ(copy.GetCharWidth('C'), 3);
}

TEST(FontHandle, EmptyFontHandleYieldsTheGlobalFont) {
    ResourceHandle<Font> a, b;
    EXPECT_EQ(a.Get(), &GlobalFont());
    EXPECT_EQ(b.Get(), &GlobalFont());
    EXPECT_FALSE(a.IsValid());
}

TEST(FontSize, GetTextSizeScalesTheIntegerSize) {
    Font font;
    std::vector<Glyph> glyphs(3, Glyph{2.5f / 64.0f, 0.25f, 0, 0, 1, 1});
    auto file = MakeGLF(64, 32, 1, 3, glyphs, std::vector<uint8_t>(64 * 32 * 2));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(font.glfont.Parse(file.data(), file.size(), "f.glf", nullptr));
    testing::internal::GetCapturedStdout();
    // Width 2.5 + 2.5 = 5, height of index 1 = 8; the scale multiplies the truncated values.
    HVector2 size = font.GetTextSize("\x01\x02", 1.5f);
    EXPECT_EQ(size.x, 7.5f);
    EXPECT_EQ(size.y, 12.0f);
}
