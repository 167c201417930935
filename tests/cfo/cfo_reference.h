#pragma once
// Straightforward, byte-at-a-time versions of the CFO cleaner and tree builder, written
// directly from the rules, and tree printers. The engine's parser must agree with these
// on every input.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"

namespace cforef {

inline char At(const std::string& t, size_t k) { return k < t.size() ? t[k] : '\0'; }

inline std::string StripComments(const std::string& text) {
    std::string out;
    bool line = false;
    int64_t depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (At(text, i) == '/' && At(text, i + 1) == '/') line = true;
        if (At(text, i) == '/' && At(text, i + 1) == '*') depth += 1;
        if (depth > 0 && At(text, i) == '*' && At(text, i + 1) == '/') {
            depth -= 1;
            i += 2;
        }
        if (line && At(text, i) == '\n') line = false;
        if (!line && depth == 0 && At(text, i) != '\r') out += At(text, i);
    }
    return out;
}

inline std::string StripBlanks(const std::string& text) {
    std::string out;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = At(text, i);
        if (c == '\\' && At(text, i + 1) == '"') {
            out += '"';
            i += 1;
            continue;
        }
        if (c == '"' && !(i > 0 && At(text, i - 1) == '\\')) quoted = !quoted;
        if (quoted) {
            if (c != '"') out += c;
        } else if (c != ' ' && c != '\n' && c != '\t' && c != '\\' && c != '"') {
            out += c;
        }
    }
    return out;
}

inline size_t ParseScope(CfoNode* node, const std::string& text, size_t pos) {
    std::string token, key, val;
    for (;;) {
        if (pos >= text.size()) return text.size();
        char c = text[pos];
        if (c == '{') {
            CfoNode* child = new CfoNode();
            child->parent = node;
            if (!key.empty()) {
                child->name = key;
                key.clear();
            }
            pos = ParseScope(child, text, pos + 1);
            node->AddChild(child);
        } else if (c == '}') {
            if (token.empty()) return pos;
            CfoNode* child = new CfoNode();
            child->parent = node;
            child->name = token;
            node->AddChild(child);
            return pos;
        } else if (c == '=') {
            if (!token.empty()) {
                key = token;
                token.clear();
            }
        } else if (c == ';') {
            if (!token.empty()) {
                val = token;
                if (key.empty()) {
                    token.clear();
                } else {
                    CfoNode* child = new CfoNode();
                    child->parent = node;
                    child->name = key;
                    child->value = val;
                    node->AddChild(child);
                    key.clear();
                    val.clear();
                    token.clear();
                }
            }
        } else {
            token += c;
        }
        pos += 1;
    }
}

// Parse without the message, for comparing results.
inline bool Parse(CfoNode* root, const std::string& text) {
    std::string clean = StripBlanks(StripComments(text));
    root->name = "Document";
    size_t open = 0, close = 0;
    for (char c : clean) {
        open += c == '{';
        close += c == '}';
    }
    if (open != close) return false;
    return ParseScope(root, clean, 0) == clean.size();
}

// Exact, unambiguous dump of a subtree (lengths before strings), with a check that every
// child's index and parent are right. Iterative, so deep trees are fine.
inline std::string Dump(const CfoNode* root, bool* links_ok = nullptr) {
    std::string out;
    bool ok = true;
    struct Item {
        const CfoNode* node;
        size_t next;
    };
    auto head = [&](const CfoNode* n) {
        out += std::to_string(n->name.size()) + ":" + n->name + "|" +
               std::to_string(n->value.size()) + ":" + n->value + "(";
    };
    std::vector<Item> stack;
    head(root);
    stack.push_back({root, 0});
    while (!stack.empty()) {
        Item& top = stack.back();
        if (top.next < top.node->children.size()) {
            size_t k = top.next++;
            const CfoNode* child = top.node->children[k];
            if (child->index != static_cast<int32_t>(k) || child->parent != top.node) ok = false;
            head(child);
            stack.push_back({child, 0});
        } else {
            out += ")";
            stack.pop_back();
        }
    }
    if (links_ok) *links_ok = ok;
    return out;
}

// Readable form of the children of `node` for exact expectations in tests:
// each child as [name|value], followed by {...} with its own children when it has any.
inline std::string Tree(const CfoNode* node) {
    std::string out;
    for (size_t k = 0; k < node->children.size(); ++k) {
        const CfoNode* child = node->children[k];
        if (k) out += ' ';
        out += "[" + child->name + "|" + child->value + "]";
        if (!child->children.empty()) out += "{" + Tree(child) + "}";
    }
    return out;
}

}  // namespace cforef
