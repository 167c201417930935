#pragma once
// Player: the hero, named "main_player" in a level by convention (the patrols look for it by
// that name). It steers a PhysicsCharacter from the keyboard and mouse, orbits a camera
// round itself that it hands to the Scene named "game_scene" while that camera follows,
// keeps health and stamina, strikes with a ray, and draws a skinned mesh through one of
// two shading paths (r_advanced_shading). All of its assets are fixed: a level document
// gives it only the entity keys and the "PhysicsCharacter" child.
//
// Ownership: the player owns its body and both rays (members), its mesh, its animations
// and its handles. The physics objects join the CollisionManager in Bind; the manager only
// holds pointers and each object's destructor takes it out again, so the player may be
// deleted between two steps (a DeleteEntityEvent, a scene change). Collision events that
// the last step queued and that name one of its objects lose that pointer when the manager
// lets the object go, so that nobody reads a freed object from them.
//
// A dead player is paused: its body stops and input is ignored. Nothing here brings it
// back; reloading the scene does.

#include <cstdint>
#include <string>

#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hvector2.h"
#include "math/hvector3.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "scene/entity.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

class Player : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Player")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // SDL 1.2 codes of the keys the hero reads as numbers, whatever the bindings say.
    enum Key : int32_t {
        KEY_STRAFE_LEFT = 97,    // 'a'
        KEY_STRAFE_RIGHT = 100,  // 'd', by default also k_action_hit
        KEY_F5 = 286,
        KEY_LSHIFT = 304,
    };

    // The light of both shading paths, in the level.
    static constexpr float kLightPos[3] = {100.0f, 100.0f, 150.0f};
    static constexpr float kLightColor[3] = {1.0f, 1.0f, 0.6f};

    Player() = default;
    // The body and the rays leave their manager; the queued contacts forget them.
    ~Player() override = default;

    // The fixed textures and shader, the "PhysicsCharacter" child, the entity keys, the mesh
    // "resources/models/orsin.aam", the four animations bound to its skeleton, the two
    // animation channels (1 from "Mugurkauls_krutis" up, 0 from the root) with idle playing
    // on channel 0, and the camera ray. With r_advanced_shading also the vertex and fragment
    // programs of the advanced path. A null resource manager fetches no resource.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // Prepares the body; both rays in collision mode 1, range (0, 1); adds the attack ray,
    // the camera ray and the body to `physics`, in this order; then handlers for FrameEvent,
    // InputEvent, GenericCollisionEvent, HurtEvent and ItemPickupEvent, in this order.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // Needs a current GL context.
    void Render(RenderQueue* queue) override;
    // The body and the camera ray (not the attack ray) follow the pause.
    void SetPaused(bool pause) override;

    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);
    bool OnCollision(GenericCollisionEvent* event);
    bool OnHurt(HurtEvent* event);
    bool OnPickup(ItemPickupEvent* event);

    // The orbit camera's eye for the angles: lookAt plus 50 along the z axis of the rotation
    // by `yaw` degrees about (0,0,1) times `pitch` degrees about (1,0,0).
    static HVector3 OrbitEye(const HVector3& look_at, float yaw, float pitch);

    HVector2 GetBodyPosition() { return physics.GetPosition(); }
    float GetOrientation() const { return physics.GetOrientation(); }

    ResourceHandle<ShaderProgram> shader;     // "resources/shaders/quat_skinned_geometry.cg"
    ResourceHandle<TextureDDS> spareTexture;  // "resources/textures/polic.dds", never bound
    PhysicsCharacter physics;
    PhysicsRayCast attackRay;
    MeshAAM mesh;  // "resources/models/orsin.aam"
    Animation idle, walk, run, attack;
    Animator animator;
    bool attacking = false;
    float lastAttackTime = 0.0f;
    float attackCooldown = 1.0f;
    float staminaDrain = 40.0f;  // per second of running
    float staminaGain = 25.0f;   // per second otherwise, below 100
    float stamina = 100.0f;
    float health = 100.0f;
    PhysicsRayCast cameraRay;
    bool cameraBlocked = false;
    float cameraHitDistance = 500.0f;
    HVector2 cameraHitPoint{0.0f, 0.0f};
    HVector3 lookAt{0.0f, 0.0f, 0.0f};
    HVector3 cameraGoal{0.0f, 0.0f, 0.0f};
    HVector3 cameraEye{0.0f, 0.0f, 0.0f};
    HVector3 cameraVelocity{0.0f, 0.0f, 0.0f};
    float yaw = 0.0f;      // degrees; back to 0 beyond ±360
    float pitch = 300.0f;  // degrees, held within 231..333
    HVector2 drawPosition{0.0f, 0.0f};
    float now = 0.0f;
    float frameDt = 0.0f;
    ResourceHandle<ShaderProgram> advancedVertex;    // only with r_advanced_shading
    ResourceHandle<ShaderProgram> advancedFragment;  // only with r_advanced_shading
    ResourceHandle<TextureDDS> diffuseTexture;       // "resources/textures/orsin_d.dds"
    ResourceHandle<TextureTGA> normalTexture;        // "resources/textures/orsin_n.tga"
};
