// The hero's drawing under Xvfb: Player::Render draws the skinned figure at its body's place
// through the simple skinning program, and through the advanced pair of programs with the
// normal map when r_advanced_shading was on at load. The window and its context are the
// program's one (test_patrol_gfx.cpp registers it for every test of tests/game_gfx).
#include <gtest/gtest.h>

#include <SDL.h>

#include <GL/gl.h>
#include <GL/glu.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "game/item.h"
#include "game/player.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "support/tempfolder.h"
#include "world/meshasm.h"

namespace {

struct Picture {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;
};

struct Lit {
    int count = 0;
    float mean_x = 0.0f;
};

Picture Read() {
    Picture p;
    GLint viewport[4] = {0, 0, 0, 0};
    glGetIntegerv(GL_VIEWPORT, viewport);
    p.width = viewport[2];
    p.height = viewport[3];
    p.rgb.resize(size_t(p.width) * size_t(p.height) * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, p.width, p.height, GL_RGB, GL_UNSIGNED_BYTE, p.rgb.data());
    return p;
}

// Pixels that differ from the grey clear colour, and their mean column.
Lit LitOf(const Picture& p) {
    Lit lit;
    double sum = 0.0;
    for (int y = 0; y < p.height; ++y)
        for (int x = 0; x < p.width; ++x) {
            const unsigned char* c = &p.rgb[(size_t(y) * size_t(p.width) + size_t(x)) * 3];
            if (std::abs(c[0] - 128) + std::abs(c[1] - 128) + std::abs(c[2] - 128) > 30) {
                ++lit.count;
                sum += x;
            }
        }
    if (lit.count > 0) lit.mean_x = float(sum / lit.count);
    return lit;
}

int Differing(const Picture& a, const Picture& b) {
    int n = 0;
    for (size_t i = 0; i + 2 < a.rgb.size() && i + 2 < b.rgb.size(); i += 3)
        if (std::abs(a.rgb[i] - b.rgb[i]) + std::abs(a.rgb[i + 1] - b.rgb[i + 1]) +
                std::abs(a.rgb[i + 2] - b.rgb[i + 2]) >
            30)
            ++n;
    return n;
}

class PlayerGfx : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(SDL_GL_GetCurrentContext(), nullptr) << "tests/game_gfx gives no GL context";
        ResetSettings();
        ASSERT_TRUE(FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data"));
        testing::internal::CaptureStdout();
        InitCg("glslv", "glslf");
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(cg_context);
        resources.RegisterType<TextureDDS>("dds");
        resources.RegisterType<TextureTGA>("tga");
        resources.RegisterType<ShaderProgram>("cg");

        int width = 0, height = 0;
        SDL_GL_GetDrawableSize(SDL_GL_GetCurrentWindow(), &width, &height);
        glViewport(0, 0, width, height);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        gluPerspective(60.0, double(width) / double(height), 1.0, 2000.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        gluLookAt(0.0, -130.0, 45.0, 0.0, 0.0, 40.0, 0.0, 0.0, 1.0);
    }
    void TearDown() override {
        glDisable(GL_FOG);
        hero.reset();
        ResetSettings();
    }

    void Make(bool advanced) {
        r_advanced_shading = advanced;
        CfoDocument doc;
        ASSERT_TRUE(
            doc.Parse("Player = { name = main_player; PhysicsCharacter = { radius = 30; } }"));
        hero = std::make_unique<Player>();
        hero->Load(doc.FindChild("Player"), &resources);
        ASSERT_TRUE(hero->shader.IsValid());
        ASSERT_TRUE(hero->diffuseTexture.IsValid());
        ASSERT_TRUE(hero->normalTexture.IsValid());
        ASSERT_TRUE(hero->spareTexture.IsValid());
        hero->Bind(nullptr, nullptr, nullptr);
        // A frame places the figure and poses it (idle at its first step).
        FrameEvent frame(0.1f, 1.0f, nullptr, nullptr);
        hero->OnFrame(&frame);
    }

    Picture Draw() {
        glClearColor(128.0f / 255.0f, 128.0f / 255.0f, 128.0f / 255.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        hero->Render(&queue);
        glFinish();
        return Read();
    }

    ResourceManager resources;
    std::unique_ptr<Player> hero;
    RenderQueue queue;
};

TEST_F(PlayerGfx, TheSimplePathDrawsTheFigureAtTheBodysPlace) {
    Make(false);
    EXPECT_FALSE(hero->advancedVertex.IsValid());
    const Lit centre = LitOf(Draw());
    EXPECT_GT(centre.count, 150);
    const int width = Read().width;
    EXPECT_NEAR(centre.mean_x, width / 2.0f, 8.0f);
    hero->physics.SetPosition(HVector2(60.0f, 0.0f));
    FrameEvent frame(0.1f, 1.1f, nullptr, nullptr);
    hero->OnFrame(&frame);
    const Lit right = LitOf(Draw());
    EXPECT_GT(right.count, 150);
    EXPECT_GT(right.mean_x, centre.mean_x + 10.0f);
}

TEST_F(PlayerGfx, TheAdvancedPathDrawsTheFigureWithItsOwnPrograms) {
    Make(false);
    const Picture simple = Draw();
    hero.reset();
    Make(true);
    ASSERT_TRUE(hero->advancedVertex.IsValid());
    ASSERT_TRUE(hero->advancedFragment.IsValid());
    const Picture advanced = Draw();
    const Lit lit = LitOf(advanced);
    EXPECT_GT(lit.count, 150);
    EXPECT_NEAR(lit.mean_x, LitOf(simple).mean_x, 6.0f);
    // The same figure in the same place, shaded otherwise.
    EXPECT_GT(Differing(simple, advanced), 20);
}

TEST_F(PlayerGfx, TheFigureTurnsWithTheBody) {
    Make(false);
    const Picture front = Draw();
    hero->physics.body.orientation = 180.0f;
    const Picture back = Draw();
    EXPECT_GT(LitOf(back).count, 150);
    EXPECT_GT(Differing(front, back), 50);
}

// An item's model: a square of 20 standing on the ground, facing -y.
const char* kPanel =
    "verts = { {-10,0,0} {10,0,0} {10,0,20} {-10,0,20} }\n"
    "texcoords = { {0,1} {1,1} {1,0} {0,0} }\n"
    "normals = { {0,-1,0} }\n"
    "faces = { { {0,1,2} {0,1,2} {0,0,0} } { {0,2,3} {0,2,3} {0,0,0} } }\n";

const std::string& PanelFolder() {
    static testsupport::MountedTempFolder folder("velmora_item_gfx");
    static bool written = [] {
        testsupport::WriteNativeFile(folder.path, "panel.asm", kPanel, std::strlen(kPanel));
        return true;
    }();
    (void)written;
    return folder.path;
}

TEST_F(PlayerGfx, AnItemDrawsItsModelAtItsShapesPlace) {
    ASSERT_FALSE(PanelFolder().empty());
    resources.RegisterType<MeshASM>("asm");
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("Item = { model = panel.asm; texture = resources/textures/item_medkit.dds; "
                  "PhysicsStaticGeometry = { hull = { {-10,-10} {10,-10} {10,10} {-10,10} "
                  "} } }"));
    Item item;
    item.Load(doc.FindChild("Item"), &resources);
    ASSERT_TRUE(item.model.IsValid());
    ASSERT_TRUE(item.texture.IsValid());
    ASSERT_TRUE(item.shader.IsValid());
    auto draw = [&] {
        glClearColor(128.0f / 255.0f, 128.0f / 255.0f, 128.0f / 255.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        item.Render(&queue);
        glFinish();
        return LitOf(Read());
    };
    const Lit centre = draw();
    EXPECT_GT(centre.count, 100);
    EXPECT_NEAR(centre.mean_x, Read().width / 2.0f, 3.0f);
    item.geometry.body.position = HVector2(30.0f, 0.0f);
    const Lit right = draw();
    EXPECT_GT(right.count, 100);
    EXPECT_GT(right.mean_x, centre.mean_x + 10.0f);
    // Seen from behind, the culled back shows nothing.
    glLoadIdentity();
    gluLookAt(0.0, 130.0, 45.0, 0.0, 0.0, 40.0, 0.0, 0.0, 1.0);
    EXPECT_EQ(draw().count, 0);
}

}  // namespace
