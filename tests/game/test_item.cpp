// Items: their document keys, bind, mini-map marks and the pickup by the Player's body, by
// direct handler calls; then scenarios in a real SceneManager where the hero (or another
// body) walks onto them through the collision manager and the event queue.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "game/playertest.h"
#include "resources/resourcemanager.h"
#include "resources/sound.h"
#include "resources/soundlayer.h"

using namespace playertest;

namespace {

// A square of side 20 around (x, y), as a document writes it.
std::string Shape(int x, int y) {
    const std::string l = std::to_string(x - 10), r = std::to_string(x + 10);
    const std::string b = std::to_string(y - 10), t = std::to_string(y + 10);
    return "PhysicsStaticGeometry = { hull = { {" + l + "," + b + "} {" + r + "," + b + "} {" + r +
           "," + t + "} {" + l + "," + t + "} } }";
}

class ItemTest : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        collisions.SetEventManager(&events);
    }
    // Loads (no resources) and binds an item from the keys inside its node.
    Item* Make(const std::string& keys) {
        docs.push_back(std::make_unique<CfoDocument>());
        EXPECT_TRUE(docs.back()->Parse("Item = { " + keys + " }"));
        items.push_back(std::make_unique<Item>());
        Item* item = items.back().get();
        item->Load(docs.back()->FindChild("Item"), nullptr);
        item->Bind(&events, nullptr, &collisions);
        return item;
    }
    void Touch(Item* item, PhysicsObject* other) {
        GenericCollisionEvent e;
        e.self = &item->geometry;
        e.other = other;
        item->OnCollision(&e);
    }
    std::vector<std::string> QueuedNames() {
        std::vector<std::string> out;
        for (BaseEvent* e : *events.next) out.push_back(e->GetTypeName());
        return out;
    }

    EventManager events;
    CollisionManager collisions;
    std::vector<std::unique_ptr<CfoDocument>> docs;
    std::vector<std::unique_ptr<Item>> items;
};

}  // namespace

TEST(ItemDefaults, FieldsAsConstructed) {
    Item item;
    EXPECT_EQ(item.GetTypeName(), "Item");
    EXPECT_EQ(item.kind, Item::HEALTH);
    EXPECT_EQ(item.value, 0.0f);
    EXPECT_TRUE(item.pickupMessage.empty());
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(item.transform.m[r][c], r == c ? 1.0f : 0.0f);
    EXPECT_FALSE(item.model.IsValid());
    EXPECT_FALSE(item.pickupSound.IsValid());
}

TEST_F(ItemTest, LoadReadsEveryKey) {
    Item* item = Make(
        "name = medkit; pickup_message = \"Health for you\"; type = TARGET; value = 25.5; "
        "transf = { {1,0,0,0,1,0,0,0,1,5,6,7} } "
        "PhysicsStaticGeometry = { hull = { {0,0} {10,0} {10,10} {0,10} } pos = 100,0; }");
    EXPECT_EQ(item->GetName(), "medkit");
    EXPECT_EQ(item->pickupMessage, "Health for you");
    EXPECT_EQ(item->kind, Item::TARGET);
    EXPECT_EQ(item->value, 25.5f);
    EXPECT_EQ(item->transform.m[0][3], 5.0f);
    EXPECT_EQ(item->transform.m[1][3], 6.0f);
    EXPECT_EQ(item->transform.m[2][3], 7.0f);
    EXPECT_EQ(item->transform.m[0][0], 1.0f);
    EXPECT_EQ(item->transform.m[1][1], 1.0f);
    EXPECT_EQ(item->transform.m[0][1], 0.0f);
    // The hull centred on its mean, then moved by "pos".
    EXPECT_EQ(item->geometry.GetPosition(), HVector2(105.0f, 5.0f));
    EXPECT_EQ(item->geometry.body.vertices.front(), HVector2(-5.0f, -5.0f));
}

TEST_F(ItemTest, TheTypeTextGivesTheKind) {
    EXPECT_EQ(Make("type = HEALTH;")->kind, Item::HEALTH);
    EXPECT_EQ(Make("type = TARGET;")->kind, Item::TARGET);
    EXPECT_EQ(Make("type = target;")->kind, Item::HEALTH);
    EXPECT_EQ(Make("type = AMMO;")->kind, Item::HEALTH);
    EXPECT_EQ(Make("")->kind, Item::HEALTH);
}

TEST(ItemLoad, FetchesShaderModelTextureAndSoundInOrder) {
    ResetSettings();
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("Item = { pickup_sound = s.wav; texture = t.dds; model = m.asm; }"));
    ResourceManager resources;
    Item item;
    testing::internal::CaptureStdout();
    item.Load(doc.FindChild("Item"), &resources);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Could not find resource constructor associated with 'cg'\n"
              "Could not find resource constructor associated with 'asm'\n"
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'wav'\n");
}

TEST_F(ItemTest, BindAddsAShapeWithVerticesAndSubscribesFrameThenCollision) {
    Item* item = Make(Shape(50, 0));
    ASSERT_EQ(collisions.objects.size(), 1u);
    EXPECT_EQ(collisions.objects.front(), &item->geometry);
    EXPECT_EQ(item->geometry.entity, item);
    EXPECT_EQ(item->geometry.body.invMass, 0.0f);
    EXPECT_EQ(item->geometry.boundingCircle.centre, HVector2(50.0f, 0.0f));
    ASSERT_EQ(events.handlers.size(), 2u);
    EXPECT_EQ(events.handlers[0]->GetEventTypeName(), "FrameEvent");
    EXPECT_EQ(events.handlers[1]->GetEventTypeName(), "GenericCollisionEvent");
}

TEST_F(ItemTest, AnItemWithoutAShapeNeverJoinsTheWorld) {
    Item* item = Make("type = HEALTH; value = 25;");
    EXPECT_TRUE(collisions.objects.empty());
    EXPECT_EQ(item->geometry.entity, nullptr);
    EXPECT_EQ(events.handlers.size(), 2u);
}

TEST_F(ItemTest, DeletingAnItemTakesItsShapeOutOfTheWorld) {
    Make(Shape(50, 0));
    items.clear();
    EXPECT_TRUE(collisions.objects.empty());
    EXPECT_TRUE(events.handlers.empty());
}

TEST_F(ItemTest, EachFrameMarksTheItemOnTheMiniMapByKind) {
    Item* health = Make("type = HEALTH; " + Shape(50, -30));
    Item* target = Make("type = TARGET; " + Shape(-20, 40));
    FrameEvent frame(0.1f, 1.0f, nullptr, nullptr);
    health->OnFrame(&frame);
    target->OnFrame(&frame);
    auto marks = Queued<MiniMapObjectEvent>(events);
    ASSERT_EQ(marks.size(), 2u);
    EXPECT_EQ(marks[0]->object_id, health->GetTypeId());
    EXPECT_EQ(marks[0]->position.x, 50.0f);
    EXPECT_EQ(marks[0]->position.y, -30.0f);
    EXPECT_EQ(marks[0]->position.z, 0.0f);
    EXPECT_EQ(marks[0]->size, 30.0f);
    EXPECT_EQ(marks[0]->kind, 1);
    EXPECT_EQ(marks[0]->target, nullptr);
    EXPECT_EQ(marks[1]->position.x, -20.0f);
    EXPECT_EQ(marks[1]->kind, 2);
}

TEST_F(ItemTest, APausedItemIsNotOnTheMiniMap) {
    Item* item = Make(Shape(0, 0));
    item->SetPaused(true);
    EXPECT_TRUE(item->geometry.IsDisabled());
    FrameEvent frame(0.1f, 1.0f, nullptr, nullptr);
    item->OnFrame(&frame);
    EXPECT_TRUE(events.next->empty());
    item->SetPaused(false);
    EXPECT_FALSE(item->geometry.IsDisabled());
}

TEST_F(ItemTest, ThePlayersBodyTakesItOnce) {
    Item* item = Make("type = HEALTH; value = 25; pickup_message = \"Medkit\"; " + Shape(0, 0));
    Player hero;
    hero.physics.SetEntity(&hero);
    Touch(item, &hero.physics);
    ASSERT_EQ(QueuedNames(), (std::vector<std::string>{"ItemPickupEvent", "GameGUIMessageEvent"}));
    auto pickup = Queued<ItemPickupEvent>(events);
    EXPECT_EQ(pickup[0]->item_kind, 0);
    EXPECT_EQ(pickup[0]->amount, 25.0f);
    EXPECT_EQ(pickup[0]->target, nullptr);
    auto message = Queued<GameGUIMessageEvent>(events);
    EXPECT_EQ(message[0]->text, "Medkit");
    EXPECT_EQ(message[0]->mode, 0);
    EXPECT_TRUE(item->IsPaused());
    EXPECT_FALSE(item->IsVisible());
    EXPECT_TRUE(item->geometry.IsDisabled());
    // A contact the step reported before the pickup takes nothing more.
    Touch(item, &hero.physics);
    EXPECT_EQ(events.next->size(), 2u);
}

TEST_F(ItemTest, WithoutAMessageOnlyThePickupIsSent) {
    Item* item = Make("type = TARGET; value = 3; " + Shape(0, 0));
    Player hero;
    hero.physics.SetEntity(&hero);
    Touch(item, &hero.physics);
    ASSERT_EQ(QueuedNames(), (std::vector<std::string>{"ItemPickupEvent"}));
    auto pickup = Queued<ItemPickupEvent>(events);
    EXPECT_EQ(pickup[0]->item_kind, 1);
    EXPECT_EQ(pickup[0]->amount, 3.0f);
}

TEST_F(ItemTest, OnlyThePlayersBodyTakesIt) {
    Item* item = Make("type = HEALTH; value = 25; " + Shape(0, 0));
    Dummy enemy;
    enemy.physics.SetEntity(&enemy);
    Touch(item, &enemy.physics);
    Player hero;
    hero.attackRay.SetEntity(&hero);
    Touch(item, &hero.attackRay);  // the hero's ray is no body
    PhysicsCharacter stray;
    Touch(item, &stray);
    Touch(item, nullptr);
    EXPECT_TRUE(events.next->empty());
    EXPECT_FALSE(item->IsPaused());
    EXPECT_TRUE(item->IsVisible());
}

TEST_F(ItemTest, ThePickupPlaysItsSound) {
    MountData();
    // SDL's "dummy" driver mixes into nothing in real time.
    SoundClose();
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    Sound::sound_enabled = false;
    Sound::sound_loop = false;
    testing::internal::CaptureStdout();
    InitSound();
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(Sound::sound_enabled);
    {
        ResourceManager resources;
        resources.RegisterType<Sound>("wav");
        CfoDocument doc;
        ASSERT_TRUE(doc.Parse("Item = { pickup_sound = resources/sounds/item_pickup.wav; " +
                              Shape(0, 0) + " }"));
        testing::internal::CaptureStdout();
        Item item;
        item.Load(doc.FindChild("Item"), &resources);
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(item.pickupSound.IsValid());
        EXPECT_FALSE(SoundIsPlaying(0));
        Player hero;
        hero.physics.SetEntity(&hero);
        GenericCollisionEvent e;
        e.self = &item.geometry;
        e.other = &hero.physics;
        item.OnCollision(&e);
        EXPECT_TRUE(SoundIsPlaying(item.pickupSound->channel));
        SoundStop(SOUND_ALL);
    }
    SoundClose();
    SoundSetDriver(0);
    Sound::sound_enabled = false;
}

// ---- scenarios through the frame loop ----

using ItemLevel = Level;

TEST_F(ItemLevel, AHealthItemOf25AtHealth90Leaves100AndDisappears) {
    Build(std::string(kHero) + " Item = { name = medkit; type = HEALTH; value = 25; " +
          "pickup_message = \"Medkit\"; " + Shape(20, 0) + " }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("medkit"));
    ASSERT_NE(item, nullptr);
    player->health = 90.0f;
    RunUntil(0.5f);
    EXPECT_EQ(player->health, 100.0f);
    ASSERT_EQ(pickups.size(), 1u);
    EXPECT_EQ(pickups[0].item_kind, 0);
    EXPECT_EQ(pickups[0].amount, 25.0f);
    EXPECT_EQ(MessageTexts(), std::vector<std::string>{"Medkit"});
    EXPECT_TRUE(item->IsPaused());
    EXPECT_FALSE(item->IsVisible());
    EXPECT_TRUE(item->geometry.IsDisabled());
    // Walking over its place again takes nothing.
    player->health = 50.0f;
    player->physics.SetPosition(HVector2(20.0f, 0.0f));
    RunUntil(1.0f);
    EXPECT_EQ(pickups.size(), 1u);
    EXPECT_EQ(player->health, 50.0f);
    EXPECT_EQ(player->physics.GetPosition(), HVector2(20.0f, 0.0f));
}

TEST_F(ItemLevel, ATargetItemChangesNothingOnThePlayer) {
    Build(std::string(kHero) + " Item = { name = papers; type = TARGET; value = 25; " +
          "pickup_message = \"Found the papers\"; " + Shape(20, 0) + " }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("papers"));
    player->health = 90.0f;
    RunUntil(0.5f);
    EXPECT_EQ(player->health, 90.0f);
    EXPECT_EQ(player->stamina, 100.0f);
    ASSERT_EQ(pickups.size(), 1u);
    EXPECT_EQ(pickups[0].item_kind, 1);
    EXPECT_EQ(MessageTexts(), std::vector<std::string>{"Found the papers"});
    EXPECT_TRUE(item->IsPaused());
}

TEST_F(ItemLevel, AnotherBodyIsPushedOutAndLeavesTheItem) {
    Build(std::string(kHero) +
          " Dummy = { name = enemy; PhysicsCharacter = { pos = 300,0; radius = 30; } }" +
          " Item = { name = medkit; type = HEALTH; value = 25; " + Shape(310, 0) + " }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("medkit"));
    auto* enemy = dynamic_cast<Dummy*>(sm.FindEntity("enemy"));
    ASSERT_NE(enemy, nullptr);
    RunUntil(0.5f);
    EXPECT_TRUE(pickups.empty());
    EXPECT_FALSE(item->IsPaused());
    EXPECT_TRUE(item->IsVisible());
    EXPECT_FALSE(item->geometry.IsDisabled());
    // Out of the square's side at x = 300: the hexagon's flat side was 12.99 from its centre.
    const HVector2 p = enemy->physics.GetPosition();
    EXPECT_LE(p.x, 300.0f - 12.99f + 0.01f);
    // The item's shape did not move.
    EXPECT_EQ(item->geometry.GetPosition(), HVector2(310.0f, 0.0f));
    EXPECT_FALSE(enemy->contact_types.empty());
}

TEST_F(ItemLevel, AnItemWithoutAShapeCannotBeTaken) {
    Build(std::string(kHero) + " Item = { name = ghost; type = HEALTH; value = 25; }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("ghost"));
    player->health = 50.0f;
    RunUntil(0.5f);
    EXPECT_TRUE(pickups.empty());
    EXPECT_EQ(player->health, 50.0f);
    EXPECT_FALSE(item->IsPaused());
}

TEST_F(ItemLevel, TheMiniMapShowsTheItemUntilItIsTaken) {
    Build(std::string(kHero) + " Item = { name = medkit; type = HEALTH; value = 25; " +
          Shape(200, 0) + " }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("medkit"));
    const uint32_t id = item->GetTypeId();
    auto count = [&] {
        size_t n = 0;
        for (const MiniMapObjectEvent& m : marks)
            if (m.object_id == id) {
                EXPECT_EQ(m.kind, 1);
                EXPECT_EQ(m.position.x, 200.0f);
                ++n;
            }
        return n;
    };
    RunUntil(0.4f);
    const size_t before = count();
    EXPECT_GE(before, 5u);
    player->physics.SetPosition(HVector2(185.0f, 0.0f));
    RunUntil(0.6f);
    ASSERT_TRUE(item->IsPaused());
    const size_t taken = count();
    EXPECT_GT(taken, before);
    RunUntil(1.0f);
    EXPECT_EQ(count(), taken);
}

TEST_F(ItemLevel, DeletingAnItemLeavesNoDanglingPointerInTheQueuedContacts) {
    // The hero walks at 100 a second from 5 short of the square: the second step overlaps.
    Build(std::string(kHero) + " Item = { name = papers; type = TARGET; " + Shape(28, 0) + " }");
    auto* item = dynamic_cast<Item*>(sm.FindEntity("papers"));
    const void* shape = &item->geometry;
    player->physics.moveForward = true;
    player->physics.body.velocity = HVector2(100.0f, 0.0f);
    sm.Post(new DeleteEntityEvent(item));
    Pass(0.04f);
    // The second pass by hand: its step reports the contact again, its update delivers the
    // deletion, its clean-up deletes the item while that contact waits.
    ASSERT_TRUE(sm.UpdateAt(0.08f));
    auto mentions = [&] {
        size_t n = 0;
        for (auto* list : {sm.events.current, sm.events.next, sm.events.delayed})
            for (BaseEvent* e : *list)
                if (e->GetTypeName() == "GenericCollisionEvent") {
                    auto* c = static_cast<GenericCollisionEvent*>(e);
                    n += (c->self == shape) + (c->other == shape);
                }
        return n;
    };
    ASSERT_GT(mentions(), 0u);
    sm.Post(new FrameEvent(sm.dt, sm.time, &sm, nullptr));
    sm.render_queue.Clear();
    sm.CleanUpObjects();
    EXPECT_EQ(sm.FindEntity("papers"), nullptr);
    EXPECT_EQ(mentions(), 0u);
    for (PhysicsObject* o : sm.physics.objects) EXPECT_NE(o, shape);
    Pass(0.12f);
    Pass(0.16f);
    EXPECT_EQ(player->health, 100.0f);
}
