// The Scene entity without a window: its defaults and document keys, Bind, the frame
// update with the sky and the three camera modes, input (F1, F9, backslash, flight keys,
// mouse look), pausing and the camera mode event. Drawing is in tests/scene_gfx.

#include <cstring>
#include <string>
#include <vector>

#include "math/hmath.h"
#include "physics/collisionmanager.h"
#include "scene/scene.h"
#include "scene_fixture.h"

using namespace scenetest;

namespace {

std::vector<std::string>& Loaded() {
    static std::vector<std::string> names;
    return names;
}

// Resources that load without GL or files, and note the names asked for.
class FakeTexture : public TextureDDS {
public:
    bool Load(std::string file) override {
        Loaded().push_back(file);
        filename = file;
        return true;
    }
};

class FakeMesh : public MeshASM {
public:
    bool Load(std::string file) override {
        Loaded().push_back(file);
        return true;
    }
};

Sdl12Event Motion(int16_t xrel, int16_t yrel) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.motion.type = SDL12_MOUSEMOTION;
    e.motion.xrel = xrel;
    e.motion.yrel = yrel;
    return e;
}

void Press(Scene& scene, int32_t sym) {
    InputEvent e(Key(SDL12_KEYDOWN, sym));
    EXPECT_TRUE(scene.OnInput(&e));
}

void Release(Scene& scene, int32_t sym) {
    InputEvent e(Key(SDL12_KEYUP, sym));
    EXPECT_TRUE(scene.OnInput(&e));
}

void Move(Scene& scene, int16_t xrel, int16_t yrel) {
    InputEvent e(Motion(xrel, yrel), HVector2(10.0f, 20.0f));
    EXPECT_TRUE(scene.OnInput(&e));
}

void Frame(Scene& scene, float dt, float time, SceneManager* manager = nullptr) {
    FrameEvent e(dt, time, manager, nullptr);
    EXPECT_TRUE(scene.OnFrame(&e));
}

void ExpectVector(const HVector3& v, float x, float y, float z, float tol = 0.0f) {
    EXPECT_NEAR(v.x, x, tol);
    EXPECT_NEAR(v.y, y, tol);
    EXPECT_NEAR(v.z, z, tol);
}

const char* const kRule = "====================================================\n";

class SceneEntityTest : public SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        sm.GetClasses()->Register<Scene>();
        Loaded().clear();
    }

    // Builds "SceneManager={ <inner> }" with fake texture and mesh loaders; the lines of
    // loading are dropped.
    Scene* BuildScene(const std::string& inner, bool bind = true) {
        sm.resources.RegisterType<FakeTexture>("dds");
        sm.resources.RegisterType<FakeMesh>("asm");
        testing::internal::CaptureStdout();
        Build("SceneManager={ " + inner + " }", bind);
        FlushedStdout();
        return dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    }
};

}  // namespace

TEST(SceneDefaults, EveryFieldStartsAtItsDefault) {
    Scene scene;
    EXPECT_EQ(scene.GetTypeName(), "Scene");
    EXPECT_NE(scene.GetTypeId(), 0u);
    EXPECT_FALSE(scene.sky_texture.IsValid());
    EXPECT_FALSE(scene.sky_mesh.IsValid());
    EXPECT_EQ(scene.sky_angle, 0.0f);
    EXPECT_EQ(scene.sky_speed, 1.0f);
    EXPECT_EQ(scene.path_start_time, 0.0f);
    EXPECT_EQ(scene.time, 0.0f);
    EXPECT_EQ(scene.camera.angle_x, 0.0f);
    EXPECT_EQ(scene.camera.angle_y, 0.0f);
    EXPECT_EQ(scene.camera.fov, 90.0f);
    ExpectVector(scene.fixed_position, 0.0f, 0.0f, 0.0f);
    ExpectVector(scene.fixed_target, 0.0f, 200.0f, 0.0f);
    ExpectVector(scene.fixed_up, 0.0f, 0.0f, 1.0f);
    EXPECT_EQ(scene.fixed_fov, 90.0f);
    EXPECT_EQ(scene.camera_mode, 2);
    EXPECT_FALSE(scene.fly_forward);
    EXPECT_FALSE(scene.fly_back);
    EXPECT_FALSE(scene.fly_left);
    EXPECT_FALSE(scene.fly_right);
    EXPECT_FALSE(scene.fly_up);
    EXPECT_FALSE(scene.fly_down);
    EXPECT_EQ(scene.frame_dt, 0.0f);
    EXPECT_EQ(scene.fly_speed, 100.0f);
    EXPECT_EQ(scene.look_speed, 10.0f);
    EXPECT_EQ(scene.collision, nullptr);
    EXPECT_EQ(scene.max_size.x, 0.0f);
    EXPECT_EQ(scene.max_size.y, 0.0f);
    EXPECT_TRUE(scene.visible);
    EXPECT_FALSE(scene.paused);
}

TEST(SceneDeathTest, LoadOfANullNodeIsAnAssertion) {
    EXPECT_DEATH(
        {
            Scene scene;
            scene.Load(nullptr, nullptr);
        },
        "node");
}

TEST_F(SceneEntityTest, TheRegistryMakesAScene) {
    Entity* made = sm.GetClasses()->Create("Scene");
    ASSERT_NE(dynamic_cast<Scene*>(made), nullptr);
    delete made;
}

TEST_F(SceneEntityTest, LoadReadsEveryKey) {
    Scene* scene = BuildScene(
        "Scene={ name=game_scene; z_index=-5; visible=0; sky_texture=sky/clouds.dds; "
        "sky_mesh=sky/dome.asm; max_size=3000,2000; camera_pos=1,2,3; camera_target=4,5,6; "
        "camera_up=0,1,0; camera_fov=60; }",
        false);
    ASSERT_NE(scene, nullptr);
    // The cursor of the SceneManager, then the default sky, its replacement and the mesh.
    const std::vector<std::string> expect = {"resources/textures/gui/cursor.dds",
                                             "system/white.dds", "sky/clouds.dds", "sky/dome.asm"};
    EXPECT_EQ(Loaded(), expect);
    ASSERT_TRUE(scene->sky_texture.IsValid());
    EXPECT_EQ(scene->sky_texture->name, "sky/clouds.dds");
    ASSERT_TRUE(scene->sky_mesh.IsValid());
    EXPECT_EQ(scene->sky_mesh->name, "sky/dome.asm");
    // The default texture was given back when the other replaced it.
    EXPECT_EQ(sm.resources.Find("system/white.dds"), nullptr);
    EXPECT_EQ(scene->max_size.x, 3000.0f);
    EXPECT_EQ(scene->max_size.y, 2000.0f);
    EXPECT_EQ(scene->GetName(), "game_scene");
    EXPECT_EQ(scene->z_index, -5.0f);
    EXPECT_FALSE(scene->visible);
    ExpectVector(scene->fixed_position, 1.0f, 2.0f, 3.0f);
    ExpectVector(scene->fixed_target, 4.0f, 5.0f, 6.0f);
    ExpectVector(scene->fixed_up, 0.0f, 1.0f, 0.0f);
    EXPECT_EQ(scene->fixed_fov, 60.0f);
    // Load reads the document only: the camera takes the fixed values in the frame.
    ExpectVector(scene->camera.position, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(scene->camera_mode, 2);
}

TEST_F(SceneEntityTest, WithoutKeysTheSkyIsWhiteAndTheDefaultsStay) {
    Scene* scene = BuildScene("Scene={ name=game_scene; }", false);
    ASSERT_NE(scene, nullptr);
    const std::vector<std::string> expect = {"resources/textures/gui/cursor.dds",
                                             "system/white.dds"};
    EXPECT_EQ(Loaded(), expect);
    ASSERT_TRUE(scene->sky_texture.IsValid());
    EXPECT_EQ(scene->sky_texture->name, "system/white.dds");
    EXPECT_FALSE(scene->sky_mesh.IsValid());
    EXPECT_EQ(scene->max_size.x, 0.0f);
    EXPECT_EQ(scene->max_size.y, 0.0f);
    ExpectVector(scene->fixed_position, 0.0f, 0.0f, 0.0f);
    ExpectVector(scene->fixed_target, 0.0f, 200.0f, 0.0f);
    ExpectVector(scene->fixed_up, 0.0f, 0.0f, 1.0f);
    EXPECT_EQ(scene->fixed_fov, 90.0f);
}

TEST_F(SceneEntityTest, AMissingSkyLeavesTheHandleEmptyWithTheManagersLine) {
    Scene scene;
    ResourceManager resources;  // no loaders at all
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("Scene={ sky_mesh=sky/dome.asm; }"));
    testing::internal::CaptureStdout();
    scene.Load(doc.FindChild("Scene"), &resources);
    EXPECT_EQ(FlushedStdout(),
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'asm'\n"
              // The rain (on by default) asks for its program and its sprite.
              "Could not find resource constructor associated with 'cg'\n"
              "Could not find resource constructor associated with 'dds'\n"
              "CFO Document 'animations/cam2.cfo' not found\n"
              "Camera path 'animations/cam2.cfo' not loaded\n");
    EXPECT_FALSE(scene.sky_texture.IsValid());
    EXPECT_FALSE(scene.sky_mesh.IsValid());
}

TEST(SceneBind, PitchesTheCameraKeepsTheCollisionManagerAndSubscribesInOrder) {
    EventManager events;
    CollisionManager collision;
    Scene scene;
    scene.max_size = HVector2(3000.0f, 4000.0f);
    scene.Bind(&events, nullptr, &collision);

    EXPECT_EQ(scene.camera.angle_x, 60.0f);
    EXPECT_EQ(scene.camera.angle_y, 0.0f);
    EXPECT_EQ(scene.collision, &collision);
    // The world's extent becomes the root rectangle of the spatial tree.
    EXPECT_EQ(collision.tree->centre.x, 0.0f);
    EXPECT_EQ(collision.tree->centre.y, 0.0f);
    EXPECT_EQ(collision.tree->size.x, 3000.0f);
    EXPECT_EQ(collision.tree->size.y, 4000.0f);
    EXPECT_EQ(scene.event_manager, &events);

    ASSERT_EQ(events.handlers.size(), 4u);
    EXPECT_EQ(events.handlers[0]->GetEventTypeName(), "FrameEvent");
    EXPECT_EQ(events.handlers[1]->GetEventTypeName(), "InputEvent");
    EXPECT_EQ(events.handlers[2]->GetEventTypeName(), "ResumeGameEvent");
    EXPECT_EQ(events.handlers[3]->GetEventTypeName(), "CameraModeEvent");
    for (EventHandler* h : events.handlers) EXPECT_TRUE(h->IsOwner(&scene));
}

TEST(SceneFrame, TimeDtAndTheSkyAngle) {
    Scene scene;
    Frame(scene, 0.25f, 7.5f);
    EXPECT_EQ(scene.time, 7.5f);
    EXPECT_EQ(scene.frame_dt, 0.25f);
    EXPECT_EQ(scene.sky_angle, 0.25f);
    scene.sky_speed = 4.0f;
    Frame(scene, 0.5f, 8.0f);
    EXPECT_EQ(scene.sky_angle, 2.25f);
}

TEST(SceneFrame, SkyAngleJustOver360ReturnsToExactlyZero) {
    Scene scene;
    scene.sky_angle = 359.75f;
    Frame(scene, 0.5f, 1.0f);  // 360.25
    EXPECT_EQ(scene.sky_angle, 0.0f);

    // 360 itself is not above 360 and stays.
    scene.sky_angle = 359.5f;
    Frame(scene, 0.5f, 2.0f);
    EXPECT_EQ(scene.sky_angle, 360.0f);
    Frame(scene, 0.001f, 3.0f);
    EXPECT_EQ(scene.sky_angle, 0.0f);
}

TEST(SceneFrame, TheSkyTurnsWhilePaused) {
    Scene scene;
    scene.SetPaused(true);
    Frame(scene, 2.0f, 1.0f);
    EXPECT_EQ(scene.sky_angle, 2.0f);
}

TEST_F(SceneEntityTest, WithoutRainTheQueueHoldsExactlyTheScene) {
    r_particle_rain = false;  // the game's default is on; SetUp puts it back
    Scene scene;
    Frame(scene, 0.1f, 1.0f, &sm);
    ASSERT_EQ(sm.render_queue.Size(), 1u);
    EXPECT_EQ(sm.render_queue.entities.front(), &scene);
    sm.render_queue.Clear();

    scene.SetVisible(false);
    Frame(scene, 0.1f, 1.1f, &sm);
    EXPECT_EQ(sm.render_queue.Size(), 0u);
}

TEST_F(SceneEntityTest, ThroughTheLoopTheSceneQueuesAfterTheManager) {
    Scene* scene = BuildScene("Scene={ name=game_scene; }");
    ASSERT_NE(scene, nullptr);
    sm.Post(new FrameEvent(0.1f, 1.0f, &sm, nullptr));
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    EXPECT_EQ(sm.render_queue.Size(), 0u);
    ASSERT_TRUE(sm.UpdateAt(1.1f));
    const std::list<Entity*> expect = {&sm, scene};
    EXPECT_EQ(sm.render_queue.entities, expect);
    EXPECT_EQ(scene->time, 1.0f);
    EXPECT_EQ(scene->camera.angle_x, 60.0f);
    sm.render_queue.Clear();  // no GL here to draw with
}

TEST(SceneFrame, FixedModeCopiesTheFixedValues) {
    Scene scene;
    scene.fixed_position = HVector3(1.0f, 2.0f, 3.0f);
    scene.fixed_target = HVector3(4.0f, 5.0f, 6.0f);
    scene.fixed_up = HVector3(0.0f, 1.0f, 0.0f);
    scene.fixed_fov = 45.0f;
    Frame(scene, 0.1f, 1.0f);
    ExpectVector(scene.camera.position, 1.0f, 2.0f, 3.0f);
    ExpectVector(scene.camera.target, 4.0f, 5.0f, 6.0f);
    ExpectVector(scene.camera.up, 0.0f, 1.0f, 0.0f);
    EXPECT_EQ(scene.camera.fov, 45.0f);

    // Paused or not: the fixed view holds.
    scene.SetPaused(true);
    scene.camera.position = HVector3(9.0f, 9.0f, 9.0f);
    Frame(scene, 0.1f, 1.1f);
    ExpectVector(scene.camera.position, 1.0f, 2.0f, 3.0f);
}

TEST(SceneFrame, FollowModeLeavesTheCameraAlone) {
    Scene scene;
    scene.camera_mode = 0;
    scene.camera.position = HVector3(7.0f, 8.0f, 9.0f);
    scene.camera.target = HVector3(1.0f, 1.0f, 1.0f);
    scene.camera.up = HVector3(1.0f, 0.0f, 0.0f);
    scene.camera.fov = 30.0f;
    scene.fly_forward = true;
    Frame(scene, 0.5f, 1.0f);
    ExpectVector(scene.camera.position, 7.0f, 8.0f, 9.0f);
    ExpectVector(scene.camera.target, 1.0f, 1.0f, 1.0f);
    ExpectVector(scene.camera.up, 1.0f, 0.0f, 0.0f);
    EXPECT_EQ(scene.camera.fov, 30.0f);
}

TEST(SceneCamera, UpdateCameraSetsRotationTargetAndUp) {
    Scene scene;
    scene.camera.position = HVector3(1.0f, 2.0f, 3.0f);
    scene.UpdateCamera();
    // No angles: the eye looks down −z with y up.
    ExpectVector(scene.camera.target, 1.0f, 2.0f, 2.0f);
    ExpectVector(scene.camera.up, 0.0f, 1.0f, 0.0f);

    // Pitched up by 90 degrees the eye looks along +y with z up.
    scene.camera.angle_x = 90.0f;
    scene.UpdateCamera();
    ExpectVector(scene.camera.target, 1.0f, 3.0f, 3.0f, 1e-6f);
    ExpectVector(scene.camera.up, 0.0f, 0.0f, 1.0f, 1e-6f);

    // Then turned by 90 degrees about z: along −x.
    scene.camera.angle_y = 90.0f;
    scene.UpdateCamera();
    ExpectVector(scene.camera.target, 0.0f, 2.0f, 3.0f, 1e-6f);
    ExpectVector(scene.camera.up, 0.0f, 0.0f, 1.0f, 1e-6f);

    const HQuaternion yaw(90.0f * HMath::fDeg2Rad, HVector3(0.0f, 0.0f, 1.0f));
    const HQuaternion pitch(90.0f * HMath::fDeg2Rad, HVector3(1.0f, 0.0f, 0.0f));
    const HQuaternion expect = yaw * pitch;
    EXPECT_EQ(scene.camera.rotation.w, expect.w);
    EXPECT_EQ(scene.camera.rotation.x, expect.x);
    EXPECT_EQ(scene.camera.rotation.y, expect.y);
    EXPECT_EQ(scene.camera.rotation.z, expect.z);
}

TEST(SceneInput, F1CyclesTheModesTwoZeroOneTwo) {
    Scene scene;
    scene.camera.angle_x = 12.0f;
    scene.camera.angle_y = 34.0f;
    testing::internal::CaptureStdout();

    Press(scene, Scene::KEY_F1);
    EXPECT_EQ(scene.camera_mode, 0);
    EXPECT_EQ(scene.camera.angle_x, 60.0f);  // entering follow
    EXPECT_EQ(scene.camera.angle_y, 34.0f);

    Press(scene, Scene::KEY_F1);
    EXPECT_EQ(scene.camera_mode, 1);
    EXPECT_EQ(scene.camera.angle_x, 0.0f);  // entering free flight
    EXPECT_EQ(scene.camera.angle_y, 0.0f);

    scene.camera.angle_x = 5.0f;
    Press(scene, Scene::KEY_F1);
    EXPECT_EQ(scene.camera_mode, 2);
    EXPECT_EQ(scene.camera.angle_x, 5.0f);  // entering fixed touches no angle

    Release(scene, Scene::KEY_F1);  // only key down counts
    EXPECT_EQ(scene.camera_mode, 2);
    EXPECT_EQ(FlushedStdout(),
              "Camera mode changed: 0\nCamera mode changed: 1\nCamera mode changed: 2\n");
}

TEST(SceneInput, WhilePausedF1DoesNothingAndTheMouseMovesNoCamera) {
    Scene scene;
    scene.camera_mode = 1;
    Frame(scene, 0.5f, 1.0f);
    scene.camera.angle_x = 3.0f;
    scene.camera.angle_y = 4.0f;
    scene.SetPaused(true);

    testing::internal::CaptureStdout();
    Press(scene, Scene::KEY_F1);
    Move(scene, 10, -20);
    Press(scene, Scene::KEY_UP);
    Press(scene, Scene::KEY_F9);
    EXPECT_EQ(FlushedStdout(), "");
    EXPECT_EQ(scene.camera_mode, 1);
    EXPECT_EQ(scene.camera.angle_x, 3.0f);
    EXPECT_EQ(scene.camera.angle_y, 4.0f);
    EXPECT_FALSE(scene.fly_forward);

    // A held key does not fly a paused camera either.
    scene.fly_forward = true;
    scene.camera.position = HVector3(1.0f, 2.0f, 3.0f);
    Frame(scene, 0.5f, 1.5f);
    ExpectVector(scene.camera.position, 1.0f, 2.0f, 3.0f);
}

TEST(SceneInput, F9PrintsTheHandlerDumpBetweenTwoRules) {
    CollisionManager collision;
    testing::internal::CaptureStdout();
    collision.DumpHandlers();
    const std::string dump = FlushedStdout();
    ASSERT_EQ(dump.rfind("----------map\n", 0), 0u);

    EventManager events;
    Scene scene;
    scene.Bind(&events, nullptr, &collision);
    testing::internal::CaptureStdout();
    Press(scene, Scene::KEY_F9);
    Release(scene, Scene::KEY_F9);
    EXPECT_EQ(FlushedStdout(), std::string(kRule) + dump + kRule);
}

TEST(SceneInput, BackslashMarksThePathStart) {
    Scene scene;
    Frame(scene, 0.1f, 12.5f);
    Press(scene, Scene::KEY_BACKSLASH);
    EXPECT_EQ(scene.path_start_time, 12.5f);
    Frame(scene, 0.1f, 13.0f);
    Release(scene, Scene::KEY_BACKSLASH);
    EXPECT_EQ(scene.path_start_time, 12.5f);
}

TEST(SceneInput, FlightKeysSetAndClearTheirFlagsInModeOneOnly) {
    Scene scene;
    const int32_t keys[6] = {Scene::KEY_UP,    Scene::KEY_DOWN,   Scene::KEY_LEFT,
                             Scene::KEY_RIGHT, Scene::KEY_PAGEUP, Scene::KEY_PAGEDOWN};
    bool* flags[6] = {&scene.fly_forward, &scene.fly_back, &scene.fly_left,
                      &scene.fly_right,   &scene.fly_up,   &scene.fly_down};

    for (int32_t mode : {0, 2}) {
        scene.camera_mode = mode;
        for (int32_t key : keys) Press(scene, key);
        for (bool* flag : flags) EXPECT_FALSE(*flag) << mode;
    }

    scene.camera_mode = 1;
    for (int i = 0; i < 6; ++i) {
        Press(scene, keys[i]);
        for (int j = 0; j < 6; ++j) EXPECT_EQ(*flags[j], j <= i) << i << " " << j;
    }
    // Outside mode 1 a key up clears nothing.
    scene.camera_mode = 2;
    Release(scene, Scene::KEY_UP);
    EXPECT_TRUE(scene.fly_forward);
    scene.camera_mode = 1;
    for (int i = 0; i < 6; ++i) {
        Release(scene, keys[i]);
        for (int j = 0; j < 6; ++j) EXPECT_EQ(*flags[j], j > i) << i << " " << j;
    }
}

TEST(SceneFrame, EachFlightKeyMovesAlongItsAxisByDtTimesFlySpeed) {
    struct Case {
        int32_t key;
        float x, y, z;
    };
    // Without angles the rotation is the identity: x right, y up, z back.
    const Case cases[6] = {
        {Scene::KEY_UP, 0.0f, 0.0f, -50.0f},    {Scene::KEY_DOWN, 0.0f, 0.0f, 50.0f},
        {Scene::KEY_LEFT, -50.0f, 0.0f, 0.0f},  {Scene::KEY_RIGHT, 50.0f, 0.0f, 0.0f},
        {Scene::KEY_PAGEUP, 0.0f, 50.0f, 0.0f}, {Scene::KEY_PAGEDOWN, 0.0f, -50.0f, 0.0f},
    };
    for (const Case& c : cases) {
        Scene scene;
        scene.camera_mode = 1;
        scene.camera.fov = 30.0f;
        scene.camera.position = HVector3(0.0f, 0.0f, 0.0f);
        Press(scene, c.key);
        Frame(scene, 0.5f, 1.0f);
        ExpectVector(scene.camera.position, c.x, c.y, c.z);
        EXPECT_EQ(scene.camera.fov, 90.0f);
        // The target follows the new position: one unit ahead.
        ExpectVector(scene.camera.target, c.x, c.y, c.z - 1.0f);
        Release(scene, c.key);
        Frame(scene, 0.5f, 1.5f);
        ExpectVector(scene.camera.position, c.x, c.y, c.z);
    }
}

TEST(SceneFrame, FlightFollowsTheRotationOfTheLastFrame) {
    Scene scene;
    scene.camera_mode = 1;
    scene.camera.angle_x = 90.0f;  // looking along +y
    scene.UpdateCamera();
    scene.camera.position = HVector3(10.0f, 20.0f, 30.0f);
    scene.fly_speed = 40.0f;
    Press(scene, Scene::KEY_UP);
    Press(scene, Scene::KEY_PAGEUP);
    Frame(scene, 0.25f, 1.0f);
    // Forward is +y, up is +z, each 0.25 * 40 = 10 units.
    ExpectVector(scene.camera.position, 10.0f, 30.0f, 40.0f, 1e-5f);
    const HQuaternion& r = scene.camera.rotation;
    const HVector3 start(10.0f, 20.0f, 30.0f);
    const HVector3 expect = start - r.zAxis() * 10.0f + r.yAxis() * 10.0f;
    EXPECT_FLOAT_EQ(scene.camera.position.x, expect.x);
    EXPECT_FLOAT_EQ(scene.camera.position.y, expect.y);
    EXPECT_FLOAT_EQ(scene.camera.position.z, expect.z);
}

TEST(SceneInput, MouseLooksInModeOneOnly) {
    Scene scene;
    Frame(scene, 0.5f, 1.0f);
    Move(scene, 4, -2);  // mode 2
    EXPECT_EQ(scene.camera.angle_x, 0.0f);
    EXPECT_EQ(scene.camera.angle_y, 0.0f);
    scene.camera_mode = 0;
    Move(scene, 4, -2);
    EXPECT_EQ(scene.camera.angle_x, 0.0f);
    EXPECT_EQ(scene.camera.angle_y, 0.0f);

    scene.camera_mode = 1;
    Move(scene, 4, -2);
    EXPECT_EQ(scene.camera.angle_x, 10.0f);   // − (−2 · 0.5 · 10)
    EXPECT_EQ(scene.camera.angle_y, -20.0f);  // − (4 · 0.5 · 10)
    scene.look_speed = 1.0f;
    Move(scene, -6, 8);
    EXPECT_EQ(scene.camera.angle_x, 6.0f);
    EXPECT_EQ(scene.camera.angle_y, -17.0f);

    // Buttons turn nothing.
    Sdl12Event button;
    std::memset(&button, 0, sizeof(button));
    button.button.type = SDL12_MOUSEBUTTONDOWN;
    button.button.x = 100;
    InputEvent e(button);
    EXPECT_TRUE(scene.OnInput(&e));
    EXPECT_EQ(scene.camera.angle_x, 6.0f);
    EXPECT_EQ(scene.camera.angle_y, -17.0f);
}

TEST(SceneEvents, CameraModeEventMapsZeroOneTwoToOneTwoZero) {
    Scene scene;
    const int32_t expect[3] = {1, 2, 0};
    for (int32_t mode = 0; mode < 3; ++mode) {
        CameraModeEvent e(mode);
        EXPECT_TRUE(scene.OnCameraMode(&e));
        EXPECT_EQ(scene.camera_mode, expect[mode]) << mode;
    }
    CameraModeEvent odd(7);
    EXPECT_TRUE(scene.OnCameraMode(&odd));
    EXPECT_EQ(scene.camera_mode, 0);
}

TEST_F(SceneEntityTest, ResumeGameEventPausesTheSceneAndAllItsChildren) {
    Scene* scene = BuildScene(
        "Probe={ name=gui; } Scene={ name=game_scene; Probe={ name=a; Probe={ name=a1; } } "
        "Probe={ name=b; } }");
    ASSERT_NE(scene, nullptr);
    Probe* gui = Find("gui");
    ASSERT_NE(gui, nullptr);
    std::vector<Entity*> tree = {scene, Find("a"), Find("a1"), Find("b")};
    for (Entity* e : tree) ASSERT_NE(e, nullptr);

    sm.Post(new ResumeGameEvent(false));
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    ASSERT_TRUE(sm.UpdateAt(1.1f));
    for (Entity* e : tree) EXPECT_TRUE(e->IsPaused()) << e->GetName();
    EXPECT_FALSE(gui->IsPaused());  // outside the scene
    EXPECT_FALSE(sm.IsPaused());

    ResumeGameEvent resume(true);
    EXPECT_TRUE(scene->OnResumeGame(&resume));
    for (Entity* e : tree) EXPECT_FALSE(e->IsPaused()) << e->GetName();

    // Through the queue the camera mode event arrives too.
    sm.Post(new CameraModeEvent(0));
    ASSERT_TRUE(sm.UpdateAt(1.2f));
    ASSERT_TRUE(sm.UpdateAt(1.3f));
    EXPECT_EQ(scene->camera_mode, 1);
    sm.render_queue.Clear();
}
