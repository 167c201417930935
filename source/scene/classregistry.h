#pragma once
// ClassRegistry: turns the class names of scene documents into new entities. A member of
// the SceneManager; it owns its factories.

#include <cstdint>
#include <map>
#include <string>

#include "scene/entity.h"

class EntityFactory {
public:
    virtual ~EntityFactory() = default;
    // A new, default-constructed entity of the factory's class; the caller owns it.
    virtual Entity* Create() = 0;
    // The type id of the factory's class (numbered on first use, like GetTypeId); 0 for a
    // factory that does not know it.
    virtual uint32_t TypeId() { return 0; }
    // The keys the class's Load reads (cfo/cfokeys.h); 0 for a class without a table.
    virtual const CfoKeyTable* Keys() { return nullptr; }
};

template <class T>
class EntityFactoryOf : public EntityFactory {
public:
    Entity* Create() override { return new T(); }
    uint32_t TypeId() override {
        if constexpr (requires { T::StaticTypeId(); })
            return T::StaticTypeId();
        else
            return 0;
    }
    const CfoKeyTable* Keys() override {
        if constexpr (requires { T::key_table; })
            return &T::key_table;
        else
            return nullptr;
    }
};

class ClassRegistry {
public:
    ClassRegistry() = default;
    virtual ~ClassRegistry();

    ClassRegistry(const ClassRegistry&) = delete;
    ClassRegistry& operator=(const ClassRegistry&) = delete;

    // Takes a default-constructed prototype by value only to ask its type name, adds a
    // factory of T under that name and destroys the prototype: Register<Door>(Door()). A
    // second registration under a name keeps the first factory. Constructors of registered
    // classes therefore run before any scene exists and must be safe to do so.
    template <class T>
    void Register(T prototype) {
        Insert(prototype.GetTypeName(), new EntityFactoryOf<T>());
    }
    // The same with a prototype made here: Register<Door>().
    template <class T>
    void Register() {
        Register<T>(T());
    }
    // Adds `factory` under `name` unless the name is taken (then the factory is deleted).
    void Insert(const std::string& name, EntityFactory* factory);

    // A new entity of the class registered under `name`; 0 when there is none.
    Entity* Create(const std::string& name);

    // The type id of the class registered under `name`, without making one; 0 when there is
    // none. Layers that may not include a class (the GUI and the game's entities) compare
    // the ids that events carry through this.
    uint32_t TypeIdOf(const std::string& name);

    // The key table of the class registered under `name`; 0 when there is none or the class
    // has no table.
    const CfoKeyTable* KeysOf(const std::string& name);

    size_t Count() const { return factories.size(); }

    std::map<std::string, EntityFactory*> factories;  // owned
};
