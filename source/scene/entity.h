#pragma once
// Entity: everything that exists in a running game is one, in a single tree whose root is
// the SceneManager. Scene documents describe the tree: node names are class names, which
// the ClassRegistry turns into objects.
//
// Ownership: a parent owns its children (`children`), but the destructor does not delete
// them: SceneManager::DestroyTree walks and deletes the tree. `parent` never owns.
//
// The 17 virtual operations keep their slot order; the two unused hooks (5 and 6) keep
// their place. An entity that receives or sends events also derives from EventListener.
//
// Life of an entity: made by ClassRegistry::Create with defaults, given a parent, Load
// (children do not exist yet), Bind once the whole tree stands (only here may it search
// the tree, add handlers or touch physics), then each frame its FrameEvent handler and the
// three render passes; finally UnbindTree/DestroyTree, or a DeleteEntityEvent.

#include <cstdint>
#include <list>
#include <string>

#include "cfo/cfokeys.h"
#include "events/baseevent.h"
#include "math/hvector2.h"

class CfoNode;
class EventManager;
class SceneManager;
class CollisionManager;
class ResourceManager;
class RenderQueue;

class Entity {
public:
    Entity() = default;
    // Slot 0. Frees the entity's own fields; the children are not deleted.
    virtual ~Entity() = default;

    // Children are owned: an entity is never copied.
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;

    // Slot 1: registers handlers, adds physics objects, resolves names.
    virtual void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics);
    // Slot 2: called before a tree is destroyed.
    virtual void Unbind(EventManager* events, SceneManager* scene, CollisionManager* physics);
    // Slot 3: called for each entity by DestroyTree.
    virtual void Unload(SceneManager* scene, ResourceManager* resources);
    // Slot 4: reads "name" (string), "z_index" (float), "visible" (bool), each only when
    // present. Subclasses call it first. A null node changes nothing.
    virtual void Load(CfoNode* node, ResourceManager* resources);
    // Slots 5 and 6: hooks that no class overrides and nothing calls.
    virtual void Hook5(void* argument);
    virtual void Hook6();
    // Slots 7 to 9: the three render passes of RenderQueue::Flush.
    virtual void PreRender(RenderQueue* queue);
    virtual void Render(RenderQueue* queue);
    virtual void PostRender();
    // Slot 10: (0, 0) here; GUI objects add their parents' positions.
    virtual HVector2 GetPosition(HVector2 local);
    // Slots 11 to 14.
    virtual bool IsVisible();
    virtual void SetVisible(bool show);
    virtual void SetPaused(bool pause);
    virtual bool IsPaused();
    // Slot 15: "Entity" here; each creatable class returns its own type name.
    virtual std::string GetTypeName();
    // Slot 16: 0 here; each class numbers itself on first call from the counter that the
    // event classes share (see NewTypeId in events/baseevent.h).
    virtual uint32_t GetTypeId();

    // Searches the whole tree from the root, depth first, parents before children,
    // children in list order: the first entity named `key`, or 0.
    Entity* FindEntity(const std::string& key);
    // The root reached by climbing `parent` links.
    Entity* GetRoot();
    void AddChild(Entity* child);
    // Removes every occurrence of `child`; the child is not deleted.
    void RemoveChild(Entity* child);
    void SetParent(Entity* new_parent) { parent = new_parent; }
    Entity* GetParent() const { return parent; }
    std::string GetName() const { return name; }
    float GetZIndex() const { return z_index; }
    const std::list<Entity*>& GetChildren() const { return children; }

    bool visible = true;
    bool paused = false;
    std::string name;
    Entity* parent = nullptr;     // not owned
    std::list<Entity*> children;  // owned (deleted by DestroyTree), document order
    float z_index = 0.0f;         // render order, lowest first
};

// The keys Entity::Load reads; every class table names it as its base.
extern const CfoKeyTable entity_keys;

// Gives a class its type name ("Scene") and its lazily numbered type id. Put it in the
// public part of every class that documents create by name.
#define VELMORA_ENTITY_TYPE(TypeNameText)                     \
public:                                                       \
    inline static const std::string type_name = TypeNameText; \
    inline static uint32_t type_id = 0;                       \
    std::string GetTypeName() override { return type_name; }  \
    static uint32_t StaticTypeId() {                          \
        if (type_id == 0) type_id = NewTypeId();              \
        return type_id;                                       \
    }                                                         \
    uint32_t GetTypeId() override { return StaticTypeId(); }
