// The rain without a window: the pool that Load fills, the size guard, the step that waits
// for 1/30 s and then takes the whole time, the sway, the respawn within a step, and the
// Scene that loads, updates and queues its rain only while r_particle_rain is set. The
// picture is in tests/world_gfx.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <list>
#include <string>

#include "cfo/cfodocument.h"
#include "events/events.h"
#include "math/hmath.h"
#include "platform/settings.h"
#include "scene/scene.h"
#include "scene/scenemanager.h"
#include "world/particlerain.h"

namespace {

class RainTest : public testing::Test {
protected:
    void SetUp() override { ResetSettings(); }
    void TearDown() override { ResetSettings(); }

    // A pool of `n` drops loaded from an empty node, without resources.
    void LoadPool(ParticleRain& rain, int32_t n) {
        r_particle_rain_size = n;
        testing::internal::CaptureStdout();
        rain.Load(&node, nullptr);
        loaded_output = testing::internal::GetCapturedStdout();
    }

    CfoDocument node;
    std::string loaded_output;
};

// One drop with exact values.
RainParticle Drop(HVector3 position, float fall_speed, HVector3 drift) {
    RainParticle p;
    p.position = position;
    p.velocity = HVector3(0.0f, 0.0f, 0.0f);
    p.drift = drift;
    p.fall_speed = fall_speed;
    return p;
}

void ExpectVector(const HVector3& v, float x, float y, float z) {
    EXPECT_EQ(v.x, x);
    EXPECT_EQ(v.y, y);
    EXPECT_EQ(v.z, z);
}

}  // namespace

TEST(RainRecord, PositionIsFirstSoTheArrayIsTheVertexArray) {
    EXPECT_EQ(offsetof(RainParticle, position), 0u);
    EXPECT_EQ(sizeof(RainParticle), 10 * sizeof(float));
}

TEST(RainDefaults, FieldsAndConstants) {
    ParticleRain rain;
    EXPECT_EQ(rain.GetTypeName(), "ParticleRain");
    EXPECT_NE(rain.GetTypeId(), 0u);
    EXPECT_EQ(rain.last_update, 0.0f);
    EXPECT_TRUE(rain.particles.empty());
    EXPECT_EQ(rain.count, 0u);
    EXPECT_FALSE(rain.texture.IsValid());
    EXPECT_FALSE(rain.shader.IsValid());
    EXPECT_EQ(rain.z_index, 0.0f);
    EXPECT_EQ(ParticleRain::kAreaMinX, -1405.0f);
    EXPECT_EQ(ParticleRain::kAreaMaxX, 3248.0f);
    EXPECT_EQ(ParticleRain::kAreaMinY, -3004.0f);
    EXPECT_EQ(ParticleRain::kAreaMaxY, 1224.0f);
    EXPECT_EQ(ParticleRain::kSpawnHeight, 500.0f);
    EXPECT_EQ(ParticleRain::kStep, 1.0f / 30.0f);
    EXPECT_EQ(ParticleRain::kMaxCount, 200000u);
}

TEST_F(RainTest, LoadWithoutANodeOnlySetsTheZIndex) {
    ParticleRain rain;
    rain.Load(nullptr, nullptr);
    EXPECT_EQ(rain.z_index, 50.0f);
    EXPECT_EQ(rain.count, 0u);
    EXPECT_TRUE(rain.particles.empty());
}

TEST_F(RainTest, LoadDoesNotReadTheEntityKeys) {
    ASSERT_TRUE(node.Parse("name=drops; z_index=7; visible=0;"));
    ParticleRain rain;
    LoadPool(rain, 3);
    EXPECT_EQ(rain.name, "");
    EXPECT_EQ(rain.z_index, 50.0f);
    EXPECT_TRUE(rain.visible);
}

TEST_F(RainTest, LoadFillsThePoolFromRangeRandomInItsOrder) {
    ParticleRain rain;
    std::srand(1234);
    LoadPool(rain, 2000);
    EXPECT_EQ(loaded_output, "");
    ASSERT_EQ(rain.count, 2000u);
    ASSERT_EQ(rain.particles.size(), 2000u);
    ExpectVector(HVector3(rain.area_min.x, rain.area_min.y, 0.0f), -1405.0f, -3004.0f, 0.0f);
    ExpectVector(HVector3(rain.area_max.x, rain.area_max.y, 0.0f), 3248.0f, 1224.0f, 0.0f);

    // The same generator again gives the first drops number by number: x, y, z, the
    // starting speed, the fall speed, the drift's x and y.
    std::srand(1234);
    for (int i = 0; i < 3; ++i) {
        const RainParticle& p = rain.particles[i];
        const float x = HMath::RangeRandom(-1405.0f, 3248.0f);
        const float y = HMath::RangeRandom(-3004.0f, 1224.0f);
        const float z = HMath::RangeRandom(0.0f, 500.0f);
        const float v = HMath::RangeRandom(-1000.0f, -2000.0f);
        const float f = HMath::RangeRandom(-1000.0f, -2000.0f);
        const float dx = HMath::RangeRandom(-1.0f, 1.0f);
        const float dy = HMath::RangeRandom(-1.0f, 1.0f);
        ExpectVector(p.position, x, y, z);
        ExpectVector(p.velocity, 0.0f, 0.0f, v);
        EXPECT_EQ(p.fall_speed, f);
        ExpectVector(p.drift, dx, dy, 0.0f);
    }
    for (const RainParticle& p : rain.particles) {
        EXPECT_GE(p.position.x, -1405.0f);
        EXPECT_LE(p.position.x, 3248.0f);
        EXPECT_GE(p.position.y, -3004.0f);
        EXPECT_LE(p.position.y, 1224.0f);
        EXPECT_GE(p.position.z, 0.0f);
        EXPECT_LE(p.position.z, 500.0f);
        EXPECT_GE(p.fall_speed, -2000.0f);
        EXPECT_LE(p.fall_speed, -1000.0f);
        EXPECT_GE(p.velocity.z, -2000.0f);
        EXPECT_LE(p.velocity.z, -1000.0f);
        EXPECT_GE(p.drift.x, -1.0f);
        EXPECT_LE(p.drift.x, 1.0f);
        EXPECT_EQ(p.drift.z, 0.0f);
    }
}

TEST_F(RainTest, ASecondLoadReplacesThePool) {
    ParticleRain rain;
    LoadPool(rain, 40);
    LoadPool(rain, 7);
    EXPECT_EQ(rain.count, 7u);
    EXPECT_EQ(rain.particles.size(), 7u);
}

TEST(RainRandom, FallSpeedsLieBetweenTheBoundsGivenInReverse) {
    std::srand(99);
    float low = 0.0f, high = -3000.0f;
    for (int i = 0; i < 200000; ++i) {
        const float v = HMath::RangeRandom(-1000.0f, -2000.0f);
        ASSERT_GE(v, -2000.0f);
        ASSERT_LE(v, -1000.0f);
        low = std::min(low, v);
        high = std::max(high, v);
    }
    // The whole range is reached, to the generator's 15 bits.
    EXPECT_LT(low, -1999.9f);
    EXPECT_GT(high, -1000.1f);
}

TEST_F(RainTest, SizeZeroGivesAnEmptyPoolAndNoMessage) {
    ParticleRain rain;
    LoadPool(rain, 0);
    EXPECT_EQ(loaded_output, "");
    EXPECT_EQ(rain.count, 0u);
    EXPECT_TRUE(rain.particles.empty());
    rain.Update(1.0f);  // nothing to move, the time is still taken
    EXPECT_EQ(rain.last_update, 1.0f);
}

TEST_F(RainTest, ANegativeSizeGivesNoRainAndSaysSo) {
    ParticleRain rain;
    LoadPool(rain, -5);
    EXPECT_EQ(loaded_output, "Rain: r_particle_rain_size -5 is negative, no rain\n");
    EXPECT_EQ(rain.count, 0u);
    EXPECT_TRUE(rain.particles.empty());
}

TEST_F(RainTest, AnAbsurdSizeIsCutToTheCap) {
    ParticleRain rain;
    LoadPool(rain, 2000000000);
    EXPECT_EQ(loaded_output,
              "Rain: r_particle_rain_size 2000000000 is above 200000, using 200000\n");
    EXPECT_EQ(rain.count, 200000u);
    EXPECT_EQ(rain.particles.size(), 200000u);
}

TEST(RainSize, TheCapItselfAndOneAbove) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(ParticleRain::CheckedCount(200000), 200000u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    testing::internal::CaptureStdout();
    EXPECT_EQ(ParticleRain::CheckedCount(200001), 200000u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Rain: r_particle_rain_size 200001 is above 200000, using 200000\n");
    testing::internal::CaptureStdout();
    EXPECT_EQ(ParticleRain::CheckedCount(-1), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Rain: r_particle_rain_size -1 is negative, no rain\n");
}

TEST(RainUpdate, TheFirstStepTakesTheWholeTime) {
    ParticleRain rain;
    rain.particles = {Drop(HVector3(10.0f, 20.0f, 300.0f), -1500.0f, HVector3(0.5f, -0.25f, 0))};
    rain.count = 1;
    rain.Update(0.25f);

    const float sway = std::sin(300.0f / 100.0f) * 1000.0f;
    const HVector3 v(0.5f * sway, -0.25f * sway, -1500.0f);
    const RainParticle& p = rain.particles[0];
    ExpectVector(p.velocity, v.x, v.y, v.z);
    // The step enters twice: 0.25 * 0.25 of the speed.
    ExpectVector(p.position, 10.0f + v.x * 0.25f * 0.25f, 20.0f + v.y * 0.25f * 0.25f,
                 300.0f + v.z * 0.25f * 0.25f);
    EXPECT_NEAR(p.position.z, 300.0f - 93.75f, 1e-4f);
    EXPECT_NEAR(p.position.x, 10.0f + 0.5f * 141.12001f * 0.0625f, 1e-3f);
    EXPECT_EQ(rain.last_update, 0.25f);
}

TEST(RainUpdate, ShortFramesSkipAndTheStepGrowsUntilTheNext) {
    ParticleRain rain;
    rain.particles = {Drop(HVector3(0.0f, 0.0f, 400.0f), -1000.0f, HVector3(0, 0, 0))};
    rain.count = 1;
    rain.Update(0.02f);
    rain.Update(0.033333335f);  // not above the step: still nothing
    EXPECT_EQ(rain.last_update, 0.0f);
    ExpectVector(rain.particles[0].position, 0.0f, 0.0f, 400.0f);
    ExpectVector(rain.particles[0].velocity, 0.0f, 0.0f, 0.0f);

    rain.Update(0.05f);  // 0.05 s since the last step, all of it
    EXPECT_EQ(rain.last_update, 0.05f);
    EXPECT_EQ(rain.particles[0].position.z, 400.0f + -1000.0f * 0.05f * 0.05f);
    EXPECT_EQ(rain.particles[0].position.z, 397.5f);

    rain.Update(0.07f);  // 0.02 s later: skipped
    EXPECT_EQ(rain.particles[0].position.z, 397.5f);
    EXPECT_EQ(rain.last_update, 0.05f);
}

TEST(RainUpdate, ADropBelowTheGroundStartsAgainAtTheTopInTheSameStep) {
    ParticleRain rain;
    rain.particles = {Drop(HVector3(1.0f, 2.0f, 100.0f), -2000.0f, HVector3(0, 0, 0)),
                      Drop(HVector3(5.0f, 6.0f, 450.0f), -1000.0f, HVector3(0, 0, 0))};
    rain.count = 2;
    std::srand(77);
    rain.Update(0.5f);  // 100 - 2000 * 0.25 = -400: below the ground

    std::srand(77);
    const float x = HMath::RangeRandom(-1405.0f, 3248.0f);
    const float y = HMath::RangeRandom(-3004.0f, 1224.0f);
    const float dx = HMath::RangeRandom(-1.0f, 1.0f);
    const float dy = HMath::RangeRandom(-1.0f, 1.0f);
    const float v = HMath::RangeRandom(-1000.0f, -2000.0f);
    const float f = HMath::RangeRandom(-1000.0f, -2000.0f);
    const RainParticle& p = rain.particles[0];
    ExpectVector(p.position, x, y, 500.0f);
    ExpectVector(p.drift, dx, dy, 0.0f);
    ExpectVector(p.velocity, 0.0f, 0.0f, v);
    EXPECT_EQ(p.fall_speed, f);
    // The second drop (450 - 1000 * 0.25 = 200) stays where it fell, with its own speed.
    ExpectVector(rain.particles[1].position, 5.0f, 6.0f, 200.0f);
    EXPECT_EQ(rain.particles[1].fall_speed, -1000.0f);
}

TEST(RainUpdate, ADropExactlyOnTheGroundIsNotRespawned) {
    ParticleRain rain;
    // 100 - 1600 * 0.25 * 0.25 = 0 exactly.
    rain.particles = {Drop(HVector3(0.0f, 0.0f, 100.0f), -1600.0f, HVector3(0, 0, 0))};
    rain.count = 1;
    rain.Update(0.25f);
    EXPECT_EQ(rain.particles[0].position.z, 0.0f);
    EXPECT_EQ(rain.particles[0].fall_speed, -1600.0f);
}

TEST(RainUpdate, SwayFollowsTheHeight) {
    ParticleRain rain;
    // At height 0 the sway is 0; at 50 pi it is sin(pi/2) * 1000 = 1000.
    const float quarter = 50.0f * HMath::PI;
    rain.particles = {Drop(HVector3(0.0f, 0.0f, 0.0f), -1000.0f, HVector3(1.0f, 1.0f, 0)),
                      Drop(HVector3(0.0f, 0.0f, quarter), -1000.0f, HVector3(1.0f, -1.0f, 0))};
    rain.count = 2;
    rain.particles[0].position.z = 1e-6f;  // just above the ground: sway ~ 0
    rain.Update(0.04f);
    EXPECT_NEAR(rain.particles[1].velocity.x, 1000.0f, 0.01f);
    EXPECT_NEAR(rain.particles[1].velocity.y, -1000.0f, 0.01f);
    EXPECT_EQ(rain.particles[1].velocity.z, -1000.0f);
    // The first drop fell below 0 and was reset: at 500.
    EXPECT_EQ(rain.particles[0].position.z, 500.0f);
}

// The Scene and its rain.

namespace {

class SceneRainTest : public testing::Test {
protected:
    void SetUp() override { ResetSettings(); }
    void TearDown() override {
        manager.render_queue.Clear();
        ResetSettings();
    }

    void Frame(Scene& scene, float time) {
        FrameEvent e(0.1f, time, &manager, nullptr);
        EXPECT_TRUE(scene.OnFrame(&e));
    }

    SceneManager manager;
    CfoDocument node;
};

}  // namespace

TEST_F(SceneRainTest, WithRainTheSceneLoadsUpdatesAndQueuesIt) {
    r_particle_rain = true;
    r_particle_rain_size = 25;
    Scene scene;
    testing::internal::CaptureStdout();
    scene.Load(&node, nullptr);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(scene.rain.count, 25u);
    EXPECT_EQ(scene.rain.particles.size(), 25u);
    EXPECT_EQ(scene.rain.z_index, 50.0f);

    Frame(scene, 0.5f);
    EXPECT_EQ(scene.rain.last_update, 0.5f);
    const std::list<Entity*> expect = {&scene, &scene.rain};
    EXPECT_EQ(manager.render_queue.entities, expect);
}

TEST_F(SceneRainTest, WithoutRainNothingLoadsAndTheQueueHoldsOneEntryFewer) {
    r_particle_rain = false;
    r_particle_rain_size = 25;
    Scene scene;
    testing::internal::CaptureStdout();
    scene.Load(&node, nullptr);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(scene.rain.count, 0u);
    EXPECT_TRUE(scene.rain.particles.empty());
    EXPECT_EQ(scene.rain.z_index, 0.0f);

    Frame(scene, 0.5f);
    EXPECT_EQ(scene.rain.last_update, 0.0f);
    const std::list<Entity*> expect = {&scene};
    EXPECT_EQ(manager.render_queue.entities, expect);
}
