#pragma once
// Shared pieces of the SceneManager tests: a mounted temporary folder, a logging entity
// class and a helper that runs one pass of the frame loop the way main does.

#include <gtest/gtest.h>

#include <SDL.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/settings.h"
#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "events/events.h"
#include "scene/scenemanager.h"
#include "support/tempfolder.h"

namespace scenetest {

inline std::vector<std::string>& Log() {
    static std::vector<std::string> log;
    return log;
}

inline std::string Joined() {
    std::string out;
    for (const std::string& line : Log()) out += (out.empty() ? "" : " ") + line;
    return out;
}

inline const std::string& TempDir() {
    static testsupport::MountedTempFolder folder("velmora_scene");
    return folder.path;
}

inline void WriteFile(const std::string& name, const std::string& text) {
    testsupport::WriteNativeFile(TempDir(), name, text.data(), text.size());
}

// A key event as the SDL layer gives it: the type (SDL12_KEYDOWN or SDL12_KEYUP) and the
// SDL 1.2 key code.
inline Sdl12Event Key(uint8_t type, int32_t sym) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.key.type = type;
    e.key.state = type == SDL12_KEYDOWN ? 1 : 0;
    e.key.keysym.sym = sym;
    return e;
}

// Logs every operation of its life; answers FrameEvent, ResumeGameEvent and InputEvent.
class Probe : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Probe")

public:
    ~Probe() override { Log().push_back("delete:" + name); }
    void Load(CfoNode* node, ResourceManager* resources) override {
        Entity::Load(node, resources);
        Log().push_back("load:" + name);
    }
    void Bind(EventManager* events, SceneManager* manager, CollisionManager*) override {
        scene = manager;
        events->AddHandler(this, &Probe::OnFrame);
        events->AddHandler(this, &Probe::OnResume);
        events->AddHandler(this, &Probe::OnInput);
        Log().push_back("bind:" + name);
    }
    void Unbind(EventManager*, SceneManager*, CollisionManager*) override {
        Log().push_back("unbind:" + name);
    }
    void Unload(SceneManager*, ResourceManager*) override { Log().push_back("unload:" + name); }
    void PreRender(RenderQueue*) override { Log().push_back("pre:" + name); }
    void Render(RenderQueue*) override { Log().push_back("render:" + name); }
    void PostRender() override { Log().push_back("post:" + name); }

    bool OnFrame(FrameEvent*) {
        ++frames;
        if (scene != nullptr) scene->AddToRenderQueue(this);
        return true;
    }
    bool OnResume(ResumeGameEvent* e) {
        resumes.push_back(e->resume);
        return true;
    }
    bool OnInput(InputEvent* e) {
        inputs.push_back(*e);
        return true;
    }

    SceneManager* scene = nullptr;
    int frames = 0;
    std::vector<bool> resumes;
    std::vector<InputEvent> inputs;
};

// One pass of main's loop at `now` seconds: Update, a new FrameEvent, the render queue,
// the clean-up. False when Update asks to stop.
inline bool RunPass(SceneManager& sm, float now) {
    if (!sm.UpdateAt(now)) return false;
    sm.Post(new FrameEvent(sm.dt, sm.time, &sm, nullptr));
    sm.render_queue.Flush();
    sm.CleanUpObjects();
    return true;
}

inline std::string FlushedStdout() {
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// What every SceneManager::Load prints here: the cursor fetch finds no "dds" loader (none
// is registered in these tests), and the fragment program gate finds no GL context.
inline const char* kLoadLines =
    "Could not find resource constructor associated with 'dds'\n"
    "!OpenGL extension 'GL_ARB_fragment_program' not supported\n";

class SceneTest : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        ASSERT_FALSE(TempDir().empty());
        sm.GetClasses()->Register<Probe>();
        sm.GetClasses()->Register<SceneManager>();
        Log().clear();  // the prototypes are gone
    }
    void TearDown() override { sm.DestroyTree(&sm, &sm); }

    // Parses `text` and builds the tree from its "SceneManager" node, then binds it.
    void Build(const std::string& text, bool bind = true) {
        CfoDocument config;
        ASSERT_TRUE(config.Parse(text));
        sm.LoadTree(config.FindChild("SceneManager"), &sm);
        if (bind) sm.BindTree(&sm);
    }

    Probe* Find(const std::string& name) { return dynamic_cast<Probe*>(sm.FindEntity(name)); }

    SceneManager sm;
};

}  // namespace scenetest
