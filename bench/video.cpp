// The video player's decoding of the intro (320x240, 250 pictures): the CPU time a
// picture costs, parse and RGB conversion, without GL (the textures only take a copy of
// each picture, about what an upload reads). Two ways: the whole clip decoded as fast as
// the ring lets it, and the clip played as the game plays it, one Update a frame at 100
// frames a second with the pictures at 25 a second.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "resources/videofile.h"

namespace {

constexpr const char* kIntro = "resources/video/intro.m2v";

class CopyingTextures : public VideoTextures {
public:
    uint32_t Create(int32_t w, int32_t h, const uint8_t*) override {
        copy.resize(size_t(w) * size_t(h) * 3);
        return ++made;
    }
    bool IsTexture(uint32_t texture) override { return texture != 0 && texture <= made; }
    void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t) override {
        std::memcpy(copy.data(), pixels, size_t(w) * size_t(h) * 3);
        ++uploads;
    }
    void Stamp(uint32_t, const uint8_t*) override {}
    void Delete(uint32_t) override {}

    uint32_t made = 0;
    int64_t uploads = 0;
    std::vector<uint8_t> copy;
};

void Mount() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    (void)mounted;
}

// Every picture into a ring larger than the clip: one parse step an Update, no ticks.
void BM_VideoDecodeWholeClip(benchmark::State& state) {
    Mount();
    int64_t pictures = 0;
    for (auto _ : state) {
        CopyingTextures textures;
        VideoFile video(&textures);
        if (!video.Open(kIntro, 300)) {
            state.SkipWithError("intro not found");
            return;
        }
        while (video.Update(0.0f) != VideoFile::VIDEO_END) {
        }
        pictures += textures.uploads;
    }
    state.counters["pictures"] = double(pictures) / double(state.iterations());
    // CPU seconds a picture.
    state.counters["per_picture"] = benchmark::Counter(
        double(pictures), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VideoDecodeWholeClip)->Unit(benchmark::kMillisecond);

// As the game plays it: a ring of 5, one Update every 10 ms of game time.
void BM_VideoPlayAt25(benchmark::State& state) {
    Mount();
    int64_t pictures = 0;
    int64_t frames = 0;
    for (auto _ : state) {
        CopyingTextures textures;
        VideoFile video(&textures);
        if (!video.Open(kIntro, 5)) {
            state.SkipWithError("intro not found");
            return;
        }
        float time = 0.0f;
        while (video.Update(time) != VideoFile::VIDEO_END) {
            time += 0.01f;
            ++frames;
        }
        pictures += textures.uploads;
    }
    state.counters["pictures"] = double(pictures) / double(state.iterations());
    state.counters["updates"] = double(frames) / double(state.iterations());
    // CPU seconds a picture.
    state.counters["per_picture"] = benchmark::Counter(
        double(pictures), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_VideoPlayAt25)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
