#pragma once
// CfoDocument: the root of a parsed CFO document and its loader, parser and writer.
//
// CFO is the engine's one text format: configuration, scenes, GUI layouts, data tables and
// animation keys. After a successful parse the document object itself is the root node,
// named "Document" with an empty value; it keeps no path. The document owns the whole
// tree (see CfoNode) and lives as long as whoever loaded it wants the text: the parsed
// nodes, their texts and child arrays sit in a few large blocks (CfoArena) that go at once
// with the document.
//
// Parsing is three steps: comments out, then blanks and quotes out, then the tree builder.
// The exact character rules, quirks included, are fixed by the documents that exist: see
// the comments in cfodocument.cpp before changing any of them.

#include <cstddef>
#include <string>

#include "cfo/cfoarena.h"
#include "cfo/cfonode.h"

class CfoDocument : public CfoNode {
public:
    CfoDocument() = default;
    ~CfoDocument() override;

    // Reads `path` from the search path and parses it, keeping no more than the one copy of
    // the text that File::ReadAll makes: it is cleaned there and the nodes copy their texts
    // into the document's arena. An absent or empty file
    // prints "CFO Document '<path>' not found" and returns false; a file the file layer refuses
    // (too big, a short read, a wrong checksum) returns false with that layer's one line.
    bool LoadFile(const std::string& path);

    // Cleans `text` and builds the tree under this document. False with
    // "Parse failed: Missing scopes" when "{" and "}" counts differ; false without a word
    // when the braces are out of order (whatever was built so far stays in place).
    bool Parse(const std::string& text);
    // Parse without a copy of the whole text: `text` (`size` bytes) is cleaned where it lies
    // and holds garbage afterwards.
    bool ParseInPlace(char* text, size_t size);

    // Writes the tree to `path` in the write folder; always true.
    bool SaveFile(const std::string& path);
    // The text SaveFile writes: every child of the root through WriteNode; empty when the
    // root has no children.
    void Serialise(std::string& out) const;
    // Appends one node and its subtree to `out`, children indented one tab deeper.
    static void WriteNode(const CfoNode* node, const std::string& indent, std::string& out);

    // The tree builder: reads entries of `text` from `pos` into `node` until a "}" of this
    // scope (its position is returned) or the end (text.size() is returned). Under a
    // document the new nodes go into that document's arena and live as long as it does;
    // under any other root they are heap nodes owned by their parents.
    static size_t ParseScope(CfoNode* node, const std::string& text, size_t pos);
    static size_t ParseScope(CfoNode* node, const char* text, size_t size, size_t pos);

    // The two cleaning passes, exposed for tests and tools.
    static std::string StripComments(const std::string& text);
    static std::string StripBlanks(const std::string& text);

    std::string GetError() const { return error; }

    std::string error;  // the last parse failure

    // The memory of the parsed nodes; statistics for tests.
    const CfoArena& Arena() const { return arena; }

private:
    // Cleans `size` bytes of `text` into `clean` (which may be `text`) and builds the tree;
    // with `keep` the cleaned text lies in the arena and the nodes point into it.
    bool ParseCleaned(const char* text, size_t size, char* clean, bool keep);

    CfoArena arena;
};
