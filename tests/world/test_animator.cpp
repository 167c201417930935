// The Animator: channel set-up and the start, fade, stop and pause arithmetic, the step
// that Update waits for, frame wrapping and holding, the three poses (replace, weighted,
// blend) with the skin formula on a three-bone chain, and the guards against bad channel
// numbers, bad root bones, skeletons over 30 bones and skeletons whose parents loop.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "cfo/cfodocument.h"
#include "platform/settings.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

namespace {

constexpr float kC45 = 0.70710678f;

HQuaternion RotZ(float degrees) {
    float half = degrees * 3.14159265358979f / 360.0f;
    return HQuaternion(std::cos(half), 0.0f, 0.0f, std::sin(half));
}

// q and -q are one rotation: the comparison takes the sign nearer to the expected one.
void ExpectRotation(const HQuaternion& q, const HQuaternion& e, float tol = 1e-5f) {
    float sign = q.Dot(e) < 0.0f ? -1.0f : 1.0f;
    EXPECT_NEAR(sign * q.w, e.w, tol);
    EXPECT_NEAR(sign * q.x, e.x, tol);
    EXPECT_NEAR(sign * q.y, e.y, tol);
    EXPECT_NEAR(sign * q.z, e.z, tol);
}

void ExpectVector(const HVector3& v, float x, float y, float z, float tol = 1e-5f) {
    EXPECT_NEAR(v.x, x, tol);
    EXPECT_NEAR(v.y, y, tol);
    EXPECT_NEAR(v.z, z, tol);
}

void LoadMesh(MeshAAM& mesh, const std::string& text) {
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    ASSERT_TRUE(mesh.LoadDocument(&doc));
}

void LoadAnimation(Animation& animation, const MeshAAM& mesh, const std::string& text) {
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    ASSERT_TRUE(animation.LoadDocument(&doc, "test.cfo"));
    mesh.BindAnimation(&animation);
}

const char* kOneBoneAam =
    "texcoords={ } normals={ }\n"
    "bones={ { name=root; parent_id=-1; transf={1,0,0,2, 0,1,0,4, 0,0,1,6, 0,0,0,1} } }\n";

// A: root from 90 degrees about z at frame 0 to 180 at frame 10: frame f samples 90 + 9f,
// and the pose, inverted, turns the bone by -(90 + 9f).
const char* kA = "root={ rot={ {0,0.70710678,0,0,0.70710678} {10,0,0,0,1} } }";
// B: the mirror of A; frame f poses 90 + 9f.
const char* kB = "root={ rot={ {0,0.70710678,0,0,-0.70710678} {10,0,0,0,-1} } }";
// A track for a bone the skeleton lacks.
const char* kNobody = "nobody={ rot={ {0,0,1,0,0} {10,0,1,0,0} } }";

class AnimatorTest : public testing::Test {
protected:
    void SetUp() override {
        r_animation_step = 0.016f;
        LoadMesh(mesh, kOneBoneAam);
        LoadAnimation(a, mesh, kA);
        LoadAnimation(b, mesh, kB);
        animator.SetupChannel(0, 1.0f, 0.0f, 0);
    }
    const HQuaternion& Local() const { return mesh.bones[0].local.rotation; }
    AnimationChannel& Channel(int c = 0) { return animator.channels[c]; }

    MeshAAM mesh;
    Animation a, b;
    Animator animator;
};

}  // namespace

TEST_F(AnimatorTest, ChannelsStartEmpty) {
    Animator fresh;
    EXPECT_EQ(fresh.last_update, 0.0f);
    EXPECT_EQ(fresh.now, 0.0f);
    for (const AnimationChannel& ch : fresh.channels) {
        EXPECT_EQ(ch.animation, nullptr);
        EXPECT_EQ(ch.previous, nullptr);
        EXPECT_FALSE(ch.active);
        EXPECT_EQ(ch.state, 0);
        EXPECT_EQ(ch.root_bone, 0);
        EXPECT_EQ(ch.weight, 1.0f);
    }
}

TEST_F(AnimatorTest, SetupChannelStoresAndDeactivates) {
    Channel(2).active = true;
    animator.SetupChannel(2, 0.5f, 0.25f, 7);
    EXPECT_EQ(Channel(2).weight, 0.5f);
    EXPECT_EQ(Channel(2).fade, 0.25f);
    EXPECT_EQ(Channel(2).root_bone, 7);
    EXPECT_FALSE(Channel(2).active);
}

TEST_F(AnimatorTest, SpeedZeroHoldsTheFirstFrame) {
    animator.Play(&a, 0.0f, 0.0f, 0);
    animator.Update(mesh, 2.0f);
    EXPECT_EQ(Channel().frame, 0.0f);
    ExpectRotation(Local(), RotZ(-90));
    animator.Update(mesh, 7.5f);
    EXPECT_EQ(Channel().frame, 0.0f);
    ExpectRotation(Local(), RotZ(-90));
}

TEST_F(AnimatorTest, PlayLoopsAndWraps) {
    animator.Play(&a, 0.0f, 10.0f, 0);
    EXPECT_TRUE(Channel().active);
    EXPECT_TRUE(Channel().loop);
    EXPECT_EQ(Channel().speed, 10.0f);
    // Exactly at the length is not beyond it.
    animator.Update(mesh, 1.0f);
    EXPECT_EQ(Channel().frame, 10.0f);
    ExpectRotation(Local(), RotZ(-180));
    animator.Update(mesh, 1.25f);  // frame 12.5 of 10
    EXPECT_FLOAT_EQ(Channel().frame, 2.5f);
    ExpectRotation(Local(), RotZ(-112.5f));
    animator.Update(mesh, 2.5f);  // frame 25
    EXPECT_FLOAT_EQ(Channel().frame, 5.0f);
}

TEST_F(AnimatorTest, PlayOnceHoldsTheLastFrameAndStaysActive) {
    animator.PlayOnce(&a, 0.0f, 10.0f, 0);
    EXPECT_FALSE(Channel().loop);
    animator.Update(mesh, 1.25f);
    EXPECT_EQ(Channel().frame, 10.0f);
    EXPECT_TRUE(Channel().active);
    ExpectRotation(Local(), RotZ(-180));
    animator.Update(mesh, 9.0f);
    EXPECT_EQ(Channel().frame, 10.0f);
    EXPECT_TRUE(Channel().active);
    ExpectRotation(Local(), RotZ(-180));
}

TEST_F(AnimatorTest, AnimationWithoutLengthHoldsFrameZero) {
    Animation still;
    LoadAnimation(still, mesh, "root={ rot={ {0,0,0,0,1} } }");
    ASSERT_EQ(still.Length(), 0);
    animator.Play(&still, 0.0f, 10.0f, 0);
    animator.Update(mesh, 2.0f);
    EXPECT_EQ(Channel().frame, 0.0f);
    // One key samples to the identity, and the bind rotation stays.
    EXPECT_EQ(Local(), mesh.bones[0].bind_local.rotation);
    animator.PlayOnce(&still, 0.0f, 10.0f, 1);
    animator.Update(mesh, 3.0f);
    EXPECT_EQ(Channel(1).frame, 0.0f);
}

TEST_F(AnimatorTest, FirstPlayOfAPlainChannelKeepsItsStart) {
    // A fresh channel is plain, and starting a plain channel changes nothing: its frames
    // count from the start it had, 0.
    animator.Update(mesh, 1.0f);
    animator.Play(&a, 0.0f, 10.0f, 0);
    EXPECT_EQ(Channel().start, 0.0f);
    EXPECT_EQ(Channel().state, 0);
    animator.Update(mesh, 1.5f);
    EXPECT_FLOAT_EQ(Channel().frame, 5.0f);
}

TEST_F(AnimatorTest, UpdateWaitsForTheStep) {
    animator.Play(&a, 0.0f, 10.0f, 0);
    mesh.bone_rotations[0] = HQuaternion(0, 0, 1, 0);
    animator.Update(mesh, 0.01f);
    EXPECT_EQ(animator.now, 0.0f);
    EXPECT_EQ(animator.last_update, 0.0f);
    EXPECT_EQ(Channel().frame, 0.0f);
    EXPECT_EQ(mesh.bone_rotations[0], HQuaternion(0, 0, 1, 0));

    animator.Update(mesh, 0.016f);
    EXPECT_EQ(animator.now, 0.016f);
    EXPECT_EQ(animator.last_update, 0.016f);
    EXPECT_FLOAT_EQ(Channel().frame, 0.16f);
    EXPECT_EQ(mesh.bone_rotations[0], mesh.bones[0].skin.rotation);

    animator.Update(mesh, 0.031f);
    EXPECT_EQ(animator.now, 0.016f);
    // last_update + step equal to the time is not greater: the pose runs.
    animator.Update(mesh, 0.032f);
    EXPECT_EQ(animator.now, 0.032f);
}

TEST_F(AnimatorTest, StopRestartsFromFrameZero) {
    animator.Update(mesh, 1.0f);
    animator.Play(&a, 0.0f, 10.0f, 0);
    animator.Update(mesh, 1.2f);
    animator.Stop(0);
    EXPECT_FALSE(Channel().active);
    EXPECT_EQ(Channel().state, 2);
    EXPECT_EQ(Channel().begin, 1.2f);
    const float held = Channel().frame;
    animator.Update(mesh, 1.5f);
    EXPECT_EQ(Channel().frame, held);  // a stopped channel is not advanced

    animator.Play(&a, 0.0f, 10.0f, 0);
    EXPECT_EQ(Channel().state, 0);
    EXPECT_EQ(Channel().start, 1.5f);
    EXPECT_EQ(Channel().begin, 1.5f);
    animator.Update(mesh, 1.75f);
    EXPECT_FLOAT_EQ(Channel().frame, 2.5f);
}

TEST_F(AnimatorTest, PauseResumesFromItsFrame) {
    animator.Update(mesh, 1.0f);
    animator.Play(&a, 0.0f, 10.0f, 0);
    animator.Update(mesh, 1.2f);
    EXPECT_NEAR(Channel().frame, 2.0f, 1e-5f);
    animator.Pause(0);
    EXPECT_FALSE(Channel().active);
    EXPECT_EQ(Channel().state, 3);
    EXPECT_EQ(Channel().begin, 1.2f);
    animator.Update(mesh, 2.0f);
    animator.Play(&a, 0.0f, 10.0f, 0);
    // 2.0 - (1.2 - 0): the 0.8 seconds of the pause move the start.
    EXPECT_NEAR(Channel().start, 0.8f, 1e-6f);
    EXPECT_EQ(Channel().state, 0);
    animator.Update(mesh, 2.1f);
    EXPECT_NEAR(Channel().frame, 3.0f, 1e-4f);
}

TEST_F(AnimatorTest, ResumeNeverMovesTheStartBack) {
    animator.Update(mesh, 2.0f);
    Channel().state = 3;
    Channel().begin = 5.0f;
    Channel().start = 7.0f;
    animator.StartNow(0);  // 2 - (5 - 7) = 4 is not greater than 7
    EXPECT_EQ(Channel().start, 7.0f);
    EXPECT_EQ(Channel().state, 0);

    Channel().state = 3;
    Channel().begin = 1.0f;
    Channel().start = 0.5f;
    animator.StartNow(0);
    EXPECT_EQ(Channel().start, 1.5f);
    EXPECT_EQ(Channel().begin, 1.0f);

    Channel().start = 9.0f;
    animator.StartNow(0);  // plain: nothing
    EXPECT_EQ(Channel().start, 9.0f);
}

TEST_F(AnimatorTest, SetSpeedStoresTheSpeed) {
    animator.Play(&a, 0.0f, 10.0f, 0);
    animator.SetSpeed(0, 4.0f);
    EXPECT_EQ(Channel().speed, 4.0f);
    animator.Update(mesh, 0.5f);
    EXPECT_FLOAT_EQ(Channel().frame, 2.0f);
}

TEST_F(AnimatorTest, FadeBlendsFromThePreviousAndRestartsAtFrameZero) {
    animator.Update(mesh, 1.0f);
    animator.Play(&b, 0.0f, 10.0f, 0);
    animator.Update(mesh, 1.5f);  // B at frame 5
    animator.Play(&a, 0.5f, 10.0f, 0);
    EXPECT_EQ(Channel().previous, &b);
    EXPECT_EQ(Channel().previous_frame, 5.0f);
    EXPECT_EQ(Channel().animation, &a);
    EXPECT_EQ(Channel().state, 1);
    EXPECT_EQ(Channel().start, 2.0f);

    // Halfway: t = (2.0 - 1.75) / 0.5 = 0.5, from B at 5 (135 degrees) to A held at frame 0
    // (-90 degrees), the shortest way: -157.5 degrees.
    animator.Update(mesh, 1.75f);
    EXPECT_FLOAT_EQ(Channel().frame, -2.5f);
    ExpectRotation(Local(), RotZ(-157.5f));
    const HQuaternion halfway = Local();

    // After the fade's end: StartNow, and no pose in that step.
    animator.Update(mesh, 2.25f);
    EXPECT_EQ(Channel().state, 0);
    EXPECT_EQ(Channel().start, 2.25f);
    EXPECT_EQ(Channel().begin, 2.25f);
    EXPECT_EQ(Local(), halfway);
    animator.Update(mesh, 2.5f);
    EXPECT_FLOAT_EQ(Channel().frame, 2.5f);
    ExpectRotation(Local(), RotZ(-112.5f));

    // Play of the animation already playing, with a fade: the old previous stays, the fade
    // runs again from it, and the animation starts over at frame 0.
    animator.Play(&a, 0.5f, 10.0f, 0);
    EXPECT_EQ(Channel().previous, &b);
    EXPECT_EQ(Channel().previous_frame, 5.0f);
    EXPECT_EQ(Channel().state, 1);
    EXPECT_EQ(Channel().start, 3.0f);
    animator.Update(mesh, 2.75f);
    ExpectRotation(Local(), RotZ(-157.5f));
    animator.Update(mesh, 3.25f);
    EXPECT_EQ(Channel().state, 0);
    animator.Update(mesh, 3.5f);
    EXPECT_FLOAT_EQ(Channel().frame, 2.5f);
}

TEST_F(AnimatorTest, PlayEveryFrameAlternatesBetweenFadeAndItsEnd) {
    animator.Update(mesh, 1.0f);
    animator.Play(&b, 0.0f, 10.0f, 0);
    animator.Update(mesh, 1.5f);
    const int expected_state[4] = {1, 0, 1, 0};
    const float expected_start[4] = {2.0f, 1.5f, 2.0f, 1.5f};
    for (int i = 0; i < 4; ++i) {
        animator.Play(&a, 0.5f, 10.0f, 0);
        EXPECT_EQ(Channel().state, expected_state[i]) << i;
        EXPECT_EQ(Channel().start, expected_start[i]) << i;
        EXPECT_EQ(Channel().previous, &b) << i;
    }
}

TEST_F(AnimatorTest, PlayDuringAFadeKeepsThePreviousAndPlayOnceTakesIt) {
    Animation c;
    LoadAnimation(c, mesh, kA);
    animator.Update(mesh, 1.0f);
    animator.Play(&b, 0.0f, 10.0f, 0);
    animator.Update(mesh, 1.5f);
    animator.Play(&a, 0.5f, 10.0f, 0);
    animator.Update(mesh, 1.75f);

    Animator other = animator;
    animator.Play(&c, 0.5f, 10.0f, 0);
    EXPECT_EQ(Channel().previous, &b);
    EXPECT_EQ(Channel().previous_frame, 5.0f);
    EXPECT_EQ(Channel().animation, &c);
    EXPECT_EQ(Channel().state, 0);  // the second request ended the fade

    other.PlayOnce(&c, 0.5f, 10.0f, 0);
    EXPECT_EQ(other.channels[0].previous, &a);
    EXPECT_FLOAT_EQ(other.channels[0].previous_frame, -2.5f);
    EXPECT_FALSE(other.channels[0].loop);
    EXPECT_EQ(other.channels[0].state, 0);
}

TEST_F(AnimatorTest, FadingWithoutPreviousPosesAsUsualAndStays) {
    animator.Update(mesh, 1.0f);
    animator.Play(&a, 0.5f, 10.0f, 0);
    EXPECT_EQ(Channel().previous, nullptr);
    EXPECT_EQ(Channel().state, 1);
    EXPECT_EQ(Channel().start, 1.5f);
    // Before the fade's end the frame is negative: no key, the bind rotation.
    animator.Update(mesh, 1.25f);
    EXPECT_FLOAT_EQ(Channel().frame, -2.5f);
    EXPECT_EQ(Local(), mesh.bones[0].bind_local.rotation);
    animator.Update(mesh, 2.0f);
    EXPECT_FLOAT_EQ(Channel().frame, 5.0f);
    ExpectRotation(Local(), RotZ(-135));
    EXPECT_EQ(Channel().state, 1);
    // It ends within the "fade" and wraps as usual.
    animator.Update(mesh, 3.0f);
    EXPECT_FLOAT_EQ(Channel().frame, 5.0f);
    EXPECT_EQ(Channel().state, 1);
}

TEST_F(AnimatorTest, PlayOnceEndingWhileFadingHolds) {
    animator.Update(mesh, 1.0f);
    animator.PlayOnce(&a, 0.5f, 10.0f, 0);
    EXPECT_EQ(Channel().state, 1);
    animator.Update(mesh, 3.0f);
    EXPECT_EQ(Channel().frame, 10.0f);
    EXPECT_EQ(Channel().state, 1);
    EXPECT_TRUE(Channel().active);
    ExpectRotation(Local(), RotZ(-180));
}

TEST_F(AnimatorTest, PoseBlendRunsFromPreviousAtOneToAnimationAtZero) {
    AnimationChannel ch = Channel();
    animator.PoseBlend(mesh, ch, &b, 5.0f, &a, 0.0f, 1.0f);
    ExpectRotation(Local(), RotZ(135));
    animator.PoseBlend(mesh, ch, &b, 5.0f, &a, 0.0f, 0.0f);
    ExpectRotation(Local(), RotZ(-90));
    animator.PoseBlend(mesh, ch, &b, 5.0f, &a, 0.0f, 0.5f);
    ExpectRotation(Local(), RotZ(-157.5f));
    // A side without a track takes the bind rotation (here the identity).
    Animation nobody;
    LoadAnimation(nobody, mesh, kNobody);
    animator.PoseBlend(mesh, ch, &nobody, 5.0f, &a, 0.0f, 0.5f);
    ExpectRotation(Local(), RotZ(-45));
    animator.PoseBlend(mesh, ch, &a, 0.0f, &nobody, 0.0f, 0.0f);
    ExpectRotation(Local(), mesh.bones[0].bind_local.rotation);
}

TEST_F(AnimatorTest, WeightBelowOneBlendsIntoThePoseThere) {
    Animation left, right;
    // Constant keys: 90 degrees poses -90 and the reverse.
    LoadAnimation(
        left, mesh,
        "root={ rot={ {0,0.70710678,0,0,-0.70710678} {10,0.70710678,0,0,-0.70710678} } }");
    LoadAnimation(right, mesh,
                  "root={ rot={ {0,0.70710678,0,0,0.70710678} {10,0.70710678,0,0,0.70710678} } }");
    animator.SetupChannel(1, 0.25f, 0.0f, 0);
    animator.Play(&left, 0.0f, 10.0f, 0);
    animator.Play(&right, 0.0f, 10.0f, 1);
    animator.Update(mesh, 0.5f);
    // Channel 0 poses 90 degrees; channel 1 wants -90 and gets a quarter of the way.
    ExpectRotation(Local(), RotZ(-90));
    ExpectRotation(mesh.bones[0].absolute.rotation, RotZ(45));
    ExpectRotation(mesh.bones[0].skin.rotation, RotZ(45));
    ExpectRotation(mesh.bone_rotations[0], RotZ(45));

    // Positions blend linearly with the weight.
    mesh.bones[0].absolute.rotation = HQuaternion::IDENTITY;
    mesh.bones[0].absolute.position = HVector3(0, 0, 0);
    animator.PoseWeighted(mesh, Channel(1), &right, 0.0f);
    ExpectVector(mesh.bones[0].absolute.position, 0.5f, 1.0f, 1.5f);
    // 0.99999 already counts as a full weight.
    animator.SetupChannel(1, 0.99999f, 0.0f, 0);
    animator.Play(&right, 0.0f, 10.0f, 1);
    animator.Update(mesh, 1.0f);
    ExpectRotation(mesh.bones[0].absolute.rotation, RotZ(-90));
}

// Bind poses: root turned 90 degrees about z at (10,0,0); spine turned the same at
// (10,0,5); head turned 180 at (10,0,12). The animation tilts the spine 90 degrees about
// x, inverted: -90. With the root's rotation that is the world's -90 about y, which the
// spine passes on to the head.
TEST(AnimatorPose, SkinOfAThreeBoneChain) {
    r_animation_step = 0.016f;
    MeshAAM mesh;
    LoadMesh(mesh,
             "texcoords={ } normals={ }\n"
             "bones={\n"
             " { name=root; parent_id=-1; transf={0,-1,0,10, 1,0,0,0, 0,0,1,0, 0,0,0,1} }\n"
             " { name=spine; parent_id=0; transf={0,-1,0,10, 1,0,0,0, 0,0,1,5, 0,0,0,1} }\n"
             " { name=head; parent_id=1; transf={-1,0,0,10, 0,-1,0,0, 0,0,1,12, 0,0,0,1} }\n"
             "}\n");
    Animation anim;
    LoadAnimation(anim, mesh,
                  "spine={ pos={ {0,50,50,50} {10,-50,0,0} }\n"
                  " rot={ {0,0.70710678,0.70710678,0,0} {10,0.70710678,0.70710678,0,0} } }");
    Animator animator;
    animator.SetupChannel(0, 1.0f, 0.0f, 0);
    animator.Play(&anim, 0.0f, 10.0f, 0);
    animator.Update(mesh, 0.5f);

    const Bone& root = mesh.bones[0];
    const Bone& spine = mesh.bones[1];
    const Bone& head = mesh.bones[2];
    ExpectRotation(root.skin.rotation, HQuaternion(1, 0, 0, 0));
    ExpectVector(root.skin.position, 0, 0, 0);

    // The key, inverted, replaces the spine's bind rotation; position keys move nothing.
    EXPECT_EQ(spine.local.rotation, HQuaternion(kC45, kC45, 0, 0).Inverse());
    EXPECT_EQ(spine.local.position, HVector3(0, 0, 5));
    ExpectRotation(spine.absolute.rotation, HQuaternion(0.5f, -0.5f, -0.5f, 0.5f));
    ExpectVector(spine.absolute.position, 10, 0, 5);
    ExpectRotation(spine.skin.rotation, HQuaternion(kC45, 0, -kC45, 0));
    ExpectVector(spine.skin.position, 15, 0, -5);

    // The head has no track: its bind pose relative to the spine stays.
    EXPECT_EQ(head.local.rotation, head.bind_local.rotation);
    EXPECT_EQ(head.local.position, head.bind_local.position);
    ExpectRotation(head.absolute.rotation, HQuaternion(0, -kC45, 0, kC45));
    ExpectVector(head.absolute.position, 3, 0, 5);
    ExpectRotation(head.skin.rotation, HQuaternion(kC45, 0, -kC45, 0));
    ExpectVector(head.skin.position, 15, 0, -5);

    // The skins go to the mesh's arrays; the places of bones it lacks keep the identity.
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(mesh.bone_rotations[i], mesh.bones[i].skin.rotation) << i;
        EXPECT_EQ(mesh.bone_positions[i], mesh.bones[i].skin.position) << i;
    }
    EXPECT_EQ(mesh.bone_rotations[3], HQuaternion::IDENTITY);
    EXPECT_EQ(mesh.bone_positions[3], HVector3(0, 0, 0));

    // Software skinning with those arrays: a point above the spine turns with it.
    mesh.positions = {HVector3(10, 0, 6)};
    mesh.skinned_positions = mesh.positions;
    mesh.bone_ids = {HVector4(1, -1, -1, -1)};
    mesh.bone_weights = {HVector4(1, 0, 0, 0)};
    mesh.vertex_count = 1;
    mesh.DeformVertices();
    ExpectVector(mesh.skinned_positions[0], 9, 0, 5);

    // A channel rooted at the spine leaves the root alone.
    Animator upper;
    upper.SetupChannel(1, 1.0f, 0.0f, mesh.FindBone("spine"));
    upper.Play(&anim, 0.0f, 10.0f, 1);
    mesh.bones[0].absolute.position = HVector3(11, 1, 1);
    upper.Update(mesh, 0.5f);
    EXPECT_EQ(mesh.bones[0].absolute.position, HVector3(11, 1, 1));
    ExpectVector(mesh.bones[1].absolute.position, 11, 1, 6);
    ExpectVector(mesh.bones[1].skin.position, 16, 1, -4);
}

TEST(AnimatorPose, ATrackWithoutABoneIsNeverUsed) {
    r_animation_step = 0.016f;
    MeshAAM mesh;
    LoadMesh(mesh, kOneBoneAam);
    Animation nobody;
    LoadAnimation(nobody, mesh, kNobody);
    EXPECT_EQ(nobody.tracks[0].bone_id, -1);
    Animator animator;
    animator.Play(&nobody, 0.0f, 10.0f, 0);
    animator.Update(mesh, 0.5f);
    EXPECT_EQ(mesh.bones[0].local.rotation, mesh.bones[0].bind_local.rotation);
    EXPECT_EQ(mesh.bones[0].local.position, HVector3(2, 4, 6));
    ExpectVector(mesh.bone_positions[0], 0, 0, 0);
}

TEST(AnimatorGuards, ChannelNumbersOutsideTheFiveAreIgnored) {
    MeshAAM mesh;
    LoadMesh(mesh, kOneBoneAam);
    Animation a;
    LoadAnimation(a, mesh, kA);
    Animator animator;
    for (int c : {-1, 5, 6, 1000}) {
        animator.SetupChannel(c, 0.5f, 1.0f, 3);
        animator.Play(&a, 0.0f, 1.0f, c);
        animator.PlayOnce(&a, 1.0f, 1.0f, c);
        animator.BeginFade(c);
        animator.StartNow(c);
        animator.Stop(c);
        animator.Pause(c);
        animator.SetSpeed(c, 9.0f);
    }
    animator.Play(nullptr, 0.0f, 1.0f, 0);
    animator.PlayOnce(nullptr, 0.0f, 1.0f, 0);
    for (const AnimationChannel& ch : animator.channels) {
        EXPECT_EQ(ch.animation, nullptr);
        EXPECT_FALSE(ch.active);
        EXPECT_EQ(ch.state, 0);
        EXPECT_EQ(ch.speed, 0.0f);
        EXPECT_EQ(ch.weight, 1.0f);
    }
}

TEST(AnimatorGuards, RootBoneOutsideTheSkeletonPosesNothing) {
    r_animation_step = 0.016f;
    MeshAAM mesh;
    LoadMesh(mesh, kOneBoneAam);
    Animation a;
    LoadAnimation(a, mesh, kA);
    for (int root : {1, -1, 40}) {
        Animator animator;
        animator.SetupChannel(0, 1.0f, 0.0f, root);
        animator.Play(&a, 0.0f, 10.0f, 0);
        animator.Update(mesh, 0.5f);
        EXPECT_FLOAT_EQ(animator.channels[0].frame, 5.0f);
        EXPECT_EQ(mesh.bones[0].local.rotation, HQuaternion::IDENTITY) << root;
        EXPECT_EQ(mesh.bones[0].skin.position, HVector3(0, 0, 0)) << root;
    }
}

TEST(AnimatorGuards, OverThirtyBonesCopiesThirty) {
    r_animation_step = 0.016f;
    MeshAAM mesh;
    // A chain of 32 bones, one unit apart up z, built by hand (the loader refuses it).
    mesh.bones.resize(32);
    for (int i = 0; i < 32; ++i) {
        Bone& bone = mesh.bones[static_cast<size_t>(i)];
        bone.name = "b" + std::to_string(i);
        bone.parent_id = i - 1;
        bone.bind_absolute.position = HVector3(0, 0, static_cast<float>(i));
        bone.bind_local.position = HVector3(0, 0, i == 0 ? 0.0f : 1.0f);
        if (i + 1 < 32) bone.children.push_back(i + 1);
    }
    Animation a;
    LoadAnimation(a, mesh, "b29={ rot={ {0,0.70710678,0,0,0.70710678} {10,0,0,0,1} } }");
    for (int i = 0; i < MeshAAM::kMaxBones; ++i) mesh.bone_positions[i] = HVector3(9, 9, 9);
    Animator animator;
    animator.Play(&a, 0.0f, 10.0f, 0);
    animator.Update(mesh, 0.5f);
    // The whole chain is posed, down to bone 31.
    ExpectVector(mesh.bones[31].absolute.position, 0, 0, 31);
    ExpectRotation(mesh.bones[31].absolute.rotation, RotZ(-135));
    ExpectRotation(mesh.bone_rotations[29], RotZ(-135));
    EXPECT_EQ(mesh.bone_positions[29], mesh.bones[29].skin.position);
    EXPECT_EQ(mesh.bone_positions[28], mesh.bones[28].skin.position);
}

TEST(AnimatorGuards, ParentsThatLoopDoNotRecurseForever) {
    r_animation_step = 0.016f;
    MeshAAM mesh;
    // The loader accepts two bones that are each other's parent.
    LoadMesh(mesh,
             "texcoords={ } normals={ }\n"
             "bones={ { name=root; parent_id=1; } { name=other; parent_id=0; } }\n");
    ASSERT_EQ(mesh.bones[0].children, std::vector<int32_t>{1});
    ASSERT_EQ(mesh.bones[1].children, std::vector<int32_t>{0});
    Animation a;
    LoadAnimation(a, mesh, kA);
    Animator animator;
    animator.Play(&a, 0.0f, 10.0f, 0);
    animator.Update(mesh, 0.5f);
    // Each bone is posed once on the way down; the walk stops at the depth of two bones.
    ExpectRotation(mesh.bones[0].local.rotation, RotZ(-135));
    ExpectRotation(mesh.bones[1].absolute.rotation, RotZ(-135));

    // Children naming bones that do not exist are skipped.
    mesh.bones[1].children = {5, -2};
    animator.Update(mesh, 1.0f);
    ExpectRotation(mesh.bones[0].local.rotation, RotZ(-180));
}
