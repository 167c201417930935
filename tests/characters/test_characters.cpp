// The two characters as committed under data/: the hero (resources/models/orsin.aam) and the
// patrol (resources/models/polic.aam), loaded through the engine's own MeshAAM, and their
// animations under animations/, played by the engine's Animator at the frame rates the game
// uses. The mesh checks: size, skeleton, the upper body's subtree, weights, UVs inside the
// atlas regions of tools/layouts, height as drawn, feet on the ground. The animation checks:
// tracks name bones, loops close, feet do not slide at the game's ground speeds, and the
// strike moves the right hand and leaves the legs alone on the upper body's channel.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "cfo/file.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

namespace {

struct Figure {
    const char* name;  // file stem of the model, the animations and the layout
    float scale;       // the game draws the model at this scale
    float walk_fps;    // frames a second the game plays the walk at
    float run_fps;
    float attack_fps;
};

// Test names and failures show the figure by its name.
void PrintTo(const Figure& f, std::ostream* os) { *os << f.name; }

// The hero: Player draws at 1.22, walks at 70 and runs at 100 frames a second, strikes at
// 80. The patrol: CharacterEntity draws at 0.8, walks and runs at 80, strikes at 100.
const Figure kFigures[] = {{"orsin", 1.22f, 70.0f, 100.0f, 80.0f},
                           {"polic", 0.8f, 80.0f, 80.0f, 100.0f}};

// Ground speeds of a PhysicsCharacter with the default moveSpeed 1000 and runSpeed 1500, in
// world units a second: the force over the integrator's drag of 10.
constexpr float kWalkSpeed = 100.0f;
constexpr float kRunSpeed = 150.0f;

void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    ASSERT_TRUE(mounted);
}

std::string ModelPath(const Figure& f) {
    return std::string("resources/models/") + f.name + ".aam";
}

std::string AnimPath(const Figure& f, const char* what) {
    return std::string("animations/") + f.name + "_" + what + ".cfo";
}

struct Rect {
    float x, y, w, h;
};

// The "rect" lines of an atlas layout, in pixels, and the atlas size.
bool ReadLayout(const std::string& path, std::vector<Rect>& rects, float& width, float& height) {
    std::ifstream in(path);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
        line = line.substr(0, line.find('#'));
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "size") {
            words >> width >> height;
        } else if (kind == "rect") {
            Rect r{};
            if (words >> r.x >> r.y >> r.w >> r.h) rects.push_back(r);
        }
    }
    return width > 0 && height > 0 && !rects.empty();
}

std::vector<std::string> Names(const char* const* names, size_t count) {
    return std::vector<std::string>(names, names + count);
}

const char* const kUpperBody[] = {"Mugurkauls_krutis", "Kakls",          "Galva",       "Plecs_kr",
                                  "Augsdelms_kr",      "Apaksdelms_kr",  "Plauksta_kr", "Plecs_lab",
                                  "Augsdelms_lab",     "Apaksdelms_lab", "Plauksta_lab"};
const char* const kLowerBody[] = {"Sakne",   "Gurni",          "Augsstilbs_kr",   "Apaksstilbs_kr",
                                  "Peda_kr", "Augsstilbs_lab", "Apaksstilbs_lab", "Peda_lab"};
const char* const kLegs[] = {"Augsstilbs_kr",  "Apaksstilbs_kr",  "Peda_kr",
                             "Augsstilbs_lab", "Apaksstilbs_lab", "Peda_lab"};

class Character : public ::testing::TestWithParam<Figure> {
protected:
    void SetUp() override {
        MountData();
        ASSERT_TRUE(mesh.Load(ModelPath(GetParam()))) << ModelPath(GetParam());
    }

    int Bone(const std::string& name) const { return mesh.FindBone(name); }

    // Every bone id of the subtree under `root`, itself included.
    std::set<int> Subtree(int root) const {
        std::set<int> out;
        std::vector<int> open{root};
        while (!open.empty()) {
            int b = open.back();
            open.pop_back();
            if (b < 0 || b >= int(mesh.bones.size()) || !out.insert(b).second) continue;
            for (int32_t c : mesh.bones[size_t(b)].children) open.push_back(c);
        }
        return out;
    }

    // Vertices wholly weighted to `bone`.
    std::vector<size_t> RigidTo(int bone) const {
        std::vector<size_t> out;
        for (size_t i = 0; i < mesh.vertex_count; ++i)
            if (int(mesh.bone_ids[i].x) == bone && mesh.bone_weights[i].x > 0.9999f)
                out.push_back(i);
        return out;
    }

    // Vertices all of whose bones are in `bones`.
    std::vector<size_t> OnlyOn(const std::set<int>& bones) const {
        std::vector<size_t> out;
        for (size_t i = 0; i < mesh.vertex_count; ++i) {
            const float ids[4] = {mesh.bone_ids[i].x, mesh.bone_ids[i].y, mesh.bone_ids[i].z,
                                  mesh.bone_ids[i].w};
            bool all = ids[0] >= 0;
            for (float id : ids)
                if (id >= 0 && !bones.count(int(id))) all = false;
            if (all) out.push_back(i);
        }
        return out;
    }

    MeshAAM mesh;
};

}  // namespace

TEST_P(Character, TriangleCountIsLowPoly) {
    ASSERT_EQ(mesh.vertex_count % 3, 0u);
    const uint32_t triangles = mesh.vertex_count / 3;
    EXPECT_GE(triangles, 1500u);
    EXPECT_LE(triangles, 4000u);
}

TEST_P(Character, SkeletonHasARootAtBoneZeroAndAtMost30Bones) {
    ASSERT_FALSE(mesh.bones.empty());
    EXPECT_LE(mesh.bones.size(), size_t(MeshAAM::kMaxBones));
    EXPECT_LT(mesh.bones[0].parent_id, 0);
    EXPECT_EQ(mesh.bones[0].name, "Sakne");
    for (size_t i = 1; i < mesh.bones.size(); ++i) {
        // One root; every other bone hangs from one listed before it.
        EXPECT_GE(mesh.bones[i].parent_id, 0) << mesh.bones[i].name;
        EXPECT_LT(mesh.bones[i].parent_id, int32_t(i)) << mesh.bones[i].name;
    }
    // The root stands at the hips, between the two hip joints.
    ASSERT_GE(Bone("Augsstilbs_kr"), 0);
    ASSERT_GE(Bone("Augsstilbs_lab"), 0);
    const HVector3 root = mesh.bones[0].bind_absolute.position;
    const HVector3 left = mesh.bones[size_t(Bone("Augsstilbs_kr"))].bind_absolute.position;
    const HVector3 right = mesh.bones[size_t(Bone("Augsstilbs_lab"))].bind_absolute.position;
    EXPECT_NEAR(root.z, left.z, 1e-4f);
    EXPECT_NEAR(root.x, (left.x + right.x) * 0.5f, 1e-4f);
    // The figure's right hand is on -x: it faces -y.
    EXPECT_GT(left.x, 0.0f);
    EXPECT_LT(right.x, 0.0f);
}

TEST_P(Character, BindRotationsAreTheIdentity) {
    for (const ::Bone& b : mesh.bones) {
        EXPECT_EQ(b.bind_absolute.rotation, HQuaternion(1, 0, 0, 0)) << b.name;
        EXPECT_EQ(b.bind_local.rotation, HQuaternion(1, 0, 0, 0)) << b.name;
    }
}

TEST_P(Character, UpperBodySubtreeHoldsArmsAndHeadButNoLegs) {
    const int chest = Bone("Mugurkauls_krutis");
    ASSERT_GE(chest, 0);
    const std::set<int> upper = Subtree(chest);
    for (const std::string& name : Names(kUpperBody, std::size(kUpperBody))) {
        ASSERT_GE(Bone(name), 0) << name;
        EXPECT_TRUE(upper.count(Bone(name))) << name;
    }
    for (const std::string& name : Names(kLowerBody, std::size(kLowerBody))) {
        ASSERT_GE(Bone(name), 0) << name;
        EXPECT_FALSE(upper.count(Bone(name))) << name;
    }
    // The whole skeleton hangs from the root.
    EXPECT_EQ(Subtree(0).size(), mesh.bones.size());
}

TEST_P(Character, EveryVertexHasUpToFourBonesWeighingOne) {
    ASSERT_EQ(mesh.bone_ids.size(), mesh.vertex_count);
    size_t blended = 0;
    for (size_t i = 0; i < mesh.vertex_count; ++i) {
        const float ids[4] = {mesh.bone_ids[i].x, mesh.bone_ids[i].y, mesh.bone_ids[i].z,
                              mesh.bone_ids[i].w};
        const float w[4] = {mesh.bone_weights[i].x, mesh.bone_weights[i].y, mesh.bone_weights[i].z,
                            mesh.bone_weights[i].w};
        ASSERT_GE(ids[0], 0.0f) << "vertex " << i << " has no bone";
        float sum = 0.0f;
        int used = 0;
        for (int k = 0; k < 4; ++k) {
            if (ids[k] < 0) break;
            ASSERT_LT(ids[k], float(mesh.bones.size())) << "vertex " << i;
            EXPECT_GT(w[k], 0.0f) << "vertex " << i;
            sum += w[k];
            ++used;
        }
        EXPECT_NEAR(sum, 1.0f, 1e-4f) << "vertex " << i;
        if (used > 1) ++blended;
    }
    // Joints are smooth: a good share of the corners blend two bones or more.
    EXPECT_GT(blended, mesh.vertex_count / 5);
}

TEST_P(Character, JointsBlendTheirTwoBones) {
    // At each joint some vertex carries both bones.
    const char* const pairs[][2] = {{"Augsdelms_lab", "Apaksdelms_lab"},
                                    {"Augsdelms_kr", "Apaksdelms_kr"},
                                    {"Augsstilbs_lab", "Apaksstilbs_lab"},
                                    {"Augsstilbs_kr", "Apaksstilbs_kr"},
                                    {"Plecs_lab", "Augsdelms_lab"},
                                    {"Gurni", "Augsstilbs_kr"},
                                    {"Kakls", "Galva"},
                                    {"Mugurkauls_krutis", "Kakls"}};
    for (const auto& pair : pairs) {
        const int a = Bone(pair[0]), b = Bone(pair[1]);
        ASSERT_GE(a, 0) << pair[0];
        ASSERT_GE(b, 0) << pair[1];
        bool found = false;
        for (size_t i = 0; i < mesh.vertex_count && !found; ++i) {
            const float ids[4] = {mesh.bone_ids[i].x, mesh.bone_ids[i].y, mesh.bone_ids[i].z,
                                  mesh.bone_ids[i].w};
            found = std::count(ids, ids + 4, float(a)) && std::count(ids, ids + 4, float(b));
        }
        EXPECT_TRUE(found) << pair[0] << " and " << pair[1];
    }
}

TEST_P(Character, EveryFaceMapsInsideOneAtlasRegion) {
    std::vector<Rect> rects;
    float width = 0, height = 0;
    const std::string layout =
        std::string(VELMORA_SOURCE_DIR) + "/tools/layouts/" + GetParam().name + ".layout";
    ASSERT_TRUE(ReadLayout(layout, rects, width, height)) << layout;
    EXPECT_EQ(width, 512.0f);
    size_t outside = 0;
    for (size_t t = 0; t + 2 < mesh.vertex_count; t += 3) {
        bool inside_one = false;
        for (const Rect& r : rects) {
            bool all = true;
            for (size_t k = 0; k < 3; ++k) {
                // v = 0 is the atlas's top row, as the texture loaders upload it.
                const float px = mesh.texcoords[t + k].x * width;
                const float py = mesh.texcoords[t + k].y * height;
                all = all && px >= r.x && px <= r.x + r.w && py >= r.y && py <= r.y + r.h;
            }
            if (all) {
                inside_one = true;
                break;
            }
        }
        if (!inside_one) ++outside;
    }
    EXPECT_EQ(outside, 0u);
}

TEST_P(Character, BodyPartsUseTheirOwnRegions) {
    // Triangles wholly on one bone of a part map into that part's regions of the atlas
    // (pixels, from the layouts): hands on skin, feet on boots, forearms on sleeves, thighs
    // on trousers, the head on face and hair (the patrol's on face, skin and cap).
    const Rect hands{256, 480, 256, 32}, boots{0, 480, 256, 32}, sleeves{256, 0, 256, 128},
        trousers{0, 352, 512, 128}, head{0, 0, 256, 128};
    struct Part {
        const char* bone;
        std::vector<Rect> allowed;
    };
    const std::vector<Part> parts = {
        {"Plauksta_kr", {hands}},      {"Plauksta_lab", {hands}},
        {"Peda_kr", {boots}},          {"Peda_lab", {boots}},
        {"Apaksdelms_kr", {sleeves}},  {"Apaksdelms_lab", {sleeves}},
        {"Augsstilbs_kr", {trousers}}, {"Augsstilbs_lab", {trousers}},
        {"Galva", {head, hands}},
    };
    for (const Part& part : parts) {
        const int bone = Bone(part.bone);
        ASSERT_GE(bone, 0) << part.bone;
        size_t checked = 0, wrong = 0;
        for (size_t t = 0; t + 2 < mesh.vertex_count; t += 3) {
            bool rigid = true;
            for (size_t k = 0; k < 3; ++k)
                rigid = rigid && int(mesh.bone_ids[t + k].x) == bone &&
                        mesh.bone_weights[t + k].x > 0.9999f;
            if (!rigid) continue;
            ++checked;
            bool in = false;
            for (const Rect& r : part.allowed) {
                bool all = true;
                for (size_t k = 0; k < 3; ++k) {
                    const float px = mesh.texcoords[t + k].x * 512.0f;
                    const float py = mesh.texcoords[t + k].y * 512.0f;
                    all = all && px >= r.x && px <= r.x + r.w && py >= r.y && py <= r.y + r.h;
                }
                in = in || all;
            }
            if (!in) ++wrong;
        }
        EXPECT_GT(checked, 10u) << part.bone;
        EXPECT_EQ(wrong, 0u) << part.bone;
    }
}

TEST_P(Character, TheFaceLooksForward) {
    // Head triangles on the face region lie on the front half (-y), and the atlas's row of
    // the eyes (42% down the face region) falls at eye height: between 90% and 97% of the
    // figure's height. Along the face, v runs linearly with height.
    const int head = Bone("Galva");
    ASSERT_GE(head, 0);
    const float head_y = mesh.bones[size_t(head)].bind_absolute.position.y;
    float top = 0.0f;
    for (const HVector3& p : mesh.positions) top = std::max(top, p.z);
    std::vector<std::pair<float, float>> rows;  // (v in pixels, z) of face corners
    for (size_t t = 0; t + 2 < mesh.vertex_count; t += 3) {
        bool on_face = true;
        for (size_t k = 0; k < 3; ++k) {
            on_face = on_face && int(mesh.bone_ids[t + k].x) == head &&
                      mesh.texcoords[t + k].x * 512.0f <= 128.0f &&
                      mesh.texcoords[t + k].y * 512.0f <= 128.0f;
        }
        if (!on_face) continue;
        for (size_t k = 0; k < 3; ++k) {
            EXPECT_LE(mesh.positions[t + k].y, head_y + 1.0f);
            rows.push_back({mesh.texcoords[t + k].y * 512.0f, mesh.positions[t + k].z});
        }
    }
    ASSERT_GT(rows.size(), 120u);
    const float eye_row = 128.0f * 0.42f;
    std::pair<float, float> above{-1e9f, 0.0f}, below{1e9f, 0.0f};
    for (const auto& r : rows) {
        if (r.first <= eye_row && r.first > above.first) above = r;
        if (r.first >= eye_row && r.first < below.first) below = r;
    }
    ASSERT_GT(above.first, 0.0f);
    ASSERT_LT(below.first, 128.0f);
    ASSERT_GT(below.first, above.first);
    const float f = (eye_row - above.first) / (below.first - above.first);
    const float eye_z = above.second + (below.second - above.second) * f;
    EXPECT_GT(above.second, below.second);  // down the picture is down the face
    EXPECT_GT(eye_z, 0.90f * top);
    EXPECT_LT(eye_z, 0.97f * top);
}

TEST_P(Character, StandsAbout80UnitsTallAsDrawn) {
    float top = -std::numeric_limits<float>::max();
    for (const HVector3& p : mesh.positions) top = std::max(top, p.z);
    EXPECT_NEAR(top * GetParam().scale, 80.0f, 6.0f);
}

TEST_P(Character, FeetStandOnTheGround) {
    float bottom = std::numeric_limits<float>::max();
    for (const HVector3& p : mesh.positions) bottom = std::min(bottom, p.z);
    EXPECT_NEAR(bottom, 0.0f, 1e-4f);
    for (const char* foot : {"Peda_kr", "Peda_lab"}) {
        float low = std::numeric_limits<float>::max();
        const std::vector<size_t> on = RigidTo(Bone(foot));
        ASSERT_FALSE(on.empty()) << foot;
        for (size_t i : on) low = std::min(low, mesh.positions[i].z);
        EXPECT_NEAR(low, 0.0f, 1e-4f) << foot;
    }
    // The toes point to -y, the way the figure faces.
    ASSERT_GE(Bone("Peda_kr"), 0);
    const std::vector<size_t> on = RigidTo(Bone("Peda_kr"));
    float front = 0.0f;
    for (size_t i : on) front = std::min(front, mesh.positions[i].y);
    const float ankle_y = mesh.bones[size_t(Bone("Peda_kr"))].bind_absolute.position.y;
    EXPECT_LT(front, ankle_y - 5.0f);
}

// ---------------------------------------------------------------- animations

namespace {

class CharacterAnimation : public Character {
protected:
    void LoadAnim(Animation& anim, const char* what) {
        ASSERT_TRUE(anim.Load(AnimPath(GetParam(), what))) << AnimPath(GetParam(), what);
        mesh.BindAnimation(&anim);
    }

    struct Sample {
        float time;
        HVector3 p;
    };

    // Plays `anim` on channel 0 at `fps` for `seconds` and records vertex `v` after each
    // pose, skinned by DeformVertices.
    std::vector<Sample> Track(Animation& anim, float fps, float seconds, size_t v) {
        Animator animator;
        animator.SetupChannel(0, 1.0f, 0.0f, 0);
        animator.Play(&anim, 0.0f, fps, 0);
        std::vector<Sample> out;
        for (int k = 1; k * kStep <= seconds; ++k) {
            const float time = float(k) * kStep;
            animator.Update(mesh, time);
            mesh.DeformVertices();
            out.push_back({time, mesh.skinned_positions[v]});
        }
        return out;
    }

    // The lowest vertex of a foot in the bind pose (the first of them).
    size_t LowestOf(const char* foot) const {
        size_t best = 0;
        float low = std::numeric_limits<float>::max();
        for (size_t i : RigidTo(Bone(foot)))
            if (mesh.positions[i].z < low - 1e-6f) {
                low = mesh.positions[i].z;
                best = i;
            }
        return best;
    }

    // While the foot vertex is on the ground (within `contact` of z = 0) it must move
    // backwards (+y in model space) at the ground speed, as drawn.
    void ExpectNoSlide(const char* what, float fps, float speed) {
        Animation anim;
        LoadAnim(anim, what);
        const float length = float(anim.Length());
        ASSERT_GT(length, 0.0f);
        const float cycle = length / fps;
        for (const char* foot : {"Peda_kr", "Peda_lab"}) {
            ASSERT_FALSE(RigidTo(Bone(foot)).empty()) << foot;
            const std::vector<Sample> s = Track(anim, fps, 2.0f * cycle, LowestOf(foot));
            float travelled = 0.0f, time = 0.0f;
            int steps = 0;
            float lowest = 0.0f;
            for (size_t k = 1; k < s.size(); ++k) {
                lowest = std::min(lowest, s[k].p.z);
                if (s[k - 1].p.z > kContact || s[k].p.z > kContact) continue;
                const float dt = s[k].time - s[k - 1].time;
                const float vy = (s[k].p.y - s[k - 1].p.y) / dt * GetParam().scale;
                // Each step on the ground goes backwards at about the ground speed.
                EXPECT_NEAR(vy, speed, 0.35f * speed) << what << " " << foot << " at " << s[k].time;
                EXPECT_NEAR(s[k].p.x, s[k - 1].p.x, 1e-3f);
                travelled += s[k].p.y - s[k - 1].p.y;
                time += dt;
                ++steps;
            }
            // On the ground for a good part of each cycle, at the ground speed on average.
            ASSERT_GT(steps, int(0.2f * float(s.size()))) << what << " " << foot;
            EXPECT_NEAR(travelled / time * GetParam().scale, speed, 0.15f * speed)
                << what << " " << foot;
            // The foot never sinks into the ground.
            EXPECT_GT(lowest, -0.5f) << what << " " << foot;
        }
    }

    static constexpr float kStep = 0.02f;  // above the animation step of 0.016 s
    static constexpr float kContact = 0.05f;
};

}  // namespace

TEST_P(CharacterAnimation, EveryTrackNamesABoneOfItsSkeleton) {
    for (const char* what : {"idle", "walk", "run", "attack"}) {
        Animation anim;
        LoadAnim(anim, what);
        ASSERT_FALSE(anim.tracks.empty()) << what;
        for (const BoneTrack& track : anim.tracks) {
            EXPECT_GE(track.bone_id, 0) << what << ": " << track.name;
            EXPECT_GE(track.rotations.size(), 2u) << what << ": " << track.name;
            EXPECT_TRUE(track.positions.empty()) << what << ": " << track.name;
        }
        EXPECT_EQ(anim.track_map.size(), anim.tracks.size()) << what;
    }
}

TEST_P(CharacterAnimation, LoopsEndOnTheirFirstKey) {
    for (const char* what : {"idle", "walk", "run", "attack"}) {
        Animation anim;
        LoadAnim(anim, what);
        for (const BoneTrack& track : anim.tracks) {
            ASSERT_GE(track.rotations.size(), 2u);
            EXPECT_EQ(track.rotations.front().frame, 0u) << what << ": " << track.name;
            EXPECT_EQ(int32_t(track.rotations.back().frame), anim.Length())
                << what << ": " << track.name;
            EXPECT_EQ(track.rotations.front().rotation, track.rotations.back().rotation)
                << what << ": " << track.name;
        }
    }
}

TEST_P(CharacterAnimation, WalkKeepsTheFeetStillOnTheGround) {
    ExpectNoSlide("walk", GetParam().walk_fps, kWalkSpeed);
}

TEST_P(CharacterAnimation, RunKeepsTheFeetStillOnTheGround) {
    ExpectNoSlide("run", GetParam().run_fps, kRunSpeed);
}

TEST_P(CharacterAnimation, StrikeOnTheUpperBodyChannelMovesTheRightHandNotTheLegs) {
    Animation idle, attack;
    LoadAnim(idle, "idle");
    LoadAnim(attack, "attack");
    ASSERT_GE(Bone("Mugurkauls_krutis"), 0);
    // The attack's keys are all in the upper body.
    const std::set<int> upper = Subtree(Bone("Mugurkauls_krutis"));
    for (const BoneTrack& track : attack.tracks)
        EXPECT_TRUE(upper.count(track.bone_id)) << track.name;

    // As the player does it: channel 0 over the whole skeleton, channel 1 from the chest.
    Animator animator;
    animator.SetupChannel(1, 1.0f, 0.0f, Bone("Mugurkauls_krutis"));
    animator.SetupChannel(0, 1.0f, 0.0f, 0);
    animator.Play(&idle, 0.0f, 20.0f, 0);
    animator.Play(&attack, 0.0f, GetParam().attack_fps, 1);

    std::set<int> legs;
    for (const std::string& name : Names(kLegs, std::size(kLegs))) {
        ASSERT_GE(Bone(name), 0) << name;
        legs.insert(Bone(name));
    }
    const std::vector<size_t> leg_vertices = OnlyOn(legs);
    ASSERT_GT(leg_vertices.size(), 100u);
    const std::vector<size_t> hand = RigidTo(Bone("Plauksta_lab"));
    ASSERT_FALSE(hand.empty());

    auto centre = [&](const std::vector<HVector3>& p) {
        HVector3 c(0, 0, 0);
        for (size_t i : hand) c = c + p[i];
        return c * (1.0f / float(hand.size()));
    };
    const HVector3 rest = centre(mesh.positions);
    float farthest = 0.0f;
    const float seconds = float(attack.Length()) / GetParam().attack_fps;
    for (int k = 1; k * kStep <= seconds; ++k) {
        animator.Update(mesh, float(k) * kStep);
        mesh.DeformVertices();
        const HVector3 d = centre(mesh.skinned_positions) - rest;
        farthest = std::max(farthest, std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z));
        float moved = 0.0f;
        for (size_t i : leg_vertices) {
            const HVector3 e = mesh.skinned_positions[i] - mesh.positions[i];
            moved = std::max(moved, std::fabs(e.x) + std::fabs(e.y) + std::fabs(e.z));
        }
        EXPECT_LT(moved, 1e-3f) << "legs moved at " << float(k) * kStep;
    }
    EXPECT_GT(farthest * GetParam().scale, 20.0f);
}

INSTANTIATE_TEST_SUITE_P(Figures, Character, ::testing::ValuesIn(kFigures),
                         [](const ::testing::TestParamInfo<Figure>& info) {
                             return std::string(info.param.name);
                         });
INSTANTIATE_TEST_SUITE_P(Figures, CharacterAnimation, ::testing::ValuesIn(kFigures),
                         [](const ::testing::TestParamInfo<Figure>& info) {
                             return std::string(info.param.name);
                         });
