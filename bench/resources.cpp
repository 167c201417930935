// Load times of the resources: a 2048x2048 DXT5 texture with its full mip chain (parse
// alone, read + parse through the search path, and with a window the whole Load with
// the upload), and a GLF font (parse, and with a window the whole Load).
#include <benchmark/benchmark.h>

#include <SDL.h>

#include "../tests/resources/imagewriters.h"
#include "../tests/resources/testdir.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "resources/font.h"
#include "resources/imagefiles.h"
#include "resources/texturedds.h"

using namespace testfiles;

namespace {

const std::vector<uint8_t>& BigDds() {
    static std::vector<uint8_t> file = [] {
        std::vector<uint8_t> block(16);
        for (int i = 0; i < 16; i++) block[size_t(i)] = uint8_t(i * 13);
        auto f = MakeDDS(2048, 2048, "DXT5", 12, block);
        WriteFile("bench/big.dds", f);
        return f;
    }();
    return file;
}

const std::vector<uint8_t>& FontFile() {
    static std::vector<uint8_t> file = [] {
        std::vector<Glyph> glyphs;
        for (int k = 0; k < 95; k++)
            glyphs.push_back(Glyph{0.03f, 0.06f, 0.1f, 0.1f, 0.13f, 0.16f});
        auto f = MakeGLF(256, 256, 32, 126, glyphs, std::vector<uint8_t>(256 * 256 * 2, 200));
        WriteFile("bench/font.glf", f);
        return f;
    }();
    return file;
}

// A GL window when a display is there; null otherwise.
bool HaveGl() {
    static bool ok = [] {
        if (SDL_Init(SDL_INIT_VIDEO) != 0) return false;
        SDL_Window* w =
            SDL_CreateWindow("bench", 0, 0, 64, 64, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
        if (!w) return false;
        SDL_GLContext c = SDL_GL_CreateContext(w);
        return c != nullptr && SDL_GL_MakeCurrent(w, c) == 0;
    }();
    return ok;
}

void BM_ParseDds2048Dxt5(benchmark::State& state) {
    const auto& file = BigDds();
    DdsImage image;
    for (auto _ : state) {
        bool ok = ParseDDS(file.data(), file.size(), "big.dds", image);
        benchmark::DoNotOptimize(ok);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(file.size()));
    state.counters["levels"] = double(image.chain.size());
}
BENCHMARK(BM_ParseDds2048Dxt5);

void BM_ReadAndParseDds2048Dxt5(benchmark::State& state) {
    BigDds();
    DdsImage image;
    for (auto _ : state) {
        File file("bench/big.dds", File::READ);
        int64_t got = file.ReadAll();
        bool ok = got > 0 && ParseDDS(reinterpret_cast<const uint8_t*>(file.Data()), size_t(got),
                                      "big.dds", image);
        if (!ok) state.SkipWithError("read failed");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(BigDds().size()));
}
BENCHMARK(BM_ReadAndParseDds2048Dxt5);

void BM_LoadAndUploadDds2048Dxt5(benchmark::State& state) {
    BigDds();
    if (!HaveGl()) {
        state.SkipWithError("no GL window");
        return;
    }
    for (auto _ : state) {
        TextureDDS texture;
        if (!texture.Load("bench/big.dds")) state.SkipWithError("load failed");
        glFinish();
        glDeleteTextures(1, &texture.texture_id);
    }
}
BENCHMARK(BM_LoadAndUploadDds2048Dxt5)->Unit(benchmark::kMillisecond);

void BM_ParseGlf(benchmark::State& state) {
    const auto& file = FontFile();
    std::vector<uint8_t> pixels;
    for (auto _ : state) {
        GLFont font;
        bool ok = font.Parse(file.data(), file.size(), "font.glf", &pixels);
        benchmark::DoNotOptimize(ok);
    }
}
BENCHMARK(BM_ParseGlf);

void BM_LoadGlf(benchmark::State& state) {
    FontFile();
    if (!HaveGl()) {
        state.SkipWithError("no GL window");
        return;
    }
    for (auto _ : state) {
        Font font;
        if (!font.Load("bench/font.glf")) state.SkipWithError("load failed");
        glFinish();
        font.Unload();
    }
}
BENCHMARK(BM_LoadGlf)->Unit(benchmark::kMillisecond);

void BM_GetTextSize(benchmark::State& state) {
    GLFont font;
    font.Parse(FontFile().data(), FontFile().size(), "font.glf", nullptr);
    int out[2];
    for (auto _ : state) {
        font.GetStringSize("The quick brown fox jumps over the lazy dog", out);
        benchmark::DoNotOptimize(out[0]);
    }
}
BENCHMARK(BM_GetTextSize);

}  // namespace

BENCHMARK_MAIN();
