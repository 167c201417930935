#pragma once
// Item: a thing on the ground that the hero takes by touching it: a model over a
// PhysicsStaticGeometry that tells it when the Player's body arrives. Taking it broadcasts
// an ItemPickupEvent (HEALTH items heal the Player; nobody listens to TARGET ones), shows
// its message, plays its sound and takes the item out of play: paused, hidden and its shape
// disabled, so that it cannot be taken twice. It stays in the scene until the scene goes.
//
// Ownership: the item owns its shape (a member) and its handles. The shape joins the
// CollisionManager in Bind only when it has vertices: an item without one can never be
// taken. The shape's destructor takes it out of the manager again, and the contacts the
// last step queued forget it, so the item may be deleted between two steps.

#include <cstdint>
#include <string>

#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hmatrix4.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/sound.h"
#include "resources/texturedds.h"
#include "scene/entity.h"
#include "world/meshasm.h"

class Item : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Item")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // The kinds of "type": anything else than "TARGET" heals.
    enum Kind : int32_t { HEALTH = 0, TARGET = 1 };

    Item() = default;
    ~Item() override = default;

    // The fixed shader, then "model", "texture", "pickup_message", "pickup_sound", "type",
    // "value", "transf" and the "PhysicsStaticGeometry" child, then the entity keys. A null
    // resource manager fetches no resource.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // A shape with vertices is prepared, owned and added to `physics`; then handlers for
    // FrameEvent and GenericCollisionEvent, in this order.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // Needs a current GL context.
    void Render(RenderQueue* queue) override;
    // The shape follows the pause.
    void SetPaused(bool pause) override;

    // The mini-map mark while in play (kind 1 HEALTH, 2 TARGET), then the render queue.
    bool OnFrame(FrameEvent* event);
    // The Player's body on the shape takes the item.
    bool OnCollision(GenericCollisionEvent* event);

    // The mini-map kind of an item kind.
    int32_t MiniMapKind() const { return kind == TARGET ? 2 : 1; }

    ResourceHandle<TextureDDS> texture;
    ResourceHandle<MeshASM> model;
    ResourceHandle<Sound> pickupSound;
    PhysicsStaticGeometry geometry;
    ResourceHandle<ShaderProgram> shader;  // "resources/shaders/static_geometry_simple.cg"
    HMatrix4 transform;                    // from "transf"; kept, used by nothing
    std::string pickupMessage;
    int32_t kind = HEALTH;
    float value = 0.0f;
};
