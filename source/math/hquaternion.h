#pragma once
// HQuaternion: a rotation as (w, x, y, z), w stored first. Hamilton products; a unit
// quaternion rotates v as q·v·q⁻¹. Its rotation matrix's columns are the local axes.

#include "math/hmatrix3.h"
#include "math/hvector3.h"

class HQuaternion {
public:
    float w = 1.0f, x = 0.0f, y = 0.0f, z = 0.0f;

    // The default is the identity rotation.
    constexpr HQuaternion() = default;
    constexpr HQuaternion(float fW, float fX, float fY, float fZ) : w(fW), x(fX), y(fY), z(fZ) {}
    explicit HQuaternion(const HMatrix3& rot) { FromRotationMatrix(rot); }
    HQuaternion(float fAngle, const HVector3& rkAxis) { FromAngleAxis(fAngle, rkAxis); }

    void FromRotationMatrix(const HMatrix3& kRot);
    void ToRotationMatrix(HMatrix3& kRot) const;
    HMatrix3 ToRotationMatrix() const;
    // Angle in radians; the axis is expected to be of unit length.
    void FromAngleAxis(float fAngle, const HVector3& rkAxis);
    // A vector part of zero length gives angle 0 and axis (1, 0, 0).
    void ToAngleAxis(float& rfAngle, HVector3& rkAxis) const;
    void FromAxes(const HVector3& xAxis, const HVector3& yAxis, const HVector3& zAxis);
    void ToAxes(HVector3& xAxis, HVector3& yAxis, HVector3& zAxis) const;
    HVector3 xAxis() const;
    HVector3 yAxis() const;
    HVector3 zAxis() const;

    HQuaternion operator+(const HQuaternion& q) const {
        return HQuaternion(w + q.w, x + q.x, y + q.y, z + q.z);
    }
    HQuaternion operator-(const HQuaternion& q) const {
        return HQuaternion(w - q.w, x - q.x, y - q.y, z - q.z);
    }
    HQuaternion operator*(const HQuaternion& q) const;
    HQuaternion operator*(float fScalar) const {
        return HQuaternion(fScalar * w, fScalar * x, fScalar * y, fScalar * z);
    }
    friend HQuaternion operator*(float fScalar, const HQuaternion& q) { return q * fScalar; }
    HQuaternion operator-() const { return HQuaternion(-w, -x, -y, -z); }
    // Exact, on all four components.
    bool operator==(const HQuaternion& q) const {
        return w == q.w && x == q.x && y == q.y && z == q.z;
    }
    bool operator!=(const HQuaternion& q) const { return !(*this == q); }
    // Rotates the vector.
    HVector3 operator*(const HVector3& v) const;

    float Dot(const HQuaternion& q) const { return w * q.w + x * q.x + y * q.y + z * q.z; }
    // The sum of the four squares, no root.
    float Norm() const { return w * w + x * x + y * y + z * z; }
    // Scales to unit length and returns the old Norm; a zero quaternion stays zero.
    float Normalise();
    // Conjugate / Norm, or ZERO when the Norm is not above 0.
    HQuaternion Inverse() const;
    // The conjugate: the inverse of a unit quaternion.
    HQuaternion UnitInverse() const { return HQuaternion(w, -x, -y, -z); }
    HQuaternion Exp() const;
    HQuaternion Log() const;

    // (1 − t)·p + t·q, normalised.
    static HQuaternion Nlerp(float fT, const HQuaternion& rkP, const HQuaternion& rkQ);
    static HQuaternion Slerp(float fT, const HQuaternion& rkP, const HQuaternion& rkQ,
                             bool shortestPath = false);
    static HQuaternion SlerpExtraSpins(float fT, const HQuaternion& rkP, const HQuaternion& rkQ,
                                       int iExtraSpins);
    static HQuaternion Squad(float fT, const HQuaternion& rkP, const HQuaternion& rkA,
                             const HQuaternion& rkB, const HQuaternion& rkQ,
                             bool shortestPath = false);
    // The Squad control points a and b around q1.
    static void Intermediate(const HQuaternion& rkQ0, const HQuaternion& rkQ1,
                             const HQuaternion& rkQ2, HQuaternion& rkA, HQuaternion& rkB);

    // Below this, sines and angles count as zero in Exp, Log and the slerps.
    static constexpr float ms_fEpsilon = 1e-03f;

    static const HQuaternion ZERO;
    static const HQuaternion IDENTITY;
};

inline constexpr HQuaternion HQuaternion::ZERO{0.0f, 0.0f, 0.0f, 0.0f};
inline constexpr HQuaternion HQuaternion::IDENTITY{1.0f, 0.0f, 0.0f, 0.0f};
