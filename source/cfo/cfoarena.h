#pragma once
// CfoArena: the memory of the nodes a CfoDocument's parser makes, and of their texts and
// child arrays. Nodes go into fixed blocks, texts and arrays into growing byte blocks;
// nothing is freed on its own and everything goes at once with the arena, so a table of a
// hundred thousand rows costs a few dozen allocations instead of four per row.
//
// Node blocks are aligned to their size. A node's text or child array that is assigned
// after parsing owns a heap copy; the first such change marks the node's block (found
// from the member's own address), and only marked blocks are walked when the arena goes,
// to free those copies and the heap nodes hanging under arena nodes.
//
// Node blocks of a freed arena are kept, process-wide and up to kSpareBlocks of them
// (32 MiB), for the next arenas: a level loads its big tables one after the other, and
// handing tens of megabytes back to the system after each, only to have them faulted in
// again for the next, costs more than parsing such a table.
//
// Allocation uses the no-throw forms: a block that cannot be had gives a null pointer and
// the parser skips what it could not place.

#include <cstddef>
#include <cstdint>

class CfoNode;

class CfoArena {
public:
    CfoArena() = default;
    ~CfoArena() { Release(); }
    CfoArena(const CfoArena&) = delete;
    CfoArena& operator=(const CfoArena&) = delete;

    // A fresh node in a node block, marked as an arena node; 0 when no block can be had.
    CfoNode* NewNode();
    // The same with its two texts: copied into the arena, or, with `copy` false, taken as
    // they are (they must lie in this arena and be terminated). 0 when a piece cannot be
    // placed.
    CfoNode* NewNode(const char* name, size_t name_size, const char* value, size_t value_size,
                     bool copy);
    // `size` bytes that live as long as the arena (the parser cleans its text into them);
    // 0 when no block can be had.
    char* NewText(size_t size) { return static_cast<char*>(Bytes(size, 1)); }
    // Gives `node`, an arena node without children, a copy of `count` entries of `list` as
    // its children; false (and no children) when the array cannot be placed.
    bool SetChildren(CfoNode* node, CfoNode* const* list, size_t count);
    // A terminated copy of `size` bytes of `text`; 0 when no block can be had.
    const char* CopyText(const char* text, size_t size);
    // Room for `count` child pointers; 0 when no block can be had.
    CfoNode** NewArray(size_t count);

    // Runs the destructors of the nodes in marked blocks, then frees every block.
    void Release();

    // Marks the node block that holds `member`, a text or child array of an arena node.
    static void MarkDirty(const void* member);

    static constexpr size_t kNodeBlockBytes = 32 * 1024;
    static constexpr size_t kSpareBlocks = 1024;

    // The node blocks kept for the next arenas, and a way to give them back to the system.
    static size_t SpareBlockCount();
    static void DropSpareBlocks();

    size_t NodeBlockCount() const { return node_block_count; }
    size_t ByteBlockCount() const { return byte_block_count; }

private:
    struct NodeBlock;
    struct ByteBlock;

    void* Bytes(size_t size, size_t align);

    NodeBlock* nodes = nullptr;  // the newest first
    ByteBlock* bytes = nullptr;  // the newest first; the first is the one being filled
    size_t node_block_count = 0;
    size_t byte_block_count = 0;
    size_t next_byte_block = 0;  // size of the next byte block
};
