#include "world/animator.h"

#include <algorithm>
#include <cmath>

#include "platform/settings.h"

namespace {

enum class PoseMode { kReplace, kWeighted, kBlend };

struct PoseJob {
    MeshAAM* mesh = nullptr;
    PoseMode mode = PoseMode::kReplace;
    float weight = 1.0f;
    const Animation* animation = nullptr;
    float frame = 0.0f;
    const Animation* previous = nullptr;
    float previous_frame = 0.0f;
    float t = 0.0f;
};

// The local rotation `animation` gives the bone at `frame`: its key, inverted, replaces the
// bind rotation; without a track, or where the track samples to the identity, the bind
// rotation stays. The position is sampled too, and the bone keeps its bind offset.
HQuaternion KeyedRotation(const Bone& bone, const Animation* animation, int32_t id, float frame) {
    const BoneTrack* track = animation ? animation->FindTrack(id) : nullptr;
    if (!track) return bone.bind_local.rotation;
    HQuaternion r = track->SampleRotation(frame);
    HVector3 unused = track->SamplePosition(frame);
    (void)unused;
    if (r == HQuaternion::IDENTITY) return bone.bind_local.rotation;
    return r.Inverse();
}

// Poses bone `id` and its subtree. `depth` counts the bones above it on this walk: a
// skeleton whose parent ids loop makes a loop of children too, and the walk stops once it
// is deeper than the skeleton has bones.
void PoseBone(const PoseJob& job, int32_t id, size_t depth) {
    std::vector<Bone>& bones = job.mesh->bones;
    if (id < 0 || static_cast<size_t>(id) >= bones.size() || depth >= bones.size()) return;
    Bone& bone = bones[static_cast<size_t>(id)];
    const Bone* parent = nullptr;
    if (bone.parent_id >= 0 && static_cast<size_t>(bone.parent_id) < bones.size())
        parent = &bones[static_cast<size_t>(bone.parent_id)];

    BoneTransform local = bone.bind_local;
    if (job.mode == PoseMode::kBlend) {
        HQuaternion to = KeyedRotation(bone, job.animation, id, job.frame);
        HQuaternion from = KeyedRotation(bone, job.previous, id, job.previous_frame);
        local.rotation = HQuaternion::Slerp(job.t, to, from, true);
    } else {
        local.rotation = KeyedRotation(bone, job.animation, id, job.frame);
    }
    bone.local = local;

    BoneTransform absolute;
    if (parent) {
        absolute.rotation = parent->absolute.rotation * local.rotation;
        absolute.position = parent->absolute.position + parent->skin.rotation * local.position;
    } else {
        absolute = local;
    }
    if (job.mode == PoseMode::kWeighted) {
        absolute.rotation =
            HQuaternion::Slerp(job.weight, bone.absolute.rotation, absolute.rotation);
        absolute.position =
            bone.absolute.position + (absolute.position - bone.absolute.position) * job.weight;
    }
    bone.absolute = absolute;

    bone.skin.rotation = absolute.rotation * bone.bind_absolute.rotation.Inverse();
    bone.skin.position = absolute.position - bone.skin.rotation * bone.bind_absolute.position;

    for (size_t c = 0; c < bone.children.size(); ++c) PoseBone(job, bone.children[c], depth + 1);
}

}  // namespace

void Animator::SetupChannel(int channel, float weight, float fade, int root_bone) {
    if (!Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    ch.weight = weight;
    ch.fade = fade;
    ch.root_bone = root_bone;
    ch.active = false;
}

void Animator::Play(Animation* animation, float fade, float speed, int channel) {
    Start(animation, fade, speed, channel, true);
}

void Animator::PlayOnce(Animation* animation, float fade, float speed, int channel) {
    Start(animation, fade, speed, channel, false);
}

void Animator::Start(Animation* animation, float fade, float speed, int channel, bool loop) {
    if (!animation || !Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    // The looping start keeps the animation it fades from while a fade runs; the single
    // play takes the one it leaves whenever it changes.
    const bool keep_previous = loop && ch.state == STATE_FADING;
    if (ch.animation != animation && !keep_previous) {
        ch.previous = ch.animation;
        ch.previous_frame = ch.frame;
    }
    ch.animation = animation;
    ch.speed = speed;
    ch.fade = fade;
    ch.active = true;
    ch.loop = loop;
    if (fade > 0.0f)
        BeginFade(channel);
    else
        StartNow(channel);
}

void Animator::BeginFade(int channel) {
    if (!Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    if (ch.state != STATE_FADING) {
        ch.state = STATE_FADING;
        ch.start = now + ch.fade;
    } else {
        StartNow(channel);
    }
}

void Animator::StartNow(int channel) {
    if (!Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    switch (ch.state) {
        case STATE_PLAIN:
            return;
        case STATE_PAUSED: {
            float resumed = now - (ch.begin - ch.start);
            if (resumed > ch.start) ch.start = resumed;
            break;
        }
        default:  // fading or stopped
            ch.start = now;
            ch.begin = now;
            break;
    }
    ch.state = STATE_PLAIN;
}

void Animator::Stop(int channel) {
    if (!Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    ch.active = false;
    ch.state = STATE_STOPPED;
    ch.begin = now;
}

void Animator::Pause(int channel) {
    if (!Valid(channel)) return;
    AnimationChannel& ch = channels[channel];
    ch.active = false;
    ch.state = STATE_PAUSED;
    ch.begin = now;
}

void Animator::SetSpeed(int channel, float speed) {
    if (!Valid(channel)) return;
    channels[channel].speed = speed;
}

void Animator::Update(MeshAAM& mesh, float time) {
    if (last_update + r_animation_step > time) return;
    now = time;
    last_update = time;

    for (int c = 0; c < kChannels; ++c) {
        AnimationChannel& ch = channels[c];
        if (!ch.active || !ch.animation) continue;

        float frame = (now - ch.start) * ch.speed;
        const float length = static_cast<float>(ch.animation->Length());
        if (frame > length) {
            // An animation without keys has length 0: it holds frame 0, looping or not.
            if (ch.loop && length > 0.0f)
                frame -= length * std::floor(frame / length);
            else
                frame = length;
        }
        ch.frame = frame;

        if (ch.state == STATE_FADING && ch.previous) {
            if (now <= ch.start) {
                float t = ch.fade > 0.0f ? (ch.start - now) / ch.fade : 0.0f;
                PoseBlend(mesh, ch, ch.previous, ch.previous_frame, ch.animation, 0.0f, t);
            } else {
                StartNow(c);
            }
            continue;
        }
        if (ch.weight >= 0.99999f)
            PoseReplace(mesh, ch, ch.animation, ch.frame);
        else
            PoseWeighted(mesh, ch, ch.animation, ch.frame);
    }

    const size_t count = std::min(mesh.bones.size(), static_cast<size_t>(MeshAAM::kMaxBones));
    for (size_t i = 0; i < count; ++i) {
        mesh.bone_rotations[i] = mesh.bones[i].skin.rotation;
        mesh.bone_positions[i] = mesh.bones[i].skin.position;
    }
}

void Animator::PoseReplace(MeshAAM& mesh, const AnimationChannel& channel, Animation* animation,
                           float frame) {
    PoseJob job;
    job.mesh = &mesh;
    job.mode = PoseMode::kReplace;
    job.animation = animation;
    job.frame = frame;
    PoseBone(job, channel.root_bone, 0);
}

void Animator::PoseWeighted(MeshAAM& mesh, const AnimationChannel& channel, Animation* animation,
                            float frame) {
    PoseJob job;
    job.mesh = &mesh;
    job.mode = PoseMode::kWeighted;
    job.weight = channel.weight;
    job.animation = animation;
    job.frame = frame;
    PoseBone(job, channel.root_bone, 0);
}

void Animator::PoseBlend(MeshAAM& mesh, const AnimationChannel& channel, Animation* previous,
                         float previous_frame, Animation* animation, float frame, float t) {
    PoseJob job;
    job.mesh = &mesh;
    job.mode = PoseMode::kBlend;
    job.animation = animation;
    job.frame = frame;
    job.previous = previous;
    job.previous_frame = previous_frame;
    job.t = t;
    PoseBone(job, channel.root_bone, 0);
}
