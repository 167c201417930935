#pragma once
// Shared pieces of the GUI tests: a SceneManager with the GUI classes registered that builds
// its tree from a document text, and the input a user gives, as the SDL layer hands it on.
// No window: nothing here draws, and no resource loads (no data folder is mounted).

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "events/events.h"
#include "gui/customguilayer.h"
#include "gui/gameguilayer.h"
#include "gui/guibutton.h"
#include "gui/guiimage.h"
#include "gui/guiwindow.h"
#include "platform/settings.h"
#include "scene/scenemanager.h"

namespace guitest {

inline Sdl12Event Motion() {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.type = SDL12_MOUSEMOTION;
    return e;
}

inline Sdl12Event Button(uint8_t type, uint8_t button) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.button.type = type;
    e.button.button = button;
    return e;
}

inline Sdl12Event KeyDown(int32_t sym) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.key.type = SDL12_KEYDOWN;
    e.key.keysym.sym = sym;
    return e;
}

// Records every event of the types it listens to, in order of delivery.
class Recorder : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Recorder")

public:
    void Bind(EventManager* events, SceneManager*, CollisionManager*) override {
        events->AddHandler(this, &Recorder::OnGUI);
        events->AddHandler(this, &Recorder::OnLoad);
        events->AddHandler(this, &Recorder::OnResume);
        events->AddHandler(this, &Recorder::OnCamera);
        events->AddHandler(this, &Recorder::OnDelete);
    }
    bool OnGUI(GUIEvent* e) {
        log.push_back("gui " + std::to_string(e->kind) + " '" + e->name + "'");
        return true;
    }
    bool OnLoad(LoadGameEvent* e) {
        log.push_back("load " + e->path);
        return true;
    }
    bool OnResume(ResumeGameEvent* e) {
        log.push_back(e->resume ? "resume" : "pause");
        return true;
    }
    bool OnCamera(CameraModeEvent* e) {
        log.push_back("camera " + std::to_string(e->mode));
        return true;
    }
    bool OnDelete(DeleteEntityEvent* e) {
        log.push_back("delete " + (e->entity != nullptr ? e->entity->name : std::string("?")));
        return true;
    }
    std::vector<std::string> log;
};

class GuiTest : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        virtual_width = 1024;
        virtual_height = 768;
        ClassRegistry* classes = scene.GetClasses();
        classes->Register<CustomGuiLayer>();
        classes->Register<GameGuiLayer>();
        classes->Register<GUIWindow>();
        classes->Register<GUIButton>();
        classes->Register<Recorder>();
    }
    // Builds and binds the tree of "SceneManager = { `body` }", with a Recorder last.
    void Build(const std::string& body) {
        doc = std::make_unique<CfoDocument>();
        ASSERT_TRUE(doc->Parse("SceneManager = { " + body + " Recorder = { name = rec; } }"));
        testing::internal::CaptureStdout();
        scene.LoadTree(doc->FindChild("SceneManager"), &scene);
        scene.BindTree(&scene);
        testing::internal::GetCapturedStdout();
        recorder = dynamic_cast<Recorder*>(scene.FindEntity("rec"));
        ASSERT_NE(recorder, nullptr);
    }
    template <class T>
    T* Find(const std::string& name) {
        return dynamic_cast<T*>(scene.FindEntity(name));
    }
    // One update: what was posted before is delivered now. False when a handler ended the
    // loop.
    bool Step() {
        now += 0.02f;
        return scene.UpdateAt(now);
    }
    // Updates until nothing more is queued (at most 8 passes).
    bool Settle() {
        for (int i = 0; i < 8; ++i)
            if (!Step()) return false;
        return true;
    }
    void Post(BaseEvent* event) { scene.Post(event); }
    // A user moving to `at` and pressing the left button there, delivered.
    bool ClickAt(float x, float y) {
        Post(new InputEvent(Motion(), HVector2(x, y)));
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0)));
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONUP, 1), HVector2(0, 0)));
        return Settle();
    }
    std::vector<std::string> Log() {
        std::vector<std::string> out = recorder->log;
        recorder->log.clear();
        return out;
    }
    // What the layers' FrameEvent handlers queue this frame, by name.
    std::vector<std::string> Queued(std::initializer_list<Entity*> layers_and_widgets) {
        scene.render_queue.Clear();
        FrameEvent frame(0.02f, now, &scene, nullptr);
        for (Entity* e : layers_and_widgets) {
            if (auto* l = dynamic_cast<CustomGuiLayer*>(e)) l->OnFrame(&frame);
            if (auto* l = dynamic_cast<GameGuiLayer*>(e)) l->OnFrame(&frame);
            if (auto* w = dynamic_cast<GUIWindow*>(e)) w->OnFrame(&frame);
            if (auto* b = dynamic_cast<GUIButton*>(e)) b->OnFrame(&frame);
        }
        std::vector<std::string> out;
        for (Entity* e : scene.render_queue.entities) out.push_back(e->name);
        scene.render_queue.Clear();
        return out;
    }

    SceneManager scene;
    std::unique_ptr<CfoDocument> doc;
    Recorder* recorder = nullptr;
    float now = 0.0f;
};

}  // namespace guitest
