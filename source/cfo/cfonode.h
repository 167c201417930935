#pragma once
// CfoNode: one node of a parsed CFO document. A node holds text only, a name and an
// optional value; readers (cfo/cforeaders.h) give the text its meaning.
//
// Ownership: a node owns the children it got from NewChild or AddChild and deletes them
// with itself. The nodes a document's parser makes live in that document's arena (see
// CfoArena) and go with the document, whoever lists them. `parent` never owns.
// Trees can be very deep (a hostile document of a million nested scopes), so nothing that
// walks a tree here recurses on the call stack.

#include <cstdint>
#include <string>

#include "cfo/cfochildren.h"
#include "cfo/cfotext.h"

class CfoNode {
public:
    CfoNode() = default;
    explicit CfoNode(const std::string& node_name) : name(node_name) {}
    CfoNode(const std::string& node_name, const std::string& node_value)
        : name(node_name), value(node_value) {}
    virtual ~CfoNode();

    CfoNode(const CfoNode&) = delete;
    CfoNode& operator=(const CfoNode&) = delete;

    std::string GetName() const { return name.str(); }
    std::string GetValue() const { return value.str(); }

    // 0 when there are no children.
    CfoNode* FirstChild() const;
    // The node after this one in its parent's children; 0 without a parent, for the last
    // child, or for a node that was never attached.
    CfoNode* NextSibling() const;
    // First child whose name equals `key` exactly (case matters), else 0.
    CfoNode* FindChild(const std::string& key) const;

    // Appends `node` (ignored when null) and sets its index. The parent pointer is left as
    // the caller set it: NewChild and the parser set it before attaching.
    void AddChild(CfoNode* node);
    CfoNode* NewChild();
    CfoNode* NewChild(const std::string& child_name);
    CfoNode* NewChild(const std::string& child_name, const std::string& child_value);

    // Debug aid: the tree on standard output, one node a line, one blank per level.
    void Print() const;

    // True for a node the parser put into a document's arena.
    bool InArena() const { return in_arena; }

    CfoText name;          // left of "="; empty for an anonymous scope
    CfoText value;         // right of "="; empty for a scope
    CfoChildren children;  // in document order; names may repeat
    int32_t index = -1;    // position in the parent's children; -1 until attached

private:
    friend class CfoArena;
    bool in_arena = false;  // beside `index`, where the node has room

public:
    CfoNode* parent = nullptr;  // not owned; 0 for a root
};
