#pragma once
// ResourceHandle<T>: the only way an entity holds a resource. A handle holds one
// reference; its destructor releases it. An empty handle (manager == 0) is a normal
// state: Get() then yields one static default-constructed T per type (the "null
// resource"), so callers never test for null. Fonts specialise the null object to the
// global font (resources/font.h), so an empty font handle still prints.
//
// Handles are not copied: each owner gets its own through ResourceManager::Load.

#include "resources/resource.h"

class ResourceManager;

// Hands a resource whose count fell below 1 back to its manager (unload + delete).
void ReleaseFromManager(ResourceManager* manager, Resource* res);

// The static object an empty handle of type T yields. Specialised for Font.
template <class T>
struct NullResource {
    static T* Get() {
        static T null_object;
        return &null_object;
    }
};

template <class T>
class ResourceHandle {
public:
    ResourceHandle() : resource(NullResource<T>::Get()), manager(nullptr) {}
    ~ResourceHandle() { Release(); }
    ResourceHandle(const ResourceHandle&) = delete;
    ResourceHandle& operator=(const ResourceHandle&) = delete;

    bool IsValid() const { return manager != nullptr; }

    T* Get() const { return IsValid() ? resource : NullResource<T>::Get(); }
    T* operator->() const { return Get(); }
    T& operator*() const { return *Get(); }

    // Drops the reference; the last one unloads and deletes the resource. The handle is
    // empty afterwards; `resource` keeps its old value but is not read again.
    void Release() {
        if (IsValid()) {
            resource->refcount -= 1;
            if (resource->refcount < 1) ReleaseFromManager(manager, resource);
        }
        manager = nullptr;
    }

    ResourceManager* GetManager() const { return manager; }

private:
    friend class ResourceManager;
    T* resource;
    ResourceManager* manager;
};
