#include <gtest/gtest.h>

#include <cmath>

#include "math/hmath.h"
#include "scene/camera.h"

namespace {
// Matrices as GL keeps them: 16 floats, column after column.
void Identity(float m[16]) {
    for (int i = 0; i < 16; ++i) m[i] = (i % 5 == 0) ? 1.0f : 0.0f;
}

// What gluPerspective multiplies in, from an identity.
void Perspective(float m[16], float fovyDeg, float aspect, float zNear, float zFar) {
    float f = 1.0f / std::tan(fovyDeg * HMath::fDeg2Rad / 2.0f);
    for (int i = 0; i < 16; ++i) m[i] = 0.0f;
    m[0] = f / aspect;
    m[5] = f;
    m[10] = (zFar + zNear) / (zNear - zFar);
    m[11] = -1.0f;
    m[14] = 2.0f * zFar * zNear / (zNear - zFar);
}

void ExpectPlane(const float p[4], float a, float b, float c, float d, float tol = 1e-6f) {
    EXPECT_NEAR(p[0], a, tol);
    EXPECT_NEAR(p[1], b, tol);
    EXPECT_NEAR(p[2], c, tol);
    EXPECT_NEAR(p[3], d, tol);
}

// A camera at the origin looking down −z (eye space), 90° by 90°, near 1, far 100.
Camera EyeSpaceCamera() {
    float P[16], M[16];
    Perspective(P, 90.0f, 1.0f, 1.0f, 100.0f);
    Identity(M);
    Camera cam;
    cam.position = HVector3(0, 0, 0);
    cam.ExtractFrustum(P, M);
    return cam;
}

const float kInvSqrt2 = 1.0f / std::sqrt(2.0f);
}  // namespace

TEST(CameraFrustum, IdentityMatricesGiveTheUnitCubeInOrder) {
    float P[16], M[16];
    Identity(P);
    Identity(M);
    float planes[6][4];
    Camera::ComputeFrustumPlanes(P, M, planes);
    ExpectPlane(planes[Camera::FRUSTUM_RIGHT], -1, 0, 0, 1, 0);
    ExpectPlane(planes[Camera::FRUSTUM_LEFT], 1, 0, 0, 1, 0);
    ExpectPlane(planes[Camera::FRUSTUM_BOTTOM], 0, 1, 0, 1, 0);
    ExpectPlane(planes[Camera::FRUSTUM_TOP], 0, -1, 0, 1, 0);
    ExpectPlane(planes[Camera::FRUSTUM_FAR], 0, 0, -1, 1, 0);
    ExpectPlane(planes[Camera::FRUSTUM_NEAR], 0, 0, 1, 1, 0);
    EXPECT_EQ(Camera::FRUSTUM_RIGHT, 0);
    EXPECT_EQ(Camera::FRUSTUM_NEAR, 5);
}

TEST(CameraFrustum, PerspectivePlanesAreNormalised) {
    Camera cam = EyeSpaceCamera();
    ExpectPlane(cam.frustum[0], -kInvSqrt2, 0, -kInvSqrt2, 0);  // right: x <= −z
    ExpectPlane(cam.frustum[1], kInvSqrt2, 0, -kInvSqrt2, 0);   // left
    ExpectPlane(cam.frustum[2], 0, kInvSqrt2, -kInvSqrt2, 0);   // bottom
    ExpectPlane(cam.frustum[3], 0, -kInvSqrt2, -kInvSqrt2, 0);  // top
    ExpectPlane(cam.frustum[4], 0, 0, 1, 100, 1e-3f);           // far: z >= −100
    ExpectPlane(cam.frustum[5], 0, 0, -1, -1, 1e-5f);           // near: z <= −1
}

TEST(CameraFrustum, ModelViewComesFirstInTheProduct) {
    // Eye at x = 5 (model-view translates by −5), projection scales x by 2: the view
    // spans 4.5 <= x <= 5.5. The other order of the product would give x <= 3.
    float P[16], M[16];
    Identity(P);
    P[0] = 2.0f;
    Identity(M);
    M[12] = -5.0f;
    float planes[6][4];
    Camera::ComputeFrustumPlanes(P, M, planes);
    ExpectPlane(planes[Camera::FRUSTUM_RIGHT], -1, 0, 0, 5.5f, 0);
    ExpectPlane(planes[Camera::FRUSTUM_LEFT], 1, 0, 0, -4.5f, 0);
}

TEST(CameraFrustum, ZeroMatrixLeavesPlanesZeroNotNaN) {
    float Z[16] = {};
    float planes[6][4];
    Camera::ComputeFrustumPlanes(Z, Z, planes);
    for (auto& p : planes)
        for (float v : p) EXPECT_EQ(v, 0.0f);
}

TEST(CameraFrustum, GluLookAtLikeViewInTheZUpWorld) {
    // Eye at (0, 0, 10) looking along +y, up +z: the model-view maps world +y to eye −z.
    float P[16], M[16];
    Perspective(P, 90.0f, 1.0f, 1.0f, 100.0f);
    // Rows of the rotation: s = (1, 0, 0), u = (0, 0, 1), −f = (0, −1, 0); then −R·eye.
    float R[16] = {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, -10, 0, 1};
    for (int i = 0; i < 16; ++i) M[i] = R[i];
    Camera cam;
    cam.position = HVector3(0, 0, 10);
    cam.ExtractFrustum(P, M);
    // The far plane: y <= 100 in the world.
    ExpectPlane(cam.frustum[Camera::FRUSTUM_FAR], 0, -1, 0, 100, 1e-3f);
    // The near plane: y >= 1.
    ExpectPlane(cam.frustum[Camera::FRUSTUM_NEAR], 0, 1, 0, -1, 1e-5f);
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(-1, 20, 9, 1, 22, 11)));
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, -22, 9, 1, -20, 11)));  // behind
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, 20, 40, 1, 22, 42)));   // above the top
}

TEST(CameraVisibility, InFrontBehindBeyondAndBeside) {
    Camera cam = EyeSpaceCamera();
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, -20, 1, 1, -10)));
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, 10, 1, 1, 20)));       // behind (near)
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, -300, 1, 1, -200)));   // beyond far
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(50, -1, -20, 60, 1, -10)));    // right
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-60, -1, -20, -50, 1, -10)));  // left
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, 50, -20, 1, 60, -10)));    // top
    // Partly inside.
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(5, -1, -20, 60, 1, -10)));
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, -150, 1, 1, -90)));
}

TEST(CameraVisibility, CornersAtZeroCountAsOutside) {
    // Identity matrices: the view is the cube −1..1, with exact planes.
    float P[16], M[16];
    Identity(P);
    Identity(M);
    Camera cam;
    cam.position = HVector3(0, 0, 50);
    cam.ExtractFrustum(P, M);
    // The box's nearest face lies exactly on the far plane z = 1: all corners at or below 0.
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, 1, 1, 1, 2)));
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(-1, -1, 0.5f, 1, 1, 2)));
    // Touching the right plane x = 1 from outside.
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(1, 0, 0, 3, 0.5f, 0.5f)));
}

TEST(CameraVisibility, BoxBeyondAFrustumCornerPasses) {
    // Outside the frustum (x >= 101 needs z <= −101, beyond the far plane), yet each
    // plane has a corner on its inner side: the test is conservative and says visible.
    Camera cam = EyeSpaceCamera();
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(101, -1, -103, 103, 1, -99)));
}

TEST(CameraVisibility, EyeInsideTheBoxIsVisibleAtOnce) {
    Camera cam;  // no planes extracted: all zero, every box is rejected by them
    cam.position = HVector3(1, 1, 1);
    EXPECT_FALSE(cam.IsBoxVisible(HAxisAlignedBox(5, 5, 5, 6, 6, 6)));
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(0, 0, 0, 2, 2, 2)));
    // Bounds included.
    EXPECT_TRUE(cam.IsBoxVisible(HAxisAlignedBox(1, 1, 1, 2, 2, 2)));
    // Behind the camera in eye space but around the eye.
    Camera eye = EyeSpaceCamera();
    EXPECT_TRUE(eye.IsBoxVisible(HAxisAlignedBox(-0.5f, -0.5f, 0, 0.5f, 0.5f, 0.5f)));
}

TEST(CameraVisibility, NullBoxIsNeverVisible) {
    Camera cam = EyeSpaceCamera();
    HAxisAlignedBox null;  // its stale extents would surround the eye
    EXPECT_FALSE(cam.IsBoxVisible(null));
}

TEST(CameraAngles, LookDownThenForwardThenTurn) {
    Camera cam;
    cam.position = HVector3(1, 2, 3);
    cam.UpdateFromAngles();
    EXPECT_EQ(cam.rotation, HQuaternion::IDENTITY);
    EXPECT_EQ(cam.target, HVector3(1, 2, 2));  // straight down the −z axis
    EXPECT_EQ(cam.up, HVector3(0, 1, 0));

    cam.angle_x = 90.0f;  // pitch up to the horizon: looking along +y, up is +z
    cam.UpdateFromAngles();
    EXPECT_NEAR(cam.target.x, 1.0f, 1e-6f);
    EXPECT_NEAR(cam.target.y, 3.0f, 1e-6f);
    EXPECT_NEAR(cam.target.z, 3.0f, 1e-6f);
    EXPECT_NEAR(cam.up.z, 1.0f, 1e-6f);
    EXPECT_NEAR(cam.up.y, 0.0f, 1e-6f);

    cam.angle_y = 90.0f;  // heading turns counter-clockwise about +z: +y becomes −x
    cam.UpdateFromAngles();
    EXPECT_NEAR(cam.target.x, 0.0f, 1e-6f);
    EXPECT_NEAR(cam.target.y, 2.0f, 1e-6f);
    EXPECT_NEAR(cam.target.z, 3.0f, 1e-6f);
    EXPECT_NEAR(cam.up.z, 1.0f, 1e-6f);
    // Yaw about the world's z, then pitch about the local x.
    HQuaternion expect = HQuaternion(HMath::HALF_PI, HVector3::UNIT_Z) *
                         HQuaternion(HMath::HALF_PI, HVector3::UNIT_X);
    EXPECT_NEAR(cam.rotation.w, expect.w, 1e-6f);
    EXPECT_NEAR(cam.rotation.x, expect.x, 1e-6f);
    EXPECT_NEAR(cam.rotation.y, expect.y, 1e-6f);
    EXPECT_NEAR(cam.rotation.z, expect.z, 1e-6f);
    EXPECT_NEAR(expect.w, 0.5f, 1e-6f);
    EXPECT_NEAR(expect.z, 0.5f, 1e-6f);
}

TEST(CameraAngles, MoveAlongTheLocalAxes) {
    Camera cam;
    cam.angle_x = 90.0f;
    cam.UpdateFromAngles();
    cam.MoveLocal(0, 0, -10);  // forward: against the z axis, here along +y
    EXPECT_NEAR(cam.position.x, 0.0f, 1e-5f);
    EXPECT_NEAR(cam.position.y, 10.0f, 1e-5f);
    EXPECT_NEAR(cam.position.z, 0.0f, 1e-5f);
    cam.MoveLocal(2, 3, 0);  // right along +x, up along world +z
    EXPECT_NEAR(cam.position.x, 2.0f, 1e-5f);
    EXPECT_NEAR(cam.position.y, 10.0f, 1e-5f);
    EXPECT_NEAR(cam.position.z, 3.0f, 1e-5f);
}

TEST(CameraDefaults, Fields) {
    Camera cam;
    EXPECT_EQ(cam.angle_x, 0.0f);
    EXPECT_EQ(cam.angle_y, 0.0f);
    EXPECT_EQ(cam.fov, 90.0f);
    EXPECT_EQ(cam.rotation, HQuaternion::IDENTITY);
    EXPECT_EQ(cam.up, HVector3(0, 0, 1));
    for (auto& p : cam.frustum)
        for (float v : p) EXPECT_EQ(v, 0.0f);
}
