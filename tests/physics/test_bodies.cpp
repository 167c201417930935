// Bodies, characters, rays and static geometry: loading, steering, integration.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "physics/physics.h"

namespace {

// hull { { "x,y" } ... }: each vertex is the name of the first child of a hull entry.
CfoNode* AddHull(CfoNode* node, std::initializer_list<const char*> points) {
    CfoNode* hull = node->NewChild("hull");
    for (const char* p : points) hull->NewChild("")->NewChild(p);
    return hull;
}

}  // namespace

TEST(PhysicsObject, ConstructionAndClearHit) {
    PhysicsRayCast ray;
    EXPECT_EQ(ray.hitDistance, 0.0f);
    EXPECT_FALSE(ray.hasHit);
    EXPECT_EQ(ray.hitNormal, HVector2(1.0f, 0.0f));
    EXPECT_EQ(ray.range, HVector2(0.0f, 1000.0f));
    EXPECT_EQ(ray.collisionMode, 0);
    EXPECT_EQ(ray.boundingCircle.radius, 0.0f);
    EXPECT_EQ(ray.boundingCircle.unused, 0.0f);
    ray.hasHit = true;
    ray.hitObject = &ray;
    ray.hitPoint = HVector2(3.0f, 4.0f);
    ray.hitNormal = HVector2(0.0f, 1.0f);
    ray.ClearHit();
    EXPECT_EQ(ray.hitObject, nullptr);
    EXPECT_EQ(ray.hitDistance, 100000.0f);
    EXPECT_EQ(ray.hitNormal, HVector2(1.0f, 0.0f));
    EXPECT_EQ(ray.hitPoint, HVector2(0.0f, 0.0f));
    EXPECT_FALSE(ray.hasHit);
    ray.SetCollisionMode(3, HVector2(5.0f, 6.0f));
    EXPECT_EQ(ray.collisionMode, 3);
    EXPECT_EQ(ray.range, HVector2(5.0f, 6.0f));
}

TEST(PhysicsObject, BaseSlotsAndTypeNames) {
    PhysicsObject base;
    EXPECT_FALSE(base.Update(1.0f));
    EXPECT_FALSE(base.Hook0());
    EXPECT_EQ(base.Hook1(), 0.0f);
    EXPECT_EQ(base.GetTypeName(), "");
    EXPECT_EQ(base.GetTypeId(), 0);
    EXPECT_EQ(base.GetPosition(), HVector2(0.0f, 0.0f));
    base.SetDisabled(true);
    EXPECT_TRUE(base.IsDisabled());

    PhysicsCharacter c;
    PhysicsRayCast r;
    PhysicsStaticGeometry s;
    EXPECT_EQ(c.GetTypeName(), "PhysicsCharacter");
    EXPECT_EQ(r.GetTypeName(), "PhysicsRayCast");
    EXPECT_EQ(s.GetTypeName(), "PhysicsStaticGeometry");
    EXPECT_GT(c.GetTypeId(), 0);
    EXPECT_NE(c.GetTypeId(), r.GetTypeId());
    EXPECT_NE(r.GetTypeId(), s.GetTypeId());
    EXPECT_NE(c.GetTypeId(), s.GetTypeId());
    EXPECT_EQ(c.GetTypeId(), PhysicsCharacter().GetTypeId());
}

TEST(PhysicsCharacter, ConstructorValues) {
    PhysicsCharacter c;
    EXPECT_EQ(c.moveSpeed, 1000.0f);
    EXPECT_EQ(c.turnSpeed, 10000.0f);
    EXPECT_EQ(c.fastTurnSpeed, 10000.0f);
    EXPECT_EQ(c.runSpeed, 1500.0f);
    EXPECT_EQ(c.viewAngle, 90.0f);
    EXPECT_EQ(c.approachGain, 1.0f);
    EXPECT_EQ(c.stopDistance, 1.0f);
    EXPECT_EQ(c.wanderRange, 10.0f);
    EXPECT_EQ(c.wanderRate, 5.0f);
    EXPECT_TRUE(c.body.vertices.empty());
}

TEST(PhysicsBody, AddForceUsesThePhysicsCross) {
    PhysicsBody b;
    b.position = HVector2(1.0f, 1.0f);
    // point - position = (1, 0), force (0, 1): cross = a.y*b.x - a.x*b.y = 0*0 - 1*1 = -1.
    b.AddForce(HVector2(0.0f, 1.0f), HVector2(2.0f, 1.0f));
    EXPECT_EQ(b.force, HVector2(0.0f, 1.0f));
    EXPECT_EQ(b.torque, -1.0f);
    b.AddForce(HVector2(3.0f, 0.0f), b.position);
    EXPECT_EQ(b.force, HVector2(3.0f, 1.0f));
    EXPECT_EQ(b.torque, -1.0f);
}

TEST(PhysicsBody, SetMassAndDensity) {
    PhysicsBody b;
    b.SetMass(4.0f);
    EXPECT_EQ(b.invMass, 0.25f);
    b.SetMass(0.0f);
    EXPECT_EQ(b.invMass, 0.0f);
    b.SetMass(-1.0f);
    EXPECT_EQ(b.invMass, 0.0f);

    // Empty polygon: the body is left as it is.
    b.invMass = 7.0f;
    b.SetDensity(1.0f);
    EXPECT_EQ(b.invMass, 7.0f);

    // A 10 by 10 square about the origin: area 100, mass 1000·100/1000 = 100.
    b.AddVertex(HVector2(-5, -5));
    b.AddVertex(HVector2(5, -5));
    b.AddVertex(HVector2(5, 5));
    b.AddVertex(HVector2(-5, 5));
    b.SetDensity(1000.0f);
    EXPECT_FLOAT_EQ(b.invMass, 0.01f);
    // Each edge: |cross| = 50, a·a + a·b + b·b = 50 + 0 + 50 = 100: inertia = 100/6·100.
    EXPECT_FLOAT_EQ(b.invInertia, 1.0f / (100.0f / 6.0f * 100.0f));
}

TEST(PhysicsBody, IntegrateInWrittenOrder) {
    PhysicsBody b;
    b.invMass = 1.0f;
    b.invInertia = 0.5f;
    b.velocity = HVector2(2.0f, 0.0f);
    b.angularVelocity = 4.0f;
    b.force = HVector2(10.0f, 20.0f);
    b.torque = 100.0f;
    b.Integrate(0.5f);
    // Position and orientation use the old velocities.
    EXPECT_EQ(b.position, HVector2(1.0f, 0.0f));
    EXPECT_EQ(b.orientation, 2.0f);
    // velocity += (v·-10 + F)·dt·invMass = (2,0) + ((-20,0)+(10,20))·0.5 = (-3, 10)
    EXPECT_EQ(b.velocity, HVector2(-3.0f, 10.0f));
    // w += (w·-100 + T)·dt·invInertia = 4 + (-400 + 100)·0.25 = -71
    EXPECT_EQ(b.angularVelocity, -71.0f);
    EXPECT_EQ(b.force, HVector2(0.0f, 0.0f));
    EXPECT_EQ(b.torque, 0.0f);
}

TEST(PhysicsBody, IntegrateLimits) {
    PhysicsBody b;
    b.invMass = 1.0f;
    b.invInertia = 1.0f;
    b.maxSpeed = 5.0f;
    b.maxAngularSpeed = 10.0f;
    b.force = HVector2(300.0f, 400.0f);
    b.torque = -1000.0f;
    b.Integrate(1.0f);
    EXPECT_FLOAT_EQ(b.velocity.x, 3.0f);
    EXPECT_FLOAT_EQ(b.velocity.y, 4.0f);
    EXPECT_EQ(b.angularVelocity, -10.0f);
}

TEST(PhysicsBody, MakeCircleExtentsBounds) {
    PhysicsBody b;
    b.MakeCircle(2.0f, 4);
    ASSERT_EQ(b.vertices.size(), 4u);
    // Starts at pi/4 and grows by pi/2 before each vertex: first at 135 degrees.
    EXPECT_NEAR(b.vertices[0].x, -std::sqrt(2.0f), 1e-5);
    EXPECT_NEAR(b.vertices[0].y, std::sqrt(2.0f), 1e-5);
    PhysicsCircle c = b.GetBounds();
    EXPECT_EQ(c.centre, HVector2(0.0f, 0.0f));
    EXPECT_NEAR(c.radius, 2.0f, 1e-5);

    PhysicsBody off;
    off.AddVertex(HVector2(3.0f, 4.0f));
    off.AddVertex(HVector2(5.0f, 6.0f));
    HVector2 mn, mx;
    off.GetExtents(mn, mx);
    EXPECT_EQ(mn, HVector2(0.0f, 0.0f));  // the origin always lies inside
    EXPECT_EQ(mx, HVector2(5.0f, 6.0f));
}

TEST(PhysicsCharacter, RadiusHundredGivesHexagonOfHalfRadius) {
    CfoNode node("Character");
    node.NewChild("radius", "100");
    PhysicsCharacter c;
    c.Load(&node);
    ASSERT_EQ(c.body.vertices.size(), 6u);
    for (const HVector2& v : c.body.vertices) EXPECT_NEAR(v.Length(), 50.0f, 1e-4);
    // The first vertex is the topmost one.
    EXPECT_NEAR(c.body.vertices[0].x, 0.0f, 1e-4);
    EXPECT_FLOAT_EQ(c.body.vertices[0].y, 50.0f);
    for (const HVector2& v : c.body.vertices) EXPECT_LE(v.y, c.body.vertices[0].y);
    c.Prepare();
    EXPECT_FLOAT_EQ(c.boundingCircle.radius, 50.0f);
    EXPECT_EQ(c.boundingCircle.centre, HVector2(0.0f, 0.0f));
    EXPECT_EQ(c.body.invMass, 1.0f);
    EXPECT_EQ(c.body.invInertia, 0.05f);
    EXPECT_EQ(c.body.maxSpeed, 5000.0f);
    EXPECT_EQ(c.body.maxAngularSpeed, 100.0f);
}

TEST(PhysicsCharacter, LoadKeysInOrder) {
    CfoNode node("Character");
    node.NewChild("pos", "3,4");
    node.NewChild("turn_speed", "50");
    node.NewChild("move_friction", "2");
    node.NewChild("turn_friction", "3");
    node.NewChild("move_speed", "200");
    node.NewChild("wander", "7,8");
    PhysicsCharacter c;
    c.Load(&node);
    EXPECT_EQ(c.body.position, HVector2(3.0f, 4.0f));
    EXPECT_EQ(c.turnSpeed, 50.0f);
    EXPECT_EQ(c.moveFriction, 2.0f);
    EXPECT_EQ(c.turnFriction, 3.0f);
    EXPECT_EQ(c.moveSpeed, 200.0f);
    EXPECT_EQ(c.runSpeed, 1500.0f);     // not derived again from move_speed
    EXPECT_EQ(c.fastTurnSpeed, 50.0f);  // without the key: the turn speed
    EXPECT_EQ(c.wanderRange, 7.0f);
    EXPECT_EQ(c.wanderRate, 8.0f);

    CfoNode fast("Character");
    fast.NewChild("fast_turn_speed", "123");
    PhysicsCharacter f;
    f.Load(&fast);
    EXPECT_EQ(f.fastTurnSpeed, 123.0f);
    EXPECT_EQ(f.turnSpeed, 10000.0f);

    PhysicsCharacter none;
    none.Load(nullptr);
    EXPECT_EQ(none.moveSpeed, 1000.0f);
}

TEST(PhysicsCharacter, RadiusAndHullBothAppend) {
    CfoNode node("Character");
    node.NewChild("radius", "10");
    AddHull(&node, {"1,2", "3,4"});
    PhysicsCharacter c;
    c.Load(&node);
    ASSERT_EQ(c.body.vertices.size(), 8u);
    EXPECT_EQ(c.body.vertices[6], HVector2(1.0f, 2.0f));
    EXPECT_EQ(c.body.vertices[7], HVector2(3.0f, 4.0f));
    EXPECT_EQ(c.body.position, HVector2(0.0f, 0.0f));  // a character's hull is not recentred
}

TEST(PhysicsStaticGeometry, HullIsCentredAndPosAdded) {
    CfoNode node("Wall");
    AddHull(&node, {"0,0", "10,0", "10,10", "0,10"});
    PhysicsStaticGeometry s;
    s.Load(&node);
    EXPECT_EQ(s.body.position, HVector2(5.0f, 5.0f));
    ASSERT_EQ(s.body.vertices.size(), 4u);
    EXPECT_EQ(s.body.vertices[0], HVector2(-5.0f, -5.0f));
    EXPECT_EQ(s.body.vertices[2], HVector2(5.0f, 5.0f));

    CfoNode moved("Wall");
    AddHull(&moved, {"0,0", "10,0", "10,10", "0,10"});
    moved.NewChild("pos", "100,0");
    PhysicsStaticGeometry m;
    m.Load(&moved);
    EXPECT_EQ(m.body.position, HVector2(105.0f, 5.0f));
    m.Prepare();
    EXPECT_EQ(m.body.invMass, 0.0f);
    EXPECT_EQ(m.boundingCircle.centre, HVector2(105.0f, 5.0f));
    EXPECT_FLOAT_EQ(m.boundingCircle.radius, std::sqrt(50.0f));

    m.touched = true;
    EXPECT_TRUE(m.Update(0.1f));
    EXPECT_FALSE(m.touched);
    EXPECT_FALSE(m.Update(0.1f));
}

TEST(PhysicsStaticGeometry, HullEntryWithoutChildIsSkipped) {
    CfoNode node("Wall");
    CfoNode* hull = node.NewChild("hull");
    hull->NewChild("")->NewChild("2,0");
    hull->NewChild("lonely");  // no first child: no vertex
    hull->NewChild("")->NewChild("4,0");
    PhysicsStaticGeometry s;
    s.Load(&node);
    ASSERT_EQ(s.body.vertices.size(), 2u);
    EXPECT_EQ(s.body.position, HVector2(3.0f, 0.0f));
}

TEST(PhysicsBody, HullVerticesReadLikeDocumentVectors) {
    // A hull vertex is a node's name; it reads exactly as the value of a vector key would.
    for (const char* text : {"3,4", "-1.5,2e2", "7", "", ",,5,,6", "1,2,3", "8\b9", "2\n3",
                             " 4 , 5 ", "x,1", "1e39,-1e39"}) {
        CfoNode node("Values");
        node.NewChild("v", text);
        HVector2 expected(0.0f, 0.0f);
        ASSERT_TRUE(CfoReadVector2(&node, "v", expected));
        HVector2 got = CfoParseVector2(text);
        EXPECT_EQ(got, expected) << text;
    }
    EXPECT_EQ(CfoParseVector2("3,4"), HVector2(3.0f, 4.0f));
    EXPECT_EQ(CfoParseVector2(",,5,,6"), HVector2(5.0f, 6.0f));
    EXPECT_EQ(CfoParseVector2("7"), HVector2(7.0f, 0.0f));
}

// ---- convex hulls ----

namespace {

PhysicsBody Polygon(std::initializer_list<HVector2> points) {
    PhysicsBody b;
    for (const HVector2& p : points) b.AddVertex(p);
    return b;
}

}  // namespace

TEST(PhysicsBody, IsConvexTellsDentsSpikesAndStars) {
    using V = HVector2;
    // Convex, either way round, with a repeated vertex or a vertex in the middle of an edge.
    EXPECT_TRUE(Polygon({V(0, 0), V(10, 0), V(10, 10), V(0, 10)}).IsConvex());
    EXPECT_TRUE(Polygon({V(0, 10), V(10, 10), V(10, 0), V(0, 0)}).IsConvex());
    EXPECT_TRUE(Polygon({V(0, 0), V(10, 0), V(10, 0), V(5, 8), V(0, 0)}).IsConvex());
    EXPECT_TRUE(Polygon({V(0, 0), V(5, 0), V(10, 0), V(10, 10), V(0, 10)}).IsConvex());
    PhysicsBody hexagon;
    hexagon.MakeCircle(20.0f, 6);
    EXPECT_TRUE(hexagon.IsConvex());
    PhysicsBody many;
    many.MakeCircle(100.0f, 32);
    EXPECT_TRUE(many.IsConvex());
    // Nothing to be concave with: no vertex, a point, a segment, every vertex on one line.
    EXPECT_TRUE(Polygon({}).IsConvex());
    EXPECT_TRUE(Polygon({V(1, 1)}).IsConvex());
    EXPECT_TRUE(Polygon({V(0, 0), V(4, 0)}).IsConvex());
    EXPECT_TRUE(Polygon({V(-5, 0), V(0, 0), V(5, 0)}).IsConvex());
    // A dent, the same square's corners in the wrong order (a bow tie), a spike along an
    // edge, and a five-pointed star whose every turn goes the same way.
    EXPECT_FALSE(Polygon({V(0, 0), V(10, 0), V(5, 3), V(10, 10), V(0, 10)}).IsConvex());
    EXPECT_FALSE(Polygon({V(0, 0), V(10, 10), V(10, 0), V(0, 10)}).IsConvex());
    EXPECT_FALSE(Polygon({V(0, 0), V(10, 0), V(5, 0), V(5, 5)}).IsConvex());
    PhysicsBody star;
    for (int k = 0; k < 5; k++) {
        float a = 2.0f * 3.14159265f * float(2 * k) / 5.0f;
        star.AddVertex(HVector2(std::cos(a) * 10.0f, std::sin(a) * 10.0f));
    }
    EXPECT_FALSE(star.IsConvex());
}

TEST(PhysicsBadInput, NonConvexHullWarnsOnLoad) {
    // A bar with its ends cut into zigzags, held by an entity of the level.
    const std::initializer_list<const char*> zigzag = {"-20,-6", "20,-6", "5,-3", "20,0",  "5,3",
                                                       "20,6",   "-20,6", "-5,3", "-20,0", "-5,-3"};
    CfoNode guard("EnemyPoliceDude");
    guard.NewChild("name", "guard_2");
    CfoNode* body = guard.NewChild("PhysicsCharacter");
    body->NewChild("pos", "10,20");
    AddHull(body, zigzag);
    PhysicsCharacter c;
    testing::internal::CaptureStdout();
    c.Load(body);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PhysicsCharacter of EnemyPoliceDude 'guard_2' at (10, 20): hull is not convex, its "
              "collisions are not reliable\n");
    EXPECT_EQ(c.body.vertices.size(), 10u);  // loaded all the same

    // An owner without a name is named by its class; a node without an owner by its own.
    CfoNode level("WorldGeometry");
    CfoNode* wall = level.NewChild("PhysicsStaticGeometry");
    AddHull(wall, zigzag);
    wall->NewChild("pos", "100,0");
    PhysicsStaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(wall);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PhysicsStaticGeometry of WorldGeometry at (100, 0): hull is not convex, its "
              "collisions are not reliable\n");
    CfoNode alone("Wall");
    AddHull(&alone, {"0,0", "10,0", "5,3", "10,10", "0,10"});
    PhysicsStaticGeometry d;
    testing::internal::CaptureStdout();
    d.Load(&alone);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "PhysicsStaticGeometry of Wall at (5, 4.6): hull is not convex, its collisions are "
              "not reliable\n");

    // Convex hulls, a radius and the flat or tiny hulls say nothing.
    CfoNode box("Door");
    box.NewChild("name", "door_1");
    CfoNode* boxBody = box.NewChild("PhysicsCharacter");
    AddHull(boxBody, {"-20,-6", "20,-6", "20,6", "-20,6"});
    CfoNode round("EnemyPoliceDude");
    round.NewChild("PhysicsCharacter")->NewChild("radius", "40");
    CfoNode square("WorldGeometry");
    CfoNode* squareWall = square.NewChild("PhysicsStaticGeometry");
    AddHull(squareWall, {"0,0", "10,0", "10,10", "0,10"});
    CfoNode flat("Wall");
    AddHull(&flat, {"-5,0", "0,0", "5,0"});
    CfoNode two("Wall");
    AddHull(&two, {"2,0", "4,0"});
    PhysicsCharacter c1, c2;
    PhysicsStaticGeometry s1, s2, s3;
    testing::internal::CaptureStdout();
    c1.Load(boxBody);
    c2.Load(round.FindChild("PhysicsCharacter"));
    s1.Load(squareWall);
    s2.Load(&flat);
    s3.Load(&two);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(c1.body.vertices.size(), 4u);
    EXPECT_EQ(c2.body.vertices.size(), 6u);
}

TEST(PhysicsRayCast, LoadNormalisesDirection) {
    CfoNode node("Ray");
    node.NewChild("position", "1,2");
    node.NewChild("direction", "0,5");
    PhysicsRayCast r;
    r.Load(&node);
    EXPECT_EQ(r.GetPosition(), HVector2(1.0f, 2.0f));
    EXPECT_EQ(r.GetDirection(), HVector2(0.0f, 1.0f));
    r.SetDirection(HVector2(0.0f, 3.0f));
    EXPECT_EQ(r.GetDirection(), HVector2(0.0f, 3.0f));  // not normalised by the setter
    EXPECT_FALSE(r.Update(1.0f));
}

namespace {
PhysicsCharacter* MakeReady(PhysicsCharacter& c) {
    c.body.MakeCircle(1.0f, 6);
    c.ScaleHull(20.0f);
    c.Prepare();
    return &c;
}
}  // namespace

TEST(PhysicsCharacter, MoveForwardApproachesHundred) {
    PhysicsCharacter c;
    MakeReady(c);
    c.moveForward = true;
    const float dt = 1.0f / 30.0f;
    EXPECT_TRUE(c.Update(dt));
    EXPECT_FLOAT_EQ(c.body.velocity.x, 1000.0f * dt);
    EXPECT_EQ(c.body.velocity.y, 0.0f);
    float last = c.body.velocity.x;
    for (int i = 0; i < 300; i++) {
        c.Update(dt);
        EXPECT_LE(c.body.velocity.x, 100.0f);
        EXPECT_GE(c.body.velocity.x, last);
        last = c.body.velocity.x;
    }
    EXPECT_NEAR(c.body.velocity.x, 100.0f, 1e-3);
    EXPECT_EQ(c.boundingCircle.centre, c.body.position);
}

TEST(PhysicsCharacter, RunningBackwardsIsNoFaster) {
    const float dt = 1.0f / 30.0f;
    PhysicsCharacter walk, run;
    MakeReady(walk);
    MakeReady(run);
    run.SetRunning(true);
    walk.moveBackward = run.moveBackward = true;
    EXPECT_TRUE(walk.Update(dt));
    EXPECT_TRUE(run.Update(dt));
    EXPECT_FLOAT_EQ(walk.body.velocity.x, -1000.0f * dt);
    EXPECT_EQ(run.body.velocity, walk.body.velocity);

    // Forwards, running does help.
    PhysicsCharacter fwd;
    MakeReady(fwd);
    fwd.SetRunning(true);
    fwd.moveForward = true;
    fwd.Update(dt);
    EXPECT_FLOAT_EQ(fwd.body.velocity.x, 1500.0f * dt);
}

TEST(PhysicsCharacter, StrafeAndTurnFlags) {
    const float dt = 0.1f;
    PhysicsCharacter c;
    MakeReady(c);
    c.strafeLeft = true;
    EXPECT_TRUE(c.Update(dt));
    // f(90)·1000·0.5 = (0, 500): velocity (0, 50).
    EXPECT_NEAR(c.body.velocity.x, 0.0f, 1e-4);
    EXPECT_FLOAT_EQ(c.body.velocity.y, 50.0f);

    PhysicsCharacter t;
    MakeReady(t);
    t.turnLeft = true;
    EXPECT_FALSE(t.Update(dt));  // turning alone is not a move
    // (0·-100 + 10000)·0.1·0.05 = 50
    EXPECT_FLOAT_EQ(t.body.angularVelocity, 50.0f);
    t.turnLeft = false;
    t.turnRight = true;
    t.body.angularVelocity = 0.0f;
    t.Update(dt);
    EXPECT_FLOAT_EQ(t.body.angularVelocity, -50.0f);
}

TEST(PhysicsCharacter, TurnToAngleTakesTheLongWayRound) {
    PhysicsCharacter c;
    MakeReady(c);
    c.body.orientation = 10.0f;
    c.SetTargetAngle(true, 350.0f);
    const float dt = 1.0f / 30.0f;
    c.Update(dt);
    // e = 340: torque (340·3 - 20)·10000 is positive: counter-clockwise, away from -20.
    EXPECT_EQ(c.body.angularVelocity, 100.0f);
    EXPECT_EQ(c.body.orientation, 10.0f);
    bool passed180 = false;
    float lowest = c.body.orientation;
    for (int i = 0; i < 600 && !passed180; i++) {
        c.Update(dt);
        if (c.body.orientation < lowest) lowest = c.body.orientation;
        if (c.body.orientation > 180.0f) passed180 = true;
    }
    EXPECT_TRUE(passed180);
    EXPECT_EQ(lowest, 10.0f);
}

TEST(PhysicsCharacter, TurnToAngleSmallError) {
    PhysicsCharacter c;
    MakeReady(c);
    c.SetTargetAngle(true, 10.0f);
    c.Update(0.1f);
    // e = 10: torque 10/20·10000 = 5000: w = 5000·0.1·0.05 = 25.
    EXPECT_FLOAT_EQ(c.body.angularVelocity, 25.0f);
}

TEST(PhysicsCharacter, MoveToTargetWithinTenGivesNoForce) {
    PhysicsCharacter c;
    MakeReady(c);
    c.moveToTarget = true;
    c.target = HVector2(10.0f, 0.0f);
    EXPECT_TRUE(c.Update(0.1f));
    EXPECT_EQ(c.body.velocity, HVector2(0.0f, 0.0f));
    EXPECT_EQ(c.body.position, HVector2(0.0f, 0.0f));

    // Further away: along the facing, limited by (d - stop)·gain.
    PhysicsCharacter far;
    MakeReady(far);
    far.moveToTarget = true;
    far.target = HVector2(0.0f, 21.0f);  // beside, not ahead: the force is still along +x
    EXPECT_TRUE(far.Update(0.1f));
    EXPECT_FLOAT_EQ(far.body.velocity.x, 20.0f * 0.1f);
    EXPECT_EQ(far.body.velocity.y, 0.0f);
}

TEST(PhysicsCharacter, HomeOnTargetDoesNotCountAsMove) {
    PhysicsCharacter c;
    MakeReady(c);
    c.Home(true, HVector2(0.0f, 2.0f));
    EXPECT_FALSE(c.Update(0.1f));
    // force = (0,1)·min(1000, 4) = (0, 4): velocity (0, 0.4).
    EXPECT_EQ(c.body.velocity.x, 0.0f);
    EXPECT_FLOAT_EQ(c.body.velocity.y, 0.4f);
}

TEST(PhysicsCharacter, TurnToPointAheadBehindAndBeside) {
    PhysicsCharacter c;
    MakeReady(c);
    c.body.torque = 77.0f;
    c.TurnToPoint(HVector2(100.0f, 0.0f));  // straight ahead: set to 0
    EXPECT_EQ(c.body.torque, 0.0f);
    c.body.torque = 77.0f;
    c.TurnToPoint(HVector2(1.0f, 1.0f));  // |v|² below 10: nothing
    EXPECT_EQ(c.body.torque, 77.0f);
    c.body.torque = 0.0f;
    c.TurnToPoint(HVector2(0.0f, 100.0f));  // to the left: dot 1, full turn speed
    EXPECT_FLOAT_EQ(c.body.torque, 10000.0f);
    c.body.torque = 0.0f;
    c.TurnToPoint(HVector2(-100.0f, 0.0f));  // behind: only the small dot
    EXPECT_LT(std::fabs(c.body.torque), 1.0f);
    c.fastTurnSpeed = 20000.0f;
    c.SetRunning(true);
    c.body.torque = 0.0f;
    c.TurnToPoint(HVector2(0.0f, -100.0f));
    EXPECT_FLOAT_EQ(c.body.torque, -20000.0f);
}

TEST(PhysicsCharacter, IsFacingAndIsNear) {
    PhysicsCharacter c;
    MakeReady(c);
    EXPECT_TRUE(c.IsFacing(HVector2(100.0f, 0.0f), 90.0f));
    EXPECT_TRUE(c.IsFacing(HVector2(100.0f, 99.0f), 90.0f));    // 44.7 degrees off
    EXPECT_FALSE(c.IsFacing(HVector2(100.0f, 101.0f), 90.0f));  // 45.3 degrees off
    EXPECT_FALSE(c.IsFacing(HVector2(-100.0f, 0.0f), 90.0f));   // behind
    EXPECT_TRUE(c.IsFacing(HVector2(-2.0f, 0.0f), 10.0f));      // |v|² below 8
    EXPECT_TRUE(c.IsNear(HVector2(3.0f, 0.0f), 3.1f));
    EXPECT_FALSE(c.IsNear(HVector2(3.0f, 0.0f), 3.0f));
}

TEST(PhysicsCharacter, CommandHelpers) {
    PhysicsCharacter c;
    c.GoTo(true, HVector2(1, 2));
    EXPECT_TRUE(c.moveToTarget);
    EXPECT_TRUE(c.turnToTarget);
    EXPECT_EQ(c.target, HVector2(1, 2));
    c.FaceTowards(false, HVector2(3, 4));
    EXPECT_TRUE(c.moveToTarget);
    EXPECT_FALSE(c.turnToTarget);
    EXPECT_EQ(c.target, HVector2(3, 4));
    c.wander = true;
    c.wanderValue = 5.0f;
    c.StopWander();
    EXPECT_FALSE(c.wander);
    EXPECT_EQ(c.wanderValue, 0.0f);
    c.Push(10.0f);
    EXPECT_EQ(c.body.force, HVector2(10.0f, 0.0f));
    c.PushBack(4.0f);
    EXPECT_EQ(c.body.force, HVector2(6.0f, 0.0f));
    c.Turn(3.0f);
    c.TurnBack(1.0f);
    EXPECT_EQ(c.body.torque, 2.0f);
}

TEST(PhysicsCharacter, DisabledDoesNotUpdate) {
    PhysicsCharacter c;
    MakeReady(c);
    c.moveForward = true;
    c.SetDisabled(true);
    EXPECT_FALSE(c.Update(0.1f));
    EXPECT_EQ(c.body.velocity, HVector2(0.0f, 0.0f));
}

TEST(PhysicsCharacter, WanderTurnsAndMoves) {
    PhysicsCharacter c;
    MakeReady(c);
    c.wander = true;
    srand(7);
    EXPECT_TRUE(c.Update(0.1f));
    EXPECT_GE(c.wanderValue, -50.0f);
    EXPECT_LE(c.wanderValue, 50.0f);
    // w = 2/10·value·10000, torque w/5, then w·0.1·0.05
    EXPECT_FLOAT_EQ(c.body.angularVelocity,
                    (2.0f / 10.0f) * c.wanderValue * 10000.0f / 5.0f * 0.1f * 0.05f);
    // A wander range of 0 turns nothing rather than dividing by zero.
    PhysicsCharacter z;
    MakeReady(z);
    z.wander = true;
    z.wanderRange = 0.0f;
    EXPECT_TRUE(z.Update(0.1f));
    EXPECT_EQ(z.body.angularVelocity, 0.0f);
}

// ---- bad input ----

TEST(PhysicsBadInput, ThirtyThreeVerticesAreRefused) {
    CfoNode node("Wall");
    CfoNode* hull = node.NewChild("hull");
    for (int i = 0; i < 33; i++) hull->NewChild("")->NewChild(std::to_string(i) + ",1");
    PhysicsStaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(&node);
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(s.body.vertices.size(), 32u);
    EXPECT_EQ(out, "PhysicsBody: more than 32 vertices, vertex (32, 1) ignored\n");
    // The tests read no more than the fixed arrays hold, even if the vector grows anyway.
    s.body.vertices.push_back(HVector2(100, 100));
    EXPECT_EQ(s.body.VertexCount(), 32);
}

TEST(PhysicsBadInput, DegenerateCharacters) {
    // A radius of 0: six vertices at the origin.
    CfoNode zero("Character");
    zero.NewChild("radius", "0");
    PhysicsCharacter z;
    z.Load(&zero);
    ASSERT_EQ(z.body.vertices.size(), 6u);
    for (const HVector2& v : z.body.vertices) EXPECT_EQ(v, HVector2(0.0f, 0.0f));
    z.Prepare();
    EXPECT_EQ(z.boundingCircle.radius, 0.0f);

    // Neither radius nor hull: an empty polygon, and scaling it changes nothing.
    CfoNode empty("Character");
    PhysicsCharacter e;
    e.Load(&empty);
    EXPECT_TRUE(e.body.vertices.empty());
    e.ScaleHull(10.0f);
    EXPECT_TRUE(e.body.vertices.empty());
    e.Prepare();
    EXPECT_EQ(e.boundingCircle.radius, 0.0f);

    // One vertex: extents are (0,0)..(v): scaled by the larger side.
    PhysicsCharacter one;
    one.body.AddVertex(HVector2(0.0f, 0.0f));
    one.ScaleHull(10.0f);  // zero extents: left alone rather than dividing by zero
    EXPECT_EQ(one.body.vertices[0], HVector2(0.0f, 0.0f));

    PhysicsStaticGeometry nohull;
    nohull.Load(nullptr);
    CfoNode emptyWall("Wall");
    emptyWall.NewChild("hull");
    nohull.Load(&emptyWall);
    EXPECT_TRUE(nohull.body.vertices.empty());
    EXPECT_EQ(nohull.body.position, HVector2(0.0f, 0.0f));
}
