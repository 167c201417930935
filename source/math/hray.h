#pragma once
// HRay: an origin and a direction. The destructor is its only virtual operation.

#include "math/hvector3.h"

class HRay {
public:
    HVector3 origin;
    HVector3 direction{0.0f, 0.0f, 1.0f};

    HRay() = default;
    HRay(const HVector3& rkOrigin, const HVector3& rkDirection)
        : origin(rkOrigin), direction(rkDirection) {}
    HRay(const HRay&) = default;
    HRay& operator=(const HRay&) = default;
    virtual ~HRay() = default;

    void SetOrigin(const HVector3& v) { origin = v; }
    const HVector3& GetOrigin() const { return origin; }
    void SetDirection(const HVector3& v) { direction = v; }
    const HVector3& GetDirection() const { return direction; }
    // The point at distance t along the direction (in units of its length).
    HVector3 GetPoint(float t) const { return origin + direction * t; }
};
