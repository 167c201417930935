#include <gtest/gtest.h>

#include "math/hmatrix3.h"
#include "math/hmatrix4.h"
#include "math/hplane.h"

namespace {
const HMatrix3 kA(1, 2, 3, 4, 5, 6, 7, 8, 9);

void ExpectNear(const HMatrix4& a, const HMatrix4& b, float tol) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(a.m[r][c], b.m[r][c], tol) << r << "," << c;
}
}  // namespace

TEST(HMatrix3, RowMajorConstructionAndConstants) {
    EXPECT_EQ(sizeof(HMatrix3), 9 * sizeof(float));
    EXPECT_EQ(kA.m[0][1], 2.0f);
    EXPECT_EQ(kA.m[1][0], 4.0f);
    EXPECT_EQ(kA[2][1], 8.0f);
    EXPECT_EQ(reinterpret_cast<const float*>(&kA)[5], 6.0f);
    EXPECT_EQ(HMatrix3::IDENTITY, HMatrix3(1, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_EQ(HMatrix3::ZERO, HMatrix3(0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST(HMatrix3, ColumnsAndAxes) {
    EXPECT_EQ(kA.GetColumn(0), HVector3(1, 4, 7));
    EXPECT_EQ(kA.GetColumn(2), HVector3(3, 6, 9));
    HMatrix3 m = HMatrix3::ZERO;
    m.SetColumn(1, HVector3(1, 2, 3));
    EXPECT_EQ(m, HMatrix3(0, 1, 0, 0, 2, 0, 0, 3, 0));
    m.FromAxes(HVector3(1, 2, 3), HVector3(4, 5, 6), HVector3(7, 8, 9));
    EXPECT_EQ(m, kA.Transpose());
}

TEST(HMatrix3, VectorAsColumnAndAsRow) {
    HVector3 v(1, 0, -1);
    EXPECT_EQ(kA * v, HVector3(-2, -2, -2));
    EXPECT_EQ(v * kA, HVector3(-6, -6, -6));
}

TEST(HMatrix3, Arithmetic) {
    EXPECT_EQ(kA * HMatrix3::IDENTITY, kA);
    EXPECT_EQ(kA * kA, HMatrix3(30, 36, 42, 66, 81, 96, 102, 126, 150));
    HMatrix3 b(0, 1, 0, 0, 0, 1, 1, 0, 0);
    // (A*B)[r][c] = Σ A[r][k]·B[k][c]: B moves the columns of A.
    EXPECT_EQ(kA * b, HMatrix3(3, 1, 2, 6, 4, 5, 9, 7, 8));
    EXPECT_EQ(kA + kA, kA * 2.0f);
    EXPECT_EQ(2.0f * kA, kA * 2.0f);
    EXPECT_EQ(kA - kA, HMatrix3::ZERO);
    EXPECT_EQ(-kA, kA * -1.0f);
    EXPECT_EQ(kA.Transpose(), HMatrix3(1, 4, 7, 2, 5, 8, 3, 6, 9));
}

TEST(HMatrix3, DeterminantAndInverse) {
    EXPECT_EQ(kA.Determinant(), 0.0f);
    HMatrix3 d(2, 0, 0, 0, 4, 0, 0, 0, 8);
    EXPECT_EQ(d.Determinant(), 64.0f);
    HMatrix3 inv = HMatrix3::ZERO;
    ASSERT_TRUE(d.Inverse(inv));
    EXPECT_EQ(inv, HMatrix3(0.5f, 0, 0, 0, 0.25f, 0, 0, 0, 0.125f));

    HMatrix3 untouched(9, 9, 9, 9, 9, 9, 9, 9, 9);
    EXPECT_FALSE(kA.Inverse(untouched));
    EXPECT_EQ(untouched, HMatrix3(9, 9, 9, 9, 9, 9, 9, 9, 9));
    EXPECT_EQ(kA.Inverse(), HMatrix3::ZERO);
    // |det| <= tolerance fails, so a determinant equal to the tolerance is singular.
    EXPECT_FALSE(d.Inverse(untouched, 64.0f));
    EXPECT_TRUE(d.Inverse(untouched, 63.0f));

    HMatrix3 g(2, -1, 0, 1, 3, 2, 0, 1, 4);
    HMatrix3 gi = g.Inverse();
    HMatrix3 p = g * gi;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(p.m[r][c], r == c ? 1.0f : 0.0f, 1e-6f);
}

TEST(HMatrix4, RowMajorConstructionAndRows) {
    HMatrix4 m(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16);
    EXPECT_EQ(sizeof(HMatrix4), 16 * sizeof(float));
    EXPECT_EQ(m[1][0], 5.0f);
    EXPECT_EQ(m[3][2], 15.0f);
    EXPECT_EQ(reinterpret_cast<const float*>(&m)[7], 8.0f);
    m[2][1] = 0.5f;
    EXPECT_EQ(m.m[2][1], 0.5f);
    EXPECT_EQ(HMatrix4::IDENTITY * m, m);
    EXPECT_EQ(HMatrix4::ZERO * 3.0f, HMatrix4::ZERO);
}

TEST(HMatrix4, DeterminantAlongRowZero) {
    HMatrix4 d(1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4);
    EXPECT_EQ(d.Determinant(), 24.0f);
    HMatrix4 m(2, 0, 1, 3, 1, 1, 0, 2, 0, 3, 1, 1, 1, 0, 2, 1);
    EXPECT_FLOAT_EQ(m.Determinant(), -1.0f);
    EXPECT_EQ(m.Minor(1, 2, 3, 1, 2, 3), 1 * (1 * 1 - 2 * 1) - 0 + 2 * (3 * 2 - 0 * 1));
}

TEST(HMatrix4, AdjointAndInverse) {
    EXPECT_EQ(HMatrix4::IDENTITY.Adjoint(), HMatrix4::IDENTITY);
    HMatrix4 d(1, 0, 0, 0, 0, 2, 0, 0, 0, 0, 4, 0, 0, 0, 0, 8);
    EXPECT_EQ(d.Inverse(), HMatrix4(1, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 0.25f, 0, 0, 0, 0, 0.125f));
    HMatrix4 m(2, 0, 1, 3, 1, 1, 0, 2, 0, 3, 1, 1, 1, 0, 2, 1);
    ExpectNear(m * m.Inverse(), HMatrix4::IDENTITY, 1e-5f);
    // Adjoint = Inverse · Determinant.
    ExpectNear(m.Adjoint(), m.Inverse() * m.Determinant(), 1e-4f);
}

TEST(HMatrix4, SingularInverseIsZeroNotNaN) {
    HMatrix4 s(1, 2, 3, 4, 2, 4, 6, 8, 0, 0, 1, 0, 0, 0, 0, 1);
    EXPECT_EQ(s.Determinant(), 0.0f);
    EXPECT_EQ(s.Inverse(), HMatrix4::ZERO);
}

TEST(HMatrix4, ReflectionAboutAPlane) {
    HPlane p(HVector3(0, 0, 1), 5.0f);  // z = 5
    HMatrix4 r = HMatrix4::GetReflectionMatrix(p);
    EXPECT_EQ(r, HMatrix4(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 10, 0, 0, 0, 1));
    EXPECT_EQ(r * HVector3(1, 2, 3), HVector3(1, 2, 7));
    HPlane q(HVector3(1, 0, 0), HVector3(-2, 0, 0));  // x = -2
    EXPECT_EQ(HMatrix4::GetReflectionMatrix(q) * HVector3(1, 1, 1), HVector3(-5, 1, 1));
}

TEST(HMatrix4, TranslationAndVectors) {
    HMatrix4 t;
    t.MakeTrans(HVector3(1, 2, 3));
    EXPECT_EQ(t.GetTrans(), HVector3(1, 2, 3));
    EXPECT_EQ(t * HVector3(1, 1, 1), HVector3(2, 3, 4));
    EXPECT_EQ(t * HVector4(1, 1, 1, 0), HVector4(1, 1, 1, 0));
    EXPECT_EQ(t.Transpose().m[3][0], 1.0f);
    HMatrix4 fromM3(kA);
    EXPECT_EQ(fromM3.Extract3x3(), kA);
    EXPECT_EQ(fromM3.m[3][3], 1.0f);
    EXPECT_EQ(fromM3.m[0][3], 0.0f);
}
