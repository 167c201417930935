// ABT benchmarks on a generated town of houses, walls and a ground grid in 20 materials:
// build speed (triangles per second) and file size, load speed (MB/s of text, parse and
// vertex buffers), and the frame time of ABTTree::Render from five fixed cameras at
// 1024x768, against drawing every triangle with one draw call per material and no
// culling, in the same run. Run it inside Xvfb:
//   scripts/with-xvfb.sh --size 1024x768 build/<dir>/bench/bench_abt
// VELMORA_ABT_TRIANGLES sets the level size (default 100000).

#include <benchmark/benchmark.h>

#include <SDL.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "platform/settings.h"
#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "world/abttree.h"
#include "world/abttreebuilder.h"
#include "world/meshasm.h"

#include "abtbench.h"

namespace {

constexpr int kMaterials = 20;
constexpr int kWidth = 1024;
constexpr int kHeight = 768;

size_t TargetTriangles() {
    const char* env = std::getenv("VELMORA_ABT_TRIANGLES");
    return env ? static_cast<size_t>(std::atol(env)) : 100000u;
}

std::string Scratch() {
    static std::string dir = [] {
        std::string d = (std::filesystem::temp_directory_path() /
                         ("velmora_abtbench_" + std::to_string(getpid())))
                            .string();
        std::filesystem::create_directories(d);
        FileSystemMount(d);
        return d;
    }();
    return dir;
}

// One mesh per material, built directly as indexed tables.
struct Town {
    std::vector<MeshASM> meshes = std::vector<MeshASM>(kMaterials);
    size_t triangles = 0;
    float size = 0;  // the town covers [0, size] in x and y

    Town() {
        for (MeshASM& m : meshes) {
            m.raw = std::make_unique<MeshLoadData>();
            m.raw->texcoords = {HVector2(0, 0), HVector2(1, 0), HVector2(1, 1), HVector2(0, 1)};
            m.raw->normals = {HVector3(0, 0, 1)};
        }
    }
    // A quad split into n by n cells, two triangles each.
    void Quad(int material, HVector3 o, HVector3 u, HVector3 v, int n) {
        MeshLoadData& r = *meshes[static_cast<size_t>(material)].raw;
        int32_t base = static_cast<int32_t>(r.verts.size());
        for (int j = 0; j <= n; ++j)
            for (int i = 0; i <= n; ++i)
                r.verts.push_back(o + u * (float(i) / n) + v * (float(j) / n));
        for (int j = 0; j < n; ++j)
            for (int i = 0; i < n; ++i) {
                int32_t a = base + j * (n + 1) + i, b = a + 1, c = a + n + 2, d = a + n + 1;
                MeshFace f1, f2;
                f1.verts = {a, b, c};
                f1.texcoords = {0, 1, 2};
                f2.verts = {a, c, d};
                f2.texcoords = {0, 2, 3};
                r.faces.push_back(f1);
                r.faces.push_back(f2);
                triangles += 2;
            }
    }
    void House(int material, HVector3 lo, HVector3 hi, int n) {
        HVector3 dx(hi.x - lo.x, 0, 0), dy(0, hi.y - lo.y, 0), dz(0, 0, hi.z - lo.z);
        Quad(material, lo, dx, dz, n);
        Quad(material, lo + dy, dx, dz, n);
        Quad(material, lo, dy, dz, n);
        Quad(material, lo + dx, dy, dz, n);
        Quad(material, lo + dz, dx, dy, n);
    }
};

// A grid of blocks 40 units apart: a house per block and a ground tile; the wall
// tessellation is chosen so the town reaches about the target count.
Town MakeTown(size_t target) {
    Town t;
    int blocks = 1;
    int n = 2;
    while (true) {
        size_t per_block = 5 * 2 * n * n + 2 * 4 * 4;
        size_t total = per_block * size_t(blocks) * size_t(blocks);
        if (total >= target) break;
        if (n < 4)
            ++n;
        else
            ++blocks;
    }
    t.size = 40.0f * blocks;
    for (int bx = 0; bx < blocks; ++bx)
        for (int by = 0; by < blocks; ++by) {
            float x = 40.0f * bx, y = 40.0f * by;
            int m = (bx * 7 + by * 3) % kMaterials;
            t.Quad((m + 1) % kMaterials, HVector3(x, y, 0), HVector3(40, 0, 0), HVector3(0, 40, 0),
                   4);
            float h = 8.0f + float((bx * 13 + by * 5) % 5) * 4.0f;
            t.House(m, HVector3(x + 10, y + 10, 0), HVector3(x + 30, y + 30, h), n);
        }
    return t;
}

void WriteSolidDds(const std::string& name, uint16_t color) {
    std::vector<uint8_t> b(128 + 3 * 8, 0);
    auto put = [&](size_t at, uint32_t v) { std::memcpy(&b[at], &v, 4); };
    std::memcpy(&b[0], "DDS ", 4);
    put(4, 124);
    put(8, 0x1 | 0x2 | 0x4 | 0x1000 | 0x20000 | 0x80000);
    put(12, 4);
    put(16, 4);
    put(20, 8);
    put(28, 3);
    put(76, 32);
    put(80, 0x4);
    std::memcpy(&b[84], "DXT1", 4);
    put(108, 0x401008);
    for (int l = 0; l < 3; ++l) std::memcpy(&b[128 + 8 * l], &color, 2);
    std::ofstream(std::filesystem::path(Scratch()) / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// The level built once, written, loaded and uploaded; what the frame benchmarks share.
struct Level {
    abtbench::Window gl;
    std::string path;
    size_t triangles = 0;
    size_t file_bytes = 0;
    float size = 0;
    ResourceManager resources;
    ABTTree tree;
    abtbench::BruteForce brute;

    static Level& Get() {
        static Level level;
        return level;
    }

    Level() {
        Town town = MakeTown(TargetTriangles());
        size = town.size;
        ABTTreeBuilder b;
        for (int m = 0; m < kMaterials; ++m)
            b.InsertMesh(town.meshes[size_t(m)], "mat" + std::to_string(m) + ".dds");
        triangles = b.faces.size();
        b.SetWeights(HVector2(0.7f, 0.3f));
        b.SetOvergrow(0.1f);
        b.Build(100, 12);
        path = Scratch() + "/town.abt";
        b.Export(path);
        file_bytes = std::filesystem::file_size(path);
        if (!gl.Open("abt bench", kWidth, kHeight)) return;
        resources.RegisterType<TextureDDS>("dds");
        for (int m = 0; m < kMaterials; ++m)
            WriteSolidDds("mat" + std::to_string(m) + ".dds",
                          static_cast<uint16_t>(0x1111u * (m + 1)));
        tree.Load("town.abt");
        tree.BuildVertexBuffers();
        tree.LoadTextures(&resources);
        brute.Build(tree);
    }

    // Five eyes inside the town (z-up), from narrow views to one that sees almost all.
    Camera View(int i) const {
        Camera cam;
        cam.fov = 60.0f;
        float s = size;
        HVector3 eyes[5] = {{s * 0.5f, s * 0.5f + 20, 2},
                            {s * 0.5f + 20, s * 0.5f, 2},
                            {s * 0.25f, 20, 2},
                            {s - 5, s * 0.5f + 20, 2},
                            {-40, -40, s * 0.3f}};
        HVector3 dirs[5] = {{1, 0, 0}, {0, 1, -0.05f}, {0, 1, 0}, {1, 0.2f, 0}, {1, 1, -0.35f}};
        cam.position = eyes[i];
        cam.target = eyes[i] + dirs[i] * 100.0f;
        cam.up = HVector3(0, 0, 1);
        return cam;
    }

    int view_width = kWidth, view_height = kHeight;

    void Begin(const Camera& cam) { abtbench::BeginFrame(gl, cam, view_width, view_height); }
    void DrawAll() { brute.Draw(tree); }
};

void BM_Build(benchmark::State& state) {
    Town town = MakeTown(TargetTriangles());
    size_t tris = 0;
    std::string text;
    for (auto _ : state) {
        ABTTreeBuilder b;
        for (int m = 0; m < kMaterials; ++m)
            b.InsertMesh(town.meshes[size_t(m)], "mat" + std::to_string(m) + ".dds");
        b.SetWeights(HVector2(0.7f, 0.3f));
        b.SetOvergrow(0.1f);
        b.Build(100, 12);
        tris = b.faces.size();
        state.PauseTiming();
        text.clear();
        state.ResumeTiming();
        b.ExportText(text, 2024, 1, 1, 0, 0, 0);
        benchmark::DoNotOptimize(text.data());
    }
    state.counters["triangles"] = double(tris);
    state.counters["tris_per_s"] =
        benchmark::Counter(double(tris), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["file_MB"] = double(text.size()) / 1e6;
}
BENCHMARK(BM_Build)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_LoadParse(benchmark::State& state) {
    Level& level = Level::Get();
    std::ifstream f(level.path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    for (auto _ : state) {
        CfoDocument doc;
        doc.Parse(text);
        ABTTree tree;
        tree.LoadDocument(&doc, max_elements_indices > 0 ? max_elements_indices : 65535);
        benchmark::DoNotOptimize(tree.vertices.data());
    }
    state.counters["MB_per_s"] = benchmark::Counter(double(text.size()) / 1e6,
                                                    benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_LoadParse)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_LoadBuffers(benchmark::State& state) {
    Level& level = Level::Get();
    if (!level.gl.window) {
        state.SkipWithError("no GL context");
        return;
    }
    for (auto _ : state) {
        ABTTree tree;
        tree.Load("town.abt");
        tree.BuildVertexBuffers();
        glFinish();
    }
    state.counters["MB_per_s"] = benchmark::Counter(double(level.file_bytes) / 1e6,
                                                    benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_LoadBuffers)->Unit(benchmark::kMillisecond)->Iterations(2);

// One camera: each iteration draws a frame with the tree and a frame with the brute-force
// path, alternately, so that both see the same machine load; the counters are medians.
void BM_Frame(benchmark::State& state) {
    Level& level = Level::Get();
    if (!level.gl.window) {
        state.SkipWithError("no GL context");
        return;
    }
    Camera cam = level.View(int(state.range(0)));
    // Second argument 1: a 128x96 viewport, where drawing is bound by geometry, not fill.
    level.view_width = state.range(1) ? 128 : kWidth;
    level.view_height = state.range(1) ? 96 : kHeight;
    abtbench::Counting counting;
    level.tree.backend = &counting;
    std::vector<double> tree_ms, brute_ms;
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        auto t0 = Clock::now();
        level.Begin(cam);
        cam.ExtractFrustum();
        level.tree.Render(&cam, 1);
        glFinish();
        auto t1 = Clock::now();
        level.Begin(cam);
        level.DrawAll();
        glFinish();
        auto t2 = Clock::now();
        tree_ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
        brute_ms.push_back(std::chrono::duration<double, std::milli>(t2 - t1).count());
    }
    level.tree.backend = nullptr;
    double frames = double(tree_ms.size());
    state.counters["tree_ms"] = abtbench::Median(tree_ms);
    state.counters["brute_ms"] = abtbench::Median(brute_ms);
    state.counters["speedup"] =
        abtbench::Median(brute_ms) / std::max(abtbench::Median(tree_ms), 1e-9);
    state.counters["drawn_fraction"] =
        double(counting.vertices) / frames / double(level.tree.index_count);
    state.counters["draws"] = double(level.tree.draws);
    state.counters["buffers"] = double(level.tree.vertex_buffers.size());
    state.counters["index_limit"] = double(max_elements_indices);
}
BENCHMARK(BM_Frame)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(30);

}  // namespace

BENCHMARK_MAIN();
