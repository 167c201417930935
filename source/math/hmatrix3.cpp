#include "math/hmatrix3.h"

#include <cmath>

HMatrix3::HMatrix3(const float arr[3][3]) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = arr[r][c];
}

HVector3 HMatrix3::GetColumn(int iCol) const {
    assert(0 <= iCol && iCol < 3);
    return HVector3(m[0][iCol], m[1][iCol], m[2][iCol]);
}

void HMatrix3::SetColumn(int iCol, const HVector3& vec) {
    assert(0 <= iCol && iCol < 3);
    m[0][iCol] = vec.x;
    m[1][iCol] = vec.y;
    m[2][iCol] = vec.z;
}

void HMatrix3::FromAxes(const HVector3& xAxis, const HVector3& yAxis, const HVector3& zAxis) {
    SetColumn(0, xAxis);
    SetColumn(1, yAxis);
    SetColumn(2, zAxis);
}

bool HMatrix3::operator==(const HMatrix3& rkMatrix) const {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            if (m[r][c] != rkMatrix.m[r][c]) return false;
    return true;
}

HMatrix3 HMatrix3::operator+(const HMatrix3& rkMatrix) const {
    HMatrix3 kSum;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) kSum.m[r][c] = m[r][c] + rkMatrix.m[r][c];
    return kSum;
}

HMatrix3 HMatrix3::operator-(const HMatrix3& rkMatrix) const {
    HMatrix3 kDiff;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) kDiff.m[r][c] = m[r][c] - rkMatrix.m[r][c];
    return kDiff;
}

HMatrix3 HMatrix3::operator*(const HMatrix3& rkMatrix) const {
    HMatrix3 kProd;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            kProd.m[r][c] = m[r][0] * rkMatrix.m[0][c] + m[r][1] * rkMatrix.m[1][c] +
                            m[r][2] * rkMatrix.m[2][c];
    return kProd;
}

HMatrix3 HMatrix3::operator-() const {
    HMatrix3 kNeg;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) kNeg.m[r][c] = -m[r][c];
    return kNeg;
}

HMatrix3 HMatrix3::operator*(float fScalar) const {
    HMatrix3 kProd;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) kProd.m[r][c] = fScalar * m[r][c];
    return kProd;
}

HVector3 HMatrix3::operator*(const HVector3& v) const {
    return HVector3(m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
                    m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
                    m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z);
}

HVector3 operator*(const HVector3& v, const HMatrix3& k) {
    return HVector3(v.x * k.m[0][0] + v.y * k.m[1][0] + v.z * k.m[2][0],
                    v.x * k.m[0][1] + v.y * k.m[1][1] + v.z * k.m[2][1],
                    v.x * k.m[0][2] + v.y * k.m[1][2] + v.z * k.m[2][2]);
}

HMatrix3 HMatrix3::Transpose() const {
    HMatrix3 kT;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) kT.m[r][c] = m[c][r];
    return kT;
}

bool HMatrix3::Inverse(HMatrix3& rkInverse, float fTolerance) const {
    HMatrix3 kCof;
    kCof.m[0][0] = m[1][1] * m[2][2] - m[1][2] * m[2][1];
    kCof.m[0][1] = m[0][2] * m[2][1] - m[0][1] * m[2][2];
    kCof.m[0][2] = m[0][1] * m[1][2] - m[0][2] * m[1][1];
    kCof.m[1][0] = m[1][2] * m[2][0] - m[1][0] * m[2][2];
    kCof.m[1][1] = m[0][0] * m[2][2] - m[0][2] * m[2][0];
    kCof.m[1][2] = m[0][2] * m[1][0] - m[0][0] * m[1][2];
    kCof.m[2][0] = m[1][0] * m[2][1] - m[1][1] * m[2][0];
    kCof.m[2][1] = m[0][1] * m[2][0] - m[0][0] * m[2][1];
    kCof.m[2][2] = m[0][0] * m[1][1] - m[0][1] * m[1][0];

    float fDet = m[0][0] * kCof.m[0][0] + m[0][1] * kCof.m[1][0] + m[0][2] * kCof.m[2][0];
    if (std::fabs(fDet) <= fTolerance) return false;

    float fInvDet = 1.0f / fDet;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rkInverse.m[r][c] = kCof.m[r][c] * fInvDet;
    return true;
}

HMatrix3 HMatrix3::Inverse(float fTolerance) const {
    HMatrix3 kInverse = ZERO;
    Inverse(kInverse, fTolerance);
    return kInverse;
}

float HMatrix3::Determinant() const {
    float fCof00 = m[1][1] * m[2][2] - m[1][2] * m[2][1];
    float fCof10 = m[1][2] * m[2][0] - m[1][0] * m[2][2];
    float fCof20 = m[1][0] * m[2][1] - m[1][1] * m[2][0];
    return m[0][0] * fCof00 + m[0][1] * fCof10 + m[0][2] * fCof20;
}
