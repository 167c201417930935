// The Scene's drawing with a GL context: the 3D view its Render pass sets up, the camera it
// hands to the render queue, and the collision view (ground grid, axes). The context is
// the program's one window, made by test_camera_gl.cpp (160 by 120 pixels).
#include <gtest/gtest.h>

#include <GL/gl.h>
#include <GL/glu.h>
#include <SDL.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "platform/settings.h"
#include "scene/renderqueue.h"
#include "scene/scene.h"

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;

struct Pixels {
    std::vector<unsigned char> rgba = std::vector<unsigned char>(kWidth * kHeight * 4);
    const unsigned char* At(int column, int row) const {
        return &rgba[4 * (row * kWidth + column)];
    }
    bool Is(int column, int row, int r, int g, int b, int tol = 1) const {
        const unsigned char* p = At(column, row);
        return std::abs(p[0] - r) <= tol && std::abs(p[1] - g) <= tol && std::abs(p[2] - b) <= tol;
    }
    int Count(int r, int g, int b) const {
        int n = 0;
        for (int row = 0; row < kHeight; ++row)
            for (int column = 0; column < kWidth; ++column) n += Is(column, row, r, g, b) ? 1 : 0;
        return n;
    }
    bool Lit(int column, int row) const {
        const unsigned char* p = At(column, row);
        return p[0] != 0 || p[1] != 0 || p[2] != 0;
    }
};

Pixels Read() {
    glFinish();
    Pixels out;
    glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, out.rgba.data());
    return out;
}

void ClearBlack() {
    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
    glDepthMask(GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
}

// One pixel for each unit, the origin in the middle of the window.
void FlatView() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-kWidth / 2, kWidth / 2, -kHeight / 2, kHeight / 2, -100.0, 100.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
}

// The columns of `row` that are lit.
std::vector<int> LitColumns(const Pixels& pixels, int row) {
    std::vector<int> lit;
    for (int column = 0; column < kWidth; ++column)
        if (pixels.Lit(column, row)) lit.push_back(column);
    return lit;
}

// A fixed camera 200 units above the origin, looking down at 45 degrees along +y.
void LookDownAtTheGround(Scene& scene) {
    scene.fixed_position = HVector3(0.0f, 0.0f, 200.0f);
    scene.fixed_target = HVector3(0.0f, 200.0f, 0.0f);
    FrameEvent frame(0.0f, 1.0f, nullptr, nullptr);
    ASSERT_TRUE(scene.OnFrame(&frame));
}

class SceneGl : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(SDL_GL_GetCurrentContext(), nullptr);
        ResetSettings();
    }
    void TearDown() override { ResetSettings(); }
};

}  // namespace

TEST_F(SceneGl, RenderSetsTheProjectionTheLookAtTheFrustumAndTheQueuesCamera) {
    Scene scene;
    LookDownAtTheGround(scene);

    // What GLU makes of the same numbers.
    float P[16], M[16];
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(90.0, 1.33, 1.0, 5000.0);
    glGetFloatv(GL_PROJECTION_MATRIX, P);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0.0, 0.0, 200.0, 0.0, 200.0, 0.0, 0.0, 0.0, 1.0);
    glGetFloatv(GL_MODELVIEW_MATRIX, M);
    // Something else in both matrices, and the projection current.
    glLoadIdentity();
    glTranslatef(1.0f, 2.0f, 3.0f);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glScalef(2.0f, 2.0f, 2.0f);

    ClearBlack();
    RenderQueue queue;
    ASSERT_EQ(queue.camera, nullptr);
    scene.Render(&queue);
    ASSERT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

    float P2[16], M2[16];
    glGetFloatv(GL_PROJECTION_MATRIX, P2);
    glGetFloatv(GL_MODELVIEW_MATRIX, M2);
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(P2[i], P[i]) << i;
        EXPECT_EQ(M2[i], M[i]) << i;
    }
    // gluPerspective(90, 1.33, 1, 5000) itself.
    EXPECT_NEAR(P2[0], 1.0f / 1.33f, 1e-6f);
    EXPECT_NEAR(P2[5], 1.0f, 1e-6f);
    EXPECT_NEAR(P2[10], -5001.0f / 4999.0f, 1e-6f);
    EXPECT_EQ(P2[11], -1.0f);
    EXPECT_NEAR(P2[14], -10000.0f / 4999.0f, 1e-6f);

    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_MODELVIEW);
    EXPECT_EQ(queue.camera, &scene.camera);

    float planes[6][4];
    Camera::ComputeFrustumPlanes(P, M, planes);
    for (int p = 0; p < 6; ++p)
        for (int k = 0; k < 4; ++k) EXPECT_EQ(scene.camera.frustum[p][k], planes[p][k]) << p;

    // The sky leaves lighting off and depth writes on again.
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    GLboolean depth_writes = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depth_writes);
    EXPECT_EQ(depth_writes, GL_TRUE);
}

TEST_F(SceneGl, TheFieldOfViewIsTheCameras) {
    Scene scene;
    scene.fixed_fov = 60.0f;
    LookDownAtTheGround(scene);
    ClearBlack();
    RenderQueue queue;
    scene.Render(&queue);
    float P[16];
    glGetFloatv(GL_PROJECTION_MATRIX, P);
    const float f = 1.0f / std::tan(30.0f * 3.14159265f / 180.0f);
    EXPECT_NEAR(P[5], f, 1e-5f);
    EXPECT_NEAR(P[0], f / 1.33f, 1e-5f);
}

TEST_F(SceneGl, TheCollisionViewDrawsTheGridInGreyOnlyWithDebugPhysics) {
    Scene scene;
    LookDownAtTheGround(scene);
    RenderQueue queue;

    r_debug_physics = false;
    ClearBlack();
    scene.Render(&queue);
    Pixels off = Read();
    EXPECT_EQ(off.Count(51, 51, 51), 0);
    EXPECT_EQ(off.Count(0, 0, 0), kWidth * kHeight);  // no sky mesh, nothing at all

    r_debug_physics = true;
    ClearBlack();
    scene.Render(&queue);
    Pixels on = Read();
    // The ground, lines of grey on black up to the grid's far end, y = 1500; above it
    // nothing. The line at x = 0 runs up the middle of the view, 4 pixels wide; the
    // origin, with the axes, lies just below the view.
    const int grey = on.Count(51, 51, 51);
    const int black = on.Count(0, 0, 0);
    EXPECT_GT(grey, kWidth * kHeight / 2) << grey;
    EXPECT_EQ(grey + black, kWidth * kHeight);
    for (int column = 0; column < kWidth; ++column) EXPECT_FALSE(on.Lit(column, kHeight - 1));
    for (int row = 0; row < 100; row += 10)
        for (int column = 78; column <= 81; ++column)
            EXPECT_TRUE(on.Is(column, row, 51, 51, 51)) << column << " " << row;
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
}

TEST_F(SceneGl, GridLinesAreFourPixelsAtZeroTwoAtLevelOneAndOneBelow) {
    // Rows at y = −39.5 cross the lines along y only; the quarter-pixel shift keeps every
    // line off the pixel edges.
    const int row = 20;

    ClearBlack();
    FlatView();
    glTranslatef(0.25f, 0.0f, 0.0f);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawGrid(0.0f, 0.0f, 0, 100.0f);
    EXPECT_EQ(LitColumns(Read(), row), (std::vector<int>{78, 79, 80, 81}));

    // Level 1 away from 0: two pixels, and its two halves of level 0 one each.
    ClearBlack();
    FlatView();
    glTranslatef(0.25f, 0.0f, 0.0f);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawGrid(40.0f, 80.0f, 1, 100.0f);
    EXPECT_EQ(LitColumns(Read(), row), (std::vector<int>{100, 119, 120, 140}));

    // At 0 the line is four pixels wide whatever its level.
    ClearBlack();
    FlatView();
    glTranslatef(0.25f, 0.0f, 0.0f);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawGrid(0.0f, 80.0f, 1, 100.0f);
    EXPECT_EQ(LitColumns(Read(), row), (std::vector<int>{60, 78, 79, 80, 81, 100}));

    // The lines are `length` long: nothing beyond y = ±50.
    Pixels pixels = Read();
    EXPECT_TRUE(LitColumns(pixels, 8).empty());
    EXPECT_FALSE(LitColumns(pixels, 12).empty());
    glLineWidth(1.0f);
}

TEST_F(SceneGl, AxesAreRedGreenBlueWithAConeAtEachTip) {
    ClearBlack();
    FlatView();
    glLineWidth(1.0f);
    glEnable(GL_TEXTURE_2D);
    DrawAxes(50.0f);
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    Pixels pixels = Read();
    // Seen from +z: x to the right, y upwards, z towards the eye.
    EXPECT_TRUE(pixels.Is(131, 61, 255, 0, 0));  // (51.5, 1.5): in the x cone, off the line
    EXPECT_FALSE(pixels.Lit(120, 61));           // (40.5, 1.5): beside the line, no cone
    EXPECT_FALSE(pixels.Lit(143, 61));           // (63.5, 1.5): past the tip
    EXPECT_TRUE(pixels.Is(81, 111, 0, 255, 0));  // (1.5, 51.5): in the y cone
    EXPECT_FALSE(pixels.Lit(81, 100));           // (1.5, 40.5): beside the line
    EXPECT_TRUE(pixels.Is(80, 60, 0, 0, 255));   // the z cone, seen end on, at the origin
    EXPECT_TRUE(pixels.Is(82, 62, 0, 0, 255));
}
