// The patrol: its document, Bind, the hurt rules and messages, each collision rule on
// crafted events, and scenarios that run the real classes through the event queue and the
// collision manager of a SceneManager without a window: walking the path, seeing and
// chasing the player, losing it behind a wall, searching and walking the breadcrumbs back,
// striking, dying, and being deleted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "enemytest.h"
#include "events/sdl12event.h"
#include "game/player.h"

namespace {

using enemytest::EnemyDocument;
using enemytest::Listener;
using enemytest::MakeEnemy;
using enemytest::TestPlayer;
using enemytest::TestWall;

// The patrol's animations from the committed data, so that the tests can tell which plays.
const char* kAnimations =
    "mesh = resources/models/polic.aam; ani_idle = animations/polic_idle.cfo; "
    "ani_walk = animations/polic_walk.cfo; ani_run = animations/polic_run.cfo; "
    "ani_attack = animations/polic_attack.cfo;";

std::string AnimatedEnemy(const std::string& pos, const std::string& walk_path,
                          const std::string& extra = "") {
    return "EnemyPoliceDude = { name = dude; Enemy = { " + std::string(kAnimations) +
           " PhysicsCharacter = { radius = 60; pos = " + pos + "; } } walk_path = { " + walk_path +
           " } " + extra + " }";
}

class EnemyTest : public enemytest::World {
protected:
    void SetUp() override {
        World::SetUp();
        ASSERT_TRUE(enemytest::MountData());
    }

    EnemyPoliceDude* AddEnemy(const std::string& text) {
        enemy = Add(MakeEnemy(text));
        return enemy;
    }
    // Which of the four animations channel 0 plays: its index, or -1.
    int Playing() const {
        for (auto& entry : enemy->animations)
            if (enemy->animator.channels[0].animation == entry.second) return entry.first;
        return -1;
    }
    GenericCollisionEvent Event(PhysicsObject* self, PhysicsObject* other, HVector2 point,
                                float distance) {
        GenericCollisionEvent e;
        e.self = self;
        e.other = other;
        e.point = point;
        e.distance = distance;
        e.target = enemy;
        return e;
    }
    // The states the patrol went through, each once per change, with the frame time.
    struct Change {
        int state;
        float now;
        HVector2 position;
        float orientation;
        int waypoint;
    };
    void Track() {
        if (changes.empty() || changes.back().state != enemy->state)
            changes.push_back({enemy->state, enemy->now, enemy->physics.GetPosition(),
                               enemy->physics.GetOrientation(), enemy->currentWaypoint});
    }
    std::vector<int> States() const {
        std::vector<int> states;
        for (const Change& c : changes) states.push_back(c.state);
        return states;
    }

    EnemyPoliceDude* enemy = nullptr;
    std::vector<Change> changes;
};

TEST_F(EnemyTest, LoadReadsTheDocument) {
    AddEnemy(EnemyDocument("10,20", "{ {1} 0,0 } { {0} 100,0 }", "wait_at_target = 1,2;"));
    EXPECT_EQ(enemy->GetName(), "dude");
    EXPECT_EQ(enemy->GetTypeName(), "EnemyPoliceDude");
    EXPECT_FLOAT_EQ(enemy->waitRange.x, 1.0f);
    EXPECT_FLOAT_EQ(enemy->waitRange.y, 2.0f);
    EXPECT_EQ(enemy->walkPath.Size(), 2);
    EXPECT_FLOAT_EQ(enemy->physics.GetPosition().x, 10.0f);
    EXPECT_FLOAT_EQ(enemy->physics.GetPosition().y, 20.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::ChooseWaypoint);
    EXPECT_FLOAT_EQ(enemy->health, 100.0f);
    EXPECT_FLOAT_EQ(enemy->frontRay.GetDirection().x, 1.0f);

    EnemyPoliceDude* plain = Add(MakeEnemy("EnemyPoliceDude = { }"));
    EXPECT_FLOAT_EQ(plain->waitRange.x, 3.0f);
    EXPECT_FLOAT_EQ(plain->waitRange.y, 5.0f);
    EXPECT_TRUE(plain->walkPath.Empty());
    EnemyPoliceDude none;
    none.Load(nullptr, nullptr);
    EXPECT_FLOAT_EQ(none.waitRange.y, 5.0f);
}

TEST_F(EnemyTest, BindRegistersRaysBodyAndHandlers) {
    AddEnemy(EnemyDocument("0,0", ""));
    enemy->state = EnemyPoliceDude::Search;
    enemy->sightRange = 1.0f;
    enemy->hasWaypoint = true;
    enemy->currentWaypoint = 4;
    Bind();
    ASSERT_EQ(sm.physics.objects.size(), 3u);
    auto it = sm.physics.objects.begin();
    EXPECT_EQ(*it++, &enemy->frontRay);
    EXPECT_EQ(*it++, &enemy->playerRay);
    EXPECT_EQ(*it++, &enemy->physics);
    for (PhysicsObject* o : {static_cast<PhysicsObject*>(&enemy->frontRay),
                             static_cast<PhysicsObject*>(&enemy->playerRay)}) {
        EXPECT_EQ(o->GetEntity(), enemy);
        EXPECT_EQ(o->collisionMode, 1);
        EXPECT_FLOAT_EQ(o->range.x, 0.0f);
        EXPECT_FLOAT_EQ(o->range.y, 1.0f);
    }
    EXPECT_EQ(enemy->physics.GetEntity(), enemy);
    EXPECT_FLOAT_EQ(enemy->physics.GetViewAngle(), 70.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::ChooseWaypoint);
    EXPECT_FLOAT_EQ(enemy->sightRange, 300.0f);
    EXPECT_FLOAT_EQ(enemy->hearingRange, 100.0f);
    EXPECT_FALSE(enemy->hasWaypoint);
    EXPECT_EQ(enemy->currentWaypoint, 0);
    // Three handlers, in the order frame, collision, hurt (after the SceneManager's three).
    ASSERT_EQ(sm.events.handlers.size(), 6u);
    EXPECT_EQ(sm.events.handlers[3]->GetEventTypeName(), "FrameEvent");
    EXPECT_EQ(sm.events.handlers[4]->GetEventTypeName(), "GenericCollisionEvent");
    EXPECT_EQ(sm.events.handlers[5]->GetEventTypeName(), "HurtEvent");
    EXPECT_TRUE(sm.events.handlers[5]->IsOwner(enemy));
}

// ---- hurts ----

class HurtTest : public EnemyTest {
protected:
    void SetUp() override {
        EnemyTest::SetUp();
        listener = Add(new Listener());
        AddEnemy(EnemyDocument("0,0", ""));
        Bind();
    }
    // A HurtEvent through the queue, delivered by the second pass; the message it makes
    // reaches the listener in the third.
    void Hurt(float amount) {
        sm.PostTo(new HurtEvent(amount), enemy);
        RunUntil(clock + 0.15f);
    }
    Listener* listener = nullptr;
};

TEST_F(HurtTest, FirstBlowCostsDoubleAndTheTextSaysTen) {
    Hurt(-10.0f);
    EXPECT_FLOAT_EQ(enemy->health, 80.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
    EXPECT_EQ(listener->messages, (std::vector<std::string>{"Hit dude -10 (80)"}));
    // Fighting now: the next blow costs what it says.
    Hurt(-10.0f);
    EXPECT_FLOAT_EQ(enemy->health, 70.0f);
    Hurt(-3.3f);
    EXPECT_FLOAT_EQ(enemy->health, 66.7f);
    EXPECT_EQ(listener->messages,
              (std::vector<std::string>{"Hit dude -10 (80)", "Hit dude -10 (70)",
                                        "Hit dude -10 (66.7)"}));
}

TEST_F(HurtTest, NotDoubledWhileChasing) {
    enemy->state = EnemyPoliceDude::Chase;
    HurtEvent blow(-10.0f);
    enemy->OnHurt(&blow);
    EXPECT_FLOAT_EQ(enemy->health, 90.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
}

TEST_F(HurtTest, HealthIsClampedAt100) {
    enemy->state = EnemyPoliceDude::Attack;
    enemy->health = 95.0f;
    HurtEvent heal(20.0f);
    enemy->OnHurt(&heal);
    EXPECT_FLOAT_EQ(enemy->health, 100.0f);
    RunUntil(0.1f);
    EXPECT_EQ(listener->messages, (std::vector<std::string>{"Hit dude -10 (100)"}));
}

TEST_F(HurtTest, HealthFallingToExactlyZeroKills) {
    enemy->state = EnemyPoliceDude::Attack;
    enemy->health = 20.0f;
    Hurt(-20.0f);
    EXPECT_FLOAT_EQ(enemy->health, 0.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Dead);
    EXPECT_TRUE(enemy->IsPaused());
    EXPECT_TRUE(enemy->physics.IsDisabled());
    EXPECT_EQ(listener->messages, (std::vector<std::string>{"dude died"}));
    // A dead patrol takes no more and says nothing more.
    Hurt(-10.0f);
    Hurt(50.0f);
    EXPECT_FLOAT_EQ(enemy->health, 0.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Dead);
    EXPECT_EQ(listener->messages, (std::vector<std::string>{"dude died"}));
}

TEST_F(HurtTest, KilledByBlowsWithTheExactMessages) {
    // The first blow 20, then 10 each: 80, 70, ... 10, then dead at 0.
    std::vector<std::string> expected;
    for (int i = 0; i < 9; ++i) {
        Hurt(-10.0f);
        expected.push_back("Hit dude -10 (" + std::to_string(80 - 10 * i) + ")");
    }
    EXPECT_FLOAT_EQ(enemy->health, 0.0f);
    expected.back() = "dude died";
    EXPECT_EQ(listener->messages, expected);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Dead);
}

TEST_F(HurtTest, OverkillClampsToZero) {
    enemy->health = 5.0f;
    Hurt(-10.0f);  // doubled: -20
    EXPECT_FLOAT_EQ(enemy->health, 0.0f);
    EXPECT_EQ(listener->messages, (std::vector<std::string>{"dude died"}));
}

TEST_F(HurtTest, DeadPatrolStandsAndIgnoresCollisions) {
    enemy->state = EnemyPoliceDude::Attack;
    enemy->health = 10.0f;
    Hurt(-10.0f);
    ASSERT_EQ(enemy->state, EnemyPoliceDude::Dead);
    TestPlayer player(HVector2(20.0f, 0.0f));
    player.body.SetEntity(&player);
    GenericCollisionEvent e = Event(&enemy->frontRay, &player.body, HVector2(5.0f, 0.0f), 5.0f);
    enemy->OnCollision(&e);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Dead);
    const HVector2 at = enemy->physics.GetPosition();
    const size_t maps = listener->maps.size();
    RunUntil(clock + 1.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Dead);
    EXPECT_FLOAT_EQ(enemy->physics.GetPosition().x, at.x);
    // No more mini-map reports: the dead frame returns early.
    EXPECT_EQ(listener->maps.size(), maps);
}

// ---- collision rules on crafted events ----

class RuleTest : public EnemyTest {
protected:
    void SetUp() override {
        EnemyTest::SetUp();
        AddEnemy(AnimatedEnemy("0,0", ""));
        player = Add(new TestPlayer(HVector2(500.0f, 500.0f)));
        Bind();
        enemy->state = EnemyPoliceDude::WaitAtWaypoint;
    }
    TestPlayer* player = nullptr;
};

TEST_F(RuleTest, SeesThePlayerInsideRangeAndViewAngle) {
    // Facing +x; 30 degrees off the heading is inside the 70-degree cone.
    const HVector2 point(100.0f * std::cos(0.5236f), 100.0f * std::sin(0.5236f));
    GenericCollisionEvent e = Event(&enemy->playerRay, &player->body, point, 100.0f);
    enemy->OnCollision(&e);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, point.x);
    EXPECT_FLOAT_EQ(enemy->playerDistance, 100.0f);
    EXPECT_EQ(Playing(), 2);
}

TEST_F(RuleTest, OutsideTheViewAngleOrRangeNothingHappens) {
    // 40 degrees off the heading is outside the cone of 70.
    const HVector2 side(100.0f * std::cos(0.698f), 100.0f * std::sin(0.698f));
    GenericCollisionEvent e = Event(&enemy->playerRay, &player->body, side, 100.0f);
    enemy->OnCollision(&e);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, 0.0f);
    // Straight ahead at 300 is not below the sight range; the distance is still kept.
    GenericCollisionEvent far = Event(&enemy->playerRay, &player->body, {300.0f, 0.0f}, 300.0f);
    enemy->OnCollision(&far);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
    EXPECT_FLOAT_EQ(enemy->playerDistance, 300.0f);
    // Behind and near, while patrolling: not heard.
    GenericCollisionEvent behind = Event(&enemy->playerRay, &player->body, {-50.0f, 0.0f}, 50.0f);
    enemy->OnCollision(&behind);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
}

TEST_F(RuleTest, HeardWhileSearching) {
    enemy->state = EnemyPoliceDude::Search;
    GenericCollisionEvent behind = Event(&enemy->playerRay, &player->body, {-80.0f, 0.0f}, 80.0f);
    enemy->OnCollision(&behind);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, -80.0f);
    // Beyond hearing nothing changes.
    enemy->state = EnemyPoliceDude::Search;
    GenericCollisionEvent far = Event(&enemy->playerRay, &player->body, {-100.0f, 0.0f}, 100.0f);
    enemy->OnCollision(&far);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Search);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, -80.0f);
}

TEST_F(RuleTest, OnlyThePlayersBodiesCount) {
    TestWall wall(0.0f, 0.0f, 10.0f, 10.0f);
    wall.body.SetEntity(&wall);
    PhysicsCharacter stray;  // no entity
    GenericCollisionEvent e1 = Event(&enemy->playerRay, &wall.body, {50.0f, 0.0f}, 50.0f);
    GenericCollisionEvent e2 = Event(&enemy->playerRay, &stray, {50.0f, 0.0f}, 50.0f);
    GenericCollisionEvent e3 = Event(nullptr, &player->body, {50.0f, 0.0f}, 50.0f);
    GenericCollisionEvent e4 = Event(&enemy->playerRay, nullptr, {50.0f, 0.0f}, 50.0f);
    for (GenericCollisionEvent* e : {&e1, &e2, &e3, &e4}) enemy->OnCollision(e);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
    EXPECT_FLOAT_EQ(enemy->playerDistance, 0.0f);
}

TEST_F(RuleTest, FrontRayWithin50Strikes) {
    GenericCollisionEvent near = Event(&enemy->frontRay, &player->body, {49.0f, 0.0f}, 49.0f);
    enemy->OnCollision(&near);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
    EXPECT_EQ(Playing(), 3);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, 49.0f);  // seen too, and kept while attacking
    EXPECT_FLOAT_EQ(enemy->playerDistance, 49.0f);
    // At 50 it does not strike: the player ray at 50 only sees.
    enemy->state = EnemyPoliceDude::WaitAtWaypoint;
    GenericCollisionEvent at50 = Event(&enemy->frontRay, &player->body, {50.0f, 0.0f}, 50.0f);
    enemy->OnCollision(&at50);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    // The player ray never strikes, however near.
    enemy->state = EnemyPoliceDude::WaitAtWaypoint;
    GenericCollisionEvent ray = Event(&enemy->playerRay, &player->body, {-10.0f, 0.0f}, 10.0f);
    enemy->OnCollision(&ray);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
}

TEST_F(RuleTest, AttackingKeepsLastSeenEvenOutOfSight) {
    enemy->state = EnemyPoliceDude::Attack;
    GenericCollisionEvent behind = Event(&enemy->playerRay, &player->body, {-40.0f, 5.0f}, 40.0f);
    enemy->OnCollision(&behind);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, -40.0f);
    EXPECT_FLOAT_EQ(enemy->lastSeen.y, 5.0f);
}

TEST_F(RuleTest, TouchedByThePlayer) {
    GenericCollisionEvent touch = Event(&enemy->physics, &player->body, {0.0f, 0.0f}, 0.0f);
    enemy->OnCollision(&touch);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    EXPECT_EQ(Playing(), 2);
    enemy->state = EnemyPoliceDude::Attack;
    enemy->OnCollision(&touch);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
}

TEST_F(RuleTest, AttackEndsWhenThePlayerIsFarOrOutOfView) {
    enemy->state = EnemyPoliceDude::Attack;
    enemy->lastSeen = HVector2(40.0f, 0.0f);
    enemy->playerDistance = 50.0f;
    enemy->UpdateHunt();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
    enemy->playerDistance = 50.5f;
    enemy->UpdateHunt();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    EXPECT_EQ(Playing(), 1);
    EXPECT_FALSE(enemy->physics.turnToTarget);
    enemy->state = EnemyPoliceDude::Attack;
    enemy->playerDistance = 10.0f;
    enemy->lastSeen = HVector2(0.0f, 40.0f);  // 90 degrees to the left
    enemy->UpdateHunt();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
}

TEST_F(RuleTest, EmptyTrailAfterSearchEndsAtOnce) {
    enemy->state = EnemyPoliceDude::Search;
    enemy->waitStart = 0.0f;
    enemy->waitDuration = 0.0f;
    enemy->now = 1.0f;
    ASSERT_TRUE(enemy->returnTrail.Empty());
    enemy->UpdateHunt();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::ReturnAlongTrail);
    EXPECT_EQ(enemy->currentWaypoint, -1);
    enemy->UpdateReturn();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::ChooseWaypoint);
    EXPECT_FALSE(enemy->physics.moveToTarget);
    EXPECT_EQ(Playing(), 0);
}

TEST_F(RuleTest, WaypointOutsideThePathIsChosenAgain) {
    enemy->walkPath.Append(HVector2(100.0f, 0.0f));
    enemy->hasWaypoint = true;
    enemy->currentWaypoint = 3;
    enemy->state = EnemyPoliceDude::WalkToWaypoint;
    enemy->UpdatePatrol();
    EXPECT_EQ(enemy->state, EnemyPoliceDude::ChooseWaypoint);
    // Choosing from outside the path goes back to waypoint 0.
    enemy->UpdatePatrol();
    EXPECT_EQ(enemy->currentWaypoint, 0);
    EXPECT_EQ(enemy->previousWaypoint, 3);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
}

// ---- scenarios through the frame loop ----

TEST_F(EnemyTest, WalksItsPathWaitingAndTurning) {
    AddEnemy(AnimatedEnemy("0,0", "{ {1} 0,0 } { {0} 0,200 }", "wait_at_target = 1,1;"));
    Bind();
    RunUntil(
        16.0f, [this] { Track(); }, 0.0625f);
    // Choose, wait, walk: at waypoint 0 already, so it chooses 1 (from itself the first
    // link's value 1 is no place in a list of one: the link itself), turns to it and walks.
    const std::vector<int> states = States();
    ASSERT_GE(states.size(), 10u);
    const std::vector<int> expected{3, 2, 1, 3, 2, 1, 3, 2, 1, 3};
    EXPECT_EQ(std::vector<int>(states.begin(), states.begin() + 10), expected);
    // The first wait lasts the 1 second of wait_at_target: no turn is needed for its own spot.
    EXPECT_FLOAT_EQ(changes[2].now - changes[1].now, 1.0f);
    // The second wait turns to (0, 200): it ends facing it within 5 degrees either way.
    EXPECT_EQ(changes[4].waypoint, 1);
    EXPECT_GE(changes[5].now - changes[4].now, 1.0f);
    EXPECT_NEAR(changes[5].orientation, 90.0f, 5.0f);
    // Arrived within 10 of the waypoint, then back towards 0.
    EXPECT_LT((changes[6].position - HVector2(0.0f, 200.0f)).Length(), 10.0f);
    EXPECT_EQ(changes[7].waypoint, 0);
    EXPECT_LT((changes[9].position - HVector2(0.0f, 0.0f)).Length(), 10.0f);
    EXPECT_EQ(enemy->health, 100.0f);
}

TEST_F(EnemyTest, WithoutPathItStands) {
    AddEnemy(EnemyDocument("30,40", "", "wait_at_target = 0.5,0.5;"));
    Bind();
    RunUntil(
        5.0f, [this] { Track(); }, 0.0625f);
    const std::vector<int> states = States();
    ASSERT_GE(states.size(), 9u);
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(states[i], (std::vector<int>{3, 2, 1})[i % 3]) << i;
    EXPECT_FALSE(enemy->hasWaypoint);
    EXPECT_FLOAT_EQ(enemy->physics.GetPosition().x, 30.0f);
    EXPECT_FLOAT_EQ(enemy->physics.GetPosition().y, 40.0f);
}

TEST_F(EnemyTest, SeesThePlayerAndChases) {
    Listener* listener = Add(new Listener());
    AddEnemy(AnimatedEnemy("0,0", "{ {} 0,0 }"));
    TestPlayer* player = Add(new TestPlayer(HVector2(250.0f, 0.0f)));
    player->body.SetImmovable(true);
    Bind();
    RunUntil(
        0.5f, [this] { Track(); }, 0.0625f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Chase);
    EXPECT_EQ(Playing(), 2);
    EXPECT_TRUE(enemy->physics.IsRunning());
    // The player ray points at the player, and reported the near side of its hull.
    EXPECT_FLOAT_EQ(enemy->playerRay.GetDirection().x, 1.0f);
    EXPECT_NEAR(enemy->lastSeen.x, 250.0f - 30.0f * std::cos(0.5236f), 0.5f);
    // The mini map hears of the chase.
    ASSERT_FALSE(listener->maps.empty());
    const MiniMapObjectEvent& last = listener->maps.back();
    EXPECT_EQ(last.object_id, enemy->GetTypeId());
    EXPECT_FLOAT_EQ(last.size, 30.0f);
    EXPECT_EQ(last.kind, 2);
    EXPECT_EQ(listener->maps.front().kind, 0);
}

// The patrol faces +x and waits for a long time; the player stands at `at`.
class UnseenTest : public EnemyTest, public testing::WithParamInterface<int> {};

TEST_P(UnseenTest, BehindBeyondOrThroughAWallTheWaitGoesOn) {
    AddEnemy(AnimatedEnemy("0,0", "{ {} 0,0 }", "wait_at_target = 100,100;"));
    // 0: behind at 150; 1: ahead, its hull's near side at 332 - 30 cos 30 = 306, beyond the
    // sight of 300; 2: ahead at 150
    // with a wall at 80 in between.
    const HVector2 at[3] = {{-150.0f, 0.0f}, {332.0f, 0.0f}, {150.0f, 0.0f}};
    Add(new TestPlayer(at[GetParam()]));
    if (GetParam() == 2) Add(new TestWall(70.0f, -100.0f, 90.0f, 100.0f));
    Bind();
    RunUntil(3.0f, 0.0625f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
    EXPECT_FLOAT_EQ(enemy->lastSeen.x, 0.0f);
    // Ahead, the player ray reaches the player, or stops at the wall.
    if (GetParam() == 1) {
        EXPECT_NEAR(enemy->playerDistance, 332.0f - 30.0f * std::cos(0.5235988f), 0.01f);
    }
    if (GetParam() == 2) {
        EXPECT_FLOAT_EQ(enemy->playerDistance, 0.0f);
    }
}

INSTANTIATE_TEST_SUITE_P(EnemyTest, UnseenTest, testing::Values(0, 1, 2));

TEST_F(EnemyTest, LosesThePlayerSearchesAndWalksTheTrailBack) {
    // Off the axes: a target exactly behind gets no turning torque, and the search's first
    // scan point is (0,0).
    AddEnemy(AnimatedEnemy("-50,-80", "{ {} 0,0 }", "wait_at_target = 100,100;"));
    TestPlayer* player = Add(new TestPlayer(HVector2(230.0f, 0.0f)));
    player->body.SetImmovable(true);
    // A wall between the chase's end and where the player goes.
    Add(new TestWall(-200.0f, 150.0f, 600.0f, 170.0f));
    Bind();
    // Seen at once; the player then steps behind the wall.
    RunUntil(0.25f, 0.0625f);
    ASSERT_EQ(enemy->state, EnemyPoliceDude::Chase);
    player->body.SetPosition(HVector2(230.0f, 500.0f));
    std::vector<HVector2> trail;
    RunUntil(
        20.0f,
        [&] {
            Track();
            if (enemy->returnTrail.Size() > int(trail.size()))
                trail.push_back(enemy->returnTrail.Last());
        },
        0.0625f);
    const std::vector<int> states = States();
    ASSERT_GE(states.size(), 5u);
    EXPECT_EQ(std::vector<int>(states.begin(), states.begin() + 5),
              (std::vector<int>{4, 5, 6, 3, 2}));
    // It ran to where it last saw the player, on the near side of its old place...
    EXPECT_LT((enemy->lastSeen - HVector2(230.0f, 0.0f)).Length(), 30.01f);
    EXPECT_LT((changes[1].position - enemy->lastSeen).Length(), 15.0f);
    // ... dropping a breadcrumb each 60 units from where the chase began...
    ASSERT_GE(trail.size(), 3u);
    EXPECT_FLOAT_EQ(trail[0].x, -50.0f);
    EXPECT_FLOAT_EQ(trail[0].y, -80.0f);
    for (size_t i = 1; i < trail.size(); ++i) {
        const float gap = (trail[i] - trail[i - 1]).Length();
        EXPECT_GT(gap, 60.0f) << i;
        EXPECT_LT(gap, 75.0f) << i;  // one frame of running past 60 at most
    }
    // ... searched between 4 and 6 seconds ...
    const float searched = changes[2].now - changes[1].now;
    EXPECT_GE(searched, 4.0f);
    EXPECT_LE(searched, 6.0f + 0.0625f);
    // ... and walked the trail back to its first breadcrumb, using it up.
    EXPECT_LT((changes[3].position - HVector2(-50.0f, -80.0f)).Length(), 20.0f);
    EXPECT_TRUE(enemy->returnTrail.Empty());
    EXPECT_FALSE(enemy->physics.IsRunning());
}

TEST_F(EnemyTest, SearchLastsTheDrawnTime) {
    AddEnemy(AnimatedEnemy("0,0", "{ {} 0,0 }"));
    Bind();
    RunUntil(0.25f, 0.0625f);
    enemy->lastSeen = HVector2(0.0f, 0.0f);
    enemy->state = EnemyPoliceDude::Chase;
    float duration = 0.0f, start = 0.0f;
    RunUntil(
        8.0f,
        [&] {
            Track();
            if (enemy->state == EnemyPoliceDude::Search) {
                duration = enemy->waitDuration;
                start = enemy->waitStart;
            }
        },
        0.0625f);
    // Standing on lastSeen, the chase turns into the search in its first frame; with its one
    // breadcrumb underfoot the trail is used up in the frame the search ends.
    ASSERT_GE(changes.size(), 2u);
    ASSERT_EQ(changes[0].state, EnemyPoliceDude::Search);
    ASSERT_EQ(changes[1].state, EnemyPoliceDude::ChooseWaypoint);
    EXPECT_GE(duration, 4.0f);
    EXPECT_LE(duration, 6.0f);
    EXPECT_FLOAT_EQ(changes[0].now, start);
    // The first frame whose time is at or past the end.
    EXPECT_GE(changes[1].now, start + duration);
    EXPECT_LT(changes[1].now - 0.0625f, start + duration);
}

TEST_F(EnemyTest, StrikesEveryTwoSecondsFirstAfterTwo) {
    AddEnemy(AnimatedEnemy("0,0", "{ {} 0,0 }"));
    TestPlayer* player = Add(new TestPlayer(HVector2(150.0f, 0.0f)));
    player->body.SetImmovable(true);
    Bind();
    float entered = -1.0f;
    std::vector<float> blows;
    RunUntil(
        12.0f,
        [&] {
            if (entered < 0.0f && enemy->state == EnemyPoliceDude::Attack) entered = enemy->now;
            if (entered >= 0.0f && enemy->lastHitTime != entered &&
                (blows.empty() || blows.back() != enemy->lastHitTime))
                blows.push_back(enemy->lastHitTime);
        },
        0.0625f);
    ASSERT_GE(entered, 0.0f);
    EXPECT_EQ(enemy->state, EnemyPoliceDude::Attack);
    EXPECT_EQ(Playing(), 3);
    ASSERT_GE(blows.size(), 3u);
    // lastHitTime + 2 must be below the frame time: the first frame after two seconds.
    EXPECT_FLOAT_EQ(blows[0] - entered, 2.0625f);
    for (size_t i = 1; i < blows.size(); ++i) EXPECT_FLOAT_EQ(blows[i] - blows[i - 1], 2.0625f);
    // Each blow reached the player as -5.
    EXPECT_GE(player->hurts.size(), blows.size() - 1);
    EXPECT_LE(player->hurts.size(), blows.size());
    for (float h : player->hurts) EXPECT_FLOAT_EQ(h, -5.0f);
}

TEST_F(EnemyTest, TheHerosFirstBlowOnAPatrolCostsTwenty) {
    // The real hero behind a waiting patrol, striking with a key that is no side step. Away
    // from the origin: until its first frame a patrol's front ray starts at (0,0).
    k_action_hit = 107;
    Listener* listener = Add(new Listener());
    AddEnemy(AnimatedEnemy("145,100", "{ {} 145,100 }", "wait_at_target = 100,100;"));
    CfoDocument document;
    ASSERT_TRUE(document.Parse(
        "Player = { name = main_player; PhysicsCharacter = { radius = 30; pos = 100,100; } }"));
    auto* hero = new Player();
    testing::internal::CaptureStdout();
    hero->Load(document.FindChild("Player"), nullptr);
    testing::internal::GetCapturedStdout();
    Add(hero);
    Bind();
    RunUntil(0.25f, 0.0625f);
    ASSERT_EQ(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
    Sdl12Event key{};
    key.key.type = SDL12_KEYDOWN;
    key.key.state = 1;
    key.key.keysym.sym = 107;
    sm.Post(new InputEvent(key));
    float health_at_message = -1.0f;
    RunUntil(
        3.0f,
        [&] {
            if (health_at_message < 0.0f && !listener->messages.empty())
                health_at_message = enemy->health;
        },
        0.0625f);
    // The hero's ray reached the patrol's body, whose blows go to the patrol: -10, doubled.
    ASSERT_FALSE(listener->messages.empty());
    EXPECT_EQ(listener->messages[0], "Hit dude -10 (80)");
    EXPECT_FLOAT_EQ(health_at_message, 80.0f);
    EXPECT_NE(enemy->state, EnemyPoliceDude::WaitAtWaypoint);
}

TEST_F(EnemyTest, DeletedPatrolLeavesNothingInTheCollisionManager) {
    AddEnemy(AnimatedEnemy("0,0", "{ {} 0,0 }"));
    TestPlayer* player = Add(new TestPlayer(HVector2(40.0f, 0.0f)));
    Add(new TestWall(-200.0f, 150.0f, 600.0f, 170.0f));
    Bind();
    RunUntil(1.0f, 0.0625f);
    ASSERT_EQ(sm.physics.objects.size(), 5u);
    ASSERT_EQ(enemy->state, EnemyPoliceDude::Attack);
    ASSERT_GT(player->contacts, 0);
    // Deleted at the end of the pass whose step queued, for the player's body, the hits of
    // both of the patrol's rays on it.
    sm.Post(new DeleteEntityEvent(enemy));
    RunUntil(1.125f, 0.0625f);
    EXPECT_EQ(sm.FindEntity("dude"), nullptr);
    ASSERT_EQ(sm.physics.objects.size(), 2u);
    EXPECT_EQ(sm.physics.objects.front(), &player->body);
    // Those two contacts reach the player without their freed other side.
    const int contacts = player->contacts;
    RunUntil(3.0f, 0.0625f);
    EXPECT_EQ(player->dropped_contacts, 2);
    EXPECT_EQ(player->contacts, contacts);
    EXPECT_EQ(sm.physics.objects.size(), 2u);
}

}  // namespace
