// The character base: loading a figure's parts in order, its animations, the body's set-up
// at Bind, pausing, the view box and the pose that stands still out of view.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "enemytest.h"
#include "game/characterentity.h"
#include "physics/collisionmanager.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "world/worldloading.h"

namespace {

using enemytest::RecordingShader;
using enemytest::RecordingTexture;

std::vector<std::string>& Screens() {
    static std::vector<std::string> screens;
    return screens;
}
void RecordScreen(const std::string& text, bool clear) {
    Screens().push_back(text + (clear ? " (clear)" : ""));
}

const char* kPatrol =
    "Enemy = { texture = resources/textures/polic.dds; shader = "
    "resources/shaders/quat_skinned_geometry.cg; mesh = resources/models/polic.aam; "
    "ani_idle = animations/polic_idle.cfo; ani_walk = animations/polic_walk.cfo; "
    "ani_run = animations/polic_run.cfo; ani_attack = animations/polic_attack.cfo; "
    "PhysicsCharacter = { radius = 100; pos = 10,20; } }";

class CharacterTest : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        ASSERT_TRUE(enemytest::MountData());
        SetWorldLoadingHook(&RecordScreen);
        Screens().clear();
        RecordingTexture::Fetched().clear();
        resources.RegisterType<RecordingTexture>("dds");
        resources.RegisterType<RecordingShader>("cg");
    }
    void TearDown() override { SetWorldLoadingHook(nullptr); }

    void LoadPatrol(CharacterEntity& character) {
        CfoDocument document;
        ASSERT_TRUE(document.Parse(kPatrol));
        character.LoadCharacter(document.FindChild("Enemy"), &resources);
    }

    ResourceManager resources;
};

TEST_F(CharacterTest, ConstructedWithDefaults) {
    CharacterEntity character;
    EXPECT_FLOAT_EQ(character.health, 100.0f);
    EXPECT_FALSE(character.inView);
    EXPECT_TRUE(character.animations.empty());
    EXPECT_EQ(character.GetAnimation(0), nullptr);
    EXPECT_TRUE(character.physics.body.vertices.empty());
}

TEST_F(CharacterTest, LoadCharacterReadsEverythingInOrder) {
    CharacterEntity character;
    LoadPatrol(character);
    EXPECT_EQ(Screens(), (std::vector<std::string>{"Loading enemy... (clear)"}));
    EXPECT_EQ(RecordingTexture::Fetched(),
              (std::vector<std::string>{"resources/textures/polic.dds",
                                        "resources/textures/character_shadow.dds",
                                        "resources/shaders/quat_skinned_geometry.cg"}));
    EXPECT_TRUE(character.texture.IsValid());
    EXPECT_EQ(character.texture->filename, "resources/textures/polic.dds");
    EXPECT_EQ(character.shadowTexture->filename, "resources/textures/character_shadow.dds");
    EXPECT_TRUE(character.shader.IsValid());
    // The body from the "PhysicsCharacter" child: six corners, 50 from the centre, the first
    // on top.
    EXPECT_FLOAT_EQ(character.physics.GetPosition().x, 10.0f);
    EXPECT_FLOAT_EQ(character.physics.GetPosition().y, 20.0f);
    ASSERT_EQ(character.physics.body.vertices.size(), 6u);
    EXPECT_NEAR(character.physics.body.vertices[0].y, 50.0f, 1e-4f);
    // The patrol's skeleton of 21 bones, rooted at "Sakne".
    ASSERT_EQ(character.mesh.bones.size(), 21u);
    EXPECT_EQ(character.RootBone(), 0);
    EXPECT_EQ(character.mesh.bones[0].name, "Sakne");
    // Four animations, each bound to that skeleton.
    ASSERT_EQ(character.animations.size(), 4u);
    for (int index = 0; index < 4; ++index) {
        Animation* animation = character.GetAnimation(index);
        ASSERT_NE(animation, nullptr) << index;
        EXPECT_FALSE(animation->track_map.empty()) << index;
        EXPECT_GT(animation->Length(), 0) << index;
    }
    EXPECT_EQ(character.GetAnimation(4), nullptr);
    EXPECT_EQ(character.GetAnimation(-1), nullptr);
}

TEST_F(CharacterTest, NullNodeAndMissingKeys) {
    CharacterEntity character;
    character.LoadCharacter(nullptr, &resources);
    EXPECT_TRUE(Screens().empty());
    EXPECT_TRUE(RecordingTexture::Fetched().empty());

    // Only the shadow is fixed; the rest stays empty without keys, and no resource
    // manager fetches nothing at all.
    CfoDocument document;
    ASSERT_TRUE(document.Parse("Enemy = { x = 1; }"));
    character.LoadCharacter(document.FindChild("Enemy"), &resources);
    EXPECT_EQ(RecordingTexture::Fetched(),
              (std::vector<std::string>{"resources/textures/character_shadow.dds"}));
    EXPECT_FALSE(character.texture.IsValid());
    EXPECT_FALSE(character.shader.IsValid());
    EXPECT_TRUE(character.mesh.bones.empty());
    EXPECT_TRUE(character.animations.empty());
    CharacterEntity other;
    other.LoadCharacter(document.FindChild("Enemy"), nullptr);
    EXPECT_FALSE(other.shadowTexture.IsValid());
}

TEST_F(CharacterTest, FailedAnimationIsSkipped) {
    CharacterEntity character;
    LoadPatrol(character);
    testing::internal::CaptureStdout();
    character.AddAnimation("animations/no_such_file.cfo", 2);
    character.AddAnimation("animations/other_missing.cfo", 7);
    testing::internal::GetCapturedStdout();
    // Index 2 keeps the run; nothing enters under 7; playing 7 plays nothing.
    EXPECT_NE(character.GetAnimation(2), nullptr);
    EXPECT_EQ(character.GetAnimation(7), nullptr);
    EXPECT_EQ(character.animations.size(), 4u);
    character.PlayAnimation(7, 0.5f, 80.0f, 0);
    EXPECT_FALSE(character.animator.channels[0].active);
}

TEST_F(CharacterTest, AddAnimationOverAnIndexReplacesIt) {
    CharacterEntity character;
    LoadPatrol(character);
    character.PlayAnimation(1, 0.0f, 80.0f, 0);
    Animation* walk = character.GetAnimation(1);
    ASSERT_EQ(character.animator.channels[0].animation, walk);
    character.AddAnimation("animations/polic_run.cfo", 1);
    EXPECT_NE(character.GetAnimation(1), walk);
    EXPECT_EQ(character.animations.size(), 4u);
    // The channel no longer points at the animation that went.
    EXPECT_EQ(character.animator.channels[0].animation, nullptr);
}

TEST_F(CharacterTest, BindScalesAfterPrepareAndStartsTheIdle) {
    CharacterEntity character;
    LoadPatrol(character);
    character.Bind(nullptr, nullptr, nullptr);
    // Prepare read the circle before the scaling: radius 50 from the document's 100.
    EXPECT_FLOAT_EQ(character.physics.GetBoundingCircle().radius, 50.0f);
    // The hull now has an extent of 30: corners 15 from the centre, the top one at (0, 15).
    HVector2 mn, mx;
    character.physics.body.GetExtents(mn, mx);
    EXPECT_NEAR(std::max(mx.x - mn.x, mx.y - mn.y), 30.0f, 1e-4f);
    EXPECT_NEAR(character.physics.body.vertices[0].x, 0.0f, 1e-4f);
    EXPECT_NEAR(character.physics.body.vertices[0].y, 15.0f, 1e-4f);
    EXPECT_FLOAT_EQ(character.physics.stopDistance, 5.0f);
    EXPECT_FLOAT_EQ(character.physics.approachGain, 10.0f);
    EXPECT_FLOAT_EQ(character.physics.body.invMass, 1.0f);
    const AnimationChannel& channel = character.animator.channels[0];
    EXPECT_EQ(channel.root_bone, 0);
    EXPECT_FLOAT_EQ(channel.weight, 1.0f);
    EXPECT_EQ(channel.animation, character.GetAnimation(0));
    EXPECT_FLOAT_EQ(channel.fade, 0.5f);
    EXPECT_FLOAT_EQ(channel.speed, 80.0f);
    EXPECT_TRUE(channel.active);
    EXPECT_EQ(channel.state, Animator::STATE_FADING);
}

TEST_F(CharacterTest, SetPausedTakesTheBodyOutOfThePairTests) {
    // Two characters on top of each other: apart after a step, unless one is paused.
    for (bool pause : {false, true}) {
        EventManager events;
        CollisionManager manager;
        manager.SetEventManager(&events);
        CharacterEntity a, b;
        for (CharacterEntity* c : {&a, &b}) {
            c->physics.body.MakeCircle(1.0f, 6);
            c->physics.ScaleHull(60.0f);
            c->Bind(nullptr, nullptr, nullptr);
            c->physics.SetEntity(c);
            manager.AddObject(&c->physics);
        }
        b.physics.SetPosition(HVector2(10.0f, 0.0f));
        a.SetPaused(pause);
        EXPECT_EQ(a.physics.IsDisabled(), pause);
        EXPECT_EQ(a.IsPaused(), pause);
        manager.Step(0.01f, 0.01f);
        if (pause) {
            EXPECT_FLOAT_EQ(a.physics.GetPosition().x, 0.0f);
            EXPECT_FLOAT_EQ(b.physics.GetPosition().x, 10.0f);
            EXPECT_EQ(events.NextCount(), 0u);
        } else {
            EXPECT_LT(a.physics.GetPosition().x, 0.0f);
            EXPECT_GT(b.physics.GetPosition().x, 10.0f);
            EXPECT_EQ(events.NextCount(), 2u);
        }
        a.SetPaused(false);
        EXPECT_FALSE(a.physics.IsDisabled());
    }
}

TEST_F(CharacterTest, UpdateMeshSetsTheViewBox) {
    CharacterEntity character;
    character.physics.body.MakeCircle(1.0f, 6);
    character.physics.ScaleHull(40.0f);
    character.physics.Prepare();  // radius 20
    character.physics.SetPosition(HVector2(100.0f, -50.0f));
    character.UpdateMesh(1.0f);
    const HVector3& mn = character.boundingBox.GetMinimum();
    const HVector3& mx = character.boundingBox.GetMaximum();
    EXPECT_NEAR(mn.x, 80.0f, 1e-4f);
    EXPECT_NEAR(mn.y, -70.0f, 1e-4f);
    EXPECT_FLOAT_EQ(mn.z, 0.0f);
    EXPECT_NEAR(mx.x, 120.0f, 1e-4f);
    EXPECT_NEAR(mx.y, -30.0f, 1e-4f);
    EXPECT_FLOAT_EQ(mx.z, 100.0f);
}

TEST_F(CharacterTest, OutOfViewThePoseStandsStill) {
    CharacterEntity character;
    LoadPatrol(character);
    character.Bind(nullptr, nullptr, nullptr);
    character.PlayAnimation(1, 0.0f, 80.0f, 0);

    // The render pass with a camera that sees nothing culls the character and draws
    // nothing, so it runs without a window.
    Camera blind;
    for (int p = 0; p < 6; ++p) {
        blind.frustum[p][0] = blind.frustum[p][1] = blind.frustum[p][2] = 0.0f;
        blind.frustum[p][3] = -1.0f;
    }
    blind.position = HVector3(1e6f, 1e6f, 1e6f);
    RenderQueue queue;
    queue.camera = &blind;
    character.UpdateMesh(0.5f);
    character.Render(&queue);
    EXPECT_FALSE(character.inView);

    HQuaternion before[MeshAAM::kMaxBones];
    std::memcpy(before, character.mesh.bone_rotations, sizeof(before));
    const float last = character.animator.last_update;
    for (float t = 0.6f; t < 2.0f; t += 0.1f) character.UpdateMesh(t);
    EXPECT_EQ(character.animator.last_update, last);
    EXPECT_EQ(std::memcmp(before, character.mesh.bone_rotations, sizeof(before)), 0);

    // Back in view (as the next Render would find it), the pose moves on.
    character.inView = true;
    character.UpdateMesh(2.0f);
    EXPECT_FLOAT_EQ(character.animator.last_update, 2.0f);
    EXPECT_NE(std::memcmp(before, character.mesh.bone_rotations, sizeof(before)), 0);
}

}  // namespace
