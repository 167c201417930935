#include "app/application.h"

#include <SDL.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "app/classlist.h"
#include "app/datafolder.h"
#include "app/digest.h"
#include "cfo/cfoarena.h"
#include "cfo/cfodocument.h"
#include "events/events.h"
#include "platform/banner.h"
#include "platform/draw.h"
#include "platform/glcaps.h"
#include "platform/settings.h"
#include "platform/window.h"
#include "resources/font.h"
#include "resources/shaderprogram.h"
#include "resources/sound.h"
#include "scene/scenemanager.h"

namespace {

// The configuration named on the command line, else the default one; 0 when neither
// can be read (after "Could not read configuration file").
CfoDocument* ReadConfiguration(const std::string& named) {
    std::string config_name = "conf_pc.cfo";
    config_name = "conf_pc_d.cfo";  // the debug configuration is the one that counts

    CfoDocument* config = nullptr;
    if (!named.empty()) {
        config = new CfoDocument();
        if (!config->LoadFile(named)) {
            delete config;
            config = nullptr;
        }
    }
    if (config == nullptr) {
        config = new CfoDocument();
        if (!config->LoadFile(config_name)) {
            delete config;
            printf("Could not read configuration file\n");
            return nullptr;
        }
    }
    return config;
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The CPU time of every thread of the process (the main loop's and the GL driver's).
double ProcessCpuSeconds() { return static_cast<double>(clock()) / CLOCKS_PER_SEC; }

// The process's resident memory, from /proc; -1 where it cannot be read.
long ResidentKilobytes() {
    FILE* statm = fopen("/proc/self/statm", "r");
    if (statm == nullptr) return -1;
    long size = 0, resident = -1;
    if (fscanf(statm, "%ld %ld", &size, &resident) != 2) resident = -1;
    fclose(statm);
    return resident < 0 ? -1 : resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// SDL 1.2's F12: during a recording it marks the pass for the demo's pictures.
constexpr int32_t kMarkKey = 293;

// The tree from the configuration's own node, bound, and the world paused until the
// menu starts the game.
void BuildTree(SceneManager* scene_manager, CfoDocument* config) {
    CfoNode* node = config->FindChild(scene_manager->GetTypeName());
    scene_manager->LoadTree(node, scene_manager);
    scene_manager->BindTree(scene_manager);
    scene_manager->Post(new ResumeGameEvent(false));
}

}  // namespace

bool Application::Start(int argc, char** argv, RegisterClassesFn register_more_classes) {
    std::string error;
    if (!ParseRunOptions(argc, argv, &options, &error)) {
        printf("velmora: %s\n%s", error.c_str(), RunOptionsUsage());
        exit_code = 2;
        return false;
    }
    register_more = register_more_classes;
    if (!options.replay.empty()) {
        if (!ReadDemoFile(options.replay, &demo, &error)) {
            printf("Demo: cannot replay '%s': %s\n", options.replay.c_str(), error.c_str());
            exit_code = 1;
            return false;
        }
        srand(demo.seed);
    } else if (!options.record.empty()) {
        demo.seed = options.has_seed ? options.seed : static_cast<uint32_t>(time(nullptr));
        srand(demo.seed);
    }

    PrintBanner(stdout);

    // The current folder's "data/", else the data installed beside the program. A failed
    // mount is reported and the start goes on; every later file fails on its own.
    const std::string program = ProgramPath(argc > 0 && argv[0] != nullptr ? argv[0] : "");
    const std::string data = FindDataFolder(program);
    if (!data.empty()) {
        SceneManager::AddSearchPath(data);
    } else {
        SceneManager::AddSearchPath("data/");
        printf("No data folder: looked in 'data/' and '%s'\n",
               InstalledDataFolder(program).c_str());
    }

    CfoDocument* config = ReadConfiguration(options.config);
    if (config == nullptr) return false;

    scene_manager = new SceneManager();
    window = new Window();

    if (!window->Init(config->FindChild("Window"))) {
        delete config;
        delete window;
        delete scene_manager;
        window = nullptr;
        scene_manager = nullptr;
        return false;
    }
    // A missing required extension ends the program at once, with nothing cleaned up.
    if (!CheckCapabilities()) return false;
    // The global font lives for the whole run.
    default_texture.Load("system/white.dds");
    LoadGlobalFont("system/tahoma2.glf");
    InitCg("arbvp1", "arbfp1");
    InitSound();

    DrawLoadingScreen("Loading...", true);

    window->PrintInfo();
    PrintCapabilities();
    BuildWorld(config);

    delete config;  // no node pointer outlives this

    if (!options.record.empty()) {
        demo.screen_width = screen_width;
        demo.screen_height = screen_height;
        printf("Demo: recording to '%s', seed %u\n", options.record.c_str(), demo.seed);
    } else if (!options.replay.empty()) {
        printf("Demo: %s '%s', %zu passes\n", options.timedemo ? "timing" : "replaying",
               options.replay.c_str(), demo.passes.size());
    }
    PrintClosingLine(stdout);
    play_start = loop_start = std::chrono::steady_clock::now();
    play_cpu_start = ProcessCpuSeconds();
    return true;
}

bool Application::BuildWorld(CfoDocument* config) {
    RegisterEngineClasses(scene_manager);
    if (register_more != nullptr) register_more(scene_manager);
    RegisterResourceLoaders(scene_manager);
    if (!options.replay.empty()) {
        scene_manager->input_screen_width = demo.screen_width;
        scene_manager->input_screen_height = demo.screen_height;
    }
    BuildTree(scene_manager, config);
    return true;
}

bool Application::RunPass() {
    const auto pass_start = std::chrono::steady_clock::now();
    bool go = true;
    if (!options.replay.empty())
        go = ReplayUpdate();
    else if (!options.record.empty())
        go = RecordUpdate();
    else
        go = scene_manager->Update();
    if (!go) return !options.replay.empty() && DemoEnded();

    scene_manager->Post(
        new FrameEvent(scene_manager->dt, scene_manager->time, scene_manager, window));
    if (!options.replay.empty() && !options.shots.empty()) AskForMarkedShot();
    const auto draw_start = std::chrono::steady_clock::now();
    scene_manager->render_queue.Flush();
    const auto draw_end = std::chrono::steady_clock::now();
    scene_manager->CleanUpObjects();
    if (!options.replay.empty()) {
        logic_seconds +=
            std::chrono::duration<double>(draw_start - pass_start).count() + SecondsSince(draw_end);
        draw_seconds += std::chrono::duration<double>(draw_end - draw_start).count();
    }
    ++pass;
    return true;
}

bool Application::ReplayUpdate() {
    if (pass >= demo.passes.size()) {
        printf("Demo: the demo ran out after %zu passes before the game ended\n", pass);
        return false;
    }
    const DemoPass& recorded = demo.passes[pass];
    if (!options.timedemo && !demo.passes.empty()) {
        // The recorded pace: each pass waits for its time, counted from the first.
        const double due = static_cast<double>(recorded.time) - demo.passes[0].time;
        const double wait = due - SecondsSince(play_start);
        if (wait > 0.0) SDL_Delay(static_cast<uint32_t>(wait * 1000.0));
    }
    scene_manager->input_replay = &recorded.input;
    const bool go = scene_manager->UpdateAt(recorded.time);
    scene_manager->input_replay = nullptr;
    if (scene_manager->dt != recorded.dt && !dt_warned) {
        // A demo recorded on another build, or edited: the run goes its own way from here.
        printf("Demo: pass %zu runs with dt %a, the recording had %a\n", pass,
               static_cast<double>(scene_manager->dt), static_cast<double>(recorded.dt));
        dt_warned = true;
    }
    if (!go) ++pass;
    return go;
}

bool Application::RecordUpdate() {
    DemoPass recorded;
    recorded.time = SceneManager::ClockSeconds();
    scene_manager->input_record = &recorded.input;
    const bool go = scene_manager->UpdateAt(recorded.time);
    scene_manager->input_record = nullptr;
    recorded.dt = scene_manager->dt;
    for (const Sdl12Event& record : recorded.input) {
        if (record.type == SDL12_KEYDOWN && record.key.keysym.sym == kMarkKey &&
            demo.marks.size() < DemoFile::kMaxMarks) {
            demo.marks.push_back({static_cast<uint32_t>(demo.passes.size()),
                                  "mark" + std::to_string(demo.marks.size() + 1)});
            printf("Demo: mark %zu at pass %zu\n", demo.marks.size(), demo.passes.size());
        }
    }
    if (demo.passes.size() < DemoFile::kMaxPasses) demo.passes.push_back(std::move(recorded));
    if (!go) ++pass;
    return go;
}

void Application::AskForMarkedShot() {
    // The first mark of this pass names the picture; PostRender saves it before the swap.
    for (const DemoMark& mark : demo.marks) {
        if (mark.pass != pass) continue;
        scene_manager->screenshot_path = options.shots + "/" + mark.name + ".ppm";
        return;
    }
}

void Application::PrintDigest() {
    for (const std::string& line : StateDigest(scene_manager, pass)) printf("%s\n", line.c_str());
}

bool Application::DemoEnded() {
    ++plays;
    PrintDigest();
    digest_printed = true;
    const double seconds = SecondsSince(play_start);
    if (options.timedemo && seconds > 0.0 && pass > 0) {
        printf(
            "Timedemo: %zu passes in %.2f s, %.1f frames per second at %dx%d; per pass "
            "%.2f ms logic, %.2f ms drawing; %.0f %% of a core in all threads\n",
            pass, seconds, static_cast<double>(pass) / seconds, screen_width, screen_height,
            logic_seconds * 1000.0 / static_cast<double>(pass),
            draw_seconds * 1000.0 / static_cast<double>(pass),
            100.0 * (ProcessCpuSeconds() - play_cpu_start) / seconds);
    }
    if (options.loop_seconds <= 0.0 || SecondsSince(loop_start) >= options.loop_seconds)
        return false;

    // Play it again from the start: a new SceneManager over the same window, the tree built
    // from the configuration as at start-up, the random numbers from the demo's seed.
    CfoDocument* config = ReadConfiguration(options.config);
    if (config == nullptr) return false;
    scene_manager->DestroyTree(scene_manager, scene_manager);
    delete scene_manager;
    // What the last play freed goes back to the system, so that the resident memory the
    // soak watches is what the game holds, not what the allocator keeps at hand.
    CfoArena::DropSpareBlocks();
    malloc_trim(0);
    // Between two plays, with nothing of a world standing: a leak shows as a floor that
    // rises from one play to the next.
    printf("Demo: resident %ld kB between plays\n", ResidentKilobytes());
    scene_manager = new SceneManager();
    srand(demo.seed);
    BuildWorld(config);
    delete config;
    printf("Demo: play %zu\n", plays + 1);
    {
        const struct mallinfo2 heap = mallinfo2();
        printf("Demo: heap %zu kB in use, %zu kB held, %zu kB mapped\n", heap.uordblks / 1024,
               heap.arena / 1024, heap.hblkhd / 1024);
    }
    pass = 0;
    digest_printed = false;
    dt_warned = false;
    logic_seconds = draw_seconds = 0.0;
    play_start = std::chrono::steady_clock::now();
    play_cpu_start = ProcessCpuSeconds();
    return true;
}

void Application::Shutdown() {
    if (!options.record.empty()) {
        PrintDigest();
        std::string error;
        if (WriteDemoFile(options.record, demo, &error))
            printf("Demo: %zu passes written to '%s'\n", demo.passes.size(),
                   options.record.c_str());
        else
            printf("Demo: not written: %s\n", error.c_str());
    } else if (!options.replay.empty() && !digest_printed) {
        PrintDigest();
    }
    scene_manager->DestroyTree(scene_manager, scene_manager);
    delete window;
    delete scene_manager;
    window = nullptr;
    scene_manager = nullptr;
}
