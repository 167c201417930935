#pragma once
// Animator: poses a MeshAAM's skeleton from up to five animation channels. Each channel
// plays one Animation over the subtree of its `root_bone`, so that the upper body can
// strike while the legs run; channels run in order 0 to 4 and a later one overwrites (or,
// with a weight below 1, blends into) what an earlier one left in its subtree.
//
// The pose is recomputed at most once per animation step (`r_animation_step`), whatever
// the frame rate. It ends as each bone's `skin` rotation and position, which Update copies
// into the mesh's `bone_rotations` and `bone_positions` for the vertex program.
//
// Behaviour the game's animations were made against, and which stays:
// - a rotation key replaces the bone's bind rotation, and is applied inverted;
// - position keys are sampled but the bones keep their bind offsets;
// - Play of the animation a channel already holds, with a fade, fades again from the old
//   `previous` and starts over at frame 0; a Play during a fade ends the fade at once;
// - a channel fading (state 1) without a `previous` stays in that state and poses as usual,
//   its frame counted from the end of the fade (negative until then), until the next Play.
//
// Ownership: a character owns its Animator; the channels point at animations the
// character owns. The mesh is passed to each Update.

#include <cstdint>

#include "world/animation.h"
#include "world/meshaam.h"

struct AnimationChannel {
    Animation* animation = nullptr;  // playing now, 0 for none; not owned
    Animation* previous = nullptr;   // the one being left during a fade; not owned
    float previous_frame = 0.0f;     // frame of `previous` at the change
    int32_t root_bone = 0;           // the channel poses this bone and its subtree
    float frame = 0.0f;              // current position
    float weight = 1.0f;             // 1 replaces; below that blends with the pose there
    float speed = 0.0f;              // frames for each second
    float fade = 0.0f;               // seconds of the cross-fade
    float begin = 0.0f;              // time of the last start (or stop, or pause)
    float start = 0.0f;              // frame time base; while fading, the fade's end
    bool active = false;             // channel in use
    bool loop = true;                // wraps at the end
    int32_t state = 0;               // STATE_*
};

class Animator {
public:
    static constexpr int kChannels = 5;
    enum State : int32_t { STATE_PLAIN = 0, STATE_FADING = 1, STATE_STOPPED = 2, STATE_PAUSED = 3 };

    float last_update = 0.0f;  // time of the last pose
    float now = 0.0f;
    AnimationChannel channels[kChannels];

    // Channel numbers outside 0..4 are ignored by every operation below.
    void SetupChannel(int channel, float weight, float fade, int root_bone);
    // The looping start. Ignores a null animation. Unless the channel holds `animation`
    // already or is fading, its animation and frame become `previous` and
    // `previous_frame`. Then stores animation, speed and fade, makes the channel active and
    // looping, and fades (fade above 0) or starts now.
    void Play(Animation* animation, float fade, float speed, int channel);
    // The same without looping (the last frame holds, the channel stays active); here
    // `previous` is taken whenever the animation differs, also during a fade.
    void PlayOnce(Animation* animation, float fade, float speed, int channel);
    // Not fading: starts a fade that ends at now + fade. Fading already: StartNow, which
    // ends the fade at once.
    void BeginFade(int channel);
    // Plain: nothing. Fading or stopped: the frames count from now. Paused: the frames go
    // on from where the pause left them. The channel is then plain.
    void StartNow(int channel);
    void Stop(int channel);
    void Pause(int channel);
    void SetSpeed(int channel, float speed);

    // Nothing before last_update + r_animation_step. Otherwise advances every active channel
    // with an animation to `time`, poses its subtree and copies the skin of each bone (30
    // at most) into the mesh's arrays.
    void Update(MeshAAM& mesh, float time);

    // The channel's subtree at `frame` of `animation`, replacing the pose there.
    void PoseReplace(MeshAAM& mesh, const AnimationChannel& channel, Animation* animation,
                     float frame);
    // The same, blended into the pose already there by the channel's weight.
    void PoseWeighted(MeshAAM& mesh, const AnimationChannel& channel, Animation* animation,
                      float frame);
    // The cross-fade: each bone's local rotation is the shortest-path slerp by t from what
    // `animation` at `frame` would give (t = 0) to what `previous` at `previous_frame`
    // would give (t = 1).
    void PoseBlend(MeshAAM& mesh, const AnimationChannel& channel, Animation* previous,
                   float previous_frame, Animation* animation, float frame, float t);

private:
    // Play and PlayOnce: the same start, looping or not.
    void Start(Animation* animation, float fade, float speed, int channel, bool loop);
    static bool Valid(int channel) { return channel >= 0 && channel < kChannels; }
};
