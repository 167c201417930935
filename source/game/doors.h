#pragma once
// Doors: a door of a level that moves between an open and a closed pose. Its body is a
// PhysicsCharacter that either pushes itself to a place ("slider": `openPos` and
// `closedPos` are places) or turns to a heading (any other "type", "rotate" among them:
// `openPos` and `closedPos` are directions). The body is immovable, so that characters in
// its way are pushed aside and it is not pushed by them.
//
// A Trigger whose name equals the door's "activator_name" toggles it: every
// TriggerActivationEvent of that trigger closes an open door and opens a closed one; a
// moving door ignores it. The key "t" toggles every door the same way (a development aid
// that stays in). Reaching a pose broadcasts the pose's message to the game GUI, when the
// document gave one.
//
// The first movement starts during Load, from "init_state" (1 opens, anything else
// closes). "init_state" is read before the body's own node, so that at that moment the
// body still stands at the origin: a rotating door takes its first heading from the
// origin, and a level gives such a door long direction vectors so that the heading seen
// from the door's own place is the same.
//
// The steering commands stay set after a pose is reached: the body keeps pressing towards
// its goal and so holds it.
//
// Ownership: the entity owns its body (a member) and its handles. The body is handed to
// the CollisionManager in Bind; the manager only holds a pointer, and the body's
// destructor takes it out again, while the door's own destructor takes it out of the
// contacts still queued, so the door may be deleted at any time between steps.

#include <string>

#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hmatrix4.h"
#include "math/hvector2.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/sound.h"
#include "resources/texturedds.h"
#include "scene/entity.h"
#include "world/meshasm.h"

class Doors : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Doors")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // The kinds of door, from the key "type".
    enum Kind { SLIDER = 0, ROTATE = 1 };
    // The door's states.
    enum State { OPEN = 0, CLOSED = 1, OPENING = 2, CLOSING = 3 };

    // The key that toggles every door ("t").
    static constexpr int32_t kToggleKey = 116;
    // How close a slider must come to its place, and how wide the cone in which a rotating
    // door counts as facing its heading, in degrees.
    static constexpr float kSliderReach = 10.0f;
    static constexpr float kFacingCone = 20.0f;
    // How far ahead of a rotating door its heading point lies.
    static constexpr float kHeadingDistance = 1000.0f;

    Doors() = default;
    // The body leaves its manager (its own destructor), and the contacts of the last step
    // that are still queued forget it.
    ~Doors() override = default;

    // The shader, then "model", "texture", "activator_name", "open_message",
    // "close_message", "open_pos", "closed_pos", "move_sound", "type", "init_state" (which
    // starts the first movement), "transf" and the child "PhysicsCharacter", in this order,
    // after the entity's own keys.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // Prepares the body (immovable, stop distance 5, approach gain 10), hands it to the
    // collision manager and adds the handlers of FrameEvent, InputEvent,
    // GenericCollisionEvent and TriggerActivationEvent, in this order.
    void Bind(EventManager* events, SceneManager* scene,
              CollisionManager* physics_manager) override;
    // The model at the body's place and heading, through the simple static shader.
    void Render(RenderQueue* queue) override;

    // Start a movement towards the open or the closed pose, with the move sound.
    void Open();
    void Close();
    // Whether the body stands in the open or the closed pose.
    bool IsOpenPose();
    bool IsClosedPose();

    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);
    bool OnCollision(GenericCollisionEvent* event);
    bool OnActivation(TriggerActivationEvent* event);

    ResourceHandle<TextureDDS> texture;
    ResourceHandle<MeshASM> model;
    ResourceHandle<Sound> moveSound;
    PhysicsCharacter physics;
    ResourceHandle<ShaderProgram> shader;
    HMatrix4 transform;  // read from "transf"; nothing uses it
    int kind = SLIDER;
    int state = OPEN;
    HVector2 openPos{1.0f, 0.0f};
    HVector2 closedPos{0.0f, 1.0f};
    std::string activatorName;
    std::string closeMessage;
    std::string openMessage;

private:
    // Starts the move sound from its beginning.
    void PlayMoveSound();
    // Whether the body stands at (slider) or faces (rotating door) `pos`.
    bool IsInPose(HVector2 pos);
    // Steers the body towards `pos` and enters `new_state`.
    void StartMove(HVector2 pos, int new_state);
};
