#pragma once
// HVector2: two floats by value (texture coordinates, screen positions).

#include <cassert>
#include <cmath>

class HVector2 {
public:
    float x = 0.0f, y = 0.0f;

    constexpr HVector2() = default;
    constexpr HVector2(float fX, float fY) : x(fX), y(fY) {}
    explicit constexpr HVector2(const float afCoordinate[2])
        : x(afCoordinate[0]), y(afCoordinate[1]) {}
    explicit constexpr HVector2(float fScalar) : x(fScalar), y(fScalar) {}

    float operator[](unsigned i) const {
        assert(i < 2);
        return *(&x + i);
    }
    float& operator[](unsigned i) {
        assert(i < 2);
        return *(&x + i);
    }
    float* Ptr() { return &x; }
    const float* Ptr() const { return &x; }

    bool operator==(const HVector2& v) const { return x == v.x && y == v.y; }
    bool operator!=(const HVector2& v) const { return !(*this == v); }
    bool operator<(const HVector2& v) const { return x < v.x && y < v.y; }
    bool operator>(const HVector2& v) const { return x > v.x && y > v.y; }

    HVector2 operator+(const HVector2& v) const { return HVector2(x + v.x, y + v.y); }
    HVector2 operator-(const HVector2& v) const { return HVector2(x - v.x, y - v.y); }
    HVector2 operator*(const HVector2& v) const { return HVector2(x * v.x, y * v.y); }
    HVector2 operator*(float fScalar) const { return HVector2(x * fScalar, y * fScalar); }
    HVector2 operator/(float fScalar) const {
        assert(fScalar != 0.0);
        float fInv = 1.0f / fScalar;
        return HVector2(x * fInv, y * fInv);
    }
    HVector2 operator-() const { return HVector2(-x, -y); }
    HVector2 operator+() const { return *this; }
    friend HVector2 operator*(float fScalar, const HVector2& v) {
        return HVector2(fScalar * v.x, fScalar * v.y);
    }

    HVector2& operator+=(const HVector2& v) {
        x += v.x;
        y += v.y;
        return *this;
    }
    HVector2& operator-=(const HVector2& v) {
        x -= v.x;
        y -= v.y;
        return *this;
    }
    HVector2& operator*=(const HVector2& v) {
        x *= v.x;
        y *= v.y;
        return *this;
    }
    HVector2& operator*=(float fScalar) {
        x *= fScalar;
        y *= fScalar;
        return *this;
    }
    HVector2& operator/=(float fScalar) {
        assert(fScalar != 0.0f);
        float fInv = 1.0f / fScalar;
        x *= fInv;
        y *= fInv;
        return *this;
    }

    float Length() const { return std::sqrt(x * x + y * y); }
    float SquaredLength() const { return x * x + y * y; }
    float Dot(const HVector2& v) const { return x * v.x + y * v.y; }
    // The z of the 3D cross product of (x, y, 0) and (v.x, v.y, 0).
    float CrossProduct(const HVector2& v) const { return x * v.y - y * v.x; }

    // Same rule as HVector3: a length of 1e-6 or less is left as it is.
    float Normalise() {
        float fLength = Length();
        if (fLength > 1e-6f) {
            float fInv = 1.0f / fLength;
            x *= fInv;
            y *= fInv;
        }
        return fLength;
    }
    HVector2 NormalisedCopy() const {
        HVector2 v = *this;
        v.Normalise();
        return v;
    }
    void MakeFloor(const HVector2& v) {
        if (v.x < x) x = v.x;
        if (v.y < y) y = v.y;
    }
    void MakeCeil(const HVector2& v) {
        if (v.x > x) x = v.x;
        if (v.y > y) y = v.y;
    }

    static const HVector2 ZERO;
    static const HVector2 UNIT_X;
    static const HVector2 UNIT_Y;
};

inline constexpr HVector2 HVector2::ZERO{0.0f, 0.0f};
inline constexpr HVector2 HVector2::UNIT_X{1.0f, 0.0f};
inline constexpr HVector2 HVector2::UNIT_Y{0.0f, 1.0f};
