#include "world/particlerain.h"

#include <cmath>
#include <iostream>

#include "math/hmath.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"

uint32_t ParticleRain::CheckedCount(int32_t requested) {
    if (requested < 0) {
        std::cout << "Rain: r_particle_rain_size " << requested << " is negative, no rain"
                  << std::endl;
        return 0;
    }
    if (uint32_t(requested) > kMaxCount) {
        std::cout << "Rain: r_particle_rain_size " << requested << " is above " << kMaxCount
                  << ", using " << kMaxCount << std::endl;
        return kMaxCount;
    }
    return uint32_t(requested);
}

void ParticleRain::SpawnInitial(RainParticle& p) const {
    const float x = HMath::RangeRandom(area_min.x, area_max.x);
    const float y = HMath::RangeRandom(area_min.y, area_max.y);
    const float z = HMath::RangeRandom(0.0f, kSpawnHeight);
    p.position = HVector3(x, y, z);
    p.velocity = HVector3(0.0f, 0.0f, HMath::RangeRandom(kFallSlow, kFallFast));
    p.fall_speed = HMath::RangeRandom(kFallSlow, kFallFast);
    const float dx = HMath::RangeRandom(-1.0f, 1.0f);
    const float dy = HMath::RangeRandom(-1.0f, 1.0f);
    p.drift = HVector3(dx, dy, 0.0f);
}

void ParticleRain::Respawn(RainParticle& p) const {
    const float x = HMath::RangeRandom(area_min.x, area_max.x);
    const float y = HMath::RangeRandom(area_min.y, area_max.y);
    const float dx = HMath::RangeRandom(-1.0f, 1.0f);
    const float dy = HMath::RangeRandom(-1.0f, 1.0f);
    p.drift = HVector3(dx, dy, 0.0f);
    p.position = HVector3(x, y, kSpawnHeight);
    p.velocity = HVector3(0.0f, 0.0f, HMath::RangeRandom(kFallSlow, kFallFast));
    p.fall_speed = HMath::RangeRandom(kFallSlow, kFallFast);
}

void ParticleRain::Load(CfoNode* node, ResourceManager* resources) {
    if (node != nullptr) {
        if (resources != nullptr) {
            resources->Load(shader, "resources/shaders/particles.cg");
            resources->Load(texture, "resources/textures/particle.dds");
        }
        count = CheckedCount(r_particle_rain_size);
        area_min = HVector2(kAreaMinX, kAreaMinY);
        area_max = HVector2(kAreaMaxX, kAreaMaxY);
        particles.assign(count, RainParticle{});
        for (RainParticle& p : particles) SpawnInitial(p);
    }
    z_index = kZIndex;
}

void ParticleRain::Update(float time) {
    const float step = time - last_update;
    if (!(step > kStep)) return;
    for (RainParticle& p : particles) {
        const float sway = std::sin(p.position.z / kSwayDivisor) * kSwayAmplitude;
        p.velocity = HVector3(0.0f, 0.0f, p.fall_speed) + p.drift * sway;
        // The step enters twice: the speeds above were set for this motion.
        p.position += p.velocity * step * step;
        if (p.position.z < 0.0f) Respawn(p);
    }
    last_update = time;
}
