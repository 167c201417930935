// The collision view (r_debug_physics): bodies as outlined, half-transparent polygons in
// the ground plane, rays as arrows. Immediate-mode GL; a context must be current.

#include <GL/gl.h>

#include <cmath>

#include "physics/collisionmanager.h"
#include "physics/physics.h"

namespace {

void SetColour(uint32_t packed) {
    glColor4ub(GLubyte(packed >> 24), GLubyte(packed >> 16), GLubyte(packed >> 8), GLubyte(packed));
}

void DrawArrow(HVector2 from, HVector2 direction, float length) {
    HVector2 d = direction.NormalisedCopy();
    HVector2 to = from + d * length;
    HVector2 side = PhysicsPerp(d) * (length * 0.1f);
    HVector2 back = to - d * (length * 0.2f);
    glBegin(GL_LINES);
    glVertex3f(from.x, from.y, 0.0f);
    glVertex3f(to.x, to.y, 0.0f);
    glVertex3f(to.x, to.y, 0.0f);
    glVertex3f(back.x + side.x, back.y + side.y, 0.0f);
    glVertex3f(to.x, to.y, 0.0f);
    glVertex3f(back.x - side.x, back.y - side.y, 0.0f);
    glEnd();
}

void DrawBody(const PhysicsBody& body, uint32_t outline, uint32_t fill) {
    glPushMatrix();
    glTranslatef(body.position.x, body.position.y, 0.0f);
    glRotatef(body.orientation, 0.0f, 0.0f, 1.0f);
    const float axes = 10.0f;
    glBegin(GL_LINES);
    glColor3f(1.0f, 0.0f, 0.0f);
    glVertex3f(0.0f, 0.0f, 0.0f);
    glVertex3f(axes, 0.0f, 0.0f);
    glColor3f(0.0f, 1.0f, 0.0f);
    glVertex3f(0.0f, 0.0f, 0.0f);
    glVertex3f(0.0f, axes, 0.0f);
    glColor3f(0.0f, 0.0f, 1.0f);
    glVertex3f(0.0f, 0.0f, 0.0f);
    glVertex3f(0.0f, 0.0f, axes);
    glEnd();
    SetColour(outline);
    glBegin(GL_LINE_LOOP);
    for (const HVector2& v : body.vertices) glVertex3f(v.x, v.y, 0.0f);
    glEnd();
    SetColour(fill);
    glBegin(GL_POLYGON);
    for (const HVector2& v : body.vertices) glVertex3f(v.x, v.y, 0.0f);
    glEnd();
    glPopMatrix();
    float speed = body.velocity.Length();
    if (speed > 0.01f) {
        glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
        DrawArrow(body.position, body.velocity, speed);
    }
}

}  // namespace

void PhysicsCharacter::DebugDraw() {
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    DrawBody(body, PhysicsPackColour(1.0f, 1.0f, 1.0f, 1.0f),
             PhysicsPackColour(1.0f, 1.0f, 0.0f, 0.5f));
}

void PhysicsStaticGeometry::DebugDraw() {
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    DrawBody(body, PhysicsPackColour(1.0f, 1.0f, 1.0f, 1.0f),
             PhysicsPackColour(0.3f, 0.3f, 1.0f, 0.3f));
}

void PhysicsRayCast::DebugDraw() {
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    DrawArrow(origin, direction, 200.0f);
}

void CollisionManager::DebugDraw() {
    for (PhysicsObject* obj : objects) {
        glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
        obj->DebugDraw();
    }
}
