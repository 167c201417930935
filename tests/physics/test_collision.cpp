// Polygon tests: separating axes, contacts, overlap separation, rays, circles, impulses.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <string>

#include "physics/physics.h"

// Counts heap allocations, so that a test can show the per-pair path makes none. Under
// AddressSanitizer the allocator is the sanitizer's own and is left alone.
#if defined(__SANITIZE_ADDRESS__)
#define VELMORA_COUNT_ALLOCATIONS 0
#else
#define VELMORA_COUNT_ALLOCATIONS 1
#endif
static std::atomic<long> g_allocations{0};
#if VELMORA_COUNT_ALLOCATIONS
void* operator new(std::size_t n) {
    g_allocations++;
    void* p = std::malloc(n ? n : 1);
    if (!p) std::abort();
    return p;
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
#endif

namespace {

PhysicsBody Box(HVector2 position, float half, float invMass = 1.0f) {
    PhysicsBody b;
    b.position = position;
    b.AddVertex(HVector2(-half, -half));
    b.AddVertex(HVector2(half, -half));
    b.AddVertex(HVector2(half, half));
    b.AddVertex(HVector2(-half, half));
    b.invMass = invMass;
    return b;
}

}  // namespace

TEST(PhysicsCollision, SquaresSharingAnEdgeDoNotCollide) {
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f);
    PhysicsBody b = Box(HVector2(1.0f, 0.0f), 0.5f, 0.0f);
    HVector2 N;
    float t = 0.0f;
    EXPECT_TRUE(a.FindCollision(b, N, t));
    EXPECT_EQ(t, 0.0f);
    EXPECT_FALSE(a.Collide(b, 0.1f));
    EXPECT_EQ(a.position, HVector2(0.0f, 0.0f));
    EXPECT_EQ(b.position, HVector2(1.0f, 0.0f));
}

TEST(PhysicsCollision, HalfOverlapAlongX) {
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f);
    PhysicsBody b = Box(HVector2(0.5f, 0.0f), 0.5f, 0.0f);
    HVector2 N;
    float t = 0.0f;
    ASSERT_TRUE(a.FindCollision(b, N, t));
    EXPECT_EQ(N, HVector2(-1.0f, 0.0f));  // from B towards A
    EXPECT_EQ(t, -0.5f);

    HVector2 CA[4], CB[4];
    int Cnum = 0;
    EXPECT_TRUE(a.FindContacts(b, N, t, CA, CB, Cnum));
    ASSERT_EQ(Cnum, 2);
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(CA[i].x, 0.5f);
        EXPECT_EQ(CB[i].x, 0.0f);
        EXPECT_EQ(CA[i].y, CB[i].y);
        EXPECT_EQ(std::fabs(CA[i].y), 0.5f);
    }
    EXPECT_NE(CA[0].y, CA[1].y);

    EXPECT_TRUE(a.Collide(b, 0.1f));
    // Two contact pairs each move A by the whole depth: twice 0.5.
    EXPECT_EQ(a.position, HVector2(-1.0f, 0.0f));
    EXPECT_EQ(b.position, HVector2(0.5f, 0.0f));
    EXPECT_EQ(a.velocity, HVector2(0.0f, 0.0f));
}

TEST(PhysicsCollision, TwoHeavyBodiesEachMoveHalf) {
    for (int kind = 0; kind < 2; kind++) {
        PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f, kind == 0 ? 0.0f : 1.0f);
        PhysicsBody b = Box(HVector2(0.5f, 0.0f), 0.5f, kind == 0 ? 0.0f : 1.0f);
        if (kind == 1) a.immovable = b.immovable = true;
        EXPECT_TRUE(a.Collide(b, 0.0f));
        // Per pair each moves D/2 = 0.25; two pairs.
        EXPECT_EQ(a.position, HVector2(-0.5f, 0.0f)) << kind;
        EXPECT_EQ(b.position, HVector2(1.0f, 0.0f)) << kind;
    }
}

TEST(PhysicsCollision, EqualMassesShareTheCorrection) {
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f, 1.0f);
    PhysicsBody b = Box(HVector2(0.0f, 0.75f), 0.5f, 1.0f);
    EXPECT_TRUE(a.Collide(b, 0.0f));
    EXPECT_EQ(a.position, HVector2(0.0f, -0.25f));
    EXPECT_EQ(b.position, HVector2(0.0f, 1.0f));
}

TEST(PhysicsCollision, ApartAndEmptyPolygons) {
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f);
    PhysicsBody b = Box(HVector2(3.0f, 0.0f), 0.5f);
    HVector2 N;
    float t = 0.0f;
    EXPECT_FALSE(a.FindCollision(b, N, t));
    EXPECT_FALSE(a.Collide(b, 0.0f));

    PhysicsBody empty;
    t = 0.0f;
    EXPECT_FALSE(empty.FindCollision(a, N, t));
    EXPECT_FALSE(a.FindCollision(empty, N, t));
    EXPECT_FALSE(a.Collide(empty, 0.0f));
    EXPECT_FALSE(empty.Collide(a, 0.0f));

    PhysicsBody p1, p2;
    p1.AddVertex(HVector2(0, 0));
    p2.AddVertex(HVector2(0, 0));
    EXPECT_FALSE(p1.FindCollision(p2, N, t));  // both below two vertices
}

TEST(PhysicsCollision, PointInsideSquareIsTestedOn) {
    PhysicsBody square = Box(HVector2(0.0f, 0.0f), 1.0f, 0.0f);
    PhysicsBody point;
    point.AddVertex(HVector2(0.0f, 0.0f));
    point.position = HVector2(0.75f, 0.0f);
    point.invMass = 1.0f;
    HVector2 N;
    float t = 0.0f;
    ASSERT_TRUE(point.FindCollision(square, N, t));
    EXPECT_EQ(N, HVector2(1.0f, 0.0f));
    EXPECT_EQ(t, -0.25f);
    EXPECT_TRUE(point.Collide(square, 0.0f));
    EXPECT_EQ(point.position, HVector2(1.0f, 0.0f));
}

TEST(PhysicsCollision, VelocityAxisAndTimeOfImpact) {
    // Apart but approaching: with a look-ahead of 1 a time of impact comes back; with 0
    // (as Collide asks) the pair is no collision.
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f);
    PhysicsBody b = Box(HVector2(2.0f, 0.0f), 0.5f);
    a.velocity = HVector2(2.0f, 0.0f);
    HVector2 N;
    float t = 1.0f;
    ASSERT_TRUE(a.FindCollision(b, N, t));
    EXPECT_FLOAT_EQ(t, 0.5f);
    EXPECT_EQ(N, HVector2(-1.0f, 0.0f));
    t = 0.0f;
    EXPECT_FALSE(a.FindCollision(b, N, t));
    EXPECT_FALSE(a.Collide(b, 0.0f));
}

TEST(PhysicsCollision, RotatedBodies) {
    // A diamond (square turned 45 degrees) with its corner 0.1 into a square.
    PhysicsBody d = Box(HVector2(0.0f, 0.0f), 0.5f);
    d.orientation = 45.0f;
    float h = 0.5f * std::sqrt(2.0f);
    PhysicsBody s = Box(HVector2(h + 0.5f - 0.1f, 0.0f), 0.5f, 0.0f);
    HVector2 N;
    float t = 0.0f;
    ASSERT_TRUE(d.FindCollision(s, N, t));
    EXPECT_NEAR(N.x, -1.0f, 1e-5);
    EXPECT_NEAR(N.y, 0.0f, 1e-5);
    EXPECT_NEAR(t, -0.1f, 1e-5);
    EXPECT_TRUE(d.Collide(s, 0.0f));
    EXPECT_NEAR(d.position.x, -0.1f, 1e-5);  // one vertex: one pair, no over-correction
    EXPECT_NEAR(d.position.y, 0.0f, 1e-5);
}

TEST(PhysicsCollision, GetIntervalAndIntervalIntersect) {
    HVector2 v[3] = {HVector2(1, 0), HVector2(-2, 5), HVector2(3, -1)};
    float mn, mx;
    GetInterval(v, 3, HVector2(1, 0), mn, mx);
    EXPECT_EQ(mn, -2.0f);
    EXPECT_EQ(mx, 3.0f);

    HVector2 sq[4] = {HVector2(-1, -1), HVector2(1, -1), HVector2(1, 1), HVector2(-1, 1)};
    PhysicsMatrix id;
    float taxis = 99.0f;
    // Offset 1.5 along x: [0.5, 2.5] against [-1, 1]: overlap -0.5.
    EXPECT_TRUE(IntervalIntersect(sq, 4, sq, 4, HVector2(1, 0), HVector2(1.5f, 0), HVector2(0, 0),
                                  id, taxis, 0.0f));
    EXPECT_EQ(taxis, -0.5f);
    // Apart and not moving: false.
    EXPECT_FALSE(IntervalIntersect(sq, 4, sq, 4, HVector2(1, 0), HVector2(3, 0), HVector2(0, 0), id,
                                   taxis, 10.0f));
    // Apart by 1, closing at 2 per second: impact at 0.5.
    EXPECT_TRUE(IntervalIntersect(sq, 4, sq, 4, HVector2(1, 0), HVector2(3, 0), HVector2(-2, 0), id,
                                  taxis, 10.0f));
    EXPECT_EQ(taxis, 0.5f);
    // Leaving: the time is negative, false.
    EXPECT_FALSE(IntervalIntersect(sq, 4, sq, 4, HVector2(1, 0), HVector2(3, 0), HVector2(2, 0), id,
                                   taxis, 10.0f));
}

TEST(PhysicsCollision, FindMTDChoices) {
    HVector2 axes[3] = {HVector2(2, 0), HVector2(0, 4), HVector2(0, 1)};
    float taxis[3] = {-1.0f, -1.0f, -0.2f};
    HVector2 N;
    float t;
    ASSERT_TRUE(FindMTD(axes, taxis, 3, N, t));
    // -1/2, -1/4, -0.2: the largest is the last.
    EXPECT_EQ(t, -0.2f);
    EXPECT_EQ(N, HVector2(0, 1));

    HVector2 eq[2] = {HVector2(1, 0), HVector2(0, 1)};
    float te[2] = {-0.5f, -0.5f};
    ASSERT_TRUE(FindMTD(eq, te, 2, N, t));
    EXPECT_EQ(N, HVector2(1, 0));  // of equals, the first

    HVector2 toi[2] = {HVector2(3, 0), HVector2(0, 1)};
    float tt[2] = {0.25f, 0.75f};
    ASSERT_TRUE(FindMTD(toi, tt, 2, N, t));
    EXPECT_EQ(t, 0.75f);  // the latest time of impact
    EXPECT_EQ(N, HVector2(0, 1));

    testing::internal::CaptureStdout();
    EXPECT_FALSE(FindMTD(axes, taxis, 0, N, t));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error\n");
}

TEST(PhysicsCollision, SupportPointsAndTransformContact) {
    HVector2 sq[4] = {HVector2(-1, -1), HVector2(1, -1), HVector2(1, 1), HVector2(-1, 1)};
    PhysicsMatrix id;
    HVector2 S[4];
    // Lowest along (1,0): the left edge, two points.
    int n = FindSupportPoints(HVector2(1, 0), 0.0f, sq, 4, HVector2(10, 0), HVector2(0, 0), id, S);
    ASSERT_EQ(n, 2);
    EXPECT_EQ(S[0], HVector2(9, -1));
    EXPECT_EQ(S[1], HVector2(9, 1));
    // Along (1,1): a single corner.
    n = FindSupportPoints(HVector2(1, 1).NormalisedCopy(), 0.0f, sq, 4, HVector2(0, 0),
                          HVector2(0, 0), id, S);
    ASSERT_EQ(n, 1);
    EXPECT_EQ(S[0], HVector2(-1, -1));
    // Three points in a line keep the two extremes.
    HVector2 line[3] = {HVector2(0, 0), HVector2(2, 0), HVector2(1, 0)};
    n = FindSupportPoints(HVector2(0, 1), 0.0f, line, 3, HVector2(0, 0), HVector2(0, 0), id, S);
    ASSERT_EQ(n, 2);
    EXPECT_EQ(S[0], HVector2(0, 0));
    EXPECT_EQ(S[1], HVector2(2, 0));

    EXPECT_EQ(TransformContact(HVector2(1, 0), HVector2(5, 5), HVector2(2, 0), id, 0.5f),
              HVector2(7, 5));
    EXPECT_EQ(TransformContact(HVector2(1, 0), HVector2(5, 5), HVector2(2, 0), id, -0.5f),
              HVector2(6, 5));
    PhysicsMatrix r90 = PhysicsMatrix::FromDegrees(90.0f);
    HVector2 c = TransformContact(HVector2(1, 0), HVector2(0, 0), HVector2(0, 0), r90, 0.0f);
    EXPECT_NEAR(c.x, 0.0f, 1e-6);
    EXPECT_NEAR(c.y, 1.0f, 1e-6);
    // v·M is the inverse rotation.
    HVector2 back = r90.MulT(c);
    EXPECT_NEAR(back.x, 1.0f, 1e-6);
    EXPECT_NEAR(back.y, 0.0f, 1e-6);
}

TEST(PhysicsCollision, PointOnSegmentEndGivesOnePair) {
    HVector2 C0[4], C1[4];
    int Cnum = -1;
    {
        HVector2 S0[4] = {HVector2(0, 0)};
        HVector2 S1[4] = {HVector2(0, 0), HVector2(1, 0)};
        EXPECT_TRUE(ConvertSupportPointsToContacts(HVector2(0, 1), S0, 1, S1, 2, C0, C1, Cnum));
        ASSERT_EQ(Cnum, 1);
        EXPECT_EQ(C0[0], HVector2(0, 0));
        EXPECT_EQ(C1[0], HVector2(0, 0));
    }
    {
        // The other end: equal low values, the single point stands for its own segment.
        HVector2 S0[4] = {HVector2(0, 0)};
        HVector2 S1[4] = {HVector2(0, 0), HVector2(-1, 0)};
        EXPECT_TRUE(ConvertSupportPointsToContacts(HVector2(0, 1), S0, 1, S1, 2, C0, C1, Cnum));
        ASSERT_EQ(Cnum, 1);
        EXPECT_EQ(C0[0], HVector2(0, 0));
        EXPECT_EQ(C1[0], HVector2(0, 0));
    }
    {
        HVector2 S0[4] = {HVector2(0, 0), HVector2(2, 0)};
        HVector2 S1[4] = {HVector2(2, 0)};
        EXPECT_TRUE(ConvertSupportPointsToContacts(HVector2(0, 1), S0, 2, S1, 1, C0, C1, Cnum));
        EXPECT_EQ(Cnum, 1);
    }
    HVector2 S0[4] = {HVector2(0, 0)};
    HVector2 S1[4] = {HVector2(5, 0)};
    EXPECT_FALSE(ConvertSupportPointsToContacts(HVector2(0, 1), S0, 0, S1, 1, C0, C1, Cnum));
    EXPECT_EQ(Cnum, 0);
    EXPECT_TRUE(ConvertSupportPointsToContacts(HVector2(0, 1), S0, 1, S1, 1, C0, C1, Cnum));
    EXPECT_EQ(Cnum, 1);
    EXPECT_EQ(C1[0], HVector2(5, 0));
    // Two segments that do not overlap sideways: no contact.
    HVector2 A[4] = {HVector2(0, 0), HVector2(1, 0)};
    HVector2 B[4] = {HVector2(3, 0), HVector2(4, 0)};
    EXPECT_FALSE(ConvertSupportPointsToContacts(HVector2(0, 1), A, 2, B, 2, C0, C1, Cnum));
}

TEST(PhysicsCollision, FindClosestPoint) {
    HVector2 out;
    float t = -1.0f;
    EXPECT_TRUE(FindClosestPoint(HVector2(5, 3), HVector2(0, 0), HVector2(10, 0), out, &t));
    EXPECT_EQ(out, HVector2(5, 0));
    EXPECT_EQ(t, 0.5f);
    FindClosestPoint(HVector2(-5, 3), HVector2(0, 0), HVector2(10, 0), out, &t);
    EXPECT_EQ(out, HVector2(0, 0));
    EXPECT_EQ(t, 0.0f);
    FindClosestPoint(HVector2(50, 3), HVector2(0, 0), HVector2(10, 0), out, nullptr);
    EXPECT_EQ(out, HVector2(10, 0));
    // A segment of no length.
    FindClosestPoint(HVector2(50, 3), HVector2(1, 1), HVector2(1, 1), out, &t);
    EXPECT_EQ(out, HVector2(1, 1));
    EXPECT_EQ(t, 0.0f);
}

TEST(PhysicsRayTest, HitsTheNearEdge) {
    PhysicsBody b = Box(HVector2(0.0f, 0.0f), 0.5f);
    HVector2 point(7, 7), normal(3, 4);
    float distance = -1.0f;
    ASSERT_TRUE(b.RayTest(HVector2(-10.0f, 0.1f), HVector2(1, 0), point, normal, distance));
    EXPECT_EQ(point, HVector2(-0.5f, 0.1f));
    EXPECT_EQ(distance, 9.5f);
    EXPECT_EQ(normal, HVector2(3, 4));  // a ray reports no normal

    // From inside: the far edge.
    ASSERT_TRUE(b.RayTest(HVector2(0.0f, 0.1f), HVector2(1, 0), point, normal, distance));
    EXPECT_EQ(point, HVector2(0.5f, 0.1f));
    EXPECT_EQ(distance, 0.5f);

    // Pointing away, or passing by: nothing, and nothing written.
    point = HVector2(7, 7);
    distance = -1.0f;
    EXPECT_FALSE(b.RayTest(HVector2(-10.0f, 0.1f), HVector2(-1, 0), point, normal, distance));
    EXPECT_FALSE(b.RayTest(HVector2(-10.0f, 2.0f), HVector2(1, 0), point, normal, distance));
    EXPECT_EQ(point, HVector2(7, 7));
    EXPECT_EQ(distance, -1.0f);

    // A rotated, moved body.
    PhysicsBody r = Box(HVector2(20.0f, 0.0f), 1.0f);
    r.orientation = 45.0f;
    ASSERT_TRUE(r.RayTest(HVector2(0.0f, 0.1f), HVector2(1, 0), point, normal, distance));
    EXPECT_NEAR(distance, 20.0f - std::sqrt(2.0f) + 0.1f, 1e-4);
}

TEST(PhysicsRayTest, AlongAnEdge) {
    PhysicsBody b = Box(HVector2(0.0f, 0.0f), 0.5f);
    HVector2 point, normal;
    float distance = 0.0f;
    // Along the top edge: that edge is parallel, the side edges meet it only at their ends
    // (s of exactly 0 or 1), so nothing counts.
    EXPECT_FALSE(b.RayTest(HVector2(-10.0f, 0.5f), HVector2(1, 0), point, normal, distance));
    // A hair inside, the sides count again.
    EXPECT_TRUE(b.RayTest(HVector2(-10.0f, 0.49f), HVector2(1, 0), point, normal, distance));
    EXPECT_EQ(distance, 9.5f);
}

TEST(PhysicsRayTest, DegeneratePolygons) {
    HVector2 point, normal;
    float distance = 0.0f;
    PhysicsBody empty;
    EXPECT_FALSE(empty.RayTest(HVector2(0, 0), HVector2(1, 0), point, normal, distance));
    PhysicsBody one;
    one.AddVertex(HVector2(5, 0));
    EXPECT_FALSE(one.RayTest(HVector2(0, 0), HVector2(1, 0), point, normal, distance));
}

TEST(PhysicsCircles, OverlapAndRayNear) {
    PhysicsCircle a, b;
    a.radius = 1.0f;
    b.radius = 1.0f;
    b.centre = HVector2(2.0f, 0.0f);
    EXPECT_FALSE(CirclesOverlap(a, b));  // touching is not overlapping
    b.centre = HVector2(1.9f, 0.0f);
    EXPECT_TRUE(CirclesOverlap(a, b));

    PhysicsCircle c;
    c.centre = HVector2(10.0f, 1.0f);
    c.radius = 1.0f;
    EXPECT_TRUE(RayNearCircle(c, HVector2(0, 0), HVector2(1, 0)));  // at most: inclusive
    c.centre = HVector2(10.0f, 1.01f);
    EXPECT_FALSE(RayNearCircle(c, HVector2(0, 0), HVector2(1, 0)));
    // Behind the origin: u is clamped to 0.
    c.centre = HVector2(-10.0f, 0.0f);
    EXPECT_FALSE(RayNearCircle(c, HVector2(0, 0), HVector2(1, 0)));
    c.centre = HVector2(-0.5f, 0.0f);
    EXPECT_TRUE(RayNearCircle(c, HVector2(0, 0), HVector2(1, 0)));
    // No upper bound along the ray, and no direction at all is guarded.
    c.centre = HVector2(1e6f, 0.0f);
    EXPECT_TRUE(RayNearCircle(c, HVector2(0, 0), HVector2(1, 0)));
    EXPECT_FALSE(RayNearCircle(c, HVector2(0, 0), HVector2(0, 0)));
}

TEST(PhysicsResolveCollision, HeadOnBounce) {
    HVector2 V0(-1, 0), V1(0, 0);
    float w0 = 0.0f, w1 = 0.0f;
    ResolveCollision(HVector2(1, 0), 0.0f, 0.0f, 1.0f, HVector2(0, 0), HVector2(1, 0), V0, w0, 1.0f,
                     0.0f, HVector2(0, 0), HVector2(-1, 0), V1, w1, 0.0f, 0.0f);
    EXPECT_EQ(V0, HVector2(1, 0));
    EXPECT_EQ(V1, HVector2(0, 0));
    EXPECT_EQ(w0, 0.0f);

    // Parting bodies: nothing happens.
    HVector2 P0(2, 0);
    ResolveCollision(HVector2(1, 0), 0.0f, 0.5f, 1.0f, HVector2(0, 0), P0, V0, w0, 1.0f, 0.0f,
                     HVector2(0, 0), HVector2(-1, 0), V1, w1, 0.0f, 0.0f);
    EXPECT_EQ(V0, HVector2(1, 0));

    // Two equal masses, no restitution: they end at the same normal speed.
    HVector2 A(-2, 0), B(0, 0);
    float wa = 0.0f, wb = 0.0f;
    ResolveCollision(HVector2(1, 0), 0.0f, 0.0f, 0.0f, HVector2(0, 0), HVector2(1, 0), A, wa, 1.0f,
                     0.0f, HVector2(0, 0), HVector2(-1, 0), B, wb, 1.0f, 0.0f);
    EXPECT_EQ(A, HVector2(-1, 0));
    EXPECT_EQ(B, HVector2(-1, 0));

    // Two infinitely heavy bodies: nothing moves, nothing divides by zero.
    HVector2 X(-1, 0), Y(1, 0);
    ResolveCollision(HVector2(1, 0), 0.0f, 0.5f, 1.0f, HVector2(0, 0), HVector2(1, 0), X, wa, 0.0f,
                     0.0f, HVector2(0, 0), HVector2(-1, 0), Y, wb, 0.0f, 0.0f);
    EXPECT_EQ(X, HVector2(-1, 0));
    EXPECT_EQ(Y, HVector2(1, 0));
}

TEST(PhysicsResolveCollision, FrictionSlowsTheSlide) {
    // Sliding into a wall at 45 degrees with friction 0.5: the normal speed reverses with
    // restitution 0 (to 0), and kinetic friction takes 0.5·|vn| from the tangent speed.
    HVector2 V0(-1, -1), V1(0, 0);
    float w0 = 0.0f, w1 = 0.0f;
    ResolveCollision(HVector2(1, 0), 0.0f, 0.5f, 0.0f, HVector2(0, 0), HVector2(0, 0), V0, w0, 1.0f,
                     0.0f, HVector2(0, 0), HVector2(0, 0), V1, w1, 0.0f, 0.0f);
    EXPECT_FLOAT_EQ(V0.x, 0.0f);
    EXPECT_FLOAT_EQ(V0.y, -0.5f);
}

TEST(PhysicsCollision, NoHeapInThePairPath) {
    if (!VELMORA_COUNT_ALLOCATIONS) GTEST_SKIP() << "allocations are counted without the sanitizer";
    PhysicsBody a = Box(HVector2(0.0f, 0.0f), 0.5f);
    PhysicsBody b = Box(HVector2(0.5f, 0.2f), 0.5f, 0.0f);
    a.velocity = HVector2(1.0f, 2.0f);
    HVector2 point, normal;
    float distance;
    long before = g_allocations.load();
    HVector2 N;
    float t = 0.0f;
    a.FindCollision(b, N, t);
    HVector2 CA[4], CB[4];
    int Cnum;
    a.FindContacts(b, N, t, CA, CB, Cnum);
    a.Collide(b, 0.0f);
    a.RayTest(HVector2(-5, 0), HVector2(1, 0), point, normal, distance);
    EXPECT_EQ(g_allocations.load(), before);
}

TEST(PhysicsBadInput, CollinearAndDegenerateHulls) {
    PhysicsBody line;  // three points in a row
    line.AddVertex(HVector2(-1, 0));
    line.AddVertex(HVector2(0, 0));
    line.AddVertex(HVector2(1, 0));
    line.invMass = 1.0f;
    PhysicsBody square = Box(HVector2(0.0f, 0.25f), 0.5f, 0.0f);
    EXPECT_TRUE(line.Collide(square, 0.0f));
    // Out along -y: the overlap is 0.25, and the two end points make two pairs.
    EXPECT_EQ(line.position, HVector2(0.0f, -0.5f));

    PhysicsBody dot;  // six vertices at one point: every axis has no length
    for (int i = 0; i < 6; i++) dot.AddVertex(HVector2(0, 0));
    PhysicsBody dot2;
    for (int i = 0; i < 6; i++) dot2.AddVertex(HVector2(0, 0));
    HVector2 N;
    float t = 0.0f;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(dot.FindCollision(dot2, N, t));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error\n");
    EXPECT_FALSE(dot.Collide(square, 0.0f) && std::isnan(dot.position.x));
    EXPECT_FALSE(std::isnan(dot.position.x));

    // 32 against 32 vertices: every axis fits in the fixed arrays.
    PhysicsBody big1, big2;
    big1.MakeCircle(10.0f, 32);
    big2.MakeCircle(10.0f, 32);
    big2.position = HVector2(15.0f, 0.0f);
    big1.velocity = HVector2(1.0f, 1.0f);
    big1.invMass = 1.0f;
    EXPECT_TRUE(big1.Collide(big2, 0.0f));
    EXPECT_LT(big1.position.x, 0.0f);
}

// ---- properties over random convex polygons ----

namespace {

// A random convex polygon: points on a circle at sorted random angles, counter-clockwise.
void RandomConvex(std::mt19937& rng, PhysicsBody& b) {
    std::uniform_int_distribution<int> count(3, 12);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    int n = count(rng);
    float radius = 1.0f + 20.0f * unit(rng);
    float angles[12];
    // Gaps of at least a tenth of an even share keep the polygon from degenerating.
    float total = 0.0f;
    float gaps[12];
    for (int i = 0; i < n; i++) {
        gaps[i] = 0.1f + unit(rng);
        total += gaps[i];
    }
    float a = unit(rng) * 6.2831853f;
    for (int i = 0; i < n; i++) {
        angles[i] = a;
        a += gaps[i] / total * 6.2831853f;
    }
    b.vertices.clear();
    for (int i = 0; i < n; i++)
        b.AddVertex(HVector2(std::cos(angles[i]) * radius, std::sin(angles[i]) * radius));
    b.orientation = unit(rng) * 360.0f - 180.0f;
}

struct WorldPoly {
    int n = 0;
    double x[32], y[32];
};

WorldPoly ToWorld(const PhysicsBody& b) {
    WorldPoly w;
    double a = double(b.orientation) * 3.14159265358979323846 / 180.0;
    double c = std::cos(a), s = std::sin(a);
    w.n = int(b.vertices.size());
    for (int i = 0; i < w.n; i++) {
        w.x[i] = b.position.x + c * b.vertices[i].x - s * b.vertices[i].y;
        w.y[i] = b.position.y + s * b.vertices[i].x + c * b.vertices[i].y;
    }
    return w;
}

// The largest separation over every edge normal of both polygons (double precision):
// positive means apart by that much, negative means overlapping.
double Separation(const WorldPoly& a, const WorldPoly& b) {
    double best = -1e300;
    for (int pass = 0; pass < 2; pass++) {
        const WorldPoly& p = pass == 0 ? a : b;
        for (int i = 0; i < p.n; i++) {
            int j = (i + 1) % p.n;
            double ex = p.x[j] - p.x[i], ey = p.y[j] - p.y[i];
            double len = std::sqrt(ex * ex + ey * ey);
            double nx = -ey / len, ny = ex / len;
            double mina = 1e300, maxa = -1e300, minb = 1e300, maxb = -1e300;
            for (int k = 0; k < a.n; k++) {
                double d = a.x[k] * nx + a.y[k] * ny;
                mina = std::min(mina, d);
                maxa = std::max(maxa, d);
            }
            for (int k = 0; k < b.n; k++) {
                double d = b.x[k] * nx + b.y[k] * ny;
                minb = std::min(minb, d);
                maxb = std::max(maxb, d);
            }
            best = std::max(best, std::max(mina - maxb, minb - maxa));
        }
    }
    return best;
}

bool PointInConvex(const WorldPoly& p, double x, double y) {
    for (int i = 0; i < p.n; i++) {
        int j = (i + 1) % p.n;
        double c = (p.x[j] - p.x[i]) * (y - p.y[i]) - (p.y[j] - p.y[i]) * (x - p.x[i]);
        if (c < 0) return false;
    }
    return true;
}

bool SegmentsCross(double ax, double ay, double bx, double by, double cx, double cy, double dx,
                   double dy) {
    auto orient = [](double px, double py, double qx, double qy, double rx, double ry) {
        return (qx - px) * (ry - py) - (qy - py) * (rx - px);
    };
    double o1 = orient(ax, ay, bx, by, cx, cy), o2 = orient(ax, ay, bx, by, dx, dy);
    double o3 = orient(cx, cy, dx, dy, ax, ay), o4 = orient(cx, cy, dx, dy, bx, by);
    return ((o1 > 0) != (o2 > 0)) && ((o3 > 0) != (o4 > 0));
}

// Brute force: a vertex of one inside the other, or two edges crossing.
bool BruteOverlap(const WorldPoly& a, const WorldPoly& b) {
    for (int i = 0; i < a.n; i++)
        if (PointInConvex(b, a.x[i], a.y[i])) return true;
    for (int i = 0; i < b.n; i++)
        if (PointInConvex(a, b.x[i], b.y[i])) return true;
    for (int i = 0; i < a.n; i++)
        for (int j = 0; j < b.n; j++)
            if (SegmentsCross(a.x[i], a.y[i], a.x[(i + 1) % a.n], a.y[(i + 1) % a.n], b.x[j],
                              b.y[j], b.x[(j + 1) % b.n], b.y[(j + 1) % b.n]))
                return true;
    return false;
}

}  // namespace

TEST(PhysicsProperties, FindCollisionAgreesWithBruteForce) {
    std::mt19937 rng(12345);
    std::uniform_real_distribution<float> place(-40.0f, 40.0f);
    int overlapping = 0, apart = 0;
    for (int iter = 0; iter < 5000; iter++) {
        PhysicsBody a, b;
        RandomConvex(rng, a);
        RandomConvex(rng, b);
        a.position = HVector2(place(rng), place(rng));
        b.position = HVector2(place(rng), place(rng));
        WorldPoly wa = ToWorld(a), wb = ToWorld(b);
        double sep = Separation(wa, wb);
        if (std::fabs(sep) < 1e-2) continue;  // too close to call in single precision
        bool brute = BruteOverlap(wa, wb);
        ASSERT_EQ(brute, sep < 0) << iter;  // the two references agree
        HVector2 N;
        float t = 0.0f;
        bool found = a.FindCollision(b, N, t);
        ASSERT_EQ(found, brute) << iter << " sep " << sep;
        if (found) {
            overlapping++;
            EXPECT_LE(t, 0.0f);
            EXPECT_NEAR(-t, -sep, 1e-3 * (1.0 + std::fabs(sep))) << iter;
            EXPECT_NEAR(N.Length(), 1.0f, 1e-4);
        } else {
            apart++;
        }
    }
    EXPECT_GT(overlapping, 500);
    EXPECT_GT(apart, 500);
}

TEST(PhysicsProperties, CollideSeparatesFromAStaticBody) {
    std::mt19937 rng(777);
    std::uniform_real_distribution<float> place(-15.0f, 15.0f);
    int tested = 0;
    for (int iter = 0; iter < 5000; iter++) {
        PhysicsBody a, b;
        RandomConvex(rng, a);
        RandomConvex(rng, b);
        a.position = HVector2(place(rng), place(rng));
        b.position = HVector2(place(rng), place(rng));
        a.invMass = 1.0f;
        b.invMass = 0.0f;
        double sep = Separation(ToWorld(a), ToWorld(b));
        if (sep > -1e-2) continue;
        HVector2 N;
        float t = 0.0f;
        ASSERT_TRUE(a.FindCollision(b, N, t));
        HVector2 bBefore = b.position;
        ASSERT_TRUE(a.Collide(b, 0.0f)) << iter;
        tested++;
        EXPECT_EQ(b.position, bBefore);
        // Separated along the reported normal (N points from B to A), or no longer
        // overlapping by more than a small tolerance.
        WorldPoly wa = ToWorld(a), wb = ToWorld(b);
        double mina = 1e300, maxb = -1e300;
        for (int k = 0; k < wa.n; k++) mina = std::min(mina, wa.x[k] * N.x + wa.y[k] * N.y);
        for (int k = 0; k < wb.n; k++) maxb = std::max(maxb, wb.x[k] * N.x + wb.y[k] * N.y);
        double along = mina - maxb;
        double tol = 2e-3 + 1e-4 * std::fabs(sep);
        bool ok = along >= -tol || Separation(wa, wb) >= -tol;
        EXPECT_TRUE(ok) << iter << " along " << along << " sep " << sep;
    }
    EXPECT_GT(tested, 1000);
}

// The separating-axis test written out one axis at a time from the public pieces: the
// grouped form in PhysicsBody must give the same answer, normal and time to the bit.
static bool ReferenceFindCollision(const PhysicsBody& a, const PhysicsBody& b, HVector2& N,
                                   float& t) {
    const int nA = int(a.vertices.size()), nB = int(b.vertices.size());
    if (nA < 2 && nB < 2) return false;
    if (nA == 0 || nB == 0) return false;
    const HVector2* A = a.vertices.data();
    const HVector2* B = b.vertices.data();
    PhysicsMatrix OA = PhysicsMatrix::FromDegrees(a.orientation);
    PhysicsMatrix OB = PhysicsMatrix::FromDegrees(b.orientation);
    PhysicsMatrix xOrient = OA.TimesTranspose(OB);
    HVector2 xOffset = OB.MulT(a.position - b.position);
    HVector2 xVel = OB.MulT(a.velocity - b.velocity);
    HVector2 axes[kPhysicsMaxAxes];
    float taxis[kPhysicsMaxAxes];
    int n = 0;
    const float tmax = t;
    auto test = [&](HVector2 axis) {
        const int k = n++;
        axes[k] = axis;
        return IntervalIntersect(A, nA, B, nB, axes[k], xOffset, xVel, xOrient, taxis[k], tmax);
    };
    if (PhysicsDot(xVel, xVel) > 1e-5f && !test(PhysicsPerp(xVel))) return false;
    if (nA > 1)
        for (int j = nA - 1, i = 0; i < nA; j = i, i++)
            if (!test(xOrient.Mul(PhysicsPerp(A[i] - A[j])))) return false;
    if (nB > 1)
        for (int j = nB - 1, i = 0; i < nB; j = i, i++)
            if (!test(PhysicsPerp(B[i] - B[j]))) return false;
    if (nB == 2 && !test(B[1] - B[0])) return false;
    if (nA == 2 && !test(xOrient.Mul(A[1] - A[0]))) return false;
    if (!FindMTD(axes, taxis, n, N, t)) return false;
    if (PhysicsDot(N, xOffset) < 0.0f) N = -N;
    N = OB.Mul(N);
    return true;
}

TEST(PhysicsProperties, GroupedAxisTestsMatchOneByOne) {
    std::mt19937 rng(99);
    std::uniform_real_distribution<float> place(-40.0f, 40.0f);
    std::uniform_real_distribution<float> speed(-30.0f, 30.0f);
    std::uniform_int_distribution<int> small(1, 3);
    for (int iter = 0; iter < 20000; iter++) {
        PhysicsBody a, b;
        RandomConvex(rng, a);
        RandomConvex(rng, b);
        if (iter % 10 == 0) a.vertices.resize(size_t(small(rng)));  // points and segments too
        a.position = HVector2(place(rng), place(rng));
        b.position = HVector2(place(rng), place(rng));
        if (iter % 2) a.velocity = HVector2(speed(rng), speed(rng));
        float look = iter % 3 == 0 ? 0.0f : 2.0f;
        HVector2 N1(7, 7), N2(7, 7);
        float t1 = look, t2 = look;
        bool r1 = a.FindCollision(b, N1, t1);
        bool r2 = ReferenceFindCollision(a, b, N2, t2);
        ASSERT_EQ(r1, r2) << iter;
        if (r1) {
            ASSERT_EQ(N1, N2) << iter;
            ASSERT_EQ(t1, t2) << iter;
        }
    }
}

// ---- the ray test, four edges at a time, against the walk over the edges one by one ----

namespace {

// The edge walk the ray test replaced, kept as the reference of its results.
bool RayTestOneByOne(const PhysicsBody& body, HVector2 origin, HVector2 direction, HVector2& point,
                     float& distance) {
    bool found = false;
    float bestU = 85465168.0f;
    const PhysicsMatrix O = body.OrientationMatrix();
    const int n = body.VertexCount();
    if (n <= 0) return false;
    const HVector2 first = body.position + O.Mul(body.vertices[0]);
    HVector2 P1 = first;
    for (int i = 0; i < n; i++) {
        const HVector2 P0 = P1;
        P1 = i + 1 < n ? body.position + O.Mul(body.vertices[size_t(i) + 1]) : first;
        HVector2 E = P1 - P0;
        float den = PhysicsCross(direction, E);
        if (den >= -1e-8f && den < 1e-8f) continue;
        HVector2 D = P0 - origin;
        float s = PhysicsCross(D, direction) / den;
        if (!(s > 0.0f && s < 1.0f)) continue;
        float u = PhysicsCross(D, E) / den;
        if (u < bestU && u > 0.0f) {
            point = origin + direction * u;
            distance = (point - origin).Length();
            bestU = u;
            found = true;
        }
    }
    return found;
}

bool SameBits(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

TEST(PhysicsCollision, RayTestGivesWhatTheEdgeWalkGives) {
    std::mt19937 rng(77);
    std::uniform_real_distribution<float> unit(-1.0f, 1.0f);
    const float odd[] = {0.0f, -0.0f, 1e-20f, 1e30f, INFINITY, -INFINITY, std::nanf("")};
    int hits = 0, misses = 0;
    for (int round = 0; round < 40000; round++) {
        PhysicsBody body;
        const int kind = round % 5;
        const int n = 1 + int(rng() % 33);  // up to one past the limit: the test reads 32
        if (kind == 0) {
            body.MakeCircle(1.0f + 50.0f * std::fabs(unit(rng)), std::max(3, n % 33));
        } else {
            for (int i = 0; i < n; i++) {
                // Some vertices repeat or fall on one line: edges of no length, parallel ones.
                HVector2 v(40.0f * unit(rng), 40.0f * unit(rng));
                if (kind == 2 && i > 0 && rng() % 3 == 0) v = body.vertices.back();
                if (kind == 3) v = HVector2(40.0f * unit(rng), 0.0f);
                body.vertices.push_back(v);
            }
        }
        body.position = HVector2(200.0f * unit(rng), 200.0f * unit(rng));
        body.orientation = 360.0f * unit(rng);
        HVector2 origin(300.0f * unit(rng), 300.0f * unit(rng));
        HVector2 direction(unit(rng), unit(rng));
        // Rays aimed at the body, or at one of its vertices exactly; short, long and odd ones.
        if (round % 3 == 0) direction = body.position - origin;
        if (round % 7 == 0 && !body.vertices.empty())
            direction = body.position + body.OrientationMatrix().Mul(body.vertices[0]) - origin;
        if (round % 11 == 0) direction = direction * 1e-6f;
        if (round % 13 == 0) direction = direction * 1e6f;
        if (round % 17 == 0) direction = HVector2(1.0f, 0.0f);
        if (round % 101 == 0) origin.x = odd[(round / 101) % 7];
        if (round % 103 == 0) direction.y = odd[(round / 103) % 7];
        HVector2 point(-7.0f, -7.0f), normal(-9.0f, -9.0f), wantPoint(-7.0f, -7.0f);
        float distance = -5.0f, wantDistance = -5.0f;
        const bool got = body.RayTest(origin, direction, point, normal, distance);
        const bool want = RayTestOneByOne(body, origin, direction, wantPoint, wantDistance);
        ASSERT_EQ(got, want) << round;
        // Written only on a hit; the normal never.
        ASSERT_TRUE(SameBits(point.x, wantPoint.x) && SameBits(point.y, wantPoint.y)) << round;
        ASSERT_TRUE(SameBits(distance, wantDistance)) << round;
        ASSERT_EQ(normal, HVector2(-9.0f, -9.0f)) << round;
        (got ? hits : misses)++;
    }
    EXPECT_GT(hits, 10000);
    EXPECT_GT(misses, 10000);
}

TEST(PhysicsCollision, RayTestTakesTheFirstOfEqualNearestEdges) {
    // A square whose left edge is there twice (a vertex repeated around it): the ray meets
    // both copies at the same distance, and the point is that of the first.
    PhysicsBody body;
    for (HVector2 v : {HVector2(-1.0f, -1.0f), HVector2(1.0f, -1.0f), HVector2(1.0f, 1.0f),
                       HVector2(-1.0f, 1.0f), HVector2(-1.0f, -1.0f), HVector2(-1.0f, 1.0f)})
        body.vertices.push_back(v);
    HVector2 point, normal;
    float distance = 0.0f;
    ASSERT_TRUE(
        body.RayTest(HVector2(-5.0f, 0.25f), HVector2(1.0f, 0.0f), point, normal, distance));
    EXPECT_EQ(point, HVector2(-1.0f, 0.25f));
    EXPECT_EQ(distance, 4.0f);
    // Behind the origin, or parallel to every edge it would cross: nothing.
    EXPECT_FALSE(
        body.RayTest(HVector2(-5.0f, 0.25f), HVector2(-1.0f, 0.0f), point, normal, distance));
    EXPECT_FALSE(
        body.RayTest(HVector2(-5.0f, 1.0f), HVector2(1.0f, 0.0f), point, normal, distance));
    EXPECT_EQ(distance, 4.0f);
    PhysicsBody empty;
    EXPECT_FALSE(
        empty.RayTest(HVector2(0.0f, 0.0f), HVector2(1.0f, 0.0f), point, normal, distance));
}

TEST(PhysicsCollision, RayTestReachesJustShortOfItsLimit) {
    // A ray of direction 2^-10 meets an edge at x after x · 1024 lengths; the test takes
    // meetings before 85465168 lengths only.
    auto meets = [](float edgeX, float& distance) {
        PhysicsBody square;
        for (HVector2 v : {HVector2(-1.0f, -1.0f), HVector2(1.0f, -1.0f), HVector2(1.0f, 1.0f),
                           HVector2(-1.0f, 1.0f)})
            square.vertices.push_back(v);
        square.position = HVector2(edgeX + 1.0f, 0.0f);
        HVector2 point, normal;
        return square.RayTest(HVector2(0.0f, 0.0f), HVector2(1.0f / 1024.0f, 0.0f), point, normal,
                              distance);
    };
    float distance = -1.0f;
    EXPECT_FALSE(meets(83462.078125f, distance));  // exactly 85465168 lengths
    EXPECT_EQ(distance, -1.0f);
    EXPECT_TRUE(meets(83462.0703125f, distance));  // 8 lengths short of it
    EXPECT_EQ(distance, 83462.0703125f);
}
