#pragma once
// Helpers of the patrol tests: a world without a window (a SceneManager whose frame loop
// runs without the render queue's drawing), a stand-in for the player (an entity of the
// type name "Player" with a body), a wall, a listener that records the messages and the
// mini-map reports, and resources that record what was fetched without needing GL.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "events/eventmanager.h"
#include "events/events.h"
#include "game/enemypolicedude.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/entity.h"
#include "scene/scenemanager.h"

namespace enemytest {

// The committed data folder on the search path (the patrol's model and animations).
inline bool MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    return mounted;
}

// The player as the patrol sees it: type name "Player", a hexagonal body of the given
// document radius (half of it from the centre to a corner), the hurts it received.
class TestPlayer : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Player")

public:
    explicit TestPlayer(HVector2 at, float radius = 60.0f) {
        name = "main_player";
        body.body.MakeCircle(1.0f, 6);
        body.ScaleHull(radius);
        body.SetPosition(at);
    }
    void Bind(EventManager* events, SceneManager*, CollisionManager* physics) override {
        body.Prepare();
        body.SetEntity(this);
        physics->AddObject(&body);
        events->AddHandler(this, &TestPlayer::OnHurt);
        events->AddHandler(this, &TestPlayer::OnCollision);
    }
    void SetPaused(bool pause) override {
        body.SetDisabled(pause);
        Entity::SetPaused(pause);
    }
    bool OnHurt(HurtEvent* event) {
        hurts.push_back(event->amount);
        hurt_times.push_back(event_manager != nullptr ? event_manager->GetTime() : 0.0f);
        return true;
    }

    // Reads the other side of each contact, as the hero does: a freed object would show here.
    bool OnCollision(GenericCollisionEvent* event) {
        if (event->other == nullptr) {
            ++dropped_contacts;
            return true;
        }
        if (event->other->GetEntity() != nullptr) ++contacts;
        return true;
    }

    PhysicsCharacter body;
    int contacts = 0;          // contacts whose other side has an entity
    int dropped_contacts = 0;  // contacts whose other side went before delivery
    std::vector<float> hurts;
    std::vector<float> hurt_times;  // the event manager's time at delivery
};

// A wall: an axis-aligned box from (x1, y1) to (x2, y2).
class TestWall : public Entity {
    VELMORA_ENTITY_TYPE("TestWall")

public:
    TestWall(float x1, float y1, float x2, float y2) {
        body.AddVertex(HVector2(x1, y1));
        body.AddVertex(HVector2(x2, y1));
        body.AddVertex(HVector2(x2, y2));
        body.AddVertex(HVector2(x1, y2));
        body.body.CentreHull();
    }
    void Bind(EventManager*, SceneManager*, CollisionManager* physics) override {
        body.Prepare();
        body.SetEntity(this);
        physics->AddObject(&body);
    }
    PhysicsStaticGeometry body;
};

// Records the broadcast messages and mini-map reports.
class Listener : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("TestListener")

public:
    void Bind(EventManager* events, SceneManager*, CollisionManager*) override {
        events->AddHandler(this, &Listener::OnMessage);
        events->AddHandler(this, &Listener::OnMap);
    }
    bool OnMessage(GameGUIMessageEvent* event) {
        messages.push_back(event->text);
        return true;
    }
    bool OnMap(MiniMapObjectEvent* event) {
        maps.push_back(*event);
        return true;
    }
    std::vector<std::string> messages;
    std::vector<MiniMapObjectEvent> maps;
};

// Resources that remember the file they were asked for and load without a GL context.
struct RecordingTexture : public TextureDDS {
    bool Load(std::string file) override {
        filename = file;
        Fetched().push_back(file);
        return true;
    }
    static std::vector<std::string>& Fetched() {
        static std::vector<std::string> names;
        return names;
    }
};
struct RecordingShader : public ShaderProgram {
    bool Load(std::string file) override {
        source = file;
        RecordingTexture::Fetched().push_back(file);
        return true;
    }
};

// The document of a patrol: its "Enemy" child holds the body (radius 60, hence corners 30
// from the centre), the position `pos` and the given extra text; then the walk path.
inline std::string EnemyDocument(const std::string& pos, const std::string& walk_path,
                                 const std::string& extra = "") {
    return "EnemyPoliceDude = { name = dude; Enemy = { PhysicsCharacter = { radius = 60; pos = " +
           pos + "; } } walk_path = { " + walk_path + " } " + extra + " }";
}

// One patrol loaded from `text` (an "EnemyPoliceDude" node at the top).
inline EnemyPoliceDude* MakeEnemy(const std::string& text, ResourceManager* resources = nullptr) {
    CfoDocument document;
    EXPECT_TRUE(document.Parse(text));
    auto* enemy = new EnemyPoliceDude();
    enemy->Load(document.FindChild("EnemyPoliceDude"), resources);
    return enemy;
}

// A level without a window: a SceneManager with the entities as its children. Pass() runs
// one pass of main's loop, except that the render queue is emptied instead of drawn.
class World : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        srand(1);
    }
    void TearDown() override { sm.DestroyTree(&sm, &sm); }

    template <class T>
    T* Add(T* entity) {
        entity->SetParent(&sm);
        sm.AddChild(entity);
        return entity;
    }
    void Bind() { sm.BindTree(&sm); }

    // One pass at `now` seconds: time, collision step and events; a new FrameEvent; the
    // queue emptied unseen; deletions.
    bool Pass(float now) {
        if (!sm.UpdateAt(now)) return false;
        sm.Post(new FrameEvent(sm.dt, sm.time, &sm, nullptr));
        sm.render_queue.Clear();
        sm.CleanUpObjects();
        return true;
    }
    // Passes every `step` seconds until `until`, calling `each` after every pass.
    template <class F>
    void RunUntil(float until, F each, float step = 0.05f) {
        while (clock + step <= until + 1e-4f) {
            clock += step;
            Pass(clock);
            each();
        }
    }
    void RunUntil(float until, float step = 0.05f) {
        RunUntil(
            until, [] {}, step);
    }

    SceneManager sm;
    float clock = 0.0f;
};

}  // namespace enemytest
