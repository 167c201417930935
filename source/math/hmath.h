#pragma once
// HMath: scalar helpers, the angle-unit setting and the geometric tests between the
// math value types. Nothing here allocates; the only state is `HMath::AngleUnit`
// and the C library's random generator behind UnitRandom.

#include <limits>
#include <utility>

#include "math/haxisalignedbox.h"
#include "math/hplane.h"
#include "math/hray.h"
#include "math/hsphere.h"
#include "math/hvector3.h"

class HMath {
public:
    static constexpr float PI = 3.14159265358979323846f;  // 4·atan(1) rounded to float
    static constexpr float TWO_PI = 2.0f * PI;
    static constexpr float HALF_PI = 0.5f * PI;
    static constexpr float fDeg2Rad = PI / 180.0f;
    static constexpr float fRad2Deg = 180.0f / PI;

    // 0 = degrees, anything else = radians. Only the two conversions below read it.
    static inline int AngleUnit = 0;

    static float AngleUnitsToRadians(float fValue);
    static float RadiansToAngleUnits(float fValue);
    static float DegreesToRadians(float fDegrees) { return fDegrees * fDeg2Rad; }
    static float RadiansToDegrees(float fRadians) { return fRadians * fRad2Deg; }

    // Uniform in [0, 1]: fifteen bits of rand() over 32767, whatever RAND_MAX is.
    static float UnitRandom();
    // (high − low)·UnitRandom() + low; low may be the greater one.
    static float RangeRandom(float fLow, float fHigh);
    static float SymmetricRandom();

    static float Abs(float fValue);
    static float Sqrt(float fValue);
    static float InvSqrt(float fValue);
    static float Sin(float fValue);
    static float Cos(float fValue);
    static float Tan(float fValue);
    static float ATan(float fValue);
    static float ATan2(float fY, float fX);
    // Clamped: π at or below −1, 0 at or above 1.
    static float ACos(float fValue);
    // HALF_PI at or below −1 and −HALF_PI at or above 1. The ends have the opposite
    // sign of the true value; callers were tuned against that and rely on it.
    static float ASin(float fValue);
    static float Sign(float fValue);

    // Strict on both sides: a + tolerance > b and a − tolerance < b.
    static bool FloatEqual(float a, float b,
                           float fTolerance = std::numeric_limits<float>::epsilon());

    // True when the point lies on the same side of all three edges (a zero cross
    // product counts with the positive side).
    static bool PointInTri2D(float px, float py, float ax, float ay, float bx, float by, float cx,
                             float cy);
};

// A test plus a distance along the ray. A miss has distance 0, except the plane test
// which keeps a negative distance for a plane behind the origin.
using HIntersection = std::pair<bool, float>;

HIntersection Intersects(const HRay& ray, const HPlane& plane);
HIntersection Intersects(const HRay& ray, const HSphere& sphere);
HIntersection Intersects(const HRay& ray, const HAxisAlignedBox& box);
bool Intersects(const HSphere& sphere, const HAxisAlignedBox& box);
// Against the parallel plane through the origin: the plane's d does not enter.
bool Intersects(const HSphere& sphere, const HPlane& plane);
bool Intersects(const HPlane& plane, const HAxisAlignedBox& box);
bool Intersects(const HSphere& a, const HSphere& b);

// Tangent of a triangle from its positions and texture coordinates, flipped with the
// binormal so that tangent × binormal points along the face normal.
HVector3 CalculateTangent(const HVector3& pa, const HVector3& pb, const HVector3& pc, float sa,
                          float ta, float sb, float tb, float sc, float tc);
