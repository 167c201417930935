#include "scene/renderqueue.h"

#include "scene/entity.h"

void RenderQueue::Add(Entity* entity) {
    if (entity != nullptr && entity->IsVisible()) entities.push_back(entity);
}

void RenderQueue::Flush() {
    std::list<Entity*> frame;
    frame.swap(entities);
    // list::sort is a stable merge sort: equal z_index keeps the order of queueing.
    frame.sort([](const Entity* a, const Entity* b) { return a->z_index < b->z_index; });
    for (Entity* entity : frame) entity->PreRender(this);
    for (Entity* entity : frame) entity->Render(this);
    for (Entity* entity : frame) entity->PostRender();
}
