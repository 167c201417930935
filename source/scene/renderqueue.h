#pragma once
// RenderQueue: the entities to draw this frame, refilled every frame. Each drawing entity
// queues itself at the start of its FrameEvent handler (SceneManager::AddToRenderQueue);
// Flush sorts by z_index, lowest first, equal values in order of queueing, and runs the
// three passes PreRender, Render and PostRender over all of them, so that the buffer swap
// of the SceneManager's PostRender comes after every Render.
//
// The queue owns nothing. `camera` is set by the Scene's Render pass and stays set between
// frames; later Render calls read it through the queue they are given.

#include <cstddef>
#include <list>

class Entity;
class Camera;

class RenderQueue {
public:
    // Appends `entity` when it is visible.
    void Add(Entity* entity);
    // Sort, the three passes, then an empty list. An entity queued during the passes waits
    // for the next Flush.
    void Flush();
    void Clear() { entities.clear(); }
    size_t Size() const { return entities.size(); }

    std::list<Entity*> entities;  // not owned
    Camera* camera = nullptr;     // not owned; set by the Scene
};
