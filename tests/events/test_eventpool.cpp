// The pool behind the collision events: blocks come back to the next event of their size,
// by size classes of 16 bytes, up to a cap, per thread; events from it are delivered and
// freed as any other.

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "events/eventmanager.h"
#include "events/eventpool.h"
#include "events/events.h"
#include "scene/entity.h"

namespace {

class Contacts : public Entity, public EventListener {
public:
    bool OnContact(GenericCollisionEvent* e) {
        seen.push_back(e->distance);
        where.push_back(e);
        return true;
    }
    std::vector<float> seen;
    std::vector<const void*> where;
};

}  // namespace

TEST(EventPool, AFreedEventsBlockGoesToTheNextEventOfItsSize) {
    EventPool::Release();
    const size_t size = sizeof(GenericCollisionEvent);
    ASSERT_EQ(EventPool::Kept(size), 0u);
    auto* first = new GenericCollisionEvent();
    void* block = first;
    delete first;
    EXPECT_EQ(EventPool::Kept(size), 1u);
    auto* second = new GenericCollisionEvent();
    EXPECT_EQ(static_cast<void*>(second), block);
    EXPECT_EQ(EventPool::Kept(size), 0u);
    // A fresh object: the fields start as the class sets them, not as the last one left them.
    EXPECT_EQ(second->self, nullptr);
    EXPECT_EQ(second->distance, 0.0f);
    EXPECT_EQ(second->target, nullptr);
    delete second;
    EventPool::Release();
    EXPECT_EQ(EventPool::Kept(size), 0u);
}

TEST(EventPool, SizesShareABlockWithinSixteenBytes) {
    EventPool::Release();
    void* a = EventPool::Take(72);
    EventPool::Give(a, 72);
    EXPECT_EQ(EventPool::Kept(65), 1u);
    EXPECT_EQ(EventPool::Kept(80), 1u);
    EXPECT_EQ(EventPool::Kept(64), 0u);
    EXPECT_EQ(EventPool::Kept(81), 0u);
    void* b = EventPool::Take(80);  // the same class: the same block, 80 bytes long
    EXPECT_EQ(b, a);
    void* c = EventPool::Take(64);  // another class: the heap
    EXPECT_NE(c, a);
    EventPool::Give(b, 80);
    EventPool::Give(c, 64);
    EXPECT_EQ(EventPool::Kept(80), 1u);
    EXPECT_EQ(EventPool::Kept(64), 1u);
    EventPool::Release();
}

TEST(EventPool, LargeBlocksAndNullGoToTheHeap) {
    EventPool::Release();
    void* big = EventPool::Take(EventPool::kLargest + 1);
    ASSERT_NE(big, nullptr);
    EventPool::Give(big, EventPool::kLargest + 1);
    EXPECT_EQ(EventPool::Kept(EventPool::kLargest + 1), 0u);
    EventPool::Give(nullptr, 32);
    EXPECT_EQ(EventPool::Kept(32), 0u);
    void* last = EventPool::Take(EventPool::kLargest);
    EventPool::Give(last, EventPool::kLargest);
    EXPECT_EQ(EventPool::Kept(EventPool::kLargest), 1u);
    // Size 0 takes the smallest class.
    void* none = EventPool::Take(0);
    EventPool::Give(none, 0);
    EXPECT_EQ(EventPool::Kept(1), 1u);
    EventPool::Release();
}

TEST(EventPool, KeepsNoMoreThanItsCap) {
    EventPool::Release();
    std::vector<void*> blocks;
    for (size_t i = 0; i < EventPool::kKeep + 3; i++) blocks.push_back(EventPool::Take(40));
    for (void* b : blocks) EventPool::Give(b, 40);
    EXPECT_EQ(EventPool::Kept(40), EventPool::kKeep);
    EventPool::Release();
    EXPECT_EQ(EventPool::Kept(40), 0u);
}

TEST(EventPool, EachThreadKeepsItsOwnBlocks) {
    EventPool::Release();
    auto* made = new GenericCollisionEvent();
    size_t keptThere = 0;
    std::thread other([&] {
        delete made;  // joins the other thread's list, which that thread frees as it ends
        keptThere = EventPool::Kept(sizeof(GenericCollisionEvent));
    });
    other.join();
    EXPECT_EQ(keptThere, 1u);
    EXPECT_EQ(EventPool::Kept(sizeof(GenericCollisionEvent)), 0u);
}

TEST(EventPool, PooledContactsAreDeliveredInOrderAndRecycledAfterTheRound) {
    EventPool::Release();
    EventManager events;
    Contacts owner;
    events.AddHandler(&owner, &Contacts::OnContact);
    const size_t size = sizeof(GenericCollisionEvent);
    for (int round = 0; round < 3; round++) {
        for (int i = 0; i < 5; i++) {
            auto* e = new GenericCollisionEvent();
            e->distance = float(10 * round + i);
            e->target = &owner;
            events.Post(e);
        }
        // From the second round on the five took the five blocks of the round before.
        EXPECT_EQ(EventPool::Kept(size), 0u) << round;
        events.Update(float(round));         // the events wait for the next round
        events.Update(float(round) + 0.5f);  // delivered, then freed into the pool
        EXPECT_EQ(EventPool::Kept(size), 5u) << round;
    }
    ASSERT_EQ(owner.seen.size(), 15u);
    for (int k = 0; k < 15; k++) EXPECT_EQ(owner.seen[size_t(k)], float(10 * (k / 5) + k % 5));
    // The second and third rounds ran on the blocks of the first: no new memory.
    for (int k = 5; k < 15; k++) {
        bool reused = false;
        for (int j = 0; j < 5; j++)
            reused = reused || owner.where[size_t(k)] == owner.where[size_t(j)];
        EXPECT_TRUE(reused) << k;
    }
    EventPool::Release();
}

TEST(EventPool, TypedCollisionEventsArePooledToo) {
    EventPool::Release();
    auto* e = new CollisionEvent<PhysicsCharacter>();
    void* block = e;
    BaseEvent* base = e;
    delete base;  // through the base: the class's own delete, with its size
    EXPECT_EQ(EventPool::Kept(sizeof(CollisionEvent<PhysicsCharacter>)), 1u);
    auto* again = new CollisionEvent<PhysicsStaticGeometry>();
    EXPECT_EQ(static_cast<void*>(again), block);
    delete again;
    EventPool::Release();
}

TEST(EventPool, TheQueuesNodesComeFromThePool) {
    EventPool::Release();
    EventManager events;
    // A list node holds two links and the event pointer: 24 bytes, the class of 17 to 32.
    const size_t node = 3 * sizeof(void*);
    for (int i = 0; i < 4; i++) events.Post(new HurtEvent());
    EXPECT_EQ(EventPool::Kept(node), 0u);
    events.Update(1.0f);  // the round moves from `next` to `current`: the nodes stay
    EXPECT_EQ(EventPool::Kept(node), 0u);
    events.Update(2.0f);  // delivered to nobody and freed, nodes and all
    EXPECT_EQ(EventPool::Kept(node), 4u);
    events.Post(new HurtEvent());
    EXPECT_EQ(EventPool::Kept(node), 3u);
    EventPool::Release();
}

TEST(EventPool, TheAllocatorRefusesCountsThatOverflow) {
    EventPoolAllocator<double> allocator;
    EXPECT_THROW(allocator.allocate(size_t(-1) / 4), std::bad_array_new_length);
    double* two = allocator.allocate(2);
    two[0] = 1.0;
    two[1] = 2.0;
    allocator.deallocate(two, 2);
    EXPECT_EQ(EventPool::Kept(16), 1u);
    EXPECT_TRUE(allocator == EventPoolAllocator<int>());
    EventPool::Release();
}

TEST(EventPool, AKeptBlockIsPoisonedInSanitizerBuilds) {
#if defined(__SANITIZE_ADDRESS__)
    EventPool::Release();
    auto* event = new GenericCollisionEvent();
    GenericCollisionEvent* kept = event;
    delete event;  // into the pool
    EXPECT_DEATH(
        {
            volatile float read = kept->distance;
            (void)read;
        },
        "use-after-poison");
    EventPool::Release();
#else
    GTEST_SKIP() << "only sanitizer builds poison the kept blocks";
#endif
}
