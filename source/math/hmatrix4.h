#pragma once
// HMatrix4: a row-major 4×4 matrix, m[row][col], for affine and projective transforms.
// Points are columns: a translation lives in the last column. GL wants the transpose
// (column-major): see Transpose().

#include <cassert>

#include "math/hmatrix3.h"
#include "math/hplane.h"
#include "math/hvector3.h"
#include "math/hvector4.h"

class HMatrix4 {
public:
    float m[4][4] = {{1.0f, 0.0f, 0.0f, 0.0f},
                     {0.0f, 1.0f, 0.0f, 0.0f},
                     {0.0f, 0.0f, 1.0f, 0.0f},
                     {0.0f, 0.0f, 0.0f, 1.0f}};

    // The default is the identity.
    constexpr HMatrix4() = default;
    constexpr HMatrix4(float m00, float m01, float m02, float m03, float m10, float m11, float m12,
                       float m13, float m20, float m21, float m22, float m23, float m30, float m31,
                       float m32, float m33)
        : m{{m00, m01, m02, m03},
            {m10, m11, m12, m13},
            {m20, m21, m22, m23},
            {m30, m31, m32, m33}} {}
    // The 3×3 becomes the linear part; no translation, last row (0, 0, 0, 1).
    explicit HMatrix4(const HMatrix3& m3);

    float* operator[](unsigned iRow) {
        assert(iRow < 4);
        return m[iRow];
    }
    const float* operator[](unsigned iRow) const {
        assert(iRow < 4);
        return m[iRow];
    }

    bool operator==(const HMatrix4& o) const;
    bool operator!=(const HMatrix4& o) const { return !(*this == o); }

    HMatrix4 operator*(const HMatrix4& o) const;
    HMatrix4 operator+(const HMatrix4& o) const;
    HMatrix4 operator-(const HMatrix4& o) const;
    HMatrix4 operator*(float fScalar) const;
    friend HMatrix4 operator*(float fScalar, const HMatrix4& o) { return o * fScalar; }
    // A point (w = 1), divided by the resulting w when that is not zero.
    HVector3 operator*(const HVector3& v) const;
    HVector4 operator*(const HVector4& v) const;

    HMatrix4 Transpose() const;

    void SetTrans(const HVector3& v) {
        m[0][3] = v.x;
        m[1][3] = v.y;
        m[2][3] = v.z;
    }
    HVector3 GetTrans() const { return HVector3(m[0][3], m[1][3], m[2][3]); }
    void MakeTrans(const HVector3& v);
    void SetScale(const HVector3& v) {
        m[0][0] = v.x;
        m[1][1] = v.y;
        m[2][2] = v.z;
    }
    HMatrix3 Extract3x3() const;

    // Determinant of the 3×3 made of the given rows and columns.
    float Minor(unsigned r0, unsigned r1, unsigned r2, unsigned c0, unsigned c1, unsigned c2) const;
    HMatrix4 Adjoint() const;
    // Expanded along row 0.
    float Determinant() const;
    // Adjoint · (1 / Determinant), with no tolerance; a determinant of exactly zero
    // gives the zero matrix.
    HMatrix4 Inverse() const;

    // Mirror about the plane: linear part I − 2nnᵀ, last column −2d·n, last row (0, 0, 0, 1).
    static HMatrix4 GetReflectionMatrix(const HPlane& p);

    static const HMatrix4 ZERO;
    static const HMatrix4 IDENTITY;
};

inline constexpr HMatrix4 HMatrix4::ZERO{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
inline constexpr HMatrix4 HMatrix4::IDENTITY{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
