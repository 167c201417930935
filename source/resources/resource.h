#pragma once
// Resource: the base of every shared, file-backed object (textures, meshes, fonts,
// shader programs, sounds). A resource is owned by the ResourceManager that loaded it
// and lives from the first successful Load of its name until the last ResourceHandle
// on it is released; then the manager unloads and deletes it at once.
//
// ResourceConstructor is the factory the manager keeps per file extension;
// TypedResourceConstructor<T> is the one subclass per concrete resource type.

#include <cstdint>
#include <string>

class Resource {
public:
    std::string name;      // lookup key; empty until a load has succeeded
    int32_t refcount = 0;  // number of live handles

    Resource() = default;
    Resource(const Resource&) = default;
    Resource& operator=(const Resource&) = default;
    virtual ~Resource() = default;

    // Reads the file; the base class loads nothing.
    virtual bool Load(std::string filename);
    // Gives back what Load took beyond memory (GL names): fonts and textures.
    virtual void Unload();
};

class ResourceConstructor {
public:
    virtual ~ResourceConstructor() = default;
    // A new default-constructed object of the constructor's own type.
    virtual Resource* Create() = 0;
};

template <class T>
class TypedResourceConstructor : public ResourceConstructor {
public:
    Resource* Create() override { return new T(); }
};

// The text behind the last '.', the whole name when there is no '.', empty for an
// empty name or a name that ends in '.'.
std::string GetFileExtension(const std::string& filename);
