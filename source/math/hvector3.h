#pragma once
// HVector3: three floats by value, the engine's point and direction type.
// No state, no allocation; passed and stored by value everywhere.

#include <cassert>
#include <cmath>

class HVector3 {
public:
    float x = 0.0f, y = 0.0f, z = 0.0f;

    constexpr HVector3() = default;
    constexpr HVector3(float fX, float fY, float fZ) : x(fX), y(fY), z(fZ) {}
    explicit constexpr HVector3(const float afCoordinate[3])
        : x(afCoordinate[0]), y(afCoordinate[1]), z(afCoordinate[2]) {}
    explicit constexpr HVector3(float fScalar) : x(fScalar), y(fScalar), z(fScalar) {}

    float operator[](unsigned i) const {
        assert(i < 3);
        return *(&x + i);
    }
    float& operator[](unsigned i) {
        assert(i < 3);
        return *(&x + i);
    }
    float* Ptr() { return &x; }
    const float* Ptr() const { return &x; }

    bool operator==(const HVector3& v) const { return x == v.x && y == v.y && z == v.z; }
    bool operator!=(const HVector3& v) const { return !(*this == v); }
    // Strict on all three components: a point on a face is neither inside nor outside.
    bool operator<(const HVector3& v) const { return x < v.x && y < v.y && z < v.z; }
    bool operator>(const HVector3& v) const { return x > v.x && y > v.y && z > v.z; }

    HVector3 operator+(const HVector3& v) const { return HVector3(x + v.x, y + v.y, z + v.z); }
    HVector3 operator-(const HVector3& v) const { return HVector3(x - v.x, y - v.y, z - v.z); }
    HVector3 operator*(const HVector3& v) const { return HVector3(x * v.x, y * v.y, z * v.z); }
    HVector3 operator*(float fScalar) const {
        return HVector3(x * fScalar, y * fScalar, z * fScalar);
    }
    HVector3 operator/(float fScalar) const {
        assert(fScalar != 0.0);
        float fInv = 1.0f / fScalar;
        return HVector3(x * fInv, y * fInv, z * fInv);
    }
    HVector3 operator-() const { return HVector3(-x, -y, -z); }
    HVector3 operator+() const { return *this; }
    friend HVector3 operator*(float fScalar, const HVector3& v) {
        return HVector3(fScalar * v.x, fScalar * v.y, fScalar * v.z);
    }

    HVector3& operator+=(const HVector3& v) {
        x += v.x;
        y += v.y;
        z += v.z;
        return *this;
    }
    HVector3& operator-=(const HVector3& v) {
        x -= v.x;
        y -= v.y;
        z -= v.z;
        return *this;
    }
    HVector3& operator*=(const HVector3& v) {
        x *= v.x;
        y *= v.y;
        z *= v.z;
        return *this;
    }
    HVector3& operator*=(float fScalar) {
        x *= fScalar;
        y *= fScalar;
        z *= fScalar;
        return *this;
    }
    HVector3& operator/=(float fScalar) {
        assert(fScalar != 0.0f);
        float fInv = 1.0f / fScalar;
        x *= fInv;
        y *= fInv;
        z *= fInv;
        return *this;
    }

    float Length() const { return std::sqrt(x * x + y * y + z * z); }
    float SquaredLength() const { return x * x + y * y + z * z; }
    float Distance(const HVector3& v) const { return (*this - v).Length(); }
    float SquaredDistance(const HVector3& v) const { return (*this - v).SquaredLength(); }
    float Dot(const HVector3& v) const { return x * v.x + y * v.y + z * v.z; }
    HVector3 Cross(const HVector3& v) const {
        return HVector3(y * v.z - z * v.y, z * v.x - x * v.z, x * v.y - y * v.x);
    }

    // Scales to unit length and returns the old length. A vector of length 1e-6 or
    // less is left alone: dividing by it would only amplify noise.
    float Normalise() {
        float fLength = Length();
        if (fLength > 1e-6f) {
            float fInv = 1.0f / fLength;
            x *= fInv;
            y *= fInv;
            z *= fInv;
        }
        return fLength;
    }
    HVector3 NormalisedCopy() const {
        HVector3 v = *this;
        v.Normalise();
        return v;
    }
    bool IsZeroLength() const { return SquaredLength() < 1e-12f; }

    HVector3 MidPoint(const HVector3& v) const {
        return HVector3((x + v.x) * 0.5f, (y + v.y) * 0.5f, (z + v.z) * 0.5f);
    }
    void MakeFloor(const HVector3& v) {
        if (v.x < x) x = v.x;
        if (v.y < y) y = v.y;
        if (v.z < z) z = v.z;
    }
    void MakeCeil(const HVector3& v) {
        if (v.x > x) x = v.x;
        if (v.y > y) y = v.y;
        if (v.z > z) z = v.z;
    }
    // Mirror about the plane with the given unit normal.
    HVector3 Reflect(const HVector3& normal) const { return *this - normal * (2.0f * Dot(normal)); }

    static const HVector3 ZERO;
    static const HVector3 UNIT_X;
    static const HVector3 UNIT_Y;
    static const HVector3 UNIT_Z;
    static const HVector3 NEGATIVE_UNIT_X;
    static const HVector3 NEGATIVE_UNIT_Y;
    static const HVector3 NEGATIVE_UNIT_Z;
    static const HVector3 UNIT_SCALE;
};

inline constexpr HVector3 HVector3::ZERO{0.0f, 0.0f, 0.0f};
inline constexpr HVector3 HVector3::UNIT_X{1.0f, 0.0f, 0.0f};
inline constexpr HVector3 HVector3::UNIT_Y{0.0f, 1.0f, 0.0f};
inline constexpr HVector3 HVector3::UNIT_Z{0.0f, 0.0f, 1.0f};
inline constexpr HVector3 HVector3::NEGATIVE_UNIT_X{-1.0f, 0.0f, 0.0f};
inline constexpr HVector3 HVector3::NEGATIVE_UNIT_Y{0.0f, -1.0f, 0.0f};
inline constexpr HVector3 HVector3::NEGATIVE_UNIT_Z{0.0f, 0.0f, -1.0f};
inline constexpr HVector3 HVector3::UNIT_SCALE{1.0f, 1.0f, 1.0f};
