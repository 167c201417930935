#include "app/application.h"

#include <cstdio>
#include <string>

#include "app/classlist.h"
#include "app/datafolder.h"
#include "cfo/cfodocument.h"
#include "events/events.h"
#include "platform/banner.h"
#include "platform/draw.h"
#include "platform/glcaps.h"
#include "platform/window.h"
#include "resources/font.h"
#include "resources/shaderprogram.h"
#include "resources/sound.h"
#include "scene/scenemanager.h"

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

// The tree from the configuration's own node, bound, and the world paused until the
// menu starts the game.
void BuildTree(SceneManager* scene_manager, CfoDocument* config) {
    CfoNode* node = config->FindChild(scene_manager->GetTypeName());
    scene_manager->LoadTree(node, scene_manager);
    scene_manager->BindTree(scene_manager);
    scene_manager->Post(new ResumeGameEvent(false));
}

}  // namespace

bool Application::Start(int argc, char** argv, RegisterClassesFn register_more) {
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

    CfoDocument* config = ReadConfiguration(argc, argv);
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

    RegisterEngineClasses(scene_manager);
    if (register_more != nullptr) register_more(scene_manager);
    RegisterResourceLoaders(scene_manager);
    window->PrintInfo();
    PrintCapabilities();
    BuildTree(scene_manager, config);

    delete config;  // no node pointer outlives this

    PrintClosingLine(stdout);
    return true;
}

bool Application::RunPass() {
    if (!scene_manager->Update()) return false;
    scene_manager->Post(
        new FrameEvent(scene_manager->dt, scene_manager->time, scene_manager, window));
    scene_manager->render_queue.Flush();
    scene_manager->CleanUpObjects();
    return true;
}

void Application::Shutdown() {
    scene_manager->DestroyTree(scene_manager, scene_manager);
    delete window;
    delete scene_manager;
    window = nullptr;
    scene_manager = nullptr;
}
