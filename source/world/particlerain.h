#pragma once
// ParticleRain: the level's rain. A fixed pool of point sprites falls through a fixed box
// over the courtyard, sways with height and starts again at the top when it reaches the
// ground. The Scene owns one as a member (not a child) and drives it: Load once for the
// level, Update from its frame handler, and a render-queue entry each frame, all three
// only while r_particle_rain is set. The class has a type name but no factory: a document
// gets rain through its Scene alone.
//
// The pool is allocated by Load and never grows or shrinks in a frame. The record's first
// field is the position, so the array is drawn in place as a vertex array with the
// record's stride. The simulation runs on the CPU at no more than 30 steps a second, with
// one sin per particle and step; the picture of a drop is the sprite texture, sized by the
// vertex program ("resources/shaders/particles.cg") from the drop's distance to the eye.
//
// Logic (Load, Update, the size guard) lives in particlerain.cpp and needs no GL; Render
// lives in particlerain_gl.cpp.

#include <cstdint>
#include <vector>

#include "math/hvector2.h"
#include "math/hvector3.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/entity.h"

struct RainParticle {
    HVector3 position;  // first in the record: the array is the vertex array
    HVector3 velocity;  // recomputed on every step
    HVector3 drift;     // x and y in -1 to 1, z 0
    float fall_speed;   // negative, units per second
};

class ParticleRain : public Entity {
    VELMORA_ENTITY_TYPE("ParticleRain")

public:
    // The rain's box and motion. They are part of the level's look.
    static constexpr float kAreaMinX = -1405.0f;
    static constexpr float kAreaMaxX = 3248.0f;
    static constexpr float kAreaMinY = -3004.0f;
    static constexpr float kAreaMaxY = 1224.0f;
    static constexpr float kSpawnHeight = 500.0f;  // respawned drops start here
    static constexpr float kFallSlow = -1000.0f;   // fall speeds lie in kFallFast..kFallSlow
    static constexpr float kFallFast = -2000.0f;
    static constexpr float kStep = 0.033333335f;  // 1/30 as a float: the shortest step
    static constexpr float kSwayDivisor = 100.0f;
    static constexpr float kSwayAmplitude = 1000.0f;
    static constexpr float kZIndex = 50.0f;
    // The most drops a level may ask for through r_particle_rain_size: 200 000 drops take
    // 8 MB and a few milliseconds a step, twenty times the level's rain of 10 000. A larger
    // request is cut to it, a negative one gives no rain; each says so once at Load.
    static constexpr uint32_t kMaxCount = 200000;

    ParticleRain() = default;
    // The pool goes with the object.
    ~ParticleRain() override = default;

    // With a node: the shader and the sprite, then a pool of r_particle_rain_size drops
    // (checked by CheckedCount) spread over the box at heights 0 to 500. With or without
    // one, z_index becomes 50. Entity::Load is not called: the node's "name", "z_index"
    // and "visible" belong to the Scene. A second Load replaces the pool.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // One simulation step when more than 1/30 s has passed since the last one, with that
    // whole time as the step; otherwise nothing, and the time keeps adding up.
    void Update(float time);
    // Point sprites through the vertex program, blended over the scene without depth
    // writes. Needs a current GL context.
    void Render(RenderQueue* queue) override;

    // The pool size for a requested r_particle_rain_size: negative gives 0 and above
    // kMaxCount gives kMaxCount, each with one line saying so.
    static uint32_t CheckedCount(int32_t requested);
    // A drop of the first pool: x, y, a height of 0 to 500, a starting speed, a fall
    // speed and a drift, drawn from RangeRandom in this order.
    void SpawnInitial(RainParticle& particle) const;
    // A drop that reached the ground starts again at 500: x, y, the drift, a starting
    // speed and a fall speed, drawn in this order.
    void Respawn(RainParticle& particle) const;

    float last_update = 0.0f;  // time of the last step, seconds
    std::vector<RainParticle> particles;
    HVector2 area_min{kAreaMinX, kAreaMinY};
    HVector2 area_max{kAreaMaxX, kAreaMaxY};
    uint32_t count = 0;  // drops in the pool
    ResourceHandle<TextureDDS> texture;
    ResourceHandle<ShaderProgram> shader;
};
