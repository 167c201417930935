// The physics world: handler table, step, delivery of hits and the spatial tree.

#include "physics/collisionmanager.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <emmintrin.h>

int32_t PairHash(int32_t a, int32_t b) {
    // Unsigned arithmetic gives the wrap-around; the shifts right are arithmetic.
    auto shl = [](int32_t v, int n) { return int32_t(uint32_t(v) << n); };
    auto add = [](int32_t x, int32_t y) { return int32_t(uint32_t(x) + uint32_t(y)); };
    int32_t h = a;
    h = add(h, shl(h, 10));
    h ^= h >> 6;
    h = add(h, b);
    h = add(h, shl(h, 10));
    h ^= h >> 6;
    h = add(h, shl(h, 3));
    h ^= h >> 11;
    h = add(h, shl(h, 15));
    return h / 500;
}

uint32_t PhysicsPackColour(float r, float g, float b, float a) {
    auto byte = [](float v) -> uint32_t {
        float f = 255.0f * v;
        if (!(f > 0.0f)) return 0;
        if (f >= 255.0f) return 255;
        return uint32_t(f);
    };
    return (byte(r) << 24) | (byte(g) << 16) | (byte(b) << 8) | byte(a);
}

// ---- the pair tests ----

bool TestCharacterStatic(PhysicsObject* a, PhysicsObject* b, float dt, HVector2&, HVector2&,
                         float&) {
    auto* ca = static_cast<PhysicsCharacter*>(a);
    auto* sb = static_cast<PhysicsStaticGeometry*>(b);
    return ca->body.Collide(sb->body, dt);
}

bool TestCharacterCharacter(PhysicsObject* a, PhysicsObject* b, float dt, HVector2&, HVector2&,
                            float&) {
    auto* ca = static_cast<PhysicsCharacter*>(a);
    auto* cb = static_cast<PhysicsCharacter*>(b);
    if (!CirclesOverlap(ca->boundingCircle, cb->boundingCircle)) return false;
    return ca->body.Collide(cb->body, dt);
}

bool TestCharacterRay(PhysicsObject* a, PhysicsObject* b, float, HVector2& point, HVector2& normal,
                      float& distance) {
    auto* ca = static_cast<PhysicsCharacter*>(a);
    auto* rb = static_cast<PhysicsRayCast*>(b);
    if (!RayNearCircle(ca->boundingCircle, rb->origin, rb->direction)) return false;
    return ca->body.RayTest(rb->origin, rb->direction, point, normal, distance);
}

bool TestStaticRay(PhysicsObject* a, PhysicsObject* b, float, HVector2& point, HVector2& normal,
                   float& distance) {
    auto* sa = static_cast<PhysicsStaticGeometry*>(a);
    auto* rb = static_cast<PhysicsRayCast*>(b);
    if (!RayNearCircle(sa->boundingCircle, rb->origin, rb->direction)) return false;
    return sa->body.RayTest(rb->origin, rb->direction, point, normal, distance);
}

// ---- tree node ----

PhysicsTreeNode::~PhysicsTreeNode() {
    delete high;
    delete low;
}

bool PhysicsTreeNode::Contains(const PhysicsCircle& c) const {
    HVector2 lo = centre - size * 0.5f;
    HVector2 hi = centre + size * 0.5f;
    return c.centre.x - c.radius >= lo.x && c.centre.x + c.radius <= hi.x &&
           c.centre.y - c.radius >= lo.y && c.centre.y + c.radius <= hi.y;
}

// ---- CollisionManager ----

CollisionManager::CollisionManager() {
    tree = new PhysicsTreeNode();
    RegisterHandler<PhysicsCharacter, PhysicsStaticGeometry>(&TestCharacterStatic);
    RegisterHandler<PhysicsCharacter, PhysicsCharacter>(&TestCharacterCharacter);
    RegisterHandler<PhysicsCharacter, PhysicsRayCast>(&TestCharacterRay);
    RegisterHandler<PhysicsStaticGeometry, PhysicsRayCast>(&TestStaticRay);
}

CollisionManager::~CollisionManager() {
    // Objects that outlive the world must not call back into it.
    for (PhysicsObject* obj : objects) {
        if (obj->manager == this) obj->manager = nullptr;
        obj->treeNode = nullptr;
    }
    for (CollisionHandler* h : handlerArray) delete h;
    for (auto& entry : handlerMap) delete entry.second;
    delete tree;
}

void CollisionManager::AddObject(PhysicsObject* obj) {
    if (!obj) return;
    objects.push_back(obj);
    obj->manager = this;
}

void CollisionManager::RemoveObject(PhysicsObject* obj) {
    if (!obj) return;
    objects.remove(obj);
    // The tree must not keep a pointer to an object that may be dying.
    if (obj->treeNode) RemoveFromTree(obj);
    ForgetQueuedContacts(obj);
}

// The contacts of the last step reach their entities one update later; an object that
// leaves the world in between (its owner deleted, the scene changed) must not be handed to
// the other side of the pair from them. Its place in each waiting event becomes 0, which
// receivers ignore.
void CollisionManager::ForgetQueuedContacts(const PhysicsObject* obj) {
    if (eventManager == nullptr || obj == nullptr) return;
    for (EventManager::EventQueue* list :
         {eventManager->next, eventManager->delayed, eventManager->current}) {
        if (list == nullptr) continue;
        for (BaseEvent* event : *list) {
            if (event == nullptr || event->GetTypeKey() != GenericCollisionEvent::StaticTypeKey())
                continue;
            auto* contact = static_cast<GenericCollisionEvent*>(event);
            if (contact->self == obj) contact->self = nullptr;
            if (contact->other == obj) contact->other = nullptr;
        }
    }
}

CollisionHandler* CollisionManager::FindHandler(int firstId, int secondId) const {
    auto it = handlerMap.lower_bound({firstId, secondId});
    if (it == handlerMap.end()) return nullptr;
    if (PairHash(it->first.first, it->first.second) != PairHash(firstId, secondId)) return nullptr;
    return it->second;
}

void CollisionManager::PostGeneric(PhysicsObject* me, PhysicsObject* other, const HVector2& point,
                                   const HVector2& normal, float distance) {
    if (!eventManager) {
        printf("CollisionManager:EventManager not set\n");
        return;
    }
    PostCollisionEvent<GenericCollisionEvent>(eventManager, me, other, point, normal, distance);
}

void CollisionManager::Deliver(PhysicsObject* me, PhysicsObject* other, const HVector2& point,
                               const HVector2& normal, float distance) {
    if (!me->entity) return;
    const float t = distance;
    const HVector2 r = me->range;
    bool remember = false;
    switch (me->collisionMode) {
        case 0:
            PostGeneric(me, other, point, normal, distance);
            return;
        case 1:
            remember = true;
            break;
        case 2:
            if (r.x < t && t < r.y) PostGeneric(me, other, point, normal, distance);
            return;
        case 3:
            remember = r.x < t && t < r.y;
            break;
        default:
            return;
    }
    if (remember && t < me->hitDistance) {
        me->hasHit = true;
        me->hitObject = other;
        me->hitPoint = point;
        me->hitNormal = normal;
        me->hitDistance = t;
    }
}

// The ray pairs' circle test (RayNearCircle) without its division, as the pair loop's
// pre-test. Behind the origin the nearest point is the origin itself, exactly as the test
// finds it; ahead, a ray clearly wide of the circle (by a margin far above the rounding of
// the test) cannot pass it. Both answers are worked out and one is picked, so that the
// loops that call it do not branch. True when the pair may pass.
static inline bool RayMayPass(float cx, float cy, float cr, float ox, float oy, float dx,
                              float dy) {
    const float kx = cx - ox, ky = cy - oy;
    const float along = kx * dx + ky * dy;
    const float k2 = kx * kx + ky * ky;
    const float side = ky * dx - kx * dy;
    const float dd = dx * dx + dy * dy;
    const float wide = cr + 1e-3f * (1.0f + cr + std::fabs(kx) + std::fabs(ky));
    const bool behind = !(along > 0.0f);
    const bool nearOrigin = !(k2 > cr * cr);
    const bool nearLine = !(side * side > wide * wide * dd);
    return (behind & nearOrigin) | (!behind & nearLine);
}

// A looser pre-test for four pairs at once: circles (kx, ky from the ray's origin to the
// centres, `grow` their radii and a little more, or infinity for a circle that is not
// finite) against rays (unit directions ux, uy and their `strip`). A circle may pass when
// its centre lies within its grow plus the strip of the line and no further behind the
// origin. Every pair that RayMayPass lets through passes this one (see ListPartners); NaN
// passes. It picks the few pairs that RayMayPass needs to look at. A bit per lane.
static inline int NearStrip4(__m128 kx, __m128 ky, __m128 grow, __m128 ux, __m128 uy,
                             __m128 strip) {
    const __m128 absMask = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 reach = _mm_add_ps(grow, strip);
    const __m128 side = _mm_and_ps(_mm_sub_ps(_mm_mul_ps(ky, ux), _mm_mul_ps(kx, uy)), absMask);
    const __m128 along = _mm_add_ps(_mm_mul_ps(kx, ux), _mm_mul_ps(ky, uy));
    const __m128 pass = _mm_and_ps(_mm_cmpngt_ps(side, reach),
                                   _mm_cmpnlt_ps(along, _mm_sub_ps(_mm_setzero_ps(), reach)));
    return _mm_movemask_ps(pass);
}

void CollisionManager::Step(float dt, float time) {
    if (objects.empty()) return;
    IntegrateObjects(dt, time);
    GatherObjects();
    ChooseHandlers();
    ListPartners();
    TestPairs(dt);
    PostNearestHits();
}

// Bodies move at most 30 times a second whatever the frame rate: the game's forces and
// speeds are tuned to that step. A sooner frame moves nothing and leaves nothing over for
// the next (no accumulator, no sub-steps); a longer frame moves once by its own dt, up to
// kLongestStep: a hitch of seconds (a shader compiled on first use, a busy machine) would
// otherwise carry a walking figure deep into a wall and out of its far side.
void CollisionManager::IntegrateObjects(float dt, float time) {
    float step = 1.0f / 30.0f;
    if (time - lastUpdateTime > step) {
        if (dt > step) step = dt < kLongestStep ? dt : kLongestStep;
        lastUpdateTime = time;
        for (PhysicsObject* obj : objects) obj->Update(step);
    }
}

// The kinds, polygons, flags and entities of the objects cannot change inside the pair loop
// (no handler runs during it), so they are read once a step rather than once a pair.
// Positions are not gathered: separations move bodies within the loop, and later pairs
// must see where they were moved to.
void CollisionManager::GatherObjects() {
    const int charId = PhysicsCharacter::StaticTypeId();
    const int staticId = PhysicsStaticGeometry::StaticTypeId();
    const int rayId = PhysicsRayCast::StaticTypeId();
    plan.otherKinds = false;
    scratch.clear();
    for (PhysicsObject* obj : objects) {
        StepEntry e{obj,
                    nullptr,
                    obj->GetTypeId(),
                    3,
                    obj->disabled,
                    obj->entity,
                    0.0f,
                    obj->boundingCircle.centre.x,
                    obj->boundingCircle.centre.y,
                    obj->boundingCircle.radius,
                    0.0f,
                    0.0f,
                    0.0f,
                    0.0f,
                    0.0f,
                    0.0f};
        if (e.typeId == charId) {
            e.kind = 0;
            e.body = &static_cast<PhysicsCharacter*>(obj)->body;
        } else if (e.typeId == staticId) {
            e.kind = 1;
            e.body = &static_cast<PhysicsStaticGeometry*>(obj)->body;
        } else if (e.typeId == rayId) {
            e.kind = 2;
            const PhysicsRayCast* ray = static_cast<const PhysicsRayCast*>(obj);
            e.cx = ray->origin.x;
            e.cy = ray->origin.y;
            e.dx = ray->direction.x;
            e.dy = ray->direction.y;
        } else {
            plan.otherKinds = true;
        }
        if (e.body) {
            float r2 = 0.0f;
            const int n = e.body->VertexCount();
            for (int k = 0; k < n; k++) {
                float s = e.body->vertices[k].SquaredLength();
                if (s > r2) r2 = s;
            }
            e.reach = std::sqrt(r2);
        }
        scratch.push_back(e);
    }
}

// The table lookup (with the swapped order as a second try) depends only on the two type
// ids, and the table does not change during the step: each pair of ids is looked up once.
CollisionHandler* CollisionManager::LookupHandler(int first, int second, bool& swapped) {
    for (const HandlerCacheEntry& c : handlerCache) {
        if (c.first == first && c.second == second) {
            swapped = c.swapped;
            return c.handler;
        }
    }
    swapped = false;
    CollisionHandler* h = FindHandler(first, second);
    if (!h) {
        h = FindHandler(second, first);
        swapped = true;
    }
    handlerCache.push_back({first, second, h, swapped});
    return h;
}

// The handler of every pair of the three kinds, and which shortcuts they allow. The
// shortcuts stand in for the circle and polygon tests of the four handlers of the table and
// of no other, so each is allowed only where the handlers it relies on are in place.
void CollisionManager::ChooseHandlers() {
    const int charId = PhysicsCharacter::StaticTypeId();
    const int staticId = PhysicsStaticGeometry::StaticTypeId();
    const int rayId = PhysicsRayCast::StaticTypeId();
    const int kindIds[3] = {charId, staticId, rayId};
    handlerCache.clear();
    for (int a = 0; a < 3; a++)
        for (int b = 0; b < 3; b++)
            plan.kindHandler[a][b] = LookupHandler(kindIds[a], kindIds[b], plan.kindSwapped[a][b]);
    plan.polyHandlers[0] = FindHandler(charId, staticId);
    plan.polyHandlers[1] = FindHandler(charId, charId);
    plan.rayHandlers[0] = FindHandler(charId, rayId);
    plan.rayHandlers[1] = FindHandler(staticId, rayId);

    // Pairs of kinds without a handler are passed over without visiting them.
    plan.pruneRays = pairPreTest && !plan.otherKinds && !plan.kindHandler[2][2];
    plan.pruneStatics = pairPreTest && !plan.otherKinds && !plan.kindHandler[1][1];

    // Ray pairs are settled ahead only where every pair of the three kinds goes to one of
    // the four handlers of the table...
    bool fastRays = plan.pruneRays && plan.pruneStatics;
    for (int a = 0; a < 2; a++) {
        for (CollisionHandler* h : {plan.kindHandler[a][2], plan.kindHandler[2][a]})
            if (h != plan.rayHandlers[0] && h != plan.rayHandlers[1]) fastRays = false;
    }
    for (CollisionHandler* h :
         {plan.kindHandler[0][0], plan.kindHandler[0][1], plan.kindHandler[1][0]})
        if (h != plan.polyHandlers[0] && h != plan.polyHandlers[1]) fastRays = false;
    // ...and each handler takes the body first and the ray (or the wall) second.
    const auto& sw = plan.kindSwapped;
    if (sw[0][1] || !sw[1][0] || sw[0][2] || sw[1][2] || !sw[2][0] || !sw[2][1]) fastRays = false;
    plan.fastRays = fastRays;
}

// The partners an object may meet, in list order: all objects; all but rays, or all but
// static geometry, for an object whose own kind it cannot meet; and, for the settled ray
// pairs, the rays, the bodies and the characters with their rays' origins and directions
// and their bodies' circles side by side, so that four pairs are tested at once.
void CollisionManager::ListPartners() {
    const size_t count = scratch.size();
    allIndex.clear();
    nonRayIndex.clear();
    nonStaticIndex.clear();
    for (size_t k = 0; k < count; k++) {
        allIndex.push_back(uint32_t(k));
        if (scratch[k].kind != 2) nonRayIndex.push_back(uint32_t(k));
        if (scratch[k].kind != 1) nonStaticIndex.push_back(uint32_t(k));
    }

    rayIndex.clear();
    bodyIndex.clear();
    for (std::vector<float>* v : {&rayOx, &rayOy, &rayDx, &rayDy, &bodyCx, &bodyCy, &bodyCr})
        v->clear();
    charIndex.clear();
    for (size_t k = 0; k < count; k++) {
        if (scratch[k].disabled) continue;
        const StepEntry& e = scratch[k];
        if (e.kind == 2) {
            rayIndex.push_back(uint32_t(k));
            rayOx.push_back(e.cx);
            rayOy.push_back(e.cy);
            rayDx.push_back(e.dx);
            rayDy.push_back(e.dy);
        }
        if (e.kind < 2) {
            bodyIndex.push_back(uint32_t(k));
            bodyCx.push_back(e.cx);
            bodyCy.push_back(e.cy);
            bodyCr.push_back(e.cr);
        }
        if (scratch[k].kind == 0) charIndex.push_back(uint32_t(k));
    }

    // The looser ray pre-test (NearStrip4). RayMayPass lets a circle through only when its
    // centre lies within |r| + 1e-3 (1 + |r| + |kx| + |ky|) of the half-line (k: from the
    // origin to the centre), behind the origin only within |r| of it. The circle's part
    // becomes its `grow`, 1.002 |r|; with the centres' bounds the rest is at most
    // 1e-3 (1 + far) for a ray, `far` its greatest |kx| + |ky| over the bounds, and the
    // strip takes 1.1e-3 (1 + far) plus room for rounding. A circle that is not finite, or a
    // ray that is not finite or whose direction is too short or long to normalise, passes
    // by an infinite reach.
    bool any = false;
    float lo[2] = {0.0f, 0.0f}, hi[2] = {0.0f, 0.0f};
    bodyGrow.clear();
    for (uint32_t k : bodyIndex) {
        StepEntry& e = scratch[k];
        const bool finite = std::isfinite(e.cx) && std::isfinite(e.cy) && std::isfinite(e.cr);
        e.grow = finite ? std::fabs(e.cr) * 1.002f : INFINITY;
        if (!std::isfinite(e.grow)) e.grow = INFINITY;
        bodyGrow.push_back(e.grow);
        if (!finite) continue;
        lo[0] = any ? std::min(lo[0], e.cx) : e.cx;
        hi[0] = any ? std::max(hi[0], e.cx) : e.cx;
        lo[1] = any ? std::min(lo[1], e.cy) : e.cy;
        hi[1] = any ? std::max(hi[1], e.cy) : e.cy;
        any = true;
    }
    rayUx.clear();
    rayUy.clear();
    rayStrip.clear();
    for (uint32_t k : rayIndex) {
        StepEntry& e = scratch[k];
        const float dd = e.dx * e.dx + e.dy * e.dy;
        e.ux = e.uy = 0.0f;
        e.strip = INFINITY;
        if (any && std::isfinite(e.cx) && std::isfinite(e.cy) && std::isfinite(e.dx) &&
            std::isfinite(e.dy) && dd > 1e-20f && dd < 1e30f) {
            const float len = std::sqrt(dd);
            const double ox = e.cx, oy = e.cy;
            const double far = std::max(std::fabs(lo[0] - ox), std::fabs(hi[0] - ox)) +
                               std::max(std::fabs(lo[1] - oy), std::fabs(hi[1] - oy));
            const double strip =
                1.1e-3 * (1.0 + far) + 1e-5 * (2.0 * (std::fabs(ox) + std::fabs(oy)) + far + 1.0);
            if (strip < 1e30) {
                e.ux = e.dx / len;
                e.uy = e.dy / len;
                e.strip = float(strip);
            }
        }
        rayUx.push_back(e.ux);
        rayUy.push_back(e.uy);
        rayStrip.push_back(e.strip);
    }
}

// Every unordered pair once, i before j, in list order: the order in which the hits of
// one step reach the entities, and in which separations move bodies, is part of the
// game's behaviour.
void CollisionManager::TestPairs(float dt) {
    carry = PairCarry();
    carry.dt = dt;
    PartnerCursors at;
    const size_t count = scratch.size();
    useGrid = plan.fastRays && broadphase && charIndex.size() >= size_t(broadphaseFromCharacters);
    if (useGrid) PrepareBroadphase();
    rayLists = useGrid;
    if (rayLists) SettleRayPairs();
    for (size_t i = 0; i < count; i++) {
        while (at.nonRay < nonRayIndex.size() && nonRayIndex[at.nonRay] < i) at.nonRay++;
        while (at.nonStatic < nonStaticIndex.size() && nonStaticIndex[at.nonStatic] < i)
            at.nonStatic++;
        while (at.ray < rayIndex.size() && rayIndex[at.ray] <= i) at.ray++;
        while (at.body < bodyIndex.size() && bodyIndex[at.body] <= i) at.body++;
        while (at.chr < charIndex.size() && charIndex[at.chr] <= i) at.chr++;
        const StepEntry& ei = scratch[i];
        if (ei.disabled) continue;
        if (!plan.fastRays)
            ListedPairsOf(i, ei, at);
        else if (ei.kind == 2)
            SettledPairsOfRay(ei, at);
        else if (useGrid)
            GridPairsOfBody(uint32_t(i), ei, at);
        else
            SettledPairsOfBody(ei, at);
    }
}

// Which cheap test may go ahead of a pair's handler: 1 for the two polygon handlers on two
// bodies, 2 for the two ray handlers on a body and a ray, 0 for anything else.
int CollisionManager::PreTestOf(const CollisionHandler* h, const StepEntry& a,
                                const StepEntry& b) const {
    if (a.body && b.body && (h == plan.polyHandlers[0] || h == plan.polyHandlers[1])) return 1;
    if (((a.kind == 2 && b.body) || (b.kind == 2 && a.body)) &&
        (h == plan.rayHandlers[0] || h == plan.rayHandlers[1]))
        return 2;
    return 0;
}

// Each polygon lies within its reach of its position whatever its orientation: boxes apart
// means polygons apart, which the polygon test of convex hulls reports as no collision,
// leaving point, normal and distance alone. The positions are read as they stand, after
// the separations of earlier pairs.
bool CollisionManager::BoxesApart(const StepEntry& a, const StepEntry& b) {
    const float lim = a.reach + b.reach;
    const float margin = 1e-3f * (1.0f + lim);
    const float dx = std::fabs(a.body->position.x - b.body->position.x);
    const float dy = std::fabs(a.body->position.y - b.body->position.y);
    return dx > lim + margin || dy > lim + margin;
}

// RayMayPass on the values gathered for the step; `holder` is the body of the pair.
bool CollisionManager::RayPairMayPass(const StepEntry& holder, const StepEntry& ray) {
    return RayMayPass(holder.cx, holder.cy, holder.cr, ray.cx, ray.cy, ray.dx, ray.dy);
}

// One pair, i before j: its handler, the pre-test unless `settled` says a ray pair already
// passed it, the handler's test, and the hit given first to i and then to j.
void CollisionManager::VisitPair(const StepEntry& ei, const StepEntry& ej, bool settled) {
    PhysicsObject* oi = ei.obj;
    PhysicsObject* oj = ej.obj;
    if (oi == oj || ej.disabled) return;
    CollisionHandler* handler;
    bool swapped;
    if (ei.kind < 3 && ej.kind < 3) {
        handler = plan.kindHandler[ei.kind][ej.kind];
        swapped = plan.kindSwapped[ei.kind][ej.kind];
    } else {
        handler = LookupHandler(ei.typeId, ej.typeId, swapped);
    }
    // Two objects of one entity never meet, nor do two objects without an entity.
    if (!handler || ei.entity == ej.entity) return;
    if (pairPreTest && !settled) {
        const int pre = PreTestOf(handler, ei, ej);
        if (pre == 1) {
            if (BoxesApart(ei, ej)) return;
        } else if (pre == 2) {
            if (!(ei.kind == 2 ? RayPairMayPass(ej, ei) : RayPairMayPass(ei, ej))) return;
        }
    }
    PhysicsObject* A = swapped ? oj : oi;
    PhysicsObject* B = swapped ? oi : oj;
    if (!handler->Test(A, B, carry.point, carry.normal, carry.distance, carry.dt)) return;
    Deliver(oi, oj, carry.point, carry.normal, carry.distance);
    Deliver(oj, oi, carry.point, carry.normal, carry.distance);
}

// The partners of i one by one, each through the whole of VisitPair: the path of a step
// with the shortcuts off, or with kinds or handlers the settled path does not know.
void CollisionManager::ListedPairsOf(size_t i, const StepEntry& ei, const PartnerCursors& at) {
    const uint32_t* js = allIndex.data() + i;
    size_t jn = scratch.size() - i;
    if (ei.kind == 2 && plan.pruneRays) {
        js = nonRayIndex.data() + at.nonRay;
        jn = nonRayIndex.size() - at.nonRay;
    } else if (ei.kind == 1 && plan.pruneStatics) {
        js = nonStaticIndex.data() + at.nonStatic;
        jn = nonStaticIndex.size() - at.nonStatic;
    }
    for (size_t jj = 0; jj < jn; jj++) VisitPair(ei, scratch[js[jj]], false);
}

// Rays and bounding circles stay put during the pair loop (separation moves bodies, not
// their circles), so the circle tests of a ray's pairs can all be settled before any of
// them is visited: in a tight loop, four at a time. A ray meets bodies only, and those that
// may pass are visited in list order.
void CollisionManager::SettledPairsOfRay(const StepEntry& ray, const PartnerCursors& at) {
    if (rayLists) {
        // This ray's place in rayIndex is the one before the cursor; its bodies are in order.
        const size_t q = at.ray - 1;
        for (uint32_t k = rayBodyStart[q]; k < rayBodyStart[q + 1]; k++) {
            const uint32_t b = rayBodies[k];
            if (b >= at.body) VisitPair(ray, scratch[bodyIndex[b]], true);
        }
        return;
    }
    candidates.clear();
    const size_t n = bodyIndex.size();
    const float *cx = bodyCx.data(), *cy = bodyCy.data(), *cr = bodyCr.data();
    const float* grow = bodyGrow.data();
    const __m128 OX = _mm_set1_ps(ray.cx), OY = _mm_set1_ps(ray.cy);
    const __m128 UX = _mm_set1_ps(ray.ux), UY = _mm_set1_ps(ray.uy);
    const __m128 S = _mm_set1_ps(ray.strip);
    size_t k = at.body;
    for (; k + 4 <= n; k += 4) {
        int bits =
            NearStrip4(_mm_sub_ps(_mm_loadu_ps(cx + k), OX), _mm_sub_ps(_mm_loadu_ps(cy + k), OY),
                       _mm_loadu_ps(grow + k), UX, UY, S);
        for (; bits; bits &= bits - 1) {
            const size_t j = k + size_t(__builtin_ctz(unsigned(bits)));
            if (RayMayPass(cx[j], cy[j], cr[j], ray.cx, ray.cy, ray.dx, ray.dy))
                candidates.push_back(bodyIndex[j]);
        }
    }
    for (; k < n; k++)
        if (RayMayPass(cx[k], cy[k], cr[k], ray.cx, ray.cy, ray.dx, ray.dy))
            candidates.push_back(bodyIndex[k]);
    for (uint32_t j : candidates) VisitPair(ray, scratch[j], true);
}

// A body's ray pairs are settled ahead as a ray's are (SettledPairsOfRay), then merged in
// list order with its polygon partners, whose box test reads positions as they stand: all
// bodies after a character, the characters after a static body.
void CollisionManager::SettledRaysOfBody(const StepEntry& body, const PartnerCursors& at) {
    candidates.clear();
    if (rayLists) {
        const size_t b = at.body - 1;  // this body's place in bodyIndex
        candidates.assign(bodyRays.begin() + bodyRayStart[b],
                          bodyRays.begin() + bodyRayStart[b + 1]);
        return;
    }
    const size_t n = rayIndex.size();
    const float *ox = rayOx.data(), *oy = rayOy.data(), *dx = rayDx.data(), *dy = rayDy.data();
    const float *ux = rayUx.data(), *uy = rayUy.data(), *strip = rayStrip.data();
    const __m128 CX = _mm_set1_ps(body.cx), CY = _mm_set1_ps(body.cy);
    const __m128 G = _mm_set1_ps(body.grow);
    size_t k = at.ray;
    for (; k + 4 <= n; k += 4) {
        int bits =
            NearStrip4(_mm_sub_ps(CX, _mm_loadu_ps(ox + k)), _mm_sub_ps(CY, _mm_loadu_ps(oy + k)),
                       G, _mm_loadu_ps(ux + k), _mm_loadu_ps(uy + k), _mm_loadu_ps(strip + k));
        for (; bits; bits &= bits - 1) {
            const size_t j = k + size_t(__builtin_ctz(unsigned(bits)));
            if (RayMayPass(body.cx, body.cy, body.cr, ox[j], oy[j], dx[j], dy[j]))
                candidates.push_back(rayIndex[j]);
        }
    }
    for (; k < n; k++)
        if (RayMayPass(body.cx, body.cy, body.cr, ox[k], oy[k], dx[k], dy[k]))
            candidates.push_back(rayIndex[k]);
}

void CollisionManager::SettledPairsOfBody(const StepEntry& body, const PartnerCursors& at) {
    SettledRaysOfBody(body, at);
    const uint32_t* bodies =
        body.kind == 0 ? bodyIndex.data() + at.body : charIndex.data() + at.chr;
    const size_t nb = body.kind == 0 ? bodyIndex.size() - at.body : charIndex.size() - at.chr;
    // The polygon partners bodies[b] onwards that come before list index `limit`, with the
    // box test of VisitPair done here so that most pairs end without a call. It runs once
    // for each ray partner: kept inline, as a function of its own it cost the step 6 %.
    const StepEntry* entries = scratch.data();  // no visit adds to it
    size_t b = 0;
    auto polygonPairsBefore = [&](uint32_t limit) {
        for (; b < nb && bodies[b] < limit; b++) {
            const StepEntry& ej = entries[bodies[b]];
            if (!BoxesApart(body, ej)) VisitPair(body, ej, true);
        }
    };
    for (uint32_t ray : candidates) {
        polygonPairsBefore(ray);
        VisitPair(body, entries[ray], true);
    }
    polygonPairsBefore(UINT32_MAX);
}

// ---- the broadphase ----

namespace {

// Boxes covering more cells than this are handed to every search instead.
constexpr int kGridWideCells = 16;
// The grid never has more than this many cells a side.
constexpr int kGridMaxSide = 256;
// More body-grid rebuilds than this in one step (bodies pushed far, again and again): the
// rest of the step compares every partner, as without the grid.
constexpr int kGridMaxRebuilds = 8;
// A body with no more partners than this after it compares them all, as without the grid.
constexpr long kGridFromPartners = 24;

bool Finite(float v) { return std::isfinite(v); }

}  // namespace

void CollisionManager::Grid::Build(const std::vector<uint32_t>& ids, const std::vector<float>& lx,
                                   const std::vector<float>& ly, const std::vector<float>& hx,
                                   const std::vector<float>& hy) {
    const size_t n = ids.size();
    span.assign(4 * n, -1);
    wide.clear();
    items.clear();
    auto usable = [&](size_t k) {
        return Finite(lx[k]) && Finite(ly[k]) && Finite(hx[k]) && Finite(hy[k]) && lx[k] <= hx[k] &&
               ly[k] <= hy[k];
    };
    size_t m = 0;
    double sizes = 0.0;
    float minX = 0.0f, minY = 0.0f, maxX = 0.0f, maxY = 0.0f;
    for (size_t k = 0; k < n; k++) {
        if (!usable(k)) continue;
        if (m == 0) {
            minX = lx[k];
            minY = ly[k];
            maxX = hx[k];
            maxY = hy[k];
        }
        minX = std::min(minX, lx[k]);
        minY = std::min(minY, ly[k]);
        maxX = std::max(maxX, hx[k]);
        maxY = std::max(maxY, hy[k]);
        sizes += std::max(double(hx[k]) - lx[k], double(hy[k]) - ly[k]);
        m++;
    }
    nx = ny = 0;
    start.assign(1, 0);
    if (m == 0) {
        wide = ids;
        return;
    }
    // About one cell per box, and no smaller than the boxes on average.
    const double w = double(maxX) - minX, h = double(maxY) - minY;
    cell = std::max({std::sqrt(w * h / double(m)), sizes / double(m),
                     std::max(w, h) / double(kGridMaxSide - 1)});
    if (!(cell > 0.0) || !std::isfinite(cell)) cell = std::max(w, h) > 0.0 ? std::max(w, h) : 1.0;
    x0 = minX;
    y0 = minY;
    nx = std::min(kGridMaxSide, int(w / cell) + 1);
    ny = std::min(kGridMaxSide, int(h / cell) + 1);
    start.assign(size_t(nx) * size_t(ny) + 1, 0);
    for (size_t k = 0; k < n; k++) {
        int c0, r0, c1, r1;
        if (!usable(k) || !Cells(lx[k], ly[k], hx[k], hy[k], c0, r0, c1, r1) ||
            (c1 - c0 + 1) * (r1 - r0 + 1) > kGridWideCells) {
            wide.push_back(ids[k]);
            continue;
        }
        span[4 * k] = c0;
        span[4 * k + 1] = r0;
        span[4 * k + 2] = c1;
        span[4 * k + 3] = r1;
        for (int r = r0; r <= r1; r++)
            for (int c = c0; c <= c1; c++) start[size_t(r) * size_t(nx) + size_t(c) + 1]++;
    }
    for (size_t c = 1; c < start.size(); c++) start[c] += start[c - 1];
    items.resize(start.back());
    std::vector<uint32_t>& fill = scratchFill;
    fill.assign(start.begin(), start.end() - 1);
    for (size_t k = 0; k < n; k++) {
        if (span[4 * k] < 0) continue;
        for (int r = span[4 * k + 1]; r <= span[4 * k + 3]; r++)
            for (int c = span[4 * k]; c <= span[4 * k + 2]; c++)
                items[fill[size_t(r) * size_t(nx) + size_t(c)]++] = ids[k];
    }
}

bool CollisionManager::Grid::Cells(double lx, double ly, double hx, double hy, int& c0, int& r0,
                                   int& c1, int& r1) const {
    if (nx == 0) return false;
    // The cell of a coordinate, -1 before the first and n past the last. It never decreases
    // as the coordinate grows, so two boxes that overlap share a cell.
    const double inverse = 1.0 / cell;
    auto at = [inverse](double v, double origin, int n) {
        const double f = (v - origin) * inverse;
        if (!(f >= 0.0)) return -1;
        if (f >= double(n)) return n;
        return int(f);
    };
    c0 = at(lx, x0, nx);
    c1 = at(hx, x0, nx);
    r0 = at(ly, y0, ny);
    r1 = at(hy, y0, ny);
    if (c1 < 0 || c0 >= nx || r1 < 0 || r0 >= ny) return false;
    c0 = std::max(c0, 0);
    r0 = std::max(r0, 0);
    c1 = std::min(c1, nx - 1);
    r1 = std::min(r1, ny - 1);
    return true;
}

// A fresh mark for a search's de-duplication (the marks restart at 1 when they run out).
void CollisionManager::NewStamp() {
    if (++stampNow == 0) {
        std::fill(stamp.begin(), stamp.end(), 0u);
        stampNow = 1;
    }
}

void CollisionManager::PrepareBroadphase() {
    gridOff = false;
    gridRebuilds = 0;
    stamp.assign(scratch.size(), 0u);
    stampNow = 0;
    builtX.assign(scratch.size(), 0.0f);
    builtY.assign(scratch.size(), 0.0f);
    BuildBodyGrid();
}

// Each body's box: its position plus its reach and the box comparison's margin, with room
// for rounding. The positions it is built from are kept to measure later moves against.
void CollisionManager::BuildBodyGrid() {
    for (std::vector<float>* v : {&boxLx, &boxLy, &boxHx, &boxHy}) v->clear();
    for (uint32_t k : bodyIndex) {
        const StepEntry& e = scratch[k];
        const HVector2 p = e.body->position;
        const float half =
            e.reach * 1.001f + 1e-5f * (std::fabs(p.x) + std::fabs(p.y) + e.reach + 1.0f);
        boxLx.push_back(p.x - half);
        boxLy.push_back(p.y - half);
        boxHx.push_back(p.x + half);
        boxHy.push_back(p.y + half);
        builtX[k] = p.x;
        builtY[k] = p.y;
    }
    bodyGrid.Build(bodyIndex, boxLx, boxLy, boxHx, boxHy);
    moved = 0.0;
}

// The polygon partners of `body` after entry `after`, in list order: every body the box
// comparison may let through where the body stands now (all bodies for a character, the
// characters for a static body), and perhaps a few it will not.
void CollisionManager::QueryPolygonPartners(const StepEntry& body, uint32_t after) {
    polyCand.clear();
    const bool character = body.kind == 0;
    const HVector2 p = body.body->position;
    if (!gridOff && !(moved <= 0.5 * bodyGrid.cell)) {
        if (++gridRebuilds > kGridMaxRebuilds)
            gridOff = true;
        else
            BuildBodyGrid();
    }
    // Two bodies are compared when their positions lie within the sum of their reaches
    // plus a margin of 1e-3 (1 + that sum) on both axes: the other body's part is in its
    // box, this body's part and the moves since the grid was built widen the search.
    const double half = double(body.reach) * 1.001 + 1e-3 + moved +
                        1e-5 * (std::fabs(double(p.x)) + std::fabs(double(p.y)) + body.reach + 1.0);
    int c0, r0, c1, r1;
    // A short list of partners is taken whole: searching the grid would cost more.
    const std::vector<uint32_t>& all = character ? bodyIndex : charIndex;
    const auto first = std::upper_bound(all.begin(), all.end(), after);
    const bool searchable = !gridOff && Finite(p.x) && Finite(p.y) && std::isfinite(half) &&
                            all.end() - first > kGridFromPartners;
    if (!searchable) {
        polyCand.assign(first, all.end());
        return;
    }
    NewStamp();
    auto take = [&](uint32_t j) {
        if (j <= after || stamp[j] == stampNow) return;
        stamp[j] = stampNow;
        if (character || scratch[j].kind == 0) polyCand.push_back(j);
    };
    if (bodyGrid.Cells(p.x - half, p.y - half, p.x + half, p.y + half, c0, r0, c1, r1)) {
        for (int r = r0; r <= r1; r++) {
            for (int c = c0; c <= c1; c++) {
                const size_t cell = size_t(r) * size_t(bodyGrid.nx) + size_t(c);
                for (uint32_t at = bodyGrid.start[cell]; at < bodyGrid.start[cell + 1]; at++)
                    take(bodyGrid.items[at]);
            }
        }
    }
    for (uint32_t j : bodyGrid.wide) take(j);
    std::sort(polyCand.begin(), polyCand.end());
}

// SettledPairsOfBody with the partners from the grids. A separation that moves this body
// searches again from where it now stands, for the partners after the one just met; one that
// moves the partner counts towards how far the grid has gone out of date.
void CollisionManager::GridPairsOfBody(uint32_t index, const StepEntry& body,
                                       const PartnerCursors& cursors) {
    SettledRaysOfBody(body, cursors);
    QueryPolygonPartners(body, index);
    const StepEntry* entries = scratch.data();  // no visit adds to it
    HVector2& p = body.body->position;
    HVector2 was = p;
    size_t b = 0;
    auto polygonPairsBefore = [&](uint32_t limit) {
        while (b < polyCand.size() && polyCand[b] < limit) {
            const uint32_t j = polyCand[b++];
            const StepEntry& ej = entries[j];
            if (BoxesApart(body, ej)) continue;
            VisitPair(body, ej, true);
            const HVector2& q = ej.body->position;
            if (Finite(builtX[j]) && Finite(builtY[j])) {
                const double d = std::max(std::fabs(double(q.x) - builtX[j]),
                                          std::fabs(double(q.y) - builtY[j]));
                if (!(d <= moved)) moved = std::isnan(d) ? INFINITY : d;
            }
            if (std::memcmp(&p, &was, sizeof p) != 0) {
                was = p;
                QueryPolygonPartners(body, j);
                b = 0;
            }
        }
    };
    for (uint32_t ray : candidates) {
        polygonPairsBefore(ray);
        VisitPair(body, entries[ray], true);
    }
    polygonPairsBefore(UINT32_MAX);
}

// The ray pairs of the whole step, settled before the loop (rays and circles do not move
// in it). The bodies' circles are put in groups of kGroupSize that lie close together
// (sorted along a Z-order curve over their centres), each with the box of its centres and
// its largest grow, and a ray tests the groups first, four at a time, then the circles of
// the groups it may come near. A circle passes the strip test (NearStrip4) only when its centre
// lies within grow + strip of the line across and no further than that behind the origin; over a
// box of centres the distance across is least at least |s| - (hx |uy| + hy |ux|) and the
// distance along at most a + hx |ux| + hy |uy| (s, a: those of the box's centre), so a
// group whose box fails this cannot hold a circle that passes. The circles' own test
// (RayMayPass) then decides, on the same values as without the groups, so each ray's list
// holds exactly the bodies it held before, put back in list order. Circles that are not
// finite, and rays without a finite strip, are tested one by one against everything.
void CollisionManager::SettleRayPairs() {
    const size_t nb = bodyIndex.size(), nr = rayIndex.size();
    CircleGroups& g = groups;
    g.wide.clear();
    g.order.clear();
    double minX = 0.0, minY = 0.0, maxX = 0.0, maxY = 0.0;
    for (size_t b = 0; b < nb; b++) {
        if (!std::isfinite(bodyGrow[b])) {
            g.wide.push_back(uint32_t(b));
            continue;
        }
        const double x = bodyCx[b], y = bodyCy[b];
        const bool first = g.order.empty();
        minX = first ? x : std::min(minX, x);
        maxX = first ? x : std::max(maxX, x);
        minY = first ? y : std::min(minY, y);
        maxY = first ? y : std::max(maxY, y);
        g.order.push_back(uint32_t(b));
    }
    const size_t m = g.order.size();
    // Z-order keys of 16 bits over the centres' bounds, sorted in two passes of 8 bits.
    const double sx = maxX > minX ? 255.999 / (maxX - minX) : 0.0;
    const double sy = maxY > minY ? 255.999 / (maxY - minY) : 0.0;
    g.key.resize(nb);
    for (uint32_t b : g.order) {
        uint32_t cx = uint32_t((double(bodyCx[b]) - minX) * sx);
        uint32_t cy = uint32_t((double(bodyCy[b]) - minY) * sy);
        cx = std::min(cx, 255u);
        cy = std::min(cy, 255u);
        uint32_t key = 0;
        for (int bit = 0; bit < 8; bit++)
            key |= (((cx >> bit) & 1u) << (2 * bit)) | (((cy >> bit) & 1u) << (2 * bit + 1));
        g.key[b] = key;
    }
    g.sorted.resize(m);
    for (int pass = 0; pass < 2; pass++) {
        uint32_t count[257] = {};
        const int shift = 8 * pass;
        for (uint32_t b : g.order) count[((g.key[b] >> shift) & 255u) + 1]++;
        for (int k = 1; k < 257; k++) count[k] += count[k - 1];
        for (uint32_t b : g.order) g.sorted[count[(g.key[b] >> shift) & 255u]++] = b;
        g.order.swap(g.sorted);
    }
    // The groups, their circles padded to a multiple of 4 with circles that never pass.
    const size_t groupCount = (m + kGroupSize - 1) / kGroupSize;
    const size_t padded = (groupCount + 3) / 4 * 4;
    for (std::vector<float>* v : {&g.bx, &g.by, &g.hx, &g.hy, &g.gg}) v->assign(padded, 0.0f);
    std::fill(g.gg.begin() + long(groupCount), g.gg.end(), -INFINITY);
    const size_t slots = groupCount * kGroupSize;
    for (std::vector<float>* v : {&g.cx, &g.cy, &g.cr}) v->assign(slots, 0.0f);
    g.g.assign(slots, -INFINITY);
    g.body.assign(slots, UINT32_MAX);
    for (size_t k = 0; k < groupCount; k++) {
        float lx = INFINITY, ly = INFINITY, hx = -INFINITY, hy = -INFINITY, most = 0.0f;
        for (size_t s = k * kGroupSize; s < std::min(m, (k + 1) * kGroupSize); s++) {
            const uint32_t b = g.order[s];
            g.cx[s] = bodyCx[b];
            g.cy[s] = bodyCy[b];
            g.cr[s] = bodyCr[b];
            g.g[s] = bodyGrow[b];
            g.body[s] = b;
            lx = std::min(lx, bodyCx[b]);
            hx = std::max(hx, bodyCx[b]);
            ly = std::min(ly, bodyCy[b]);
            hy = std::max(hy, bodyCy[b]);
            most = std::max(most, bodyGrow[b]);
        }
        g.bx[k] = 0.5f * lx + 0.5f * hx;
        g.by[k] = 0.5f * ly + 0.5f * hy;
        // Half sizes that reach both edges despite the rounding of the centre.
        g.hx[k] = std::max(hx - g.bx[k], g.bx[k] - lx) * 1.0001f;
        g.hy[k] = std::max(hy - g.by[k], g.by[k] - ly) * 1.0001f;
        g.gg[k] = most;
    }

    groupNear.resize(padded);
    slotNear.resize(slots);
    rayFound.reserve(nb);
    rayBodyStart.assign(nr + 1, 0);
    rayBodies.clear();
    bodyRayStart.assign(nb + 1, 0);
    for (size_t q = 0; q < nr; q++) {
        CirclesNearRay(q);
        rayBodies.insert(rayBodies.end(), rayFound.begin(), rayFound.end());
        rayBodyStart[q + 1] = uint32_t(rayBodies.size());
        for (uint32_t b : rayFound)
            if (bodyIndex[b] < rayIndex[q]) bodyRayStart[b + 1]++;
    }
    for (size_t b = 1; b <= nb; b++) bodyRayStart[b] += bodyRayStart[b - 1];
    bodyRays.resize(bodyRayStart[nb]);
    std::vector<uint32_t>& fill = g.sorted;
    fill.assign(bodyRayStart.begin(), bodyRayStart.end() - 1);
    for (size_t q = 0; q < nr; q++) {
        for (uint32_t k = rayBodyStart[q]; k < rayBodyStart[q + 1]; k++) {
            const uint32_t b = rayBodies[k];
            if (bodyIndex[b] < rayIndex[q]) bodyRays[fill[b]++] = rayIndex[q];
        }
    }
}

// The bodies (places in bodyIndex) whose circles ray q may pass, in order, into rayFound.
void CollisionManager::CirclesNearRay(size_t q) {
    rayFound.clear();
    const StepEntry& ray = scratch[rayIndex[q]];
    const CircleGroups& g = groups;
    auto exact = [&](float cx, float cy, float cr) {
        return RayMayPass(cx, cy, cr, ray.cx, ray.cy, ray.dx, ray.dy);
    };
    if (!(ray.strip < INFINITY)) {
        for (size_t b = 0; b < bodyIndex.size(); b++)
            if (exact(bodyCx[b], bodyCy[b], bodyCr[b])) rayFound.push_back(uint32_t(b));
        return;
    }
    for (uint32_t b : g.wide)
        if (exact(bodyCx[b], bodyCy[b], bodyCr[b])) rayFound.push_back(b);
    const __m128 OX = _mm_set1_ps(ray.cx), OY = _mm_set1_ps(ray.cy);
    const __m128 UX = _mm_set1_ps(ray.ux), UY = _mm_set1_ps(ray.uy);
    const __m128 S = _mm_set1_ps(ray.strip);
    const __m128 absMask = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 AUX = _mm_and_ps(UX, absMask), AUY = _mm_and_ps(UY, absMask);
    // Room for the rounding of the group test against the strip test's own: far above both.
    const __m128 ROOM = _mm_set1_ps(1e-4f * (1.0f + std::fabs(ray.cx) + std::fabs(ray.cy)));
    const float *cx = g.cx.data(), *cy = g.cy.data(), *cr = g.cr.data(), *gr = g.g.data();
    uint32_t* near = groupNear.data();
    uint32_t* slots = slotNear.data();
    size_t n = 0;
    for (size_t k = 0; k < g.bx.size(); k += 4) {
        const __m128 kx = _mm_sub_ps(_mm_loadu_ps(g.bx.data() + k), OX);
        const __m128 ky = _mm_sub_ps(_mm_loadu_ps(g.by.data() + k), OY);
        const __m128 hx = _mm_loadu_ps(g.hx.data() + k), hy = _mm_loadu_ps(g.hy.data() + k);
        const __m128 absK = _mm_add_ps(_mm_and_ps(kx, absMask), _mm_and_ps(ky, absMask));
        const __m128 reach = _mm_add_ps(
            _mm_add_ps(_mm_loadu_ps(g.gg.data() + k), S),
            _mm_add_ps(ROOM, _mm_mul_ps(_mm_set1_ps(1e-4f), _mm_add_ps(absK, _mm_add_ps(hx, hy)))));
        const __m128 side = _mm_and_ps(_mm_sub_ps(_mm_mul_ps(ky, UX), _mm_mul_ps(kx, UY)), absMask);
        const __m128 across = _mm_add_ps(_mm_mul_ps(hx, AUY), _mm_mul_ps(hy, AUX));
        const __m128 along = _mm_add_ps(_mm_add_ps(_mm_mul_ps(kx, UX), _mm_mul_ps(ky, UY)),
                                        _mm_add_ps(_mm_mul_ps(hx, AUX), _mm_mul_ps(hy, AUY)));
        // A group is passed over only when it is clearly wide of the line or behind it.
        const __m128 wide = _mm_cmpgt_ps(_mm_sub_ps(side, across), reach);
        const __m128 behind = _mm_cmplt_ps(along, _mm_sub_ps(_mm_setzero_ps(), reach));
        const int bits = _mm_movemask_ps(_mm_or_ps(wide, behind)) ^ 15;
        // The groups that stay, and then their circles, are listed without a branch per
        // lane: the hits are too scattered for the branch predictor.
        for (int lane = 0; lane < 4; lane++) {
            near[n] = uint32_t(k) + uint32_t(lane);
            n += size_t((bits >> lane) & 1);
        }
    }
    size_t loose = 0;
    for (size_t i = 0; i < n; i++) {
        const size_t first = size_t(near[i]) * kGroupSize;
        for (size_t c = first; c < first + kGroupSize; c += 4) {
            const int hit =
                NearStrip4(_mm_sub_ps(_mm_loadu_ps(cx + c), OX),
                           _mm_sub_ps(_mm_loadu_ps(cy + c), OY), _mm_loadu_ps(gr + c), UX, UY, S);
            for (int lane = 0; lane < 4; lane++) {
                slots[loose] = uint32_t(c) + uint32_t(lane);
                loose += size_t((hit >> lane) & 1);
            }
        }
    }
    // Padding slots never pass the strip test (their grow is minus infinity).
    size_t found = rayFound.size();
    rayFound.resize(found + loose);
    for (size_t i = 0; i < loose; i++) {
        const uint32_t j = slots[i];
        rayFound[found] = g.body[j];
        found += size_t(exact(cx[j], cy[j], cr[j]));
    }
    rayFound.resize(found);
    // Few: an insertion sort.
    for (size_t i = 1; i < rayFound.size(); i++) {
        const uint32_t v = rayFound[i];
        size_t j = i;
        for (; j > 0 && rayFound[j - 1] > v; j--) rayFound[j] = rayFound[j - 1];
        rayFound[j] = v;
    }
}

// Modes 1 and 3 keep only the nearest hit of the step, known once every pair has been
// tested: it goes out here. Every hit is then cleared for the next step, whatever the mode.
void CollisionManager::PostNearestHits() {
    for (PhysicsObject* obj : objects) {
        if ((obj->collisionMode == 3 || obj->collisionMode == 1) && obj->hasHit && obj->entity)
            PostGeneric(obj, obj->hitObject, obj->hitPoint, obj->hitNormal, obj->hitDistance);
        obj->ClearHit();
    }
}

void CollisionManager::DumpHandlers() {
    printf("----------map\n");
    for (auto& entry : handlerMap) {
        CollisionHandler* h = entry.second;
        printf("%p - %s, %s %d, %d\n", static_cast<void*>(h), h->GetFirstTypeName().c_str(),
               h->GetSecondTypeName().c_str(), entry.first.first, entry.first.second);
    }
    printf("----------array\n");
    for (CollisionHandler* h : handlerArray) {
        printf("%p - %s, %s \n", static_cast<void*>(h), h->GetFirstTypeName().c_str(),
               h->GetSecondTypeName().c_str());
    }
}

void CollisionManager::DumpObjects() {
    printf("======================Physics objects=========================\n");
    for (PhysicsObject* obj : objects) {
        printf("%s %p Ent:  %p\n", obj->GetTypeName().c_str(), static_cast<void*>(obj),
               static_cast<void*>(obj->entity));
    }
}

// ---- spatial tree ----

void CollisionManager::SetTreeRectangle(HVector2 centre, HVector2 size) {
    tree->centre = centre;
    tree->size = size;
    tree->axis = size.y > size.x ? 1 : 0;
    tree->split = centre[unsigned(tree->axis)];
}

void CollisionManager::InsertObject(PhysicsObject* obj, PhysicsTreeNode* node) {
    if (!obj || !node) return;
    const PhysicsCircle c = obj->boundingCircle;
    // Halving stops at a node of no size and after a fixed depth: a zero rectangle keeps
    // everything in its root, and a point-sized object never descends forever.
    for (int depth = 0; depth < 48; depth++) {
        float larger = node->size.x > node->size.y ? node->size.x : node->size.y;
        float half = larger * 0.5f;
        if (!(half > 0.0f) || half < c.radius * 2.0f) break;
        const unsigned axis = node->axis == 1 ? 1u : 0u;
        bool low;
        if (c.centre[axis] + c.radius < node->split)
            low = true;
        else if (c.centre[axis] - c.radius > node->split)
            low = false;
        else
            break;
        PhysicsTreeNode*& child = low ? node->low : node->high;
        if (!child) {
            child = new PhysicsTreeNode();
            child->parent = node;
            child->size = node->size;
            child->size[axis] *= 0.5f;
            child->centre = node->centre;
            float quarter = node->size[axis] * 0.25f;
            child->centre[axis] += low ? -quarter : quarter;
            child->axis = child->size.y > child->size.x ? 1 : 0;
            child->split = child->centre[unsigned(child->axis)];
        }
        node = child;
    }
    node->objects.push_back(obj);
    obj->treeNode = node;
}

void CollisionManager::RemoveFromTree(PhysicsObject* obj) {
    assert(obj);
    PhysicsTreeNode* node = obj->treeNode;
    if (!node) return;
    node->objects.remove(obj);
    while (node->parent && node->objects.empty() && !node->low && !node->high) {
        PhysicsTreeNode* parent = node->parent;
        if (parent->low == node) parent->low = nullptr;
        if (parent->high == node) parent->high = nullptr;
        delete node;
        node = parent;
    }
    obj->treeNode = nullptr;
}

void CollisionManager::UpdateObject(PhysicsObject* obj) {
    assert(obj);
    RemoveFromTree(obj);
    InsertObject(obj, tree);
}
