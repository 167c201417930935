#pragma once
// SceneManager: the root of the entity tree and the owner of the per-frame machinery: the
// render queue, the class registry, the event manager, the resource manager and the
// collision manager, all members that live exactly as long as it does. One exists in a
// run; main makes it, builds the tree under it from the configuration's "SceneManager"
// node, and drives the frame: Update (time, physics, event dispatch), a FrameEvent,
// RenderQueue::Flush, CleanUpObjects.
//
// Its own FrameEvent handler polls SDL and turns every key, button and motion event into
// an InputEvent (SDL 1.2 numbers, mouse in the 1024 by 768 virtual space); "q" and the
// window's close end the program. Deletions (DeleteEntityEvent) and scene changes
// (LoadGameEvent) are only recorded by the handlers and carried out by CleanUpObjects,
// outside dispatch; a scene change replaces only the entity named "game_scene".

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "physics/collisionmanager.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "scene/classregistry.h"
#include "scene/entity.h"
#include "scene/renderqueue.h"

class CfoNode;
class CollisionManager;

class SceneManager : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("SceneManager")

public:
    SceneManager();
    ~SceneManager() override;

    // Entity slots.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unbind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unload(SceneManager* scene, ResourceManager* resources) override;
    // The configuration: settings, search paths, key bindings, the fragment program gate.
    // Runs again for the root of every required or scene document.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // Clears to grey (0.3, 0.3, 0.3, 0), colour and depth.
    void PreRender(RenderQueue* queue) override;
    void Render(RenderQueue* queue) override;
    // glFlush and the buffer swap.
    void PostRender() override;

    // Mounts a folder or archive at the end of the search path. On failure prints the
    // PhysFS error, then " '" path "'".
    static bool AddSearchPath(const std::string& path);

    // One frame's time (SDL_GetTicks), collision step and event dispatch; false ends the
    // program.
    bool Update();
    // The clock Update reads: SDL's milliseconds as seconds.
    static float ClockSeconds();
    // The same with a given time in seconds (what Update does after reading the clock).
    bool UpdateAt(float now);
    // Delete requests first, then a pending scene change.
    void CleanUpObjects();

    // Builds the tree under `parent` from `node`: Load of the parent, then a new entity for
    // every child node that names a registered class (printed as " 'Name'", one blank per
    // level), a textual include for every "require" child. Other children are data.
    void LoadTree(CfoNode* node, Entity* parent, int32_t depth = 0);
    // Bind (Unbind) of the entity, then of its children, depth first.
    void BindTree(Entity* entity);
    void UnbindTree(Entity* entity);
    // Unload of the entity, then of each child's subtree; the children are deleted and
    // taken off the list. The entity itself stays.
    void DestroyTree(SceneManager* scene, Entity* entity);

    // Handlers, bound in this order by Bind.
    bool OnFrame(FrameEvent* event);
    bool OnDeleteEntity(DeleteEntityEvent* event);
    bool OnLoadGame(LoadGameEvent* event);

    // What OnFrame does with one translated SDL event: false for "q" down and for quit.
    bool HandleInput(const Sdl12Event& event);

    void AddToRenderQueue(Entity* entity) { render_queue.Add(entity); }

    RenderQueue* GetRenderQueue() { return &render_queue; }
    ClassRegistry* GetClasses() { return &classes; }
    EventManager* GetEvents() { return &events; }
    // The resource and collision managers; 0 until those members exist here.
    ResourceManager* GetResources();
    CollisionManager* GetPhysics();

    // A resource loader for files ending in `extension`; only the prototype's type counts.
    template <class T>
    void RegisterResource(const std::string& extension, T prototype) {
        (void)prototype;
        resources.RegisterType<T>(extension);
    }

    RenderQueue render_queue;
    ClassRegistry classes;
    EventManager events;
    ResourceManager resources;
    // "resources/textures/gui/cursor.dds", fetched in Load. Declared after `resources` so
    // that the handle is released while its manager still exists.
    ResourceHandle<TextureDDS> cursor;
    CollisionManager physics;
    std::list<Entity*> delete_list;  // requests from DeleteEntityEvent, not owned
    std::string pending_scene;       // from LoadGameEvent; empty when none
    float time = 0.0f;               // seconds, last frame
    float dt = 0.0f;                 // seconds, last frame's length

    // Demo support. While `input_replay` is set, OnFrame hands on these records instead of
    // the devices' (which it still reads and drops, but for the window's close); while
    // `input_record` is set, every record OnFrame hands on is appended to it. A recorded
    // pointer keeps the place it had in the window it came from: `input_screen_width` and
    // `input_screen_height` name that window's size (0: the window's own).
    const std::vector<Sdl12Event>* input_replay = nullptr;  // not owned
    std::vector<Sdl12Event>* input_record = nullptr;        // not owned
    int32_t input_screen_width = 0;
    int32_t input_screen_height = 0;
    // When set, PostRender saves the frame there before the swap, prints the outcome and
    // clears it.
    std::string screenshot_path;

    // Frame counters: how many times the screen was cleared and swapped.
    uint32_t clear_count = 0;
    uint32_t swap_count = 0;

    // Nesting caps of LoadTree: "require" includes and class nodes.
    static constexpr int32_t kMaxRequireDepth = 32;
    static constexpr int32_t kMaxTreeDepth = 256;

private:
    void LoadTreeLevel(CfoNode* node, Entity* parent, int32_t depth);
    void DeleteSubtree(Entity* entity);

    std::vector<std::string> require_stack;  // documents being included, outermost first
    int32_t tree_depth = 0;                  // class nodes open in LoadTree
};
