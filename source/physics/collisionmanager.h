#pragma once
// CollisionManager: the physics world. The SceneManager holds exactly one as a member and
// hands it the EventManager in Bind. It keeps plain pointers to the physics objects of the
// entities (it owns none of them), the table of pair handlers (owned) and a spatial tree
// (owned) that the step does not consult.
//
// Each frame Step integrates the objects at most 30 times a second, tests every pair,
// moves overlapping bodies apart and posts GenericCollisionEvents to the owning entities
// through the event queue, so that they arrive in the next pass's update.

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "physics/physics.h"

class EventManager;

// The key hash of the handler table: 32-bit signed arithmetic with wrap-around,
// arithmetic right shifts, and a final signed division by 500.
int32_t PairHash(int32_t a, int32_t b);

// Keys are ordered by their hash only: two pairs of equal hash are the same key.
struct PairHashLess {
    bool operator()(const std::pair<int, int>& a, const std::pair<int, int>& b) const {
        return PairHash(a.first, a.second) < PairHash(b.first, b.second);
    }
};

// Packs a colour as four bytes 255·r, g, b, a (each truncated), r in the highest byte.
uint32_t PhysicsPackColour(float r, float g, float b, float a);

struct PhysicsTreeNode {
    PhysicsTreeNode* parent = nullptr;
    PhysicsTreeNode* high = nullptr;  // owned
    PhysicsTreeNode* low = nullptr;   // owned
    HVector2 centre;
    HVector2 size;
    int axis = 0;
    float split = 0.0f;
    std::list<PhysicsObject*> objects;  // not owned

    ~PhysicsTreeNode();
    // True when the circle lies wholly inside the rectangle, bounds included.
    bool Contains(const PhysicsCircle& c) const;
};

class CollisionHandler {
public:
    using TestFn = bool (*)(PhysicsObject* a, PhysicsObject* b, float dt, HVector2& point,
                            HVector2& normal, float& distance);

    explicit CollisionHandler(TestFn f = nullptr) : fn(f) {}
    virtual ~CollisionHandler() = default;

    virtual bool Test(PhysicsObject*, PhysicsObject*, HVector2&, HVector2&, float&, const float&) {
        return false;
    }
    virtual bool Dispatch(PhysicsObject*, PhysicsObject*, EventManager*, float) { return false; }
    virtual std::string GetFirstTypeName() { return std::string(); }
    virtual std::string GetSecondTypeName() { return std::string(); }

    TestFn fn;
};

// The handler of one pair of kinds (A first, B second).
template <class A, class B>
class PhysicsPairHandler : public CollisionHandler {
public:
    explicit PhysicsPairHandler(TestFn f) : CollisionHandler(f) {}
    bool Test(PhysicsObject* a, PhysicsObject* b, HVector2& point, HVector2& normal,
              float& distance, const float& dt) override {
        return fn && fn(a, b, dt, point, normal, distance);
    }
    bool Dispatch(PhysicsObject* a, PhysicsObject* b, EventManager* events, float dt) override;
    std::string GetFirstTypeName() override { return A::StaticTypeName(); }
    std::string GetSecondTypeName() override { return B::StaticTypeName(); }
};

// The four pair tests of the table.
bool TestCharacterStatic(PhysicsObject* a, PhysicsObject* b, float dt, HVector2& point,
                         HVector2& normal, float& distance);
bool TestCharacterCharacter(PhysicsObject* a, PhysicsObject* b, float dt, HVector2& point,
                            HVector2& normal, float& distance);
bool TestCharacterRay(PhysicsObject* a, PhysicsObject* b, float dt, HVector2& point,
                      HVector2& normal, float& distance);
bool TestStaticRay(PhysicsObject* a, PhysicsObject* b, float dt, HVector2& point, HVector2& normal,
                   float& distance);

class CollisionManager {
public:
    // The longest time one step integrates; a longer frame moves by this much.
    static constexpr float kLongestStep = 0.2f;
    CollisionManager();
    ~CollisionManager();
    CollisionManager(const CollisionManager&) = delete;
    CollisionManager& operator=(const CollisionManager&) = delete;

    template <class A, class B>
    void RegisterHandler(CollisionHandler::TestFn fn) {
        handlerArray.push_back(new PhysicsPairHandler<A, B>(fn));
        handlerMap.insert(
            {{A::StaticTypeId(), B::StaticTypeId()}, new PhysicsPairHandler<A, B>(fn)});
    }

    void SetEventManager(EventManager* events) { eventManager = events; }
    EventManager* GetEventManager() const { return eventManager; }

    void AddObject(PhysicsObject* obj);
    // Takes the object out of the world, and out of the contacts still waiting in the
    // event queue (ForgetQueuedContacts).
    void RemoveObject(PhysicsObject* obj);
    void ForgetQueuedContacts(const PhysicsObject* obj);
    CollisionHandler* FindHandler(int firstId, int secondId) const;

    void Step(float dt, float time);

    void DebugDraw();
    void DumpHandlers();
    void DumpObjects();

    // The spatial tree.
    void InsertObject(PhysicsObject* obj, PhysicsTreeNode* node);
    void RemoveFromTree(PhysicsObject* obj);
    void UpdateObject(PhysicsObject* obj);
    // Places the root rectangle. The Scene gives it the level's "max_size" (centred on the
    // origin); without a Scene it stays a zero rectangle and every object stays in the root.
    // The step never reads the tree either way.
    void SetTreeRectangle(HVector2 centre, HVector2 size);

    // The pair loop passes over pairs of kinds that have no handler without visiting them,
    // compares boxes around two bodies as they stand at pair time, and settles which ray
    // pairs may pass their circle test ahead of an object's pairs (rays and circles do not
    // move during the loop), skipping pairs that cannot touch. With convex hulls none of
    // this changes a result or the order of the hits; off, every pair is visited and tested
    // one by one. Hulls that are not convex are the exception: the polygon test takes every
    // hull for convex and may find such a hull touching a body whose box lies apart from its
    // own, a contact that the box comparison skips. Loading warns about those hulls
    // (PhysicsBody::IsConvex).
    bool pairPreTest = true;
    // With the shortcuts on and the four handlers of the table in place, a body's polygon
    // partners come from a uniform grid over the bodies' boxes, built at the start of the
    // pair loop: it hands out, in list order, every partner the box comparison may let
    // through (and a few more, which it then turns away), so the pairs tested and their order
    // stay those of the loop without it. Separations move bodies during the loop: the searches
    // widen by the furthest any body has moved since the grid was built, the grid is built
    // again when that passes half a cell, and a body that is moved searches again from where
    // it now stands. Rays, which reach to infinity, are not in it: with it on, the ray pairs
    // of the step are settled before the loop from groups of circles that lie close together
    // (SettleRayPairs), the same pairs as without it. Off, every partner after a body is
    // compared.
    bool broadphase = true;
    // Fewer characters than this and the grids would cost more than they save: the step
    // compares every partner as without them.
    int broadphaseFromCharacters = 100;

    PhysicsTreeNode* tree = nullptr;  // owned
    float lastUpdateTime = 0.0f;
    EventManager* eventManager = nullptr;         // not owned
    std::list<PhysicsObject*> objects;            // not owned, in order of insertion
    std::vector<CollisionHandler*> handlerArray;  // owned
    std::multimap<std::pair<int, int>, CollisionHandler*, PairHashLess> handlerMap;  // owned

private:
    // One object as the pair loop sees it, gathered once per step.
    struct StepEntry {
        PhysicsObject* obj;
        PhysicsBody* body;  // 0 for a ray
        int typeId;
        int kind;  // 0 character, 1 static geometry, 2 ray, 3 anything else
        bool disabled;
        Entity* entity;
        float reach;  // greatest vertex distance from the body's position
        // Fixed during the loop: a body's bounding circle, or a ray's origin and direction.
        float cx, cy, cr;  // circle centre and radius; a ray: its origin
        float dx, dy;      // a ray's direction
        // For the looser ray pre-test (NearStrip4): a body's `grow`, a ray's unit direction
        // and `strip`. Set by ListPartners.
        float grow, ux, uy, strip;
    };
    struct HandlerCacheEntry {
        int first, second;
        CollisionHandler* handler;
        bool swapped;
    };
    // What the step settles from the kinds present before it visits any pair.
    struct PairPlan {
        bool otherKinds;                      // an object of none of the three kinds
        CollisionHandler* kindHandler[3][3];  // by the kinds of i and j
        bool kindSwapped[3][3];               // the handler takes j first
        CollisionHandler* polyHandlers[2];    // character-static, character-character
        CollisionHandler* rayHandlers[2];     // character-ray, static-ray
        bool pruneRays, pruneStatics;         // rays (walls) skip partners of their own kind
        bool fastRays;                        // ray pairs settled ahead, see SettledPairsOfRay
    };
    // Where the partners of object i start in each partner list.
    struct PartnerCursors {
        size_t nonRay = 0, nonStatic = 0, ray = 0, body = 0, chr = 0;
    };
    // The variables the pair tests write through. They live for one step, not one pair: a
    // polygon test writes none of them, so its hit shows what the last ray hit left.
    struct PairCarry {
        HVector2 point, normal;
        float distance = 0.0f;
        float dt = 0.0f;
    };

    // A uniform grid over boxes: each cell lists, in list order, the entries (indices of
    // `scratch`) whose box covers it. Boxes that are not finite or that cover too many cells
    // are kept in `wide` and handed out to every search.
    struct Grid {
        double x0 = 0.0, y0 = 0.0, cell = 1.0;
        int nx = 0, ny = 0;
        std::vector<uint32_t> start;  // nx·ny + 1 offsets into items
        std::vector<uint32_t> items;
        std::vector<uint32_t> wide;
        std::vector<int32_t> span;  // per box: first and last column and row, or -1
        std::vector<uint32_t> scratchFill;
        // Boxes: ids[k] covers [lx[k], hx[k]] × [ly[k], hy[k]].
        void Build(const std::vector<uint32_t>& ids, const std::vector<float>& lx,
                   const std::vector<float>& ly, const std::vector<float>& hx,
                   const std::vector<float>& hy);
        // The cells a finite box covers, clamped to the grid; false when it misses the grid.
        bool Cells(double lx, double ly, double hx, double hy, int& c0, int& r0, int& c1,
                   int& r1) const;
    };

    // The phases of Step, in their order.
    void IntegrateObjects(float dt, float time);
    void GatherObjects();
    void ChooseHandlers();
    void ListPartners();
    void TestPairs(float dt);
    void PostNearestHits();

    // The broadphase (see `broadphase`).
    void PrepareBroadphase();
    void BuildBodyGrid();
    void QueryPolygonPartners(const StepEntry& body, uint32_t after);
    void SettleRayPairs();
    void CirclesNearRay(size_t q);
    void GridPairsOfBody(uint32_t index, const StepEntry& body, const PartnerCursors& at);
    void NewStamp();

    // The pair loop's parts.
    CollisionHandler* LookupHandler(int first, int second, bool& swapped);
    int PreTestOf(const CollisionHandler* h, const StepEntry& a, const StepEntry& b) const;
    static bool BoxesApart(const StepEntry& a, const StepEntry& b);
    static bool RayPairMayPass(const StepEntry& holder, const StepEntry& ray);
    void VisitPair(const StepEntry& ei, const StepEntry& ej, bool settled);
    void SettledPairsOfRay(const StepEntry& ray, const PartnerCursors& at);
    void SettledRaysOfBody(const StepEntry& body, const PartnerCursors& at);
    void SettledPairsOfBody(const StepEntry& body, const PartnerCursors& at);
    void ListedPairsOf(size_t i, const StepEntry& ei, const PartnerCursors& at);

    void Deliver(PhysicsObject* me, PhysicsObject* other, const HVector2& point,
                 const HVector2& normal, float distance);
    void PostGeneric(PhysicsObject* me, PhysicsObject* other, const HVector2& point,
                     const HVector2& normal, float distance);

    // Per-step scratch, kept to avoid allocating every frame.
    PairPlan plan{};
    PairCarry carry;
    std::vector<StepEntry> scratch;
    std::vector<HandlerCacheEntry> handlerCache;
    std::vector<uint32_t> allIndex, nonRayIndex, nonStaticIndex;
    std::vector<uint32_t> rayIndex, bodyIndex, charIndex, candidates;
    // Beside rayIndex: origins and directions; beside bodyIndex: circle centres and radii.
    std::vector<float> rayOx, rayOy, rayDx, rayDy, bodyCx, bodyCy, bodyCr;
    std::vector<float> rayUx, rayUy, rayStrip, bodyGrow;

    // The broadphase's scratch: the body grid, the boxes it was built of and the positions
    // they were built from, the furthest any body has moved from them since, and the
    // rebuilds so far this step.
    bool useGrid = false;
    bool gridOff = false;
    int gridRebuilds = 0;
    double moved = 0.0;
    Grid bodyGrid;
    std::vector<float> boxLx, boxLy, boxHx, boxHy;
    std::vector<float> builtX, builtY;  // by entry index
    std::vector<uint32_t> polyCand;
    std::vector<uint32_t> stamp;  // by entry index
    uint32_t stampNow = 0;

    // With the grid on, the ray pairs that may pass the circle test are settled for the whole
    // step before the loop, from groups of circles that lie close together (see
    // SettleRayPairs). Per ray (by its place in rayIndex): the bodies it may meet, by their
    // place in bodyIndex, in order; per body: the rays after it in list order that may meet
    // it, by list index.
    static constexpr size_t kGroupSize = 8;
    struct CircleGroups {
        std::vector<float> bx, by, hx, hy, gg;  // per group: box of centres, largest grow
        std::vector<float> cx, cy, cr, g;       // per slot, kGroupSize slots a group
        std::vector<uint32_t> body;             // per slot: place in bodyIndex, or none
        std::vector<uint32_t> wide;             // circles that are not finite
        std::vector<uint32_t> order, sorted, key;
    };
    bool rayLists = false;
    CircleGroups groups;
    std::vector<uint32_t> rayBodyStart, rayBodies;  // per ray: places in bodyIndex
    std::vector<uint32_t> bodyRayStart, bodyRays;   // per body: list indices of rays
    std::vector<uint32_t> rayFound, groupNear, slotNear;
};

#include <cstdio>

#include "events/eventmanager.h"
#include "events/events.h"

// Fills one collision event and posts it to `self`'s entity with no delay. The step's
// GenericCollisionEvent and Dispatch's CollisionEvent<T> carry the same fields.
template <class Event>
void PostCollisionEvent(EventManager* events, PhysicsObject* self, PhysicsObject* other,
                        const HVector2& point, const HVector2& normal, float distance) {
    auto* e = new Event();
    e->self = self;
    e->other = other;
    e->normal = normal;
    e->point = point;
    e->distance = distance;
    e->target = self->entity;
    events->Post(e, 0.0f);
}

template <class A, class B>
bool PhysicsPairHandler<A, B>::Dispatch(PhysicsObject* a, PhysicsObject* b, EventManager* events,
                                        float dt) {
    HVector2 point(0.0f, 0.0f), normal(0.0f, 0.0f);
    float distance = 0.0f;
    if (!Test(a, b, point, normal, distance, dt)) return false;
    if (!events) {
        printf("CollisionManager:EventManager not set\n");
        return true;
    }
    if (a->entity) PostCollisionEvent<CollisionEvent<B>>(events, a, b, point, normal, distance);
    if (b->entity) PostCollisionEvent<CollisionEvent<A>>(events, b, a, point, normal, distance);
    return true;
}
