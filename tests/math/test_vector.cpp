#include <gtest/gtest.h>

#include <cstddef>

#include "math/hvector2.h"
#include "math/hvector3.h"
#include "math/hvector4.h"

TEST(HVector, FieldLayoutIsPlainFloatsInOrder) {
    EXPECT_EQ(sizeof(HVector2), 2 * sizeof(float));
    EXPECT_EQ(sizeof(HVector3), 3 * sizeof(float));
    EXPECT_EQ(sizeof(HVector4), 4 * sizeof(float));
    EXPECT_EQ(offsetof(HVector3, x), 0u);
    EXPECT_EQ(offsetof(HVector3, y), sizeof(float));
    EXPECT_EQ(offsetof(HVector3, z), 2 * sizeof(float));
    EXPECT_EQ(offsetof(HVector4, w), 3 * sizeof(float));
}

TEST(HVector3, ConstructionAndConstants) {
    HVector3 v;
    EXPECT_EQ(v, HVector3(0, 0, 0));
    EXPECT_EQ(HVector3::ZERO, HVector3(0, 0, 0));
    EXPECT_EQ(HVector3::UNIT_X, HVector3(1, 0, 0));
    EXPECT_EQ(HVector3::UNIT_Y, HVector3(0, 1, 0));
    EXPECT_EQ(HVector3::UNIT_Z, HVector3(0, 0, 1));
    const float a[3] = {4, 5, 6};
    EXPECT_EQ(HVector3(a), HVector3(4, 5, 6));
}

TEST(HVector3, Arithmetic) {
    HVector3 a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a + b, HVector3(5, 7, 9));
    EXPECT_EQ(b - a, HVector3(3, 3, 3));
    EXPECT_EQ(-a, HVector3(-1, -2, -3));
    EXPECT_EQ(a * 2.0f, HVector3(2, 4, 6));
    EXPECT_EQ(2.0f * a, HVector3(2, 4, 6));
    EXPECT_EQ(HVector3(2, 4, 8) / 2.0f, HVector3(1, 2, 4));
    EXPECT_EQ(a * b, HVector3(4, 10, 18));

    HVector3 c = a;
    c += b;
    EXPECT_EQ(c, HVector3(5, 7, 9));
    c -= a;
    EXPECT_EQ(c, b);
    c *= 0.5f;
    EXPECT_EQ(c, HVector3(2, 2.5f, 3));
    c /= 0.5f;
    EXPECT_EQ(c, b);
}

TEST(HVector3, DivisionMultipliesByTheReciprocal) {
    // x / 3 and x * (1/3) differ in the last bit for some x; the vector uses the latter.
    float fInv = 1.0f / 3.0f;
    HVector3 v = HVector3(10, 7, 1) / 3.0f;
    EXPECT_EQ(v.x, 10.0f * fInv);
    EXPECT_EQ(v.y, 7.0f * fInv);
    HVector3 w(10, 7, 1);
    w /= 3.0f;
    EXPECT_EQ(w, v);
}

TEST(HVector3, Index) {
    HVector3 v(7, 8, 9);
    EXPECT_EQ(v[0], 7);
    EXPECT_EQ(v[1], 8);
    EXPECT_EQ(v[2], 9);
    v[1] = 3;
    EXPECT_EQ(v.y, 3);
    const HVector3& cv = v;
    EXPECT_EQ(cv[2], 9);
}

TEST(HVector3, DotCrossLength) {
    HVector3 a(1, 2, 3), b(4, 5, 6);
    EXPECT_EQ(a.Dot(b), 32.0f);
    EXPECT_EQ(a.Cross(b), HVector3(-3, 6, -3));
    EXPECT_EQ(HVector3::UNIT_X.Cross(HVector3::UNIT_Y), HVector3::UNIT_Z);
    EXPECT_EQ(HVector3(3, 4, 12).Length(), 13.0f);
    EXPECT_EQ(HVector3(3, 4, 12).SquaredLength(), 169.0f);
}

TEST(HVector3, NormaliseReturnsOldLength) {
    HVector3 v(3, 4, 0);
    EXPECT_EQ(v.Normalise(), 5.0f);
    EXPECT_FLOAT_EQ(v.x, 0.6f);
    EXPECT_FLOAT_EQ(v.y, 0.8f);
    EXPECT_EQ(v.z, 0.0f);
}

TEST(HVector3, NormaliseOfZeroChangesNothingAndReturnsZero) {
    HVector3 v(0, 0, 0);
    EXPECT_EQ(v.Normalise(), 0.0f);
    EXPECT_EQ(v, HVector3(0, 0, 0));
}

TEST(HVector3, NormaliseLeavesVeryShortVectorsAlone) {
    HVector3 v(5e-7f, 0, 0);
    EXPECT_EQ(v.Normalise(), 5e-7f);
    EXPECT_EQ(v, HVector3(5e-7f, 0, 0));
    HVector3 w(2e-6f, 0, 0);
    EXPECT_EQ(w.Normalise(), 2e-6f);
    EXPECT_FLOAT_EQ(w.x, 1.0f);
}

TEST(HVector3, ComparisonsHoldOnlyForAllComponentsStrictly) {
    HVector3 lo(0, 0, 0), hi(1, 1, 1);
    EXPECT_TRUE(lo < hi);
    EXPECT_TRUE(hi > lo);
    EXPECT_FALSE(HVector3(0, 1, 0) < hi);
    EXPECT_FALSE(HVector3(0.5f, 0.5f, 2) < hi);
    EXPECT_FALSE(HVector3(1, 2, 2) > hi);
    EXPECT_FALSE(lo < lo);
}

TEST(HVector3, FloorAndCeil) {
    HVector3 v(1, 5, 3);
    v.MakeFloor(HVector3(2, 4, 3));
    EXPECT_EQ(v, HVector3(1, 4, 3));
    v.MakeCeil(HVector3(0, 6, -1));
    EXPECT_EQ(v, HVector3(1, 6, 3));
}

TEST(HVector3, Helpers) {
    EXPECT_EQ(HVector3(1, 2, 3).MidPoint(HVector3(3, 4, 5)), HVector3(2, 3, 4));
    EXPECT_EQ(HVector3(0, 0, 5).Distance(HVector3(3, 4, 5)), 5.0f);
    EXPECT_EQ(HVector3(1, -1, 0).Reflect(HVector3::UNIT_Y), HVector3(1, 1, 0));
    EXPECT_EQ(HVector3(0, 0, 2).NormalisedCopy(), HVector3::UNIT_Z);
}

TEST(HVector2, Arithmetic) {
    HVector2 a(1, 2), b(3, 5);
    EXPECT_EQ(a + b, HVector2(4, 7));
    EXPECT_EQ(b - a, HVector2(2, 3));
    EXPECT_EQ(-a, HVector2(-1, -2));
    EXPECT_EQ(a * 3.0f, HVector2(3, 6));
    EXPECT_EQ(3.0f * a, HVector2(3, 6));
    EXPECT_EQ(HVector2(4, 8) / 4.0f, HVector2(1, 2));
    HVector2 c = a;
    c += b;
    c -= HVector2(1, 1);
    c *= 2.0f;
    EXPECT_EQ(c, HVector2(6, 12));
    c /= 2.0f;
    EXPECT_EQ(c, HVector2(3, 6));
    EXPECT_EQ(c[0], 3);
    EXPECT_EQ(c[1], 6);
    EXPECT_EQ(a.Dot(b), 13.0f);
    EXPECT_EQ(HVector2(3, 4).Length(), 5.0f);
    HVector2 z;
    EXPECT_EQ(z.Normalise(), 0.0f);
    EXPECT_EQ(z, HVector2(0, 0));
}

TEST(HVector4, FieldsAndIndex) {
    HVector4 v(1, 2, 3, 4);
    EXPECT_EQ(v[0], 1);
    EXPECT_EQ(v[1], 2);
    EXPECT_EQ(v[2], 3);
    EXPECT_EQ(v[3], 4);
    v[3] = 9;
    EXPECT_EQ(v.w, 9);
    EXPECT_EQ(HVector4(HVector3(1, 2, 3)), HVector4(1, 2, 3, 1));
}
