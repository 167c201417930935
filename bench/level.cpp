// The courtyard level's tree: the time to build it from the level's meshes and to load the
// committed file, and the frame time from five cameras in the level at 1024x768 (and at a
// 128x96 viewport, where drawing is bound by geometry), the tree against the brute-force
// draw of the same triangles in the same run, with the fraction of the level drawn. A
// sweep over the builder's `max_faces` and `max_depth` shows what the level's own values
// were chosen from. Run it inside Xvfb:
//   scripts/with-xvfb.sh --size 1024x768 build/<dir>/bench/bench_level
// Frames are drawn with textures and depth test, no shaders, for both paths alike.

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "world/abttree.h"
#include "world/abttreebuilder.h"
#include "world/meshasm.h"

#include "abtbench.h"

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
constexpr const char* kCommitted = "resources/meshes/courtyard.abt";

// The level's objects as its document lists them: mesh and texture.
const char* const kObjects[][2] = {
    {"resources/meshes/courtyard_ground.asm", "resources/textures/ground_cobbles.dds"},
    {"resources/meshes/courtyard_walls.asm", "resources/textures/wall_plaster.dds"},
    {"resources/meshes/courtyard_roofs.asm", "resources/textures/roof_tiles.dds"},
    {"resources/meshes/courtyard_doors.asm", "resources/textures/door_wood.dds"},
};

const std::string& Scratch() {
    static const std::string dir = [] {
        std::string d = (std::filesystem::temp_directory_path() /
                         ("velmora_levelbench_" + std::to_string(getpid())))
                            .string();
        std::filesystem::create_directories(d);
        FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
        FileSystemMount(d);
        return d;
    }();
    return dir;
}

// Builds the level's tree with the given limits and writes it; the name it is found under.
std::string BuildTree(int max_faces, int max_depth) {
    Scratch();
    std::vector<std::unique_ptr<MeshASM>> meshes;
    ABTTreeBuilder b;
    for (const auto& object : kObjects) {
        meshes.push_back(std::make_unique<MeshASM>());
        meshes.back()->Load(object[0]);
        b.InsertMesh(*meshes.back(), object[1]);
    }
    b.SetWeights(HVector2(0.7f, 0.3f));
    b.SetOvergrow(0.1f);
    b.Build(max_faces, max_depth);
    const std::string name =
        "level_" + std::to_string(max_faces) + "_" + std::to_string(max_depth) + ".abt";
    b.Export(Scratch() + "/" + name);
    return name;
}

// Five eyes: street level (120 units, about a head above the hero's) on the square, in
// the alley, at the sliding gate and in a wall corner, and one above the roofs.
Camera View(int i) {
    // clang-format off
    const HVector3 eyes[5] = {
        {-200.0f, 0.0f, 120.0f},       // the square, looking east along it
        {700.0f, -2400.0f, 120.0f},    // the south-west yard, through the alley's opening
        {1500.0f, -180.0f, 120.0f},    // before the sliding gate, into the east yard
        {-1000.0f, 900.0f, 120.0f},    // the square's north-west corner, facing it
        {-1500.0f, 1400.0f, 900.0f},   // above the roofs, looking across the whole level
    };
    const HVector3 targets[5] = {
        {1800.0f, 0.0f, 120.0f},
        {1500.0f, -2400.0f, 120.0f},
        {2500.0f, -180.0f, 120.0f},
        {-1365.0f, 1184.0f, 120.0f},
        {1500.0f, -1500.0f, 0.0f},
    };
    // clang-format on
    Camera cam;
    cam.fov = 70.0f;
    cam.position = eyes[i];
    cam.target = targets[i];
    cam.up = HVector3(0.0f, 0.0f, 1.0f);
    return cam;
}

// A tree loaded, uploaded and textured, with its brute-force peer.
struct LoadedTree {
    ABTTree tree;
    abtbench::BruteForce brute;
};

struct Level {
    abtbench::Window window;
    ResourceManager resources;
    std::map<std::string, std::unique_ptr<LoadedTree>> trees;

    static Level& Get() {
        static Level level;
        return level;
    }

    Level() {
        Scratch();
        resources.RegisterType<TextureDDS>("dds");
        window.Open("level bench", kWidth, kHeight);
    }

    LoadedTree* Tree(const std::string& name) {
        auto& slot = trees[name];
        if (!slot) {
            slot = std::make_unique<LoadedTree>();
            slot->tree.Load(name);
            slot->tree.BuildVertexBuffers();
            slot->tree.LoadTextures(&resources);
            slot->brute.Build(slot->tree);
        }
        return slot.get();
    }
};

void BM_BuildLevelTree(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(BuildTree(100, 6));
}
BENCHMARK(BM_BuildLevelTree)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_LoadCommittedTree(benchmark::State& state) {
    Level& level = Level::Get();
    if (!level.window.window) {
        state.SkipWithError("no GL context");
        return;
    }
    for (auto _ : state) {
        ABTTree tree;
        tree.Load(kCommitted);
        tree.BuildVertexBuffers();
        tree.LoadTextures(&level.resources);
        glFinish();
        state.counters["vertices"] = double(tree.index_count);
    }
}
BENCHMARK(BM_LoadCommittedTree)->Unit(benchmark::kMillisecond)->Iterations(5);

struct FrameTimes {
    double tree_ms = 0, brute_ms = 0, drawn = 0;
};

// Draws `frames` frames with the tree and with the brute-force path, alternately, so that
// both see the same machine load; medians, and the fraction of the level's vertices drawn.
FrameTimes Measure(LoadedTree& t, const Camera& view, int width, int height, int frames) {
    Level& level = Level::Get();
    Camera cam = view;
    abtbench::Counting counting;
    t.tree.backend = &counting;
    std::vector<double> tree_ms, brute_ms;
    using Clock = std::chrono::steady_clock;
    for (int f = 0; f < frames; ++f) {
        auto t0 = Clock::now();
        abtbench::BeginFrame(level.window, cam, width, height);
        cam.ExtractFrustum();
        t.tree.Render(&cam, 1);
        glFinish();
        auto t1 = Clock::now();
        abtbench::BeginFrame(level.window, cam, width, height);
        t.brute.Draw(t.tree);
        glFinish();
        auto t2 = Clock::now();
        tree_ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
        brute_ms.push_back(std::chrono::duration<double, std::milli>(t2 - t1).count());
    }
    t.tree.backend = nullptr;
    FrameTimes r;
    r.tree_ms = abtbench::Median(tree_ms);
    r.brute_ms = abtbench::Median(brute_ms);
    const double total = double(t.tree.index_count) * frames;
    r.drawn = total > 0 ? double(counting.vertices) / total : 0.0;
    return r;
}

// One camera of the committed tree; second argument 1: the 128x96 viewport.
void BM_LevelFrame(benchmark::State& state) {
    Level& level = Level::Get();
    if (!level.window.window) {
        state.SkipWithError("no GL context");
        return;
    }
    LoadedTree* t = level.Tree(kCommitted);
    const bool small = state.range(1) != 0;
    FrameTimes r;
    for (auto _ : state)
        r = Measure(*t, View(int(state.range(0))), small ? 128 : kWidth, small ? 96 : kHeight, 30);
    state.counters["tree_ms"] = r.tree_ms;
    state.counters["brute_ms"] = r.brute_ms;
    state.counters["speedup"] = r.brute_ms / std::max(r.tree_ms, 1e-9);
    state.counters["drawn_fraction"] = r.drawn;
}
BENCHMARK(BM_LevelFrame)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

// The builder's limits: the tree's frame time summed over the five cameras at the small
// viewport (where the tree's own work shows), against brute force, and the node count.
void BM_Limits(benchmark::State& state) {
    Level& level = Level::Get();
    if (!level.window.window) {
        state.SkipWithError("no GL context");
        return;
    }
    const std::string name = BuildTree(int(state.range(0)), int(state.range(1)));
    LoadedTree* t = level.Tree(name);
    double tree = 0, brute = 0, drawn = 0;
    for (auto _ : state) {
        tree = brute = drawn = 0;
        for (int i = 0; i < 4; ++i) {
            FrameTimes r = Measure(*t, View(i), 128, 96, 20);
            tree += r.tree_ms;
            brute += r.brute_ms;
            drawn += r.drawn / 4.0;
        }
    }
    state.counters["street_tree_ms"] = tree;
    state.counters["street_brute_ms"] = brute;
    state.counters["speedup"] = brute / std::max(tree, 1e-9);
    state.counters["drawn_fraction"] = drawn;
    state.counters["nodes"] = double(t->tree.nodes.size());
    state.counters["buffers"] = double(t->tree.vertex_buffers.size());
}
BENCHMARK(BM_Limits)
    ->ArgsProduct({{25, 50, 100, 200, 400}, {4, 6, 8, 12}})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
