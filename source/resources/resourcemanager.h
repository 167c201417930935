#pragma once
// ResourceManager: shares heavy file-backed objects between entities by file name.
// There is one, a member of the SceneManager. Constructors are kept per lower-case
// extension and searched linearly; loaded resources are kept in load order. The lists do
// not own the resources: a resource is deleted when its last handle is released, and
// destroying the manager destroys only the lists. Single-threaded.

#include <cctype>
#include <iostream>
#include <list>
#include <string>
#include <utility>

#include "resources/resource.h"
#include "resources/resourcehandle.h"

class ResourceManager {
public:
    ResourceManager() = default;
    ~ResourceManager();
    ResourceManager(const ResourceManager&) = delete;
    ResourceManager& operator=(const ResourceManager&) = delete;

    // Appends; no duplicate test; the first exact match wins on lookup. Takes ownership
    // of the constructor.
    void RegisterConstructor(std::string extension, ResourceConstructor* ctor);

    // Convenience: registers a TypedResourceConstructor<T> for the extension.
    template <class T>
    void RegisterType(std::string extension) {
        RegisterConstructor(std::move(extension), new TypedResourceConstructor<T>());
    }

    // True when the handle refers to a loaded resource afterwards. A handle that is
    // already valid gives up its old resource first, even when the new load fails.
    template <class T>
    bool Load(ResourceHandle<T>& handle, std::string filename);

    // Called by a handle whose count fell below 1: removes, unloads, deletes.
    void Release(Resource* res);

    // Debug listing of the loaded resources with their counts.
    void Dump() const;

    // The loaded resource of that exact name, or null.
    Resource* Find(const std::string& filename) const;
    // A new object for the (already lower-cased) extension, or null.
    Resource* Construct(const std::string& extension) const;

    const std::list<Resource*>& GetResources() const { return resources; }

private:
    std::list<std::pair<std::string, ResourceConstructor*>> constructors;
    std::list<Resource*> resources;
};

template <class T>
bool ResourceManager::Load(ResourceHandle<T>& handle, std::string filename) {
    if (handle.IsValid()) handle.Release();

    if (Resource* found = Find(filename)) {
        // Not checked against the dynamic type: one name is used with one type.
        handle.resource = static_cast<T*>(found);
        handle.manager = this;
        found->refcount += 1;
        return true;
    }

    std::string extension = GetFileExtension(filename);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));

    Resource* res = Construct(extension);
    if (!res) {
        std::cout << "Could not find resource constructor associated with '" << extension << "'"
                  << std::endl;
        return false;
    }
    if (!res->Load(filename)) {
        std::cout << "Could not load resource '" << filename << "'" << std::endl;
        delete res;
        return false;
    }
    res->name = filename;
    resources.push_back(res);
    handle.resource = static_cast<T*>(res);
    handle.manager = this;
    res->refcount += 1;
    return true;
}
