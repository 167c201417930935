#pragma once
// HVector4: four floats by value (homogeneous points, colours, shader parameters).

#include <cassert>

#include "math/hvector3.h"

class HVector4 {
public:
    float x = 0.0f, y = 0.0f, z = 0.0f, w = 0.0f;

    constexpr HVector4() = default;
    constexpr HVector4(float fX, float fY, float fZ, float fW) : x(fX), y(fY), z(fZ), w(fW) {}
    explicit constexpr HVector4(const float afCoordinate[4])
        : x(afCoordinate[0]), y(afCoordinate[1]), z(afCoordinate[2]), w(afCoordinate[3]) {}
    // A point: w = 1.
    explicit constexpr HVector4(const HVector3& v) : x(v.x), y(v.y), z(v.z), w(1.0f) {}

    float operator[](unsigned i) const {
        assert(i < 4);
        return *(&x + i);
    }
    float& operator[](unsigned i) {
        assert(i < 4);
        return *(&x + i);
    }
    float* Ptr() { return &x; }
    const float* Ptr() const { return &x; }

    bool operator==(const HVector4& v) const {
        return x == v.x && y == v.y && z == v.z && w == v.w;
    }
    bool operator!=(const HVector4& v) const { return !(*this == v); }

    HVector4 operator+(const HVector4& v) const {
        return HVector4(x + v.x, y + v.y, z + v.z, w + v.w);
    }
    HVector4 operator-(const HVector4& v) const {
        return HVector4(x - v.x, y - v.y, z - v.z, w - v.w);
    }
    HVector4 operator*(float fScalar) const {
        return HVector4(x * fScalar, y * fScalar, z * fScalar, w * fScalar);
    }
    HVector4 operator-() const { return HVector4(-x, -y, -z, -w); }
    friend HVector4 operator*(float fScalar, const HVector4& v) { return v * fScalar; }
    float Dot(const HVector4& v) const { return x * v.x + y * v.y + z * v.z + w * v.w; }
};
