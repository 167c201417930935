#pragma once
// HMatrix3: a row-major 3×3 matrix, m[row][col]. A matrix times a vector treats the
// vector as a column; a vector times a matrix treats it as a row.

#include <cassert>

#include "math/hvector3.h"

class HMatrix3 {
public:
    float m[3][3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};

    // The default is the identity.
    constexpr HMatrix3() = default;
    constexpr HMatrix3(float fEntry00, float fEntry01, float fEntry02, float fEntry10,
                       float fEntry11, float fEntry12, float fEntry20, float fEntry21,
                       float fEntry22)
        : m{{fEntry00, fEntry01, fEntry02},
            {fEntry10, fEntry11, fEntry12},
            {fEntry20, fEntry21, fEntry22}} {}
    explicit HMatrix3(const float arr[3][3]);

    float* operator[](unsigned iRow) {
        assert(iRow < 3);
        return m[iRow];
    }
    const float* operator[](unsigned iRow) const {
        assert(iRow < 3);
        return m[iRow];
    }

    HVector3 GetColumn(int iCol) const;
    void SetColumn(int iCol, const HVector3& vec);
    // The three axes become the columns.
    void FromAxes(const HVector3& xAxis, const HVector3& yAxis, const HVector3& zAxis);

    bool operator==(const HMatrix3& rkMatrix) const;
    bool operator!=(const HMatrix3& rkMatrix) const { return !(*this == rkMatrix); }

    HMatrix3 operator+(const HMatrix3& rkMatrix) const;
    HMatrix3 operator-(const HMatrix3& rkMatrix) const;
    HMatrix3 operator*(const HMatrix3& rkMatrix) const;
    HMatrix3 operator-() const;
    HMatrix3 operator*(float fScalar) const;
    friend HMatrix3 operator*(float fScalar, const HMatrix3& rkMatrix) {
        return rkMatrix * fScalar;
    }
    // Column vector: result[i] = row i · v.
    HVector3 operator*(const HVector3& rkVector) const;
    // Row vector: result[i] = v · column i.
    friend HVector3 operator*(const HVector3& rkVector, const HMatrix3& rkMatrix);

    // Rotation by fRadians about a unit axis (right-handed, vectors as columns).
    void FromAxisAngle(const HVector3& rkAxis, float fRadians);
    // For a rotation matrix: the angle in [0, π] and a unit axis; angle 0, axis (1, 0, 0)
    // for the identity.
    void ToAxisAngle(HVector3& rkAxis, float& rfRadians) const;

    // Euler angles: the product of the three axis rotations in the order of the name,
    // e.g. XYZ = kXMat(a0) · kYMat(a1) · kZMat(a2). Angles in radians, in the same order.
    void FromEulerAnglesXYZ(float fA0, float fA1, float fA2);
    void FromEulerAnglesXZY(float fA0, float fA1, float fA2);
    void FromEulerAnglesYXZ(float fA0, float fA1, float fA2);
    void FromEulerAnglesYZX(float fA0, float fA1, float fA2);
    void FromEulerAnglesZXY(float fA0, float fA1, float fA2);
    void FromEulerAnglesZYX(float fA0, float fA1, float fA2);
    // The inverse of the above for a rotation matrix, with the middle angle in
    // [−π/2, π/2]. False where the answer is not unique (the middle angle at ±π/2):
    // then the last angle is set to 0 and the first carries the whole turn.
    bool ToEulerAnglesXYZ(float& rfA0, float& rfA1, float& rfA2) const;
    bool ToEulerAnglesXZY(float& rfA0, float& rfA1, float& rfA2) const;
    bool ToEulerAnglesYXZ(float& rfA0, float& rfA1, float& rfA2) const;
    bool ToEulerAnglesYZX(float& rfA0, float& rfA1, float& rfA2) const;
    bool ToEulerAnglesZXY(float& rfA0, float& rfA1, float& rfA2) const;
    bool ToEulerAnglesZYX(float& rfA0, float& rfA1, float& rfA2) const;

    // Gram-Schmidt on the columns; a column that collapses to zero is left as it is.
    void Orthonormalise();

    HMatrix3 Transpose() const;
    // By cofactors; false (and rkInverse untouched) when |determinant| <= fTolerance.
    bool Inverse(HMatrix3& rkInverse, float fTolerance = 1e-06f) const;
    // The zero matrix when the matrix is singular.
    HMatrix3 Inverse(float fTolerance = 1e-06f) const;
    float Determinant() const;

    static const HMatrix3 ZERO;
    static const HMatrix3 IDENTITY;

private:
    void FromEuler(int i, int j, int k, float fA0, float fA1, float fA2);
    bool ToEuler(int i, int j, int k, float& rfA0, float& rfA1, float& rfA2) const;
};

inline constexpr HMatrix3 HMatrix3::ZERO{0, 0, 0, 0, 0, 0, 0, 0, 0};
inline constexpr HMatrix3 HMatrix3::IDENTITY{1, 0, 0, 0, 1, 0, 0, 0, 1};
