// Skeletal animation: one animation step of Animator::Update for characters of 30 bones
// posed by two channels (channel 0 from the root, channel 1 from the chest up), against
// the matrix palette a matrix-skinning renderer would compute for the same poses (per
// bone: parent * local as 4x4 matrices, times the inverse bind matrix).
//
// The skeleton and the animations are made here, so that the figures do not depend on
// the game's character files.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "math/hmatrix3.h"
#include "math/hmatrix4.h"
#include "math/hquaternion.h"
#include "platform/settings.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

namespace {

constexpr int kBones = 30;
constexpr int kChest = 3;

// A humanoid tree: hips, spine, chest, neck and head; two arms of five from the chest; two
// legs of four from the hips; jaw and eyes on the head; a cloth bone on the hips and a
// sleeve on each upper arm.
// clang-format off
const int kParents[kBones] = {
    -1, 0, 1, 2, 3, 4,          // hips, spine1, spine2, chest, neck, head
    3, 6, 7, 8, 9,              // left shoulder, upper arm, forearm, hand, finger
    3, 11, 12, 13, 14,          // right arm
    0, 16, 17, 18,              // left thigh, shin, foot, toe
    0, 20, 21, 22,              // right leg
    5, 5, 5,                    // jaw, eyes
    0, 7, 12,                   // cloth, sleeves
};
// clang-format on

HQuaternion SmallRotation(float a, float b, float c) {
    HQuaternion q(1.0f, a, b, c);
    q.Normalise();
    return q;
}

// The "aam" text of the skeleton: bind rotations a little off the identity, bones spread
// about a metre and a half of height.
std::string SkeletonText() {
    std::string text = "texcoords={ } normals={ }\nbones={\n";
    for (int b = 0; b < kBones; ++b) {
        HQuaternion q = SmallRotation(0.05f * std::sin(b * 1.3f), 0.04f * std::cos(b * 0.7f),
                                      0.03f * std::sin(b * 2.1f));
        HMatrix3 r = q.ToRotationMatrix();
        float x = 10.0f * std::sin(b * 0.9f), y = 5.0f * std::cos(b * 1.7f), z = 5.0f * b;
        char row[512];
        std::snprintf(row, sizeof(row),
                      " { name=b%d; parent_id=%d; transf={%g,%g,%g,%g, %g,%g,%g,%g, %g,%g,%g,%g, "
                      "0,0,0,1} }\n",
                      b, kParents[b], r[0][0], r[0][1], r[0][2], x, r[1][0], r[1][1], r[1][2], y,
                      r[2][0], r[2][1], r[2][2], z);
        text += row;
    }
    return text + "}\n";
}

// An animation with a track for every bone: 21 rotation keys over 40 frames and three
// position keys. `phase` makes two different animations.
std::string AnimationText(float phase) {
    std::string text;
    for (int b = 0; b < kBones; ++b) {
        text += "b" + std::to_string(b) + "={ pos={ {0,0,0,0} {20,0,1,0} {40,0,0,0} } rot={ ";
        for (int f = 0; f <= 40; f += 2) {
            float s = std::sin(phase + f * 0.157f + b * 0.3f);
            HQuaternion q = SmallRotation(0.3f * s, 0.2f * std::cos(phase + f * 0.1f), 0.1f * s);
            char row[160];
            std::snprintf(row, sizeof(row), "{%d,%g,%g,%g,%g} ", f, q.w, q.x, q.y, q.z);
            text += row;
        }
        text += "} }\n";
    }
    return text;
}

struct Character {
    MeshAAM mesh;
    Animator animator;
};

struct Crowd {
    Animation run, attack;
    std::vector<std::unique_ptr<Character>> characters;
    std::vector<HMatrix4> inverse_bind;       // per bone
    std::vector<HVector3> local_translation;  // per bone, in the parent's frame

    explicit Crowd(int count) {
        r_animation_step = 0.016f;
        CfoDocument run_doc, attack_doc;
        run_doc.Parse(AnimationText(0.0f));
        attack_doc.Parse(AnimationText(1.7f));
        run.LoadDocument(&run_doc, "run");
        attack.LoadDocument(&attack_doc, "attack");
        const std::string skeleton = SkeletonText();
        for (int c = 0; c < count; ++c) {
            auto ch = std::make_unique<Character>();
            CfoDocument doc;
            doc.Parse(skeleton);
            ch->mesh.LoadDocument(&doc);
            if (ch->mesh.bones.size() != kBones) std::abort();
            ch->mesh.BindAnimation(&run);
            ch->mesh.BindAnimation(&attack);
            ch->animator.SetupChannel(0, 1.0f, 0.0f, 0);
            ch->animator.SetupChannel(1, 1.0f, 0.0f, kChest);
            // Speeds differ so that the characters are not in step.
            ch->animator.Play(&run, 0.0f, 20.0f + c, 0);
            ch->animator.Play(&attack, 0.0f, 25.0f + c, 1);
            characters.push_back(std::move(ch));
        }
        const MeshAAM& mesh = characters[0]->mesh;
        for (int b = 0; b < kBones; ++b) {
            const Bone& bone = mesh.bones[static_cast<size_t>(b)];
            inverse_bind.push_back(
                Matrix(bone.bind_absolute.rotation, bone.bind_absolute.position).Inverse());
            HVector3 t = bone.bind_local.position;
            if (bone.parent_id >= 0)
                t = mesh.bones[static_cast<size_t>(bone.parent_id)]
                        .bind_absolute.rotation.UnitInverse() *
                    t;
            local_translation.push_back(t);
        }
    }

    static HMatrix4 Matrix(const HQuaternion& q, const HVector3& p) {
        HMatrix4 m(q.ToRotationMatrix());
        m[0][3] = p.x;
        m[1][3] = p.y;
        m[2][3] = p.z;
        return m;
    }

    // The palette from the posed local rotations; bones come after their parents here.
    void Palette(const MeshAAM& mesh, std::vector<HMatrix4>& world,
                 std::vector<HMatrix4>& palette) const {
        for (int b = 0; b < kBones; ++b) {
            const Bone& bone = mesh.bones[static_cast<size_t>(b)];
            HMatrix4 local = Matrix(bone.local.rotation, local_translation[static_cast<size_t>(b)]);
            world[static_cast<size_t>(b)] =
                bone.parent_id < 0 ? local : world[static_cast<size_t>(bone.parent_id)] * local;
            palette[static_cast<size_t>(b)] =
                world[static_cast<size_t>(b)] * inverse_bind[static_cast<size_t>(b)];
        }
    }
};

void BM_AnimatorUpdate(benchmark::State& state) {
    Crowd crowd(static_cast<int>(state.range(0)));
    float time = 0.0f;
    for (auto _ : state) {
        time += r_animation_step;
        for (auto& ch : crowd.characters) ch->animator.Update(ch->mesh, time);
        benchmark::DoNotOptimize(crowd.characters[0]->mesh.bone_rotations[kBones - 1]);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_AnimatorUpdate)->Arg(1)->Arg(10)->Unit(benchmark::kMicrosecond);

void BM_MatrixPalette(benchmark::State& state) {
    Crowd crowd(static_cast<int>(state.range(0)));
    float time = 0.0f;
    // The poses of one step: the palettes are computed from the same local rotations.
    time += 1.0f;
    for (auto& ch : crowd.characters) ch->animator.Update(ch->mesh, time);
    std::vector<HMatrix4> world(kBones), palette(kBones);
    // Both routes give one pose: each palette matrix moves a point as the bone's skin does.
    for (auto& ch : crowd.characters) {
        crowd.Palette(ch->mesh, world, palette);
        for (int b = 0; b < kBones; ++b) {
            const BoneTransform& skin = ch->mesh.bones[static_cast<size_t>(b)].skin;
            HVector3 p(3.0f, -2.0f, 40.0f);
            HVector3 d = palette[static_cast<size_t>(b)] * p - (skin.rotation * p + skin.position);
            if (d.Length() > 1e-2f) {
                state.SkipWithError("the palette and the skin disagree");
                return;
            }
        }
    }
    for (auto _ : state) {
        for (auto& ch : crowd.characters) {
            crowd.Palette(ch->mesh, world, palette);
            benchmark::DoNotOptimize(palette.data());
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_MatrixPalette)->Arg(1)->Arg(10)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
