#include "cfo/cfoarena.h"

#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>

#include "cfo/cfonode.h"

// A node block: this header, then nodes, all inside one aligned run of kNodeBlockBytes, so
// that any address inside a node leads back to the header.
struct CfoArena::NodeBlock {
    NodeBlock* next;
    uint32_t count;  // nodes made in this block
    bool dirty;      // an arena node in it was changed after parsing
};

// A byte block: this header, then `size` bytes of texts and child arrays.
struct CfoArena::ByteBlock {
    ByteBlock* next;
    size_t size;
    size_t used;
};

namespace {

constexpr size_t kNodeOffset =
    (sizeof(void*) * 3 + alignof(CfoNode) - 1) / alignof(CfoNode) * alignof(CfoNode);
constexpr size_t kNodesPerBlock = (CfoArena::kNodeBlockBytes - kNodeOffset) / sizeof(CfoNode);
constexpr size_t kFirstByteBlock = 4 * 1024;
constexpr size_t kLastByteBlock = 1024 * 1024;
constexpr size_t kByteHeader = 32;  // sizeof(ByteBlock) rounded up to keep arrays aligned

static_assert(kNodesPerBlock >= 64, "a node block holds a useful number of nodes");

// Node blocks of freed documents, kept for the next ones (see the header).
struct SpareBlocks {
    std::mutex lock;
    void* first = nullptr;  // each spare block's first word links to the next
    size_t count = 0;
};

SpareBlocks& Spares() {
    static SpareBlocks* spares = new SpareBlocks();  // never destroyed: arenas may outlive it
    return *spares;
}

void* TakeSpareBlock() {
    SpareBlocks& spares = Spares();
    std::lock_guard<std::mutex> hold(spares.lock);
    void* block = spares.first;
    if (block) {
        spares.first = *static_cast<void**>(block);
        --spares.count;
    }
    return block;
}

}  // namespace

size_t CfoArena::SpareBlockCount() {
    SpareBlocks& spares = Spares();
    std::lock_guard<std::mutex> hold(spares.lock);
    return spares.count;
}

void CfoArena::DropSpareBlocks() {
    SpareBlocks& spares = Spares();
    std::lock_guard<std::mutex> hold(spares.lock);
    while (spares.first) {
        void* next = *static_cast<void**>(spares.first);
        ::operator delete(spares.first, std::align_val_t(kNodeBlockBytes));
        spares.first = next;
    }
    spares.count = 0;
}

CfoNode* CfoArena::NewNode() {
    if (!nodes || nodes->count >= kNodesPerBlock) {
        void* raw = TakeSpareBlock();
        if (!raw)
            raw = ::operator new(kNodeBlockBytes, std::align_val_t(kNodeBlockBytes), std::nothrow);
        if (!raw) return nullptr;
        static_assert(sizeof(NodeBlock) <= kNodeOffset, "the header fits before the nodes");
        NodeBlock* block = new (raw) NodeBlock{nodes, 0, false};
        nodes = block;
        ++node_block_count;
    }
    char* at = reinterpret_cast<char*>(nodes) + kNodeOffset + nodes->count * sizeof(CfoNode);
    ++nodes->count;
    CfoNode* node = new (at) CfoNode();
    node->in_arena = true;
    node->name.MarkArenaNode();
    node->value.MarkArenaNode();
    node->children.MarkArenaNode();
    return node;
}

CfoNode* CfoArena::NewNode(const char* name, size_t name_size, const char* value, size_t value_size,
                           bool copy) {
    const char* name_copy = !name_size ? nullptr : copy ? CopyText(name, name_size) : name;
    if (name_size && !name_copy) return nullptr;
    const char* value_copy = !value_size ? nullptr : copy ? CopyText(value, value_size) : value;
    if (value_size && !value_copy) return nullptr;
    CfoNode* node = NewNode();
    if (!node) return nullptr;
    if (name_copy) node->name.SetArenaText(name_copy, name_size);
    if (value_copy) node->value.SetArenaText(value_copy, value_size);
    return node;
}

bool CfoArena::SetChildren(CfoNode* node, CfoNode* const* list, size_t count) {
    if (count == 0) return true;
    CfoNode** array = NewArray(count);
    if (!array) return false;
    std::memcpy(array, list, count * sizeof(CfoNode*));
    node->children.SetArenaArray(array, count);
    return true;
}

void* CfoArena::Bytes(size_t size, size_t align) {
    if (bytes) {
        size_t at = (bytes->used + align - 1) & ~(align - 1);
        if (at <= bytes->size && size <= bytes->size - at) {
            bytes->used = at + size;
            return reinterpret_cast<char*>(bytes) + kByteHeader + at;
        }
    }
    if (next_byte_block == 0) next_byte_block = kFirstByteBlock;
    size_t block_size = next_byte_block;
    if (next_byte_block < kLastByteBlock) next_byte_block *= 2;
    if (size > block_size / 4) {
        // A big piece gets a block of its own, kept behind the one being filled.
        if (size > SIZE_MAX - kByteHeader) return nullptr;
        void* raw = ::operator new(kByteHeader + size, std::nothrow);
        if (!raw) return nullptr;
        ByteBlock* own = new (raw) ByteBlock{nullptr, size, size};
        if (bytes) {
            own->next = bytes->next;
            bytes->next = own;
        } else {
            bytes = own;
        }
        ++byte_block_count;
        return reinterpret_cast<char*>(own) + kByteHeader;
    }
    void* raw = ::operator new(kByteHeader + block_size, std::nothrow);
    if (!raw) return nullptr;
    static_assert(sizeof(ByteBlock) <= kByteHeader, "the header fits before the bytes");
    bytes = new (raw) ByteBlock{bytes, block_size, size};
    ++byte_block_count;
    return reinterpret_cast<char*>(bytes) + kByteHeader;
}

const char* CfoArena::CopyText(const char* text, size_t size) {
    if (size == SIZE_MAX) return nullptr;
    char* out = static_cast<char*>(Bytes(size + 1, 1));
    if (!out) return nullptr;
    if (size) std::memcpy(out, text, size);
    out[size] = '\0';
    return out;
}

CfoNode** CfoArena::NewArray(size_t count) {
    if (count > SIZE_MAX / sizeof(CfoNode*)) return nullptr;
    return static_cast<CfoNode**>(Bytes(count * sizeof(CfoNode*), alignof(CfoNode*)));
}

void CfoArena::MarkDirty(const void* member) {
    uintptr_t at = reinterpret_cast<uintptr_t>(member) & ~uintptr_t(kNodeBlockBytes - 1);
    reinterpret_cast<NodeBlock*>(at)->dirty = true;
}

void CfoArena::Release() {
    // Changed nodes first: their destructors free their heap copies and heap children,
    // which may still look at arena nodes, so no block goes before all are done.
    for (NodeBlock* block = nodes; block; block = block->next) {
        if (!block->dirty) continue;
        char* first = reinterpret_cast<char*>(block) + kNodeOffset;
        for (uint32_t i = 0; i < block->count; ++i)
            reinterpret_cast<CfoNode*>(first + i * sizeof(CfoNode))->~CfoNode();
    }
    if (nodes) {
        SpareBlocks& spares = Spares();
        std::lock_guard<std::mutex> hold(spares.lock);
        while (nodes) {
            NodeBlock* next = nodes->next;
            if (spares.count < kSpareBlocks) {
                *reinterpret_cast<void**>(nodes) = spares.first;
                spares.first = nodes;
                ++spares.count;
            } else {
                ::operator delete(nodes, std::align_val_t(kNodeBlockBytes));
            }
            nodes = next;
        }
    }
    while (bytes) {
        ByteBlock* next = bytes->next;
        ::operator delete(bytes);
        bytes = next;
    }
    node_block_count = 0;
    byte_block_count = 0;
    next_byte_block = 0;
}
