// Misuse of the math types stops the program with the assertion's own expression.
#include <gtest/gtest.h>

#include "math/haxisalignedbox.h"
#include "math/hmatrix3.h"
#include "math/hmatrix4.h"
#include "math/hvector2.h"
#include "math/hvector3.h"
#include "math/hvector4.h"

namespace {
volatile unsigned g_index = 0;
volatile float g_zero = 0.0f;
}  // namespace

TEST(MathAssertDeathTest, Vector3IndexBothForms) {
    g_index = 3;
    HVector3 v(1, 2, 3);
    const HVector3& cv = v;
    EXPECT_DEATH(v[g_index] = 1.0f, "hvector3\\.h:[0-9]+: .*Assertion `i < 3' failed");
    EXPECT_DEATH((void)cv[g_index], "hvector3\\.h:[0-9]+: .*Assertion `i < 3' failed");
}

TEST(MathAssertDeathTest, Vector2And4Index) {
    g_index = 2;
    HVector2 v2(1, 2);
    EXPECT_DEATH((void)v2[g_index], "hvector2\\.h:[0-9]+: .*Assertion `i < 2' failed");
    g_index = 4;
    HVector4 v4(1, 2, 3, 4);
    EXPECT_DEATH((void)v4[g_index], "hvector4\\.h:[0-9]+: .*Assertion `i < 4' failed");
}

TEST(MathAssertDeathTest, Vector3DivisionByZero) {
    HVector3 v(1, 2, 3);
    EXPECT_DEATH((void)(v / g_zero), "hvector3\\.h:[0-9]+: .*Assertion `fScalar != 0\\.0' failed");
    EXPECT_DEATH(v /= g_zero, "hvector3\\.h:[0-9]+: .*Assertion `fScalar != 0\\.0f' failed");
}

TEST(MathAssertDeathTest, Matrix3Column) {
    HMatrix3 m;
    EXPECT_DEATH((void)m.GetColumn(3),
                 "hmatrix3\\.cpp:[0-9]+: .*Assertion `0 <= iCol && iCol < 3' failed");
    EXPECT_DEATH((void)m.GetColumn(-1), "Assertion `0 <= iCol && iCol < 3' failed");
    EXPECT_DEATH(m.SetColumn(3, HVector3::ZERO), "Assertion `0 <= iCol && iCol < 3' failed");
}

TEST(MathAssertDeathTest, Matrix3Row) {
    g_index = 3;
    HMatrix3 m;
    EXPECT_DEATH((void)m[g_index], "hmatrix3\\.h:[0-9]+: .*Assertion `iRow < 3' failed");
}

TEST(MathAssertDeathTest, Matrix4Row) {
    g_index = 4;
    HMatrix4 m;
    const HMatrix4& cm = m;
    EXPECT_DEATH((void)m[g_index], "hmatrix4\\.h:[0-9]+: .*Assertion `iRow < 4' failed");
    EXPECT_DEATH((void)cm[g_index], "Assertion `iRow < 4' failed");
}

TEST(MathAssertDeathTest, CornersOfANullBox) {
    HAxisAlignedBox box;
    EXPECT_DEATH((void)box.GetAllCorners(),
                 "haxisalignedbox\\.h:[0-9]+: .*Assertion `!mNull && \"Can't get corners of a null "
                 "AAB\"' failed");
}

TEST(MathAssert, InRangeUseDoesNotAssert) {
    g_index = 2;
    HVector3 v(1, 2, 3);
    EXPECT_EQ(v[g_index], 3.0f);
    HMatrix4 m;
    g_index = 3;
    EXPECT_EQ(m[g_index][3], 1.0f);
}
