// The window, the extension checks and the procedure table against a real GL context
// (llvmpipe inside the Xvfb of the test run).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

#include "platform/draw.h"
#include "platform/glcaps.h"
#include "platform/settings.h"
#include "platform/window.h"
#include "cfo/cfonode.h"
#include "gl/glprocs.h"
#include "screenpixel.h"

namespace {

// Captures what a call prints on standard output.
class StdoutCapture {
public:
    StdoutCapture() {
        fflush(stdout);
        file_ = tmpfile();
        saved_ = dup(fileno(stdout));
        dup2(fileno(file_), fileno(stdout));
    }
    std::string Finish() {
        fflush(stdout);
        dup2(saved_, fileno(stdout));
        close(saved_);
        std::string text;
        rewind(file_);
        char buffer[4096];
        size_t n;
        while ((n = fread(buffer, 1, sizeof(buffer), file_)) > 0) text.append(buffer, n);
        fclose(file_);
        return text;
    }

private:
    FILE* file_ = nullptr;
    int saved_ = -1;
};

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        screen_width = 800;
        screen_height = 600;
        virtual_width = 800;
        virtual_height = 600;
    }
};

TEST_F(WindowTest, NullNodeFailsWithItsMessage) {
    Window window;
    StdoutCapture capture;
    const bool ok = window.Init(nullptr);
    EXPECT_EQ(capture.Finish(), "Window configuration node not defined\n");
    EXPECT_FALSE(ok);
}

TEST_F(WindowTest, NoSizeOpensAt800x600WithVirtual1024x768) {
    CfoNode node("Window");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    int w = 0, h = 0;
    SDL_GetWindowSize(window.GetSdlWindow(), &w, &h);
    EXPECT_EQ(w, 800);
    EXPECT_EQ(h, 600);
    EXPECT_EQ(screen_width, 800);
    EXPECT_EQ(screen_height, 600);
    EXPECT_EQ(virtual_width, 1024);
    EXPECT_EQ(virtual_height, 768);
    EXPECT_STREQ(SDL_GetWindowTitle(window.GetSdlWindow()), "Orsin");
    EXPECT_EQ(SDL_ShowCursor(-1), 0);
    EXPECT_EQ(SDL_GL_GetSwapInterval(), 0);
    GLint viewport[4] = {0, 0, 0, 0};
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_EQ(viewport[0], 0);
    EXPECT_EQ(viewport[1], 0);
    EXPECT_EQ(viewport[2], 800);
    EXPECT_EQ(viewport[3], 600);
}

TEST_F(WindowTest, SizeFromTheNodeAndFrameBufferFormat) {
    CfoNode node("Window");
    node.NewChild("width", "640");
    node.NewChild("height", "480");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    EXPECT_EQ(screen_width, 640);
    EXPECT_EQ(screen_height, 480);
    EXPECT_EQ(virtual_width, 1024);
    EXPECT_EQ(virtual_height, 768);
    int value = -1;
    SDL_GL_GetAttribute(SDL_GL_RED_SIZE, &value);
    EXPECT_EQ(value, 8);
    SDL_GL_GetAttribute(SDL_GL_DEPTH_SIZE, &value);
    EXPECT_EQ(value, 24);
    SDL_GL_GetAttribute(SDL_GL_STENCIL_SIZE, &value);
    EXPECT_EQ(value, 8);
    SDL_GL_GetAttribute(SDL_GL_DOUBLEBUFFER, &value);
    EXPECT_EQ(value, 1);
    GLint profile = 0;
    glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &profile);
    EXPECT_EQ(profile & GL_CONTEXT_COMPATIBILITY_PROFILE_BIT, GL_CONTEXT_COMPATIBILITY_PROFILE_BIT);
}

TEST_F(WindowTest, MultisampleZeroAsksForNoSamples) {
    CfoNode node("Window");
    node.NewChild("multisample", "0");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    EXPECT_EQ(window.multisample, 0);
    int value = -1;
    SDL_GL_GetAttribute(SDL_GL_MULTISAMPLEBUFFERS, &value);
    EXPECT_EQ(value, 0);
    GLint buffers = -1;
    glGetIntegerv(GL_SAMPLE_BUFFERS, &buffers);
    EXPECT_EQ(buffers, 0);
}

TEST_F(WindowTest, MultisampleFourIsEnabled) {
    CfoNode node("Window");
    node.NewChild("multisample", "4");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    ASSERT_EQ(window.multisample, 4);  // llvmpipe offers 4 samples
    GLint samples = 0;
    glGetIntegerv(GL_SAMPLES, &samples);
    EXPECT_EQ(samples, 4);
    EXPECT_EQ(glIsEnabled(GL_MULTISAMPLE_ARB), GL_TRUE);
}

TEST_F(WindowTest, ImpossibleMultisampleRetriesWithout) {
    CfoNode node("Window");
    node.NewChild("multisample", "48");
    Window window;
    StdoutCapture capture;
    const bool ok = window.Init(&node);
    const std::string out = capture.Finish();
    ASSERT_TRUE(ok) << out;
    EXPECT_EQ(out.rfind("Multisample 48 not available (", 0), 0u) << out;
    EXPECT_NE(out.find("), using none\n"), std::string::npos) << out;
    EXPECT_EQ(window.multisample, 0);
    GLint buffers = -1;
    glGetIntegerv(GL_SAMPLE_BUFFERS, &buffers);
    EXPECT_EQ(buffers, 0);
}

TEST_F(WindowTest, ZeroWidthFallsBackTo800x600) {
    CfoNode node("Window");
    node.NewChild("width", "0");
    node.NewChild("height", "500");
    Window window;
    StdoutCapture capture;
    const bool ok = window.Init(&node);
    EXPECT_EQ(capture.Finish(), "Window size 0x500 is not valid, using 800x600\n");
    ASSERT_TRUE(ok);
    EXPECT_EQ(screen_width, 800);
    EXPECT_EQ(screen_height, 600);
}

TEST_F(WindowTest, NegativeWidthFallsBackTo800x600) {
    CfoNode node("Window");
    node.NewChild("width", "-5");
    Window window;
    StdoutCapture capture;
    const bool ok = window.Init(&node);
    EXPECT_EQ(capture.Finish(), "Window size -5x600 is not valid, using 800x600\n");
    ASSERT_TRUE(ok);
    int w = 0, h = 0;
    SDL_GetWindowSize(window.GetSdlWindow(), &w, &h);
    EXPECT_EQ(w, 800);
    EXPECT_EQ(h, 600);
}

TEST_F(WindowTest, SetVideoModeRejectsABadSizeCleanly) {
    Window window;
    StdoutCapture capture;
    const int result = window.SetVideoMode(-5, 600, 32, false, false);
    EXPECT_EQ(capture.Finish(), "SDL Video mode failed: invalid size -5x600\n");
    EXPECT_EQ(result, -1);
    EXPECT_EQ(window.GetSdlWindow(), nullptr);
}

TEST_F(WindowTest, HugeWindowFailsWithTheVideoModeMessage) {
    CfoNode node("Window");
    node.NewChild("width", "100000");
    node.NewChild("height", "100000");
    Window window;
    StdoutCapture capture;
    const bool ok = window.Init(&node);
    const std::string out = capture.Finish();
    if (!ok) {
        EXPECT_EQ(out.rfind("SDL Video mode failed: ", 0), 0u) << out;
    } else {
        // A server that grants it still gives a working window of that size.
        EXPECT_EQ(screen_width, 100000);
    }
}

TEST_F(WindowTest, PrintInfoLines) {
    CfoNode node("Window");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    StdoutCapture capture;
    window.PrintInfo();
    const std::string out = capture.Finish();
    const std::string expected =
        std::string("Vendor: ") + reinterpret_cast<const char*>(glGetString(GL_VENDOR)) +
        "\nRenderer: " + reinterpret_cast<const char*>(glGetString(GL_RENDERER)) +
        "\nVersion: " + reinterpret_cast<const char*>(glGetString(GL_VERSION)) + "\n";
    EXPECT_EQ(out, expected);
}

TEST_F(WindowTest, SwapWindowBuffersShowsTheBackBuffer) {
    CfoNode node("Window");
    node.NewChild("width", "64");
    node.NewChild("height", "32");
    Window window;
    ASSERT_TRUE(window.Init(&node));
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const Rgb before = ScreenPixel(window.GetSdlWindow(), 10, 10);
    SwapWindowBuffers();
    const Rgb after = ScreenPixel(window.GetSdlWindow(), 10, 10);
    EXPECT_NE(before.r, 255);
    EXPECT_EQ(after.r, 255);
    EXPECT_EQ(after.g, 0);
    EXPECT_EQ(after.b, 0);
}

TEST_F(WindowTest, SwapWithoutAWindowDoesNothing) {
    SwapWindowBuffers();  // no window made since the last one was destroyed
    Window window;
    window.Swap();
    EXPECT_EQ(window.GetSdlWindow(), nullptr);
}

class GlTest : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        CfoNode node("Window");
        node.NewChild("width", "320");
        node.NewChild("height", "240");
        window_ = new Window;
        ASSERT_TRUE(window_->Init(&node));
    }
    void TearDown() override { delete window_; }
    Window* window_ = nullptr;
};

TEST_F(GlTest, CheckExtensionWholeWords) {
    StdoutCapture capture;
    EXPECT_TRUE(CheckExtension("GL_ARB_multitexture"));
    EXPECT_TRUE(CheckExtension("GL_ARB_vertex_buffer_object"));
    EXPECT_EQ(capture.Finish(), "");
}

TEST_F(GlTest, CheckExtensionMissingPrintsItsLine) {
    StdoutCapture capture;
    EXPECT_FALSE(CheckExtension("GL_VELMORA_no_such_extension"));
    EXPECT_EQ(capture.Finish(), "!OpenGL extension 'GL_VELMORA_no_such_extension' not supported\n");
}

TEST_F(GlTest, CheckExtensionPrefixOfALongerNameIsFalse) {
    // "GL_ARB_vertex_buffer" only starts "GL_ARB_vertex_buffer_object".
    StdoutCapture capture;
    EXPECT_FALSE(CheckExtension("GL_ARB_vertex_buffer"));
    EXPECT_EQ(capture.Finish(), "!OpenGL extension 'GL_ARB_vertex_buffer' not supported\n");
}

TEST_F(GlTest, CheckExtensionBlankOrEmptyIsQuietFalse) {
    StdoutCapture capture;
    EXPECT_FALSE(CheckExtension(""));
    EXPECT_FALSE(CheckExtension("GL_ARB_multitexture GL_ARB_vertex_program"));
    EXPECT_EQ(capture.Finish(), "");
}

TEST_F(GlTest, CapabilityTableReadsTheLimits) {
    max_anisotropy = 1.0f;
    max_texture_units = 1;
    StdoutCapture capture;
    const bool ok = CheckCapabilities();
    const std::string out = capture.Finish();
    ASSERT_TRUE(ok) << out;
    GLfloat anisotropy = 0;
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
    EXPECT_EQ(max_anisotropy, anisotropy);
    GLint units = 0;
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS_ARB, &units);
    EXPECT_EQ(max_texture_units, units);
    GLint value = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &value);
    EXPECT_EQ(max_elements_indices, value);
    glGetIntegerv(GL_MAX_ELEMENTS_VERTICES, &value);
    EXPECT_EQ(max_elements_vertices, value);
    // llvmpipe has no vertex blending: the non-fatal row prints its line and goes on.
    EXPECT_EQ(out, "!OpenGL extension 'GL_ARB_vertex_blend' not supported\n");
}

TEST_F(GlTest, CapabilityLines) {
    max_anisotropy = 16.0f;
    max_texture_units = 32;
    StdoutCapture capture;
    PrintCapabilities();
    const std::string out = capture.Finish();
    GLint vertices = 0, indices = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_VERTICES, &vertices);
    glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &indices);
    const std::string expected =
        " MAX_ANISOTROPY 16\n MULTISAMPLE 0\n MAX_TEXTURE_UNITS 32\n"
        " MAX_ELEMENTS_VERTICES " +
        std::to_string(vertices) + "\n MAX_ELEMENTS_INDICES " + std::to_string(indices) + "\n";
    EXPECT_EQ(out, expected);
}

TEST_F(GlTest, KnownProcedureResolvesOnce) {
    ResetGlProcs();
    EXPECT_EQ(GlProcEntry(GL_PROC_glGenBuffersARB), GlProcStub(GL_PROC_glGenBuffersARB));
    GLuint buffers[2] = {0, 0};
    glGenBuffersARB(1, &buffers[0]);
    EXPECT_EQ(GlProcLookups(), 1);
    void* resolved = GlProcEntry(GL_PROC_glGenBuffersARB);
    EXPECT_NE(resolved, GlProcStub(GL_PROC_glGenBuffersARB));
    EXPECT_EQ(resolved, SDL_GL_GetProcAddress("glGenBuffersARB"));
    glGenBuffersARB(1, &buffers[1]);
    EXPECT_EQ(GlProcLookups(), 1);
    EXPECT_NE(buffers[0], 0u);
    EXPECT_NE(buffers[1], 0u);
    EXPECT_NE(buffers[0], buffers[1]);
    glDeleteBuffersARB(2, buffers);
    EXPECT_EQ(GlProcLookups(), 2);
}

TEST_F(GlTest, ShaderCallsWorkThroughTheTable) {
    const GLuint shader = glCreateShader(GL_VERTEX_SHADER);
    ASSERT_NE(shader, 0u);
    const char* source = "void main() { gl_Position = ftransform(); }";
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    GLint status = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &status);
    EXPECT_EQ(status, GL_TRUE);
    glDeleteShader(shader);
}

// The driver's loader hands out dispatch stubs even for names it does not know, so the
// missing-function path is played by a loader that refuses one name.
void* RefusingLoader(const char* name) {
    if (strcmp(name, "glMultiDrawElementsEXT") == 0) return nullptr;
    return SDL_GL_GetProcAddress(name);
}

TEST_F(GlTest, FunctionTheDriverLacksAsserts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ResetGlProcs();
    SetGlProcLoader(RefusingLoader);
    EXPECT_DEATH(glMultiDrawElementsEXT(GL_TRIANGLES, nullptr, GL_UNSIGNED_SHORT, nullptr, 0),
                 "address != nullptr");
    SetGlProcLoader(nullptr);
}

TEST_F(GlTest, DrawQuadFillsItsRectangle) {
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, 320, 240, 0, 1, 0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_DEPTH_TEST);
    glColor3f(0, 1, 0);
    DrawQuad(10, 20, 110, 70);  // top left origin: rows 20..70 from the top
    unsigned char inside[4] = {0, 0, 0, 0};
    unsigned char outside[4] = {9, 9, 9, 9};
    glReadPixels(60, 240 - 45, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, inside);
    glReadPixels(150, 240 - 45, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, outside);
    EXPECT_EQ(inside[1], 255);
    EXPECT_EQ(outside[1], 0);
    GLboolean vertex_array = GL_TRUE;
    glGetBooleanv(GL_VERTEX_ARRAY, &vertex_array);
    EXPECT_EQ(vertex_array, GL_FALSE);
    GLboolean texcoord_array = GL_TRUE;
    glGetBooleanv(GL_TEXTURE_COORD_ARRAY, &texcoord_array);
    EXPECT_EQ(texcoord_array, GL_FALSE);
}

TEST_F(GlTest, LoadingScreenBoxInTheMiddle) {
    // 320x240 window; the box is 0.4 x 0.08 of the screen, centred, dark blue with a white
    // outline, on black.
    DrawLoadingScreen("Loading...", true);
    SDL_Window* w = window_->GetSdlWindow();
    const Rgb centre = ScreenPixel(w, 160, 120);
    EXPECT_EQ(centre.r, 0);
    EXPECT_EQ(centre.g, 0);
    EXPECT_NEAR(centre.b, 77, 1);  // 0.3 of 255
    const Rgb corner = ScreenPixel(w, 5, 5);
    EXPECT_EQ(corner.r, 0);
    EXPECT_EQ(corner.g, 0);
    EXPECT_EQ(corner.b, 0);
    // The box spans 96..224 by 110.4..129.6: black beside it, white on its outline.
    const Rgb beside = ScreenPixel(w, 80, 120);
    EXPECT_EQ(beside.b, 0);
    const Rgb above = ScreenPixel(w, 160, 100);
    EXPECT_EQ(above.b, 0);
    int white = 0;
    for (int x = 94; x <= 98; ++x) {
        const Rgb p = ScreenPixel(w, x, 120);
        if (p.r == 255 && p.g == 255 && p.b == 255) ++white;
    }
    EXPECT_GE(white, 1) << "no white outline at the left edge of the box";
    GLint mode[2] = {0, 0};
    glGetIntegerv(GL_POLYGON_MODE, mode);
    EXPECT_EQ(mode[0], GL_FILL);
    EXPECT_EQ(glIsEnabled(GL_TEXTURE_2D), GL_TRUE);
    EXPECT_EQ(glIsEnabled(GL_DEPTH_TEST), GL_FALSE);
}

TEST_F(GlTest, LoadingScreenWithoutClearKeepsTheScreen) {
    glClearColor(1, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    DrawLoadingScreen("Loading...", false);
    const Rgb corner = ScreenPixel(window_->GetSdlWindow(), 5, 5);
    EXPECT_EQ(corner.r, 255);
    EXPECT_EQ(corner.g, 0);
    const Rgb centre = ScreenPixel(window_->GetSdlWindow(), 160, 120);
    EXPECT_EQ(centre.r, 0);
    EXPECT_NEAR(centre.b, 77, 1);
}

TEST_F(GlTest, LoadingScreenHandsTheTextToTheFont) {
    static std::string text;
    static float x = 0, y = 0, scale = 0;
    loading_text_printer = [](const std::string& t, float px, float py, float s) {
        text = t;
        x = px;
        y = py;
        scale = s;
    };
    DrawLoadingScreen("Loading...", true);
    loading_text_printer = nullptr;
    EXPECT_EQ(text, "Loading...");
    const float w = 1024 * 0.4f;
    const float h = 768 * 0.08f;
    EXPECT_FLOAT_EQ(x, 512 - w / 2.5f);
    EXPECT_FLOAT_EQ(y, -384 + h / 4);
    EXPECT_FLOAT_EQ(scale, 0.5f);
}

}  // namespace
