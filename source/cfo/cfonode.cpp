#include "cfo/cfonode.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <ostream>
#include <utility>
#include <vector>

#include "cfo/cfoarena.h"

// CfoText

CfoText::CfoText(CfoText&& other) {
    if (other.bits_ & kOwned) {
        // The heap copy is taken over, except from an arena node's text, which keeps its
        // own: the arena frees that one with the node.
        if (!(other.bits_ & kArenaNode)) {
            data_ = other.data_;
            bits_ = other.bits_;
            other.data_ = "";
            other.bits_ = 0;
            return;
        }
    }
    Assign(other.view());
}

CfoText& CfoText::operator=(const CfoText& other) {
    if (this != &other) Assign(other.view());
    return *this;
}

CfoText& CfoText::operator=(CfoText&& other) {
    if (this == &other) return *this;
    if ((other.bits_ & kOwned) && !(other.bits_ & kArenaNode) && !(bits_ & kArenaNode)) {
        Free();
        data_ = other.data_;
        bits_ = other.bits_;
        other.data_ = "";
        other.bits_ = 0;
        return *this;
    }
    Assign(other.view());
    return *this;
}

void CfoText::Assign(std::string_view text) {
    if (bits_ & kArenaNode) CfoArena::MarkDirty(this);
    const uint64_t arena = bits_ & kArenaNode;
    // The source may be this text itself: copy first, free after.
    char* copy = nullptr;
    if (!text.empty()) {
        copy = static_cast<char*>(::operator new(text.size() + 1));
        std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
    }
    Free();
    if (copy) {
        data_ = copy;
        bits_ = kOwned | arena | static_cast<uint64_t>(text.size());
    } else {
        data_ = "";
        bits_ = arena;
    }
}

void CfoText::Free() {
    if (bits_ & kOwned) ::operator delete(const_cast<char*>(data_));
    data_ = "";
    bits_ &= kArenaNode;
}

std::ostream& operator<<(std::ostream& out, const CfoText& text) {
    return out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

// CfoChildren

CfoChildren::CfoChildren(const CfoChildren& other) {
    reserve(other.size_);
    if (other.size_) std::memcpy(data_, other.data_, other.size_ * sizeof(CfoNode*));
    size_ = other.size_;
}

CfoChildren::CfoChildren(CfoChildren&& other) {
    if (HeapCapacity() == 0 && other.HeapCapacity() != 0 && !(other.cap_ & kArenaNode)) {
        data_ = other.data_;
        size_ = other.size_;
        cap_ = other.cap_;
        other.data_ = nullptr;
        other.size_ = 0;
        other.cap_ = 0;
        return;
    }
    *this = static_cast<const CfoChildren&>(other);
}

CfoChildren& CfoChildren::operator=(const CfoChildren& other) {
    if (this == &other) return *this;
    if (other.size_ > HeapCapacity()) {
        // Grow keeps the old entries; they are overwritten below anyway.
        size_ = 0;
        Grow(other.size_);
    } else if (cap_ & kArenaNode) {
        CfoArena::MarkDirty(this);
    }
    if (other.size_) std::memcpy(data_, other.data_, other.size_ * sizeof(CfoNode*));
    size_ = other.size_;
    return *this;
}

CfoChildren& CfoChildren::operator=(CfoChildren&& other) {
    return *this = static_cast<const CfoChildren&>(other);
}

void CfoChildren::push_back(CfoNode* node) {
    if (size_ >= HeapCapacity()) Grow(size_t(size_) + 1);
    data_[size_++] = node;
}

void CfoChildren::reserve(size_t count) {
    if (count > HeapCapacity()) Grow(count);
}

void CfoChildren::Grow(size_t at_least) {
    if (cap_ & kArenaNode) CfoArena::MarkDirty(this);
    size_t cap = HeapCapacity() * 2;
    if (cap < 4) cap = 4;
    if (cap < at_least) cap = at_least;
    if (cap > kCapacityMask) cap = kCapacityMask;  // index is 32-bit: no node gets more
    CfoNode** grown = static_cast<CfoNode**>(::operator new(cap * sizeof(CfoNode*)));
    if (size_) std::memcpy(grown, data_, size_ * sizeof(CfoNode*));
    if (HeapCapacity()) ::operator delete(data_);
    data_ = grown;
    cap_ = (cap_ & kArenaNode) | static_cast<uint32_t>(cap);
}

void CfoChildren::Free() {
    if (HeapCapacity()) ::operator delete(data_);
    data_ = nullptr;
    size_ = 0;
    cap_ &= kArenaNode;
}

// CfoNode

CfoNode::~CfoNode() {
    // The heap children go here, one level at a time on a work list, which keeps the call
    // stack flat: each node's own heap children are taken away before it is deleted. Arena
    // nodes are left to their arena.
    std::vector<CfoNode*> pending;
    for (CfoNode* child : children)
        if (child && !child->in_arena) pending.push_back(child);
    children.clear();
    while (!pending.empty()) {
        CfoNode* node = pending.back();
        pending.pop_back();
        for (CfoNode* child : node->children)
            if (child && !child->in_arena) pending.push_back(child);
        node->children.clear();
        delete node;
    }
}

CfoNode* CfoNode::FirstChild() const { return children.empty() ? nullptr : children.front(); }

CfoNode* CfoNode::NextSibling() const {
    if (!parent || index < 0) return nullptr;
    size_t next = static_cast<size_t>(index) + 1;
    if (next >= parent->children.size()) return nullptr;
    return parent->children[next];
}

CfoNode* CfoNode::FindChild(const std::string& key) const {
    const std::string_view wanted(key);
    for (CfoNode* child : children)
        if (child->name.view() == wanted) return child;
    return nullptr;
}

void CfoNode::AddChild(CfoNode* node) {
    if (!node) return;
    node->index = static_cast<int32_t>(children.size());
    children.push_back(node);
}

CfoNode* CfoNode::NewChild() {
    CfoNode* node = new CfoNode();
    node->parent = this;
    AddChild(node);
    return node;
}

CfoNode* CfoNode::NewChild(const std::string& child_name) {
    CfoNode* node = new CfoNode(child_name);
    node->parent = this;
    AddChild(node);
    return node;
}

CfoNode* CfoNode::NewChild(const std::string& child_name, const std::string& child_value) {
    CfoNode* node = new CfoNode(child_name, child_value);
    node->parent = this;
    AddChild(node);
    return node;
}

void CfoNode::Print() const {
    struct Item {
        const CfoNode* node;
        size_t depth;
    };
    std::vector<Item> stack{{this, 0}};
    std::string line;
    while (!stack.empty()) {
        Item item = stack.back();
        stack.pop_back();
        line.assign(item.depth, ' ');
        line += item.node->name.view();
        if (!item.node->value.empty()) {
            line += '=';
            line += item.node->value.view();
        }
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        // Pushed in reverse so that children print in document order.
        for (size_t i = item.node->children.size(); i-- > 0;)
            if (item.node->children[i]) stack.push_back({item.node->children[i], item.depth + 1});
    }
}
