// Bodies, characters, rays and static geometry: loading, steering and integration.

#include "physics/physics.h"

#include <cmath>
#include <cstdio>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "events/baseevent.h"
#include "math/hmath.h"
#include "physics/collisionmanager.h"
#include "physics/physicskeys.h"

// ---- PhysicsObject ----

PhysicsObject::~PhysicsObject() {
    if (manager) manager->RemoveObject(this);
}
void PhysicsObject::Load(CfoNode*) {}
bool PhysicsObject::Update(float) { return false; }
bool PhysicsObject::Hook0() { return false; }
float PhysicsObject::Hook1() { return 0.0f; }
std::string PhysicsObject::GetTypeName() { return std::string(); }
int PhysicsObject::GetTypeId() { return 0; }
void PhysicsObject::SetDisabled(bool flag) { disabled = flag; }
void PhysicsObject::DebugDraw() {}
HVector2 PhysicsObject::GetPosition() { return HVector2(0.0f, 0.0f); }

void PhysicsObject::ClearHit() {
    hitObject = nullptr;
    hitDistance = 100000.0f;
    hitNormal = HVector2(1.0f, 0.0f);
    hitPoint = HVector2(0.0f, 0.0f);
    hasHit = false;
}

// ---- PhysicsBody ----

void PhysicsBody::AddForce(HVector2 f, HVector2 point) {
    force += f;
    torque += PhysicsCross(point - position, f);
}

void PhysicsBody::SetMass(float mass) { invMass = mass > 0.0f ? 1.0f / mass : 0.0f; }

void PhysicsBody::SetDensity(float density) {
    int n = VertexCount();
    if (n == 0) return;
    float area = 0.0f, num = 0.0f, den = 0.0f;
    for (int j = n - 1, i = 0; i < n; j = i, i++) {
        const HVector2& a = vertices[j];
        const HVector2& b = vertices[i];
        float c = std::fabs(PhysicsCross(a, b));
        area += c * 0.5f;
        num += c * (PhysicsDot(a, a) + PhysicsDot(a, b) + PhysicsDot(b, b));
        den += c;
    }
    float mass = density * area / 1000.0f;
    // A polygon of no area has no defined inertia: the body is then left as it is.
    if (den <= 0.0f) return;
    float inertia = mass / 6.0f * (num / den);
    invMass = mass > 0.0f ? 1.0f / mass : 0.0f;
    invInertia = inertia > 0.0f ? 1.0f / inertia : 0.0f;
}

bool PhysicsBody::AddVertex(HVector2 v) {
    if (vertices.size() >= size_t(kMaxVertices)) {
        printf("PhysicsBody: more than %d vertices, vertex (%g, %g) ignored\n", kMaxVertices,
               double(v.x), double(v.y));
        return false;
    }
    vertices.push_back(v);
    return true;
}

void PhysicsBody::LoadHull(CfoNode* hull, bool recentre) {
    if (!hull) return;
    for (CfoNode* child : hull->children) {
        if (!child) continue;
        CfoNode* first = child->FirstChild();
        if (first) AddVertex(CfoParseVector2(first->GetName()));
    }
    if (recentre) CentreHull();
}

void PhysicsBody::CentreHull() {
    if (vertices.empty()) return;  // no mean of nothing: the body stays where it is
    HVector2 c(0.0f, 0.0f);
    for (const HVector2& v : vertices) c += v;
    c = c * (1.0f / float(vertices.size()));
    position = c;
    for (HVector2& v : vertices) v -= c;
}

void PhysicsBody::MakeCircle(float radius, int count) {
    if (count <= 0) return;
    float step = 2.0f * HMath::PI / float(count);
    float a = HMath::PI / float(count);
    for (int i = 0; i < count; i++) {
        a += step;
        AddVertex(HVector2(std::cos(a) * radius, std::sin(a) * radius));
    }
}

PhysicsCircle PhysicsBody::GetBounds() const {
    PhysicsCircle c;
    float r2 = 0.0f;
    for (const HVector2& v : vertices) {
        float s = v.SquaredLength();
        if (s > r2) r2 = s;
    }
    c.radius = std::sqrt(r2);
    return c;
}

void PhysicsBody::GetExtents(HVector2& min, HVector2& max) const {
    min = HVector2(0.0f, 0.0f);
    max = HVector2(0.0f, 0.0f);
    for (const HVector2& v : vertices) {
        if (v.x < min.x) min.x = v.x;
        if (v.y < min.y) min.y = v.y;
        if (v.x > max.x) max.x = v.x;
        if (v.y > max.y) max.y = v.y;
    }
}

bool PhysicsBody::IsConvex() const {
    const int n = VertexCount();
    HVector2 edges[kMaxVertices];
    int m = 0;
    for (int i = 0; i < n; i++) {
        const HVector2 e = vertices[size_t((i + 1) % n)] - vertices[size_t(i)];
        if (e.x != 0.0f || e.y != 0.0f) edges[m++] = e;
    }
    if (m < 3) return true;  // a point or a segment
    bool left = false, right = false, back = false;
    float turned = 0.0f;
    for (int i = 0; i < m; i++) {
        const HVector2& a = edges[i];
        const HVector2& b = edges[(i + 1) % m];
        const float turn = PhysicsCross(a, b);  // its sign only tells the two ways apart
        const float along = PhysicsDot(a, b);
        // A turn within the rounding of the product counts as going straight on (or back).
        if (std::fabs(turn) <= 1e-6f * a.Length() * b.Length()) {
            if (along < 0.0f) back = true;
            continue;
        }
        if (turn > 0.0f)
            left = true;
        else
            right = true;
        turned += std::atan2(turn, along);
    }
    if (!left && !right) return true;  // every vertex on one line
    // Both ways is a dent; doubling back is a spike; more than one round is a star.
    return !(left && right) && !back && std::fabs(turned) < 3.0f * HMath::PI;
}

void PhysicsBody::Integrate(float dt) {
    position += velocity * dt;
    orientation += angularVelocity * dt;
    velocity += (velocity * -10.0f + force) * dt * invMass;
    angularVelocity += (angularVelocity * -100.0f + torque) * dt * invInertia;
    if (maxSpeed > 0.0f) {
        float s = velocity.SquaredLength();
        if (s > 0.001f && maxSpeed * maxSpeed < s) {
            velocity.Normalise();
            velocity *= maxSpeed;
        }
    }
    if (maxAngularSpeed > 0.0f && std::fabs(angularVelocity) > maxAngularSpeed)
        angularVelocity = angularVelocity > 0.0f ? maxAngularSpeed : -maxAngularSpeed;
    force = HVector2(0.0f, 0.0f);
    torque = 0.0f;
}

// ---- type ids ----

int PhysicsCharacter::StaticTypeId() {
    static int id = int(NewTypeId());
    return id;
}
int PhysicsRayCast::StaticTypeId() {
    static int id = int(NewTypeId());
    return id;
}
int PhysicsStaticGeometry::StaticTypeId() {
    static int id = int(NewTypeId());
    return id;
}

// ---- PhysicsCharacter ----

// The polygon tests take every hull for convex: one that is not may be reported touching
// bodies it does not reach, and the step's shortcuts then skip some of those false contacts
// (CollisionManager::pairPreTest). One line names the body and its owner, the node that
// holds the body's node, by its class and, where it has one, its "name".
static void WarnIfNotConvex(const PhysicsBody& body, const CfoNode* node, const char* kind) {
    if (body.IsConvex()) return;
    const CfoNode* owner = node->parent ? node->parent : node;
    std::string who = owner->name;
    std::string name;
    if (CfoReadString(owner, "name", name) && !name.empty()) who += " '" + name + "'";
    printf("%s of %s at (%g, %g): hull is not convex, its collisions are not reliable\n", kind,
           who.c_str(), double(body.position.x), double(body.position.y));
}

// clang-format off
constexpr CfoKey kHullKeys[] = {
    {"", CfoKeyType::Vector2, "", "one vertex \"{x,y}\" a row, counter-clockwise, at most 32"},
};
constexpr CfoKey kCharacterKeys[] = {
    {"pos", CfoKeyType::Vector2, "0,0", "place of the body in the level"},
    {"turn_speed", CfoKeyType::Float, "10000", "turning force"},
    {"move_friction", CfoKeyType::Float, "0", "kept, no effect on the motion"},
    {"turn_friction", CfoKeyType::Float, "0", "kept, no effect on the motion"},
    {"move_speed", CfoKeyType::Float, "1000", "walking force"},
    {"run_speed", CfoKeyType::Float, "1500", "running force"},
    {"fast_turn_speed", CfoKeyType::Float, "turn_speed", "turning force while running",
     nullptr, "", false, true},
    {"radius", CfoKeyType::Float, "0", "a hexagon of this size instead of a written hull"},
    {"hull", CfoKeyType::Rows, "", "the body's convex polygon, relative to pos",
     &physics_hull_keys},
    {"wander", CfoKeyType::Vector2, "10,5", "range and rate of an idle walker's wandering"},
};
constexpr CfoKey kRayCastKeys[] = {
    {"position", CfoKeyType::Vector2, "0,0", "origin of the ray"},
    {"direction", CfoKeyType::Vector2, "1,0", "direction of the ray, normalised on load"},
};
constexpr CfoKey kStaticGeometryKeys[] = {
    {"hull", CfoKeyType::Rows, "", "the convex polygon in level units; its centre becomes "
     "the body's place", &physics_hull_keys},
    {"pos", CfoKeyType::Vector2, "0,0", "moves the whole polygon"},
};
// clang-format on

const CfoKeyTable physics_hull_keys{"hull", "a convex polygon, one vertex a row", kHullKeys};
const CfoKeyTable physics_character_keys{
    "PhysicsCharacter", "the body of a character or a moving door", kCharacterKeys};
const CfoKeyTable physics_ray_cast_keys{"PhysicsRayCast",
                                        "a ray that reports the bodies it crosses", kRayCastKeys};
const CfoKeyTable physics_static_geometry_keys{
    "PhysicsStaticGeometry", "a solid polygon that never moves", kStaticGeometryKeys};

void PhysicsCharacter::Load(CfoNode* node) {
    if (!node) return;
    CfoReadVector2(node, CfoKeyOf(kCharacterKeys, "pos"), body.position);
    CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "turn_speed"), turnSpeed);
    CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "move_friction"), moveFriction);
    CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "turn_friction"), turnFriction);
    CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "move_speed"), moveSpeed);
    CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "run_speed"), runSpeed);
    // Without the key a running turn uses the walking turn speed.
    if (!CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "fast_turn_speed"), fastTurnSpeed))
        fastTurnSpeed = turnSpeed;
    float radius = 0.0f;
    if (CfoReadFloat(node, CfoKeyOf(kCharacterKeys, "radius"), radius)) {
        body.MakeCircle(1.0f, 6);
        ScaleHull(radius);
    }
    if (CfoNode* hull = CfoReadChild(node, CfoKeyOf(kCharacterKeys, "hull")))
        body.LoadHull(hull, false);
    HVector2 w(wanderRange, wanderRate);
    if (CfoReadVector2(node, CfoKeyOf(kCharacterKeys, "wander"), w)) {
        wanderRange = w.x;
        wanderRate = w.y;
    }
    WarnIfNotConvex(body, node, "PhysicsCharacter");
}

void PhysicsCharacter::ScaleHull(float size) {
    HVector2 mn, mx;
    body.GetExtents(mn, mx);
    float w = mx.x - mn.x, h = mx.y - mn.y;
    float e = w > h ? w : h;
    // A polygon with no extent cannot be scaled to a size: it is left as it is.
    if (!(e > 0.0f)) return;
    float inv = 1.0f / e;
    for (HVector2& v : body.vertices) v = v * inv * size;
}

void PhysicsCharacter::Prepare() {
    boundingCircle = body.GetBounds();
    body.SetMass(1.0f);
    body.invInertia = 0.05f;
    body.maxSpeed = 5000.0f;
    body.maxAngularSpeed = 100.0f;
}

static HVector2 FacingVector(float degrees) {
    float a = degrees * HMath::fDeg2Rad;
    return HVector2(std::cos(a), std::sin(a));
}

bool PhysicsCharacter::Update(float dt) {
    if (disabled) return false;
    bool moved = false;
    const HVector2 at = body.position;
    float d = 0.0f;  // the last distance worked out in this update
    if (moveForward == true) {
        body.AddForce(FacingVector(body.orientation) * (running ? runSpeed : moveSpeed), at);
        moved = true;
    }
    if (moveBackward == true) {
        body.AddForce(-FacingVector(body.orientation) * moveSpeed, at);
        moved = true;
    }
    if (strafeLeft == true) {
        body.AddForce(FacingVector(body.orientation + 90.0f) * moveSpeed * 0.5f, at);
        moved = true;
    }
    if (strafeRight == true) {
        body.AddForce(FacingVector(body.orientation - 90.0f) * moveSpeed * 0.5f, at);
        moved = true;
    }
    if (turnLeft == true) body.torque += turnSpeed;
    if (turnRight == true) body.torque -= turnSpeed;
    if (moveToTarget == true) {
        moved = true;
        d = (target - body.position).Length();
        if (d > 10.0f) {
            float speed = running ? runSpeed : moveSpeed;
            float approach = (d - stopDistance) * approachGain;
            body.AddForce(FacingVector(body.orientation) * (speed < approach ? speed : approach),
                          body.position);
        }
    }
    if (homeOnTarget == true) {
        HVector2 v = target - body.position;
        float s = v.SquaredLength();
        d = s;
        if (s > 1e-8f) {
            v.Normalise();
            body.AddForce(v * (moveSpeed < s ? moveSpeed : s), body.position);
        }
    }
    if (turnToTarget == true) TurnToPoint(target);
    if (turnToAngle == true) {
        float e = targetAngle - body.orientation;
        if (std::fabs(e) >= 20.0f)
            body.torque += (e * 3.0f - 20.0f) * turnSpeed;
        else
            body.torque += (e / 20.0f) * turnSpeed;
    }
    if (wander == true) {
        moved = true;
        wanderValue += HMath::RangeRandom(-wanderRange, wanderRange) * wanderRate;
        // A wander range of 0 would divide by zero: the wander then adds no turn.
        float w = wanderRange != 0.0f ? (2.0f / wanderRange) * wanderValue * turnSpeed : 0.0f;
        if (moveToTarget == true) {
            float rest = d - stopDistance;
            w *= rest != 0.0f ? 1.0f - 1.0f / rest : 0.0f;
        }
        body.torque += w / 5.0f;
    }
    body.Integrate(dt);
    boundingCircle.centre = body.position;
    return moved;
}

void PhysicsCharacter::TurnToPoint(HVector2 point) {
    HVector2 v = point - GetPosition();
    if (v.SquaredLength() < 10.0f) return;
    HVector2 l = FacingVector(body.orientation + 90.0f);
    l.Normalise();
    v.Normalise();
    float dotv = PhysicsDot(v, l);
    float crossv = PhysicsCross(v, l);
    if (std::fabs(dotv) < 0.1f && crossv < 0.0f) {
        body.torque = 0.0f;
        return;
    }
    body.torque += dotv * (running ? fastTurnSpeed : turnSpeed);
}

bool PhysicsCharacter::IsFacing(HVector2 point, float degrees) {
    HVector2 v = point - GetPosition();
    if (v.SquaredLength() < 8.0f) return true;
    HVector2 l = FacingVector(body.orientation + 90.0f);
    l.Normalise();
    v.Normalise();
    float dotv = PhysicsDot(v, l);
    float crossv = PhysicsCross(v, l);
    return std::sin((degrees / 2.0f) * HMath::fDeg2Rad) > std::fabs(dotv) && crossv < 0.0f;
}

void PhysicsCharacter::GoTo(bool on, HVector2 point) {
    moveToTarget = on;
    turnToTarget = on;
    target = point;
}
void PhysicsCharacter::FaceTowards(bool on, HVector2 point) {
    turnToTarget = on;
    target = point;
}
void PhysicsCharacter::Home(bool on, HVector2 point) {
    homeOnTarget = on;
    target = point;
}
void PhysicsCharacter::SetTargetAngle(bool on, float degrees) {
    turnToAngle = on;
    targetAngle = degrees;
}
void PhysicsCharacter::StopWander() {
    wander = false;
    wanderValue = 0.0f;
}
bool PhysicsCharacter::IsNear(HVector2 point, float distance) {
    return (point - body.position).SquaredLength() < distance * distance;
}
void PhysicsCharacter::Push(float f) {
    body.AddForce(FacingVector(body.orientation) * f, body.position);
}
void PhysicsCharacter::PushBack(float f) {
    body.AddForce(-FacingVector(body.orientation) * f, body.position);
}

// ---- PhysicsRayCast ----

void PhysicsRayCast::Load(CfoNode* node) {
    if (!node) return;
    CfoReadVector2(node, CfoKeyOf(kRayCastKeys, "position"), origin);
    CfoReadVector2(node, CfoKeyOf(kRayCastKeys, "direction"), direction);
    direction.Normalise();
}

// ---- PhysicsStaticGeometry ----

void PhysicsStaticGeometry::Load(CfoNode* node) {
    if (!node) return;
    if (CfoNode* hull = CfoReadChild(node, CfoKeyOf(kStaticGeometryKeys, "hull")))
        body.LoadHull(hull, true);
    HVector2 p;
    if (CfoReadVector2(node, CfoKeyOf(kStaticGeometryKeys, "pos"), p)) body.position += p;
    WarnIfNotConvex(body, node, "PhysicsStaticGeometry");
}

bool PhysicsStaticGeometry::Update(float) {
    bool was = touched;
    touched = false;
    return was;
}

void PhysicsStaticGeometry::Prepare() {
    body.SetMass(0.0f);
    boundingCircle = body.GetBounds();
    boundingCircle.centre = body.position;
}
