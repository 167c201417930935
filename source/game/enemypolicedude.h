#pragma once
// EnemyPoliceDude: the patrol, the one enemy of the game. A CharacterEntity that walks a
// graph of waypoints (`walkPath`), notices the player ("main_player") through two rays,
// chases it, strikes it, searches the place where it vanished, walks back along the trail
// of breadcrumbs it dropped (`returnTrail`) and dies. All of it is a state machine run by
// its FrameEvent, GenericCollisionEvent and HurtEvent handlers.
//
// Ownership: the entity owns its two rays and (through CharacterEntity) its body; all
// three leave the CollisionManager by their own destructors when the patrol is deleted,
// and the queued collision events that name them lose those pointers first.
//
// The player is recognised by its entity's type name "Player" and found by its name; its
// body is the PhysicsCharacter of that entity in the collision manager. The patrol needs
// nothing else of the Player class.

#include "events/eventmanager.h"
#include "events/events.h"
#include "game/characterentity.h"
#include "game/walkpath.h"

class EnemyPoliceDude : public CharacterEntity, public EventListener {
    VELMORA_ENTITY_TYPE("EnemyPoliceDude")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    enum State {
        WalkToWaypoint = 1,
        WaitAtWaypoint = 2,
        ChooseWaypoint = 3,
        Chase = 4,
        Search = 5,
        ReturnAlongTrail = 6,
        Attack = 7,
        Dead = 8,
    };

    EnemyPoliceDude();
    // Takes the rays and the body out of the collision events still queued (the other side
    // of a contact must not read them once they are gone); the members' own destructors
    // then take them out of the manager.
    ~EnemyPoliceDude() override = default;

    // The child "Enemy" through LoadCharacter, the child "walk_path", "wait_at_target" (two
    // floats, default 3,5), then the entity's own keys.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // The character's Bind, the rays (nearest hit), the objects in the order front ray,
    // player ray, body; the handlers for FrameEvent, GenericCollisionEvent and HurtEvent;
    // the patrol starts over in ChooseWaypoint.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unbind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unload(SceneManager* scene, ResourceManager* resources) override;

    bool OnFrame(FrameEvent* event);
    bool OnCollision(GenericCollisionEvent* event);
    bool OnHurt(HurtEvent* event);

    void UpdatePatrol();
    void UpdateHunt();
    void UpdateReturn();
    void SeePlayer(GenericCollisionEvent* event);
    void Strike(GenericCollisionEvent* event);

    // Whether `object` belongs to an entity of the type "Player".
    static bool IsPlayerObject(PhysicsObject* object);
    // The body of `entity` among the objects of the manager that holds our body, or null.
    PhysicsCharacter* FindBodyOf(Entity* entity);

    HVector2 lastSeen{0.0f, 0.0f};
    bool hasWaypoint = false;
    int currentWaypoint = 0;
    int previousWaypoint = 0;
    HVector2 waitRange{3.0f, 5.0f};  // shortest and longest wait, seconds
    float waitDuration = 0.0f;
    float waitStart = 0.0f;
    HVector2 scanPoint{0.0f, 0.0f};
    PhysicsRayCast frontRay;
    PhysicsRayCast playerRay;
    float sightRange = 300.0f;
    float hearingRange = 100.0f;
    float playerDistance = 0.0f;
    int state = ChooseWaypoint;
    WalkPath walkPath;
    WalkPath returnTrail;
    float now = 0.0f;
    float lastHitTime = 0.0f;
};
