// Trigger without a window: its keys, its two physics objects, the switch with its crossed
// times and its reports, strikes during a switch, and a level in the frame loop where a
// strike on the switch opens the one door that names it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "cfo/file.h"
#include "propstest.h"
#include "support/tempfolder.h"
#include "events/events.h"
#include "game/doors.h"
#include "game/trigger.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/sound.h"
#include "resources/soundlayer.h"
#include "scene/scenemanager.h"

namespace {

const std::string& SoundFolder() { return propstest::SoundFolder("velmora_trigger"); }

using TriggerDoc = propstest::Doc;

std::vector<std::string> TriggerHandlerNames(EventManager& events, Entity* owner) {
    return propstest::HandlerNames(events, owner);
}

// What waits in the queue: "activation:<kind>" for each activation (all of `from`), the
// text of each GUI message; `broadcast` false if any of them has a target.
std::vector<std::string> Queued(EventManager& events, Trigger* from, bool* broadcast = nullptr) {
    std::vector<std::string> out;
    if (broadcast != nullptr) *broadcast = true;
    for (BaseEvent* e : *events.next) {
        if (auto* a = dynamic_cast<TriggerActivationEvent*>(e)) {
            out.push_back("activation:" + std::to_string(a->kind));
            EXPECT_EQ(a->trigger, from);
        } else if (auto* m = dynamic_cast<GameGUIMessageEvent*>(e)) {
            out.push_back(m->text);
        } else {
            continue;
        }
        if (broadcast != nullptr && e->target != nullptr) *broadcast = false;
    }
    return out;
}

const char* kSwitchDoc =
    "Trigger = { name = lever; open_time = 5; close_time = 1; "
    "open_message = \"Lever up\"; close_message = \"Lever down\"; "
    "PhysicsRayCast = { position = 30,40; direction = 0,2; } "
    "PhysicsStaticGeometry = { hull = { {-10,-10} {10,-10} {10,10} {-10,10} } pos = 30,40; } }";

class TriggerTest : public ::testing::Test {
protected:
    void SetUp() override { ResetSettings(); }
    void TearDown() override { ResetSettings(); }

    void LoadAndBind(Trigger& t, const std::string& text) {
        TriggerDoc d(text);
        t.Load(d.Node("Trigger"), nullptr);
        t.Bind(&sm.events, &sm, &sm.physics);
    }
    void FrameAt(Trigger& t, float time) {
        FrameEvent e(0.01f, time, &sm, nullptr);
        EXPECT_TRUE(t.OnFrame(&e));
        sm.render_queue.Clear();
    }
    void Strike(Trigger& t) {
        PlayerActionEvent e(0, nullptr);
        EXPECT_TRUE(t.OnAction(&e));
    }
    void DropQueued() {
        for (BaseEvent* e : *sm.events.next) delete e;
        sm.events.next->clear();
    }

    SceneManager sm;
};

}  // namespace

TEST_F(TriggerTest, TypeNameIdAndFieldDefaults) {
    Trigger a, b;
    EXPECT_EQ(a.GetTypeName(), "Trigger");
    EXPECT_NE(a.GetTypeId(), 0u);
    EXPECT_EQ(a.GetTypeId(), b.GetTypeId());
    EXPECT_NE(a.GetTypeId(), Doors().GetTypeId());
    EXPECT_EQ(a.state, Trigger::OFF);
    EXPECT_EQ(a.now, 0.0f);
    EXPECT_EQ(a.startTime, 0.0f);
    EXPECT_EQ(a.openTime, 1.0f);
    EXPECT_EQ(a.closeTime, 1.0f);
    EXPECT_TRUE(a.openMessage.empty());
    EXPECT_TRUE(a.closeMessage.empty());
    EXPECT_TRUE(a.transform == HMatrix4());
    EXPECT_FALSE(a.ShowsOpenLook());
}

TEST_F(TriggerTest, LoadReadsEveryKeyTheRayAndTheSolidShape) {
    Trigger t;
    TriggerDoc d{std::string(kSwitchDoc)};
    t.Load(d.Node("Trigger"), nullptr);
    EXPECT_EQ(t.name, "lever");
    EXPECT_EQ(t.openTime, 5.0f);
    EXPECT_EQ(t.closeTime, 1.0f);
    EXPECT_EQ(t.openMessage, "Lever up");
    EXPECT_EQ(t.closeMessage, "Lever down");
    EXPECT_EQ(t.ray.origin, HVector2(30.0f, 40.0f));
    EXPECT_EQ(t.ray.direction, HVector2(0.0f, 1.0f));  // normalised by the ray's load
    EXPECT_EQ(t.geometry.body.position, HVector2(30.0f, 40.0f));
    ASSERT_EQ(t.geometry.body.vertices.size(), 4u);
    EXPECT_EQ(t.geometry.body.vertices[0], HVector2(-10.0f, -10.0f));
    EXPECT_EQ(t.state, Trigger::OFF);  // loading starts nothing
}

TEST_F(TriggerTest, TransfIsReadAsTheDoorsReadIt) {
    Trigger t;
    TriggerDoc d("Trigger = { transf = { {1,0,0, 0,1,0, 0,0,1, 5,6,7} } }");
    t.Load(d.Node("Trigger"), nullptr);
    const float want[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(t.transform.m[r][c], want[r][c]);
}

TEST_F(TriggerTest, BindAddsTheSolidShapeThenTheRayAndTheHandlersInOrder) {
    Trigger t;
    LoadAndBind(t, kSwitchDoc);
    ASSERT_EQ(sm.physics.objects.size(), 2u);
    EXPECT_EQ(sm.physics.objects.front(), &t.geometry);
    EXPECT_EQ(sm.physics.objects.back(), &t.ray);
    EXPECT_EQ(t.geometry.GetEntity(), &t);
    EXPECT_EQ(t.geometry.body.invMass, 0.0f);
    EXPECT_EQ(t.geometry.boundingCircle.centre, HVector2(30.0f, 40.0f));
    EXPECT_EQ(t.ray.GetEntity(), &t);
    EXPECT_EQ(t.ray.collisionMode, 1);
    EXPECT_EQ(t.ray.range, HVector2(0.0f, 1.0f));
    EXPECT_EQ(
        TriggerHandlerNames(sm.events, &t),
        (std::vector<std::string>{"FrameEvent", "GenericCollisionEvent", "PlayerActionEvent"}));
    GenericCollisionEvent hit;
    EXPECT_TRUE(t.OnCollision(&hit));
}

TEST_F(TriggerTest, WithoutASolidShapeTheSwitchIsARayOnly) {
    Trigger t;
    LoadAndBind(t, "Trigger = { name = bare; PhysicsRayCast = { position = 1,2; } }");
    ASSERT_EQ(sm.physics.objects.size(), 1u);
    EXPECT_EQ(sm.physics.objects.front(), &t.ray);
    EXPECT_EQ(t.geometry.GetEntity(), nullptr);
    EXPECT_EQ(t.geometry.manager, nullptr);
}

TEST_F(TriggerTest, AStrikeStartsTheSwitchFromTheLastFramesTime) {
    Trigger t;
    LoadAndBind(t, kSwitchDoc);
    FrameAt(t, 10.0f);
    EXPECT_EQ(t.now, 10.0f);
    Strike(t);
    EXPECT_EQ(t.state, Trigger::SWITCHING_ON);
    EXPECT_EQ(t.startTime, 10.0f);
    EXPECT_FALSE(t.ShowsOpenLook());
}

TEST_F(TriggerTest, AStrikeDuringTheSwitchDoesNothing) {
    Trigger t;
    LoadAndBind(t, "Trigger = { name = lever; }");
    FrameAt(t, 2.0f);
    Strike(t);
    ASSERT_EQ(t.state, Trigger::SWITCHING_ON);
    FrameAt(t, 2.5f);
    Strike(t);  // within the 1.0 s
    EXPECT_EQ(t.state, Trigger::SWITCHING_ON);
    EXPECT_EQ(t.startTime, 2.0f);
    FrameAt(t, 3.0f);  // 2 + 1 is not below 3
    EXPECT_EQ(t.state, Trigger::SWITCHING_ON);
    Strike(t);
    EXPECT_EQ(t.startTime, 2.0f);
    FrameAt(t, 3.01f);
    EXPECT_EQ(t.state, Trigger::ON);
    EXPECT_EQ(Queued(sm.events, &t), std::vector<std::string>{"activation:0"});
    DropQueued();
    // The way back: the same rule.
    Strike(t);
    EXPECT_EQ(t.state, Trigger::SWITCHING_OFF);
    EXPECT_EQ(t.startTime, 3.01f);
    FrameAt(t, 3.5f);
    Strike(t);
    EXPECT_EQ(t.state, Trigger::SWITCHING_OFF);
    EXPECT_EQ(t.startTime, 3.01f);
    FrameAt(t, 4.02f);
    EXPECT_EQ(t.state, Trigger::OFF);
    EXPECT_EQ(Queued(sm.events, &t), std::vector<std::string>{"activation:1"});
}

TEST_F(TriggerTest, OpenTimeFiveAndCloseTimeOneTakeOneSecondOnAndFiveOff) {
    Trigger t;
    LoadAndBind(t, kSwitchDoc);
    FrameAt(t, 10.0f);
    Strike(t);
    FrameAt(t, 11.0f);
    EXPECT_EQ(t.state, Trigger::SWITCHING_ON);
    EXPECT_TRUE(Queued(sm.events, &t).empty());
    FrameAt(t, 11.01f);
    EXPECT_EQ(t.state, Trigger::ON);
    EXPECT_TRUE(t.ShowsOpenLook());
    bool broadcast = false;
    EXPECT_EQ(Queued(sm.events, &t, &broadcast),
              (std::vector<std::string>{"activation:0", "Lever up"}));
    EXPECT_TRUE(broadcast);
    DropQueued();
    // It stays on: no return of its own.
    FrameAt(t, 100.0f);
    EXPECT_EQ(t.state, Trigger::ON);
    EXPECT_TRUE(Queued(sm.events, &t).empty());

    Strike(t);
    EXPECT_EQ(t.state, Trigger::SWITCHING_OFF);
    EXPECT_TRUE(t.ShowsOpenLook());  // the open look until it is off
    FrameAt(t, 101.0f);
    FrameAt(t, 104.0f);
    FrameAt(t, 105.0f);
    EXPECT_EQ(t.state, Trigger::SWITCHING_OFF);
    EXPECT_TRUE(Queued(sm.events, &t).empty());
    FrameAt(t, 105.01f);
    EXPECT_EQ(t.state, Trigger::OFF);
    EXPECT_FALSE(t.ShowsOpenLook());
    EXPECT_EQ(Queued(sm.events, &t, &broadcast),
              (std::vector<std::string>{"activation:1", "Lever down"}));
    EXPECT_TRUE(broadcast);
}

TEST_F(TriggerTest, WithoutMessagesOnlyTheActivationIsBroadcast) {
    Trigger t;
    LoadAndBind(t, "Trigger = { name = quiet; }");
    FrameAt(t, 0.0f);
    Strike(t);
    FrameAt(t, 1.5f);
    EXPECT_EQ(t.state, Trigger::ON);
    EXPECT_EQ(Queued(sm.events, &t), std::vector<std::string>{"activation:0"});
}

TEST_F(TriggerTest, TheFrameQueuesTheSwitchForDrawing) {
    Trigger t;
    LoadAndBind(t, kSwitchDoc);
    FrameEvent e(0.01f, 1.0f, &sm, nullptr);
    t.OnFrame(&e);
    ASSERT_EQ(sm.render_queue.entities.size(), 1u);
    EXPECT_EQ(sm.render_queue.entities.front(), &t);
    sm.render_queue.Clear();
}

TEST_F(TriggerTest, DeletingTheSwitchTakesBothObjectsOutOfTheCollisionWorld) {
    auto* t = new Trigger();
    TriggerDoc d{std::string(kSwitchDoc)};
    t->Load(d.Node("Trigger"), nullptr);
    sm.AddChild(t);
    t->SetParent(&sm);
    t->Bind(&sm.events, &sm, &sm.physics);
    sm.physics.SetEventManager(&sm.events);
    ASSERT_EQ(sm.physics.objects.size(), 2u);
    sm.delete_list.push_back(t);
    sm.CleanUpObjects();
    EXPECT_TRUE(sm.physics.objects.empty());
    EXPECT_TRUE(TriggerHandlerNames(sm.events, t).empty());
    sm.physics.Step(0.04f, 0.04f);
    EXPECT_TRUE(sm.events.Update(0.1f));
}

TEST_F(TriggerTest, EachSwitchStopsTheSoundAndPlaysItAgain) {
    ASSERT_FALSE(SoundFolder().empty());
    SoundClose();
    SoundSetDriver(0);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    InitSound();
    ASSERT_TRUE(Sound::sound_enabled);
    sm.resources.RegisterType<Sound>("wav");
    {
        Trigger t;
        // The long door sound, so that the first play still runs when the second comes.
        TriggerDoc d{"Trigger = { switch_sound = \"sound_test/move.wav\"; }"};
        testing::internal::CaptureStdout();
        t.Load(d.Node("Trigger"), &sm.resources);
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(t.switchSound.IsValid());
        EXPECT_FALSE(SoundIsPlaying(0));  // loading plays nothing
        FrameAt(t, 1.0f);
        Strike(t);
        EXPECT_EQ(t.switchSound->channel, 0);
        EXPECT_TRUE(SoundIsPlaying(0));
        Strike(t);  // under way: no sound either
        EXPECT_FALSE(SoundIsPlaying(1));
        FrameAt(t, 2.5f);
        ASSERT_EQ(t.state, Trigger::ON);
        Strike(t);
        EXPECT_EQ(t.switchSound->channel, 0);
        EXPECT_TRUE(SoundIsPlaying(0));
        EXPECT_FALSE(SoundIsPlaying(1));
        DropQueued();
    }
    SoundClose();
    Sound::sound_enabled = false;
    unsetenv("SDL_AUDIODRIVER");
}

TEST_F(TriggerTest, DeletingTheSwitchTakesItsObjectsOutOfTheContactsStillQueued) {
    auto* t = new Trigger();
    TriggerDoc d{std::string(kSwitchDoc)};
    t->Load(d.Node("Trigger"), nullptr);
    sm.AddChild(t);
    t->SetParent(&sm);
    t->Bind(&sm.events, &sm, &sm.physics);
    sm.physics.SetEventManager(&sm.events);
    // A character on the switch's solid shape and across its ray.
    Entity walker_owner;
    PhysicsCharacter walker;
    walker.body.AddVertex(HVector2(-5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, 5.0f));
    walker.body.AddVertex(HVector2(-5.0f, 5.0f));
    walker.Prepare();
    walker.SetEntity(&walker_owner);
    walker.body.position = HVector2(30.0f, 52.0f);
    sm.physics.AddObject(&walker);
    sm.physics.Step(0.04f, 0.04f);
    const PhysicsObject* shape = &t->geometry;
    const PhysicsObject* ray = &t->ray;
    int naming = 0;
    for (BaseEvent* e : *sm.events.next)
        if (auto* c = dynamic_cast<GenericCollisionEvent*>(e))
            if (c->self == shape || c->other == shape || c->self == ray || c->other == ray)
                ++naming;
    ASSERT_GE(naming, 2);
    sm.delete_list.push_back(t);
    sm.CleanUpObjects();
    for (BaseEvent* e : *sm.events.next)
        if (auto* c = dynamic_cast<GenericCollisionEvent*>(e)) {
            EXPECT_NE(c->self, shape);
            EXPECT_NE(c->other, shape);
            EXPECT_NE(c->self, ray);
            EXPECT_NE(c->other, ray);
        }
    EXPECT_TRUE(sm.events.Update(0.1f));
    sm.physics.RemoveObject(&walker);
}

// ---- a level in the frame loop ----

namespace {

// Writes down every GUI message and activation that reaches it, in order.
class MessageLog : public Entity, public EventListener {
public:
    bool OnMessage(GameGUIMessageEvent* e) {
        lines.push_back(e->text);
        return true;
    }
    bool OnActivation(TriggerActivationEvent* e) {
        lines.push_back("activation:" + (e->trigger ? e->trigger->GetName() : std::string()) + ":" +
                        std::to_string(e->kind));
        return true;
    }
    std::vector<std::string> lines;
};

const char* kLevel =
    "SceneManager = {\n"
    "  Trigger = { name = lever; close_time = 1; open_time = 1;\n"
    "    open_message = \"The lever is up\";\n"
    "    PhysicsRayCast = { position = 0,-300; direction = 0,1; }\n"
    "    PhysicsStaticGeometry = { hull = { {-10,-10} {10,-10} {10,10} {-10,10} } pos = 0,-300; }\n"
    "  }\n"
    "  Doors = { name = gate; type = slider; activator_name = lever;\n"
    "    open_message = \"The gate is open\"; close_message = \"The gate is shut\";\n"
    "    open_pos = 800,200; closed_pos = 800,0;\n"
    "    PhysicsCharacter = { pos = 800,0; hull = { {-5,-50} {5,-50} {5,50} {-5,50} } }\n"
    "  }\n"
    "  Doors = { name = side_door; type = slider; activator_name = other_lever;\n"
    "    open_message = \"The side door is open\";\n"
    "    open_pos = -800,200; closed_pos = -800,0;\n"
    "    PhysicsCharacter = { pos = -800,0; hull = { {-5,-50} {5,-50} {5,50} {-5,50} } }\n"
    "  }\n"
    "}\n";

class TriggerLevelTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        sm.GetClasses()->Register<Trigger>();
        sm.GetClasses()->Register<Doors>();
        testing::internal::CaptureStdout();
        ASSERT_TRUE(config.Parse(kLevel));
        sm.LoadTree(config.FindChild("SceneManager"), &sm);
        sm.BindTree(&sm);
        testing::internal::GetCapturedStdout();
        sm.events.AddHandler(&log, &MessageLog::OnMessage);
        sm.events.AddHandler(&log, &MessageLog::OnActivation);
        lever = dynamic_cast<Trigger*>(sm.FindEntity("lever"));
        gate = dynamic_cast<Doors*>(sm.FindEntity("gate"));
        side = dynamic_cast<Doors*>(sm.FindEntity("side_door"));
    }
    void TearDown() override {
        sm.events.RemoveHandlers(static_cast<Entity*>(&log));
        sm.DestroyTree(&sm, &sm);
        ResetSettings();
    }
    // One pass of the frame loop at `now`, without the drawing.
    void Pass(float now) {
        ASSERT_TRUE(sm.UpdateAt(now));
        sm.Post(new FrameEvent(sm.dt, sm.time, &sm, nullptr));
        sm.render_queue.Clear();
        sm.CleanUpObjects();
    }

    CfoDocument config;
    SceneManager sm;
    MessageLog log;
    Trigger* lever = nullptr;
    Doors* gate = nullptr;
    Doors* side = nullptr;
};

}  // namespace

TEST_F(TriggerLevelTest, AStrikeOnTheSwitchOpensTheDoorThatNamesItAndNoOther) {
    ASSERT_NE(lever, nullptr);
    ASSERT_NE(gate, nullptr);
    ASSERT_NE(side, nullptr);
    // Both doors start closing during the load and are shut after the first frames.
    EXPECT_EQ(gate->state, Doors::CLOSING);
    EXPECT_EQ(side->state, Doors::CLOSING);
    float t = 0.0f;
    for (int i = 0; i < 10; ++i) Pass(t += 0.05f);
    EXPECT_EQ(gate->state, Doors::CLOSED);
    EXPECT_EQ(side->state, Doors::CLOSED);
    EXPECT_EQ(log.lines, std::vector<std::string>{"The gate is shut"});

    // The player's strike reaches the switch as an action addressed to it.
    sm.PostTo(new PlayerActionEvent(0, nullptr), lever);
    Pass(t += 0.05f);
    Pass(t += 0.05f);
    ASSERT_EQ(lever->state, Trigger::SWITCHING_ON);
    const float started = lever->startTime;
    EXPECT_GT(started, 0.0f);
    // A second strike while it switches changes nothing.
    sm.PostTo(new PlayerActionEvent(0, nullptr), lever);
    float on_at = -1.0f;
    for (int i = 0; i < 40 && on_at < 0.0f; ++i) {
        Pass(t += 0.05f);
        if (lever->state == Trigger::ON) on_at = lever->now;
    }
    ASSERT_GT(on_at, 0.0f);
    EXPECT_EQ(lever->startTime, started);
    // On in the first frame past close_time.
    EXPECT_GT(on_at, started + 1.0f);
    EXPECT_LE(on_at - 0.05f, started + 1.0f + 1e-4f);
    EXPECT_EQ(gate->state, Doors::CLOSED);  // the activation is still on its way

    for (int i = 0; i < 200 && gate->state != Doors::OPEN; ++i) Pass(t += 0.05f);
    EXPECT_EQ(gate->state, Doors::OPEN);
    // The door's message goes out in the next round.
    Pass(t += 0.05f);
    EXPECT_TRUE(gate->physics.IsNear(HVector2(800.0f, 200.0f), 10.0f));
    EXPECT_EQ(side->state, Doors::CLOSED);
    EXPECT_EQ(side->physics.target, HVector2(-800.0f, 0.0f));
    EXPECT_EQ(side->physics.body.position, HVector2(-800.0f, 0.0f));
    // Within one round the log's message handler runs before its activation handler.
    EXPECT_EQ(log.lines, (std::vector<std::string>{"The gate is shut", "The lever is up",
                                                   "activation:lever:0", "The gate is open"}));
}

TEST_F(TriggerLevelTest, TheToggleKeyMovesEveryDoorThatStandsStill) {
    float t = 0.0f;
    for (int i = 0; i < 10; ++i) Pass(t += 0.05f);
    ASSERT_EQ(gate->state, Doors::CLOSED);
    ASSERT_EQ(side->state, Doors::CLOSED);
    Sdl12Event key{};
    key.key.type = SDL12_KEYDOWN;
    key.key.state = 1;
    key.key.keysym.sym = 116;
    sm.Post(new InputEvent(key));
    Pass(t += 0.05f);
    Pass(t += 0.05f);
    EXPECT_EQ(gate->state, Doors::OPENING);
    EXPECT_EQ(side->state, Doors::OPENING);
    EXPECT_EQ(lever->state, Trigger::OFF);  // switches do not listen to the key
}

TEST_F(TriggerLevelTest, DestroyingTheLevelLeavesTheCollisionWorldEmpty) {
    EXPECT_EQ(sm.physics.objects.size(), 4u);  // the switch's shape and ray, two doors
    Pass(0.05f);
    sm.DestroyTree(&sm, &sm);
    EXPECT_TRUE(sm.physics.objects.empty());
    Pass(0.1f);
}
