// Resource tests that need a GL context: uploads, drawing and read-back of pixels. The
// folder runs inside its own Xvfb; the window is made with plain SDL2.
#include <gtest/gtest.h>

#include "support/glcontext.h"

#include <SDL.h>

#include <sstream>

#include "../resources/imagewriters.h"
#include "../resources/testdir.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "gl/glprocs.h"
#include "resources/font.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"

using namespace testfiles;

namespace {

constexpr int kSize = 256;
VELMORA_GL_TEST_CONTEXT("resources", kSize, kSize);

// A GUI-like view: origin at the top left, y down, one unit a pixel.
void Begin2D() {
    glViewport(0, 0, kSize, kSize);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, kSize, kSize, 0, 1, 0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glColor4f(1, 1, 1, 1);
}

struct Rgb {
    int r, g, b;
};

// Pixel at (x, y) counted from the top left.
Rgb Pixel(int x, int y) {
    unsigned char p[4] = {0, 0, 0, 0};
    glReadBuffer(GL_BACK);
    glReadPixels(x, kSize - 1 - y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
    return Rgb{p[0], p[1], p[2]};
}

bool Near(Rgb a, Rgb b, int tolerance = 8) {
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.b - b.b) <= tolerance;
}

std::string Str(Rgb c) {
    std::ostringstream s;
    s << "(" << c.r << "," << c.g << "," << c.b << ")";
    return s.str();
}

void TexturedQuad(float x1, float y1, float x2, float y2) {
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0), glVertex2f(x1, y1);
    glTexCoord2f(0, 1), glVertex2f(x1, y2);
    glTexCoord2f(1, 1), glVertex2f(x2, y2);
    glTexCoord2f(1, 0), glVertex2f(x2, y1);
    glEnd();
}

// A solid white font of codes 32..90 (space to 'Z'): each glyph 16 by 16 pixels on a
// 64x32 texture, so the height taken from index 32 (code 64) is 16 too.
std::vector<uint8_t> SolidFont() {
    std::vector<Glyph> glyphs(90 - 32 + 1, Glyph{0.25f, 0.5f, 0.0f, 0.0f, 0.25f, 0.5f});
    std::vector<uint8_t> pixels(64 * 32 * 2, 255);
    return MakeGLF(64, 32, 32, 90, glyphs, pixels);
}

}  // namespace

TEST(TextureDDSGfx, TwoBlockTextureShowsItsColours) {
    // 8x4 DXT1: left block red, right block blue; one level.
    auto file = DdsHeader(8, 4, "DXT1", 1);
    auto red = Dxt1Solid(0xF800), blue = Dxt1Solid(0x001F);
    file.insert(file.end(), red.begin(), red.end());
    file.insert(file.end(), blue.begin(), blue.end());
    WriteFile("gfx/two.dds", file);

    ResourceManager manager;
    manager.RegisterType<TextureDDS>("dds");
    ResourceHandle<TextureDDS> h;
    ASSERT_TRUE(manager.Load(h, "gfx/two.dds"));
    EXPECT_NE(h->texture_id, 0u);
    EXPECT_TRUE(glIsTexture(h->texture_id));
    EXPECT_EQ(h->filename, "gfx/two.dds");

    Begin2D();
    glEnable(GL_TEXTURE_2D);
    h->Bind();
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    TexturedQuad(0, 0, kSize, kSize);
    glDisable(GL_TEXTURE_2D);
    EXPECT_TRUE(Near(Pixel(40, 128), Rgb{255, 0, 0})) << Str(Pixel(40, 128));
    EXPECT_TRUE(Near(Pixel(200, 128), Rgb{0, 0, 255})) << Str(Pixel(200, 128));
}

TEST(TextureDDSGfx, FiltersAndMipLevels) {
    WriteFile("gfx/chain.dds", MakeDDS(16, 16, "DXT5", 5, std::vector<uint8_t>(16, 0)));
    WriteFile("gfx/single.dds", MakeDDS(16, 16, "DXT1", 0, Dxt1Solid(0x07E0)));
    TextureDDS chain, single;
    ASSERT_TRUE(chain.Load("gfx/chain.dds"));
    ASSERT_TRUE(single.Load("gfx/single.dds"));
    GLint value = -1;
    chain.Bind();
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, &value);
    EXPECT_EQ(value, 4);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &value);
    EXPECT_EQ(value, GL_LINEAR_MIPMAP_LINEAR);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &value);
    EXPECT_EQ(value, GL_LINEAR);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 4, GL_TEXTURE_WIDTH, &value);
    EXPECT_EQ(value, 1);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &value);
    EXPECT_EQ(value, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT);
    single.Bind();
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, &value);
    EXPECT_EQ(value, 0);

    // Loading again gives the old GL name back first.
    GLuint old = chain.texture_id;
    ASSERT_TRUE(chain.Load("gfx/chain.dds"));
    EXPECT_FALSE(old != chain.texture_id && glIsTexture(old));
}

TEST(TextureDDSGfx, BindingAnEmptyHandleReportsTheNullObject) {
    ResourceHandle<TextureDDS> empty;
    std::ostringstream expected;
    expected << "not a texture " << static_cast<const void*>(NullResource<TextureDDS>::Get())
             << ", \n";
    testing::internal::CaptureStdout();
    empty->Bind();
    empty->Bind();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected.str() + expected.str());
    GLint bound = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    EXPECT_EQ(bound, 0);
}

TEST(TextureTGAGfx, LoadsWithoutRowFlipAndKeepsDefaultMagnification) {
    // 1x2: file row 0 green, row 1 red (BGR in the file).
    WriteFile("gfx/rows.tga", MakeTGA(2, 24, 1, 2, {0, 255, 0, 0, 0, 255}));
    ResourceManager manager;
    manager.RegisterType<TextureTGA>("tga");
    ResourceHandle<TextureTGA> h;
    ASSERT_TRUE(manager.Load(h, "gfx/rows.tga"));
    ASSERT_NE(h->texture_id, 0u);

    Begin2D();
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, h->texture_id);
    GLint value = -1;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &value);
    EXPECT_EQ(value, GL_LINEAR_MIPMAP_NEAREST);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &value);
    EXPECT_EQ(value, GL_LINEAR);  // the illegal value was refused
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    while (glGetError() != GL_NO_ERROR) {
    }
    TexturedQuad(0, 0, kSize, kSize);  // t = 0 at the top
    glDisable(GL_TEXTURE_2D);
    EXPECT_TRUE(Near(Pixel(128, 30), Rgb{0, 255, 0})) << Str(Pixel(128, 30));
    EXPECT_TRUE(Near(Pixel(128, 220), Rgb{255, 0, 0})) << Str(Pixel(128, 220));
}

TEST(TextureTGAGfx, SixteenBitsGiveAThreeChannelTexture) {
    uint16_t blue = 31;
    WriteFile("gfx/rgb16.tga",
              MakeTGA(2, 16, 2, 2,
                      {uint8_t(blue), 0, uint8_t(blue), 0, uint8_t(blue), 0, uint8_t(blue), 0}));
    TextureTGA tex;
    ASSERT_TRUE(tex.Load("gfx/rgb16.tga"));
    glBindTexture(GL_TEXTURE_2D, tex.texture_id);
    GLint alpha = -1, red = -1;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_ALPHA_SIZE, &alpha);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_RED_SIZE, &red);
    EXPECT_EQ(alpha, 0);
    EXPECT_GT(red, 0);
    // A non-power-of-two TGA is accepted (GLU rescales).
    WriteFile("gfx/npot.tga", MakeTGA(2, 32, 3, 5, std::vector<uint8_t>(60, 200)));
    TextureTGA npot;
    EXPECT_TRUE(npot.Load("gfx/npot.tga"));
}

class FontGfx : public ::testing::Test {
protected:
    void SetUp() override {
        WriteFile("gfx/solid.glf", SolidFont());
        manager.RegisterType<Font>("glf");
        ASSERT_TRUE(manager.Load(font, "gfx/solid.glf"));
        ASSERT_TRUE(font->glfont.HasTable());
    }
    ResourceManager manager;
    ResourceHandle<Font> font;
};

TEST_F(FontGfx, PrintedWordCoversTheMeasuredBox) {
    HVector2 size = font->GetTextSize("AB", 1.0f);
    EXPECT_EQ(size.x, 32.0f);
    EXPECT_EQ(size.y, 16.0f);
    Begin2D();
    font->Print("AB", 1.0f, HVector2(100, -50));  // 50 units below the origin
    // Inside the box [100, 132) x [50, 66): white; just outside: black.
    EXPECT_TRUE(Near(Pixel(101, 51), Rgb{255, 255, 255})) << Str(Pixel(101, 51));
    EXPECT_TRUE(Near(Pixel(130, 64), Rgb{255, 255, 255})) << Str(Pixel(130, 64));
    EXPECT_TRUE(Near(Pixel(98, 58), Rgb{0, 0, 0})) << Str(Pixel(98, 58));
    EXPECT_TRUE(Near(Pixel(134, 58), Rgb{0, 0, 0})) << Str(Pixel(134, 58));
    EXPECT_TRUE(Near(Pixel(116, 47), Rgb{0, 0, 0})) << Str(Pixel(116, 47));
    EXPECT_TRUE(Near(Pixel(116, 68), Rgb{0, 0, 0})) << Str(Pixel(116, 68));
    // Out-of-range bytes neither draw nor advance; the scale scales both ways.
    Begin2D();
    font->Print("A\xC3~", 2.0f, HVector2(10, -10));
    EXPECT_TRUE(Near(Pixel(40, 40), Rgb{255, 255, 255})) << Str(Pixel(40, 40));
    EXPECT_TRUE(Near(Pixel(44, 20), Rgb{0, 0, 0})) << Str(Pixel(44, 20));
}

TEST_F(FontGfx, PrintAtZeroDrawsDownwards) {
    Begin2D();
    glTranslatef(20, 100, 0);  // a widget's screen position
    font->Print("A", 1.0f, HVector2(0, 0));
    EXPECT_TRUE(Near(Pixel(28, 108), Rgb{255, 255, 255})) << Str(Pixel(28, 108));
    EXPECT_TRUE(Near(Pixel(28, 96), Rgb{0, 0, 0})) << Str(Pixel(28, 96));
}

TEST_F(FontGfx, CentredTextHasTheSameWidth) {
    Begin2D();
    font->PrintCentred("ABC", 1.0f, HVector2(128, 128));
    // 48 by 16 centred on (128, 128): x 104..152, y 120..136.
    EXPECT_TRUE(Near(Pixel(105, 121), Rgb{255, 255, 255})) << Str(Pixel(105, 121));
    EXPECT_TRUE(Near(Pixel(150, 134), Rgb{255, 255, 255})) << Str(Pixel(150, 134));
    EXPECT_TRUE(Near(Pixel(101, 128), Rgb{0, 0, 0})) << Str(Pixel(101, 128));
    EXPECT_TRUE(Near(Pixel(155, 128), Rgb{0, 0, 0})) << Str(Pixel(155, 128));
    EXPECT_TRUE(Near(Pixel(128, 117), Rgb{0, 0, 0})) << Str(Pixel(128, 117));
    EXPECT_TRUE(Near(Pixel(128, 139), Rgb{0, 0, 0})) << Str(Pixel(128, 139));
}

namespace {
// Lit pixels along row y. The font clamps to its black border, so the first column of
// each glyph comes out half-lit under the linear filter: count anything clearly lit.
int LitInRow(int y) {
    int count = 0;
    for (int x = 0; x < kSize; x++) count += Pixel(x, y).r > 60 ? 1 : 0;
    return count;
}
}  // namespace

TEST_F(FontGfx, PrintAndPrintCentredGiveTheSameWidth) {
    Begin2D();
    font->Print("ABCA", 1.5f, HVector2(10, -20));  // rows 20..44
    int printed = LitInRow(32);
    Begin2D();
    font->PrintCentred("ABCA", 1.5f, HVector2(128, 128));  // rows 116..140
    int centred = LitInRow(128);
    EXPECT_EQ(printed, 96);
    EXPECT_EQ(centred, printed);
}

TEST_F(FontGfx, EmptyStringDrawsNoQuads) {
    Begin2D();
    EXPECT_EQ(font->DrawString("", 1, 1, 0, 0), 0);
    EXPECT_EQ(font->DrawString("AB\x80", 1, 1, 0, 0), 2);
    HVector2 size = font->GetTextSize("", 1.0f);
    EXPECT_EQ(size.x, 0.0f);
    EXPECT_EQ(size.y, 16.0f);
}

TEST_F(FontGfx, UnloadGivesTheTextureBack) {
    GLuint name = font->texture_id;
    EXPECT_TRUE(glIsTexture(name));
    font.Release();
    EXPECT_FALSE(glIsTexture(name));
}

TEST(GlobalFontGfx, EmptyFontHandlePrintsWithTheGlobalFont) {
    WriteFile("gfx/global.glf", SolidFont());
    ASSERT_TRUE(LoadGlobalFont("gfx/global.glf"));
    ResourceHandle<Font> empty;
    Begin2D();
    empty->Print("A", 1.0f, HVector2(60, -60));
    EXPECT_TRUE(Near(Pixel(68, 68), Rgb{255, 255, 255})) << Str(Pixel(68, 68));
    EXPECT_TRUE(Near(Pixel(50, 68), Rgb{0, 0, 0})) << Str(Pixel(50, 68));
}

TEST(GlobalFontGfx, MissingFontLoadsEmptyAndPrintsNothing) {
    ResourceManager manager;
    manager.RegisterType<Font>("glf");
    ResourceHandle<Font> h;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(manager.Load(h, "gfx/none.glf"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    Begin2D();
    h->Print("ABC", 1.0f, HVector2(0, 0));
    EXPECT_TRUE(Near(Pixel(8, 8), Rgb{0, 0, 0}));
}

namespace {
const char* kColourVertex =
    "uniform mat4 ModelViewProj;\n"
    "uniform vec3 LigthColor;\n"
    "void vertex_program() {\n"
    "    gl_Position = ModelViewProj * gl_Vertex;\n"
    "    gl_FrontColor = vec4(LigthColor, 1.0);\n"
    "}\n";
const char* kTintFragment =
    "uniform vec3 CameraPos;\n"
    "void fragment_program() {\n"
    "    gl_FragColor = vec4(CameraPos, 1.0) * gl_Color;\n"
    "}\n";

void Quad(float x1, float y1, float x2, float y2) {
    glBegin(GL_QUADS);
    glVertex2f(x1, y1), glVertex2f(x1, y2), glVertex2f(x2, y2), glVertex2f(x2, y1);
    glEnd();
}
}  // namespace

TEST(ShaderGfx, StartUpReportsMissingProfiles) {
    testing::internal::CaptureStdout();
    InitCg("arbvp1", "arbfp1");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "arbvp1 not supported\narbfp1 not supported\nUsing 'glslv', 'glslf'\n");
    EXPECT_TRUE(cg_context);
    testing::internal::CaptureStdout();
    InitCg("glslv", "arbfp1");
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "arbfp1 not supported\nUsing 'glslv', 'glslf'\n");
    EXPECT_EQ(cg_vertex_profile, SHADER_PROFILE_VERTEX);
    EXPECT_EQ(cg_fragment_profile, SHADER_PROFILE_FRAGMENT);
}

TEST(ShaderGfx, VertexProgramWithMatrixAndColourDrawsWhereExpected) {
    InitCg("glslv", "glslf");
    WriteFile("gfx/colour.cg",
              std::vector<uint8_t>(kColourVertex, kColourVertex + strlen(kColourVertex)));
    ResourceManager manager;
    manager.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> vp;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(manager.Load(vp, "gfx/colour.cg"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(vp->vertex);

    Begin2D();
    glTranslatef(64, 64, 0);
    ShaderProgram::EnableProfile(cg_vertex_profile);
    vp->Bind();
    vp->SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX, SHADER_MATRIX_IDENTITY);
    const float green[3] = {0.0f, 1.0f, 0.0f};
    vp->SetParameter3fv("LigthColor", green);
    glColor3f(1, 0, 0);  // ignored: the program sets the colour
    Quad(0, 0, 32, 32);  // at (64..96, 64..96) on screen
    ShaderProgram::DisableProfile(cg_vertex_profile);
    EXPECT_EQ(ShaderProgram::ActiveGlProgram(), 0u);
    Quad(100, 100, 110, 110);  // fixed function again: red, at (164..174) on screen
    EXPECT_TRUE(Near(Pixel(80, 80), Rgb{0, 255, 0})) << Str(Pixel(80, 80));
    EXPECT_TRUE(Near(Pixel(40, 40), Rgb{0, 0, 0})) << Str(Pixel(40, 40));
    EXPECT_TRUE(Near(Pixel(100, 80), Rgb{0, 0, 0})) << Str(Pixel(100, 80));
    EXPECT_TRUE(Near(Pixel(169, 169), Rgb{255, 0, 0})) << Str(Pixel(169, 169));
}

TEST(ShaderGfx, MatrixTransformsAreApplied) {
    InitCg("glslv", "glslf");
    ShaderProgram vp;
    ASSERT_TRUE(vp.LoadSource(kColourVertex));
    Begin2D();
    ShaderProgram::EnableProfile(cg_vertex_profile);
    vp.Bind();
    const float blue[3] = {0.0f, 0.0f, 1.0f};
    vp.SetParameter3fv("LigthColor", blue);
    // Projection alone maps the quad at its untranslated place: (0..32, 0..32).
    glTranslatef(200, 200, 0);
    vp.SetStateMatrix("ModelViewProj", SHADER_PROJECTION_MATRIX, SHADER_MATRIX_IDENTITY);
    Quad(0, 0, 32, 32);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    EXPECT_TRUE(Near(Pixel(16, 16), Rgb{0, 0, 255})) << Str(Pixel(16, 16));
    EXPECT_TRUE(Near(Pixel(216, 216), Rgb{0, 0, 0})) << Str(Pixel(216, 216));

    // Inverse-transpose of a pure translation is not a translation: check the layer's
    // matrix by drawing with transpose(inverse(P)) applied to a transposed input.
    Begin2D();
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glScalef(2.0f, 2.0f, 1.0f);  // inverse is a scale by 0.5
    ShaderProgram::EnableProfile(cg_vertex_profile);
    vp.Bind();
    vp.SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
    // In clip space, x in [-1, 1]: the quad (0..1) scaled by 0.5 covers (0..0.5) -> pixels
    // 128..192.
    Quad(0.0f, 0.0f, 1.0f, 1.0f);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    EXPECT_TRUE(Near(Pixel(160, 96), Rgb{0, 0, 255})) << Str(Pixel(160, 96));
    EXPECT_TRUE(Near(Pixel(224, 96), Rgb{0, 0, 0})) << Str(Pixel(224, 96));
}

TEST(ShaderGfx, VertexAndFragmentProgramsTogether) {
    InitCg("glslv", "glslf");
    ShaderProgram vp, fp;
    ASSERT_TRUE(vp.LoadSource(kColourVertex));
    SetShaderLoadMode(false);
    ASSERT_TRUE(fp.LoadSource(kTintFragment));
    SetShaderLoadMode(true);
    EXPECT_FALSE(fp.vertex);

    Begin2D();
    ShaderProgram::EnableProfile(cg_vertex_profile);
    ShaderProgram::EnableProfile(cg_fragment_profile);
    vp.Bind();
    fp.Bind();
    vp.SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX, SHADER_MATRIX_IDENTITY);
    const float white[3] = {1.0f, 1.0f, 1.0f};
    const float tint[3] = {1.0f, 0.0f, 1.0f};
    vp.SetParameter3fv("LigthColor", white);
    fp.SetParameter3fv("CameraPos", tint);
    Quad(10, 10, 50, 50);
    ShaderProgram::DisableProfile(cg_fragment_profile);
    // The vertex program alone: white.
    Quad(60, 10, 100, 50);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    EXPECT_TRUE(Near(Pixel(30, 30), Rgb{255, 0, 255})) << Str(Pixel(30, 30));
    EXPECT_TRUE(Near(Pixel(80, 30), Rgb{255, 255, 255})) << Str(Pixel(80, 30));
}

TEST(ShaderGfx, ArraysAndSamplers) {
    InitCg("glslv", "glslf");
    const char* src =
        "uniform mat4 ModelViewProj;\n"
        "uniform vec3 BonePositionArray[2];\n"
        "uniform vec4 BoneRotationArray[2];\n"
        "void vertex_program() {\n"
        "    gl_Position = ModelViewProj * gl_Vertex;\n"
        "    gl_FrontColor = vec4(BonePositionArray[1], 1.0) + BoneRotationArray[1];\n"
        "    gl_TexCoord[0] = gl_MultiTexCoord0;\n"
        "}\n";
    const char* frag =
        "uniform sampler2D diffuse_map;\n"
        "void fragment_program() {\n"
        "    gl_FragColor = texture2D(diffuse_map, gl_TexCoord[0].xy) * gl_Color;\n"
        "}\n";
    ShaderProgram vp, fp;
    ASSERT_TRUE(vp.LoadSource(src));
    SetShaderLoadMode(false);
    ASSERT_TRUE(fp.LoadSource(frag));
    SetShaderLoadMode(true);
    WriteFile("gfx/green.dds", MakeDDS(4, 4, "DXT1", 1, Dxt1Solid(0xFFFF)));
    TextureDDS tex;
    ASSERT_TRUE(tex.Load("gfx/green.dds"));

    Begin2D();
    ShaderProgram::EnableProfile(cg_vertex_profile);
    ShaderProgram::EnableProfile(cg_fragment_profile);
    vp.Bind();
    fp.Bind();
    vp.SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX, SHADER_MATRIX_IDENTITY);
    const float positions[6] = {1, 1, 1, 0, 1, 0};
    const float rotations[8] = {1, 1, 1, 1, 0, 0, 1, 0};
    vp.SetParameterArray3f("BonePositionArray", 2, positions);
    vp.SetParameterArray4f("BoneRotationArray", 2, rotations);
    fp.SetTexture("diffuse_map", tex.texture_id);
    fp.EnableTexture("diffuse_map");
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0), glVertex2f(10, 10);
    glTexCoord2f(0, 1), glVertex2f(10, 50);
    glTexCoord2f(1, 1), glVertex2f(50, 50);
    glTexCoord2f(1, 0), glVertex2f(50, 10);
    glEnd();
    fp.DisableTexture("diffuse_map");
    ShaderProgram::DisableProfile(cg_fragment_profile);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    EXPECT_TRUE(Near(Pixel(30, 30), Rgb{0, 255, 255})) << Str(Pixel(30, 30));
}

TEST(ShaderGfx, SyntaxErrorAndUnknownNamesGoThroughTheCallback) {
    InitCg("glslv", "glslf");
    const char* bad = "void vertex_program() { gl_Position = ; }\n";
    WriteFile("gfx/bad.cg", std::vector<uint8_t>(bad, bad + strlen(bad)));
    ResourceManager manager;
    manager.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> h;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "gfx/bad.cg"));
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("Cg error: ", 0), 0u) << out;
    EXPECT_NE(out.find("\nFailed to load Cg program: 0\nCould not load resource 'gfx/bad.cg'\n"),
              std::string::npos)
        << out;
    EXPECT_FALSE(h.IsValid());

    // A fragment program without its entry function does not link.
    SetShaderLoadMode(false);
    ShaderProgram noentry;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(noentry.LoadSource("void vertex_program() {}\n"));
    out = testing::internal::GetCapturedStdout();
    SetShaderLoadMode(true);
    EXPECT_EQ(out.rfind("Cg error: ", 0), 0u) << out;

    ShaderProgram vp;
    ASSERT_TRUE(vp.LoadSource(kColourVertex));
    const float v[3] = {1, 2, 3};
    testing::internal::CaptureStdout();
    vp.SetParameter3fv("Nope", v);
    vp.SetParameter3fv("LigthColor", v);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Cg error: Invalid parameter handle: 'Nope'.\n");
}

TEST(LoadingScreenGfx, TextIsPrintedWithTheGlobalFont) {
    // One glyph 'L' of the whole 64x32 texture: 32 by 16 units at the screen's scale 0.5.
    std::vector<Glyph> glyphs(90 - 32 + 1, Glyph{1.0f, 1.0f, 0.0f, 0.0f, 1.0f, 1.0f});
    WriteFile("gfx/loading.glf",
              MakeGLF(64, 32, 32, 90, glyphs, std::vector<uint8_t>(64 * 32 * 2, 255)));
    ASSERT_TRUE(LoadGlobalFont("gfx/loading.glf"));
    ASSERT_NE(loading_text_printer, nullptr);
    virtual_width = 1024;
    virtual_height = 768;
    glViewport(0, 0, kSize, kSize);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    // The text starts at (W/2 - w/2.5, H/2 - h/4) = (348.16, 368.64) and runs down and
    // right; (364, 376) is inside the glyph, i.e. pixel (91, 125) of the 256x256 window.
    DrawLoadingScreen("L", true);
    EXPECT_TRUE(Near(Pixel(91, 125), Rgb{255, 255, 255})) << Str(Pixel(91, 125));
    // Left of the text, still inside the box: the box's dark blue.
    EXPECT_TRUE(Near(Pixel(82, 125), Rgb{0, 0, 77})) << Str(Pixel(82, 125));

    LoadingTextPrinter saved = loading_text_printer;
    loading_text_printer = nullptr;
    DrawLoadingScreen("L", true);
    EXPECT_TRUE(Near(Pixel(91, 125), Rgb{0, 0, 77})) << Str(Pixel(91, 125));
    loading_text_printer = saved;
}
