// The hero: its load and bind, keys, stamina, mouse and orbit camera, the frame's events,
// the three collision tests, hurts, death and pickups, driven by direct handler calls on a
// bound Player; then scenarios through a real SceneManager, its event queue and its
// collision manager with scripted input.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "game/playertest.h"
#include "game/trigger.h"
#include "support/tempfolder.h"
#include "math/hmath.h"
#include "resources/resourcemanager.h"

using namespace playertest;

namespace {

constexpr int32_t kW = 119, kS = 115, kA = 97, kD = 100, kShift = 304, kF5 = 286;

class Hero : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        MountData();
        collisions.SetEventManager(&events);
        ASSERT_TRUE(doc.Parse(
            "Player = { name = main_player; PhysicsCharacter = { pos = 10,20; radius = 30; } }"));
        hero = std::make_unique<Player>();
        hero->Load(doc.FindChild("Player"), nullptr);
        hero->Bind(&events, nullptr, &collisions);
    }
    void TearDown() override {
        hero.reset();
        ResetSettings();
    }

    void Frame(float time, float dt) {
        FrameEvent e(dt, time, nullptr, nullptr);
        hero->OnFrame(&e);
    }
    void Key(uint8_t type, int32_t sym) {
        std::unique_ptr<InputEvent> e(KeyEvent(type, sym));
        hero->OnInput(e.get());
    }
    void Down(int32_t sym) { Key(SDL12_KEYDOWN, sym); }
    void Up(int32_t sym) { Key(SDL12_KEYUP, sym); }
    void Move(int16_t dx, int16_t dy) {
        std::unique_ptr<InputEvent> e(MotionEvent(dx, dy));
        hero->OnInput(e.get());
    }
    void Contact(PhysicsObject* self, PhysicsObject* other, float distance,
                 HVector2 point = HVector2(0.0f, 0.0f)) {
        GenericCollisionEvent e;
        e.self = self;
        e.other = other;
        e.distance = distance;
        e.point = point;
        hero->OnCollision(&e);
    }
    void Hurt(float amount) {
        HurtEvent e(amount);
        hero->OnHurt(&e);
    }
    void DropQueue() {
        for (BaseEvent* e : *events.next) delete e;
        events.next->clear();
    }
    const AnimationChannel& Channel(int c) const { return hero->animator.channels[c]; }

    EventManager events;
    CollisionManager collisions;
    CfoDocument doc;
    std::unique_ptr<Player> hero;
};

}  // namespace

// ---- defaults, load and bind ----

TEST(PlayerDefaults, FieldsAsConstructed) {
    Player p;
    EXPECT_EQ(p.GetTypeName(), "Player");
    EXPECT_EQ(Player::type_name, "Player");
    EXPECT_FALSE(p.attacking);
    EXPECT_EQ(p.lastAttackTime, 0.0f);
    EXPECT_EQ(p.attackCooldown, 1.0f);
    EXPECT_EQ(p.staminaDrain, 40.0f);
    EXPECT_EQ(p.staminaGain, 25.0f);
    EXPECT_EQ(p.stamina, 100.0f);
    EXPECT_EQ(p.health, 100.0f);
    EXPECT_FALSE(p.cameraBlocked);
    EXPECT_EQ(p.cameraHitDistance, 500.0f);
    EXPECT_EQ(p.cameraHitPoint, HVector2(0.0f, 0.0f));
    EXPECT_EQ(p.yaw, 0.0f);
    EXPECT_EQ(p.pitch, 300.0f);
    EXPECT_FALSE(p.shader.IsValid());
    EXPECT_FALSE(p.advancedVertex.IsValid());
}

TEST_F(Hero, LoadReadsTheBodyTheEntityKeysAndTheFixedAssets) {
    EXPECT_EQ(hero->GetName(), "main_player");
    EXPECT_EQ(hero->physics.body.position, HVector2(10.0f, 20.0f));
    EXPECT_EQ(hero->physics.body.vertices.size(), 6u);
    EXPECT_GT(hero->mesh.vertex_count, 0u);
    EXPECT_GT(hero->mesh.bones.size(), 1u);
    // Every animation is bound to the skeleton: each track found its bone.
    for (Animation* a : {&hero->idle, &hero->walk, &hero->run, &hero->attack}) {
        ASSERT_FALSE(a->tracks.empty());
        EXPECT_EQ(a->track_map.size(), a->tracks.size());
    }
    // The camera ray's first place, the eye and goal at the origin.
    EXPECT_EQ(hero->cameraRay.GetPosition(), HVector2(100.0f, 100.0f));
    EXPECT_EQ(hero->cameraRay.GetDirection(), HVector2(0.0f, 1.0f));
    EXPECT_EQ(hero->cameraEye.x, 0.0f);
    EXPECT_EQ(hero->cameraGoal.z, 0.0f);
}

TEST_F(Hero, LoadSetsUpBothChannelsWithIdleOnTheLegsAndTheUpperBodyStopped) {
    const int spine = hero->mesh.FindBone("Mugurkauls_krutis");
    ASSERT_GT(spine, 0);
    EXPECT_EQ(Channel(1).root_bone, spine);
    EXPECT_EQ(Channel(1).weight, 1.0f);
    EXPECT_EQ(Channel(0).root_bone, 0);
    EXPECT_EQ(hero->mesh.bones[0].parent_id, -1);
    EXPECT_EQ(Channel(0).weight, 1.0f);
    EXPECT_EQ(Channel(0).animation, &hero->idle);
    EXPECT_TRUE(Channel(0).active);
    EXPECT_EQ(Channel(0).speed, 20.0f);
    EXPECT_EQ(Channel(0).fade, 0.0f);
    EXPECT_EQ(Channel(1).animation, &hero->idle);
    EXPECT_FALSE(Channel(1).active);
    EXPECT_EQ(Channel(1).state, Animator::STATE_STOPPED);
}

TEST(PlayerLoad, FetchesTheResourcesInOrder) {
    MountData();
    ResetSettings();
    ResourceManager resources;  // no loaders: each fetch names its extension
    Player p;
    testing::internal::CaptureStdout();
    p.Load(nullptr, &resources);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out,
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'tga'\n"
              "Could not find resource constructor associated with 'cg'\n");
    // A null node still loads the fixed mesh.
    EXPECT_GT(p.mesh.vertex_count, 0u);
}

TEST(PlayerLoad, AdvancedShadingFetchesBothProgramsAndLeavesTheVertexStageSelected) {
    MountData();
    ResetSettings();
    r_advanced_shading = true;
    ResourceManager resources;
    Player p;
    testing::internal::CaptureStdout();
    p.Load(nullptr, &resources);
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string cg = "Could not find resource constructor associated with 'cg'\n";
    EXPECT_EQ(out,
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'tga'\n" +
                  cg + cg + cg);
    EXPECT_TRUE(shader_load_as_vertex);
    ResetSettings();
}

TEST_F(Hero, BindAddsAttackRayCameraRayAndBodyInThisOrder) {
    ASSERT_EQ(collisions.objects.size(), 3u);
    auto it = collisions.objects.begin();
    EXPECT_EQ(*it++, &hero->attackRay);
    EXPECT_EQ(*it++, &hero->cameraRay);
    EXPECT_EQ(*it++, &hero->physics);
    for (PhysicsObject* o : collisions.objects) EXPECT_EQ(o->entity, hero.get());
    for (PhysicsRayCast* r : {&hero->attackRay, &hero->cameraRay}) {
        EXPECT_EQ(r->collisionMode, 1);
        EXPECT_EQ(r->range, HVector2(0.0f, 1.0f));
    }
    EXPECT_EQ(hero->physics.collisionMode, 0);
    // Prepared: unit mass and the limits.
    EXPECT_EQ(hero->physics.body.invMass, 1.0f);
    EXPECT_EQ(hero->physics.body.maxSpeed, 5000.0f);
    EXPECT_FLOAT_EQ(hero->physics.boundingCircle.radius, 15.0f);
}

TEST_F(Hero, BindSubscribesFiveHandlersInOrder) {
    ASSERT_EQ(events.handlers.size(), 5u);
    const char* names[] = {"FrameEvent", "InputEvent", "GenericCollisionEvent", "HurtEvent",
                           "ItemPickupEvent"};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(events.handlers[i]->GetEventTypeName(), names[i]);
        EXPECT_TRUE(events.handlers[i]->IsOwner(hero.get()));
    }
}

TEST_F(Hero, BindResetsTheStrikeAndTheCameraAngles) {
    // The managers outlive the player, as the SceneManager's members outlive the tree.
    EventManager em;
    CollisionManager cm;
    Player p;
    p.attackCooldown = 3.0f;
    p.lastAttackTime = 7.0f;
    p.yaw = 45.0f;
    p.pitch = 250.0f;
    p.Bind(&em, nullptr, &cm);
    EXPECT_EQ(p.attackCooldown, 1.0f);
    EXPECT_EQ(p.lastAttackTime, 0.0f);
    EXPECT_EQ(p.yaw, 0.0f);
    EXPECT_EQ(p.pitch, 300.0f);
}

TEST_F(Hero, DeletingThePlayerLeavesNoObjectInTheManager) {
    hero.reset();
    EXPECT_TRUE(collisions.objects.empty());
    EXPECT_EQ(events.handlers.size(), 0u);
}

// ---- keys ----

TEST_F(Hero, ForwardWalksAndItsReleaseStands) {
    Down(kW);
    EXPECT_TRUE(hero->physics.moveForward);
    EXPECT_EQ(Channel(0).animation, &hero->walk);
    EXPECT_EQ(Channel(0).speed, 70.0f);
    EXPECT_EQ(Channel(0).fade, 0.5f);
    Up(kW);
    EXPECT_FALSE(hero->physics.moveForward);
    EXPECT_EQ(Channel(0).animation, &hero->idle);
    EXPECT_EQ(Channel(0).speed, 20.0f);
    EXPECT_EQ(Channel(0).fade, 0.5f);
}

TEST_F(Hero, BackAndTheFixedSideStepKeys) {
    Down(kS);
    Down(kA);
    EXPECT_TRUE(hero->physics.moveBackward);
    EXPECT_TRUE(hero->physics.strafeLeft);
    Up(kS);
    Up(kA);
    EXPECT_FALSE(hero->physics.moveBackward);
    EXPECT_FALSE(hero->physics.strafeLeft);
    // The bindings of the side steps are not looked at: the letters stay.
    k_action_stafe_left = 106;
    Down(106);
    EXPECT_FALSE(hero->physics.strafeLeft);
    Down(kA);
    EXPECT_TRUE(hero->physics.strafeLeft);
}

TEST_F(Hero, ShiftBeforeForwardDoesNothingUntilPressedAgainWithForwardHeld) {
    Down(kShift);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_FALSE(hero->physics.moveForward);
    EXPECT_EQ(Channel(0).animation, &hero->idle);
    Down(kW);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_EQ(Channel(0).animation, &hero->walk);
    Down(kShift);
    EXPECT_TRUE(hero->physics.IsRunning());
    EXPECT_TRUE(hero->physics.moveForward);
    EXPECT_EQ(Channel(0).animation, &hero->run);
    EXPECT_EQ(Channel(0).speed, 100.0f);
    EXPECT_EQ(Channel(0).fade, 0.2f);
    Up(kShift);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_EQ(Channel(0).animation, &hero->walk);
    EXPECT_EQ(Channel(0).speed, 70.0f);
}

TEST_F(Hero, ShiftWithoutStaminaDoesNotRun) {
    Down(kW);
    hero->stamina = 0.0f;
    Down(kShift);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_EQ(Channel(0).animation, &hero->walk);
}

TEST_F(Hero, ReleasingShiftWhenNotRunningChangesNothing) {
    Frame(1.0f, 0.1f);
    Down(kW);
    const AnimationChannel before = Channel(0);
    Up(kShift);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_TRUE(hero->physics.moveForward);
    EXPECT_EQ(Channel(0).animation, before.animation);
    EXPECT_EQ(Channel(0).start, before.start);
    EXPECT_EQ(Channel(0).state, before.state);
    EXPECT_EQ(Channel(0).previous, before.previous);
}

TEST_F(Hero, ReleasingForwardWhileRunningKeepsTheRunFlag) {
    Down(kW);
    Down(kShift);
    Up(kW);
    EXPECT_FALSE(hero->physics.moveForward);
    EXPECT_TRUE(hero->physics.IsRunning());
    EXPECT_EQ(Channel(0).animation, &hero->idle);
}

TEST_F(Hero, TheStrikeSharesKey100WithTheRightSideStep) {
    Frame(3.5f, 0.1f);
    Down(kD);
    EXPECT_TRUE(hero->attacking);
    EXPECT_TRUE(hero->physics.strafeRight);
    EXPECT_EQ(hero->lastAttackTime, 3.5f);
    EXPECT_EQ(Channel(1).animation, &hero->attack);
    EXPECT_TRUE(Channel(1).active);
    EXPECT_EQ(Channel(1).speed, 80.0f);
    EXPECT_EQ(Channel(1).fade, 0.5f);
    Up(kD);
    EXPECT_FALSE(hero->attacking);
    EXPECT_FALSE(hero->physics.strafeRight);
    EXPECT_FALSE(Channel(1).active);
    EXPECT_EQ(Channel(1).state, Animator::STATE_STOPPED);
}

TEST_F(Hero, AStrikeBoundElsewhereLeavesTheSideStepAlone) {
    k_action_hit = 106;
    Down(kD);
    EXPECT_FALSE(hero->attacking);
    EXPECT_TRUE(hero->physics.strafeRight);
    Down(106);
    EXPECT_TRUE(hero->attacking);
}

TEST_F(Hero, ReboundForwardAndBackKeys) {
    k_action_forward = 273;
    k_action_back = 274;
    Down(kW);
    EXPECT_FALSE(hero->physics.moveForward);
    Down(273);
    Down(274);
    EXPECT_TRUE(hero->physics.moveForward);
    EXPECT_TRUE(hero->physics.moveBackward);
}

TEST_F(Hero, F5PrintsThePosition) {
    testing::internal::CaptureStdout();
    Down(kF5);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "pos: 10,20\n");
    hero->physics.SetPosition(HVector2(-3.5f, 0.25f));
    testing::internal::CaptureStdout();
    Down(kF5);
    Up(kF5);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "pos: -3.5,0.25\n");
}

TEST_F(Hero, APausedPlayerIgnoresInput) {
    hero->SetPaused(true);
    Down(kW);
    Down(kD);
    Move(100, 100);
    EXPECT_FALSE(hero->physics.moveForward);
    EXPECT_FALSE(hero->attacking);
    EXPECT_EQ(hero->yaw, 0.0f);
    EXPECT_EQ(hero->pitch, 300.0f);
}

// ---- mouse ----

TEST_F(Hero, MouseTurnsYawAndPitchByTheFramesLength) {
    Frame(1.0f, 0.1f);
    DropQueue();
    Move(10, 0);
    EXPECT_FLOAT_EQ(hero->yaw, -20.0f);  // 10 x 0.1 x 20
    Move(0, -20);
    EXPECT_FLOAT_EQ(hero->pitch, 270.0f);  // 300 - 20 x 0.1 x 15
    Move(-5, 4);
    EXPECT_FLOAT_EQ(hero->yaw, -10.0f);
    EXPECT_FLOAT_EQ(hero->pitch, 276.0f);
}

TEST_F(Hero, PitchStaysWithin231And333HoweverFarTheMouseGoes) {
    Frame(1.0f, 0.5f);
    Move(0, 32767);
    EXPECT_EQ(hero->pitch, 333.0f);
    Move(0, -32768);
    EXPECT_EQ(hero->pitch, 231.0f);
    Move(0, 1);  // 231 + 7.5
    EXPECT_FLOAT_EQ(hero->pitch, 238.5f);
    for (int i = 0; i < 50; ++i) Move(0, 1000);
    EXPECT_EQ(hero->pitch, 333.0f);
}

TEST_F(Hero, YawBeyondAFullTurnStartsAgainAtZero) {
    Frame(1.0f, 0.1f);
    Move(-179, 0);  // 358
    EXPECT_FLOAT_EQ(hero->yaw, 358.0f);
    Move(-1, 0);  // 360 is still kept
    EXPECT_FLOAT_EQ(hero->yaw, 360.0f);
    Move(-1, 0);  // 362
    EXPECT_EQ(hero->yaw, 0.0f);
    Move(181, 0);  // -362
    EXPECT_EQ(hero->yaw, 0.0f);
}

TEST_F(Hero, BeforeAnyFrameTheMouseDoesNotTurn) {
    Move(100, 100);
    EXPECT_EQ(hero->yaw, 0.0f);
    EXPECT_EQ(hero->pitch, 300.0f);
}

// ---- frames ----

TEST_F(Hero, RunningSpendsStaminaAndDropsToAWalkWhenItIsGone) {
    Down(kW);
    Down(kShift);
    const float expected[] = {80.0f, 60.0f, 40.0f, 20.0f};
    for (int i = 0; i < 4; ++i) {
        Frame(1.0f + 0.5f * float(i), 0.5f);
        EXPECT_FLOAT_EQ(hero->stamina, expected[i]);
        EXPECT_TRUE(hero->physics.IsRunning());
    }
    EXPECT_EQ(Channel(0).animation, &hero->run);
    Frame(3.0f, 0.6f);  // 20 - 24: the clamp leaves 0
    EXPECT_EQ(hero->stamina, 0.0f);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_EQ(Channel(0).animation, &hero->walk);
    EXPECT_EQ(Channel(0).speed, 70.0f);
    // Shift is still held: stamina comes back and the run does not.
    Frame(3.5f, 0.5f);
    EXPECT_FLOAT_EQ(hero->stamina, 12.5f);
    EXPECT_FALSE(hero->physics.IsRunning());
    EXPECT_TRUE(hero->physics.moveForward);
    for (int i = 0; i < 10; ++i) Frame(4.0f + float(i), 1.0f);
    EXPECT_EQ(hero->stamina, 100.0f);
    EXPECT_FALSE(hero->physics.IsRunning());
    // Pressed again, it runs.
    Down(kShift);
    EXPECT_TRUE(hero->physics.IsRunning());
}

TEST_F(Hero, StaminaGrowsBackTo100AndNoFurther) {
    hero->stamina = 90.0f;
    Frame(1.0f, 0.2f);
    EXPECT_FLOAT_EQ(hero->stamina, 95.0f);
    Frame(1.5f, 0.5f);  // 107.5 clamped
    EXPECT_EQ(hero->stamina, 100.0f);
    Frame(2.0f, 0.5f);
    EXPECT_EQ(hero->stamina, 100.0f);
}

TEST_F(Hero, EachFrameBroadcastsStaminaThenHealthThenTheMiniMapMark) {
    hero->physics.body.orientation = 30.0f;
    hero->health = 64.0f;
    hero->stamina = 50.0f;
    Frame(2.0f, 0.2f);
    std::vector<BaseEvent*> queued(events.next->begin(), events.next->end());
    ASSERT_EQ(queued.size(), 3u);
    ASSERT_EQ(queued[0]->GetTypeName(), "HUDEvent");
    ASSERT_EQ(queued[1]->GetTypeName(), "HUDEvent");
    ASSERT_EQ(queued[2]->GetTypeName(), "MiniMapObjectEvent");
    auto* stamina = static_cast<HUDEvent*>(queued[0]);
    auto* health = static_cast<HUDEvent*>(queued[1]);
    EXPECT_EQ(stamina->kind, 0);
    EXPECT_FLOAT_EQ(stamina->value, 55.0f);
    EXPECT_EQ(health->kind, 1);
    EXPECT_EQ(health->value, 64.0f);
    auto* mark = static_cast<MiniMapObjectEvent*>(queued[2]);
    EXPECT_EQ(mark->object_id, hero->GetTypeId());
    EXPECT_EQ(mark->position.x, 10.0f);
    EXPECT_EQ(mark->position.y, 20.0f);
    EXPECT_EQ(mark->position.z, 30.0f);
    EXPECT_EQ(mark->size, 30.0f);
    EXPECT_EQ(mark->kind, 0);
    for (BaseEvent* e : queued) {
        EXPECT_EQ(e->target, nullptr);
        EXPECT_EQ(e->delay, 0.0f);
    }
    EXPECT_EQ(hero->now, 2.0f);
    EXPECT_EQ(hero->frameDt, 0.2f);
}

TEST_F(Hero, TheRaysFollowTheBodyAttackAheadCameraBehind) {
    hero->physics.body.orientation = 90.0f;
    Frame(1.0f, 0.1f);
    EXPECT_EQ(hero->attackRay.GetPosition(), HVector2(10.0f, 20.0f));
    EXPECT_EQ(hero->cameraRay.GetPosition(), HVector2(10.0f, 20.0f));
    EXPECT_NEAR(hero->attackRay.GetDirection().x, 0.0f, 1e-6f);
    EXPECT_FLOAT_EQ(hero->attackRay.GetDirection().y, 1.0f);
    EXPECT_NEAR(hero->cameraRay.GetDirection().x, 0.0f, 1e-6f);
    EXPECT_FLOAT_EQ(hero->cameraRay.GetDirection().y, -1.0f);
    EXPECT_EQ(hero->drawPosition, HVector2(10.0f, 20.0f));
}

TEST_F(Hero, TheCameraGoalSitsBehindAndTheEyeOrbitsTheHeadFromTheMouseAlone) {
    Frame(1.0f, 0.1f);
    // Orientation 0: 50 behind along -x, 75 high.
    EXPECT_FLOAT_EQ(hero->cameraGoal.x, -40.0f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.y, 20.0f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.z, 75.0f);
    EXPECT_FLOAT_EQ(hero->lookAt.x, 10.0f);
    EXPECT_FLOAT_EQ(hero->lookAt.y, 20.0f);
    EXPECT_FLOAT_EQ(hero->lookAt.z, 75.0f);
    // The velocity towards the goal from the origin eye.
    EXPECT_FLOAT_EQ(hero->cameraVelocity.x, -80.0f);
    EXPECT_FLOAT_EQ(hero->cameraVelocity.z, 150.0f);
    // Pitch 300 about x: the eye 50 x (0, sin 60, cos 60) from the head.
    EXPECT_NEAR(hero->cameraEye.x, 10.0f, 1e-4f);
    EXPECT_NEAR(hero->cameraEye.y, 20.0f + 43.30127f, 1e-3f);
    EXPECT_NEAR(hero->cameraEye.z, 75.0f + 25.0f, 1e-3f);
}

TEST(PlayerOrbit, YawTurnsTheEyeAboutTheVerticalAndPitchAboutTheSide) {
    const HVector3 head(0.0f, 0.0f, 75.0f);
    HVector3 e = Player::OrbitEye(head, 90.0f, 300.0f);
    EXPECT_NEAR(e.x, -43.30127f, 1e-3f);
    EXPECT_NEAR(e.y, 0.0f, 1e-3f);
    EXPECT_NEAR(e.z, 100.0f, 1e-3f);
    e = Player::OrbitEye(head, 0.0f, 270.0f);  // level with the head, along +y
    EXPECT_NEAR(e.x, 0.0f, 1e-3f);
    EXPECT_NEAR(e.y, 50.0f, 1e-3f);
    EXPECT_NEAR(e.z, 75.0f, 1e-3f);
    e = Player::OrbitEye(head, 180.0f, 333.0f);
    EXPECT_NEAR(e.x, 0.0f, 1e-3f);
    EXPECT_NEAR(e.y, -50.0f * std::sin(27.0f * HMath::fDeg2Rad), 1e-3f);
    EXPECT_NEAR(e.z, 75.0f + 50.0f * std::cos(27.0f * HMath::fDeg2Rad), 1e-3f);
}

TEST_F(Hero, ANearCameraRayHitPullsTheGoalInOnce) {
    Contact(&hero->cameraRay, &hero->physics, 30.0f, HVector2(1.0f, 2.0f));
    EXPECT_TRUE(hero->cameraBlocked);
    EXPECT_EQ(hero->cameraHitPoint, HVector2(1.0f, 2.0f));
    EXPECT_EQ(hero->cameraHitDistance, 30.0f);
    Frame(1.0f, 0.1f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.x, -20.0f);  // 10 - 30
    EXPECT_FALSE(hero->cameraBlocked);
    EXPECT_EQ(hero->cameraHitDistance, 500.0f);
    Frame(1.1f, 0.1f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.x, -40.0f);
}

TEST_F(Hero, ANegativeHitDistanceCountsByItsSize) {
    Contact(&hero->cameraRay, &hero->physics, -25.0f);
    Frame(1.0f, 0.1f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.x, -15.0f);
}

TEST_F(Hero, AFarCameraRayHitLeavesTheGoalAndStaysBlocked) {
    Contact(&hero->cameraRay, &hero->physics, 100.0f);
    Frame(1.0f, 0.1f);
    EXPECT_FLOAT_EQ(hero->cameraGoal.x, -40.0f);
    EXPECT_TRUE(hero->cameraBlocked);
    EXPECT_EQ(hero->cameraHitDistance, 100.0f);
}

TEST_F(Hero, InFollowModeTheSceneTakesTheOrbitCameraAndTheBodyTurnsWithIt) {
    Scene scene;
    scene.name = "game_scene";
    scene.AddChild(hero.get());
    hero->SetParent(&scene);
    scene.camera_mode = Scene::CAMERA_FOLLOW;
    hero->yaw = 30.0f;
    Frame(1.0f, 0.1f);
    EXPECT_EQ(scene.camera.target.x, hero->lookAt.x);
    EXPECT_EQ(scene.camera.target.z, 75.0f);
    EXPECT_EQ(scene.camera.position.x, hero->cameraEye.x);
    EXPECT_EQ(scene.camera.position.y, hero->cameraEye.y);
    EXPECT_EQ(scene.camera.position.z, hero->cameraEye.z);
    EXPECT_EQ(scene.camera.up.z, 1.0f);
    EXPECT_EQ(scene.camera.up.x, 0.0f);
    EXPECT_EQ(scene.camera.fov, 70.0f);
    EXPECT_TRUE(hero->physics.turnToAngle);
    EXPECT_EQ(hero->physics.targetAngle, -60.0f);
    hero->SetParent(nullptr);
}

TEST_F(Hero, InOtherCameraModesNeitherTheCameraNorTheBodyTurns) {
    for (int32_t mode : {Scene::CAMERA_FREE, Scene::CAMERA_FIXED}) {
        Scene scene;
        scene.name = "game_scene";
        scene.AddChild(hero.get());
        hero->SetParent(&scene);
        scene.camera_mode = mode;
        Frame(1.0f, 0.1f);
        EXPECT_EQ(scene.camera.position.z, 0.0f);
        EXPECT_EQ(scene.camera.target.y, 200.0f);
        EXPECT_EQ(scene.camera.fov, 90.0f);
        EXPECT_FALSE(hero->physics.turnToAngle);
        hero->SetParent(nullptr);
    }
}

TEST_F(Hero, WithoutAGameSceneTheBodyDoesNotTurn) {
    Frame(1.0f, 0.1f);
    EXPECT_FALSE(hero->physics.turnToAngle);
    // An entity of that name that is not a Scene is no camera.
    Entity other;
    other.name = "game_scene";
    other.AddChild(hero.get());
    hero->SetParent(&other);
    Frame(1.1f, 0.1f);
    EXPECT_FALSE(hero->physics.turnToAngle);
    hero->SetParent(nullptr);
}

// ---- collisions ----

TEST_F(Hero, ABlowLandsOncePerCooldownOnlyWhileTheKeyIsHeld) {
    Dummy victim;
    victim.physics.SetEntity(&victim);
    Frame(2.0f, 0.1f);
    Down(kD);  // lastAttackTime 2.0
    Frame(3.0f, 0.1f);
    Contact(&hero->attackRay, &victim.physics, 30.0f);
    EXPECT_TRUE(Queued<HurtEvent>(events).empty());  // 2 + 1 is not below 3
    Frame(3.04f, 0.04f);
    Contact(&hero->attackRay, &victim.physics, 30.0f);
    auto hurts = Queued<HurtEvent>(events);
    ASSERT_EQ(hurts.size(), 1u);
    EXPECT_EQ(hurts[0]->amount, -10.0f);
    EXPECT_EQ(hurts[0]->target, &victim);
    EXPECT_EQ(hero->lastAttackTime, 3.04f);
    DropQueue();
    Frame(3.5f, 0.1f);
    Contact(&hero->attackRay, &victim.physics, 30.0f);
    EXPECT_TRUE(Queued<HurtEvent>(events).empty());
    Frame(4.1f, 0.1f);
    Contact(&hero->attackRay, &victim.physics, 30.0f);
    EXPECT_EQ(Queued<HurtEvent>(events).size(), 1u);
    DropQueue();
    Up(kD);
    Frame(6.0f, 0.1f);
    Contact(&hero->attackRay, &victim.physics, 30.0f);
    EXPECT_TRUE(Queued<HurtEvent>(events).empty());
}

TEST_F(Hero, ABlowNeedsABodyWithinReachAndAnOwner) {
    Dummy victim;
    victim.physics.SetEntity(&victim);
    hero->attacking = true;
    Frame(5.0f, 0.1f);
    DropQueue();
    Contact(&hero->attackRay, &victim.physics, 50.0f);  // not below 50
    PhysicsCharacter stray;                             // nobody's body
    Contact(&hero->attackRay, &stray, 10.0f);
    PhysicsStaticGeometry wall;
    wall.SetEntity(&victim);
    Contact(&hero->attackRay, &wall, 10.0f);            // not a character
    Contact(&hero->cameraRay, &victim.physics, 10.0f);  // not the attack ray
    EXPECT_TRUE(Queued<HurtEvent>(events).empty());
    EXPECT_EQ(hero->lastAttackTime, 0.0f);
    Contact(&hero->attackRay, &victim.physics, 49.9f);
    EXPECT_EQ(Queued<HurtEvent>(events).size(), 1u);
    EXPECT_EQ(hero->lastAttackTime, 5.0f);
}

TEST_F(Hero, AStrikeFacingASwitchWithinReachThrowsIt) {
    FakeTrigger lever;
    lever.ray.SetEntity(&lever);
    lever.ray.SetOrigin(HVector2(40.0f, 20.0f));  // straight ahead at orientation 0
    hero->attacking = true;
    Contact(&hero->physics, &lever.ray, 19.9f);
    auto actions = Queued<PlayerActionEvent>(events);
    ASSERT_EQ(actions.size(), 1u);
    EXPECT_EQ(actions[0]->kind, 0);
    EXPECT_EQ(actions[0]->source, hero.get());
    EXPECT_EQ(actions[0]->target, &lever);
}

TEST_F(Hero, ASwitchNeedsTheStrikeTheReachTheFacingAndTheType) {
    FakeTrigger lever;
    lever.ray.SetEntity(&lever);
    lever.ray.SetOrigin(HVector2(40.0f, 20.0f));
    Contact(&hero->physics, &lever.ray, 10.0f);  // not attacking
    hero->attacking = true;
    Contact(&hero->physics, &lever.ray, 20.0f);    // not below 20
    lever.ray.SetOrigin(HVector2(-20.0f, 20.0f));  // behind
    Contact(&hero->physics, &lever.ray, 10.0f);
    lever.ray.SetOrigin(HVector2(10.0f, 50.0f));  // 90 degrees aside: outside the 120 cone
    Contact(&hero->physics, &lever.ray, 10.0f);
    Dummy notASwitch;
    PhysicsRayCast otherRay;
    otherRay.SetEntity(&notASwitch);
    otherRay.SetOrigin(HVector2(40.0f, 20.0f));
    Contact(&hero->physics, &otherRay, 10.0f);
    PhysicsRayCast ownerless;
    ownerless.SetOrigin(HVector2(40.0f, 20.0f));
    Contact(&hero->physics, &ownerless, 10.0f);
    EXPECT_TRUE(Queued<PlayerActionEvent>(events).empty());
    // 50 degrees aside is inside the cone.
    lever.ray.SetOrigin(HVector2(10.0f + 30.0f * std::cos(50.0f * HMath::fDeg2Rad),
                                 20.0f + 30.0f * std::sin(50.0f * HMath::fDeg2Rad)));
    Contact(&hero->physics, &lever.ray, 10.0f);
    EXPECT_EQ(Queued<PlayerActionEvent>(events).size(), 1u);
}

TEST_F(Hero, ContactsWithoutBothObjectsAreIgnored) {
    hero->attacking = true;
    Contact(nullptr, &hero->physics, 1.0f);
    Contact(&hero->cameraRay, nullptr, 1.0f);
    EXPECT_FALSE(hero->cameraBlocked);
    EXPECT_TRUE(events.next->empty());
}

// ---- hurts, death and pickups ----

TEST_F(Hero, AHurtTakesHealthAndSaysSo) {
    Hurt(-30.0f);
    EXPECT_EQ(hero->health, 70.0f);
    auto messages = Queued<GameGUIMessageEvent>(events);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]->text, "Dude, you are like hit");
    EXPECT_EQ(messages[0]->mode, 0);
    EXPECT_EQ(messages[0]->target, nullptr);
    EXPECT_FALSE(hero->IsPaused());
}

TEST_F(Hero, APositiveHurtHealsUpTo100AndStillSaysHit) {
    hero->health = 50.0f;
    Hurt(80.0f);
    EXPECT_EQ(hero->health, 100.0f);
    auto messages = Queued<GameGUIMessageEvent>(events);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]->text, "Dude, you are like hit");
}

TEST_F(Hero, TheBlowToZeroKillsPausesAndSaysSoOnce) {
    Hurt(-100.0f);
    EXPECT_EQ(hero->health, 0.0f);
    EXPECT_TRUE(hero->IsPaused());
    EXPECT_TRUE(hero->physics.IsDisabled());
    EXPECT_TRUE(hero->cameraRay.IsDisabled());
    EXPECT_FALSE(hero->attackRay.IsDisabled());
    auto messages = Queued<GameGUIMessageEvent>(events);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]->text, "Dude, no way! You're dead");
    DropQueue();
    // The dead take no more blows and no healing from hurts, and say nothing.
    Hurt(-10.0f);
    Hurt(50.0f);
    EXPECT_EQ(hero->health, 0.0f);
    EXPECT_TRUE(Queued<GameGUIMessageEvent>(events).empty());
}

TEST_F(Hero, ABlowBeyondZeroIsClampedToZero) {
    hero->health = 5.0f;
    Hurt(-10.0f);
    EXPECT_EQ(hero->health, 0.0f);
    EXPECT_TRUE(hero->IsPaused());
}

TEST_F(Hero, HealthPickupsHealUpTo100AndTargetsDoNothing) {
    hero->health = 90.0f;
    ItemPickupEvent heal(0, 25.0f);
    EXPECT_TRUE(hero->OnPickup(&heal));
    EXPECT_EQ(hero->health, 100.0f);
    hero->health = 40.0f;
    ItemPickupEvent target(1, 25.0f);
    EXPECT_TRUE(hero->OnPickup(&target));
    EXPECT_EQ(hero->health, 40.0f);
    ItemPickupEvent poison(0, -60.0f);
    hero->OnPickup(&poison);
    EXPECT_EQ(hero->health, 0.0f);
    EXPECT_TRUE(events.next->empty());
}

TEST_F(Hero, UnpausingGivesTheBodyAndCameraRayBack) {
    hero->SetPaused(true);
    hero->SetPaused(false);
    EXPECT_FALSE(hero->physics.IsDisabled());
    EXPECT_FALSE(hero->cameraRay.IsDisabled());
    EXPECT_FALSE(hero->IsPaused());
}

// ---- scenarios through the frame loop ----

using HeroLevel = Level;

TEST_F(HeroLevel, PressingForwardWalksAlongTheFacing) {
    Build(kHero);
    ASSERT_NE(player, nullptr);
    RunUntil(0.2f);
    EXPECT_EQ(player->physics.GetPosition(), HVector2(0.0f, 0.0f));
    Input(KeyEvent(SDL12_KEYDOWN, kW));
    RunUntil(1.2f);
    const HVector2 p = player->physics.GetPosition();
    // Along +x, the facing of orientation 0, at most the walking speed of 100 a second.
    EXPECT_GT(p.x, 50.0f);
    EXPECT_LT(p.x, 100.0f);
    EXPECT_EQ(p.y, 0.0f);
    Input(KeyEvent(SDL12_KEYUP, kW));
    RunUntil(3.0f);
    const float stopped = player->physics.GetPosition().x;
    RunUntil(3.5f);
    EXPECT_NEAR(player->physics.GetPosition().x, stopped, 0.01f);
}

TEST_F(HeroLevel, AFacingOf90WalksAlongY) {
    Build(kHero);
    player->physics.body.orientation = 90.0f;
    Input(KeyEvent(SDL12_KEYDOWN, kW));
    RunUntil(1.0f);
    const HVector2 p = player->physics.GetPosition();
    EXPECT_GT(p.y, 40.0f);
    EXPECT_NEAR(p.x, 0.0f, 1e-3f);
}

TEST_F(HeroLevel, InFollowModeTheBodyTurnsToTheCameraHeadingAndTheSceneShowsTheOrbit) {
    Build(kHero);
    scene->camera_mode = Scene::CAMERA_FOLLOW;
    RunUntil(2.0f);
    // yaw 0: the heading -90, held by the turn with a small lag.
    EXPECT_NEAR(player->physics.GetOrientation(), -90.0f, 3.0f);
    EXPECT_EQ(scene->camera.position.x, player->cameraEye.x);
    EXPECT_EQ(scene->camera.position.y, player->cameraEye.y);
    EXPECT_EQ(scene->camera.fov, 70.0f);
}

TEST_F(HeroLevel, ShiftRunsUntilStaminaIsGoneThenWalksThoughShiftStaysDown) {
    Build(kHero);
    Input(KeyEvent(SDL12_KEYDOWN, kW));
    RunUntil(0.2f);
    Input(KeyEvent(SDL12_KEYDOWN, kShift));
    RunUntil(0.4f);
    ASSERT_TRUE(player->physics.IsRunning());
    RunUntil(1.4f);
    // Faster than a walk can go.
    EXPECT_GT(player->physics.body.velocity.x, 110.0f);
    EXPECT_EQ(player->animator.channels[0].animation, &player->run);
    RunUntil(3.0f);  // 100 stamina at 40 a second
    EXPECT_FALSE(player->physics.IsRunning());
    EXPECT_TRUE(player->physics.moveForward);
    EXPECT_EQ(player->animator.channels[0].animation, &player->walk);
    RunUntil(4.5f);
    EXPECT_GT(player->stamina, 0.0f);
    EXPECT_FALSE(player->physics.IsRunning());
    EXPECT_LT(player->physics.body.velocity.x, 101.0f);
    // The HUD saw stamina fall to 0 and health stay at 100.
    float lowest = 100.0f;
    for (const HUDEvent& h : huds) {
        if (h.kind == 0) lowest = std::min(lowest, h.value);
        if (h.kind == 1) {
            EXPECT_EQ(h.value, 100.0f);
        }
    }
    EXPECT_EQ(lowest, 0.0f);
}

TEST_F(HeroLevel, AStrikeWithinReachOfASwitchWhileFacingItSendsAnAction) {
    // The switch's ray points at the hero from 30 ahead: it meets the near side at 12.99, 17
    // from its origin.
    Build(std::string(kHero) +
          " Trigger = { name = lever; PhysicsRayCast = { position = 30,0; direction = -1,0; } }");
    auto* lever = dynamic_cast<FakeTrigger*>(sm.FindEntity("lever"));
    ASSERT_NE(lever, nullptr);
    RunUntil(0.5f);
    EXPECT_TRUE(lever->actions.empty());
    Input(KeyEvent(SDL12_KEYDOWN, kD));
    RunUntil(0.66f);
    ASSERT_FALSE(lever->actions.empty());
    EXPECT_EQ(lever->actions[0].kind, 0);
    EXPECT_EQ(lever->actions[0].source, player);
}

TEST_F(HeroLevel, TheStrikeThrowsARealSwitchWhichThenActivates) {
    Build(kHero);
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("Trigger = { name = gate_lever; close_time = 0.5; "
                  "PhysicsRayCast = { position = 30,0; direction = -1,0; } }"));
    auto* lever = new Trigger();
    testing::internal::CaptureStdout();
    lever->Load(doc.FindChild("Trigger"), &sm.resources);
    testing::internal::GetCapturedStdout();
    scene->AddChild(lever);  // the tree owns it from here
    lever->SetParent(scene);
    lever->Bind(&sm.events, &sm, &sm.physics);
    std::vector<TriggerActivationEvent> activations;
    sm.events.AddHandler(new Recorder<TriggerActivationEvent>(&activations));
    RunUntil(0.4f);
    EXPECT_EQ(lever->state, Trigger::OFF);
    Input(KeyEvent(SDL12_KEYDOWN, kD));
    RunUntil(0.56f);
    EXPECT_EQ(lever->state, Trigger::SWITCHING_ON);
    Input(KeyEvent(SDL12_KEYUP, kD));
    RunUntil(1.5f);
    EXPECT_EQ(lever->state, Trigger::ON);
    ASSERT_EQ(activations.size(), 1u);
    EXPECT_EQ(activations[0].trigger, lever);
    EXPECT_EQ(activations[0].kind, 0);
}

TEST_F(HeroLevel, ASwitchBehindTheHeroIsNotThrown) {
    Build(std::string(kHero) +
          " Trigger = { name = lever; PhysicsRayCast = { position = -30,0; direction = 1,0; } }");
    auto* lever = dynamic_cast<FakeTrigger*>(sm.FindEntity("lever"));
    Input(KeyEvent(SDL12_KEYDOWN, kD));
    RunUntil(1.0f);
    EXPECT_TRUE(lever->actions.empty());
}

TEST_F(HeroLevel, TheBlowOnAnotherBodyHurtsBy10AtMostOnceASecond) {
    // The strike on its own key, so that the side step does not carry the hero away.
    Build(std::string(kHero) +
          " Dummy = { name = victim; PhysicsCharacter = { pos = 40,0; "
          "radius = 30; } }");
    k_action_hit = 106;
    auto* victim = dynamic_cast<Dummy*>(sm.FindEntity("victim"));
    ASSERT_NE(victim, nullptr);
    RunUntil(0.4f);
    Input(KeyEvent(SDL12_KEYDOWN, 106));
    RunUntil(0.48f);
    ASSERT_TRUE(player->attacking);
    const float pressed = player->lastAttackTime;
    RunUntil(3.8f);
    ASSERT_EQ(victim->hurts.size(), 3u);
    for (float amount : victim->hurts) EXPECT_EQ(amount, -10.0f);
    // The first a second after the press, then a second apart and not sooner.
    EXPECT_GT(victim->hurt_times[0] - pressed, 1.0f);
    EXPECT_LT(victim->hurt_times[0] - pressed, 1.25f);
    for (size_t i = 1; i < victim->hurt_times.size(); ++i) {
        EXPECT_GT(victim->hurt_times[i] - victim->hurt_times[i - 1], 1.0f);
        EXPECT_LT(victim->hurt_times[i] - victim->hurt_times[i - 1], 1.25f);
    }
    Input(KeyEvent(SDL12_KEYUP, 106));
    RunUntil(6.0f);
    EXPECT_EQ(victim->hurts.size(), 3u);
}

TEST_F(HeroLevel, ThePlayerDiesAt0HealthPausedAndDeafToInput) {
    Build(kHero);
    Entity* target = player;
    auto* blow = new HurtEvent(-60.0f);
    blow->target = target;
    sm.Post(blow);
    RunUntil(0.2f);
    EXPECT_EQ(player->health, 40.0f);
    auto* last = new HurtEvent(-40.0f);
    last->target = target;
    sm.Post(last);
    RunUntil(0.4f);
    EXPECT_EQ(player->health, 0.0f);
    EXPECT_TRUE(player->IsPaused());
    EXPECT_EQ(MessageTexts(),
              (std::vector<std::string>{"Dude, you are like hit", "Dude, no way! You're dead"}));
    Input(KeyEvent(SDL12_KEYDOWN, kW));
    RunUntil(1.5f);
    EXPECT_FALSE(player->physics.moveForward);
    EXPECT_EQ(player->physics.GetPosition(), HVector2(0.0f, 0.0f));
    // The HUD goes on reporting the health of 0.
    ASSERT_GE(huds.size(), 2u);
    EXPECT_EQ(huds.back().kind, 1);
    EXPECT_EQ(huds.back().value, 0.0f);
}

TEST_F(HeroLevel, TheMiniMapShowsTheHeroEachFrame) {
    Build(kHero);
    RunUntil(0.4f);
    ASSERT_GE(marks.size(), 5u);
    for (const MiniMapObjectEvent& m : marks) {
        EXPECT_EQ(m.object_id, player->GetTypeId());
        EXPECT_EQ(m.kind, 0);
        EXPECT_EQ(m.size, 30.0f);
    }
}

TEST_F(HeroLevel, DeletingThePlayerLeavesNoDanglingPointer) {
    // The hero's attack ray crosses another body: each step reports that contact to the
    // body's owner, one pass late.
    Build(std::string(kHero) +
          " Dummy = { name = victim; PhysicsCharacter = { pos = 40,0; "
          "radius = 30; } }");
    auto* victim = dynamic_cast<Dummy*>(sm.FindEntity("victim"));
    ASSERT_NE(victim, nullptr);
    sm.Post(new DeleteEntityEvent(player));
    Pass(0.04f);
    Pass(0.08f);  // the deletion: a contact of this pass's step still waits
    EXPECT_GE(victim->contacts.size(), 1u);
    EXPECT_EQ(sm.FindEntity("main_player"), nullptr);
    ASSERT_EQ(sm.physics.objects.size(), 1u);
    EXPECT_EQ(sm.physics.objects.front(), &victim->physics);
    const size_t seen = victim->contacts.size();
    Pass(0.12f);  // ... and arrives without the freed body
    ASSERT_EQ(victim->contacts.size(), seen + 1);
    EXPECT_EQ(victim->contacts.back(), nullptr);
    Pass(0.16f);
    EXPECT_EQ(victim->contacts.size(), seen + 1);
    ASSERT_EQ(victim->contact_types.size(), seen);
    for (const std::string& t : victim->contact_types) EXPECT_EQ(t, "PhysicsRayCast");
}

TEST_F(HeroLevel, ASceneChangeTakesTheHeroOutOfTheWorld) {
    static testsupport::MountedTempFolder folder("velmora_player_scene");
    ASSERT_FALSE(folder.path.empty());
    const std::string next = "Scene = { name = game_scene; }";
    testsupport::WriteNativeFile(folder.path, "scenes/hero_next.cfo", next.data(), next.size());
    Build(std::string(kHero) +
          " Dummy = { name = victim; PhysicsCharacter = { pos = 40,0; "
          "radius = 30; } }");
    ASSERT_EQ(sm.physics.objects.size(), 4u);
    RunUntil(0.2f);
    sm.Post(new LoadGameEvent("scenes/hero_next.cfo"));
    testing::internal::CaptureStdout();
    RunUntil(0.4f);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(sm.FindEntity("main_player"), nullptr);
    EXPECT_NE(sm.FindEntity("game_scene"), nullptr);
    EXPECT_TRUE(sm.physics.objects.empty());
    RunUntil(0.6f);
    EXPECT_TRUE(sm.physics.objects.empty());
}
