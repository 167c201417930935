#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "math/hmath.h"

TEST(HMath, Constants) {
    EXPECT_EQ(HMath::PI, static_cast<float>(4.0 * std::atan(1.0)));
    EXPECT_EQ(HMath::TWO_PI, 2.0f * HMath::PI);
    EXPECT_EQ(HMath::HALF_PI, 0.5f * HMath::PI);
    EXPECT_EQ(HMath::fDeg2Rad, HMath::PI / 180.0f);
    EXPECT_EQ(HMath::fRad2Deg, 180.0f / HMath::PI);
}

TEST(HMath, ACosClampsTheEnds) {
    EXPECT_EQ(HMath::ACos(-1.0f), HMath::PI);
    EXPECT_EQ(HMath::ACos(-7.0f), HMath::PI);
    EXPECT_EQ(HMath::ACos(1.0f), 0.0f);
    EXPECT_EQ(HMath::ACos(1.5f), 0.0f);
    EXPECT_EQ(HMath::ACos(0.5f), std::acos(0.5f));
}

TEST(HMath, ASinEndsCarryTheOppositeSign) {
    EXPECT_EQ(HMath::ASin(-1.0f), HMath::HALF_PI);
    EXPECT_EQ(HMath::ASin(-3.0f), HMath::HALF_PI);
    EXPECT_EQ(HMath::ASin(1.0f), -HMath::HALF_PI);
    EXPECT_EQ(HMath::ASin(2.0f), -HMath::HALF_PI);
    EXPECT_EQ(HMath::ASin(0.5f), std::asin(0.5f));
    EXPECT_EQ(HMath::ASin(-0.5f), std::asin(-0.5f));
}

TEST(HMath, StandardFunctions) {
    EXPECT_EQ(HMath::Abs(-2.5f), 2.5f);
    EXPECT_EQ(HMath::Sqrt(16.0f), 4.0f);
    EXPECT_EQ(HMath::InvSqrt(16.0f), 0.25f);
    EXPECT_EQ(HMath::Sin(0.3f), std::sin(0.3f));
    EXPECT_EQ(HMath::Cos(0.3f), std::cos(0.3f));
    EXPECT_EQ(HMath::Tan(0.3f), std::tan(0.3f));
    EXPECT_EQ(HMath::ATan2(1.0f, -1.0f), std::atan2(1.0f, -1.0f));
}

TEST(HMath, Sign) {
    EXPECT_EQ(HMath::Sign(-0.1f), -1.0f);
    EXPECT_EQ(HMath::Sign(0.0f), 0.0f);
    EXPECT_EQ(HMath::Sign(42.0f), 1.0f);
}

TEST(HMath, FloatEqualIsStrictOnBothSides) {
    EXPECT_TRUE(HMath::FloatEqual(1.0f, 1.25f, 0.5f));
    EXPECT_FALSE(HMath::FloatEqual(1.0f, 1.5f, 0.5f));
    EXPECT_FALSE(HMath::FloatEqual(1.0f, 0.5f, 0.5f));
    EXPECT_FALSE(HMath::FloatEqual(1.0f, 1.0f, 0.0f));
    EXPECT_TRUE(HMath::FloatEqual(1.0f, 1.0f));
}

TEST(HMath, PointInTri2DEitherWinding) {
    // Counter-clockwise and clockwise versions of the same triangle.
    EXPECT_TRUE(HMath::PointInTri2D(1, 1, 0, 0, 4, 0, 0, 4));
    EXPECT_TRUE(HMath::PointInTri2D(1, 1, 0, 0, 0, 4, 4, 0));
    EXPECT_FALSE(HMath::PointInTri2D(3, 3, 0, 0, 4, 0, 0, 4));
    EXPECT_FALSE(HMath::PointInTri2D(3, 3, 0, 0, 0, 4, 4, 0));
    EXPECT_FALSE(HMath::PointInTri2D(-1, 1, 0, 0, 4, 0, 0, 4));
    EXPECT_FALSE(HMath::PointInTri2D(1, -0.5f, 0, 0, 4, 0, 0, 4));
    // On an edge of the counter-clockwise triangle: zero falls with the positive side.
    EXPECT_TRUE(HMath::PointInTri2D(2, 0, 0, 0, 4, 0, 0, 4));
}

TEST(HMath, AngleUnits) {
    ASSERT_EQ(HMath::AngleUnit, 0);
    EXPECT_EQ(HMath::AngleUnitsToRadians(180.0f), 180.0f * HMath::fDeg2Rad);
    EXPECT_EQ(HMath::RadiansToAngleUnits(HMath::PI), HMath::PI * HMath::fRad2Deg);
    HMath::AngleUnit = 1;
    EXPECT_EQ(HMath::AngleUnitsToRadians(180.0f), 180.0f);
    EXPECT_EQ(HMath::RadiansToAngleUnits(2.0f), 2.0f);
    HMath::AngleUnit = 0;
    EXPECT_EQ(HMath::DegreesToRadians(90.0f), HMath::HALF_PI);
}

TEST(HMath, UnitRandomStaysInRangeAndIsSeeded) {
    std::srand(7);
    float lo = 1.0f, hi = 0.0f;
    for (int i = 0; i < 20000; ++i) {
        float v = HMath::UnitRandom();
        ASSERT_GE(v, 0.0f);
        ASSERT_LE(v, 1.0f);
        lo = std::fmin(lo, v);
        hi = std::fmax(hi, v);
    }
    EXPECT_LT(lo, 0.01f);
    EXPECT_GT(hi, 0.99f);
    std::srand(99);
    float a = HMath::UnitRandom();
    std::srand(99);
    EXPECT_EQ(HMath::UnitRandom(), a);
}

TEST(HMath, RangeRandomWithLowAboveHigh) {
    std::srand(3);
    float lo = 0.0f, hi = -3000.0f;
    for (int i = 0; i < 10000; ++i) {
        float v = HMath::RangeRandom(-1000.0f, -2000.0f);
        ASSERT_GE(v, -2000.0f);
        ASSERT_LE(v, -1000.0f);
        lo = std::fmin(lo, v);
        hi = std::fmax(hi, v);
    }
    EXPECT_LT(lo, -1980.0f);
    EXPECT_GT(hi, -1020.0f);
}

TEST(HMath, SymmetricRandom) {
    std::srand(11);
    bool neg = false, pos = false;
    for (int i = 0; i < 1000; ++i) {
        float v = HMath::SymmetricRandom();
        ASSERT_GE(v, -1.0f);
        ASSERT_LE(v, 1.0f);
        neg |= v < -0.5f;
        pos |= v > 0.5f;
    }
    EXPECT_TRUE(neg);
    EXPECT_TRUE(pos);
}
