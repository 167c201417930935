#pragma once
// HSphere: radius first, then the centre.

#include "math/hvector3.h"

class HSphere {
public:
    float radius = 1.0f;
    HVector3 center;

    HSphere() = default;
    HSphere(const HVector3& rkCenter, float fRadius) : radius(fRadius), center(rkCenter) {}

    float GetRadius() const { return radius; }
    void SetRadius(float fRadius) { radius = fRadius; }
    const HVector3& GetCenter() const { return center; }
    void SetCenter(const HVector3& v) { center = v; }
};
