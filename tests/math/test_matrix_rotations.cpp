#include <gtest/gtest.h>

#include <random>

#include "math/hmath.h"
#include "math/hmatrix3.h"
#include "math/hquaternion.h"

namespace {
void ExpectMatNear(const HMatrix3& a, const HMatrix3& b, float tol) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(a.m[r][c], b.m[r][c], tol) << r << "," << c;
}

HMatrix3 Axis(const HVector3& axis, float angle) {
    HMatrix3 m;
    m.FromAxisAngle(axis, angle);
    return m;
}

using FromFn = void (HMatrix3::*)(float, float, float);
using ToFn = bool (HMatrix3::*)(float&, float&, float&) const;
struct Order {
    const char* name;
    FromFn from;
    ToFn to;
    HVector3 axes[3];
};
const Order kOrders[6] = {
    {"XYZ",
     &HMatrix3::FromEulerAnglesXYZ,
     &HMatrix3::ToEulerAnglesXYZ,
     {HVector3::UNIT_X, HVector3::UNIT_Y, HVector3::UNIT_Z}},
    {"XZY",
     &HMatrix3::FromEulerAnglesXZY,
     &HMatrix3::ToEulerAnglesXZY,
     {HVector3::UNIT_X, HVector3::UNIT_Z, HVector3::UNIT_Y}},
    {"YXZ",
     &HMatrix3::FromEulerAnglesYXZ,
     &HMatrix3::ToEulerAnglesYXZ,
     {HVector3::UNIT_Y, HVector3::UNIT_X, HVector3::UNIT_Z}},
    {"YZX",
     &HMatrix3::FromEulerAnglesYZX,
     &HMatrix3::ToEulerAnglesYZX,
     {HVector3::UNIT_Y, HVector3::UNIT_Z, HVector3::UNIT_X}},
    {"ZXY",
     &HMatrix3::FromEulerAnglesZXY,
     &HMatrix3::ToEulerAnglesZXY,
     {HVector3::UNIT_Z, HVector3::UNIT_X, HVector3::UNIT_Y}},
    {"ZYX",
     &HMatrix3::FromEulerAnglesZYX,
     &HMatrix3::ToEulerAnglesZYX,
     {HVector3::UNIT_Z, HVector3::UNIT_Y, HVector3::UNIT_X}},
};
}  // namespace

TEST(HMatrix3Rotation, AxisAngleMatchesTheQuaternion) {
    HMatrix3 m = Axis(HVector3::UNIT_Z, HMath::HALF_PI);
    ExpectMatNear(m, HMatrix3(0, -1, 0, 1, 0, 0, 0, 0, 1), 1e-6f);
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    for (int n = 0; n < 100; ++n) {
        HVector3 axis(d(rng), d(rng), d(rng));
        if (axis.Normalise() < 0.1f) continue;
        float angle = d(rng) * HMath::PI;
        ExpectMatNear(Axis(axis, angle), HQuaternion(angle, axis).ToRotationMatrix(), 1e-5f);

        HVector3 backAxis;
        float backAngle;
        Axis(axis, angle).ToAxisAngle(backAxis, backAngle);
        if (angle < 0) {
            angle = -angle;
            axis = -axis;
        }
        EXPECT_NEAR(backAngle, angle, 1e-3f);
        if (angle > 1e-2f) {
            EXPECT_NEAR(backAxis.x, axis.x, 1e-3f);
            EXPECT_NEAR(backAxis.y, axis.y, 1e-3f);
            EXPECT_NEAR(backAxis.z, axis.z, 1e-3f);
        }
    }
    HVector3 axis;
    float angle = -1.0f;
    HMatrix3::IDENTITY.ToAxisAngle(axis, angle);
    EXPECT_EQ(angle, 0.0f);
    EXPECT_EQ(axis, HVector3(1, 0, 0));
}

TEST(HMatrix3Rotation, EulerIsTheProductInTheOrderOfTheName) {
    for (const Order& o : kOrders) {
        HMatrix3 m;
        (m.*o.from)(0.3f, -0.5f, 1.1f);
        HMatrix3 expect = Axis(o.axes[0], 0.3f) * Axis(o.axes[1], -0.5f) * Axis(o.axes[2], 1.1f);
        SCOPED_TRACE(o.name);
        ExpectMatNear(m, expect, 1e-6f);
    }
}

TEST(HMatrix3Rotation, EulerRoundTrip) {
    std::mt19937 rng(6);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    for (const Order& o : kOrders) {
        SCOPED_TRACE(o.name);
        for (int n = 0; n < 100; ++n) {
            float a0 = d(rng) * 3.1f, a1 = d(rng) * 1.5f, a2 = d(rng) * 3.1f;
            HMatrix3 m;
            (m.*o.from)(a0, a1, a2);
            float b0, b1, b2;
            ASSERT_TRUE((m.*o.to)(b0, b1, b2));
            EXPECT_NEAR(b0, a0, 1e-3f);
            EXPECT_NEAR(b1, a1, 1e-3f);
            EXPECT_NEAR(b2, a2, 1e-3f);
        }
    }
}

TEST(HMatrix3Rotation, EulerGimbalLockIsNotUniqueButStillRebuilds) {
    for (const Order& o : kOrders) {
        SCOPED_TRACE(o.name);
        for (float middle : {HMath::HALF_PI, -HMath::HALF_PI}) {
            HMatrix3 m;
            (m.*o.from)(0.4f, middle, 0.7f);
            float b0, b1, b2;
            EXPECT_FALSE((m.*o.to)(b0, b1, b2));
            EXPECT_EQ(b2, 0.0f);
            EXPECT_NEAR(b1, middle, 1e-3f);
            HMatrix3 back;
            (back.*o.from)(b0, b1, b2);
            ExpectMatNear(back, m, 1e-3f);
        }
    }
}

TEST(HMatrix3Rotation, Orthonormalise) {
    HMatrix3 m(1, 0.1f, 0, 0, 1, 0.2f, 0.05f, 0, 2);
    m.Orthonormalise();
    HMatrix3 p = m.Transpose() * m;
    ExpectMatNear(p, HMatrix3::IDENTITY, 1e-6f);
    EXPECT_NEAR(m.GetColumn(0).x, 1.0f / std::sqrt(1.0025f), 1e-6f);
    HMatrix3 z = HMatrix3::ZERO;
    z.Orthonormalise();
    EXPECT_EQ(z, HMatrix3::ZERO);
}
