// Animation files: the reader (rows, sorts, bad rows, unreadable files), Length, track
// sampling with its unsigned wrap at the last key, and binding tracks to a skeleton by
// bone name.

#include <gtest/gtest.h>

#include <string>

#include "cfo/cfodocument.h"
#include "support/tempfolder.h"
#include "world/animation.h"
#include "world/meshaam.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

const std::string& Dir() {
    static testsupport::MountedTempFolder folder("velmora_animation");
    return folder.path;
}

void Write(const std::string& name, const std::string& text) {
    testsupport::WriteNativeFile(Dir(), name, text.data(), text.size());
}

bool Parse(Animation& animation, const std::string& text) {
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse(text));
    return animation.LoadDocument(&doc, "test.cfo");
}

void ExpectQuat(const HQuaternion& q, float w, float x, float y, float z, float tol = 1e-6f) {
    EXPECT_NEAR(q.w, w, tol);
    EXPECT_NEAR(q.x, x, tol);
    EXPECT_NEAR(q.y, y, tol);
    EXPECT_NEAR(q.z, z, tol);
}

// cos and sin of 45 and 22.5 degrees.
constexpr float kC45 = 0.70710678f;
constexpr float kC22 = 0.92387953f;
constexpr float kS22 = 0.38268343f;

BoneTrack TrackWith(std::initializer_list<RotationKey> keys) {
    BoneTrack track;
    track.rotations = keys;
    return track;
}

// A skeleton of three bones named root, spine and head, each the child of the one before.
const char* kChainAam =
    "verts={ {0,0,0} } texcoords={ {0,0} } normals={ {0,0,1} }\n"
    "bones={\n"
    " { name=root; parent_id=-1; transf={1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1} }\n"
    " { name=spine; parent_id=0; transf={1,0,0,0, 0,1,0,0, 0,0,1,5, 0,0,0,1} }\n"
    " { name=head; parent_id=1; transf={1,0,0,0, 0,1,0,0, 0,0,1,9, 0,0,0,1} }\n"
    "}\n";

void LoadChain(MeshAAM& mesh) {
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(kChainAam));
    ASSERT_TRUE(mesh.LoadDocument(&doc));
    ASSERT_EQ(mesh.bones.size(), 3u);
}

}  // namespace

TEST(AnimationReader, ReadsRowsAndSortsKeysByFrame) {
    Animation a;
    ASSERT_TRUE(Parse(a,
                      "hips={\n"
                      " pos={ {10,1,2,3} {0,4,5,6} {5,7,8,9} }\n"
                      " rot={ {8,0,1,0,0} {2,0.5,0.5,0.5,0.5} }\n"
                      "}\n"
                      "spine={ rot={ {0,1,0,0,0} } }\n"));
    ASSERT_EQ(a.tracks.size(), 2u);
    const BoneTrack& hips = a.tracks[0];
    EXPECT_EQ(hips.name, "hips");
    EXPECT_EQ(hips.bone_id, -1);
    ASSERT_EQ(hips.positions.size(), 3u);
    EXPECT_EQ(hips.positions[0].frame, 0u);
    EXPECT_EQ(hips.positions[0].position, HVector3(4, 5, 6));
    EXPECT_EQ(hips.positions[1].frame, 5u);
    EXPECT_EQ(hips.positions[1].position, HVector3(7, 8, 9));
    EXPECT_EQ(hips.positions[2].frame, 10u);
    EXPECT_EQ(hips.positions[2].position, HVector3(1, 2, 3));
    ASSERT_EQ(hips.rotations.size(), 2u);
    EXPECT_EQ(hips.rotations[0].frame, 2u);
    // w comes first in the row, as HQuaternion stores it.
    EXPECT_EQ(hips.rotations[0].rotation, HQuaternion(0.5f, 0.5f, 0.5f, 0.5f));
    EXPECT_EQ(hips.rotations[1].frame, 8u);
    EXPECT_EQ(hips.rotations[1].rotation, HQuaternion(0, 1, 0, 0));
    EXPECT_EQ(a.tracks[1].name, "spine");
    EXPECT_TRUE(a.tracks[1].positions.empty());
    EXPECT_EQ(a.Length(), 10);
    // Nothing is bound yet.
    EXPECT_TRUE(a.track_map.empty());
    EXPECT_EQ(a.FindTrack(0), nullptr);
}

TEST(AnimationReader, EqualFramesKeepFileOrder) {
    Animation a;
    ASSERT_TRUE(Parse(a, "b={ rot={ {3,0,0,0,1} {1,1,0,0,0} {3,0,0,1,0} } }"));
    ASSERT_EQ(a.tracks[0].rotations.size(), 3u);
    EXPECT_EQ(a.tracks[0].rotations[0].frame, 1u);
    EXPECT_EQ(a.tracks[0].rotations[1].rotation, HQuaternion(0, 0, 0, 1));
    EXPECT_EQ(a.tracks[0].rotations[2].rotation, HQuaternion(0, 0, 1, 0));
}

TEST(AnimationReader, FramesInHexAndOctalAsScanfReadsThem) {
    Animation a;
    ASSERT_TRUE(Parse(a, "b={ pos={ {0x10,1,2,3} {010,1,2,3} } }"));
    ASSERT_EQ(a.tracks[0].positions.size(), 2u);
    EXPECT_EQ(a.tracks[0].positions[0].frame, 8u);
    EXPECT_EQ(a.tracks[0].positions[1].frame, 16u);
    EXPECT_EQ(a.Length(), 16);
}

TEST(AnimationReader, MalformedRowsAreSkippedWithALine) {
    Animation a;
    CaptureStdout();
    ASSERT_TRUE(Parse(a,
                      "b={\n"
                      " pos={ {1,2,3} {-1,0,0,0} {x,1,2,3} {2,1,2,3,99} {3,1,nan,3} {4,1,2,3} }\n"
                      " rot={ {0,1,0,0} {5,1,0,0,0} {6,1,0,,0} {7,1e99,0,0,0} {} }\n"
                      "}\n"));
    EXPECT_EQ(GetCapturedStdout(),
              "Animation 'test.cfo': bone 'b' pos row 0 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' pos row 1 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' pos row 2 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' pos row 4 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' rot row 0 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' rot row 2 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' rot row 3 is malformed, skipped\n"
              "Animation 'test.cfo': bone 'b' rot row 4 is malformed, skipped\n");
    const BoneTrack& t = a.tracks[0];
    ASSERT_EQ(t.positions.size(), 2u);
    // Fields past the row's last one are ignored.
    EXPECT_EQ(t.positions[0].frame, 2u);
    EXPECT_EQ(t.positions[0].position, HVector3(1, 2, 3));
    EXPECT_EQ(t.positions[1].frame, 4u);
    ASSERT_EQ(t.rotations.size(), 1u);
    EXPECT_EQ(t.rotations[0].frame, 5u);
}

TEST(AnimationReader, FrameAboveInt32IsMalformed) {
    Animation a;
    CaptureStdout();
    ASSERT_TRUE(Parse(a, "b={ pos={ {2147483648,0,0,0} {2147483647,0,0,0} } }"));
    EXPECT_EQ(GetCapturedStdout(),
              "Animation 'test.cfo': bone 'b' pos row 0 is malformed, skipped\n");
    EXPECT_EQ(a.Length(), 2147483647);
}

TEST(AnimationReader, NoKeysHasLengthZero) {
    Animation a;
    ASSERT_TRUE(Parse(a, "b={ } c={ pos={ } }"));
    EXPECT_EQ(a.tracks.size(), 2u);
    EXPECT_EQ(a.Length(), 0);
    Animation empty;
    EXPECT_EQ(empty.Length(), 0);
}

TEST(AnimationReader, LengthIsTheLastFrameOfAnyTrack) {
    Animation a;
    ASSERT_TRUE(Parse(a, "a={ pos={ {4,0,0,0} } rot={ {7,1,0,0,0} } } b={ rot={ {30,1,0,0,0} } }"));
    EXPECT_EQ(a.Length(), 30);
}

TEST(AnimationReader, LoadsThroughTheSearchPath) {
    Write("animations/walk.cfo",
          "// a walk\nspine={\n\tpos={\n\t\t{0,0,0,1}\n\t}\n\trot={\n\t\t{0,1,0,0,0}\n"
          "\t\t{12,0.70710678,0,0,0.70710678}\n\t}\n}\n");
    Animation a;
    ASSERT_TRUE(a.Load("animations/walk.cfo"));
    ASSERT_EQ(a.tracks.size(), 1u);
    EXPECT_EQ(a.tracks[0].name, "spine");
    EXPECT_EQ(a.Length(), 12);
    EXPECT_EQ(a.tracks[0].rotations[1].rotation, HQuaternion(kC45, 0, 0, kC45));
}

TEST(AnimationReader, UnreadableFileFailsWithALine) {
    Dir();
    Animation a;
    a.tracks.resize(2);
    CaptureStdout();
    EXPECT_FALSE(a.Load("animations/absent.cfo"));
    EXPECT_EQ(GetCapturedStdout(),
              "CFO Document 'animations/absent.cfo' not found\n"
              "Animation 'animations/absent.cfo' not loaded\n");
    EXPECT_TRUE(a.tracks.empty());
    EXPECT_EQ(a.Length(), 0);
}

TEST(AnimationReader, ReloadReplacesTheTracks) {
    Animation a;
    ASSERT_TRUE(Parse(a, "a={ } b={ }"));
    ASSERT_TRUE(Parse(a, "c={ }"));
    ASSERT_EQ(a.tracks.size(), 1u);
    EXPECT_EQ(a.tracks[0].name, "c");
}

TEST(TrackSampling, FewerThanTwoKeysGiveTheIdentity) {
    BoneTrack none;
    EXPECT_EQ(none.SampleRotation(0.0f), HQuaternion::IDENTITY);
    BoneTrack one = TrackWith({{0, HQuaternion(0, 1, 0, 0)}});
    EXPECT_EQ(one.SampleRotation(0.0f), HQuaternion::IDENTITY);
    EXPECT_EQ(one.SampleRotation(5.0f), HQuaternion::IDENTITY);
    BoneTrack pos;
    pos.positions = {{0, HVector3(1, 2, 3)}};
    EXPECT_EQ(pos.SamplePosition(0.0f), HVector3(0, 0, 0));
}

TEST(TrackSampling, BeforeTheFirstKeyIsTheIdentity) {
    BoneTrack t = TrackWith({{4, HQuaternion(0, 1, 0, 0)}, {8, HQuaternion(0, 0, 1, 0)}});
    EXPECT_EQ(t.SampleRotation(3.9f), HQuaternion::IDENTITY);
    EXPECT_EQ(t.SampleRotation(-1.0f), HQuaternion::IDENTITY);
}

TEST(TrackSampling, SlerpsBetweenTheKeysAroundTheTime) {
    // Identity at 0, 90 degrees about z at 10, 180 at 20.
    BoneTrack t = TrackWith({{0, HQuaternion(1, 0, 0, 0)},
                             {10, HQuaternion(kC45, 0, 0, kC45)},
                             {20, HQuaternion(0, 0, 0, 1)}});
    ExpectQuat(t.SampleRotation(0.0f), 1, 0, 0, 0);
    ExpectQuat(t.SampleRotation(5.0f), kC22, 0, 0, kS22);
    ExpectQuat(t.SampleRotation(10.0f), kC45, 0, 0, kC45);
    // 135 degrees: between the second and third keys.
    ExpectQuat(t.SampleRotation(15.0f), kS22, 0, 0, kC22);
}

TEST(TrackSampling, TheLastKeyHoldsThroughTheUnsignedWrap) {
    BoneTrack t = TrackWith({{0, HQuaternion(1, 0, 0, 0)}, {10, HQuaternion(kC45, 0, 0, kC45)}});
    // j wraps to key 0, 0 - 10 wraps to 4294967286, and t is as good as 0.
    ExpectQuat(t.SampleRotation(10.0f), kC45, 0, 0, kC45);
    ExpectQuat(t.SampleRotation(12.0f), kC45, 0, 0, kC45);
    ExpectQuat(t.SampleRotation(1000.0f), kC45, 0, 0, kC45);
}

TEST(TrackSampling, EqualFramesDivideByOne) {
    // Two keys at frame 5: key 1 is the last not above 5.5, j wraps to key 0, and the
    // difference 0 becomes 1, so 5.5 is halfway from key 1 back to key 0.
    BoneTrack t = TrackWith({{5, HQuaternion(1, 0, 0, 0)}, {5, HQuaternion(0, 0, 0, 1)}});
    ExpectQuat(t.SampleRotation(5.0f), 0, 0, 0, 1);
    ExpectQuat(t.SampleRotation(5.5f), kC45, 0, 0, kC45);
}

TEST(TrackSampling, TheLastOfEqualFramesIsKeyI) {
    BoneTrack t = TrackWith({{0, HQuaternion(1, 0, 0, 0)},
                             {0, HQuaternion(kC45, 0, 0, kC45)},
                             {10, HQuaternion(0, 0, 0, 1)}});
    ExpectQuat(t.SampleRotation(0.0f), kC45, 0, 0, kC45);
    ExpectQuat(t.SampleRotation(5.0f), kS22, 0, 0, kC22);
}

TEST(TrackSampling, PositionsInterpolateLinearlyAndHoldAtTheEnd) {
    BoneTrack t;
    t.positions = {{0, HVector3(0, 0, 0)}, {4, HVector3(4, 8, -4)}};
    EXPECT_EQ(t.SamplePosition(1.0f), HVector3(1, 2, -1));
    EXPECT_EQ(t.SamplePosition(4.0f), HVector3(4, 8, -4));
    EXPECT_EQ(t.SamplePosition(-2.0f), HVector3(0, 0, 0));
    HVector3 after = t.SamplePosition(6.0f);
    EXPECT_NEAR(after.x, 4.0f, 1e-6f);
    EXPECT_NEAR(after.y, 8.0f, 1e-6f);
}

TEST(BindAnimation, TracksFindTheirBonesByName) {
    MeshAAM mesh;
    LoadChain(mesh);
    EXPECT_EQ(mesh.FindBone("root"), 0);
    EXPECT_EQ(mesh.FindBone("head"), 2);
    EXPECT_EQ(mesh.FindBone("tail"), -1);
    EXPECT_EQ(mesh.FindBone(""), -1);

    Animation a;
    ASSERT_TRUE(Parse(a, "head={ } tail={ } root={ } spine={ }"));
    mesh.BindAnimation(&a);
    // Sorted by the bound ids; the unknown bone, -1, first.
    ASSERT_EQ(a.tracks.size(), 4u);
    EXPECT_EQ(a.tracks[0].name, "tail");
    EXPECT_EQ(a.tracks[0].bone_id, -1);
    EXPECT_EQ(a.tracks[1].name, "root");
    EXPECT_EQ(a.tracks[1].bone_id, 0);
    EXPECT_EQ(a.tracks[2].name, "spine");
    EXPECT_EQ(a.tracks[3].name, "head");
    EXPECT_EQ(a.tracks[3].bone_id, 2);
    ASSERT_EQ(a.track_map.size(), 3u);
    EXPECT_EQ(a.track_map.count(-1), 0u);
    EXPECT_EQ(a.FindTrack(0), &a.tracks[1]);
    EXPECT_EQ(a.FindTrack(2), &a.tracks[3]);
    EXPECT_EQ(a.FindTrack(-1), nullptr);
    EXPECT_EQ(a.FindTrack(3), nullptr);
}

TEST(BindAnimation, TheFirstTrackOfABoneIsKept) {
    MeshAAM mesh;
    LoadChain(mesh);
    Animation a;
    ASSERT_TRUE(Parse(a, "spine={ rot={ {1,1,0,0,0} } } spine={ rot={ {2,1,0,0,0} } }"));
    mesh.BindAnimation(&a);
    ASSERT_NE(a.FindTrack(1), nullptr);
    EXPECT_EQ(a.FindTrack(1)->rotations[0].frame, 1u);
    mesh.BindAnimation(nullptr);  // ignored
}

TEST(BindAnimation, BindingAgainReplacesTheMap) {
    MeshAAM chain;
    LoadChain(chain);
    MeshAAM other;
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("texcoords={ } normals={ } bones={ { name=head; parent_id=-1; } }"));
    ASSERT_TRUE(other.LoadDocument(&doc));
    Animation a;
    ASSERT_TRUE(Parse(a, "spine={ } head={ }"));
    chain.BindAnimation(&a);
    EXPECT_EQ(a.track_map.size(), 2u);
    other.BindAnimation(&a);
    ASSERT_EQ(a.track_map.size(), 1u);
    ASSERT_NE(a.FindTrack(0), nullptr);
    EXPECT_EQ(a.FindTrack(0)->name, "head");
    EXPECT_EQ(a.FindTrack(2), nullptr);
}
