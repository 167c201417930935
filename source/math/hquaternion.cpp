#include "math/hquaternion.h"

#include <cmath>

#include "math/hmath.h"

void HQuaternion::FromRotationMatrix(const HMatrix3& kRot) {
    float fTrace = kRot.m[0][0] + kRot.m[1][1] + kRot.m[2][2];
    float fRoot;

    if (fTrace > 0.0f) {
        fRoot = std::sqrt(fTrace + 1.0f);
        w = 0.5f * fRoot;
        fRoot = 0.5f / fRoot;
        x = (kRot.m[2][1] - kRot.m[1][2]) * fRoot;
        y = (kRot.m[0][2] - kRot.m[2][0]) * fRoot;
        z = (kRot.m[1][0] - kRot.m[0][1]) * fRoot;
    } else {
        static const int s_iNext[3] = {1, 2, 0};
        int i = 0;
        if (kRot.m[1][1] > kRot.m[0][0]) i = 1;
        if (kRot.m[2][2] > kRot.m[i][i]) i = 2;
        int j = s_iNext[i];
        int k = s_iNext[j];

        // With i the largest diagonal entry and a trace of at most 0 this is above zero
        // for any finite matrix; a matrix holding NaNs is sent to the guard below.
        float fArg = kRot.m[i][i] - kRot.m[j][j] - kRot.m[k][k] + 1.0f;
        fRoot = std::sqrt(fArg > 0.0f ? fArg : 0.0f);
        float* apkQuat[3] = {&x, &y, &z};
        *apkQuat[i] = 0.5f * fRoot;
        if (fRoot == 0.0f) {
            // Only a non-finite matrix gets here: give a unit quaternion along axis i
            // rather than dividing by zero.
            *apkQuat[i] = 1.0f;
            w = 0.0f;
            *apkQuat[j] = 0.0f;
            *apkQuat[k] = 0.0f;
            return;
        }
        fRoot = 0.5f / fRoot;
        w = (kRot.m[k][j] - kRot.m[j][k]) * fRoot;
        *apkQuat[j] = (kRot.m[j][i] + kRot.m[i][j]) * fRoot;
        *apkQuat[k] = (kRot.m[k][i] + kRot.m[i][k]) * fRoot;
    }
}

void HQuaternion::ToRotationMatrix(HMatrix3& kRot) const {
    float fTx = 2.0f * x, fTy = 2.0f * y, fTz = 2.0f * z;
    float fTwx = fTx * w, fTwy = fTy * w, fTwz = fTz * w;
    float fTxx = fTx * x, fTxy = fTy * x, fTxz = fTz * x;
    float fTyy = fTy * y, fTyz = fTz * y, fTzz = fTz * z;

    kRot.m[0][0] = 1.0f - (fTyy + fTzz);
    kRot.m[0][1] = fTxy - fTwz;
    kRot.m[0][2] = fTxz + fTwy;
    kRot.m[1][0] = fTxy + fTwz;
    kRot.m[1][1] = 1.0f - (fTxx + fTzz);
    kRot.m[1][2] = fTyz - fTwx;
    kRot.m[2][0] = fTxz - fTwy;
    kRot.m[2][1] = fTyz + fTwx;
    kRot.m[2][2] = 1.0f - (fTxx + fTyy);
}

HMatrix3 HQuaternion::ToRotationMatrix() const {
    HMatrix3 kRot;
    ToRotationMatrix(kRot);
    return kRot;
}

void HQuaternion::FromAngleAxis(float fAngle, const HVector3& rkAxis) {
    float fHalfAngle = 0.5f * fAngle;
    float fSin = std::sin(fHalfAngle);
    w = std::cos(fHalfAngle);
    x = fSin * rkAxis.x;
    y = fSin * rkAxis.y;
    z = fSin * rkAxis.z;
}

void HQuaternion::ToAngleAxis(float& rfAngle, HVector3& rkAxis) const {
    float fSqrLength = x * x + y * y + z * z;
    if (fSqrLength > 0.0f) {
        rfAngle = 2.0f * HMath::ACos(w);
        float fInvLength = HMath::InvSqrt(fSqrLength);
        rkAxis = HVector3(x * fInvLength, y * fInvLength, z * fInvLength);
    } else {
        rfAngle = 0.0f;
        rkAxis = HVector3(1.0f, 0.0f, 0.0f);
    }
}

void HQuaternion::FromAxes(const HVector3& xAxis, const HVector3& yAxis, const HVector3& zAxis) {
    HMatrix3 kRot;
    kRot.FromAxes(xAxis, yAxis, zAxis);
    FromRotationMatrix(kRot);
}

void HQuaternion::ToAxes(HVector3& xAxis, HVector3& yAxis, HVector3& zAxis) const {
    HMatrix3 kRot = ToRotationMatrix();
    xAxis = kRot.GetColumn(0);
    yAxis = kRot.GetColumn(1);
    zAxis = kRot.GetColumn(2);
}

HVector3 HQuaternion::xAxis() const {
    float fTy = 2.0f * y, fTz = 2.0f * z;
    float fTwy = fTy * w, fTwz = fTz * w;
    float fTxy = fTy * x, fTxz = fTz * x;
    float fTyy = fTy * y, fTzz = fTz * z;
    return HVector3(1.0f - (fTyy + fTzz), fTxy + fTwz, fTxz - fTwy);
}

HVector3 HQuaternion::yAxis() const {
    float fTx = 2.0f * x, fTy = 2.0f * y, fTz = 2.0f * z;
    float fTwx = fTx * w, fTwz = fTz * w;
    float fTxx = fTx * x, fTxy = fTy * x;
    float fTyz = fTz * y, fTzz = fTz * z;
    return HVector3(fTxy - fTwz, 1.0f - (fTxx + fTzz), fTyz + fTwx);
}

HVector3 HQuaternion::zAxis() const {
    float fTx = 2.0f * x, fTy = 2.0f * y, fTz = 2.0f * z;
    float fTwx = fTx * w, fTwy = fTy * w;
    float fTxx = fTx * x, fTxz = fTz * x;
    float fTyy = fTy * y, fTyz = fTz * y;
    return HVector3(fTxz + fTwy, fTyz - fTwx, 1.0f - (fTxx + fTyy));
}

HQuaternion HQuaternion::operator*(const HQuaternion& q) const {
    return HQuaternion(w * q.w - x * q.x - y * q.y - z * q.z, w * q.x + x * q.w + y * q.z - z * q.y,
                       w * q.y + y * q.w + z * q.x - x * q.z,
                       w * q.z + z * q.w + x * q.y - y * q.x);
}

HVector3 HQuaternion::operator*(const HVector3& v) const {
    HVector3 qvec(x, y, z);
    HVector3 uv = qvec.Cross(v);
    HVector3 uuv = qvec.Cross(uv);
    uv *= 2.0f * w;
    uuv *= 2.0f;
    return v + uv + uuv;
}

float HQuaternion::Normalise() {
    float fLen = Norm();
    // A zero quaternion has no direction to keep: it stays as it is.
    if (fLen > 0.0f) {
        float fFactor = 1.0f / std::sqrt(fLen);
        *this = *this * fFactor;
    }
    return fLen;
}

HQuaternion HQuaternion::Inverse() const {
    float fNorm = Norm();
    if (fNorm > 0.0f) {
        float fInvNorm = 1.0f / fNorm;
        return HQuaternion(w * fInvNorm, -x * fInvNorm, -y * fInvNorm, -z * fInvNorm);
    }
    return ZERO;
}

HQuaternion HQuaternion::Exp() const {
    // q = A·(x·i + y·j + z·k) with (x, y, z) of unit length: exp(q) = cos(A) + sin(A)·(...).
    float fAngle = std::sqrt(x * x + y * y + z * z);
    float fSin = std::sin(fAngle);

    HQuaternion kResult;
    kResult.w = std::cos(fAngle);
    if (std::fabs(fSin) >= ms_fEpsilon) {
        float fCoeff = fSin / fAngle;
        kResult.x = fCoeff * x;
        kResult.y = fCoeff * y;
        kResult.z = fCoeff * z;
    } else {
        kResult.x = x;
        kResult.y = y;
        kResult.z = z;
    }
    return kResult;
}

HQuaternion HQuaternion::Log() const {
    HQuaternion kResult;
    kResult.w = 0.0f;
    if (std::fabs(w) < 1.0f) {
        float fAngle = HMath::ACos(w);
        float fSin = std::sin(fAngle);
        if (std::fabs(fSin) >= ms_fEpsilon) {
            float fCoeff = fAngle / fSin;
            kResult.x = fCoeff * x;
            kResult.y = fCoeff * y;
            kResult.z = fCoeff * z;
            return kResult;
        }
    }
    kResult.x = x;
    kResult.y = y;
    kResult.z = z;
    return kResult;
}

HQuaternion HQuaternion::Nlerp(float fT, const HQuaternion& rkP, const HQuaternion& rkQ) {
    HQuaternion kResult = (1.0f - fT) * rkP + fT * rkQ;
    kResult.Normalise();
    return kResult;
}

HQuaternion HQuaternion::Slerp(float fT, const HQuaternion& rkP, const HQuaternion& rkQ,
                               bool shortestPath) {
    float fCos = rkP.Dot(rkQ);
    float fAngle = HMath::ACos(fCos);

    if (std::fabs(fAngle) < ms_fEpsilon) return rkP;

    // fAngle lies in [0.001, π] here; sin of the float π is about −8.7e-8, never zero.
    float fSin = std::sin(fAngle);
    float fInvSin = 1.0f / fSin;
    float fCoeff0 = std::sin((1.0f - fT) * fAngle) * fInvSin;
    float fCoeff1 = std::sin(fT * fAngle) * fInvSin;
    if (fCos < 0.0f && shortestPath) {
        fCoeff0 = -fCoeff0;
        HQuaternion kT = fCoeff0 * rkP + fCoeff1 * rkQ;
        kT.Normalise();
        return kT;
    }
    return fCoeff0 * rkP + fCoeff1 * rkQ;
}

HQuaternion HQuaternion::SlerpExtraSpins(float fT, const HQuaternion& rkP, const HQuaternion& rkQ,
                                         int iExtraSpins) {
    float fCos = rkP.Dot(rkQ);
    float fAngle = HMath::ACos(fCos);

    if (std::fabs(fAngle) < ms_fEpsilon) return rkP;

    float fSin = std::sin(fAngle);
    float fPhase = HMath::PI * static_cast<float>(iExtraSpins) * fT;
    float fInvSin = 1.0f / fSin;
    float fCoeff0 = std::sin((1.0f - fT) * fAngle - fPhase) * fInvSin;
    float fCoeff1 = std::sin(fT * fAngle + fPhase) * fInvSin;
    return fCoeff0 * rkP + fCoeff1 * rkQ;
}

HQuaternion HQuaternion::Squad(float fT, const HQuaternion& rkP, const HQuaternion& rkA,
                               const HQuaternion& rkB, const HQuaternion& rkQ, bool shortestPath) {
    float fSlerpT = 2.0f * fT * (1.0f - fT);
    HQuaternion kSlerpP = Slerp(fT, rkP, rkQ, shortestPath);
    HQuaternion kSlerpQ = Slerp(fT, rkA, rkB, false);
    return Slerp(fSlerpT, kSlerpP, kSlerpQ, false);
}

void HQuaternion::Intermediate(const HQuaternion& rkQ0, const HQuaternion& rkQ1,
                               const HQuaternion& rkQ2, HQuaternion& rkA, HQuaternion& rkB) {
    HQuaternion kQ0inv = rkQ0.UnitInverse();
    HQuaternion kQ1inv = rkQ1.UnitInverse();
    HQuaternion rkP0 = kQ0inv * rkQ1;
    HQuaternion rkP1 = kQ1inv * rkQ2;
    HQuaternion kArg = 0.25f * (rkP0.Log() - rkP1.Log());
    HQuaternion kMinusArg = -kArg;

    rkA = rkQ1 * kArg.Exp();
    rkB = rkQ1 * kMinusArg.Exp();
}
