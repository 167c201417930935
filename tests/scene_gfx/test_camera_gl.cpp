// Camera checks that need a GL context: the view set-up, reading the frustum back from
// GL, and culling against what GL really draws. Runs inside its own Xvfb.
#include <gtest/gtest.h>

#include "support/glcontext.h"

#include <GL/gl.h>
#include <SDL.h>

#include <cmath>
#include <random>
#include <vector>

#include "math/hmath.h"
#include "scene/camera.h"

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;
VELMORA_GL_TEST_CONTEXT("camera", kWidth, kHeight);

Camera LevelCamera() {
    Camera cam;
    cam.fov = 60.0f;
    cam.position = HVector3(0, 0, 10);
    cam.target = HVector3(0, 200, 10);
    cam.up = HVector3(0, 0, 1);
    return cam;
}

// Draws the six faces of the box in white on black and counts lit pixels.
int DrawnPixels(const HAxisAlignedBox& box) {
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glColor3f(1, 1, 1);
    const HVector3* c = box.GetAllCorners();
    static const int faces[6][4] = {{0, 1, 2, 3}, {4, 5, 6, 7}, {0, 1, 5, 6},
                                    {2, 3, 7, 4}, {1, 2, 4, 5}, {0, 3, 7, 6}};
    glBegin(GL_QUADS);
    for (const auto& f : faces)
        for (int i : f) glVertex3f(c[i].x, c[i].y, c[i].z);
    glEnd();
    glFinish();
    std::vector<unsigned char> pixels(kWidth * kHeight * 4);
    glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    int lit = 0;
    for (int i = 0; i < kWidth * kHeight; ++i) lit += pixels[4 * i] > 0 ? 1 : 0;
    return lit;
}

}  // namespace

TEST(CameraGl, SetupViewLoadsPerspectiveAndLookAt) {
    Camera cam = LevelCamera();
    cam.SetupView();
    float P[16], M[16];
    glGetFloatv(GL_PROJECTION_MATRIX, P);
    glGetFloatv(GL_MODELVIEW_MATRIX, M);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);

    float f = 1.0f / std::tan(30.0f * HMath::fDeg2Rad);
    EXPECT_NEAR(P[0], f / 1.33, 1e-5);
    EXPECT_NEAR(P[5], f, 1e-5f);
    EXPECT_NEAR(P[10], -5001.0f / 4999.0f, 1e-5f);
    EXPECT_NEAR(P[11], -1.0f, 0.0f);
    EXPECT_NEAR(P[14], -10000.0f / 4999.0f, 1e-5f);
    // Looking along +y with +z up: world y becomes eye −z, world z eye y.
    const float expect[16] = {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, -10, 0, 1};
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(M[i], expect[i], 1e-6f) << i;
}

TEST(CameraGl, ExtractFrustumReadsTheCurrentMatrices) {
    Camera cam = LevelCamera();
    cam.SetupView();
    cam.ExtractFrustum();
    float P[16], M[16], planes[6][4];
    glGetFloatv(GL_PROJECTION_MATRIX, P);
    glGetFloatv(GL_MODELVIEW_MATRIX, M);
    Camera::ComputeFrustumPlanes(P, M, planes);
    for (int p = 0; p < 6; ++p)
        for (int k = 0; k < 4; ++k) EXPECT_EQ(cam.frustum[p][k], planes[p][k]);
    // Near y >= 1 and far y <= 5000 in the world.
    const float* nearPlane = cam.frustum[Camera::FRUSTUM_NEAR];
    EXPECT_NEAR(nearPlane[1], 1.0f, 1e-5f);
    EXPECT_NEAR(nearPlane[3], -1.0f, 1e-3f);
    const float* farPlane = cam.frustum[Camera::FRUSTUM_FAR];
    EXPECT_NEAR(farPlane[1], -1.0f, 1e-5f);
    EXPECT_NEAR(farPlane[3], 5000.0f, 1.0f);
    // Right of the view is world +x: the right plane's normal points to −x.
    EXPECT_LT(cam.frustum[Camera::FRUSTUM_RIGHT][0], 0.0f);
    EXPECT_GT(cam.frustum[Camera::FRUSTUM_LEFT][0], 0.0f);
    EXPECT_LT(cam.frustum[Camera::FRUSTUM_TOP][2], 0.0f);
}

TEST(CameraGl, CulledBoxesDrawNothing) {
    // A box the test rejects must not put a pixel on the screen; many random boxes,
    // some visible and some not.
    Camera cam = LevelCamera();
    cam.SetupView();
    cam.ExtractFrustum();
    std::mt19937 rng(2024);
    std::uniform_real_distribution<float> pos(-300.0f, 300.0f);
    std::uniform_real_distribution<float> size(1.0f, 40.0f);
    int culled = 0, drawnVisible = 0;
    for (int n = 0; n < 300; ++n) {
        HVector3 lo(pos(rng), pos(rng) + 150.0f, pos(rng) * 0.3f);
        HVector3 hi = lo + HVector3(size(rng), size(rng), size(rng));
        HAxisAlignedBox box(lo, hi);
        int lit = DrawnPixels(box);
        if (!cam.IsBoxVisible(box)) {
            ++culled;
            EXPECT_EQ(lit, 0) << "box " << lo.x << "," << lo.y << "," << lo.z;
        } else if (lit > 0) {
            ++drawnVisible;
        }
    }
    EXPECT_GT(culled, 50);
    EXPECT_GT(drawnVisible, 50);
}
