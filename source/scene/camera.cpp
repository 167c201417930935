#include "scene/camera.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cmath>

#include "math/hmath.h"

void Camera::ComputeFrustumPlanes(const float P[16], const float M[16], float planes[6][4]) {
    float clip[16];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            clip[4 * i + j] = M[4 * i + 0] * P[0 + j] + M[4 * i + 1] * P[4 + j] +
                              M[4 * i + 2] * P[8 + j] + M[4 * i + 3] * P[12 + j];

    // Column n of clip is row n of projection·model-view in the usual notation.
    auto column = [&](int n, int row) { return clip[4 * row + n]; };
    for (int row = 0; row < 4; ++row) {
        float c0 = column(0, row), c1 = column(1, row), c2 = column(2, row), c3 = column(3, row);
        planes[FRUSTUM_RIGHT][row] = c3 - c0;
        planes[FRUSTUM_LEFT][row] = c3 + c0;
        planes[FRUSTUM_BOTTOM][row] = c3 + c1;
        planes[FRUSTUM_TOP][row] = c3 - c1;
        planes[FRUSTUM_FAR][row] = c3 - c2;
        planes[FRUSTUM_NEAR][row] = c3 + c2;
    }

    for (int p = 0; p < 6; ++p) {
        float fLength = std::sqrt(planes[p][0] * planes[p][0] + planes[p][1] * planes[p][1] +
                                  planes[p][2] * planes[p][2]);
        // A degenerate matrix can leave a plane without a normal; dividing would only
        // make NaNs, and a zero plane rejects nothing useful either way.
        if (fLength == 0.0f) continue;
        for (int k = 0; k < 4; ++k) planes[p][k] /= fLength;
    }
}

void Camera::ExtractFrustum(const float projection[16], const float modelview[16]) {
    ComputeFrustumPlanes(projection, modelview, frustum);
}

void Camera::ExtractFrustum() {
    float P[16];
    float M[16];
    glGetFloatv(GL_PROJECTION_MATRIX, P);
    glGetFloatv(GL_MODELVIEW_MATRIX, M);
    ExtractFrustum(P, M);
}

bool Camera::IsBoxVisible(const HAxisAlignedBox& box) const {
    if (box.IsNull()) return false;

    const HVector3& min = box.GetMinimum();
    const HVector3& max = box.GetMaximum();
    if (position.x >= min.x && position.x <= max.x && position.y >= min.y && position.y <= max.y &&
        position.z >= min.z && position.z <= max.z)
        return true;

    HVector3 c = box.GetCenter();
    HVector3 h = box.GetSize() * 0.5f;
    const HVector3 corners[8] = {
        HVector3(c.x - h.x, c.y - h.y, c.z - h.z), HVector3(c.x + h.x, c.y - h.y, c.z - h.z),
        HVector3(c.x - h.x, c.y + h.y, c.z - h.z), HVector3(c.x + h.x, c.y + h.y, c.z - h.z),
        HVector3(c.x - h.x, c.y - h.y, c.z + h.z), HVector3(c.x + h.x, c.y - h.y, c.z + h.z),
        HVector3(c.x - h.x, c.y + h.y, c.z + h.z), HVector3(c.x + h.x, c.y + h.y, c.z + h.z),
    };

    for (int p = 0; p < 6; ++p) {
        const float* pl = frustum[p];
        bool bAllOutside = true;
        for (const HVector3& v : corners) {
            if (pl[0] * v.x + pl[1] * v.y + pl[2] * v.z + pl[3] > 0.0f) {
                bAllOutside = false;
                break;
            }
        }
        if (bAllOutside) return false;
    }
    return true;
}

void Camera::UpdateFromAngles() {
    HQuaternion kYaw(angle_y * HMath::fDeg2Rad, HVector3(0.0f, 0.0f, 1.0f));
    HQuaternion kPitch(angle_x * HMath::fDeg2Rad, HVector3(1.0f, 0.0f, 0.0f));
    rotation = kYaw * kPitch;
    target = position - rotation.zAxis();
    up = rotation.yAxis();
}

void Camera::MoveLocal(float fRight, float fUp, float fBack) {
    position += rotation.xAxis() * fRight + rotation.yAxis() * fUp + rotation.zAxis() * fBack;
}

void Camera::SetupView(double aspect, double zNear, double zFar) const {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(fov, aspect, zNear, zFar);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(position.x, position.y, position.z, target.x, target.y, target.z, up.x, up.y, up.z);
}
