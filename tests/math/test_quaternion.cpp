#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>

#include "math/hmath.h"
#include "math/hquaternion.h"

namespace {
void ExpectQuatNear(const HQuaternion& a, const HQuaternion& b, float tol) {
    EXPECT_NEAR(a.w, b.w, tol);
    EXPECT_NEAR(a.x, b.x, tol);
    EXPECT_NEAR(a.y, b.y, tol);
    EXPECT_NEAR(a.z, b.z, tol);
}

void ExpectVecNear(const HVector3& a, const HVector3& b, float tol) {
    EXPECT_NEAR(a.x, b.x, tol);
    EXPECT_NEAR(a.y, b.y, tol);
    EXPECT_NEAR(a.z, b.z, tol);
}

// Same rotation: q and −q.
void ExpectSameRotation(const HQuaternion& a, const HQuaternion& b, float tol) {
    if (a.Dot(b) < 0.0f)
        ExpectQuatNear(a, -b, tol);
    else
        ExpectQuatNear(a, b, tol);
}

struct RandomQuats {
    std::mt19937 rng{12345};
    std::uniform_real_distribution<float> dist{-1.0f, 1.0f};
    HQuaternion Unit() {
        for (;;) {
            HQuaternion q(dist(rng), dist(rng), dist(rng), dist(rng));
            float n = q.Norm();
            if (n > 0.01f && n <= 1.0f) {
                q.Normalise();
                return q;
            }
        }
    }
    HVector3 Vec() { return HVector3(dist(rng) * 10, dist(rng) * 10, dist(rng) * 10); }
};

const float kS45 = std::sqrt(0.5f);
}  // namespace

TEST(HQuaternion, WIsStoredFirst) {
    EXPECT_EQ(sizeof(HQuaternion), 4 * sizeof(float));
    EXPECT_EQ(offsetof(HQuaternion, w), 0u);
    EXPECT_EQ(offsetof(HQuaternion, x), sizeof(float));
    EXPECT_EQ(offsetof(HQuaternion, z), 3 * sizeof(float));
    HQuaternion q(1, 2, 3, 4);
    EXPECT_EQ(q.w, 1.0f);
    EXPECT_EQ(q.z, 4.0f);
    EXPECT_EQ(HQuaternion::IDENTITY, HQuaternion(1, 0, 0, 0));
    EXPECT_EQ(HQuaternion::ZERO, HQuaternion(0, 0, 0, 0));
}

TEST(HQuaternion, HamiltonProduct) {
    HQuaternion i(0, 1, 0, 0), j(0, 0, 1, 0), k(0, 0, 0, 1);
    EXPECT_EQ(i * j, k);
    EXPECT_EQ(j * k, i);
    EXPECT_EQ(k * i, j);
    EXPECT_EQ(j * i, -k);
    EXPECT_EQ(i * i, HQuaternion(-1, 0, 0, 0));
    HQuaternion p(1, 2, 3, 4), q(5, 6, 7, 8);
    // w = 5−12−21−32, x = 6+10+24−28, y = 7+15+24−16, z = 8+20+14−18.
    EXPECT_EQ(p * q, HQuaternion(-60, 12, 30, 24));
}

TEST(HQuaternion, ArithmeticDotNorm) {
    HQuaternion p(1, 2, 3, 4), q(5, 6, 7, 8);
    EXPECT_EQ(p + q, HQuaternion(6, 8, 10, 12));
    EXPECT_EQ(q - p, HQuaternion(4, 4, 4, 4));
    EXPECT_EQ(p * 2.0f, HQuaternion(2, 4, 6, 8));
    EXPECT_EQ(2.0f * p, HQuaternion(2, 4, 6, 8));
    EXPECT_EQ(-p, HQuaternion(-1, -2, -3, -4));
    EXPECT_EQ(p.Dot(q), 70.0f);
    EXPECT_EQ(p.Norm(), 30.0f);
    HQuaternion n(0, 3, 0, 4);
    EXPECT_EQ(n.Normalise(), 25.0f);
    EXPECT_EQ(n, HQuaternion(0, 0.6f, 0, 0.8f));
    EXPECT_FALSE(HQuaternion(1, 0, 0, 0) == HQuaternion(1, 0, 0, 1e-7f));
}

TEST(HQuaternion, InverseAndUnitInverse) {
    HQuaternion p(1, 2, 3, 4);
    EXPECT_EQ(p.UnitInverse(), HQuaternion(1, -2, -3, -4));
    HQuaternion inv = p.Inverse();
    ExpectQuatNear(inv, HQuaternion(1.0f / 30, -2.0f / 30, -3.0f / 30, -4.0f / 30), 1e-7f);
    ExpectQuatNear(p * inv, HQuaternion::IDENTITY, 1e-6f);
}

TEST(HQuaternion, InverseOfZeroIsZero) {
    EXPECT_EQ(HQuaternion::ZERO.Inverse(), HQuaternion::ZERO);
}

TEST(HQuaternion, NormaliseOfZeroStaysZero) {
    HQuaternion q = HQuaternion::ZERO;
    EXPECT_EQ(q.Normalise(), 0.0f);
    EXPECT_EQ(q, HQuaternion::ZERO);
}

TEST(HQuaternion, AngleAxis) {
    HQuaternion q;
    q.FromAngleAxis(HMath::HALF_PI, HVector3::UNIT_Z);
    EXPECT_FLOAT_EQ(q.w, std::cos(HMath::PI / 4));
    EXPECT_EQ(q.x, 0.0f);
    EXPECT_FLOAT_EQ(q.z, std::sin(HMath::PI / 4));
    ExpectVecNear(q * HVector3(1, 0, 0), HVector3(0, 1, 0), 1e-6f);

    float angle = -1;
    HVector3 axis;
    q.ToAngleAxis(angle, axis);
    EXPECT_NEAR(angle, HMath::HALF_PI, 1e-6f);
    ExpectVecNear(axis, HVector3::UNIT_Z, 1e-6f);

    HQuaternion::IDENTITY.ToAngleAxis(angle, axis);
    EXPECT_EQ(angle, 0.0f);
    EXPECT_EQ(axis, HVector3(1, 0, 0));
}

TEST(HQuaternion, RotationMatrixRowsAndAxes) {
    HQuaternion q(0.5f, 0.5f, 0.5f, 0.5f);  // 120° about (1, 1, 1)
    HMatrix3 m = q.ToRotationMatrix();
    // Rows by the written formula; this rotation cycles x→y→z→x.
    EXPECT_EQ(m, HMatrix3(0, 0, 1, 1, 0, 0, 0, 1, 0));
    EXPECT_EQ(q.xAxis(), m.GetColumn(0));
    EXPECT_EQ(q.yAxis(), m.GetColumn(1));
    EXPECT_EQ(q.zAxis(), m.GetColumn(2));
    HVector3 ax, ay, az;
    q.ToAxes(ax, ay, az);
    EXPECT_EQ(ax, HVector3(0, 1, 0));
    EXPECT_EQ(ay, HVector3(0, 0, 1));
    EXPECT_EQ(az, HVector3(1, 0, 0));
    HQuaternion r;
    r.FromAxes(ax, ay, az);
    EXPECT_EQ(r, q);
    EXPECT_EQ(q * HVector3(1, 0, 0), HVector3(0, 1, 0));
}

TEST(HQuaternion, FromRotationMatrixHalfTurns) {
    // Trace −1: the greatest-diagonal branch, exact.
    HQuaternion q;
    q.FromRotationMatrix(HMatrix3(1, 0, 0, 0, -1, 0, 0, 0, -1));
    EXPECT_EQ(q, HQuaternion(0, 1, 0, 0));
    q.FromRotationMatrix(HMatrix3(-1, 0, 0, 0, 1, 0, 0, 0, -1));
    EXPECT_EQ(q, HQuaternion(0, 0, 1, 0));
    q.FromRotationMatrix(HMatrix3(-1, 0, 0, 0, -1, 0, 0, 0, 1));
    EXPECT_EQ(q, HQuaternion(0, 0, 0, 1));
}

TEST(HQuaternion, FromRotationMatrixTiesKeepTheLowerIndex) {
    // m[1][1] equals m[0][0]: index 1 is taken only when strictly greater, so i = 0,
    // root = √(0 − 0 + 1 + 1).
    HQuaternion q;
    q.FromRotationMatrix(HMatrix3(0, 0, 0, 0, 0, 0, 0, 0, -1));
    EXPECT_FLOAT_EQ(q.x, std::sqrt(2.0f) / 2);
    EXPECT_EQ(q.y, 0.0f);
    EXPECT_EQ(q.z, 0.0f);
    EXPECT_EQ(q.w, 0.0f);
    // m[2][2] equal to the current greatest does not replace it either.
    q.FromRotationMatrix(HMatrix3(-1, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_FLOAT_EQ(q.y, std::sqrt(2.0f) / 2);
    EXPECT_EQ(q.z, 0.0f);
}

TEST(HQuaternion, FromRotationMatrixWithNaNsDoesNotDivideByZero) {
    float nan = std::nanf("");
    HQuaternion q;
    q.FromRotationMatrix(HMatrix3(nan, 0, 0, 0, nan, 0, 0, 0, nan));
    EXPECT_EQ(q, HQuaternion(0, 1, 0, 0));
}

TEST(HQuaternion, PropertyMatrixRoundTripAndRotation) {
    RandomQuats gen;
    for (int n = 0; n < 500; ++n) {
        HQuaternion q = gen.Unit();
        HMatrix3 m = q.ToRotationMatrix();
        HQuaternion back(m);
        ExpectSameRotation(back, q, 2e-5f);

        HVector3 v = gen.Vec();
        ExpectVecNear(q * v, m * v, 1e-4f);
        // q·v·q⁻¹ with the Hamilton product.
        HQuaternion pv = q * HQuaternion(0, v.x, v.y, v.z) * q.Inverse();
        ExpectVecNear(q * v, HVector3(pv.x, pv.y, pv.z), 1e-4f);
        EXPECT_NEAR((q * v).Length(), v.Length(), 1e-4f);

        ExpectQuatNear(q * q.Inverse(), HQuaternion::IDENTITY, 1e-6f);
        ExpectQuatNear(q.Inverse(), q.UnitInverse(), 1e-6f);
        EXPECT_NEAR(m.Determinant(), 1.0f, 1e-5f);

        HQuaternion r = gen.Unit();
        // Composition: (q·r)·v = q·(r·v).
        ExpectVecNear((q * r) * v, q * (r * v), 2e-4f);
        EXPECT_NEAR((q * r).Norm(), 1.0f, 1e-5f);

        float angle;
        HVector3 axis;
        q.ToAngleAxis(angle, axis);
        HQuaternion aa(angle, axis);
        ExpectSameRotation(aa, q, 1e-4f);
    }
}

TEST(HQuaternion, ExpAndLog) {
    float theta = 0.8f;
    HQuaternion q(std::cos(theta / 2), 0, 0, std::sin(theta / 2));
    HQuaternion l = q.Log();
    EXPECT_EQ(l.w, 0.0f);
    EXPECT_NEAR(l.z, theta / 2, 1e-6f);
    ExpectQuatNear(l.Exp(), q, 1e-6f);

    // Identity: |w| is not below 1, the vector part is copied.
    EXPECT_EQ(HQuaternion::IDENTITY.Log(), HQuaternion(0, 0, 0, 0));
    EXPECT_EQ(HQuaternion(0, 0, 0, 0).Exp(), HQuaternion(1, 0, 0, 0));
    // A sine below 0.001 keeps the vector part as it is.
    HQuaternion small(0, 0, 0, 1e-4f);
    HQuaternion e = small.Exp();
    EXPECT_EQ(e.z, 1e-4f);
    EXPECT_EQ(e.w, std::cos(1e-4f));

    RandomQuats gen;
    for (int n = 0; n < 200; ++n) {
        HQuaternion r = gen.Unit();
        if (std::fabs(r.w) > 0.999f) continue;
        ExpectQuatNear(r.Log().Exp(), r, 1e-4f);
    }
}

TEST(HQuaternion, SlerpOfEqualQuaternionsReturnsTheFirstUnchanged) {
    HQuaternion p(0.5f, 0.5f, 0.5f, 0.5f);
    EXPECT_EQ(HQuaternion::Slerp(0.3f, p, p), p);
    EXPECT_EQ(HQuaternion::Slerp(0.3f, p, p, true), p);
    // Closer than 0.001 rad: still exactly the first, not a blend.
    HQuaternion q(std::cos(0.0002f), std::sin(0.0002f), 0, 0);
    EXPECT_EQ(HQuaternion::Slerp(0.9f, HQuaternion::IDENTITY, q), HQuaternion::IDENTITY);
}

TEST(HQuaternion, SlerpEndsAndMiddle) {
    HQuaternion p = HQuaternion::IDENTITY;
    HQuaternion q(HMath::HALF_PI, HVector3::UNIT_Z);
    ExpectQuatNear(HQuaternion::Slerp(0.0f, p, q), p, 1e-6f);
    ExpectQuatNear(HQuaternion::Slerp(1.0f, p, q), q, 1e-6f);
    HQuaternion mid(HMath::PI / 4, HVector3::UNIT_Z);
    ExpectQuatNear(HQuaternion::Slerp(0.5f, p, q), mid, 1e-6f);
}

TEST(HQuaternion, SlerpShortestPathNegatesTheFirstCoefficientAndNormalises) {
    HQuaternion p = HQuaternion::IDENTITY;
    HQuaternion q(-kS45, 0, 0, -kS45);  // 90° about z, on the far hemisphere
    // Long way: the sum as it stands, (c0 + c1·(−√½), 0, 0, −c1·√½), c0 = c1 = sin(3π/8)/sin(3π/4).
    HQuaternion longWay = HQuaternion::Slerp(0.5f, p, q, false);
    EXPECT_NEAR(longWay.w, 0.3826834f, 1e-5f);
    EXPECT_NEAR(longWay.z, -0.9238795f, 1e-5f);
    // Short way: −c0 for p, then normalised: −(45° about z).
    HQuaternion shortWay = HQuaternion::Slerp(0.5f, p, q, true);
    EXPECT_NEAR(shortWay.w, -0.9238795f, 1e-5f);
    EXPECT_NEAR(shortWay.z, -0.3826834f, 1e-5f);
    EXPECT_NEAR(shortWay.Norm(), 1.0f, 1e-6f);
}

TEST(HQuaternion, SlerpOfOppositeQuaternionsWithShortestPathIsUnit) {
    HQuaternion p = HQuaternion::IDENTITY;
    HQuaternion r = HQuaternion::Slerp(0.25f, p, -p, true);
    EXPECT_TRUE(std::isfinite(r.w));
    EXPECT_NEAR(r.Norm(), 1.0f, 1e-5f);
    EXPECT_NEAR(std::fabs(r.w), 1.0f, 1e-5f);
}

TEST(HQuaternion, SlerpWithoutShortestPathIsNotNormalised) {
    // Two non-unit inputs: the long branch returns the weighted sum itself.
    HQuaternion p(2, 0, 0, 0), q(2, 0, 0, 0.5f);
    // c = 4 ≥ 1: ACos gives 0, so p comes back.
    EXPECT_EQ(HQuaternion::Slerp(0.5f, p, q), p);
    HQuaternion a(0.6f, 0, 0, 0), b(0, 0, 0, 0.6f);  // c = 0, angle π/2
    HQuaternion s = HQuaternion::Slerp(0.5f, a, b);
    EXPECT_NEAR(s.w, 0.6f * kS45, 1e-6f);
    EXPECT_NEAR(s.z, 0.6f * kS45, 1e-6f);
    EXPECT_NEAR(s.Norm(), 0.36f, 1e-6f);
}

TEST(HQuaternion, SlerpExtraSpins) {
    HQuaternion p = HQuaternion::IDENTITY;
    HQuaternion q(HMath::HALF_PI, HVector3::UNIT_Z);
    ExpectQuatNear(HQuaternion::SlerpExtraSpins(0.3f, p, q, 0), HQuaternion::Slerp(0.3f, p, q),
                   1e-6f);
    // One spin, t = 0.5: phase π/2, so the coefficients are ∓sin(3π/8)/sin(π/4).
    HQuaternion s = HQuaternion::SlerpExtraSpins(0.5f, p, q, 1);
    EXPECT_NEAR(s.w, -0.3826834f, 1e-5f);
    EXPECT_NEAR(s.z, 0.9238795f, 1e-5f);
    EXPECT_EQ(HQuaternion::SlerpExtraSpins(0.5f, p, p, 3), p);
}

TEST(HQuaternion, Nlerp) {
    HQuaternion r = HQuaternion::Nlerp(0.5f, HQuaternion::IDENTITY, HQuaternion(0, 0, 0, 1));
    EXPECT_FLOAT_EQ(r.w, kS45);
    EXPECT_FLOAT_EQ(r.z, kS45);
    EXPECT_EQ(r.x, 0.0f);
    EXPECT_EQ(HQuaternion::Nlerp(0.0f, HQuaternion(2, 0, 0, 0), HQuaternion(0, 1, 0, 0)),
              HQuaternion::IDENTITY);
}

TEST(HQuaternion, SquadAndIntermediate) {
    HQuaternion p = HQuaternion::IDENTITY;
    HQuaternion q(HMath::HALF_PI, HVector3::UNIT_Z);
    HQuaternion a(0.3f, HVector3::UNIT_X), b(0.2f, HVector3::UNIT_Y);
    ExpectQuatNear(HQuaternion::Squad(0.0f, p, a, b, q), p, 1e-6f);
    ExpectQuatNear(HQuaternion::Squad(1.0f, p, a, b, q), q, 1e-6f);
    // With the control points on the path, Squad is Slerp.
    ExpectQuatNear(HQuaternion::Squad(0.4f, p, p, q, q), HQuaternion::Slerp(0.4f, p, q), 1e-2f);
    ExpectQuatNear(HQuaternion::Squad(0.4f, p, p, p, p), p, 0.0f);

    // Equal steps about one axis: the logs cancel and both control points are q1.
    HQuaternion q0 = HQuaternion::IDENTITY;
    HQuaternion q1(0.5f, HVector3::UNIT_Z), q2(1.0f, HVector3::UNIT_Z);
    HQuaternion ca, cb;
    HQuaternion::Intermediate(q0, q1, q2, ca, cb);
    ExpectQuatNear(ca, q1, 1e-6f);
    ExpectQuatNear(cb, q1, 1e-6f);

    // In general a = q1·Exp(k) and b = q1·Exp(−k), so (q1⁻¹a)(q1⁻¹b) is the identity.
    HQuaternion r2(HMath::HALF_PI, HVector3::UNIT_X);
    HQuaternion::Intermediate(q0, q1, r2, ca, cb);
    EXPECT_GT(std::fabs(ca.Dot(q1) - 1.0f), 1e-4f);
    ExpectQuatNear((q1.UnitInverse() * ca) * (q1.UnitInverse() * cb), HQuaternion::IDENTITY, 1e-6f);
    EXPECT_NEAR(ca.Norm(), 1.0f, 1e-6f);
}

TEST(HQuaternion, PropertySlerpStaysOnTheUnitSphere) {
    RandomQuats gen;
    for (int n = 0; n < 300; ++n) {
        HQuaternion p = gen.Unit(), q = gen.Unit();
        float t = (n % 11) / 10.0f;
        HQuaternion s = HQuaternion::Slerp(t, p, q, true);
        EXPECT_NEAR(s.Norm(), 1.0f, 1e-4f);
        HQuaternion nl = HQuaternion::Nlerp(t, p, q);
        if ((1 - t) * (1 - t) + t * t + 2 * t * (1 - t) * p.Dot(q) > 1e-3f) {
            EXPECT_NEAR(nl.Norm(), 1.0f, 1e-5f);
        }
    }
}
