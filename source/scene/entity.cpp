#include "scene/entity.h"

#include <algorithm>
#include <vector>

#include "cfo/cforeaders.h"

void Entity::Bind(EventManager*, SceneManager*, CollisionManager*) {}
void Entity::Unbind(EventManager*, SceneManager*, CollisionManager*) {}
void Entity::Unload(SceneManager*, ResourceManager*) {}

// clang-format off
constexpr CfoKey kEntityKeys[] = {
    {"name", CfoKeyType::String, "", "the name other entities find this one by"},
    {"z_index", CfoKeyType::Float, "0", "drawing order, lowest first"},
    {"visible", CfoKeyType::Bool, "1", "0 hides it: it goes on running but is not drawn"},
};
// clang-format on

const CfoKeyTable entity_keys{"Entity", "the keys every class reads", kEntityKeys};

void Entity::Load(CfoNode* node, ResourceManager*) {
    if (node == nullptr) return;
    CfoReadString(node, CfoKeyOf(kEntityKeys, "name"), name);
    CfoReadFloat(node, CfoKeyOf(kEntityKeys, "z_index"), z_index);
    CfoReadBool(node, CfoKeyOf(kEntityKeys, "visible"), visible);
}

void Entity::Hook5(void*) {}
void Entity::Hook6() {}
void Entity::PreRender(RenderQueue*) {}
void Entity::Render(RenderQueue*) {}
void Entity::PostRender() {}
HVector2 Entity::GetPosition(HVector2) { return HVector2(0.0f, 0.0f); }
bool Entity::IsVisible() { return visible; }
void Entity::SetVisible(bool show) { visible = show; }
void Entity::SetPaused(bool pause) { paused = pause; }
bool Entity::IsPaused() { return paused; }
std::string Entity::GetTypeName() { return "Entity"; }
uint32_t Entity::GetTypeId() { return 0; }

Entity* Entity::GetRoot() {
    // A parent chain that loops back on itself is a programmer's error; stop anyway.
    Entity* root = this;
    size_t steps = 0;
    while (root->parent != nullptr && root->parent != this && steps < 1000000) {
        root = root->parent;
        ++steps;
    }
    return root;
}

Entity* Entity::FindEntity(const std::string& key) {
    // Depth first, parents before children, children in list order; an explicit stack, as
    // trees from documents may be deep.
    std::vector<Entity*> stack;
    stack.push_back(GetRoot());
    while (!stack.empty()) {
        Entity* entity = stack.back();
        stack.pop_back();
        if (entity->name == key) return entity;
        for (auto it = entity->children.rbegin(); it != entity->children.rend(); ++it)
            if (*it != nullptr) stack.push_back(*it);
    }
    return nullptr;
}

void Entity::AddChild(Entity* child) { children.push_back(child); }

void Entity::RemoveChild(Entity* child) { children.remove(child); }
