#pragma once
// The physical world of the game is flat: every solid thing is a convex polygon in the
// ground plane (x and y of the level); loading warns about a hull that is not convex, which
// the polygon tests cannot handle. This header holds the objects the
// CollisionManager (physics/collisionmanager.h) works on:
//
// - PhysicsObject: the base of the three kinds; it knows its owning entity (the target of
//   its collision events), its manager and the nearest hit collected during a step.
// - PhysicsBody: position, velocity and a polygon of at most kMaxVertices vertices; it is
//   a member of the characters and the static geometry, never on its own in the world.
// - PhysicsCharacter (anything that steers itself), PhysicsRayCast (a ray that reports
//   what it crosses), PhysicsStaticGeometry (a wall or the solid shape of a prop).
//
// Ownership: physics objects are members of their entities (or owned by them); the
// CollisionManager only holds plain pointers. The destructor takes an object out of its
// manager, so an object may die at any time between two steps.
//
// All arithmetic is single precision. Angles of bodies are degrees, counter-clockwise
// from +x. cross(a, b) everywhere in physics is a.y*b.x - a.x*b.y: the opposite sign of
// the usual one, which every formula below is written for.

#include <cstdint>
#include <string>
#include <vector>

#include "math/hvector2.h"

class CfoNode;
class Entity;
class CollisionManager;
struct PhysicsTreeNode;

// The physics cross product (see above).
inline float PhysicsCross(const HVector2& a, const HVector2& b) { return a.y * b.x - a.x * b.y; }
inline float PhysicsDot(const HVector2& a, const HVector2& b) { return a.x * b.x + a.y * b.y; }
inline HVector2 PhysicsPerp(const HVector2& a) { return HVector2(-a.y, a.x); }

struct PhysicsCircle {
    HVector2 centre;
    float radius = 0.0f;
    float unused = 0.0f;  // stays 0
};

class PhysicsObject {
public:
    PhysicsObject() = default;
    PhysicsObject(const PhysicsObject&) = delete;
    PhysicsObject& operator=(const PhysicsObject&) = delete;

    // Slot 0: leaves the manager, if any.
    virtual ~PhysicsObject();
    virtual void Load(CfoNode* node);
    virtual bool Update(float dt);
    // Two hooks kept for their slots; nothing overrides or calls them.
    virtual bool Hook0();
    virtual float Hook1();
    virtual std::string GetTypeName();
    virtual int GetTypeId();
    virtual void SetDisabled(bool flag);
    virtual void DebugDraw();
    virtual HVector2 GetPosition();

    void SetEntity(Entity* e) { entity = e; }
    Entity* GetEntity() const { return entity; }
    const PhysicsCircle& GetBoundingCircle() const { return boundingCircle; }
    bool IsDisabled() const { return disabled; }
    void SetCollisionMode(int mode, HVector2 r) {
        collisionMode = mode;
        range = r;
    }
    void ClearHit();

    PhysicsCircle boundingCircle;
    bool disabled = false;
    Entity* entity = nullptr;             // not owned: receives the collision events
    CollisionManager* manager = nullptr;  // not owned: set by AddObject
    PhysicsTreeNode* treeNode = nullptr;  // not owned: the spatial-tree node holding us
    HVector2 range{0.0f, 1000.0f};        // accepted hit distances of modes 2 and 3
    int collisionMode = 0;                // 0 every hit, 1 nearest, 2 in range, 3 nearest in range
    PhysicsObject* hitObject = nullptr;
    HVector2 hitPoint{0.0f, 0.0f};
    HVector2 hitNormal{1.0f, 0.0f};
    // 0 until the first step's end clears it: until then a nearest-hit mode records nothing.
    float hitDistance = 0.0f;
    bool hasHit = false;
};

// An orientation matrix [m0 m1; m2 m3] = [cos a, -sin a; sin a, cos a].
struct PhysicsMatrix {
    float m[4] = {1.0f, 0.0f, 0.0f, 1.0f};
    static PhysicsMatrix FromDegrees(float degrees);
    // M·v: forward rotation.
    HVector2 Mul(const HVector2& v) const {
        return HVector2(m[0] * v.x + m[1] * v.y, m[2] * v.x + m[3] * v.y);
    }
    // v·M: inverse rotation.
    HVector2 MulT(const HVector2& v) const {
        return HVector2(v.x * m[0] + v.y * m[2], v.x * m[1] + v.y * m[3]);
    }
    // A·Bᵀ.
    PhysicsMatrix TimesTranspose(const PhysicsMatrix& b) const;
};

class PhysicsBody {
public:
    // The support search keeps one float per vertex in a fixed array of this size.
    static constexpr int kMaxVertices = 32;

    PhysicsBody() = default;
    virtual ~PhysicsBody() = default;

    void AddForce(HVector2 f, HVector2 point);
    void SetMass(float mass);
    void SetDensity(float density);
    // Appends; refuses (with a line on standard output) a vertex beyond kMaxVertices.
    bool AddVertex(HVector2 v);
    void LoadHull(CfoNode* hull, bool recentre);
    void CentreHull();
    void MakeCircle(float radius, int count);
    PhysicsCircle GetBounds() const;
    void GetExtents(HVector2& min, HVector2& max) const;
    // Whether the polygon is convex, as the polygon tests take every polygon to be: walking
    // its edges (repeated vertices skipped) turns one way only, never doubles back, and goes
    // round once. A point, a segment and vertices all on one line count as convex, and so
    // does a bend too slight to tell from straight in single precision.
    bool IsConvex() const;
    void Integrate(float dt);

    // Collision tests (physics/collision.cpp).
    bool Collide(PhysicsBody& other, float dt);
    bool FindCollision(const PhysicsBody& other, HVector2& N, float& t) const;
    bool FindContacts(const PhysicsBody& other, HVector2 N, float t, HVector2* CA, HVector2* CB,
                      int& Cnum) const;
    void ResolveOverlap(HVector2 C0, HVector2 C1, PhysicsBody& other);
    bool RayTest(HVector2 origin, HVector2 direction, HVector2& point, HVector2& normal,
                 float& distance) const;

    // The number of vertices the tests may read: never more than kMaxVertices.
    int VertexCount() const {
        return vertices.size() > size_t(kMaxVertices) ? kMaxVertices : int(vertices.size());
    }

    // The rotation of `orientation`, worked out once per angle (the same arithmetic as
    // PhysicsMatrix::FromDegrees, so results do not depend on the cache).
    const PhysicsMatrix& OrientationMatrix() const;

    HVector2 force;
    float torque = 0.0f;
    float invMass = 0.0f;
    float invInertia = 0.0f;
    HVector2 velocity;
    float angularVelocity = 0.0f;
    HVector2 position;
    float orientation = 0.0f;
    float maxSpeed = 0.0f;
    float maxAngularSpeed = 0.0f;
    std::vector<HVector2> vertices;  // relative to position, unrotated
    bool immovable = false;

private:
    mutable bool cachedValid = false;
    mutable uint32_t cachedAngleBits = 0;
    mutable PhysicsMatrix cachedMatrix;
};

class PhysicsCharacter : public PhysicsObject {
public:
    PhysicsCharacter() = default;

    void Load(CfoNode* node) override;
    bool Update(float dt) override;
    std::string GetTypeName() override { return "PhysicsCharacter"; }
    int GetTypeId() override { return StaticTypeId(); }
    void DebugDraw() override;
    HVector2 GetPosition() override { return body.position; }
    static int StaticTypeId();
    static const char* StaticTypeName() { return "PhysicsCharacter"; }

    void ScaleHull(float size);
    void Prepare();

    float GetOrientation() const { return body.orientation; }
    void SetPosition(HVector2 p) { body.position = p; }
    void SetRunning(bool on) { running = on; }
    bool IsRunning() const { return running; }
    void SetViewAngle(float degrees) { viewAngle = degrees; }
    float GetViewAngle() const { return viewAngle; }
    void SetStopDistance(float d) { stopDistance = d; }
    void SetApproachGain(float g) { approachGain = g; }
    void SetImmovable(bool on) { body.immovable = on; }

    void GoTo(bool on, HVector2 point);
    void FaceTowards(bool on, HVector2 point);
    void Home(bool on, HVector2 point);
    void SetTargetAngle(bool on, float degrees);
    void StopWander();
    bool IsNear(HVector2 point, float distance);
    bool IsFacing(HVector2 point, float degrees);
    void TurnToPoint(HVector2 point);
    void Push(float f);
    void PushBack(float f);
    void Turn(float t) { body.torque += t; }
    void TurnBack(float t) { body.torque -= t; }

    PhysicsBody body;
    float moveSpeed = 1000.0f;
    float turnSpeed = 10000.0f;
    float fastTurnSpeed = 10000.0f;  // defaults to turnSpeed's constructor value
    float moveFriction = 0.0f;       // read and kept; no effect on the motion
    float turnFriction = 0.0f;       // read and kept; no effect on the motion
    float runSpeed = 1500.0f;        // 1.5 times the constructor's moveSpeed, never derived again
    bool running = false;
    float viewAngle = 90.0f;
    HVector2 target;
    float approachGain = 1.0f;
    float stopDistance = 1.0f;
    float targetAngle = 0.0f;
    float wanderValue = 0.0f;
    float wanderRange = 10.0f;
    float wanderRate = 5.0f;
    // The command flags, served in this order by Update (the first six belong to the owner).
    bool moveForward = false;
    bool moveBackward = false;
    bool turnLeft = false;
    bool turnRight = false;
    bool strafeLeft = false;
    bool strafeRight = false;
    bool moveToTarget = false;
    bool turnToTarget = false;
    bool turnToAngle = false;
    bool wander = false;
    bool homeOnTarget = false;
};

class PhysicsRayCast : public PhysicsObject {
public:
    PhysicsRayCast() = default;

    void Load(CfoNode* node) override;
    bool Update(float) override { return false; }
    std::string GetTypeName() override { return "PhysicsRayCast"; }
    int GetTypeId() override { return StaticTypeId(); }
    void DebugDraw() override;
    HVector2 GetPosition() override { return origin; }
    static int StaticTypeId();
    static const char* StaticTypeName() { return "PhysicsRayCast"; }

    HVector2 GetDirection() const { return direction; }
    void SetOrigin(HVector2 o) { origin = o; }
    void SetDirection(HVector2 d) { direction = d; }

    HVector2 origin{0.0f, 0.0f};
    HVector2 direction{1.0f, 0.0f};
};

class PhysicsStaticGeometry : public PhysicsObject {
public:
    PhysicsStaticGeometry() = default;

    void Load(CfoNode* node) override;
    // Returns `touched` and clears it; nothing sets it.
    bool Update(float dt) override;
    std::string GetTypeName() override { return "PhysicsStaticGeometry"; }
    int GetTypeId() override { return StaticTypeId(); }
    void DebugDraw() override;
    HVector2 GetPosition() override { return body.position; }
    static int StaticTypeId();
    static const char* StaticTypeName() { return "PhysicsStaticGeometry"; }

    void Prepare();
    bool AddVertex(HVector2 v) { return body.AddVertex(v); }

    PhysicsBody body;
    bool touched = false;
};

// ---- free collision functions (physics/collision.cpp) ----

// Axis arrays hold every edge of both polygons plus the velocity and two segment axes.
constexpr int kPhysicsMaxAxes = 2 * PhysicsBody::kMaxVertices + 3;

void GetInterval(const HVector2* vertices, int count, const HVector2& axis, float& min, float& max);
bool IntervalIntersect(const HVector2* A, int countA, const HVector2* B, int countB,
                       const HVector2& axis, const HVector2& xOffset, const HVector2& xVel,
                       const PhysicsMatrix& xOrient, float& taxis, float tmax);
bool FindMTD(HVector2* xAxis, float* taxis, int iNumAxes, HVector2& N, float& t);
int FindSupportPoints(const HVector2& N, float t, const HVector2* A, int count, const HVector2& PA,
                      const HVector2& VA, const PhysicsMatrix& OA, HVector2* S);
HVector2 TransformContact(const HVector2& V, const HVector2& P, const HVector2& Vel,
                          const PhysicsMatrix& O, float t);
bool ConvertSupportPointsToContacts(const HVector2& N, HVector2* S0, int S0num, HVector2* S1,
                                    int S1num, HVector2* C0, HVector2* C1, int& Cnum);
bool FindClosestPoint(const HVector2& V, const HVector2& A, const HVector2& B, HVector2& out,
                      float* t);
bool RayNearCircle(const PhysicsCircle& circle, const HVector2& origin, const HVector2& direction);
bool CirclesOverlap(const PhysicsCircle& a, const PhysicsCircle& b);
// Impulse response with friction and restitution; the step never calls it (the game
// separates bodies and leaves velocities alone).
void ResolveCollision(HVector2 N, float t, float fCoF, float fCoR, HVector2 C0, HVector2 P0,
                      HVector2& V0, float& w0, float m0, float i0, HVector2 C1, HVector2 P1,
                      HVector2& V1, float& w1, float m1, float i1);
