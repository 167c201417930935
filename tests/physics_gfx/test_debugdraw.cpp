// The collision view drawn into a real GL context (inside its own Xvfb): colours of the
// kinds, rays as arrows, and the velocity arrow only for a moving body.
#include <gtest/gtest.h>

#include "support/glcontext.h"

#include <GL/gl.h>
#include <SDL.h>

#include <cstdlib>

#include "physics/collisionmanager.h"

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;
VELMORA_GL_TEST_CONTEXT("physics", kWidth, kHeight);

// One level unit per pixel, the origin in the middle of the window.
void BeginFrame() {
    glViewport(0, 0, kWidth, kHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-80.0, 80.0, -60.0, 60.0, -100.0, 100.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

// The pixel whose centre is at level point (x + 0.5, y + 0.5).
void Pixel(int x, int y, unsigned char rgb[3]) {
    unsigned char p[4];
    glReadPixels(x + kWidth / 2, y + kHeight / 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
    rgb[0] = p[0];
    rgb[1] = p[1];
    rgb[2] = p[2];
}

void ExpectNear(const unsigned char got[3], int r, int g, int b) {
    EXPECT_LE(std::abs(got[0] - r), 2) << int(got[0]) << " vs " << r;
    EXPECT_LE(std::abs(got[1] - g), 2) << int(got[1]) << " vs " << g;
    EXPECT_LE(std::abs(got[2] - b), 2) << int(got[2]) << " vs " << b;
}

}  // namespace

TEST(PhysicsDebugDraw, StaticGeometryFill) {
    CollisionManager m;
    PhysicsStaticGeometry wall;
    wall.AddVertex(HVector2(-40, -40));
    wall.AddVertex(HVector2(40, -40));
    wall.AddVertex(HVector2(40, 40));
    wall.AddVertex(HVector2(-40, 40));
    wall.Prepare();
    m.AddObject(&wall);
    BeginFrame();
    m.DebugDraw();
    glFinish();
    unsigned char px[3];
    // (0.3, 0.3, 1.0) at alpha 0.3 over black: the bytes 76, 76, 255, 76 blend to
    // 76·76/255 = 22.6 and 255·76/255 = 76.
    Pixel(20, 20, px);
    ExpectNear(px, 23, 23, 76);
    Pixel(70, 50, px);  // outside the wall
    ExpectNear(px, 0, 0, 0);
    m.RemoveObject(&wall);
}

TEST(PhysicsDebugDraw, CharacterFillAndVelocityArrow) {
    CollisionManager m;
    PhysicsCharacter c;
    c.body.MakeCircle(1.0f, 6);
    c.ScaleHull(40.0f);  // vertices 20 from the centre
    c.Prepare();
    c.body.position = HVector2(0.5f, 0.5f);
    m.AddObject(&c);
    BeginFrame();
    m.DebugDraw();
    glFinish();
    unsigned char px[3];
    Pixel(-8, 8, px);  // inside, away from the axes
    ExpectNear(px, 128, 128, 0);
    Pixel(25, 0, px);  // beyond the hexagon: no arrow while standing still
    ExpectNear(px, 0, 0, 0);

    c.body.velocity = HVector2(30.0f, 0.0f);
    BeginFrame();
    m.DebugDraw();
    glFinish();
    Pixel(25, 0, px);  // on the arrow from the position along the velocity, 30 long
    ExpectNear(px, 255, 255, 255);
    Pixel(45, 0, px);  // past its end
    ExpectNear(px, 0, 0, 0);
    m.RemoveObject(&c);
}

TEST(PhysicsDebugDraw, RayArrowIsTwoHundredLong) {
    CollisionManager m;
    PhysicsRayCast ray;
    ray.SetOrigin(HVector2(-179.5f, -49.5f));  // 200 long: ends at x = 20.5
    ray.SetDirection(HVector2(1.0f, 0.0f));
    m.AddObject(&ray);
    BeginFrame();
    m.DebugDraw();
    glFinish();
    unsigned char px[3];
    Pixel(-40, -50, px);
    ExpectNear(px, 255, 255, 255);
    Pixel(10, -50, px);
    ExpectNear(px, 255, 255, 255);
    Pixel(30, -50, px);
    ExpectNear(px, 0, 0, 0);
    m.RemoveObject(&ray);
}
