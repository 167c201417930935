#pragma once
// The process from start to end: banner, data folder, configuration, the SceneManager
// and its tree, the frame loop's passes and the shut-down. `main` makes one Application
// on its stack and drives it; the object lives until main returns, and with it the
// default texture. Everything goes to standard output, line by line.
//
//   Application app;
//   if (!app.Start(argc, argv)) return 0;   // every failed start still exits 0
//   while (app.RunPass()) {}
//   app.Shutdown();
//
// A program built on the engine for another purpose (the graphical tests' probe) drives
// the same object and may register entity classes of its own through Start.

#include "resources/texturedds.h"

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
    bool Start(int argc, char** argv, RegisterClassesFn register_more = nullptr);

    // One pass of the main loop: update (physics, events), a new FrameEvent, the render
    // queue, the clean-up. False once a handler asked the loop to end; the pass then does
    // nothing more.
    bool RunPass();

    // Destroys the tree, the window and the SceneManager, in this order.
    void Shutdown();

    SceneManager* GetSceneManager() const { return scene_manager; }

private:
    SceneManager* scene_manager = nullptr;  // owned from Start to Shutdown
    Window* window = nullptr;               // owned from Start to Shutdown
    // Not through the resource manager: it lives as long as the Application.
    TextureDDS default_texture;
};
