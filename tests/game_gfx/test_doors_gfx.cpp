// Doors and switches drawn under Xvfb with the committed models: a door's model stands at its
// body's place and turns with it, a door without a model draws nothing, a switch shows the
// look of its state at its ray's origin, and the collision view gets filled polygons back.
// The window and its context are the program's one (test_patrol_gfx.cpp registers it).
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "game/doors.h"
#include "game/trigger.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "world/meshasm.h"

namespace {

// A side view from -y: world x to the right, world z up, over the given ranges.
struct SideView {
    float left, right, bottom, top;
};

class DoorsGfx : public testing::Test {
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
        resources.RegisterType<MeshASM>("asm");
        GLint viewport[4] = {0, 0, 0, 0};
        glGetIntegerv(GL_VIEWPORT, viewport);
        width = viewport[2];
        height = viewport[3];
        ASSERT_GT(width, 0);
        ASSERT_GT(height, 0);
    }
    void TearDown() override {
        glDisable(GL_FOG);
        glDisable(GL_CULL_FACE);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
        ResetSettings();
    }

    void Look(const SideView& v) {
        view = v;
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(v.left, v.right, v.bottom, v.top, -2000.0, 2000.0);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glRotatef(-90.0f, 1.0f, 0.0f, 0.0f);  // eye z is -y: farther along +y is deeper
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }

    // Whether the pixel at world (x, z) differs from the black clear colour.
    bool LitAt(float x, float z) {
        glFinish();
        const int px = int((x - view.left) / (view.right - view.left) * float(width));
        const int py = int((z - view.bottom) / (view.top - view.bottom) * float(height));
        unsigned char p[3] = {0, 0, 0};
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(px, py, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, p);
        return p[0] + p[1] + p[2] > 30;
    }

    int LitCount() {
        glFinish();
        std::vector<unsigned char> rgb(size_t(width) * size_t(height) * 3);
        glPixelStorei(GL_PACK_ALIGNMENT, 1);
        glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
        int count = 0;
        for (size_t i = 0; i < rgb.size(); i += 3)
            if (rgb[i] + rgb[i + 1] + rgb[i + 2] > 30) ++count;
        return count;
    }

    void LoadDoor(Doors& door, const std::string& text) {
        ASSERT_TRUE(document.Parse(text));
        testing::internal::CaptureStdout();
        door.Load(document.FindChild("Doors"), &resources);
        testing::internal::GetCapturedStdout();
    }

    ResourceManager resources;
    CfoDocument document;
    SideView view{};
    int width = 0, height = 0;
};

const char* kHingedDoor =
    "Doors = { type = rotate; model = resources/models/door_hinged.asm; "
    "texture = resources/textures/door_wood.dds; PhysicsCharacter = { pos = -100,0; } }";

const char* kSwitch =
    "Trigger = { open_model = resources/models/switch_on.asm; "
    "closed_model = resources/models/switch_off.asm; "
    "open_texture = resources/textures/switch_on.dds; "
    "closed_texture = resources/textures/switch_off.dds; "
    "PhysicsRayCast = { position = 20,0; direction = 0,-1; } }";

}  // namespace

TEST_F(DoorsGfx, TheDoorStandsAtItsBodysPlaceAndSwingsWithIt) {
    Doors door;
    LoadDoor(door, kHingedDoor);
    ASSERT_TRUE(door.model.IsValid());
    ASSERT_TRUE(door.texture.IsValid());
    ASSERT_TRUE(door.shader.IsValid());
    // Shut: the leaf runs from the hinge at x -100 to x 100, 260 high.
    Look({-150.0f, 150.0f, -20.0f, 280.0f});
    door.Render(nullptr);
    EXPECT_TRUE(LitAt(0.0f, 130.0f));
    EXPECT_TRUE(LitAt(-90.0f, 20.0f));
    EXPECT_TRUE(LitAt(90.0f, 240.0f));
    EXPECT_FALSE(LitAt(125.0f, 130.0f));
    EXPECT_FALSE(LitAt(0.0f, 272.0f));
    // Swung open a quarter turn the leaf points away from the eye: only its edge is left,
    // at the hinge.
    door.physics.body.orientation = 90.0f;
    Look({-150.0f, 150.0f, -20.0f, 280.0f});
    door.Render(nullptr);
    EXPECT_FALSE(LitAt(0.0f, 130.0f));
    EXPECT_FALSE(LitAt(-60.0f, 130.0f));
    EXPECT_TRUE(LitAt(-100.0f, 130.0f));
}

TEST_F(DoorsGfx, ADoorWithoutAModelDrawsNothing) {
    Doors door;
    LoadDoor(door, "Doors = { type = rotate; texture = resources/textures/door_wood.dds; }");
    EXPECT_FALSE(door.model.IsValid());
    Look({-150.0f, 150.0f, -20.0f, 280.0f});
    door.Render(nullptr);
    EXPECT_EQ(LitCount(), 0);
}

TEST_F(DoorsGfx, TheSwitchShowsTheLookOfItsStateAtItsRaysOrigin) {
    Trigger t;
    ASSERT_TRUE(document.Parse(kSwitch));
    testing::internal::CaptureStdout();
    t.Load(document.FindChild("Trigger"), &resources);
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(t.openModel.IsValid());
    ASSERT_TRUE(t.closedModel.IsValid());
    const SideView near{-30.0f, 70.0f, 0.0f, 120.0f};
    // Off and switching on: the lever lies down, nothing above the lid.
    for (int state : {Trigger::OFF, Trigger::SWITCHING_ON}) {
        t.state = state;
        Look(near);
        t.Render(nullptr);
        EXPECT_TRUE(LitAt(20.0f, 60.0f)) << state;   // the box
        EXPECT_TRUE(LitAt(20.0f, 20.0f)) << state;   // the post
        EXPECT_FALSE(LitAt(20.0f, 97.0f)) << state;  // no knob up there
        EXPECT_FALSE(LitAt(0.0f, 60.0f)) << state;   // beside the box
    }
    // On and switching off: the lever stands up with its knob.
    for (int state : {Trigger::ON, Trigger::SWITCHING_OFF}) {
        t.state = state;
        Look(near);
        t.Render(nullptr);
        EXPECT_TRUE(LitAt(20.0f, 60.0f)) << state;
        EXPECT_TRUE(LitAt(20.0f, 97.0f)) << state;
    }
}

TEST_F(DoorsGfx, TheCollisionViewGetsFilledPolygonsBack) {
    Doors door;
    LoadDoor(door, kHingedDoor);
    Trigger t;
    ASSERT_TRUE(document.Parse(kSwitch));
    testing::internal::CaptureStdout();
    t.Load(document.FindChild("Trigger"), &resources);
    testing::internal::GetCapturedStdout();
    r_debug_physics = true;
    Look({-150.0f, 150.0f, -20.0f, 280.0f});
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    door.Render(nullptr);
    GLint mode[2] = {0, 0};
    glGetIntegerv(GL_POLYGON_MODE, mode);
    EXPECT_EQ(mode[0], GL_FILL);
    EXPECT_FALSE(glIsEnabled(GL_FOG));
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    t.Render(nullptr);
    glGetIntegerv(GL_POLYGON_MODE, mode);
    EXPECT_EQ(mode[0], GL_FILL);
    // Without the collision view the switch leaves the polygon mode alone; it draws with
    // the depth test whatever came before.
    r_debug_physics = false;
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glDisable(GL_DEPTH_TEST);
    t.Render(nullptr);
    glGetIntegerv(GL_POLYGON_MODE, mode);
    EXPECT_EQ(mode[0], GL_LINE);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}
