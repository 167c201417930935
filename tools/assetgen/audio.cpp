#include "audio.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr float kTwoPi = 6.28318530718f;

struct Random {
    uint32_t s;
    explicit Random(uint32_t seed) : s(seed ? seed : 1) {}
    uint32_t Next() {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return s;
    }
    float Uniform() { return (Next() >> 8) / 16777216.0f; }  // 0..1
    float Signed() { return Uniform() * 2.0f - 1.0f; }       // -1..1
};

// One-pole low-pass run round a loop twice, so that its state at the start equals its
// state at the end and the loop has no seam.
void CircularLowPass(std::vector<float>& x, float k) {
    float y = 0;
    for (int pass = 0; pass < 2; ++pass)
        for (float& v : x) {
            y += k * (v - y);
            if (pass == 1) v = y;
        }
}

void Normalise(std::vector<float>& x, float peak) {
    float m = 0;
    for (float v : x) m = std::max(m, std::fabs(v));
    if (m > 0)
        for (float& v : x) v *= peak / m;
}
}  // namespace

std::vector<float> RainLoop(float seconds) {
    const size_t n = size_t(seconds * kSampleRate);
    Random rnd(0x5EED1234u);
    std::vector<float> hiss(n), body(n);
    for (size_t i = 0; i < n; ++i) {
        hiss[i] = rnd.Signed();
        body[i] = rnd.Signed();
    }
    std::vector<float> hiss_lp = hiss;
    CircularLowPass(hiss_lp, 0.55f);
    CircularLowPass(body, 0.08f);
    std::vector<float> out(n);
    for (size_t i = 0; i < n; ++i) {
        float t = float(i) / float(n);  // swells repeat a whole number of times per loop
        float swell =
            0.8f + 0.12f * std::sin(kTwoPi * 3 * t) + 0.08f * std::sin(kTwoPi * 7 * t + 1.3f);
        out[i] = swell * (0.45f * (hiss_lp[i] - 0.5f * hiss[i]) + 0.9f * body[i]);
    }
    // Drops on the cobbles and the tiles: short decaying tones, wrapped round the loop.
    const int drops = int(seconds * 40);
    for (int d = 0; d < drops; ++d) {
        size_t start = size_t(rnd.Uniform() * n);
        float freq = 900.0f + 2600.0f * rnd.Uniform();
        float amp = 0.05f + 0.12f * rnd.Uniform();
        float decay = 60.0f + 80.0f * rnd.Uniform();
        size_t len = size_t(kSampleRate * 0.05f);
        for (size_t k = 0; k < len; ++k) {
            float tt = float(k) / kSampleRate;
            out[(start + k) % n] +=
                amp * std::exp(-decay * tt) * std::sin(kTwoPi * freq * tt * (1.0f - 2.0f * tt));
        }
    }
    Normalise(out, 0.7f);
    return out;
}

std::vector<float> DoorMove() {
    const size_t n = size_t(1.8f * kSampleRate);
    Random rnd(0xD0040001u);
    std::vector<float> out(n);
    float rumble = 0, phase = 0;
    for (size_t i = 0; i < n; ++i) {
        float t = float(i) / kSampleRate;
        rumble += 0.02f * (rnd.Signed() - rumble);
        // A creaking hinge: a rough tone that wanders in pitch, in bursts.
        float pitch =
            190.0f + 60.0f * std::sin(kTwoPi * 0.7f * t) + 15.0f * std::sin(kTwoPi * 5.3f * t);
        phase += pitch / kSampleRate;
        phase -= std::floor(phase);
        float saw = 2.0f * phase - 1.0f;
        float bursts = std::max(0.0f, std::sin(kTwoPi * 2.2f * t)) * (t < 1.5f ? 1.0f : 0.0f);
        float env =
            std::min(1.0f, t * 8.0f) * (t < 1.5f ? 1.0f : std::max(0.0f, 1.0f - (t - 1.5f) * 6));
        out[i] = env * (2.5f * rumble + 0.25f * bursts * saw * (0.7f + 0.3f * rnd.Signed()));
        // The door comes to rest with a dull knock.
        if (t >= 1.55f) {
            float k = t - 1.55f;
            out[i] += 0.8f * std::exp(-18.0f * k) * std::sin(kTwoPi * 85.0f * k) +
                      0.2f * std::exp(-40.0f * k) * rnd.Signed();
        }
    }
    Normalise(out, 0.8f);
    return out;
}

std::vector<float> SwitchClick() {
    const size_t n = size_t(0.25f * kSampleRate);
    Random rnd(0xC11C0002u);
    std::vector<float> out(n);
    for (size_t i = 0; i < n; ++i) {
        float t = float(i) / kSampleRate;
        float v = 0;
        for (float at : {0.0f, 0.07f}) {
            if (t < at) continue;
            float k = t - at;
            float loud = at == 0.0f ? 0.6f : 1.0f;
            v += loud * (std::exp(-400.0f * k) * rnd.Signed() +
                         0.6f * std::exp(-60.0f * k) * std::sin(kTwoPi * 2300.0f * k) +
                         0.5f * std::exp(-35.0f * k) * std::sin(kTwoPi * 420.0f * k));
        }
        out[i] = v;
    }
    Normalise(out, 0.8f);
    return out;
}

std::vector<float> ItemPickup() {
    const size_t n = size_t(0.5f * kSampleRate);
    std::vector<float> out(n);
    const float notes[] = {880.0f, 1108.73f, 1318.51f};
    for (size_t i = 0; i < n; ++i) {
        float t = float(i) / kSampleRate;
        float v = 0;
        for (int k = 0; k < 3; ++k) {
            float at = 0.06f * k;
            if (t < at) continue;
            float u = t - at;
            v += std::exp(-7.0f * u) *
                 (std::sin(kTwoPi * notes[k] * u) + 0.3f * std::sin(kTwoPi * 2 * notes[k] * u)) *
                 std::min(1.0f, u * 400.0f);
        }
        out[i] = v;
    }
    Normalise(out, 0.7f);
    return out;
}

std::vector<uint8_t> EncodeWav(const std::vector<float>& samples) {
    std::vector<uint8_t> out;
    auto put32 = [&](uint32_t v) {
        for (int i = 0; i < 4; ++i) out.push_back(uint8_t(v >> (8 * i)));
    };
    auto put16 = [&](uint16_t v) {
        out.push_back(uint8_t(v));
        out.push_back(uint8_t(v >> 8));
    };
    auto tag = [&](const char* four) {
        for (int i = 0; i < 4; ++i) out.push_back(uint8_t(four[i]));
    };
    uint32_t data = uint32_t(samples.size() * 2);
    tag("RIFF");
    put32(36 + data);
    tag("WAVE");
    tag("fmt ");
    put32(16);
    put16(1);  // PCM
    put16(1);  // mono
    put32(kSampleRate);
    put32(kSampleRate * 2);
    put16(2);
    put16(16);
    tag("data");
    put32(data);
    for (float s : samples) {
        float c = std::clamp(s, -1.0f, 1.0f);
        put16(uint16_t(int16_t(std::lround(c * 32767.0f))));
    }
    return out;
}
