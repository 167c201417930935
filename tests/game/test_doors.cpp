// Doors without a window: the keys and their order, "transf" by columns, the first
// movement during Load, the poses of sliders and rotating doors, the states and their
// messages, the "t" key, activations by name, the body pushing characters aside, and the
// door leaving the collision world when it is deleted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
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
#include "world/meshasm.h"

namespace {

const std::string& SoundFolder() { return propstest::SoundFolder("velmora_doors"); }

using DoorDoc = propstest::Doc;

std::vector<std::string> HandlerNamesOf(EventManager& events, Entity* owner) {
    return propstest::HandlerNames(events, owner);
}

// The texts of the GUI messages waiting in the queue, and whether each is a broadcast.
std::vector<std::string> QueuedMessages(EventManager& events, bool* all_broadcast = nullptr) {
    std::vector<std::string> texts;
    if (all_broadcast != nullptr) *all_broadcast = true;
    for (BaseEvent* e : *events.next) {
        auto* m = dynamic_cast<GameGUIMessageEvent*>(e);
        if (m == nullptr) continue;
        texts.push_back(m->text);
        if (all_broadcast != nullptr && (m->target != nullptr || m->mode != 0))
            *all_broadcast = false;
    }
    return texts;
}

Sdl12Event KeyEvent(uint8_t type, int32_t sym) {
    Sdl12Event e{};
    e.key.type = type;
    e.key.state = type == SDL12_KEYDOWN ? 1 : 0;
    e.key.keysym.sym = sym;
    return e;
}

// A slider of 100 by 10, its closed place at (0, 0) and its open place at (200, 0), loaded
// as the document gives it (so already closing) and bound to the fixture's world.
const char* kSliderDoc =
    "Doors = { name = gate; type = slider; activator_name = lever; "
    "open_message = \"The gate is open\"; close_message = \"The gate is shut\"; "
    "open_pos = 200,0; closed_pos = 0,0; "
    "PhysicsCharacter = { pos = 0,0; hull = { {0,-5} {100,-5} {100,5} {0,5} } } }";

class DoorsTest : public ::testing::Test {
protected:
    void SetUp() override { ResetSettings(); }
    void TearDown() override { ResetSettings(); }

    void LoadAndBind(Doors& door, const std::string& text, const std::string& node = "Doors") {
        DoorDoc d(text);
        door.Load(d.Node(node), nullptr);
        door.Bind(&sm.events, &sm, &sm.physics);
    }

    // One frame as the door sees it: the body's step, then its frame handler.
    void Frame(Doors& door, float dt = 1.0f / 30.0f) {
        door.physics.Update(dt);
        FrameEvent e(dt, 0.0f, nullptr, nullptr);
        door.OnFrame(&e);
    }

    SceneManager sm;
};

// A trigger of the given name, as an activation names it.
struct NamedTrigger {
    explicit NamedTrigger(const std::string& n) { trigger.name = n; }
    Trigger trigger;
};

}  // namespace

TEST_F(DoorsTest, TypeNameIdAndFieldDefaults) {
    Doors a, b;
    EXPECT_EQ(a.GetTypeName(), "Doors");
    EXPECT_NE(a.GetTypeId(), 0u);
    EXPECT_EQ(a.GetTypeId(), b.GetTypeId());
    EXPECT_EQ(a.kind, Doors::SLIDER);
    EXPECT_EQ(a.state, Doors::OPEN);
    EXPECT_EQ(a.openPos, HVector2(1.0f, 0.0f));
    EXPECT_EQ(a.closedPos, HVector2(0.0f, 1.0f));
    EXPECT_TRUE(a.transform == HMatrix4());
    EXPECT_TRUE(a.activatorName.empty());
    EXPECT_TRUE(a.openMessage.empty());
    EXPECT_TRUE(a.closeMessage.empty());
    EXPECT_FALSE(a.model.IsValid());
    EXPECT_FALSE(a.texture.IsValid());
    EXPECT_FALSE(a.moveSound.IsValid());
}

TEST_F(DoorsTest, LoadReadsEveryKeyAndTheBody) {
    Doors door;
    DoorDoc d(kSliderDoc);
    door.Load(d.Node("Doors"), nullptr);
    EXPECT_EQ(door.name, "gate");
    EXPECT_EQ(door.kind, Doors::SLIDER);
    EXPECT_EQ(door.activatorName, "lever");
    EXPECT_EQ(door.openMessage, "The gate is open");
    EXPECT_EQ(door.closeMessage, "The gate is shut");
    EXPECT_EQ(door.openPos, HVector2(200.0f, 0.0f));
    EXPECT_EQ(door.closedPos, HVector2(0.0f, 0.0f));
    ASSERT_EQ(door.physics.body.vertices.size(), 4u);
    EXPECT_EQ(door.physics.body.vertices[1], HVector2(100.0f, -5.0f));
    EXPECT_EQ(door.physics.body.position, HVector2(0.0f, 0.0f));
}

TEST_F(DoorsTest, OnlyTheExactWordSliderMakesASlider) {
    const char* types[] = {"slider", "rotate", "Slider", "hinge", "slider2"};
    const int kinds[] = {Doors::SLIDER, Doors::ROTATE, Doors::ROTATE, Doors::ROTATE, Doors::ROTATE};
    for (int i = 0; i < 5; ++i) {
        Doors door;
        DoorDoc d(std::string("Doors = { type = \"") + types[i] + "\"; }");
        door.Load(d.Node("Doors"), nullptr);
        EXPECT_EQ(door.kind, kinds[i]) << "type '" << types[i] << "'";
    }
    // Without the key the door keeps its first kind, the slider.
    Doors plain;
    DoorDoc d("Doors = { name = plain; }");
    plain.Load(d.Node("Doors"), nullptr);
    EXPECT_EQ(plain.kind, Doors::SLIDER);
}

TEST_F(DoorsTest, InitStateOneOpensAndAnythingElseClosesDuringLoad) {
    const char* docs[] = {"Doors = { type = slider; open_pos = 7,8; closed_pos = 3,4; }",
                          "Doors = { type = slider; open_pos = 7,8; closed_pos = 3,4; "
                          "init_state = 1; }",
                          "Doors = { type = slider; open_pos = 7,8; closed_pos = 3,4; "
                          "init_state = 2; }",
                          "Doors = { type = slider; open_pos = 7,8; closed_pos = 3,4; "
                          "init_state = 0; }"};
    const int states[] = {Doors::CLOSING, Doors::OPENING, Doors::CLOSING, Doors::CLOSING};
    const HVector2 targets[] = {HVector2(3, 4), HVector2(7, 8), HVector2(3, 4), HVector2(3, 4)};
    for (int i = 0; i < 4; ++i) {
        Doors door;
        DoorDoc d(docs[i]);
        door.Load(d.Node("Doors"), nullptr);
        EXPECT_EQ(door.state, states[i]) << docs[i];
        EXPECT_TRUE(door.physics.homeOnTarget) << docs[i];
        EXPECT_FALSE(door.physics.turnToTarget) << docs[i];
        EXPECT_EQ(door.physics.target, targets[i]) << docs[i];
    }
}

TEST_F(DoorsTest, ARotatingDoorTakesItsFirstHeadingFromTheOriginBecauseTheBodyIsReadAfter) {
    Doors door;
    DoorDoc d(
        "Doors = { type = rotate; closed_pos = 0,1; "
        "PhysicsCharacter = { pos = 500,-300; hull = { {0,-5} {200,-5} {200,5} {0,5} } } }");
    door.Load(d.Node("Doors"), nullptr);
    EXPECT_EQ(door.state, Doors::CLOSING);
    EXPECT_TRUE(door.physics.turnToTarget);
    EXPECT_FALSE(door.physics.homeOnTarget);
    EXPECT_FALSE(door.physics.moveToTarget);
    // The heading point of the load is 1000 along closed_pos from the origin ...
    EXPECT_EQ(door.physics.target, HVector2(0.0f, 1000.0f));
    // ... while a later Close takes it from the door's place.
    door.state = Doors::OPEN;
    door.Close();
    EXPECT_EQ(door.physics.target, HVector2(500.0f, 700.0f));
}

TEST_F(DoorsTest, TransfIsReadByColumnsFromUpToTwelveNumbers) {
    Doors door;
    DoorDoc d("Doors = { transf = { {1,2,3,4,5,6,7,8,9,10,11,12,13,14} } }");
    door.Load(d.Node("Doors"), nullptr);
    const float want[4][4] = {{1, 4, 7, 10}, {2, 5, 8, 11}, {3, 6, 9, 12}, {0, 0, 0, 1}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(door.transform.m[r][c], want[r][c]);
    // Without the key the identity stays.
    Doors plain;
    DoorDoc p("Doors = { name = plain; }");
    plain.Load(p.Node("Doors"), nullptr);
    EXPECT_TRUE(plain.transform == HMatrix4());
}

TEST_F(DoorsTest, TransfSplitsAtCommasBackspacesAndLineFeeds) {
    // The separators other than the comma cannot be written in a document's text, so the
    // node is built here as the parser would build it.
    CfoNode root("Doors");
    root.NewChild("transf")->NewChild("")->NewChild("1\b0\n0,,0\b1\n0\n0,0,1\b5\n6,7");
    Doors door;
    door.Load(&root, nullptr);
    const float want[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(door.transform.m[r][c], want[r][c]);
}

TEST_F(DoorsTest, ANullNodeOnlyClosesTheDoor) {
    Doors door;
    door.Load(nullptr, nullptr);
    EXPECT_EQ(door.state, Doors::CLOSING);
    EXPECT_EQ(door.physics.target, HVector2(0.0f, 1.0f));
    EXPECT_TRUE(door.physics.body.vertices.empty());
}

TEST_F(DoorsTest, BindMakesAnImmovableBodyAndAddsTheHandlersInOrder) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    EXPECT_TRUE(door.physics.body.immovable);
    EXPECT_EQ(door.physics.GetEntity(), &door);
    EXPECT_EQ(door.physics.stopDistance, 5.0f);
    EXPECT_EQ(door.physics.approachGain, 10.0f);
    EXPECT_EQ(door.physics.body.invMass, 1.0f);  // Prepare's unit mass; immovable wins
    EXPECT_EQ(door.physics.body.maxSpeed, 5000.0f);
    ASSERT_EQ(sm.physics.objects.size(), 1u);
    EXPECT_EQ(sm.physics.objects.front(), &door.physics);
    EXPECT_EQ(HandlerNamesOf(sm.events, &door),
              (std::vector<std::string>{"FrameEvent", "InputEvent", "GenericCollisionEvent",
                                        "TriggerActivationEvent"}));
    GenericCollisionEvent hit;
    EXPECT_TRUE(door.OnCollision(&hit));
    EXPECT_EQ(door.state, Doors::CLOSING);
}

TEST_F(DoorsTest, ASliderWithinTenOfItsPlaceCountsAsThere) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    door.physics.body.position = HVector2(209.99f, 0.0f);
    EXPECT_TRUE(door.IsOpenPose());
    door.physics.body.position = HVector2(210.0f, 0.0f);
    EXPECT_FALSE(door.IsOpenPose());
    door.physics.body.position = HVector2(200.0f, -9.9f);
    EXPECT_TRUE(door.IsOpenPose());
    EXPECT_FALSE(door.IsClosedPose());
    door.physics.body.position = HVector2(6.0f, 7.9f);  // 9.998 from (0, 0)
    EXPECT_TRUE(door.IsClosedPose());
    door.physics.body.position = HVector2(6.0f, 8.0f);  // exactly 10
    EXPECT_FALSE(door.IsClosedPose());
}

TEST_F(DoorsTest, ARotatingDoorFacesItsHeadingWithinTenDegreesEitherSide) {
    Doors door;
    LoadAndBind(
        door,
        "Doors = { type = rotate; open_pos = 1,0; closed_pos = 0,1; "
        "PhysicsCharacter = { pos = 300,-200; hull = { {0,-5} {200,-5} {200,5} {0,5} } } }");
    const float open_yes[] = {0.0f, 9.5f, -9.5f};
    const float open_no[] = {10.5f, -10.5f, 180.0f, 90.0f};
    for (float o : open_yes) {
        door.physics.body.orientation = o;
        EXPECT_TRUE(door.IsOpenPose()) << o;
    }
    for (float o : open_no) {
        door.physics.body.orientation = o;
        EXPECT_FALSE(door.IsOpenPose()) << o;
    }
    door.physics.body.orientation = 95.0f;
    EXPECT_TRUE(door.IsClosedPose());
    EXPECT_FALSE(door.IsOpenPose());
}

TEST_F(DoorsTest, ArrivingOpenBroadcastsTheOpenMessageAndQueuesTheDoor) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    door.state = Doors::OPENING;
    door.physics.body.position = HVector2(195.0f, 0.0f);
    FrameEvent frame(0.03f, 1.0f, &sm, nullptr);
    EXPECT_TRUE(door.OnFrame(&frame));
    EXPECT_EQ(door.state, Doors::OPEN);
    bool broadcast = false;
    EXPECT_EQ(QueuedMessages(sm.events, &broadcast), std::vector<std::string>{"The gate is open"});
    EXPECT_TRUE(broadcast);
    ASSERT_EQ(sm.render_queue.entities.size(), 1u);
    EXPECT_EQ(sm.render_queue.entities.front(), &door);
    sm.render_queue.Clear();
    // Open stays open without a second message.
    door.OnFrame(&frame);
    EXPECT_EQ(door.state, Doors::OPEN);
    EXPECT_EQ(QueuedMessages(sm.events).size(), 1u);
    sm.render_queue.Clear();
}

TEST_F(DoorsTest, ArrivingClosedBroadcastsTheCloseMessageAndAnEmptyMessageNothing) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    ASSERT_EQ(door.state, Doors::CLOSING);  // from the load
    FrameEvent frame(0.03f, 1.0f, nullptr, nullptr);
    door.OnFrame(&frame);
    EXPECT_EQ(door.state, Doors::CLOSED);
    EXPECT_EQ(QueuedMessages(sm.events), std::vector<std::string>{"The gate is shut"});

    Doors quiet;
    LoadAndBind(quiet, "Doors = { type = slider; open_pos = 200,0; closed_pos = 0,0; }");
    quiet.OnFrame(&frame);
    EXPECT_EQ(quiet.state, Doors::CLOSED);
    quiet.Open();
    quiet.physics.body.position = HVector2(200.0f, 0.0f);
    quiet.OnFrame(&frame);
    EXPECT_EQ(quiet.state, Doors::OPEN);
    EXPECT_EQ(QueuedMessages(sm.events), std::vector<std::string>{"The gate is shut"});
}

TEST_F(DoorsTest, TheSliderTravelsToItsPlaceAndKeepsPressingAfterArriving) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    Frame(door);
    ASSERT_EQ(door.state, Doors::CLOSED);
    door.Open();
    EXPECT_EQ(door.state, Doors::OPENING);
    int frames = 0;
    while (door.state != Doors::OPEN && frames < 600) {
        Frame(door);
        ++frames;
    }
    EXPECT_EQ(door.state, Doors::OPEN);
    EXPECT_GT(frames, 30);  // 190 units at no more than 100 a second
    EXPECT_LT(door.physics.body.position.x, 200.0f);
    EXPECT_GT(door.physics.body.position.x, 190.0f);
    // The command stays set: the body keeps closing in on its place.
    EXPECT_TRUE(door.physics.homeOnTarget);
    EXPECT_EQ(door.physics.target, HVector2(200.0f, 0.0f));
    const float at_arrival = door.physics.body.position.x;
    for (int i = 0; i < 60; ++i) Frame(door);
    EXPECT_GT(door.physics.body.position.x, at_arrival);
    EXPECT_LE(door.physics.body.position.x, 200.0f);
    EXPECT_EQ(door.state, Doors::OPEN);
}

TEST_F(DoorsTest, ARotatingDoorTurnsToItsHeading) {
    Doors door;
    LoadAndBind(door,
                "Doors = { type = rotate; open_pos = 1,0; closed_pos = 0,1; init_state = 1; "
                "PhysicsCharacter = { pos = 0,0; hull = { {0,-5} {200,-5} {200,5} {0,5} } } }");
    door.physics.body.orientation = 90.0f;  // facing the closed heading
    door.state = Doors::CLOSED;
    door.Open();
    EXPECT_EQ(door.physics.target, HVector2(1000.0f, 0.0f));
    int frames = 0;
    while (door.state != Doors::OPEN && frames < 600) {
        Frame(door);
        ++frames;
    }
    EXPECT_EQ(door.state, Doors::OPEN);
    EXPECT_LT(door.physics.body.orientation, 10.0f);
    EXPECT_GT(door.physics.body.orientation, -10.0f);
    EXPECT_EQ(door.physics.body.position, HVector2(0.0f, 0.0f));  // turning moves nothing
    EXPECT_TRUE(door.physics.turnToTarget);
}

TEST_F(DoorsTest, TheToggleKeyClosesOpenDoorsOpensClosedOnesAndLeavesMovingOnes) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    InputEvent down(KeyEvent(SDL12_KEYDOWN, 116));
    door.state = Doors::OPEN;
    EXPECT_TRUE(door.OnInput(&down));
    EXPECT_EQ(door.state, Doors::CLOSING);
    EXPECT_EQ(door.physics.target, HVector2(0.0f, 0.0f));
    // Moving: ignored.
    door.OnInput(&down);
    EXPECT_EQ(door.state, Doors::CLOSING);
    door.state = Doors::OPENING;
    door.OnInput(&down);
    EXPECT_EQ(door.state, Doors::OPENING);
    door.state = Doors::CLOSED;
    door.OnInput(&down);
    EXPECT_EQ(door.state, Doors::OPENING);
    EXPECT_EQ(door.physics.target, HVector2(200.0f, 0.0f));
    // Only the key going down, and only "t".
    door.state = Doors::CLOSED;
    InputEvent up(KeyEvent(SDL12_KEYUP, 116));
    InputEvent other(KeyEvent(SDL12_KEYDOWN, 115));
    door.OnInput(&up);
    door.OnInput(&other);
    EXPECT_EQ(door.state, Doors::CLOSED);
}

TEST_F(DoorsTest, AnActivationTogglesOnlyADoorThatNamesTheTriggerWhateverItsKind) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    NamedTrigger lever("lever"), other("other");
    door.state = Doors::CLOSED;
    TriggerActivationEvent wrong(&other.trigger, 0);
    EXPECT_TRUE(door.OnActivation(&wrong));
    EXPECT_EQ(door.state, Doors::CLOSED);
    // Kind 1 ("off") still opens a closed door.
    TriggerActivationEvent off(&lever.trigger, 1);
    door.OnActivation(&off);
    EXPECT_EQ(door.state, Doors::OPENING);
    door.state = Doors::OPEN;
    TriggerActivationEvent on(&lever.trigger, 0);
    door.OnActivation(&on);
    EXPECT_EQ(door.state, Doors::CLOSING);
    // An event without a trigger changes nothing.
    TriggerActivationEvent none(nullptr, 0);
    door.state = Doors::CLOSED;
    EXPECT_TRUE(door.OnActivation(&none));
    EXPECT_EQ(door.state, Doors::CLOSED);
}

TEST_F(DoorsTest, AnActivationWhileMovingDoesNothingAndTwoQuickOnesEndInTheFirstTarget) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    Frame(door);
    ASSERT_EQ(door.state, Doors::CLOSED);
    NamedTrigger lever("lever");
    TriggerActivationEvent first(&lever.trigger, 0);
    TriggerActivationEvent second(&lever.trigger, 1);
    door.OnActivation(&first);
    Frame(door);
    door.OnActivation(&second);  // a moment later, while it moves
    EXPECT_EQ(door.state, Doors::OPENING);
    EXPECT_EQ(door.physics.target, HVector2(200.0f, 0.0f));
    int frames = 0;
    while (door.state != Doors::OPEN && frames < 600) {
        Frame(door);
        ++frames;
    }
    EXPECT_EQ(door.state, Doors::OPEN);
    EXPECT_TRUE(door.IsOpenPose());
}

TEST_F(DoorsTest, ACharacterInAClosingDoorsWayIsMovedAsideAndTheDoorStays) {
    Doors door;
    LoadAndBind(door, kSliderDoc);
    ASSERT_EQ(door.state, Doors::CLOSING);
    sm.physics.SetEventManager(&sm.events);
    Entity walker_owner;
    PhysicsCharacter walker;
    walker.body.AddVertex(HVector2(-5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, 5.0f));
    walker.body.AddVertex(HVector2(-5.0f, 5.0f));
    walker.Prepare();
    walker.SetEntity(&walker_owner);
    walker.body.position = HVector2(50.0f, 8.0f);  // 2 units into the door's top edge
    sm.physics.AddObject(&walker);
    sm.physics.Step(0.04f, 0.04f);
    EXPECT_EQ(door.physics.body.position, HVector2(0.0f, 0.0f));
    EXPECT_EQ(walker.body.position.x, 50.0f);
    // Two contacts along the flat edge, each moving the walker by the whole depth.
    EXPECT_EQ(walker.body.position.y, 12.0f);
    sm.physics.RemoveObject(&walker);
}

TEST_F(DoorsTest, DeletingTheDoorTakesItsBodyOutOfTheCollisionWorld) {
    auto* door = new Doors();
    DoorDoc d(kSliderDoc);
    door->Load(d.Node("Doors"), nullptr);
    sm.AddChild(door);
    door->SetParent(&sm);
    door->Bind(&sm.events, &sm, &sm.physics);
    sm.physics.SetEventManager(&sm.events);
    ASSERT_EQ(sm.physics.objects.size(), 1u);
    sm.delete_list.push_back(door);
    sm.CleanUpObjects();
    EXPECT_TRUE(sm.physics.objects.empty());
    EXPECT_TRUE(sm.GetChildren().empty());
    EXPECT_TRUE(HandlerNamesOf(sm.events, door).empty());
    // The world steps on without it.
    sm.physics.Step(0.04f, 0.04f);
    EXPECT_TRUE(sm.events.Update(0.1f));
}

TEST_F(DoorsTest, DeletingTheDoorTakesItsBodyOutOfTheContactsStillQueued) {
    auto* door = new Doors();
    DoorDoc d(kSliderDoc);
    door->Load(d.Node("Doors"), nullptr);
    sm.AddChild(door);
    door->SetParent(&sm);
    door->Bind(&sm.events, &sm, &sm.physics);
    sm.physics.SetEventManager(&sm.events);
    // A character standing in the door's way: the step reports the pair to both sides.
    Entity walker_owner;
    PhysicsCharacter walker;
    walker.body.AddVertex(HVector2(-5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, -5.0f));
    walker.body.AddVertex(HVector2(5.0f, 5.0f));
    walker.body.AddVertex(HVector2(-5.0f, 5.0f));
    walker.Prepare();
    walker.SetEntity(&walker_owner);
    walker.body.position = HVector2(50.0f, 8.0f);
    sm.physics.AddObject(&walker);
    sm.physics.Step(0.04f, 0.04f);
    int naming_door = 0;
    for (BaseEvent* e : *sm.events.next)
        if (auto* c = dynamic_cast<GenericCollisionEvent*>(e))
            if (c->self == &door->physics || c->other == &door->physics) ++naming_door;
    ASSERT_EQ(naming_door, 2);
    PhysicsObject* body = &door->physics;
    sm.delete_list.push_back(door);
    sm.CleanUpObjects();
    int contacts = 0;
    for (BaseEvent* e : *sm.events.next)
        if (auto* c = dynamic_cast<GenericCollisionEvent*>(e)) {
            ++contacts;
            EXPECT_NE(c->self, body);
            EXPECT_NE(c->other, body);
        }
    EXPECT_EQ(contacts, 2);  // still queued, without the door's body
    EXPECT_TRUE(sm.events.Update(0.1f));
    sm.physics.RemoveObject(&walker);
}

TEST_F(DoorsTest, EachStartStopsTheMoveSoundAndPlaysItAgain) {
    ASSERT_FALSE(SoundFolder().empty());
    // SDL's dummy audio driver mixes in real time into nothing.
    SoundClose();
    SoundSetDriver(0);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    InitSound();
    ASSERT_TRUE(Sound::sound_enabled);
    sm.resources.RegisterType<Sound>("wav");
    {
        Doors door;
        DoorDoc d(
            "Doors = { type = slider; open_pos = 200,0; closed_pos = 0,0; "
            "move_sound = \"sound_test/move.wav\"; }");
        testing::internal::CaptureStdout();
        door.Load(d.Node("Doors"), &sm.resources);  // closes: the first play
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(door.moveSound.IsValid());
        EXPECT_EQ(door.moveSound->channel, 0);
        EXPECT_TRUE(SoundIsPlaying(0));
        // The next start stops the running play first, so the new one takes the same channel
        // rather than piling up on a second one.
        door.state = Doors::CLOSED;
        door.Open();
        EXPECT_EQ(door.moveSound->channel, 0);
        EXPECT_TRUE(SoundIsPlaying(0));
        EXPECT_FALSE(SoundIsPlaying(1));
        // A movement that is refused plays nothing.
        InputEvent down(KeyEvent(SDL12_KEYDOWN, 116));
        door.OnInput(&down);
        EXPECT_FALSE(SoundIsPlaying(1));
    }
    SoundClose();
    Sound::sound_enabled = false;
    unsetenv("SDL_AUDIODRIVER");
}

// ---- the props' models in data/ ----

namespace {

struct PropBounds {
    HVector3 lo{1e9f, 1e9f, 1e9f};
    HVector3 hi{-1e9f, -1e9f, -1e9f};
};

// Loads data/resources/models/<name> straight from the file (the search path stays as the
// other tests left it); the bounds of its corners. Fails the test when the mesh does not
// load, a texture coordinate leaves 0..1, or a face's normal disagrees with its winding
// (back faces are culled, so such a face would show its inside).
PropBounds LoadProp(const std::string& name, MeshASM& mesh) {
    PropBounds b;
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/resources/models/" + name);
    const std::string text((std::istreambuf_iterator<char>(in)), {});
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse(text)) << name;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(mesh.LoadASMDocument(&doc)) << name;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << name;
    EXPECT_GT(mesh.vertex_count, 0u) << name;
    EXPECT_EQ(mesh.vertex_count % 3, 0u) << name;
    EXPECT_FALSE(mesh.has_color) << name;
    for (uint32_t i = 0; i < mesh.vertex_count; ++i) {
        const HVector3& p = mesh.positions[i];
        b.lo = HVector3(std::min(b.lo.x, p.x), std::min(b.lo.y, p.y), std::min(b.lo.z, p.z));
        b.hi = HVector3(std::max(b.hi.x, p.x), std::max(b.hi.y, p.y), std::max(b.hi.z, p.z));
        const HVector2& t = mesh.texcoords[i];
        EXPECT_TRUE(t.x >= 0.0f && t.x <= 1.0f && t.y >= 0.0f && t.y <= 1.0f) << name << " " << i;
    }
    for (uint32_t f = 0; f + 2 < mesh.vertex_count; f += 3) {
        const HVector3 a = mesh.positions[f], b1 = mesh.positions[f + 1], c = mesh.positions[f + 2];
        const HVector3 d(b1.x - a.x, b1.y - a.y, b1.z - a.z), e(c.x - a.x, c.y - a.y, c.z - a.z);
        const HVector3 n(d.y * e.z - d.z * e.y, d.z * e.x - d.x * e.z, d.x * e.y - d.y * e.x);
        const HVector3& m = mesh.normals[f];
        EXPECT_GT(n.x * m.x + n.y * m.y + n.z * m.z, 0.0f) << name << " face " << f / 3;
    }
    return b;
}

}  // namespace

TEST(DoorsProps, TheSlidingGateFillsAGapOf240InAWall40ThickAndStandsOnTheGround) {
    MeshASM mesh;
    const PropBounds b = LoadProp("gate_slider.asm", mesh);
    EXPECT_EQ(b.lo.y, -120.0f);
    EXPECT_EQ(b.hi.y, 120.0f);
    EXPECT_GE(b.lo.x, -20.0f);
    EXPECT_LE(b.hi.x, 20.0f);
    EXPECT_EQ(b.lo.z, 0.0f);
    EXPECT_GE(b.hi.z, 300.0f);
    EXPECT_LE(b.hi.z, 320.0f);
}

TEST(DoorsProps, TheHingedDoorRunsFromItsHingeAtTheOriginAlongX) {
    MeshASM mesh;
    const PropBounds b = LoadProp("door_hinged.asm", mesh);
    EXPECT_EQ(b.hi.x, 200.0f);
    EXPECT_GE(b.lo.x, -5.0f);  // only the hinge's knuckles lie behind the origin
    EXPECT_LE(b.lo.x, 0.0f);
    EXPECT_GE(b.lo.y, -5.0f);
    EXPECT_LE(b.hi.y, 5.0f);
    EXPECT_EQ(b.lo.z, 0.0f);
    EXPECT_EQ(b.hi.z, 260.0f);
}

TEST(DoorsProps, TheSwitchLooksDifferOnlyInTheLever) {
    MeshASM off, on;
    const PropBounds a = LoadProp("switch_off.asm", off);
    const PropBounds b = LoadProp("switch_on.asm", on);
    EXPECT_EQ(off.vertex_count, on.vertex_count);
    EXPECT_EQ(a.lo.z, 0.0f);
    EXPECT_EQ(b.lo.z, 0.0f);
    // Up reaches higher than down; down hangs over the -y side.
    EXPECT_GT(b.hi.z, a.hi.z + 10.0f);
    EXPECT_LT(a.lo.y, b.lo.y - 2.0f);
    size_t differing = 0;
    for (uint32_t i = 0; i < off.vertex_count; ++i)
        if (!(off.positions[i] == on.positions[i])) ++differing;
    EXPECT_GT(differing, 0u);
    EXPECT_LT(differing, off.vertex_count / 2);
}

TEST(DoorsProps, TheItemsLieOnTheGround) {
    MeshASM medkit, strongbox;
    const PropBounds m = LoadProp("medkit.asm", medkit);
    const PropBounds s = LoadProp("strongbox.asm", strongbox);
    EXPECT_EQ(m.lo.z, 0.0f);
    EXPECT_EQ(s.lo.z, 0.0f);
    // Both fit inside an item's collision square of 60 round their origin.
    for (const PropBounds& b : {m, s}) {
        EXPECT_GE(b.lo.x, -30.0f);
        EXPECT_LE(b.hi.x, 30.0f);
        EXPECT_GE(b.lo.y, -30.0f);
        EXPECT_LE(b.hi.y, 30.0f);
    }
}
