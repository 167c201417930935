#include "game/enemypolicedude.h"

#include <sstream>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "math/hmath.h"
#include "math/hvector3.h"
#include "physics/collisionmanager.h"
#include "scene/scenemanager.h"

EnemyPoliceDude::EnemyPoliceDude() {
    frontRay.SetOrigin(HVector2(0.0f, 0.0f));
    frontRay.SetDirection(HVector2(1.0f, 0.0f));
}

// clang-format off
constexpr CfoKey kEnemyKeys[] = {
    {"Enemy", CfoKeyType::Table, "", "the character", &character_keys},
    {"walk_path", CfoKeyType::Rows, "", "the patrol's round", &walk_path_keys},
    {"wait_at_target", CfoKeyType::Vector2, "3,5", "shortest and longest wait at a waypoint, "
     "seconds"},
};
// clang-format on

const CfoKeyTable EnemyPoliceDude::key_table{"EnemyPoliceDude",
                                             "a patrol that walks a round "
                                             "and fights the hero",
                                             kEnemyKeys, &entity_keys};

void EnemyPoliceDude::Load(CfoNode* node, ResourceManager* resources) {
    if (node != nullptr) {
        LoadCharacter(CfoReadChild(node, CfoKeyOf(kEnemyKeys, "Enemy")), resources);
        walkPath.Load(CfoReadChild(node, CfoKeyOf(kEnemyKeys, "walk_path")));
    } else {
        walkPath.Load(nullptr);
    }
    waitRange = HVector2(3.0f, 5.0f);
    if (node != nullptr) CfoReadVector2(node, CfoKeyOf(kEnemyKeys, "wait_at_target"), waitRange);
    Entity::Load(node, resources);
}

void EnemyPoliceDude::Bind(EventManager* events, SceneManager* scene, CollisionManager* manager) {
    CharacterEntity::Bind(events, scene, manager);
    frontRay.SetEntity(this);
    playerRay.SetEntity(this);
    // The body is ours too: the player's strike and a touch reach this entity through it, and
    // our own rays pass it by.
    physics.SetEntity(this);
    physics.SetViewAngle(70.0f);
    frontRay.SetCollisionMode(1, HVector2(0.0f, 1.0f));
    playerRay.SetCollisionMode(1, HVector2(0.0f, 1.0f));
    if (manager != nullptr) {
        manager->AddObject(&frontRay);
        manager->AddObject(&playerRay);
        manager->AddObject(&physics);
    }
    if (events != nullptr) {
        events->AddHandler(this, &EnemyPoliceDude::OnFrame);
        events->AddHandler(this, &EnemyPoliceDude::OnCollision);
        events->AddHandler(this, &EnemyPoliceDude::OnHurt);
    }
    previousWaypoint = 0;
    currentWaypoint = 0;
    hasWaypoint = false;
    waitStart = 0.0f;
    waitDuration = 0.0f;
    scanPoint = HVector2(0.0f, 0.0f);
    sightRange = 300.0f;
    hearingRange = 100.0f;
    state = ChooseWaypoint;
}

void EnemyPoliceDude::Unbind(EventManager* events, SceneManager* scene, CollisionManager* manager) {
    CharacterEntity::Unbind(events, scene, manager);
}

void EnemyPoliceDude::Unload(SceneManager* scene, ResourceManager* resources) {
    CharacterEntity::Unload(scene, resources);
}

bool EnemyPoliceDude::IsPlayerObject(PhysicsObject* object) {
    // Only the type name is asked for: the patrol does not depend on the Player class.
    return object != nullptr && object->GetEntity() != nullptr &&
           object->GetEntity()->GetTypeName() == "Player";
}

PhysicsCharacter* EnemyPoliceDude::FindBodyOf(Entity* entity) {
    if (entity == nullptr || physics.manager == nullptr) return nullptr;
    for (PhysicsObject* object : physics.manager->objects)
        if (object != nullptr && object->GetEntity() == entity &&
            object->GetTypeId() == PhysicsCharacter::StaticTypeId())
            return static_cast<PhysicsCharacter*>(object);
    return nullptr;
}

bool EnemyPoliceDude::OnFrame(FrameEvent* event) {
    now = event->time;
    SceneManager* scene = event->scene_manager;
    if (state == Dead) {
        PlayAnimation(ANI_IDLE, 0.5f, 5.0f, 0);
        UpdateMesh(now);
        if (scene != nullptr) scene->AddToRenderQueue(this);
        return true;
    }
    if (state != Attack) lastHitTime = now;

    UpdatePatrol();
    UpdateHunt();
    UpdateReturn();

    const HVector2 position = physics.GetPosition();
    Entity* player =
        scene != nullptr ? scene->FindEntity("main_player") : FindEntity("main_player");
    if (player != nullptr) {
        playerRay.SetDisabled(false);
        playerRay.SetOrigin(position);
        // A player whose body is not in the collision world keeps the ray's direction, and
        // so does one standing exactly on our position.
        if (PhysicsCharacter* body = FindBodyOf(player)) {
            HVector2 towards = body->GetPosition() - position;
            if (towards.Normalise() > 1e-6f) playerRay.SetDirection(towards);
        }
    }

    const float a = physics.GetOrientation() * HMath::fDeg2Rad;
    frontRay.SetDirection(HVector2(HMath::Cos(a), HMath::Sin(a)));
    frontRay.SetOrigin(position);

    UpdateMesh(now);
    if (scene != nullptr) scene->AddToRenderQueue(this);

    auto* map = new MiniMapObjectEvent();
    map->object_id = GetTypeId();
    map->position = HVector3(position.x, position.y, physics.GetOrientation());
    map->size = 30.0f;
    map->kind = state == Chase ? 2 : (state == Search ? 1 : 0);
    Post(map);
    return true;
}

void EnemyPoliceDude::UpdatePatrol() {
    const HVector2 position = physics.GetPosition();
    switch (state) {
        case WalkToWaypoint: {
            // A waypoint outside the path counts as none: the patrol chooses again.
            if (!hasWaypoint || !walkPath.Contains(currentWaypoint)) {
                state = ChooseWaypoint;
                PlayAnimation(ANI_IDLE, 0.5f, 20.0f, 0);
                break;
            }
            const HVector2 waypoint = walkPath.PositionOr(currentWaypoint, position);
            if ((waypoint - position).Length() >= 10.0f) {
                physics.GoTo(true, waypoint);
                physics.StopWander();
            } else {
                physics.GoTo(false, HVector2(0.0f, 0.0f));
                physics.StopWander();
                state = ChooseWaypoint;
                PlayAnimation(ANI_IDLE, 0.5f, 20.0f, 0);
            }
            break;
        }
        case WaitAtWaypoint: {
            // Without a waypoint the patrol faces its own place, which it always does.
            const HVector2 waypoint = walkPath.PositionOr(currentWaypoint, position);
            if (waitStart + waitDuration <= now && physics.IsFacing(waypoint, 10.0f)) {
                physics.FaceTowards(false, HVector2(0.0f, 0.0f));
                state = WalkToWaypoint;
                PlayAnimation(ANI_WALK, 0.5f, 80.0f, 0);
                break;
            }
            physics.FaceTowards(true, waypoint);
            break;
        }
        case ChooseWaypoint: {
            if (!hasWaypoint) {
                if (walkPath.FindNearest(position, currentWaypoint)) hasWaypoint = true;
            } else {
                const int old = previousWaypoint;
                previousWaypoint = currentWaypoint;
                currentWaypoint = walkPath.NextWaypoint(currentWaypoint, old);
            }
            state = WaitAtWaypoint;
            waitStart = now;
            waitDuration = HMath::RangeRandom(waitRange.x, waitRange.y);
            break;
        }
        default:
            break;
    }
}

void EnemyPoliceDude::UpdateHunt() {
    const HVector2 position = physics.GetPosition();
    switch (state) {
        case Chase: {
            physics.SetRunning(true);
            physics.GoTo(true, lastSeen);
            if (returnTrail.Empty()) returnTrail.Append(position);
            if ((returnTrail.Last() - position).SquaredLength() > 3600.0f)
                returnTrail.Append(position);
            if (physics.IsNear(lastSeen, 15.0f)) {
                state = Search;
                waitStart = now;
                waitDuration = HMath::RangeRandom(4.0f, 6.0f);
                physics.SetRunning(false);
                physics.GoTo(false, HVector2(0.0f, 0.0f));
                PlayAnimation(ANI_IDLE, 0.5f, 20.0f, 0);
            }
            break;
        }
        case Search: {
            if (waitStart + waitDuration > now) {
                if (physics.IsFacing(scanPoint, 10.0f)) {
                    const float dx = HMath::RangeRandom(-100.0f, 100.0f);
                    const float dy = HMath::RangeRandom(-100.0f, 100.0f);
                    scanPoint = position + HVector2(dx, dy);
                }
                physics.FaceTowards(true, scanPoint);
            } else {
                state = ReturnAlongTrail;
                currentWaypoint = returnTrail.Size() - 1;
                physics.FaceTowards(false, HVector2(0.0f, 0.0f));
                // An empty trail is used up at once by UpdateReturn.
                physics.GoTo(true, returnTrail.PositionOr(currentWaypoint, position));
                PlayAnimation(ANI_WALK, 0.5f, 80.0f, 0);
            }
            break;
        }
        case Attack: {
            if (playerDistance > 50.0f) {
                state = Chase;
                physics.FaceTowards(false, HVector2(0.0f, 0.0f));
                PlayAnimation(ANI_WALK, 0.5f, 80.0f, 0);
            }
            if (!physics.IsFacing(lastSeen, physics.GetViewAngle())) {
                state = Chase;
                physics.FaceTowards(false, HVector2(0.0f, 0.0f));
                PlayAnimation(ANI_WALK, 0.5f, 80.0f, 0);
            }
            break;
        }
        default:
            break;
    }
}

void EnemyPoliceDude::UpdateReturn() {
    if (state != ReturnAlongTrail) return;
    const HVector2 position = physics.GetPosition();
    // A breadcrumb outside the trail means the trail is used up.
    if (!returnTrail.Contains(currentWaypoint)) {
        returnTrail.Clear();
    } else {
        const HVector2 point = returnTrail.PositionOr(currentWaypoint, position);
        if ((point - position).Length() >= 20.0f) {
            if (physics.IsFacing(point, 40.0f)) {
                physics.GoTo(true, point);
            } else {
                // Stops to turn.
                physics.GoTo(false, HVector2(0.0f, 0.0f));
                physics.FaceTowards(true, point);
            }
            physics.StopWander();
            return;
        }
        const int old = currentWaypoint;
        currentWaypoint = returnTrail.FirstNeighbour(old);
        returnTrail.RemoveWaypoint(old);
    }
    if (returnTrail.Empty()) {
        physics.GoTo(false, HVector2(0.0f, 0.0f));
        physics.StopWander();
        state = ChooseWaypoint;
        PlayAnimation(ANI_IDLE, 0.5f, 20.0f, 0);
        // hasWaypoint stays: the patrol goes on from where it left.
    }
}

bool EnemyPoliceDude::OnCollision(GenericCollisionEvent* event) {
    if (state == Dead || event->self == nullptr || event->other == nullptr) return true;
    if (!IsPlayerObject(event->other)) return true;
    const int ray = PhysicsRayCast::StaticTypeId();
    const int character = PhysicsCharacter::StaticTypeId();
    const int self_kind = event->self->GetTypeId();
    const int other_kind = event->other->GetTypeId();
    if (self_kind == ray && event->self == &frontRay && other_kind == character &&
        event->distance < 50.0f)
        Strike(event);
    if (self_kind == ray && other_kind == character) {
        SeePlayer(event);
        playerDistance = event->distance;
    }
    if (self_kind == character && other_kind == character) {
        // Touched by the player.
        if (state != Chase && state != Attack) {
            state = Chase;
            physics.StopWander();
            PlayAnimation(ANI_RUN, 0.5f, 80.0f, 0);
        }
    }
    return true;
}

void EnemyPoliceDude::SeePlayer(GenericCollisionEvent* event) {
    // The rays report their nearest hit only: a wall or another figure in between hides the
    // player.
    if (event->distance < sightRange && physics.IsFacing(event->point, physics.GetViewAngle())) {
        lastSeen = event->point;
        if (state != Chase && state != Attack) {
            state = Chase;
            physics.StopWander();
            PlayAnimation(ANI_RUN, 0.5f, 80.0f, 0);
        }
    } else if ((state == Chase || state == Search) && event->distance < hearingRange) {
        // Follows without looking.
        lastSeen = event->point;
        physics.StopWander();
        state = Chase;
    }
    if (state == Attack) lastSeen = event->point;
}

void EnemyPoliceDude::Strike(GenericCollisionEvent* event) {
    if (state == Attack && lastHitTime + 2.0f < now) {
        lastHitTime = now;
        PostTo(new HurtEvent(-5.0f), event->other->GetEntity());
    }
    if (state != Attack) {
        state = Attack;
        physics.StopWander();
        PlayAnimation(ANI_ATTACK, 0.5f, 100.0f, 0);
    }
}

bool EnemyPoliceDude::OnHurt(HurtEvent* event) {
    float amount = event->amount;
    // Caught unaware, the patrol takes twice the damage.
    if (state != Attack && state != Chase) amount *= 2.0f;
    bool died = false;
    if (health > 0.0f) {
        health += amount;
        if (health <= 0.0f) {
            died = true;
            SetPaused(true);
            state = Dead;
        }
    }
    if (health < 0.0f) health = 0.0f;
    if (health > 100.0f) health = 100.0f;
    if (health <= 0.0f) {
        if (died) Post(new GameGUIMessageEvent(0, name + " died"));
    } else {
        // The text says -10 whatever the amount was.
        std::ostringstream text;
        text << "Hit " << name << " -10 (" << health << ")";
        Post(new GameGUIMessageEvent(0, text.str()));
    }
    if (state != Dead) state = Attack;
    return true;
}
