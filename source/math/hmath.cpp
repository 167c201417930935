#include "math/hmath.h"

#include <cmath>
#include <cstdlib>

float HMath::AngleUnitsToRadians(float fValue) {
    return AngleUnit != 0 ? fValue : fValue * fDeg2Rad;
}

float HMath::RadiansToAngleUnits(float fValue) {
    return AngleUnit != 0 ? fValue : fValue * fRad2Deg;
}

float HMath::UnitRandom() {
    // Effects were tuned with a generator of fifteen bits; keep that range on any libc.
    int iValue = std::rand();
    if (RAND_MAX > 32767) iValue = (iValue >> 16) & 0x7FFF;
    return static_cast<float>(iValue / 32767.0);
}

float HMath::RangeRandom(float fLow, float fHigh) { return (fHigh - fLow) * UnitRandom() + fLow; }

float HMath::SymmetricRandom() { return 2.0f * UnitRandom() - 1.0f; }

float HMath::Abs(float fValue) { return std::fabs(fValue); }
float HMath::Sqrt(float fValue) { return std::sqrt(fValue); }
float HMath::InvSqrt(float fValue) { return 1.0f / std::sqrt(fValue); }
float HMath::Sin(float fValue) { return std::sin(fValue); }
float HMath::Cos(float fValue) { return std::cos(fValue); }
float HMath::Tan(float fValue) { return std::tan(fValue); }
float HMath::ATan(float fValue) { return std::atan(fValue); }
float HMath::ATan2(float fY, float fX) { return std::atan2(fY, fX); }

float HMath::ACos(float fValue) {
    if (-1.0f < fValue) {
        if (fValue < 1.0f) return std::acos(fValue);
        return 0.0f;
    }
    return PI;
}

float HMath::ASin(float fValue) {
    if (-1.0f < fValue) {
        if (fValue < 1.0f) return std::asin(fValue);
        return -HALF_PI;
    }
    return HALF_PI;
}

float HMath::Sign(float fValue) {
    if (fValue > 0.0f) return 1.0f;
    if (fValue < 0.0f) return -1.0f;
    return 0.0f;
}

bool HMath::FloatEqual(float a, float b, float fTolerance) {
    return a + fTolerance > b && a - fTolerance < b;
}

bool HMath::PointInTri2D(float px, float py, float ax, float ay, float bx, float by, float cx,
                         float cy) {
    // Side of the point against each edge, as the sign of the edge × (point − edge start).
    bool bAB = (bx - ax) * (py - ay) - (by - ay) * (px - ax) >= 0.0f;
    bool bBC = (cx - bx) * (py - by) - (cy - by) * (px - bx) >= 0.0f;
    bool bCA = (ax - cx) * (py - cy) - (ay - cy) * (px - cx) >= 0.0f;
    return bAB == bBC && bBC == bCA;
}

HIntersection Intersects(const HRay& ray, const HPlane& plane) {
    float fDenom = plane.normal.Dot(ray.direction);
    if (std::fabs(fDenom) < std::numeric_limits<float>::epsilon())
        return HIntersection(false, 0.0f);
    float fNom = plane.normal.Dot(ray.origin) + plane.d;
    float t = -(fNom / fDenom);
    return HIntersection(t >= 0.0f, t);
}

HIntersection Intersects(const HRay& ray, const HSphere& sphere) {
    const HVector3& rayDir = ray.direction;
    HVector3 rayOrig = ray.origin - sphere.center;
    float fRadius = sphere.radius;

    // An origin inside the sphere is a hit at distance zero.
    if (rayOrig.SquaredLength() <= fRadius * fRadius) return HIntersection(true, 0.0f);

    float a = rayDir.Dot(rayDir);
    float b = 2.0f * rayOrig.Dot(rayDir);
    float c = rayOrig.Dot(rayOrig) - fRadius * fRadius;
    float d = (b * b) - (4.0f * a * c);
    // a is zero only for a zero direction, which then has d = 0: no line, no hit.
    if (d < 0.0f || a == 0.0f) return HIntersection(false, 0.0f);
    float t = (-b - std::sqrt(d)) / (2.0f * a);
    return HIntersection(true, t);
}

HIntersection Intersects(const HRay& ray, const HAxisAlignedBox& box) {
    if (box.IsNull()) return HIntersection(false, 0.0f);

    float lowt = 0.0f;
    float t;
    bool hit = false;
    HVector3 hitpoint;
    const HVector3& min = box.GetMinimum();
    const HVector3& max = box.GetMaximum();
    const HVector3& rayorig = ray.origin;
    const HVector3& raydir = ray.direction;

    // Strictly inside, by the all-components comparisons.
    if (rayorig > min && rayorig < max) return HIntersection(true, 0.0f);

    auto tryFace = [&](int axis, float face) {
        t = (face - rayorig[axis]) / raydir[axis];
        if (t > 0.0f) {
            hitpoint = rayorig + raydir * t;
            int a1 = (axis + 1) % 3;
            int a2 = (axis + 2) % 3;
            if (hitpoint[a1] >= min[a1] && hitpoint[a1] <= max[a1] && hitpoint[a2] >= min[a2] &&
                hitpoint[a2] <= max[a2] && (!hit || t < lowt)) {
                hit = true;
                lowt = t;
            }
        }
    };

    for (int axis = 0; axis < 3; ++axis) {
        // The direction tests keep the divisions away from zero.
        if (rayorig[axis] < min[axis] && raydir[axis] > 0.0f) tryFace(axis, min[axis]);
        if (rayorig[axis] > max[axis] && raydir[axis] < 0.0f) tryFace(axis, max[axis]);
    }

    return HIntersection(hit, hit ? lowt : 0.0f);
}

bool Intersects(const HSphere& sphere, const HAxisAlignedBox& box) {
    if (box.IsNull()) return false;

    const HVector3& center = sphere.center;
    float radius = sphere.radius;
    const HVector3& min = box.GetMinimum();
    const HVector3& max = box.GetMaximum();

    // On each axis, the gap from the centre to the nearer side must not exceed the radius.
    for (int axis = 0; axis < 3; ++axis) {
        if (center[axis] < min[axis] && min[axis] - center[axis] > radius) return false;
        if (center[axis] > max[axis] && center[axis] - max[axis] > radius) return false;
    }
    return true;
}

bool Intersects(const HSphere& sphere, const HPlane& plane) {
    return std::fabs(plane.normal.Dot(sphere.center)) <= sphere.radius;
}

bool Intersects(const HPlane& plane, const HAxisAlignedBox& box) {
    if (box.IsNull()) return false;

    const HVector3* pCorners = box.GetAllCorners();
    HPlane::Side iSide = plane.GetSide(pCorners[0]);
    for (int iCorner = 1; iCorner < 8; ++iCorner)
        if (plane.GetSide(pCorners[iCorner]) != iSide) return true;
    return false;
}

bool Intersects(const HSphere& a, const HSphere& b) {
    float fRadii = a.radius + b.radius;
    return (a.center - b.center).SquaredLength() <= fRadii * fRadii;
}

HVector3 CalculateTangent(const HVector3& pa, const HVector3& pb, const HVector3& pc, float sa,
                          float ta, float sb, float tb, float sc, float tc) {
    HVector3 side0 = pa - pb;
    HVector3 side1 = pc - pa;
    HVector3 normal = side1.Cross(side0);
    normal.Normalise();

    float deltaT0 = ta - tb;
    float deltaT1 = tc - ta;
    HVector3 tangent = deltaT1 * side0 - deltaT0 * side1;
    tangent.Normalise();

    float deltaS0 = sa - sb;
    float deltaS1 = sc - sa;
    HVector3 binormal = deltaS1 * side0 - deltaS0 * side1;
    binormal.Normalise();

    HVector3 tangentCross = tangent.Cross(binormal);
    if (tangentCross.Dot(normal) < 0.0f) {
        tangent = -tangent;
        binormal = -binormal;
    }
    return tangent;
}
