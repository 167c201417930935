// The collision manager: handler table, step, delivery modes, sweep, events and tree.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "cfo/cfonode.h"
#include "events/eventmanager.h"
#include "events/events.h"
#include "physics/collisionmanager.h"
#include "scene/entity.h"

namespace {

void MakeWall(PhysicsStaticGeometry& w, HVector2 centre, float halfX, float halfY) {
    w.body.position = centre;
    w.AddVertex(HVector2(-halfX, -halfY));
    w.AddVertex(HVector2(halfX, -halfY));
    w.AddVertex(HVector2(halfX, halfY));
    w.AddVertex(HVector2(-halfX, halfY));
    w.Prepare();
}

void MakeCharacter(PhysicsCharacter& c, HVector2 at, float radius) {
    c.body.MakeCircle(1.0f, 6);
    c.ScaleHull(radius);
    c.body.position = at;
    c.Prepare();
    c.boundingCircle.centre = at;
}

std::vector<GenericCollisionEvent*> Queued(EventManager& events) {
    std::vector<GenericCollisionEvent*> out;
    for (BaseEvent* e : *events.next) {
        if (e->GetTypeName() == "GenericCollisionEvent")
            out.push_back(static_cast<GenericCollisionEvent*>(e));
    }
    return out;
}

// Reference of the key hash in 64-bit arithmetic, reduced to 32 bits after every step.
int32_t ReferenceHash(int32_t a, int32_t b) {
    auto wrap = [](int64_t v) { return int32_t(uint32_t(uint64_t(v) & 0xffffffffu)); };
    auto sar = [](int32_t v, int n) {
        return int32_t(v < 0 ? ~(~int64_t(v) >> n) : int64_t(v) >> n);
    };
    int32_t h = a;
    h = wrap(int64_t(h) + int64_t(uint64_t(uint32_t(h)) << 10));
    h ^= sar(h, 6);
    h = wrap(int64_t(h) + b);
    h = wrap(int64_t(h) + int64_t(uint64_t(uint32_t(h)) << 10));
    h ^= sar(h, 6);
    h = wrap(int64_t(h) + int64_t(uint64_t(uint32_t(h)) << 3));
    h ^= sar(h, 11);
    h = wrap(int64_t(h) + int64_t(uint64_t(uint32_t(h)) << 15));
    return h / 500;
}

}  // namespace

TEST(PhysicsManager, PairHashMatchesReference) {
    int32_t values[] = {0, 1, 2, 3, 7, 100, 12345, -1, -500, 2147483647, -2147483647 - 1};
    for (int32_t a : values)
        for (int32_t b : values) EXPECT_EQ(PairHash(a, b), ReferenceHash(a, b)) << a << "," << b;
    // Hand-worked: a = 1, b = 0.
    // h=1; +1024 -> 1025; ^= 16 -> 1041; +0; +1041<<10 = 1066985; ^= 16671 -> 1050358 ...
    EXPECT_EQ(PairHash(1, 0), ReferenceHash(1, 0));
    EXPECT_EQ(PairHash(0, 0), 0);
}

TEST(PhysicsManager, HandlersRegisteredInTableOrder) {
    CollisionManager m;
    ASSERT_EQ(m.handlerArray.size(), 4u);
    EXPECT_EQ(m.handlerMap.size(), 4u);
    EXPECT_EQ(m.handlerArray[0]->GetFirstTypeName(), "PhysicsCharacter");
    EXPECT_EQ(m.handlerArray[0]->GetSecondTypeName(), "PhysicsStaticGeometry");
    EXPECT_EQ(m.handlerArray[1]->GetSecondTypeName(), "PhysicsCharacter");
    EXPECT_EQ(m.handlerArray[2]->GetSecondTypeName(), "PhysicsRayCast");
    EXPECT_EQ(m.handlerArray[3]->GetFirstTypeName(), "PhysicsStaticGeometry");
    EXPECT_EQ(m.handlerArray[3]->GetSecondTypeName(), "PhysicsRayCast");

    const int c = PhysicsCharacter::StaticTypeId();
    const int s = PhysicsStaticGeometry::StaticTypeId();
    const int r = PhysicsRayCast::StaticTypeId();
    CollisionHandler* cs = m.FindHandler(c, s);
    ASSERT_NE(cs, nullptr);
    EXPECT_NE(cs, m.handlerArray[0]);  // the map holds its own copy
    EXPECT_EQ(cs->GetSecondTypeName(), "PhysicsStaticGeometry");
    ASSERT_NE(m.FindHandler(s, r), nullptr);
    EXPECT_EQ(m.FindHandler(s, r)->GetFirstTypeName(), "PhysicsStaticGeometry");
    // Keys are their hashes: a reversed pair finds nothing unless its hash is taken.
    std::vector<int32_t> taken = {PairHash(c, s), PairHash(c, c), PairHash(c, r), PairHash(s, r)};
    auto isTaken = [&](int32_t h) {
        return std::find(taken.begin(), taken.end(), h) != taken.end();
    };
    if (!isTaken(PairHash(r, s))) {
        EXPECT_EQ(m.FindHandler(r, s), nullptr);
    }
    if (!isTaken(PairHash(s, s))) {
        EXPECT_EQ(m.FindHandler(s, s), nullptr);
    }
    if (!isTaken(PairHash(r, r))) {
        EXPECT_EQ(m.FindHandler(r, r), nullptr);
    }

    CollisionHandler base;
    PhysicsRayCast a, b;
    HVector2 p, n;
    float d = 0.0f;
    EXPECT_FALSE(base.Test(&a, &b, p, n, d, 0.1f));
    EXPECT_FALSE(base.Dispatch(&a, &b, nullptr, 0.1f));
    EXPECT_EQ(base.GetFirstTypeName(), "");
}

TEST(PhysicsManager, AddRemoveAndDestructor) {
    CollisionManager m;
    auto* ray = new PhysicsRayCast();
    PhysicsRayCast other;
    m.AddObject(ray);
    m.AddObject(&other);
    m.AddObject(ray);
    EXPECT_EQ(ray->manager, &m);
    EXPECT_EQ(m.objects.size(), 3u);
    m.RemoveObject(&other);
    EXPECT_EQ(other.manager, &m);  // not cleared
    EXPECT_EQ(m.objects.size(), 2u);
    delete ray;  // leaves the manager through the base destructor
    EXPECT_TRUE(m.objects.empty());
    other.manager = nullptr;
}

TEST(PhysicsManager, EmptyListLeavesTimeAlone) {
    CollisionManager m;
    m.lastUpdateTime = 3.0f;
    m.Step(0.5f, 10.0f);
    EXPECT_EQ(m.lastUpdateTime, 3.0f);
}

TEST(PhysicsManager, SoonFrameMovesNothingButSeparates) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Entity e1, e2;
    PhysicsCharacter c;
    PhysicsStaticGeometry w;
    MakeCharacter(c, HVector2(0.0f, 0.0f), 2.0f);   // vertices 1 from the centre
    MakeWall(w, HVector2(1.5f, 0.0f), 1.0f, 5.0f);  // left face at x = 0.5
    c.body.velocity = HVector2(30.0f, 0.0f);
    c.SetEntity(&e1);
    w.SetEntity(&e2);
    m.AddObject(&c);
    m.AddObject(&w);
    m.Step(1.0f / 60.0f, 1.0f / 60.0f);
    EXPECT_EQ(m.lastUpdateTime, 0.0f);
    // Not integrated: the velocity is untouched. Separated: the right vertex (0.866) is
    // pushed out of the face at 0.5, by 0.366 for each of its contact pairs.
    EXPECT_EQ(c.body.velocity, HVector2(30.0f, 0.0f));
    EXPECT_NEAR(c.body.position.x, -2.0f * (std::sqrt(3.0f) / 2.0f - 0.5f), 1e-5);
    EXPECT_NEAR(c.body.position.y, 0.0f, 1e-5);
    EXPECT_EQ(w.body.position, HVector2(1.5f, 0.0f));
    // Mode 0: both entities told at once, i before j.
    auto q = Queued(events);
    ASSERT_EQ(q.size(), 2u);
    EXPECT_EQ(q[0]->self, &c);
    EXPECT_EQ(q[0]->other, &w);
    EXPECT_EQ(q[0]->target, &e1);
    EXPECT_EQ(q[1]->self, &w);
    EXPECT_EQ(q[1]->target, &e2);
    // A polygon contact carries the step's starting values.
    EXPECT_EQ(q[0]->normal, HVector2(0.0f, 0.0f));
    EXPECT_EQ(q[0]->distance, 0.0f);
}

TEST(PhysicsManager, LongFrameIntegratesOnceWithItsOwnDt) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    PhysicsCharacter c;
    MakeCharacter(c, HVector2(0.0f, 0.0f), 2.0f);
    c.body.velocity = HVector2(10.0f, 0.0f);
    m.AddObject(&c);
    m.Step(0.2f, 1.0f);
    EXPECT_EQ(m.lastUpdateTime, 1.0f);
    EXPECT_FLOAT_EQ(c.body.position.x, 2.0f);  // 10 · 0.2, one step
    // A normal frame: the step is 1/30 (the float 0.033333335), no accumulated remainder.
    m.Step(0.01f, 1.04f);
    EXPECT_EQ(m.lastUpdateTime, 1.04f);
    float v = 10.0f + (10.0f * -10.0f) * 0.2f;  // the velocity after the first step
    EXPECT_FLOAT_EQ(c.body.position.x, 2.0f + v * (1.0f / 30.0f));
}

TEST(PhysicsManager, AHitchOfSecondsMovesOnlyTheLongestStep) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    PhysicsCharacter c;
    MakeCharacter(c, HVector2(0.0f, 0.0f), 2.0f);
    c.body.velocity = HVector2(10.0f, 0.0f);
    m.AddObject(&c);
    m.Step(3.4f, 5.0f);
    EXPECT_EQ(m.lastUpdateTime, 5.0f);
    EXPECT_FLOAT_EQ(c.body.position.x, 10.0f * CollisionManager::kLongestStep);
    EXPECT_FLOAT_EQ(CollisionManager::kLongestStep, 0.2f);
}

TEST(PhysicsManager, OwnRayNeverMeets) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Entity owner;
    PhysicsCharacter c;
    PhysicsRayCast r;
    MakeCharacter(c, HVector2(0.0f, 0.0f), 10.0f);
    r.SetOrigin(HVector2(0.0f, 0.0f));
    c.SetEntity(&owner);
    r.SetEntity(&owner);
    m.AddObject(&c);
    m.AddObject(&r);
    m.Step(0.01f, 0.01f);
    m.Step(0.01f, 0.02f);
    EXPECT_EQ(events.NextCount(), 0u);

    // Two objects without an entity do not meet either.
    CollisionManager m2;
    m2.SetEventManager(&events);
    PhysicsCharacter c2;
    PhysicsRayCast r2;
    MakeCharacter(c2, HVector2(0.0f, 0.0f), 10.0f);
    m2.AddObject(&c2);
    m2.AddObject(&r2);
    r2.collisionMode = 1;
    m2.Step(0.01f, 0.01f);
    EXPECT_EQ(events.NextCount(), 0u);
}

namespace {

struct RayScene {
    EventManager events;
    CollisionManager m;
    Entity rayOwner;
    PhysicsRayCast ray;
    PhysicsStaticGeometry near, far;
    RayScene(int mode, HVector2 range = HVector2(0.0f, 1000.0f), float nearAt = 50.0f,
             float farAt = 80.0f) {
        m.SetEventManager(&events);
        MakeWall(near, HVector2(nearAt + 5.0f, 0.0f), 5.0f, 5.0f);
        MakeWall(far, HVector2(farAt + 5.0f, 0.0f), 5.0f, 5.0f);
        ray.SetOrigin(HVector2(0.0f, 0.0f));
        ray.SetDirection(HVector2(1.0f, 0.0f));
        ray.SetEntity(&rayOwner);
        ray.SetCollisionMode(mode, range);
        // The far wall is listed first, so that a "last one wins" would show.
        m.AddObject(&far);
        m.AddObject(&near);
        m.AddObject(&ray);
    }
};

}  // namespace

TEST(PhysicsManager, NearestHitModeOneGivesOneEventAtFifty) {
    RayScene s(1);
    // The first step: hitDistance is still 0 from construction, nothing is remembered.
    s.m.Step(0.01f, 0.01f);
    EXPECT_EQ(s.events.NextCount(), 0u);
    EXPECT_EQ(s.ray.hitDistance, 100000.0f);  // cleared by the sweep
    s.m.Step(0.01f, 0.02f);
    auto q = Queued(s.events);
    ASSERT_EQ(q.size(), 1u);
    EXPECT_EQ(q[0]->distance, 50.0f);
    EXPECT_EQ(q[0]->point, HVector2(50.0f, 0.0f));
    EXPECT_EQ(q[0]->other, &s.near);
    EXPECT_EQ(q[0]->self, &s.ray);
    EXPECT_EQ(q[0]->target, &s.rayOwner);
    EXPECT_EQ(q[0]->normal, HVector2(0.0f, 0.0f));
    EXPECT_FALSE(s.ray.hasHit);
}

TEST(PhysicsManager, EveryModeGivesTheRayNoNormal) {
    for (int mode = 0; mode < 4; mode++) {
        RayScene s(mode);
        s.m.Step(0.01f, 0.01f);
        s.m.Step(0.01f, 0.02f);
        auto q = Queued(s.events);
        ASSERT_FALSE(q.empty()) << mode;
        for (auto* e : q) EXPECT_EQ(e->normal, HVector2(0.0f, 0.0f)) << mode;
        // Modes 0 and 2 tell of both walls in both steps; 1 and 3 of the nearest, once.
        EXPECT_EQ(q.size(), mode % 2 == 0 ? 4u : 1u) << mode;
    }
}

TEST(PhysicsManager, RangeModesIgnoreFarHits) {
    RayScene s(3, HVector2(0.0f, 100.0f), 150.0f, 300.0f);
    s.m.Step(0.01f, 0.01f);
    s.m.Step(0.01f, 0.02f);
    EXPECT_EQ(s.events.NextCount(), 0u);

    RayScene t(2, HVector2(60.0f, 100.0f));
    t.m.Step(0.01f, 0.01f);
    auto q = Queued(t.events);
    ASSERT_EQ(q.size(), 1u);  // 50 is below the range, 80 inside it
    EXPECT_EQ(q[0]->distance, 80.0f);
}

TEST(PhysicsManager, DisabledObjectIsStillSweptAndCleared) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Entity owner;
    PhysicsRayCast r;
    PhysicsStaticGeometry w;
    MakeWall(w, HVector2(10.0f, 0.0f), 1.0f, 1.0f);
    r.SetEntity(&owner);
    r.SetCollisionMode(1, HVector2(0.0f, 1000.0f));
    r.SetDisabled(true);
    m.AddObject(&r);
    m.AddObject(&w);
    r.hasHit = true;
    r.hitObject = &w;
    r.hitDistance = 12.0f;
    m.Step(0.01f, 0.01f);
    EXPECT_EQ(m.objects.size(), 2u);
    auto q = Queued(events);
    ASSERT_EQ(q.size(), 1u);
    EXPECT_EQ(q[0]->distance, 12.0f);
    EXPECT_EQ(q[0]->other, &w);
    EXPECT_FALSE(r.hasHit);
    EXPECT_EQ(r.hitDistance, 100000.0f);
    // Disabled: it takes no part in the pair test on the next step.
    m.Step(0.01f, 0.02f);
    EXPECT_EQ(events.NextCount(), 1u);
}

TEST(PhysicsManager, RayPointAndDistanceCarryOverToLaterPairs) {
    // A ray hit at 50 followed, in the same step, by a polygon contact: the contact's
    // event shows what the ray test left in the step's variables.
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Entity e1, e2, e3;
    PhysicsRayCast r;
    PhysicsStaticGeometry w;
    PhysicsCharacter c;
    MakeWall(w, HVector2(55.0f, 0.0f), 5.0f, 5.0f);
    MakeCharacter(c, HVector2(55.0f, 200.0f), 2.0f);
    PhysicsStaticGeometry w2;
    MakeWall(w2, HVector2(55.0f, 200.5f), 1.0f, 1.0f);
    r.SetEntity(&e1);
    w.SetEntity(&e2);
    c.SetEntity(&e3);
    m.AddObject(&r);
    m.AddObject(&w);
    m.AddObject(&c);
    m.AddObject(&w2);
    m.Step(0.01f, 0.01f);
    auto q = Queued(events);
    ASSERT_EQ(q.size(), 3u);  // ray, wall, then the character (its wall has no entity)
    EXPECT_EQ(q[0]->distance, 50.0f);
    EXPECT_EQ(q[2]->self, &c);
    EXPECT_EQ(q[2]->other, &w2);
    EXPECT_EQ(q[2]->distance, 50.0f);
    EXPECT_EQ(q[2]->point, HVector2(50.0f, 0.0f));
}

TEST(PhysicsManager, DispatchPostsTypedEvents) {
    EventManager events;
    CollisionManager m;
    Entity ce, re;
    PhysicsCharacter c;
    PhysicsRayCast r;
    MakeCharacter(c, HVector2(20.0f, 0.0f), 4.0f);
    r.SetEntity(&re);
    c.SetEntity(&ce);
    CollisionHandler* h =
        m.FindHandler(PhysicsCharacter::StaticTypeId(), PhysicsRayCast::StaticTypeId());
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(h->Dispatch(&c, &r, &events, 0.01f));
    ASSERT_EQ(events.NextCount(), 2u);
    BaseEvent* first = events.next->front();
    BaseEvent* second = events.next->back();
    EXPECT_EQ(first->GetTypeName(), "CollisionEvent<PhysicsRayCast>");
    EXPECT_EQ(first->target, &ce);
    EXPECT_EQ(static_cast<CollisionEvent<PhysicsRayCast>*>(first)->self, &c);
    EXPECT_EQ(static_cast<CollisionEvent<PhysicsRayCast>*>(first)->other, &r);
    EXPECT_EQ(second->GetTypeName(), "CollisionEvent<PhysicsCharacter>");
    EXPECT_EQ(second->target, &re);
    EXPECT_EQ(static_cast<CollisionEvent<PhysicsCharacter>*>(second)->self, &r);

    testing::internal::CaptureStdout();
    EXPECT_TRUE(h->Dispatch(&c, &r, nullptr, 0.01f));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "CollisionManager:EventManager not set\n");
    r.SetDirection(HVector2(-1.0f, 0.0f));
    EXPECT_FALSE(h->Dispatch(&c, &r, &events, 0.01f));
    EXPECT_EQ(events.NextCount(), 2u);
}

TEST(PhysicsManager, EventsArriveOnePassLater) {
    struct Receiver : public Entity, public EventListener {
        int count = 0;
        bool OnHit(GenericCollisionEvent*) {
            count++;
            return true;
        }
    };
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Receiver rec;
    events.AddHandler(&rec, &Receiver::OnHit);
    PhysicsRayCast r;
    PhysicsStaticGeometry w;
    MakeWall(w, HVector2(10.0f, 0.0f), 1.0f, 1.0f);
    r.SetEntity(&rec);
    m.AddObject(&r);
    m.AddObject(&w);
    m.Step(0.01f, 0.01f);
    events.Update(0.01f);
    EXPECT_EQ(rec.count, 0);  // posted between two updates: waits for the next
    m.Step(0.01f, 0.02f);
    events.Update(0.02f);
    EXPECT_EQ(rec.count, 1);
    events.RemoveHandlers(&rec);
}

TEST(PhysicsManager, DumpsWriteTheirLines) {
    CollisionManager m;
    testing::internal::CaptureStdout();
    m.DumpHandlers();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("----------map\n", 0), 0u);
    EXPECT_NE(out.find("----------array\n"), std::string::npos);
    EXPECT_NE(out.find(" - PhysicsCharacter, PhysicsStaticGeometry " +
                       std::to_string(PhysicsCharacter::StaticTypeId()) + ", " +
                       std::to_string(PhysicsStaticGeometry::StaticTypeId()) + "\n"),
              std::string::npos);
    EXPECT_NE(out.find(" - PhysicsStaticGeometry, PhysicsRayCast \n"), std::string::npos);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 10);

    PhysicsRayCast r;
    m.AddObject(&r);
    testing::internal::CaptureStdout();
    m.DumpObjects();
    out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out.rfind("======================Physics objects=========================\n", 0), 0u);
    EXPECT_NE(out.find("PhysicsRayCast "), std::string::npos);
    EXPECT_NE(out.find(" Ent:  "), std::string::npos);
    m.RemoveObject(&r);
    r.manager = nullptr;
}

TEST(PhysicsManager, DebugColoursPack) {
    EXPECT_EQ(PhysicsPackColour(1.0f, 1.0f, 0.0f, 0.5f), 0xFFFF007Fu);
    EXPECT_EQ(PhysicsPackColour(0.3f, 0.3f, 1.0f, 0.3f), 0x4C4CFF4Cu);
    EXPECT_EQ(PhysicsPackColour(1.0f, 1.0f, 1.0f, 1.0f), 0xFFFFFFFFu);
}

TEST(PhysicsManager, SpatialTree) {
    CollisionManager m;
    PhysicsRayCast a;
    a.boundingCircle.centre = HVector2(300.0f, 0.0f);
    a.boundingCircle.radius = 10.0f;
    // The zero root keeps everything.
    m.InsertObject(&a, m.tree);
    EXPECT_EQ(a.treeNode, m.tree);
    m.RemoveFromTree(&a);
    EXPECT_EQ(a.treeNode, nullptr);
    EXPECT_TRUE(m.tree->objects.empty());

    m.SetTreeRectangle(HVector2(0.0f, 0.0f), HVector2(1000.0f, 1000.0f));
    m.InsertObject(&a, m.tree);
    // x: 300 ± 10 is above the split 0: the high side, (250, 0) sized 500 by 1000, split on
    // y at 0, which the circle straddles: it stays there.
    ASSERT_NE(m.tree->high, nullptr);
    EXPECT_EQ(a.treeNode, m.tree->high);
    EXPECT_EQ(m.tree->high->centre, HVector2(250.0f, 0.0f));
    EXPECT_EQ(m.tree->high->size, HVector2(500.0f, 1000.0f));
    EXPECT_EQ(m.tree->high->axis, 1);
    EXPECT_EQ(m.tree->high->split, 0.0f);
    EXPECT_TRUE(m.tree->high->Contains(a.boundingCircle));
    EXPECT_FALSE(m.tree->low);

    PhysicsRayCast big;
    big.boundingCircle.centre = HVector2(-300.0f, 0.0f);
    big.boundingCircle.radius = 300.0f;  // diameter above half the root: joins the root
    m.InsertObject(&big, m.tree);
    EXPECT_EQ(big.treeNode, m.tree);

    a.boundingCircle.centre = HVector2(-300.0f, 300.0f);
    m.UpdateObject(&a);
    EXPECT_EQ(m.tree->high, nullptr);  // emptied and deleted
    ASSERT_NE(m.tree->low, nullptr);
    ASSERT_NE(m.tree->low->high, nullptr);
    // Down the low x side, then the high y side, and on until the node is no longer
    // twice the circle's diameter; the circle lies inside every node on the way.
    ASSERT_NE(a.treeNode, nullptr);
    EXPECT_TRUE(a.treeNode->Contains(a.boundingCircle));
    float larger = std::max(a.treeNode->size.x, a.treeNode->size.y);
    EXPECT_LT(larger * 0.5f, 40.0f);
    bool throughLowHigh = false;
    for (PhysicsTreeNode* n = a.treeNode; n; n = n->parent) {
        EXPECT_TRUE(n == m.tree || n->Contains(a.boundingCircle));
        if (n == m.tree->low->high) throughLowHigh = true;
    }
    EXPECT_TRUE(throughLowHigh);

    // A point never descends forever.
    PhysicsRayCast point;
    point.boundingCircle.centre = HVector2(1.0f, 1.0f);
    m.InsertObject(&point, m.tree);
    EXPECT_NE(point.treeNode, nullptr);
    m.InsertObject(nullptr, m.tree);
    m.InsertObject(&point, nullptr);
    m.RemoveFromTree(&point);
    m.RemoveFromTree(&a);
    m.RemoveFromTree(&big);
    EXPECT_EQ(m.tree->low, nullptr);
    EXPECT_EQ(m.tree->high, nullptr);
}

// ---- the pair pre-test changes nothing ----

namespace {

struct Recorded {
    std::string type;
    int self, other;
    float nx, ny, px, py, d;
    bool operator==(const Recorded& o) const {
        return type == o.type && self == o.self && other == o.other && nx == o.nx && ny == o.ny &&
               px == o.px && py == o.py && d == o.d;
    }
};

struct World {
    EventManager events;
    CollisionManager m;
    std::vector<std::unique_ptr<Entity>> entities;
    std::vector<std::unique_ptr<PhysicsObject>> objects;
    std::vector<PhysicsObject*> order;

    explicit World(unsigned seed) {
        m.SetEventManager(&events);
        std::mt19937 rng(seed);
        std::uniform_real_distribution<float> place(-150.0f, 150.0f);
        std::uniform_real_distribution<float> unit(0.0f, 1.0f);
        for (int i = 0; i < 30; i++) {
            auto w = std::make_unique<PhysicsStaticGeometry>();
            MakeWall(*w, HVector2(place(rng), place(rng)), 5.0f + 30.0f * unit(rng),
                     5.0f + 30.0f * unit(rng));
            if (i % 3 == 0) {
                entities.push_back(std::make_unique<Entity>());
                w->SetEntity(entities.back().get());
            }
            objects.push_back(std::move(w));
        }
        for (int i = 0; i < 25; i++) {
            auto c = std::make_unique<PhysicsCharacter>();
            MakeCharacter(*c, HVector2(place(rng), place(rng)), 10.0f + 30.0f * unit(rng));
            c->body.orientation = unit(rng) * 360.0f;
            c->moveForward = i % 2 == 0;
            c->turnLeft = i % 3 == 0;
            c->SetImmovable(i % 7 == 0);
            entities.push_back(std::make_unique<Entity>());
            c->SetEntity(entities.back().get());
            Entity* owner = entities.back().get();
            objects.push_back(std::move(c));
            for (int k = 0; k < 2; k++) {
                auto r = std::make_unique<PhysicsRayCast>();
                r->SetOrigin(HVector2(place(rng), place(rng)));
                float a = unit(rng) * 6.2831853f;
                r->SetDirection(HVector2(std::cos(a), std::sin(a)));
                r->SetCollisionMode(k == 0 ? 1 : 3, HVector2(0.0f, 200.0f));
                r->SetEntity(k == 0 ? owner : nullptr);
                if (k == 1) {
                    entities.push_back(std::make_unique<Entity>());
                    r->SetEntity(entities.back().get());
                }
                objects.push_back(std::move(r));
            }
        }
        // Shuffle the list order so that every kind meets every other in both orders.
        std::shuffle(objects.begin(), objects.end(), rng);
        for (auto& o : objects) {
            m.AddObject(o.get());
            order.push_back(o.get());
        }
    }
    ~World() {
        for (auto& o : objects) m.RemoveObject(o.get());
    }
    int IndexOf(PhysicsObject* p) const {
        for (size_t i = 0; i < order.size(); i++)
            if (order[i] == p) return int(i);
        return -1;
    }
    void Run(std::vector<Recorded>& log, int steps) {
        for (int s = 0; s < steps; s++) {
            m.Step(1.0f / 30.0f, 0.05f * float(s + 1));
            for (BaseEvent* e : *events.next) {
                auto* g = static_cast<GenericCollisionEvent*>(e);
                log.push_back({e->GetTypeName(), IndexOf(g->self), IndexOf(g->other), g->normal.x,
                               g->normal.y, g->point.x, g->point.y, g->distance});
            }
            events.Update(0.05f * float(s + 1));
        }
    }
};

}  // namespace

TEST(PhysicsManager, PairPreTestChangesNothing) {
    for (unsigned seed = 1; seed <= 6; seed++) {
        World with(seed), without(seed);
        without.m.pairPreTest = false;
        std::vector<Recorded> a, b;
        with.Run(a, 40);
        without.Run(b, 40);
        ASSERT_GT(a.size(), 50u) << seed;
        ASSERT_EQ(a.size(), b.size()) << seed;
        for (size_t i = 0; i < a.size(); i++) ASSERT_TRUE(a[i] == b[i]) << seed << " event " << i;
        for (size_t i = 0; i < with.order.size(); i++) {
            HVector2 p = with.order[i]->GetPosition();
            HVector2 q = without.order[i]->GetPosition();
            ASSERT_EQ(p, q) << seed << " object " << i;
        }
    }
}

// ---- the broadphase changes nothing ----

namespace {

// A random world of any size for the broadphase: walls, characters (some heaped on one spot
// so that separations push them far within a step), two rays each, and the odd ones the
// grid keeps aside: a wall far larger than the rest, a ray of no direction, rays of huge and
// tiny directions.
struct Shape {
    int walls, characters;
    float extent;      // the world is a square of this half-size
    float heap;        // the share of characters heaped on the centre
    bool odd = false;  // the odd objects above
};

struct BigWorld {
    EventManager events;
    CollisionManager m;
    std::vector<std::unique_ptr<Entity>> entities;
    std::vector<std::unique_ptr<PhysicsObject>> objects;
    std::vector<PhysicsObject*> order;
    std::map<const PhysicsObject*, int> index;

    BigWorld(unsigned seed, const Shape& shape) {
        m.SetEventManager(&events);
        std::mt19937 rng(seed);
        const float e = shape.extent;
        std::uniform_real_distribution<float> place(-e, e);
        std::uniform_real_distribution<float> unit(0.0f, 1.0f);
        for (int i = 0; i < shape.walls; i++) {
            auto w = std::make_unique<PhysicsStaticGeometry>();
            MakeWall(*w, HVector2(place(rng), place(rng)), 5.0f + 40.0f * unit(rng),
                     5.0f + 40.0f * unit(rng));
            w->body.orientation = unit(rng) < 0.3f ? unit(rng) * 360.0f : 0.0f;
            if (i % 3 == 0) {
                entities.push_back(std::make_unique<Entity>());
                w->SetEntity(entities.back().get());
            }
            w->SetDisabled(i % 41 == 40);
            objects.push_back(std::move(w));
        }
        if (shape.odd) {
            auto w = std::make_unique<PhysicsStaticGeometry>();
            MakeWall(*w, HVector2(0.0f, -0.25f * e), 2.0f * e, 8.0f);
            objects.push_back(std::move(w));
        }
        for (int i = 0; i < shape.characters; i++) {
            auto c = std::make_unique<PhysicsCharacter>();
            const bool heaped = unit(rng) < shape.heap;
            HVector2 at = heaped ? HVector2(10.0f * unit(rng), 10.0f * unit(rng))
                                 : HVector2(place(rng), place(rng));
            MakeCharacter(*c, at, 10.0f + 30.0f * unit(rng));
            c->body.orientation = unit(rng) * 360.0f;
            c->moveForward = i % 2 == 0;
            c->turnLeft = i % 3 == 0;
            c->SetImmovable(i % 7 == 0);
            c->SetDisabled(i % 37 == 36);
            entities.push_back(std::make_unique<Entity>());
            c->SetEntity(entities.back().get());
            Entity* owner = entities.back().get();
            objects.push_back(std::move(c));
            for (int k = 0; k < 2; k++) {
                auto r = std::make_unique<PhysicsRayCast>();
                r->SetOrigin(heaped ? at : HVector2(place(rng), place(rng)));
                float a = unit(rng) * 6.2831853f;
                r->SetDirection(HVector2(std::cos(a), std::sin(a)));
                r->SetCollisionMode(k == 0 ? 1 : int(rng() % 4), HVector2(0.0f, 0.5f * e));
                r->SetEntity(k == 0 ? owner : nullptr);
                if (k == 1) {
                    entities.push_back(std::make_unique<Entity>());
                    r->SetEntity(entities.back().get());
                }
                objects.push_back(std::move(r));
            }
        }
        if (shape.odd) {
            const HVector2 directions[] = {HVector2(0.0f, 0.0f), HVector2(3e18f, -1e18f),
                                           HVector2(1e-19f, 2e-19f), HVector2(-1.0f, 0.0f)};
            for (const HVector2& d : directions) {
                auto r = std::make_unique<PhysicsRayCast>();
                r->SetOrigin(HVector2(place(rng), place(rng)));
                r->SetDirection(d);
                entities.push_back(std::make_unique<Entity>());
                r->SetEntity(entities.back().get());
                objects.push_back(std::move(r));
            }
        }
        std::shuffle(objects.begin(), objects.end(), rng);
        for (auto& o : objects) {
            index[o.get()] = int(order.size());
            m.AddObject(o.get());
            order.push_back(o.get());
        }
    }
    ~BigWorld() {
        for (auto& o : objects) m.RemoveObject(o.get());
    }
    int IndexOf(const PhysicsObject* p) const {
        auto it = index.find(p);
        return it == index.end() ? -1 : it->second;
    }
    void Run(std::vector<Recorded>& log, int steps) {
        for (int s = 0; s < steps; s++) {
            m.Step(1.0f / 30.0f, 0.05f * float(s + 1));
            for (BaseEvent* ev : *events.next) {
                auto* g = static_cast<GenericCollisionEvent*>(ev);
                log.push_back({ev->GetTypeName(), IndexOf(g->self), IndexOf(g->other), g->normal.x,
                               g->normal.y, g->point.x, g->point.y, g->distance});
            }
            events.Update(0.05f * float(s + 1));
        }
    }
};

// Runs the same world with all pairs, with the shortcuts but no grid, and with both, and
// asks for the same events in the same order and the same positions to the bit.
void ExpectSameSteps(unsigned seed, const Shape& shape, int steps, size_t leastEvents) {
    BigWorld all(seed, shape), boxes(seed, shape), grid(seed, shape);
    all.m.pairPreTest = false;
    boxes.m.broadphase = false;
    ASSERT_TRUE(grid.m.broadphase);
    grid.m.broadphaseFromCharacters = 0;  // however few
    std::vector<Recorded> a, b, c;
    all.Run(a, steps);
    boxes.Run(b, steps);
    grid.Run(c, steps);
    ASSERT_GE(a.size(), leastEvents) << seed;
    ASSERT_EQ(a.size(), b.size()) << seed;
    ASSERT_EQ(a.size(), c.size()) << seed;
    for (size_t i = 0; i < a.size(); i++) {
        ASSERT_TRUE(a[i] == b[i]) << seed << " event " << i;
        ASSERT_TRUE(a[i] == c[i]) << seed << " event " << i;
    }
    for (size_t i = 0; i < all.order.size(); i++) {
        HVector2 p = all.order[i]->GetPosition();
        HVector2 q = boxes.order[i]->GetPosition();
        HVector2 r = grid.order[i]->GetPosition();
        ASSERT_EQ(std::memcmp(&p, &q, sizeof p), 0) << seed << " object " << i;
        ASSERT_EQ(std::memcmp(&p, &r, sizeof p), 0) << seed << " object " << i;
    }
}

}  // namespace

TEST(PhysicsManager, BroadphaseChangesNothingInSmallWorlds) {
    // With 25 characters the rays are sorted along the axes; with 10 (fewer than 32 rays)
    // each ray compares every circle.
    for (unsigned seed = 11; seed <= 18; seed++)
        ExpectSameSteps(seed, Shape{30, seed < 15 ? 25 : 10, 150.0f, 0.0f, seed % 2 == 0}, 40,
                        seed < 15 ? 50 : 20);
}

TEST(PhysicsManager, BroadphaseChangesNothingInCrowdsThatPushFar) {
    // Half the characters start on one spot: the first separations carry them far beyond
    // a cell, so the grid is built again within the step.
    for (unsigned seed = 21; seed <= 23; seed++)
        ExpectSameSteps(seed, Shape{60, 80, 400.0f, 0.5f, true}, 20, 500);
}

TEST(PhysicsManager, BroadphaseChangesNothingInWorldsOfFiveHundredBodies) {
    ExpectSameSteps(31, Shape{200, 300, 1500.0f, 0.0f, true}, 12, 1000);
    ExpectSameSteps(32, Shape{150, 350, 800.0f, 0.1f, false}, 12, 1000);
}

TEST(PhysicsManager, BroadphaseSearchesAgainForABodyPushedOnwards) {
    // The character (reach 100) is first in the list; the wall after it overlaps it deeply
    // and pushes it 163 to the right, onto the small wall at x = 245 (which pushes it back to
    // 143.6), which lay well outside its search (and its cells) when its turn began. 400 walls far
    // above make the cells 100 wide. Both ways the character meets both walls, in list order.
    struct Scene {
        EventManager events;
        CollisionManager m;
        Entity e1, e2, e3;
        PhysicsCharacter c;
        PhysicsStaticGeometry push, far;
        std::vector<std::unique_ptr<PhysicsStaticGeometry>> fill;
        explicit Scene(bool grid) {
            m.SetEventManager(&events);
            m.broadphase = grid;
            m.broadphaseFromCharacters = 0;
            MakeCharacter(c, HVector2(0.0f, 0.0f), 200.0f);
            MakeWall(push, HVector2(-105.0f, 0.0f), 100.0f, 100.0f);
            MakeWall(far, HVector2(245.0f, 0.0f), 5.0f, 5.0f);
            c.SetEntity(&e1);
            push.SetEntity(&e2);
            far.SetEntity(&e3);
            m.AddObject(&c);
            m.AddObject(&push);
            m.AddObject(&far);
            for (int i = 0; i < 400; i++) {
                fill.push_back(std::make_unique<PhysicsStaticGeometry>());
                MakeWall(
                    *fill.back(),
                    HVector2(-1000.0f + 100.0f * float(i % 20), 1000.0f + 100.0f * float(i / 20)),
                    5.0f, 5.0f);
                m.AddObject(fill.back().get());
            }
            m.Step(1.0f / 60.0f, 1.0f / 60.0f);  // too soon to integrate: pairs only
        }
        ~Scene() {
            for (auto& w : fill) m.RemoveObject(w.get());
        }
    };
    Scene off(false), on(true);
    for (Scene* s : {&off, &on}) {
        auto q = Queued(s->events);
        ASSERT_EQ(q.size(), 4u);
        EXPECT_EQ(q[0]->self, &s->c);
        EXPECT_EQ(q[0]->other, &s->push);
        EXPECT_EQ(q[2]->self, &s->c);
        EXPECT_EQ(q[2]->other, &s->far);
    }
    EXPECT_EQ(off.c.body.position, on.c.body.position);
    EXPECT_NEAR(on.c.body.position.x, 143.59f, 0.01f);
}

namespace {

// A lattice of round characters (32-sided hulls, so that a ray that passes a bounding
// circle nearly always meets the hull too) and rays that graze the circles: each is aimed
// to pass one circle at its radius, a hair inside or outside, from near by or from far off,
// ahead of its origin or just behind it. The ray pairs are settled from groups of circles
// with the grid on: every event must still be the one that all pairs give.
void AddGrazingRays(BigWorld& w, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    std::vector<PhysicsCharacter*> round;
    for (int i = 0; i < 144; i++) {
        auto c = std::make_unique<PhysicsCharacter>();
        const HVector2 at(60.0f * float(i % 12) - 330.0f, 60.0f * float(i / 12) - 330.0f);
        c->body.MakeCircle(1.0f, 32);
        c->ScaleHull(20.0f + 10.0f * unit(rng));
        c->body.position = at;
        c->Prepare();
        c->boundingCircle.centre = at;
        w.entities.push_back(std::make_unique<Entity>());
        c->SetEntity(w.entities.back().get());
        round.push_back(c.get());
        w.objects.push_back(std::move(c));
    }
    const float distances[] = {0.0f, 30.0f, 900.0f, 25000.0f};
    const float hairs[] = {-1e-4f, -1e-6f, 0.0f, 1e-6f, 1e-4f};
    for (int k = 0; k < 400; k++) {
        const PhysicsCharacter* target = round[rng() % round.size()];
        const float a = unit(rng) * 6.2831853f;
        const HVector2 d(std::cos(a), std::sin(a));
        const HVector2 across(-d.y, d.x);
        const float r = target->boundingCircle.radius * (1.0f + hairs[rng() % 5]);
        const float back = distances[rng() % 4];
        HVector2 origin = target->boundingCircle.centre - d * back + across * (k % 2 ? r : -r);
        // Every fifth ray starts just past the circle, which lies behind it.
        if (k % 5 == 0) origin = target->boundingCircle.centre + d * r;
        auto ray = std::make_unique<PhysicsRayCast>();
        ray->SetOrigin(origin);
        ray->SetDirection(d * (k % 3 == 0 ? 0.01f : k % 3 == 1 ? 1.0f : 300.0f));
        ray->SetCollisionMode(0, HVector2(0.0f, 0.0f));
        w.entities.push_back(std::make_unique<Entity>());
        ray->SetEntity(w.entities.back().get());
        w.objects.push_back(std::move(ray));
    }
    std::shuffle(w.objects.begin(), w.objects.end(), rng);
    for (auto& o : w.objects) {
        w.index[o.get()] = int(w.order.size());
        w.m.AddObject(o.get());
        w.order.push_back(o.get());
    }
}

}  // namespace

TEST(PhysicsManager, RayPairsFromGroupsKeepRaysThatGrazeCircles) {
    for (unsigned seed = 51; seed <= 54; seed++) {
        BigWorld all(seed, Shape{0, 0, 1.0f, 0.0f}), grid(seed, Shape{0, 0, 1.0f, 0.0f});
        AddGrazingRays(all, seed);
        AddGrazingRays(grid, seed);
        all.m.pairPreTest = false;
        grid.m.broadphaseFromCharacters = 0;
        std::vector<Recorded> a, c;
        all.Run(a, 2);
        grid.Run(c, 2);
        ASSERT_GT(a.size(), 600u) << seed;
        ASSERT_EQ(a.size(), c.size()) << seed;
        for (size_t i = 0; i < a.size(); i++) ASSERT_TRUE(a[i] == c[i]) << seed << " event " << i;
    }
}

TEST(PhysicsManager, BroadphaseKeepsBodiesThatAreNotFinite) {
    // A character at NaN is never apart from anything by the box comparison, and a wall at
    // infinity always is: the grid hands both to every search, so that each meets what it
    // meets without the grid. (Neither is what all pairs would give: the polygon and ray
    // tests on such values are no guide, and the shortcuts take them as they come.)
    // mode 0: all pairs; 1: the shortcuts without the grid; 2: with it.
    auto run = [](int mode, bool infinite, std::vector<Recorded>& log,
                  std::vector<HVector2>& where) {
        BigWorld w(41, Shape{20, 20, 200.0f, 0.0f, true});
        w.m.pairPreTest = mode > 0;
        w.m.broadphase = mode > 1;
        w.m.broadphaseFromCharacters = 0;
        auto nan = std::make_unique<PhysicsCharacter>();
        MakeCharacter(*nan, HVector2(0.0f, 0.0f), 10.0f);
        nan->body.position = HVector2(std::nanf(""), 5.0f);
        auto inf = std::make_unique<PhysicsStaticGeometry>();
        MakeWall(*inf, HVector2(INFINITY, 0.0f), 5.0f, 5.0f);
        Entity owner;
        nan->SetEntity(&owner);
        inf->SetEntity(&owner);
        w.m.AddObject(nan.get());
        if (infinite) w.m.AddObject(inf.get());
        w.index[nan.get()] = -2;
        w.index[inf.get()] = -3;
        testing::internal::CaptureStdout();
        w.Run(log, 3);
        testing::internal::GetCapturedStdout();
        for (PhysicsObject* o : w.order) where.push_back(o->GetPosition());
        where.push_back(nan->GetPosition());
        w.m.RemoveObject(nan.get());
        w.m.RemoveObject(inf.get());
    };
    auto same = [&run](int modeA, int modeB, bool infinite) {
        std::vector<Recorded> a, b;
        std::vector<HVector2> pa, pb;
        run(modeA, infinite, a, pa);
        run(modeB, infinite, b, pb);
        ASSERT_EQ(a.size(), b.size());
        size_t withNan = 0;
        for (size_t i = 0; i < a.size(); i++) {
            // NaN fields compare by their bits.
            EXPECT_EQ(a[i].type, b[i].type) << i;
            EXPECT_EQ(a[i].self, b[i].self) << i;
            EXPECT_EQ(a[i].other, b[i].other) << i;
            EXPECT_EQ(std::memcmp(&a[i].nx, &b[i].nx, 5 * sizeof(float)), 0) << i;
            if (a[i].self == -2 || a[i].other == -2) withNan++;
        }
        EXPECT_GT(withNan, 0u);
        ASSERT_EQ(pa.size(), pb.size());
        for (size_t i = 0; i < pa.size(); i++)
            EXPECT_EQ(std::memcmp(&pa[i], &pb[i], sizeof pa[i]), 0) << i;
    };
    same(1, 2, false);
    same(1, 2, true);
}

TEST(PhysicsManager, PairPreTestSkipsFalseContactsOfNonConvexHulls) {
    // Two bars with zigzag ends, a character and a wall, side by side with 25 units of air
    // between them. The polygon test takes both for convex: no edge of either is upright, so
    // it finds no axis that separates them and reports an overlap. The box comparison of the
    // pre-test sees the gap and skips the pair. Loading warned about both hulls.
    struct Scene {
        EventManager events;
        CollisionManager m;
        Entity e1, e2;
        CfoNode level{"WorldGeometry"};
        PhysicsCharacter c;
        PhysicsStaticGeometry w;
        std::string loadLog;
        Scene(bool preTest, bool zigzag) {
            m.SetEventManager(&events);
            m.pairPreTest = preTest;
            for (const char* kind : {"PhysicsCharacter", "PhysicsStaticGeometry"}) {
                CfoNode* hull = level.NewChild(kind)->NewChild("hull");
                if (zigzag) {
                    for (const char* p : {"-20,-6", "20,-6", "5,-3", "20,0", "5,3", "20,6", "-20,6",
                                          "-5,3", "-20,0", "-5,-3"})
                        hull->NewChild("")->NewChild(p);
                } else {
                    for (const char* p : {"-20,-6", "20,-6", "20,6", "-20,6"})
                        hull->NewChild("")->NewChild(p);
                }
            }
            level.FindChild("PhysicsStaticGeometry")->NewChild("pos", "65,0");
            testing::internal::CaptureStdout();
            c.Load(level.FindChild("PhysicsCharacter"));
            w.Load(level.FindChild("PhysicsStaticGeometry"));
            loadLog = testing::internal::GetCapturedStdout();
            c.Prepare();
            w.Prepare();
            c.SetEntity(&e1);
            w.SetEntity(&e2);
            m.AddObject(&c);
            m.AddObject(&w);
            // A frame too soon to integrate: only the pair test runs.
            m.Step(1.0f / 60.0f, 1.0f / 60.0f);
        }
    };
    Scene off(false, true);
    EXPECT_EQ(off.loadLog,
              "PhysicsCharacter of WorldGeometry at (0, 0): hull is not convex, its collisions "
              "are not reliable\n"
              "PhysicsStaticGeometry of WorldGeometry at (65, 0): hull is not convex, its "
              "collisions are not reliable\n");
    auto q = Queued(off.events);
    ASSERT_EQ(q.size(), 2u);
    EXPECT_EQ(q[0]->self, &off.c);
    EXPECT_EQ(q[0]->other, &off.w);
    EXPECT_EQ(q[1]->self, &off.w);
    // Without the pre-test: both are told, and the character is "separated" from a wall it
    // never touched, by (25, 12): to where a corner of each meets the other.
    EXPECT_EQ(off.c.body.position, HVector2(25.0f, 12.0f));
    EXPECT_EQ(off.w.body.position, HVector2(65.0f, 0.0f));

    // With it, the default: nothing at all.
    Scene on(true, true);
    EXPECT_EQ(on.events.NextCount(), 0u);
    EXPECT_EQ(on.c.body.position, HVector2(0.0f, 0.0f));
    EXPECT_EQ(on.w.body.position, HVector2(65.0f, 0.0f));

    // The same bars with straight ends are convex: no warning, and apart either way.
    for (bool preTest : {false, true}) {
        Scene plain(preTest, false);
        EXPECT_EQ(plain.loadLog, "");
        EXPECT_EQ(plain.events.NextCount(), 0u) << preTest;
        EXPECT_EQ(plain.c.body.position, HVector2(0.0f, 0.0f)) << preTest;
    }
}

TEST(PhysicsBadInput, DegenerateBodiesInAStep) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    Entity e1, e2, e3, e4, e5;
    // A character with neither radius nor hull, one of radius 0, a wall of one vertex,
    // a wall of three collinear points, and a ray through all of them.
    CfoNode emptyNode("Character");
    PhysicsCharacter empty;
    empty.Load(&emptyNode);
    empty.Prepare();
    CfoNode zeroNode("Character");
    zeroNode.NewChild("radius", "0");
    PhysicsCharacter zero;
    zero.Load(&zeroNode);
    zero.Prepare();
    CfoNode oneNode("Wall");
    oneNode.NewChild("hull")->NewChild("")->NewChild("0,0");
    PhysicsStaticGeometry one;
    one.Load(&oneNode);
    one.Prepare();
    CfoNode lineNode("Wall");
    CfoNode* hull = lineNode.NewChild("hull");
    for (const char* p : {"-5,0", "0,0", "5,0"}) hull->NewChild("")->NewChild(p);
    PhysicsStaticGeometry line;
    line.Load(&lineNode);
    line.Prepare();
    PhysicsRayCast ray;
    ray.SetOrigin(HVector2(-100.0f, 0.0f));
    empty.SetEntity(&e1);
    zero.SetEntity(&e2);
    one.SetEntity(&e3);
    line.SetEntity(&e4);
    ray.SetEntity(&e5);
    for (PhysicsObject* o : std::initializer_list<PhysicsObject*>{&empty, &zero, &one, &line, &ray})
        m.AddObject(o);
    testing::internal::CaptureStdout();
    for (int s = 1; s <= 3; s++) m.Step(0.04f, 0.04f * float(s));
    std::string out = testing::internal::GetCapturedStdout();
    // Nothing with an area touches anything: the ray meets the collinear wall edge-on
    // (parallel edges are skipped) and the points have no edges: no events. The point-sized
    // character on the one-vertex wall is a pair with no usable axis at all, which says
    // "Error" once a step and is no collision.
    EXPECT_EQ(events.NextCount(), 0u);
    EXPECT_EQ(out, "Error\nError\nError\n");
    EXPECT_EQ(empty.body.position, HVector2(0.0f, 0.0f));
    EXPECT_EQ(line.body.position, HVector2(0.0f, 0.0f));
    for (PhysicsObject* o : std::initializer_list<PhysicsObject*>{&empty, &zero, &one, &line, &ray})
        m.RemoveObject(o);
}

TEST(PhysicsManager, AnObjectLeavingTheWorldLeavesTheQueuedContactsToo) {
    EventManager events;
    CollisionManager m;
    m.SetEventManager(&events);
    auto* leaving = new PhysicsCharacter();
    PhysicsCharacter staying;
    m.AddObject(leaving);
    m.AddObject(&staying);
    // Two contacts of the last step wait for the next update, one each way round, and a
    // third between other objects.
    auto* mine = new GenericCollisionEvent();
    mine->self = leaving;
    mine->other = &staying;
    auto* theirs = new GenericCollisionEvent();
    theirs->self = &staying;
    theirs->other = leaving;
    auto* unrelated = new GenericCollisionEvent();
    unrelated->self = &staying;
    unrelated->other = &staying;
    events.Post(mine);
    events.Post(theirs, 1.0f);  // a delayed one too
    events.Post(unrelated);
    delete leaving;  // the base destructor takes it out of the manager
    EXPECT_EQ(mine->self, nullptr);
    EXPECT_EQ(mine->other, &staying);
    EXPECT_EQ(theirs->self, &staying);
    EXPECT_EQ(theirs->other, nullptr);
    EXPECT_EQ(unrelated->self, &staying);
    EXPECT_EQ(unrelated->other, &staying);
    // Without an event manager there is nothing to forget.
    CollisionManager quiet;
    PhysicsRayCast ray;
    quiet.AddObject(&ray);
    quiet.RemoveObject(&ray);
    EXPECT_TRUE(quiet.objects.empty());
    ray.manager = nullptr;
}
