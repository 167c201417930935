#include "events/eventpool.h"

#include <new>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
// A kept block stays poisoned, so that a handler that keeps an event past its round is
// still caught in sanitizer builds; the pool opens it only to read and write its link.
#define POOL_POISON(block, size) ASAN_POISON_MEMORY_REGION(block, size)
#define POOL_OPEN(block, size) ASAN_UNPOISON_MEMORY_REGION(block, size)
#else
#define POOL_POISON(block, size) ((void)(block), (void)(size))
#define POOL_OPEN(block, size) ((void)(block), (void)(size))
#endif

namespace {

constexpr size_t kClasses = EventPool::kLargest / 16;

// The class of a size, and the size every block of that class is made with, so that any
// size of the class fits any of its blocks.
size_t ClassOf(size_t size) { return size == 0 ? 0 : (size - 1) / 16; }
size_t BlockSize(size_t cls) { return (cls + 1) * 16; }

// A kept block holds the link to the next one in its first bytes.
struct FreeBlock {
    FreeBlock* next;
};

// Set once this thread's lists are destroyed (the thread, or the program, ending): events
// freed after that, by objects destroyed later, go straight back to the heap.
thread_local bool listsGone = false;

struct ThreadLists {
    FreeBlock* head[kClasses] = {};
    size_t count[kClasses] = {};

    ~ThreadLists() {
        Release();
        listsGone = true;
    }
    void Release() {
        for (size_t c = 0; c < kClasses; c++) {
            while (head[c] != nullptr) {
                FreeBlock* block = head[c];
                POOL_OPEN(block, BlockSize(c));
                head[c] = block->next;
                ::operator delete(static_cast<void*>(block));
            }
            count[c] = 0;
        }
    }
};

ThreadLists& Lists() {
    thread_local ThreadLists lists;
    return lists;
}

}  // namespace

void* EventPool::Take(size_t size) {
    if (size > kLargest || listsGone)
        return ::operator new(size > kLargest ? size : BlockSize(ClassOf(size)));
    const size_t cls = ClassOf(size);
    ThreadLists& lists = Lists();
    FreeBlock* block = lists.head[cls];
    if (block == nullptr) return ::operator new(BlockSize(cls));
    POOL_OPEN(block, BlockSize(cls));
    lists.head[cls] = block->next;
    lists.count[cls]--;
    return block;
}

void EventPool::Give(void* block, size_t size) {
    if (block == nullptr) return;
    if (size > kLargest || listsGone) {
        ::operator delete(block);
        return;
    }
    const size_t cls = ClassOf(size);
    ThreadLists& lists = Lists();
    if (lists.count[cls] >= kKeep) {
        ::operator delete(block);
        return;
    }
    auto* kept = static_cast<FreeBlock*>(block);
    kept->next = lists.head[cls];
    lists.head[cls] = kept;
    lists.count[cls]++;
    POOL_POISON(block, BlockSize(cls));
}

size_t EventPool::Kept(size_t size) {
    if (size > kLargest || listsGone) return 0;
    return Lists().count[ClassOf(size)];
}

void EventPool::Release() {
    if (!listsGone) Lists().Release();
}
