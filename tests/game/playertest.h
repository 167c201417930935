#pragma once
// Shared pieces of the hero and item tests: the data folder on the search path, scripted
// input records, a recorder of broadcast events, two small entities that stand in for the
// other inhabitants of a level (a body that takes blows, and a switch of type "Trigger"),
// and a level built in a real SceneManager and driven pass by pass without a window.

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "events/eventmanager.h"
#include "events/events.h"
#include "game/item.h"
#include "game/player.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "scene/scene.h"
#include "scene/scenemanager.h"

namespace playertest {

inline void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    ASSERT_TRUE(mounted);
}

inline InputEvent* KeyEvent(uint8_t type, int32_t sym) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.key.type = type;
    e.key.state = type == SDL12_KEYDOWN ? 1 : 0;
    e.key.keysym.sym = sym;
    return new InputEvent(e);
}

inline InputEvent* MotionEvent(int16_t xrel, int16_t yrel) {
    Sdl12Event e;
    std::memset(&e, 0, sizeof(e));
    e.motion.type = SDL12_MOUSEMOTION;
    e.motion.xrel = xrel;
    e.motion.yrel = yrel;
    return new InputEvent(e);
}

// The events of type T waiting in the manager's next round, in order of posting.
template <class T>
std::vector<T*> Queued(EventManager& events) {
    std::vector<T*> out;
    for (BaseEvent* e : *events.next)
        if (e->GetTypeName() == T::type_name) out.push_back(static_cast<T*>(e));
    return out;
}

// Copies every broadcast event of type T it is given.
template <class T>
class Recorder : public EventHandler {
public:
    explicit Recorder(std::vector<T>* out) : seen(out) {}
    bool Invoke(BaseEvent* event) override {
        seen->push_back(*static_cast<T*>(event));
        return true;
    }
    std::string GetEventTypeName() const override { return T::type_name; }
    bool IsOwner(const void*) const override { return false; }
    std::vector<T>* seen;
};

// A body that is hurt: a PhysicsCharacter from "PhysicsCharacter", HurtEvents recorded with
// the time of the last frame, and each contact's other object (0 when it was dropped).
class Dummy : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Dummy")

public:
    void Load(CfoNode* node, ResourceManager* resources) override {
        if (node != nullptr) physics.Load(node->FindChild("PhysicsCharacter"));
        Entity::Load(node, resources);
    }
    void Bind(EventManager* events, SceneManager*, CollisionManager* manager) override {
        physics.Prepare();
        physics.SetEntity(this);
        manager->AddObject(&physics);
        events->AddHandler(this, &Dummy::OnFrame);
        events->AddHandler(this, &Dummy::OnHurt);
        events->AddHandler(this, &Dummy::OnCollision);
    }
    bool OnFrame(FrameEvent* e) {
        now = e->time;
        return true;
    }
    bool OnHurt(HurtEvent* e) {
        hurts.push_back(e->amount);
        hurt_times.push_back(now);
        return true;
    }
    bool OnCollision(GenericCollisionEvent* e) {
        // Reads the other side as any receiver would: a freed object fails under ASan.
        contacts.push_back(e->other);
        if (e->other != nullptr) contact_types.push_back(e->other->GetTypeName());
        return true;
    }

    PhysicsCharacter physics;
    float now = 0.0f;
    std::vector<float> hurts, hurt_times;
    std::vector<PhysicsObject*> contacts;
    std::vector<std::string> contact_types;
};

// A switch as the hero sees it: an entity of type name "Trigger" with a reach ray from its
// "PhysicsRayCast" child (mode 1, range (0, 1), as switches set it), recording actions.
class FakeTrigger : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Trigger")

public:
    void Load(CfoNode* node, ResourceManager* resources) override {
        if (node != nullptr) ray.Load(node->FindChild("PhysicsRayCast"));
        Entity::Load(node, resources);
    }
    void Bind(EventManager* events, SceneManager*, CollisionManager* manager) override {
        ray.SetEntity(this);
        ray.SetCollisionMode(1, HVector2(0.0f, 1.0f));
        manager->AddObject(&ray);
        events->AddHandler(this, &FakeTrigger::OnAction);
    }
    bool OnAction(PlayerActionEvent* e) {
        actions.push_back(*e);
        return true;
    }

    PhysicsRayCast ray;
    std::vector<PlayerActionEvent> actions;
};

// A level in a real SceneManager: the scene document's tree under it, bound, driven by
// passes of the frame loop that leave out the drawing.
class Level : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        MountData();
        sm.GetClasses()->Register<Scene>();
        sm.GetClasses()->Register<Player>();
        sm.GetClasses()->Register<Item>();
        sm.GetClasses()->Register<Dummy>();
        sm.GetClasses()->Register<FakeTrigger>();
        sm.events.AddHandler(new Recorder<HUDEvent>(&huds));
        sm.events.AddHandler(new Recorder<GameGUIMessageEvent>(&messages));
        sm.events.AddHandler(new Recorder<ItemPickupEvent>(&pickups));
        sm.events.AddHandler(new Recorder<MiniMapObjectEvent>(&marks));
    }
    void TearDown() override {
        sm.DestroyTree(&sm, &sm);
        ResetSettings();
    }

    // `inner` goes inside the Scene named "game_scene". Loading prints the missing
    // loaders' lines, which the tests do not look at.
    void Build(const std::string& inner) {
        CfoDocument doc;
        ASSERT_TRUE(doc.Parse("SceneManager = { Scene = { name = game_scene; " + inner + " } }"));
        testing::internal::CaptureStdout();
        sm.LoadTree(doc.FindChild("SceneManager"), &sm);
        sm.BindTree(&sm);
        testing::internal::GetCapturedStdout();
        scene = dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
        player = dynamic_cast<Player*>(sm.FindEntity("main_player"));
    }

    // One pass of the frame loop at `now`, without the render passes.
    void Pass(float now) {
        ASSERT_TRUE(sm.UpdateAt(now));
        sm.Post(new FrameEvent(sm.dt, sm.time, &sm, nullptr));
        sm.render_queue.Clear();
        sm.CleanUpObjects();
    }
    // Passes every `step` seconds after the last one until `until`.
    void RunUntil(float until, float step = 0.04f) {
        while (sm.time + step <= until + 1e-4f) Pass(sm.time + step);
    }
    void Input(InputEvent* e) { sm.Post(e); }

    std::vector<std::string> MessageTexts() const {
        std::vector<std::string> out;
        for (const GameGUIMessageEvent& m : messages) out.push_back(m.text);
        return out;
    }

    SceneManager sm;
    Scene* scene = nullptr;
    Player* player = nullptr;
    std::vector<HUDEvent> huds;
    std::vector<GameGUIMessageEvent> messages;
    std::vector<ItemPickupEvent> pickups;
    std::vector<MiniMapObjectEvent> marks;
};

// The hero's hexagon: "radius 30" gives vertices 15 from the centre, its flat sides
// 15·cos 30° = 12.99 from it on either side along x.
constexpr const char* kHero =
    "Player = { name = main_player; PhysicsCharacter = { radius = 30; } }";

}  // namespace playertest
