// The process: banner, data folder, configuration, the SceneManager and its tree, the
// frame loop and the shut-down. Everything goes to standard output, line by line.

#include <cstdio>

#include "app/banner.h"
#include "app/draw.h"
#include "app/glcaps.h"
#include "app/testentities.h"
#include "app/window.h"
#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "events/events.h"
#include "resources/font.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "scene/scenemanager.h"
#include "world/meshaam.h"
#include "world/meshasm.h"

namespace {

// The configuration named on the command line, else the default one; 0 when neither
// can be read (after "Could not read configuration file").
CfoDocument* ReadConfiguration(int argc, char** argv) {
    std::string config_name = "conf_pc.cfo";
    config_name = "conf_pc_d.cfo";  // the debug configuration is the one that counts

    CfoDocument* config = nullptr;
    if (argc > 1) {
        config = new CfoDocument();
        if (!config->LoadFile(argv[1])) {
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

// Every class that documents may name.
void RegisterClasses(SceneManager* scene_manager) {
    ClassRegistry* classes = scene_manager->GetClasses();
    classes->Register<SceneManager>();
    // --- the GUI, scene, game and world classes register here, in this order:
    // --- CustomGuiLayer, GameGuiLayer, GUIWindow, GUIButton, GUIImage, GUIVideo, GUIList,
    // --- GUIFileWindow, Scene, Player, EnemyPoliceDude, StaticGeometry, Trigger, Doors,
    // --- Item, WorldGeometry.
}

// The resource loaders by file extension, in lookup order.
void RegisterResourceLoaders(SceneManager* scene_manager) {
    scene_manager->RegisterResource("dds", TextureDDS());
    scene_manager->RegisterResource("tga", TextureTGA());
    scene_manager->RegisterResource("asm", MeshASM());
    scene_manager->RegisterResource("aam", MeshAAM());
    scene_manager->RegisterResource("glf", Font());
    scene_manager->RegisterResource("cg", ShaderProgram());
    // --- sound: "wav" and "ogg" (Sound) register here, in this order.
}

// The tree from the configuration's own node, bound, and the world paused until the
// menu starts the game.
void BuildTree(SceneManager* scene_manager, CfoDocument* config) {
    CfoNode* node = config->FindChild(scene_manager->GetTypeName());
    scene_manager->LoadTree(node, scene_manager);
    scene_manager->BindTree(scene_manager);
    scene_manager->Post(new ResumeGameEvent(false));
}

void RunFrames(SceneManager* scene_manager, Window* window) {
    while ((++test_loop_pass, scene_manager->Update())) {
        scene_manager->Post(
            new FrameEvent(scene_manager->dt, scene_manager->time, scene_manager, window));
        scene_manager->render_queue.Flush();
        scene_manager->CleanUpObjects();
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Logs reach pipes line by line.
    setvbuf(stdout, nullptr, _IOLBF, 0);

    PrintBanner(stdout);

    // A failed mount is reported and the start goes on; every later file fails on its own.
    SceneManager::AddSearchPath("data/");

    CfoDocument* config = ReadConfiguration(argc, argv);
    if (config == nullptr) return 0;

    SceneManager* scene_manager = new SceneManager();
    Window* window = new Window();

    if (!window->Init(config->FindChild("Window"))) {
        delete config;
        delete window;
        delete scene_manager;
        return 0;
    }
    // A missing required extension ends the program at once, with nothing cleaned up.
    if (!CheckCapabilities()) return 0;
    // The default texture lives on this stack until main returns; the global font for the
    // whole run. Neither goes through the resource manager.
    TextureDDS default_texture;
    default_texture.Load("system/white.dds");
    LoadGlobalFont("system/tahoma2.glf");
    InitCg("arbvp1", "arbfp1");
    // --- sound: the sound system starts here.

    DrawLoadingScreen("Loading...", true);

    RegisterClasses(scene_manager);
    RegisterTestEntities(scene_manager);  // only with VELMORA_TEST_ENTITIES=1
    RegisterResourceLoaders(scene_manager);
    window->PrintInfo();
    PrintCapabilities();
    BuildTree(scene_manager, config);

    delete config;  // no node pointer outlives this
    config = nullptr;

    PrintClosingLine(stdout);

    RunFrames(scene_manager, window);

    scene_manager->DestroyTree(scene_manager, scene_manager);
    delete window;
    delete scene_manager;
    return 0;
}
