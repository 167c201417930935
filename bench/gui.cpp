// What the game's screens cost a frame.
//
// BM_GuiLogic: the GUI's own CPU work of one in-game frame, without a window: the layers'
// and widgets' frame and input handlers (queueing, the buttons' hit tests), the HUD and
// mini-map events of 50 enemies and items plus the hero, a new message every second with
// the fades of those on screen, and the mini map's placement of each object; everything the
// in-game layer's Render works out, without its GL calls. Argument 0 runs the same frames
// (the same events posted and dispatched) with no GUI in the tree, so the difference of the
// two is the GUI's share. The layers come from data/gui/*.cfo of the source tree.
//
// BM_ScreenFrame: the wall time of whole frames of the real game under the window's driver
// (llvmpipe in Xvfb), on a scratch copy of data/ at 1024x768 with the world paused: the level
// with both layers hidden (argument 0), the boot screen over it (1), and the in-game HUD
// with the mini map after play (2). Run it inside Xvfb:
//   scripts/with-xvfb.sh build/<dir>/bench/bench_gui

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "app/application.h"
#include "benchstats.h"
#include "cfo/cfodocument.h"
#include "events/events.h"
#include "gui/customguilayer.h"
#include "gui/gameguilayer.h"
#include "gui/guibutton.h"
#include "gui/guiwindow.h"
#include "platform/settings.h"
#include "scene/scenemanager.h"

namespace {

std::string ReadSource(const std::string& name) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

Sdl12Event MotionEvent() {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.type = SDL12_MOUSEMOTION;
    return e;
}

constexpr uint32_t kHeroType = 1001;
constexpr uint32_t kEnemyType = 1002;
constexpr uint32_t kItemType = 1003;
constexpr int kObjects = 50;

// One in-game frame's events: the hero, 50 others around him, the HUD values, a pointer
// motion, a message every 60 frames, then the frame itself.
void PostFrame(SceneManager& scene, int frame, float now) {
    auto* hero = new MiniMapObjectEvent();
    hero->object_id = kHeroType;
    hero->position = HVector3(40.0f + frame * 0.1f, -1250.0f, 90.0f);
    hero->size = 30.0f;
    scene.Post(hero);
    for (int i = 0; i < kObjects; ++i) {
        auto* mark = new MiniMapObjectEvent();
        mark->object_id = i % 3 == 0 ? kItemType : kEnemyType;
        mark->position = HVector3(-1400.0f + 90.0f * i, -3000.0f + 80.0f * i, 0.0f);
        mark->size = 30.0f;
        mark->kind = i % 3;
        scene.Post(mark);
    }
    scene.Post(new HUDEvent(0, 80.0f));
    scene.Post(new HUDEvent(1, 75.0f));
    scene.Post(new InputEvent(MotionEvent(), HVector2(700.0f, 600.0f + (frame % 7))));
    if (frame % 60 == 0) scene.Post(new GameGUIMessageEvent(0, "The yard door swings open"));
    scene.Post(new FrameEvent(1.0f / 60.0f, now, &scene, nullptr));
}

// What GameGuiLayer::Render works out besides its GL calls.
void LayOut(GameGuiLayer* hud) {
    float sum = 0.0f;
    for (const GameMessage& m : hud->messages)
        sum += LookOfMessage(m, hud->time, hud->fade_in, hud->fade_out, hud->height).alpha;
    DropFinishedMessages(hud->messages, hud->time, hud->fade_in, hud->fade_out);
    sum += static_cast<float>(GameGuiLayer::Label("Run: ", hud->run).size());
    sum += static_cast<float>(GameGuiLayer::Label("Hlth: ", hud->health).size());
    for (const MiniMapObject& o : hud->map_objects) {
        const MiniMapMark mark = PlaceOnMiniMap(o, hud->player_pos);
        sum += mark.arrow ? mark.angle : static_cast<float>(IconOf(o, kEnemyType, kItemType));
    }
    hud->map_objects.clear();
    benchmark::DoNotOptimize(sum);
}

using benchstats::Median;
using benchstats::ThreadMs;

void BM_GuiLogic(benchmark::State& state) {
    const bool with_gui = state.range(0) != 0;
    ResetSettings();
    virtual_width = 1024;
    virtual_height = 768;
    SceneManager scene;
    ClassRegistry* classes = scene.GetClasses();
    classes->Register<CustomGuiLayer>();
    classes->Register<GameGuiLayer>();
    classes->Register<GUIWindow>();
    classes->Register<GUIButton>();
    CfoDocument doc;
    const std::string body =
        with_gui ? ReadSource("gui/menu.cfo") + "\n" + ReadSource("gui/game.cfo") : "";
    if (!doc.Parse("SceneManager = {\n" + body + "\n}")) {
        state.SkipWithError("the GUI documents do not parse");
        return;
    }
    // Resources are not loaded: no data folder is mounted, so every handle stays empty.
    std::fflush(stdout);
    scene.LoadTree(doc.FindChild("SceneManager"), &scene);
    scene.BindTree(&scene);
    GameGuiLayer* hud = dynamic_cast<GameGuiLayer*>(scene.FindEntity("GameGUILayer"));
    if (with_gui && hud == nullptr) {
        state.SkipWithError("no GameGUILayer");
        return;
    }
    if (hud != nullptr) {
        // In game: the menu hidden, the HUD shown, the intro left.
        scene.FindEntity("MainGUILayer")->SetVisible(false);
        hud->SetVisible(true);
        scene.FindEntity("intro_window")->SetVisible(false);
        hud->in_intro = false;
        hud->player_type = kHeroType;
        hud->enemy_type = kEnemyType;
        hud->item_type = kItemType;
    }
    int frame = 0;
    float now = 1.0f;
    size_t objects_seen = 0;
    std::vector<double> times;
    for (auto _ : state) {
        const double t0 = ThreadMs();
        PostFrame(scene, frame, now);
        scene.UpdateAt(now);
        if (hud != nullptr) {
            objects_seen = hud->map_objects.size();
            LayOut(hud);
        }
        scene.render_queue.Clear();
        times.push_back(ThreadMs() - t0);
        ++frame;
        now += 1.0f / 60.0f;
    }
    state.counters["median_ms"] = Median(times);
    state.counters["map_objects"] = static_cast<double>(objects_seen);
    scene.UnbindTree(&scene);
    scene.DestroyTree(&scene, &scene);
}
BENCHMARK(BM_GuiLogic)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// A scratch copy of data/ (the level rewrites its tree file as it loads) at 1024x768.
bool EnterScratchCopy() {
    namespace fs = std::filesystem;
    const fs::path scratch =
        fs::temp_directory_path() / ("velmora_guibench_" + std::to_string(getpid()));
    std::error_code error;
    fs::remove_all(scratch, error);
    fs::create_directories(scratch, error);
    fs::copy(fs::path(VELMORA_SOURCE_DIR) / "data", scratch / "data", fs::copy_options::recursive,
             error);
    return !error && chdir(scratch.c_str()) == 0;
}

void LeaveScratchCopy() {
    const std::filesystem::path scratch = std::filesystem::current_path();
    if (chdir("/") == 0) {
        std::error_code error;
        std::filesystem::remove_all(scratch, error);
    }
}

void BM_ScreenFrame(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    if (!EnterScratchCopy()) {
        state.SkipWithError("cannot make the scratch copy of data/");
        return;
    }
    Application app;
    char name[] = "bench_gui";
    char* argv[] = {name, nullptr};
    if (!app.Start(1, argv)) {
        state.SkipWithError("the game did not start (no display?)");
        LeaveScratchCopy();
        return;
    }
    SceneManager* sm = app.GetSceneManager();
    Entity* menu = sm->FindEntity("MainGUILayer");
    Entity* hud = sm->FindEntity("GameGUILayer");
    if (menu == nullptr || hud == nullptr) {
        state.SkipWithError("the start-up configuration has no screens");
        app.Shutdown();
        LeaveScratchCopy();
        return;
    }
    if (which == 0) menu->SetVisible(false);
    if (which == 2) {
        menu->SetVisible(false);
        hud->SetVisible(true);
        if (Entity* intro = sm->FindEntity("intro_window")) intro->SetVisible(false);
    }
    // The first frames compile the shaders: not timed.
    for (int i = 0; i < 20; ++i) app.RunPass();
    std::vector<double> frames;
    for (auto _ : state) {
        const auto t0 = std::chrono::steady_clock::now();
        app.RunPass();
        frames.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                .count());
    }
    state.counters["median_frame_ms"] = Median(frames);
    app.Shutdown();
    LeaveScratchCopy();
}
BENCHMARK(BM_ScreenFrame)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->Iterations(120);

}  // namespace

BENCHMARK_MAIN();
