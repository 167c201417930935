#pragma once
// The process from start to end: banner, data folder, configuration, the SceneManager
// and its tree, the frame loop's passes and the shut-down. `main` makes one Application
// on its stack and drives it; the object lives until main returns, and with it the
// default texture. Everything goes to standard output, line by line.
//
//   Application app;
//   if (!app.Start(argc, argv)) return app.exit_code;  // 0 after most failed starts
//   while (app.RunPass()) {}
//   app.Shutdown();
//
// A program built on the engine for another purpose (the graphical tests' probe) drives
// the same object and may register entity classes of its own through Start.

#include <chrono>
#include <string>

#include "app/demo.h"
#include "app/runoptions.h"
#include "resources/texturedds.h"

class CfoDocument;
class SceneManager;
class Window;

class Application {
public:
    // Called once the engine's own entity classes are registered and before the resource
    // loaders; it may register more classes.
    using RegisterClassesFn = void (*)(SceneManager* scene_manager);

    // Runs the start-up up to the closing line of the banner. False when the program must
    // end here: no configuration, no window, or a missing GL capability. What was made is
    // freed except after a missing capability, which ends the program at once with nothing
    // cleaned up.
    bool Start(int argc, char** argv, RegisterClassesFn register_more_classes = nullptr);

    // One pass of the main loop: update (physics, events), a new FrameEvent, the render
    // queue, the clean-up. False once a handler asked the loop to end; the pass then does
    // nothing more. A recorded run keeps each pass's time and input; a replayed one takes
    // them from the demo instead of the clock and the devices.
    bool RunPass();

    // Prints the state digest when a demo was recorded or replayed, writes the recording,
    // then destroys the tree, the window and the SceneManager, in this order.
    void Shutdown();

    SceneManager* GetSceneManager() const { return scene_manager; }

    // The process's exit status: 0, also after a failed start (as the game always did),
    // but 2 for a command line that does not read and 1 for a demo that does not.
    int exit_code = 0;

private:
    // The SceneManager with its classes and loaders, and the tree from the configuration.
    bool BuildWorld(CfoDocument* config);
    // A replayed pass: the demo's time and input. False when the game or the demo ends.
    bool ReplayUpdate();
    // A recorded pass: the clock's time, the input kept.
    bool RecordUpdate();
    // The end of one play of a demo: the digest, the frame rate of a timedemo; true when
    // the loop plays it again (the tree built anew).
    bool DemoEnded();
    void PrintDigest();
    void AskForMarkedShot();

    SceneManager* scene_manager = nullptr;  // owned from Start to Shutdown
    Window* window = nullptr;               // owned from Start to Shutdown
    // Not through the resource manager: it lives as long as the Application.
    TextureDDS default_texture;
    RegisterClassesFn register_more = nullptr;

    RunOptions options;
    DemoFile demo;     // being recorded, or replayed
    size_t pass = 0;   // passes of this play of the demo so far
    size_t plays = 0;  // plays of the demo ended so far
    bool digest_printed = false;
    bool dt_warned = false;
    std::chrono::steady_clock::time_point play_start;  // this play's first pass
    std::chrono::steady_clock::time_point loop_start;  // the first play's first pass
    double logic_seconds = 0.0;                        // timedemo: update, dispatch and clean-up
    double draw_seconds = 0.0;                         // timedemo: the render queue and the swap
    double play_cpu_start = 0.0;  // the process's CPU seconds when this play started
};
