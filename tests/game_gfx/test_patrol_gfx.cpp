// The patrol's drawing under Xvfb: CharacterEntity::Render draws the skinned figure and its
// blob shadow at the body's place through the simple skinning program, and draws nothing
// (and stops posing) when the queue's camera cannot see its box.
#include <gtest/gtest.h>

#include "support/glcontext.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "game/characterentity.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 96;
VELMORA_GL_TEST_CONTEXT("patrol", kWidth, kHeight);

struct Lit {
    int count = 0;
    float mean_x = 0.0f;
};

// Pixels that differ from the grey clear colour, and their mean column.
Lit ReadLit() {
    std::vector<unsigned char> rgb(size_t(kWidth) * kHeight * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, kWidth, kHeight, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
    Lit lit;
    double sum = 0.0;
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            const unsigned char* p = &rgb[(size_t(y) * kWidth + size_t(x)) * 3];
            if (std::abs(p[0] - 128) + std::abs(p[1] - 128) + std::abs(p[2] - 128) > 30) {
                ++lit.count;
                sum += x;
            }
        }
    if (lit.count > 0) lit.mean_x = float(sum / lit.count);
    return lit;
}

class PatrolGfx : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        ASSERT_TRUE(FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data"));
        testing::internal::CaptureStdout();
        InitCg("glslv", "glslf");
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(cg_context);
        resources.RegisterType<TextureDDS>("dds");
        resources.RegisterType<ShaderProgram>("cg");
        CfoDocument document;
        ASSERT_TRUE(document.Parse(
            "Enemy = { texture = resources/textures/polic.dds; shader = "
            "resources/shaders/quat_skinned_geometry.cg; mesh = resources/models/polic.aam; "
            "ani_idle = animations/polic_idle.cfo; PhysicsCharacter = { radius = 60; } }"));
        character.LoadCharacter(document.FindChild("Enemy"), &resources);
        ASSERT_TRUE(character.shader.IsValid());
        ASSERT_TRUE(character.texture.IsValid());
        ASSERT_TRUE(character.shadowTexture.IsValid());
        character.Bind(nullptr, nullptr, nullptr);

        glViewport(0, 0, kWidth, kHeight);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        gluPerspective(60.0, 1.0, 1.0, 2000.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        gluLookAt(0.0, -150.0, 50.0, 0.0, 0.0, 40.0, 0.0, 0.0, 1.0);
    }
    void TearDown() override { glDisable(GL_FOG); }

    Lit Draw() {
        glClearColor(128.0f / 255.0f, 128.0f / 255.0f, 128.0f / 255.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        character.UpdateMesh(1.0f);
        character.Render(&queue);
        glFinish();
        return ReadLit();
    }

    ResourceManager resources;
    CharacterEntity character;
    RenderQueue queue;
};

TEST_F(PatrolGfx, DrawsTheFigureAtTheBodysPlace) {
    const Lit centre = Draw();
    EXPECT_TRUE(character.inView);
    EXPECT_GT(centre.count, 150);
    EXPECT_NEAR(centre.mean_x, kWidth / 2.0f, 6.0f);
    character.physics.SetPosition(HVector2(50.0f, 0.0f));
    const Lit right = Draw();
    EXPECT_GT(right.count, 150);
    EXPECT_GT(right.mean_x, centre.mean_x + 10.0f);
}

TEST_F(PatrolGfx, TheShadowIsARoundSpotUnderTheBody) {
    // From straight above, with a mesh that draws nothing, only the shadow is left: a soft
    // black spot blended at half the texture's alpha (0.8 at the centre) over the grey.
    glLoadIdentity();
    gluLookAt(0.0, 0.0, 200.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0);
    character.mesh.vertex_count = 0;
    const Lit centre = Draw();
    EXPECT_GT(centre.count, 20);
    EXPECT_LT(centre.count, 400);
    EXPECT_NEAR(centre.mean_x, kWidth / 2.0f, 1.0f);
    unsigned char middle[3] = {0, 0, 0};
    glReadPixels(kWidth / 2, kHeight / 2, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, middle);
    EXPECT_NEAR(middle[0], 128 * 0.6, 8.0);
    EXPECT_NEAR(middle[2], 128 * 0.6, 8.0);
    character.physics.SetPosition(HVector2(30.0f, 0.0f));
    const Lit moved = Draw();
    EXPECT_GT(moved.mean_x, centre.mean_x + 8.0f);
}

TEST_F(PatrolGfx, OutOfViewNothingIsDrawn) {
    Camera blind;
    for (int p = 0; p < 6; ++p) {
        blind.frustum[p][0] = blind.frustum[p][1] = blind.frustum[p][2] = 0.0f;
        blind.frustum[p][3] = -1.0f;
    }
    blind.position = HVector3(1e6f, 1e6f, 1e6f);
    queue.camera = &blind;
    const Lit none = Draw();
    EXPECT_FALSE(character.inView);
    EXPECT_EQ(none.count, 0);
}

}  // namespace
