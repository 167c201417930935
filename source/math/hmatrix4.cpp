#include "math/hmatrix4.h"

HMatrix4::HMatrix4(const HMatrix3& m3) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = m3.m[r][c];
}

bool HMatrix4::operator==(const HMatrix4& o) const {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (m[r][c] != o.m[r][c]) return false;
    return true;
}

HMatrix4 HMatrix4::operator*(const HMatrix4& o) const {
    HMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            r.m[i][j] = m[i][0] * o.m[0][j] + m[i][1] * o.m[1][j] + m[i][2] * o.m[2][j] +
                        m[i][3] * o.m[3][j];
    return r;
}

HMatrix4 HMatrix4::operator+(const HMatrix4& o) const {
    HMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m[i][j] = m[i][j] + o.m[i][j];
    return r;
}

HMatrix4 HMatrix4::operator-(const HMatrix4& o) const {
    HMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m[i][j] = m[i][j] - o.m[i][j];
    return r;
}

HMatrix4 HMatrix4::operator*(float fScalar) const {
    HMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m[i][j] = m[i][j] * fScalar;
    return r;
}

HVector3 HMatrix4::operator*(const HVector3& v) const {
    float fW = m[3][0] * v.x + m[3][1] * v.y + m[3][2] * v.z + m[3][3];
    float fInvW = fW != 0.0f ? 1.0f / fW : 1.0f;
    return HVector3((m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z + m[0][3]) * fInvW,
                    (m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z + m[1][3]) * fInvW,
                    (m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z + m[2][3]) * fInvW);
}

HVector4 HMatrix4::operator*(const HVector4& v) const {
    return HVector4(m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z + m[0][3] * v.w,
                    m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z + m[1][3] * v.w,
                    m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z + m[2][3] * v.w,
                    m[3][0] * v.x + m[3][1] * v.y + m[3][2] * v.z + m[3][3] * v.w);
}

HMatrix4 HMatrix4::Transpose() const {
    HMatrix4 r;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) r.m[i][j] = m[j][i];
    return r;
}

void HMatrix4::MakeTrans(const HVector3& v) {
    *this = IDENTITY;
    SetTrans(v);
}

HMatrix3 HMatrix4::Extract3x3() const {
    HMatrix3 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r.m[i][j] = m[i][j];
    return r;
}

float HMatrix4::Minor(unsigned r0, unsigned r1, unsigned r2, unsigned c0, unsigned c1,
                      unsigned c2) const {
    const HMatrix4& k = *this;
    return k[r0][c0] * (k[r1][c1] * k[r2][c2] - k[r2][c1] * k[r1][c2]) -
           k[r0][c1] * (k[r1][c0] * k[r2][c2] - k[r2][c0] * k[r1][c2]) +
           k[r0][c2] * (k[r1][c0] * k[r2][c1] - k[r2][c0] * k[r1][c1]);
}

HMatrix4 HMatrix4::Adjoint() const {
    return HMatrix4(Minor(1, 2, 3, 1, 2, 3), -Minor(0, 2, 3, 1, 2, 3), Minor(0, 1, 3, 1, 2, 3),
                    -Minor(0, 1, 2, 1, 2, 3),

                    -Minor(1, 2, 3, 0, 2, 3), Minor(0, 2, 3, 0, 2, 3), -Minor(0, 1, 3, 0, 2, 3),
                    Minor(0, 1, 2, 0, 2, 3),

                    Minor(1, 2, 3, 0, 1, 3), -Minor(0, 2, 3, 0, 1, 3), Minor(0, 1, 3, 0, 1, 3),
                    -Minor(0, 1, 2, 0, 1, 3),

                    -Minor(1, 2, 3, 0, 1, 2), Minor(0, 2, 3, 0, 1, 2), -Minor(0, 1, 3, 0, 1, 2),
                    Minor(0, 1, 2, 0, 1, 2));
}

float HMatrix4::Determinant() const {
    return m[0][0] * Minor(1, 2, 3, 1, 2, 3) - m[0][1] * Minor(1, 2, 3, 0, 2, 3) +
           m[0][2] * Minor(1, 2, 3, 0, 1, 3) - m[0][3] * Minor(1, 2, 3, 0, 1, 2);
}

HMatrix4 HMatrix4::Inverse() const {
    float fDet = Determinant();
    // No tolerance test: any non-zero determinant is inverted as it is. Exactly zero
    // would only spread infinities and NaNs through the scene, so it gives ZERO.
    if (fDet == 0.0f) return ZERO;
    return Adjoint() * (1.0f / fDet);
}

HMatrix4 HMatrix4::GetReflectionMatrix(const HPlane& p) {
    const HVector3& n = p.normal;
    return HMatrix4(-2 * n.x * n.x + 1, -2 * n.x * n.y, -2 * n.x * n.z, -2 * n.x * p.d,
                    -2 * n.y * n.x, -2 * n.y * n.y + 1, -2 * n.y * n.z, -2 * n.y * p.d,
                    -2 * n.z * n.x, -2 * n.z * n.y, -2 * n.z * n.z + 1, -2 * n.z * p.d, 0, 0, 0, 1);
}
