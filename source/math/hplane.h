#pragma once
// HPlane: the set of points p with normal·p + d = 0, by value.

#include "math/hvector3.h"

class HPlane {
public:
    enum Side { NO_SIDE = 0, POSITIVE_SIDE = 1, NEGATIVE_SIDE = 2 };

    HVector3 normal;  // zero by default
    float d = 0.0f;

    HPlane() = default;
    // Note the sign: the constant is the distance of the plane along the normal.
    HPlane(const HVector3& rkNormal, float fConstant) : normal(rkNormal), d(-fConstant) {}
    HPlane(const HVector3& rkNormal, const HVector3& rkPoint)
        : normal(rkNormal), d(-rkNormal.Dot(rkPoint)) {}
    // Through three points, counter-clockwise seen from the positive side.
    HPlane(const HVector3& a, const HVector3& b, const HVector3& c) {
        normal = (b - a).Cross(c - a);
        normal.Normalise();
        d = -normal.Dot(a);
    }

    float GetDistance(const HVector3& p) const { return normal.Dot(p) + d; }
    // NO_SIDE only for a distance of exactly zero.
    Side GetSide(const HVector3& p) const {
        float fDistance = GetDistance(p);
        if (fDistance < 0.0f) return NEGATIVE_SIDE;
        if (fDistance > 0.0f) return POSITIVE_SIDE;
        return NO_SIDE;
    }

    bool operator==(const HPlane& o) const { return normal == o.normal && d == o.d; }
    bool operator!=(const HPlane& o) const { return !(*this == o); }
};
