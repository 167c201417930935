#include "resources/resourcemanager.h"

bool Resource::Load(std::string) { return false; }

void Resource::Unload() {}

std::string GetFileExtension(const std::string& filename) {
    size_t dot = filename.rfind('.');
    if (dot == std::string::npos) return filename;
    return filename.substr(dot + 1);
}

void ReleaseFromManager(ResourceManager* manager, Resource* res) {
    if (manager && res) manager->Release(res);
}

ResourceManager::~ResourceManager() {
    // The resources are not deleted here: their handles may outlive the manager's lists.
    for (auto& entry : constructors) delete entry.second;
}

void ResourceManager::RegisterConstructor(std::string extension, ResourceConstructor* ctor) {
    constructors.emplace_back(std::move(extension), ctor);
}

Resource* ResourceManager::Find(const std::string& filename) const {
    for (Resource* res : resources)
        if (res->name == filename) return res;
    return nullptr;
}

Resource* ResourceManager::Construct(const std::string& extension) const {
    for (const auto& entry : constructors)
        if (entry.first == extension) return entry.second ? entry.second->Create() : nullptr;
    return nullptr;
}

void ResourceManager::Release(Resource* res) {
    resources.remove(res);
    res->Unload();
    delete res;
}

void ResourceManager::Dump() const {
    std::cout << "-----------------------------------" << std::endl;
    for (const Resource* res : resources)
        std::cout << res->name << " ref:" << res->refcount << std::endl;
}
