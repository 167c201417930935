#include "math/hmatrix3.h"

#include <cmath>

#include "math/hquaternion.h"

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

void HMatrix3::FromAxisAngle(const HVector3& rkAxis, float fRadians) {
    float fCos = std::cos(fRadians);
    float fSin = std::sin(fRadians);
    float fOneMinusCos = 1.0f - fCos;
    float fX2 = rkAxis.x * rkAxis.x, fY2 = rkAxis.y * rkAxis.y, fZ2 = rkAxis.z * rkAxis.z;
    float fXYM = rkAxis.x * rkAxis.y * fOneMinusCos;
    float fXZM = rkAxis.x * rkAxis.z * fOneMinusCos;
    float fYZM = rkAxis.y * rkAxis.z * fOneMinusCos;
    float fXSin = rkAxis.x * fSin, fYSin = rkAxis.y * fSin, fZSin = rkAxis.z * fSin;

    m[0][0] = fX2 * fOneMinusCos + fCos;
    m[0][1] = fXYM - fZSin;
    m[0][2] = fXZM + fYSin;
    m[1][0] = fXYM + fZSin;
    m[1][1] = fY2 * fOneMinusCos + fCos;
    m[1][2] = fYZM - fXSin;
    m[2][0] = fXZM - fYSin;
    m[2][1] = fYZM + fXSin;
    m[2][2] = fZ2 * fOneMinusCos + fCos;
}

void HMatrix3::ToAxisAngle(HVector3& rkAxis, float& rfRadians) const {
    HQuaternion q(*this);
    q.Normalise();
    if (q.w < 0.0f) q = -q;  // angle in [0, π]
    q.ToAngleAxis(rfRadians, rkAxis);
}

// Rotation by fAngle about axis 0, 1 or 2.
static HMatrix3 AxisRotation(int iAxis, float fAngle) {
    HMatrix3 kRot;
    kRot.FromAxisAngle(iAxis == 0   ? HVector3::UNIT_X
                       : iAxis == 1 ? HVector3::UNIT_Y
                                    : HVector3::UNIT_Z,
                       fAngle);
    return kRot;
}

void HMatrix3::FromEuler(int i, int j, int k, float fA0, float fA1, float fA2) {
    *this = AxisRotation(i, fA0) * (AxisRotation(j, fA1) * AxisRotation(k, fA2));
}

bool HMatrix3::ToEuler(int i, int j, int k, float& rfA0, float& rfA1, float& rfA2) const {
    // Orders x→y→z→x are even; swapping two axes turns every sine around.
    float fParity = ((j - i + 3) % 3 == 1) ? 1.0f : -1.0f;
    float fSinMiddle = fParity * m[i][k];
    if (fSinMiddle > 1.0f) fSinMiddle = 1.0f;
    if (fSinMiddle < -1.0f) fSinMiddle = -1.0f;
    rfA1 = std::asin(fSinMiddle);
    if (std::fabs(fSinMiddle) < 1.0f - 1e-6f) {
        rfA0 = std::atan2(-fParity * m[j][k], m[k][k]);
        rfA2 = std::atan2(-fParity * m[i][j], m[i][i]);
        return true;
    }
    rfA0 = std::atan2(fParity * m[k][j], m[j][j]);
    rfA2 = 0.0f;
    return false;
}

void HMatrix3::FromEulerAnglesXYZ(float a, float b, float c) { FromEuler(0, 1, 2, a, b, c); }
void HMatrix3::FromEulerAnglesXZY(float a, float b, float c) { FromEuler(0, 2, 1, a, b, c); }
void HMatrix3::FromEulerAnglesYXZ(float a, float b, float c) { FromEuler(1, 0, 2, a, b, c); }
void HMatrix3::FromEulerAnglesYZX(float a, float b, float c) { FromEuler(1, 2, 0, a, b, c); }
void HMatrix3::FromEulerAnglesZXY(float a, float b, float c) { FromEuler(2, 0, 1, a, b, c); }
void HMatrix3::FromEulerAnglesZYX(float a, float b, float c) { FromEuler(2, 1, 0, a, b, c); }
bool HMatrix3::ToEulerAnglesXYZ(float& a, float& b, float& c) const {
    return ToEuler(0, 1, 2, a, b, c);
}
bool HMatrix3::ToEulerAnglesXZY(float& a, float& b, float& c) const {
    return ToEuler(0, 2, 1, a, b, c);
}
bool HMatrix3::ToEulerAnglesYXZ(float& a, float& b, float& c) const {
    return ToEuler(1, 0, 2, a, b, c);
}
bool HMatrix3::ToEulerAnglesYZX(float& a, float& b, float& c) const {
    return ToEuler(1, 2, 0, a, b, c);
}
bool HMatrix3::ToEulerAnglesZXY(float& a, float& b, float& c) const {
    return ToEuler(2, 0, 1, a, b, c);
}
bool HMatrix3::ToEulerAnglesZYX(float& a, float& b, float& c) const {
    return ToEuler(2, 1, 0, a, b, c);
}

void HMatrix3::Orthonormalise() {
    HVector3 c0 = GetColumn(0), c1 = GetColumn(1), c2 = GetColumn(2);
    c0.Normalise();
    c1 = c1 - c0 * c0.Dot(c1);
    c1.Normalise();
    c2 = c2 - c0 * c0.Dot(c2) - c1 * c1.Dot(c2);
    c2.Normalise();
    FromAxes(c0, c1, c2);
}
