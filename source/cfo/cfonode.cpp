#include "cfo/cfonode.h"

#include <cstdio>
#include <utility>

CfoNode::~CfoNode() {
    // Deleting children one level at a time on a work list keeps the call stack flat:
    // each node's own children are taken away before it is deleted.
    std::vector<CfoNode*> pending = std::move(children);
    children.clear();
    while (!pending.empty()) {
        CfoNode* node = pending.back();
        pending.pop_back();
        if (!node) continue;
        for (CfoNode* child : node->children) pending.push_back(child);
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
    for (CfoNode* child : children)
        if (child->name == key) return child;
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
        line += item.node->name;
        if (!item.node->value.empty()) {
            line += '=';
            line += item.node->value;
        }
        std::fwrite(line.data(), 1, line.size(), stdout);
        std::fputc('\n', stdout);
        // Pushed in reverse so that children print in document order.
        for (size_t i = item.node->children.size(); i-- > 0;)
            if (item.node->children[i]) stack.push_back({item.node->children[i], item.depth + 1});
    }
}
