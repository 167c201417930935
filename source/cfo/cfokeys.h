#pragma once
// The key tables of the document classes: every key a class's Load reads, with its type,
// the value the class keeps when the key is absent and one line for the level author.
// Each class defines its table beside its Load and reads its keys through the table's
// entries (CfoKeyOf below, then the readers of cfo/cforeaders.h), so a key that Load reads
// and the table lacks does not compile. The level checker and the level author's guide
// read the same tables.
//
// Tables are constant data: they live for the whole run and nothing owns them.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

enum class CfoKeyType : uint8_t {
    Int,
    UInt,
    Bool,
    Float,
    String,
    File,     // a string naming a file on the search path
    Vector2,  // "x,y"
    Vector3,  // "x,y,z"
    Table,    // a child node with keys of its own (`table`)
    Rows,     // a child node of anonymous rows, read by the class's own code
};

struct CfoKeyTable;

struct CfoKey {
    const char* name;
    CfoKeyType type;
    const char* default_text;            // what the class keeps without the key
    const char* description;             // one line for the level author
    const CfoKeyTable* table = nullptr;  // Table: the child's keys
    // File: the extensions the key takes, comma separated, without dots; empty for any
    // that a resource loader takes.
    const char* extensions = "";
    // The class reads every child of this name, not only the first.
    bool repeats = false;
    // The default is a rule rather than a value (default_text says which).
    bool derived = false;
};

struct CfoKeyTable {
    const char* name;         // the class or child node name
    const char* description;  // one line for the level author
    std::span<const CfoKey> keys;
    const CfoKeyTable* base = nullptr;  // the keys the base class reads first

    // The entry of `key` in this table or its bases; 0 when none reads it.
    const CfoKey* Find(std::string_view key) const;
};

// "int", "float", ..., as the level author's guide writes them.
const char* CfoKeyTypeName(CfoKeyType type);

// Declared only: reached at compile time when a class names a key its table lacks.
const CfoKey& CfoKeyMissingFromTable();

// The entry named `name` of a class's own key array, found while compiling.
template <size_t N>
consteval const CfoKey& CfoKeyOf(const CfoKey (&keys)[N], std::string_view name) {
    for (size_t i = 0; i < N; ++i)
        if (std::string_view(keys[i].name) == name) return keys[i];
    return CfoKeyMissingFromTable();
}
