// The rain drawn through particles.cg: an empty pool draws nothing, a drop is a light
// sprite where the camera projects it and larger when nearer, a drop reset within its step
// shows at height 500, and a frame shorter than 1/30 s still draws the drops where they
// were. The window comes from the folder's other programs (160x120).

#include <gtest/gtest.h>

#include <GL/glu.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "world/particlerain.h"

namespace {

constexpr int kView = 120;  // a square viewport inside the 160x120 window

class RainGfx : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
        (void)mounted;
        testing::internal::CaptureStdout();
        InitCg("glslv", "glslf");
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(cg_context);
        resources.RegisterType<ShaderProgram>("cg");
        resources.RegisterType<TextureDDS>("dds");
    }
    void TearDown() override { ResetSettings(); }

    // A pool of `n` drops with the game's program and sprite.
    void LoadRain(ParticleRain& rain, int32_t n) {
        r_particle_rain_size = n;
        CfoDocument node;
        testing::internal::CaptureStdout();
        rain.Load(&node, &resources);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        ASSERT_TRUE(rain.shader.IsValid());
        ASSERT_TRUE(rain.texture.IsValid());
    }

    // Black, then the camera 1000 above the origin looking down, y up on screen.
    static void Begin() {
        glViewport(0, 0, kView, kView);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        gluPerspective(60.0, 1.0, 1.0, 5000.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        gluLookAt(0, 0, 1000, 0, 0, 0, 0, 1, 0);
        glDisable(GL_LIGHTING);
        glDisable(GL_FOG);
    }

    // Where a point of the level lands in the viewport.
    static void Project(const HVector3& p, double& x, double& y) {
        GLdouble model[16], projection[16], z;
        GLint viewport[4];
        glGetDoublev(GL_MODELVIEW_MATRIX, model);
        glGetDoublev(GL_PROJECTION_MATRIX, projection);
        glGetIntegerv(GL_VIEWPORT, viewport);
        gluProject(p.x, p.y, p.z, model, projection, viewport, &x, &y, &z);
    }

    struct Lit {
        int count = 0;
        double x = 0, y = 0;  // centre of the lit pixels
        int min_x = kView, max_x = -1, min_y = kView, max_y = -1;
        int brightest = 0;  // the highest green
    };

    // Pixels whose green passes 8 (a small far drop is faint: its sprite is a mipmap of a
    // thin streak), counted from the bottom left as GL does.
    static Lit ReadLit(int threshold = 8) {
        std::vector<uint8_t> rgb(kView * kView * 3);
        glReadBuffer(GL_BACK);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, kView, kView, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
        Lit lit;
        for (int y = 0; y < kView; ++y)
            for (int x = 0; x < kView; ++x)
                if (rgb[(y * kView + x) * 3 + 1] > threshold) {
                    lit.brightest = std::max<int>(lit.brightest, rgb[(y * kView + x) * 3 + 1]);
                    ++lit.count;
                    lit.x += x;
                    lit.y += y;
                    lit.min_x = std::min(lit.min_x, x);
                    lit.max_x = std::max(lit.max_x, x);
                    lit.min_y = std::min(lit.min_y, y);
                    lit.max_y = std::max(lit.max_y, y);
                }
        if (lit.count > 0) {
            lit.x /= lit.count;
            lit.y /= lit.count;
        }
        return lit;
    }

    // Only `at` in the pool, falling straight down at 1000 a second.
    static void OneDrop(ParticleRain& rain, const HVector3& at) {
        rain.particles.assign(1, RainParticle{});
        rain.count = 1;
        rain.particles[0].position = at;
        rain.particles[0].fall_speed = -1000.0f;
    }

    ResourceManager resources;
};

}  // namespace

TEST_F(RainGfx, AnEmptyPoolDrawsNothing) {
    ParticleRain rain;
    LoadRain(rain, 0);
    Begin();
    rain.Render(nullptr);
    EXPECT_EQ(ReadLit().count, 0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(RainGfx, ADropIsALightSpriteWhereTheCameraSeesIt) {
    ParticleRain rain;
    LoadRain(rain, 1);
    OneDrop(rain, HVector3(100.0f, 50.0f, 0.0f));
    Begin();
    double px, py;
    Project(rain.particles[0].position, px, py);
    rain.Render(nullptr);
    const Lit far = ReadLit();
    ASSERT_GT(far.count, 0);
    EXPECT_NEAR(far.x, px, 2.0);
    EXPECT_NEAR(far.y, py, 3.0);

    // The same drop at a fifth of the distance is drawn larger.
    OneDrop(rain, HVector3(20.0f, 10.0f, 800.0f));
    Begin();
    rain.Render(nullptr);
    const Lit near = ReadLit();
    EXPECT_GT(near.count, far.count * 2);
    // Near, its brighter half is a streak: taller than wide.
    const Lit core = ReadLit(near.brightest / 2);
    EXPECT_GT(core.max_y - core.min_y, core.max_x - core.min_x);
    EXPECT_GT(near.brightest, 80);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(RainGfx, ADropResetWithinItsStepIsDrawnAtHeight500) {
    ParticleRain rain;
    LoadRain(rain, 1);
    OneDrop(rain, HVector3(0.0f, 0.0f, 10.0f));
    // A box of one point, so the respawn's place is known.
    rain.area_min = HVector2(-200.0f, 100.0f);
    rain.area_max = HVector2(-200.0f, 100.0f);
    rain.Update(0.5f);  // 10 - 1000 * 0.25: below the ground, back at the top
    ASSERT_EQ(rain.particles[0].position.z, 500.0f);
    Begin();
    double px, py;
    Project(HVector3(-200.0f, 100.0f, 500.0f), px, py);
    rain.Render(nullptr);
    const Lit lit = ReadLit();
    ASSERT_GT(lit.count, 0);
    EXPECT_NEAR(lit.x, px, 2.0);
    EXPECT_NEAR(lit.y, py, 3.0);
}

TEST_F(RainGfx, AShortFrameSkipsTheStepAndStillDraws) {
    ParticleRain rain;
    LoadRain(rain, 1);
    OneDrop(rain, HVector3(-100.0f, -100.0f, 300.0f));
    rain.Update(0.02f);  // under 1/30 s: no step
    Begin();
    double px, py;
    Project(HVector3(-100.0f, -100.0f, 300.0f), px, py);
    rain.Render(nullptr);
    const Lit lit = ReadLit();
    ASSERT_GT(lit.count, 0);
    EXPECT_NEAR(lit.x, px, 2.0);
    EXPECT_NEAR(lit.y, py, 3.0);
}
