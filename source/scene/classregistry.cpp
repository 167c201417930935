#include "scene/classregistry.h"

ClassRegistry::~ClassRegistry() {
    for (auto& entry : factories) delete entry.second;
}

void ClassRegistry::Insert(const std::string& name, EntityFactory* factory) {
    if (factory == nullptr) return;
    if (!factories.emplace(name, factory).second) delete factory;
}

Entity* ClassRegistry::Create(const std::string& name) {
    if (factories.empty()) return nullptr;
    auto it = factories.find(name);
    if (it == factories.end()) return nullptr;
    return it->second->Create();
}

uint32_t ClassRegistry::TypeIdOf(const std::string& name) {
    auto it = factories.find(name);
    if (it == factories.end()) return 0;
    return it->second->TypeId();
}

const CfoKeyTable* ClassRegistry::KeysOf(const std::string& name) {
    auto it = factories.find(name);
    if (it == factories.end()) return nullptr;
    return it->second->Keys();
}
