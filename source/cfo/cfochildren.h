#pragma once
// CfoChildren: the children of a CfoNode, in document order. It reads like a
// std::vector<CfoNode*> (size, [], front, back, range-for) and grows with push_back.
//
// Storage: the parser puts the children of a node it made into the document's arena, where
// the array owns nothing; the first push_back after that moves the array to the heap and
// tells the arena (see CfoArena::MarkDirty), so that it is freed with the document. The
// array never owns the nodes it lists: CfoNode does.

#include <cstddef>
#include <cstdint>
#include <iterator>

class CfoNode;

class CfoChildren {
public:
    using value_type = CfoNode*;
    using const_iterator = CfoNode* const*;
    using iterator = const_iterator;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    CfoChildren() = default;
    CfoChildren(const CfoChildren& other);
    CfoChildren(CfoChildren&& other);
    CfoChildren& operator=(const CfoChildren& other);
    CfoChildren& operator=(CfoChildren&& other);
    ~CfoChildren() { Free(); }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    CfoNode* operator[](size_t i) const { return data_[i]; }
    CfoNode* front() const { return data_[0]; }
    CfoNode* back() const { return data_[size_ - 1]; }
    CfoNode* const* data() const { return data_; }
    const_iterator begin() const { return data_; }
    const_iterator end() const { return data_ + size_; }
    const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }

    void push_back(CfoNode* node);
    void pop_back() {
        if (size_ > 0) --size_;
    }
    // Forgets the entries (the nodes stay where they are); keeps a heap array for reuse.
    void clear() { size_ = 0; }
    void reserve(size_t count);

private:
    friend class CfoArena;
    friend class CfoNode;

    static constexpr uint32_t kArenaNode = uint32_t(1) << 31;  // the node lives in an arena
    static constexpr uint32_t kCapacityMask = kArenaNode - 1;  // heap capacity; 0: not owned

    size_t HeapCapacity() const { return cap_ & kCapacityMask; }
    void Grow(size_t at_least);
    void Free();
    // The parser's way in: `count` entries in the arena.
    void SetArenaArray(CfoNode** nodes, size_t count) {
        data_ = nodes;
        size_ = static_cast<uint32_t>(count);
        cap_ = kArenaNode;
    }
    void MarkArenaNode() { cap_ |= kArenaNode; }

    CfoNode** data_ = nullptr;
    uint32_t size_ = 0;
    uint32_t cap_ = 0;
};
