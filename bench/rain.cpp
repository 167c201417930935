// The rain: one simulation step of the level's 10 000 drops (and of the largest pool
// r_particle_rain_size may ask for), and the draw of the pool as point sprites through
// particles.cg from the level's fixed camera at 1024x768. The draw needs a window; run it
// inside Xvfb:
//   scripts/with-xvfb.sh --size 1024x768 build/<dir>/bench/bench_rain
// Without a display the draw benchmark reports an error and the step still runs.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "abtbench.h"
#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "world/particlerain.h"

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;

void LoadRain(ParticleRain& rain, int32_t drops, ResourceManager* resources) {
    std::srand(1);
    r_particle_rain_size = drops;
    CfoDocument node;
    rain.Load(&node, resources);
}

// One step a call: the time moves on by 1/25 s, above the 1/30 s the rain waits for.
void BM_RainUpdate(benchmark::State& state) {
    ParticleRain rain;
    LoadRain(rain, int32_t(state.range(0)), nullptr);
    float time = 0.0f;
    for (auto _ : state) {
        time += 0.04f;
        rain.Update(time);
        benchmark::DoNotOptimize(rain.particles.data());
    }
    state.counters["drops"] = double(rain.count);
    state.SetItemsProcessed(int64_t(state.iterations()) * rain.count);
}
BENCHMARK(BM_RainUpdate)->Arg(10000)->Arg(200000)->Unit(benchmark::kMicrosecond);

// A frame's draw of the pool over a cleared view (no level): Render and glFinish.
void BM_RainDraw(benchmark::State& state) {
    static abtbench::Window window;
    if (!window.Open("rain bench", kWidth, kHeight)) {
        state.SkipWithError("no window (run inside Xvfb)");
        return;
    }
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    (void)mounted;
    static bool cg = (InitCg("arbvp1", "arbfp1"), true);
    (void)cg;
    ResourceManager resources;
    resources.RegisterType<TextureDDS>("dds");
    resources.RegisterType<ShaderProgram>("cg");
    ParticleRain rain;
    LoadRain(rain, int32_t(state.range(0)), &resources);

    Camera camera;
    camera.position = HVector3(-1050.0f, -700.0f, 220.0f);
    camera.target = HVector3(-800.0f, 500.0f, 160.0f);
    camera.up = HVector3(0.0f, 0.0f, 1.0f);
    camera.fov = 60.0f;
    float time = 0.0f;
    for (auto _ : state) {
        state.PauseTiming();
        time += 0.04f;
        rain.Update(time);
        abtbench::BeginFrame(window, camera, kWidth, kHeight);
        glFinish();
        state.ResumeTiming();
        rain.Render(nullptr);
        glFinish();
    }
    SDL_GL_SwapWindow(window.window);
    state.counters["drops"] = double(rain.count);
}
BENCHMARK(BM_RainDraw)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
