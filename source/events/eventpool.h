#pragma once
// EventPool: recycled memory for the events that are posted by the thousand each frame
// (the collision manager's contacts). An event class opts in with VELMORA_POOLED_EVENT;
// its objects are then made and freed with new and delete as any other event, and the
// manager's delete after dispatch hands the memory back here instead of to the heap. The
// next post of the same size takes it again, so a steady stream of contacts allocates
// nothing once the first frames have passed.
//
// Each thread keeps its own lists (no locks), one per size class of 16 bytes up to 256
// bytes; a block is an ordinary heap block, so one freed on another thread than the one
// that took it simply joins that thread's list. Each list keeps at most kKeep blocks and
// gives any more back to the heap; a thread's lists are freed when it ends.

#include <cstddef>
#include <new>

class EventPool {
public:
    // Blocks kept per size class and thread.
    static constexpr size_t kKeep = 65536;
    // Sizes above this go to the heap directly.
    static constexpr size_t kLargest = 256;

    static void* Take(size_t size);
    static void Give(void* block, size_t size);

    // This thread's blocks kept for `size` (tests and benchmarks).
    static size_t Kept(size_t size);
    // Frees this thread's kept blocks.
    static void Release();
};

// Makes an event class take its memory from EventPool. Classes derived from it inherit the
// operators with their own sizes, which the pool sorts by size.
#define VELMORA_POOLED_EVENT                                                 \
public:                                                                      \
    static void* operator new(size_t size) { return EventPool::Take(size); } \
    static void operator delete(void* block, size_t size) { EventPool::Give(block, size); }

// An allocator on EventPool, for the manager's queues: their list nodes come and go with
// the events they hold.
template <class T>
struct EventPoolAllocator {
    using value_type = T;
    EventPoolAllocator() = default;
    template <class U>
    EventPoolAllocator(const EventPoolAllocator<U>&) {}
    T* allocate(size_t n) {
        if (n > size_t(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(EventPool::Take(n * sizeof(T)));
    }
    void deallocate(T* block, size_t n) { EventPool::Give(block, n * sizeof(T)); }
    template <class U>
    bool operator==(const EventPoolAllocator<U>&) const {
        return true;
    }
};
