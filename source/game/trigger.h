#pragma once
// Trigger: a switch of a level. It has a model in two looks (on and off), an optional solid
// shape (`geometry`) and a ray (`ray`) that stands for its reach: the player's body meets
// the ray, and the player who strikes close by, facing it, sends the switch a
// PlayerActionEvent.
//
// An action starts a switch, with its sound, unless one is under way. After its time the
// switch broadcasts a TriggerActivationEvent with itself as `trigger` (kind 0 on, 1 off),
// on which the doors whose "activator_name" is this entity's name act, and the message of
// the new position, when the document gave one. The two times cross: "close_time" is the
// way to on (state 0), "open_time" the way to off (state 1). There is no automatic return.
//
// Ownership: the entity owns its two physics objects (members) and its handles. Bind hands
// them to the CollisionManager; its pointers go when the members' destructors run, and the
// contacts still queued forget them when the switch goes, so the switch may be deleted at
// any time between steps.

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

class Trigger : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Trigger")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // The switch's states; the names follow the activation that ends them.
    enum State { ON = 0, OFF = 1, SWITCHING_ON = 2, SWITCHING_OFF = 3 };

    Trigger() = default;
    // The shape and the ray leave their manager (their own destructors), and the contacts of
    // the last step that are still queued forget them.
    ~Trigger() override = default;

    // The shader, then "open_model", "closed_model", "open_texture", "closed_texture",
    // "open_time", "close_time", "open_message", "close_message", "switch_sound", "transf"
    // and the children "PhysicsRayCast" and "PhysicsStaticGeometry", in this order, after
    // the entity's own keys.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // The solid shape when it has vertices; the ray in nearest-hit mode with the range
    // (0, 1); the handlers of FrameEvent, GenericCollisionEvent and PlayerActionEvent, in
    // this order.
    void Bind(EventManager* events, SceneManager* scene,
              CollisionManager* physics_manager) override;
    // The look of the state at the ray's place, through the simple static shader.
    void Render(RenderQueue* queue) override;

    // Whether Render shows the open look (and the open texture): on, and on the way off.
    bool ShowsOpenLook() const { return state == ON || state == SWITCHING_OFF; }

    bool OnFrame(FrameEvent* event);
    bool OnCollision(GenericCollisionEvent* event);
    bool OnAction(PlayerActionEvent* event);

    ResourceHandle<TextureDDS> openTexture;
    ResourceHandle<TextureDDS> closedTexture;
    ResourceHandle<MeshASM> openModel;
    ResourceHandle<MeshASM> closedModel;
    ResourceHandle<Sound> switchSound;
    PhysicsStaticGeometry geometry;
    ResourceHandle<ShaderProgram> shader;
    HMatrix4 transform;  // read from "transf"; nothing uses it
    PhysicsRayCast ray;
    int state = OFF;
    float now = 0.0f;        // time of the last frame
    float startTime = 0.0f;  // when the switch under way started
    float openTime = 1.0f;   // the way to off
    float closeTime = 1.0f;  // the way to on
    std::string closeMessage;
    std::string openMessage;
};
