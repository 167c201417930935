#include "cfo/cfokeys.h"

const CfoKey* CfoKeyTable::Find(std::string_view key) const {
    for (const CfoKeyTable* table = this; table != nullptr; table = table->base)
        for (const CfoKey& entry : table->keys)
            if (key == entry.name) return &entry;
    return nullptr;
}

const char* CfoKeyTypeName(CfoKeyType type) {
    switch (type) {
        case CfoKeyType::Int:
            return "int";
        case CfoKeyType::UInt:
            return "uint";
        case CfoKeyType::Bool:
            return "bool";
        case CfoKeyType::Float:
            return "float";
        case CfoKeyType::String:
            return "string";
        case CfoKeyType::File:
            return "file";
        case CfoKeyType::Vector2:
            return "vector2";
        case CfoKeyType::Vector3:
            return "vector3";
        case CfoKeyType::Table:
            return "table";
        case CfoKeyType::Rows:
            return "rows";
    }
    return "?";
}
