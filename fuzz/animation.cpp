// Fuzzes the animation reader and the Animator. The input is an animation file; when it
// holds a line "===", the text before it is an "aam" skeleton and the rest the animation,
// else a fixed three-bone skeleton is used. The animation is bound and played on every
// channel with fades, stops and pauses, and each pose is checked to stay inside the
// skeleton's arrays.

#include <cstddef>
#include <cstdint>
#include <string>

#include "cfo/cfodocument.h"
#include "platform/settings.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

namespace {

const char* kSkeleton =
    "texcoords={ } normals={ }\n"
    "bones={\n"
    " { name=root; parent_id=-1; transf={1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1} }\n"
    " { name=spine; parent_id=0; transf={0,-1,0,0, 1,0,0,0, 0,0,1,5, 0,0,0,1} }\n"
    " { name=head; parent_id=1; transf={1,0,0,0, 0,1,0,0, 0,0,1,9, 0,0,0,1} }\n"
    "}\n";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::string skeleton = kSkeleton;
    size_t split = text.find("\n===\n");
    if (split != std::string::npos) {
        skeleton = text.substr(0, split);
        text = text.substr(split + 5);
    }

    MeshAAM mesh;
    {
        CfoDocument doc;
        doc.Parse(skeleton);
        if (!mesh.LoadDocument(&doc)) return 0;
    }
    Animation animation;
    {
        CfoDocument doc;
        doc.Parse(text);
        animation.LoadDocument(&doc, "fuzz.cfo");
    }
    const int32_t length = animation.Length();
    if (length < 0) __builtin_trap();
    for (const BoneTrack& track : animation.tracks) {
        track.SampleRotation(0.0f);
        track.SampleRotation(static_cast<float>(length) * 0.5f);
        track.SamplePosition(static_cast<float>(length) + 1.0f);
    }
    mesh.BindAnimation(&animation);
    for (const auto& entry : animation.track_map)
        if (entry.first < 0 || static_cast<size_t>(entry.first) >= mesh.bones.size() ||
            entry.second >= animation.tracks.size())
            __builtin_trap();

    r_animation_step = 0.016f;
    Animator animator;
    const int bones = static_cast<int>(mesh.bones.size());
    animator.SetupChannel(0, 1.0f, 0.0f, 0);
    animator.SetupChannel(1, 0.5f, 0.0f, bones > 1 ? 1 : 0);
    animator.SetupChannel(2, 1.0f, 0.0f, bones);  // outside the skeleton
    animator.Play(&animation, 0.0f, 30.0f, 0);
    animator.Play(&animation, 0.0f, 10.0f, 1);
    animator.PlayOnce(&animation, 0.25f, 20.0f, 2);
    float time = 0.0f;
    for (int step = 0; step < 12; ++step) {
        time += 0.05f;
        if (step == 3) animator.Play(&animation, 0.1f, 30.0f, 0);
        if (step == 4) animator.Play(&animation, 0.1f, 30.0f, 0);
        if (step == 5) animator.Pause(1);
        if (step == 7) animator.Play(&animation, 0.0f, 10.0f, 1);
        if (step == 8) animator.Stop(0);
        if (step == 9) animator.Play(&animation, 0.0f, 0.0f, 0);
        animator.Update(mesh, time);
    }
    return 0;
}
