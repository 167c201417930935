#include <gtest/gtest.h>

#include <cmath>

#include "math/haxisalignedbox.h"
#include "math/hmath.h"
#include "math/hplane.h"
#include "math/hray.h"
#include "math/hsphere.h"

namespace {
const HAxisAlignedBox kUnitBox(0, 0, 0, 1, 1, 1);
}

TEST(HPlane, Constructions) {
    HPlane def;
    EXPECT_EQ(def.normal, HVector3(0, 0, 0));
    EXPECT_EQ(def.d, 0.0f);

    HPlane byConstant(HVector3(0, 0, 1), 5.0f);
    EXPECT_EQ(byConstant.d, -5.0f);

    HPlane byPoint(HVector3(0, 1, 0), HVector3(7, 3, -2));
    EXPECT_EQ(byPoint.d, -3.0f);

    HPlane byPoints(HVector3(0, 0, 2), HVector3(3, 0, 2), HVector3(0, 5, 2));
    EXPECT_EQ(byPoints.normal, HVector3(0, 0, 1));
    EXPECT_EQ(byPoints.d, -2.0f);
    EXPECT_EQ(byPoints.GetDistance(HVector3(4, 4, 5)), 3.0f);
}

TEST(HPlane, SideIsZeroOnlyForADistanceOfExactlyZero) {
    HPlane p(HVector3(0, 0, 1), 1.0f);  // z = 1
    EXPECT_EQ(p.GetSide(HVector3(5, -3, 1)), HPlane::NO_SIDE);
    EXPECT_EQ(p.GetSide(HVector3(0, 0, std::nextafter(1.0f, 2.0f))), HPlane::POSITIVE_SIDE);
    EXPECT_EQ(p.GetSide(HVector3(0, 0, std::nextafter(1.0f, 0.0f))), HPlane::NEGATIVE_SIDE);
    EXPECT_EQ(static_cast<int>(HPlane::NO_SIDE), 0);
    EXPECT_EQ(static_cast<int>(HPlane::POSITIVE_SIDE), 1);
    EXPECT_EQ(static_cast<int>(HPlane::NEGATIVE_SIDE), 2);
}

TEST(HRay, FieldsAndPoint) {
    HRay r(HVector3(1, 2, 3), HVector3(0, 0, 2));
    EXPECT_EQ(r.GetPoint(1.5f), HVector3(1, 2, 6));
    EXPECT_TRUE(std::has_virtual_destructor_v<HRay>);
}

TEST(HSphere, RadiusComesFirst) {
    HSphere s(HVector3(1, 2, 3), 4.0f);
    EXPECT_EQ(reinterpret_cast<const float*>(&s)[0], 4.0f);
    EXPECT_EQ(reinterpret_cast<const float*>(&s)[1], 1.0f);
}

TEST(RayPlane, HitInFront) {
    HPlane p(HVector3(0, 0, 1), 5.0f);
    HIntersection r = Intersects(HRay(HVector3(0, 0, 0), HVector3(0, 0, 1)), p);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 5.0f);
}

TEST(RayPlane, BehindTheOriginKeepsItsNegativeDistance) {
    HPlane p(HVector3(0, 0, 1), 5.0f);
    HIntersection r = Intersects(HRay(HVector3(0, 0, 10), HVector3(0, 0, 1)), p);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, -5.0f);
}

TEST(RayPlane, ParallelBelowMachineEpsilon) {
    HPlane p(HVector3(0, 0, 1), 5.0f);
    HIntersection r = Intersects(HRay(HVector3(0, 0, 0), HVector3(1, 0, 0)), p);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    r = Intersects(HRay(HVector3(0, 0, 0), HVector3(1, 0, 1e-8f)), p);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    // Just above epsilon counts.
    r = Intersects(HRay(HVector3(0, 0, 0), HVector3(0, 0, 2.5e-7f)), p);
    EXPECT_TRUE(r.first);
    EXPECT_FLOAT_EQ(r.second, 2e7f);
}

TEST(RaySphere, Cases) {
    HSphere s(HVector3(0, 0, 0), 2.0f);
    HIntersection r = Intersects(HRay(HVector3(0, 0, -10), HVector3(0, 0, 1)), s);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 8.0f);
    // Direction length enters through a: half the distance for a twice-as-long direction.
    r = Intersects(HRay(HVector3(0, 0, -10), HVector3(0, 0, 2)), s);
    EXPECT_EQ(r.second, 4.0f);
    // Origin inside, or on the surface: a hit at distance zero.
    r = Intersects(HRay(HVector3(0, 1, 0), HVector3(1, 0, 0)), s);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    r = Intersects(HRay(HVector3(0, 2, 0), HVector3(0, 1, 0)), s);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    // Miss.
    r = Intersects(HRay(HVector3(5, 0, -10), HVector3(0, 0, 1)), s);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    // The line meets a sphere behind the origin: a hit with a negative distance.
    r = Intersects(HRay(HVector3(0, 0, 10), HVector3(0, 0, 1)), s);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, -12.0f);
    // A zero direction from outside meets nothing.
    r = Intersects(HRay(HVector3(0, 0, 10), HVector3(0, 0, 0)), s);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
}

TEST(RayBox, HitsFromEachSide) {
    HIntersection r = Intersects(HRay(HVector3(-1, 0.5f, 0.5f), HVector3(1, 0, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 1.0f);
    r = Intersects(HRay(HVector3(3, 0.5f, 0.5f), HVector3(-1, 0, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 2.0f);
    r = Intersects(HRay(HVector3(0.5f, 0.5f, 5), HVector3(0, 0, -2)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 2.0f);
    r = Intersects(HRay(HVector3(0.5f, -4, 0.5f), HVector3(0, 1, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 4.0f);
}

TEST(RayBox, MissesAndNull) {
    HIntersection r = Intersects(HRay(HVector3(-1, 2, 0.5f), HVector3(1, 0, 0)), kUnitBox);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
    // Pointing away.
    r = Intersects(HRay(HVector3(-1, 0.5f, 0.5f), HVector3(-1, 0, 0)), kUnitBox);
    EXPECT_FALSE(r.first);
    HAxisAlignedBox null;
    r = Intersects(HRay(HVector3(0, 0, 0), HVector3(1, 0, 0)), null);
    EXPECT_FALSE(r.first);
    EXPECT_EQ(r.second, 0.0f);
}

TEST(RayBox, OriginStrictlyInsideIsAHitAtZero) {
    HIntersection r = Intersects(HRay(HVector3(0.5f, 0.5f, 0.5f), HVector3(0, 1, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 0.0f);
}

TEST(RayBox, OriginOnAFaceIsNotAHitAtZero) {
    for (const HVector3& dir : {HVector3(1, 0, 0), HVector3(-1, 0, 0), HVector3(0, 1, 0)}) {
        HIntersection r = Intersects(HRay(HVector3(0, 0.5f, 0.5f), dir), kUnitBox);
        EXPECT_FALSE(r.first);
        EXPECT_EQ(r.second, 0.0f);
    }
}

TEST(RayBox, FaceBoundsIncludedAndSmallestDistanceWins) {
    // Through the edge at (0, 0): x-min and y-min both accept t = 1.
    HIntersection r = Intersects(HRay(HVector3(-1, -1, 0.5f), HVector3(1, 1, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 1.0f);
    // y-min is met outside the box (x = −1); x-min at t = 2 lands on the edge y = 1.
    r = Intersects(HRay(HVector3(-2, -1, 0.5f), HVector3(1, 1, 0)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 2.0f);
    // z-min is met first (t = 0.5) but at x = −0.5, outside; x-min at t = 1 is inside.
    r = Intersects(HRay(HVector3(-1, 0.5f, -0.25f), HVector3(1, 0, 0.5f)), kUnitBox);
    EXPECT_TRUE(r.first);
    EXPECT_EQ(r.second, 1.0f);
}

TEST(SphereBox, GapAgainstRadius) {
    EXPECT_TRUE(Intersects(HSphere(HVector3(-2, 0.5f, 0.5f), 2.0f), kUnitBox));
    EXPECT_FALSE(Intersects(HSphere(HVector3(-2, 0.5f, 0.5f), 1.9f), kUnitBox));
    EXPECT_TRUE(Intersects(HSphere(HVector3(0.5f, 0.5f, 3), 2.0f), kUnitBox));
    EXPECT_FALSE(Intersects(HSphere(HVector3(0.5f, 0.5f, 3.5f), 2.0f), kUnitBox));
    // Per axis only: a sphere off the corner passes though its true distance is √3.
    EXPECT_TRUE(Intersects(HSphere(HVector3(-1, -1, -1), 1.1f), kUnitBox));
    EXPECT_TRUE(Intersects(HSphere(HVector3(0.5f, 0.5f, 0.5f), 0.01f), kUnitBox));
    EXPECT_FALSE(Intersects(HSphere(HVector3(0, 0, 0), 100.0f), HAxisAlignedBox()));
}

TEST(SpherePlane, TheConstantDoesNotEnter) {
    HPlane far(HVector3(0, 0, 1), 100.0f);  // z = 100
    EXPECT_TRUE(Intersects(HSphere(HVector3(0, 0, 0), 1.0f), far));
    EXPECT_FALSE(Intersects(HSphere(HVector3(0, 0, 100), 1.0f), far));
    EXPECT_TRUE(Intersects(HSphere(HVector3(5, 5, -1), 1.0f), far));
}

TEST(PlaneBox, CornersOnBothSides) {
    EXPECT_TRUE(Intersects(HPlane(HVector3(0, 0, 1), 0.5f), kUnitBox));
    EXPECT_FALSE(Intersects(HPlane(HVector3(0, 0, 1), 2.0f), kUnitBox));
    EXPECT_FALSE(Intersects(HPlane(HVector3(0, 0, 1), -2.0f), kUnitBox));
    // Touching the top face: four corners on the plane, four below.
    EXPECT_TRUE(Intersects(HPlane(HVector3(0, 0, 1), 1.0f), kUnitBox));
    // A flat box lying in the plane: every corner on side 0, all alike.
    EXPECT_FALSE(Intersects(HPlane(HVector3(0, 0, 1), 1.0f), HAxisAlignedBox(0, 0, 1, 1, 1, 1)));
    EXPECT_FALSE(Intersects(HPlane(HVector3(0, 0, 1), 0.5f), HAxisAlignedBox()));
}

TEST(SphereSphere, TouchingCounts) {
    EXPECT_TRUE(Intersects(HSphere(HVector3(0, 0, 0), 1), HSphere(HVector3(3, 0, 0), 2)));
    EXPECT_FALSE(Intersects(HSphere(HVector3(0, 0, 0), 1), HSphere(HVector3(3.5f, 0, 0), 2)));
}

TEST(CalculateTangent, AlongTheSCoordinate) {
    HVector3 t =
        CalculateTangent(HVector3(0, 0, 0), HVector3(1, 0, 0), HVector3(0, 1, 0), 0, 0, 1, 0, 0, 1);
    EXPECT_EQ(t, HVector3(1, 0, 0));
    // Mirrored t coordinate: tangent × binormal already points along the normal.
    t = CalculateTangent(HVector3(0, 0, 0), HVector3(1, 0, 0), HVector3(0, 1, 0), 0, 0, 1, 0, 0,
                         -1);
    EXPECT_EQ(t, HVector3(1, 0, 0));
    // Scaled positions and texture axes rotated by 90°.
    t = CalculateTangent(HVector3(0, 0, 0), HVector3(0, 2, 0), HVector3(-2, 0, 0), 0, 0, 1, 0, 0,
                         1);
    EXPECT_EQ(t, HVector3(0, 1, 0));
}

TEST(CalculateTangent, DegenerateTriangleGivesZeroNotNaN) {
    HVector3 p(1, 2, 3);
    HVector3 t = CalculateTangent(p, p, p, 0, 0, 1, 0, 0, 1);
    EXPECT_EQ(t, HVector3(0, 0, 0));
}

TEST(HAxisAlignedBox, DefaultIsNullWithHalfUnitExtents) {
    HAxisAlignedBox b;
    EXPECT_TRUE(b.IsNull());
    EXPECT_EQ(b.GetMinimum(), HVector3(-0.5f, -0.5f, -0.5f));
    EXPECT_EQ(b.GetMaximum(), HVector3(0.5f, 0.5f, 0.5f));
}

TEST(HAxisAlignedBox, CornerOrder) {
    HAxisAlignedBox b(HVector3(1, 2, 3), HVector3(4, 5, 6));
    EXPECT_FALSE(b.IsNull());
    const HVector3* c = b.GetAllCorners();
    EXPECT_EQ(c[0], HVector3(1, 2, 3));
    EXPECT_EQ(c[1], HVector3(1, 5, 3));
    EXPECT_EQ(c[2], HVector3(4, 5, 3));
    EXPECT_EQ(c[3], HVector3(4, 2, 3));
    EXPECT_EQ(c[4], HVector3(4, 5, 6));
    EXPECT_EQ(c[5], HVector3(1, 5, 6));
    EXPECT_EQ(c[6], HVector3(1, 2, 6));
    EXPECT_EQ(c[7], HVector3(4, 2, 6));
}

TEST(HAxisAlignedBox, SettersClearNullAndRecomputeCorners) {
    HAxisAlignedBox b;
    b.SetMinimum(-1, -2, -3);
    EXPECT_FALSE(b.IsNull());
    EXPECT_EQ(b.GetAllCorners()[0], HVector3(-1, -2, -3));
    EXPECT_EQ(b.GetAllCorners()[4], HVector3(0.5f, 0.5f, 0.5f));
    b.SetNull();
    EXPECT_TRUE(b.IsNull());
    b.SetMaximum(7, 8, 9);
    EXPECT_FALSE(b.IsNull());
    EXPECT_EQ(b.GetAllCorners()[4], HVector3(7, 8, 9));
    EXPECT_EQ(b.GetAllCorners()[6], HVector3(-1, -2, 9));
    EXPECT_EQ(b.GetCenter(), HVector3(3, 3, 3));
    EXPECT_EQ(b.GetSize(), HVector3(8, 10, 12));
}

TEST(HAxisAlignedBox, MergePointIntoNullGivesZeroSizeNotNull) {
    HAxisAlignedBox b;
    b.Merge(HVector3(3, 4, 5));
    EXPECT_FALSE(b.IsNull());
    EXPECT_EQ(b.GetMinimum(), HVector3(3, 4, 5));
    EXPECT_EQ(b.GetMaximum(), HVector3(3, 4, 5));
    EXPECT_EQ(b.GetSize(), HVector3(0, 0, 0));
    b.Merge(HVector3(1, 6, 5));
    EXPECT_EQ(b.GetMinimum(), HVector3(1, 4, 5));
    EXPECT_EQ(b.GetMaximum(), HVector3(3, 6, 5));
    EXPECT_EQ(b.GetAllCorners()[2], HVector3(3, 6, 5));
}

TEST(HAxisAlignedBox, MergeBox) {
    HAxisAlignedBox b(0, 0, 0, 1, 1, 1);
    b.Merge(HAxisAlignedBox());  // null: ignored, extents of the null box do not leak in
    EXPECT_EQ(b.GetMinimum(), HVector3(0, 0, 0));
    EXPECT_EQ(b.GetMaximum(), HVector3(1, 1, 1));
    b.Merge(HAxisAlignedBox(-1, 0.5f, 0.5f, 0.5f, 2, 0.5f));
    EXPECT_EQ(b.GetMinimum(), HVector3(-1, 0, 0));
    EXPECT_EQ(b.GetMaximum(), HVector3(1, 2, 1));

    HAxisAlignedBox n;
    n.Merge(HAxisAlignedBox(5, 5, 5, 6, 6, 6));
    EXPECT_FALSE(n.IsNull());
    EXPECT_EQ(n.GetMinimum(), HVector3(5, 5, 5));
    EXPECT_EQ(n.GetMaximum(), HVector3(6, 6, 6));
}

TEST(HAxisAlignedBox, TransformContainsIntersects) {
    HAxisAlignedBox b(0, 0, 0, 1, 2, 3);
    HMatrix4 t;
    t.MakeTrans(HVector3(10, 0, 0));
    b.Transform(t);
    EXPECT_EQ(b.GetMinimum(), HVector3(10, 0, 0));
    EXPECT_EQ(b.GetMaximum(), HVector3(11, 2, 3));
    EXPECT_TRUE(b.Contains(HVector3(11, 2, 3)));
    EXPECT_FALSE(b.Contains(HVector3(9, 1, 1)));
    EXPECT_TRUE(b.Intersects(HAxisAlignedBox(11, 2, 3, 12, 12, 12)));
    EXPECT_FALSE(b.Intersects(HAxisAlignedBox(12, 0, 0, 13, 1, 1)));
    HAxisAlignedBox n;
    n.Transform(t);
    EXPECT_TRUE(n.IsNull());
    EXPECT_FALSE(n.Contains(HVector3(0, 0, 0)));
}
