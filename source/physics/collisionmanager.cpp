// The physics world: handler table, step, delivery of hits and the spatial tree.

#include "physics/collisionmanager.h"

#include <cassert>
#include <cmath>
#include <cstdio>

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
    for (std::list<BaseEvent*>* list :
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

// RayMayPass on four pairs at once: four circles against one ray (circle arrays given) or
// one circle against four rays (ray arrays given). The same operations in the same order as
// the one-pair form; a bit per lane that may pass.
static int MayHit4(const float* cx, const float* cy, const float* cr, const float* ox,
                   const float* oy, const float* dx, const float* dy, float ccx, float ccy,
                   float ccr, float rox, float roy, float rdx, float rdy) {
    const __m128 CX = cx ? _mm_loadu_ps(cx) : _mm_set1_ps(ccx);
    const __m128 CY = cy ? _mm_loadu_ps(cy) : _mm_set1_ps(ccy);
    const __m128 CR = cr ? _mm_loadu_ps(cr) : _mm_set1_ps(ccr);
    const __m128 OX = ox ? _mm_loadu_ps(ox) : _mm_set1_ps(rox);
    const __m128 OY = oy ? _mm_loadu_ps(oy) : _mm_set1_ps(roy);
    const __m128 DX = dx ? _mm_loadu_ps(dx) : _mm_set1_ps(rdx);
    const __m128 DY = dy ? _mm_loadu_ps(dy) : _mm_set1_ps(rdy);
    const __m128 absMask = _mm_castsi128_ps(_mm_set1_epi32(0x7fffffff));
    const __m128 kx = _mm_sub_ps(CX, OX);
    const __m128 ky = _mm_sub_ps(CY, OY);
    const __m128 along = _mm_add_ps(_mm_mul_ps(kx, DX), _mm_mul_ps(ky, DY));
    const __m128 k2 = _mm_add_ps(_mm_mul_ps(kx, kx), _mm_mul_ps(ky, ky));
    const __m128 side = _mm_sub_ps(_mm_mul_ps(ky, DX), _mm_mul_ps(kx, DY));
    const __m128 dd = _mm_add_ps(_mm_mul_ps(DX, DX), _mm_mul_ps(DY, DY));
    const __m128 spread =
        _mm_add_ps(_mm_add_ps(_mm_add_ps(_mm_set1_ps(1.0f), CR), _mm_and_ps(kx, absMask)),
                   _mm_and_ps(ky, absMask));
    const __m128 wide = _mm_add_ps(CR, _mm_mul_ps(_mm_set1_ps(1e-3f), spread));
    const __m128 behind = _mm_cmpngt_ps(along, _mm_setzero_ps());
    const __m128 nearOrigin = _mm_cmpngt_ps(k2, _mm_mul_ps(CR, CR));
    const __m128 nearLine =
        _mm_cmpngt_ps(_mm_mul_ps(side, side), _mm_mul_ps(_mm_mul_ps(wide, wide), dd));
    const __m128 pass = _mm_or_ps(_mm_and_ps(behind, nearOrigin), _mm_andnot_ps(behind, nearLine));
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
}

// Every unordered pair once, i before j, in list order: the order in which the hits of
// one step reach the entities, and in which separations move bodies, is part of the
// game's behaviour.
void CollisionManager::TestPairs(float dt) {
    carry = PairCarry();
    carry.dt = dt;
    PartnerCursors at;
    const size_t count = scratch.size();
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
    candidates.clear();
    size_t k = at.body;
    for (; k + 4 <= bodyIndex.size(); k += 4) {
        int bits = MayHit4(&bodyCx[k], &bodyCy[k], &bodyCr[k], nullptr, nullptr, nullptr, nullptr,
                           ray.cx, ray.cy, ray.cr, ray.cx, ray.cy, ray.dx, ray.dy);
        for (int lane = 0; lane < 4; lane++)
            if (bits & (1 << lane)) candidates.push_back(bodyIndex[k + lane]);
    }
    for (; k < bodyIndex.size(); k++)
        if (RayMayPass(bodyCx[k], bodyCy[k], bodyCr[k], ray.cx, ray.cy, ray.dx, ray.dy))
            candidates.push_back(bodyIndex[k]);
    for (uint32_t j : candidates) VisitPair(ray, scratch[j], true);
}

// A body's ray pairs are settled ahead as a ray's are (SettledPairsOfRay), then merged in
// list order with its polygon partners, whose box test reads positions as they stand: all
// bodies after a character, the characters after a static body.
void CollisionManager::SettledPairsOfBody(const StepEntry& body, const PartnerCursors& at) {
    candidates.clear();
    size_t k = at.ray;
    for (; k + 4 <= rayIndex.size(); k += 4) {
        int bits = MayHit4(nullptr, nullptr, nullptr, &rayOx[k], &rayOy[k], &rayDx[k], &rayDy[k],
                           body.cx, body.cy, body.cr, 0.0f, 0.0f, 0.0f, 0.0f);
        for (int lane = 0; lane < 4; lane++)
            if (bits & (1 << lane)) candidates.push_back(rayIndex[k + lane]);
    }
    for (; k < rayIndex.size(); k++)
        if (RayMayPass(body.cx, body.cy, body.cr, rayOx[k], rayOy[k], rayDx[k], rayDy[k]))
            candidates.push_back(rayIndex[k]);
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
