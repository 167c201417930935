#include "game/player.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cmath>
#include <iostream>

#include "cfo/cfonode.h"
#include "math/hmath.h"
#include "math/hquaternion.h"
#include "platform/draw.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "scene/scene.h"
#include "scene/scenemanager.h"
#include "world/skinnedmeshdraw.h"
#include "physics/physicskeys.h"
#include "cfo/cforeaders.h"

namespace {

// The unit vector of a body angle in degrees.
HVector2 Facing(float degrees) {
    const float a = degrees * HMath::fDeg2Rad;
    return HVector2(std::cos(a), std::sin(a));
}

float Clamp100(float value) {
    if (value < 0.0f) return 0.0f;
    if (value > 100.0f) return 100.0f;
    return value;
}

// The index of the skeleton's first root bone, 0 for a mesh without one.
int RootBoneOf(const MeshAAM& mesh) {
    for (size_t i = 0; i < mesh.bones.size(); ++i)
        if (mesh.bones[i].parent_id < 0) return int(i);
    return 0;
}

}  // namespace

// clang-format off
constexpr CfoKey kPlayerKeys[] = {
    {"PhysicsCharacter", CfoKeyType::Table, "", "the hero's body", &physics_character_keys},
};
// clang-format on

const CfoKeyTable Player::key_table{"Player", "the hero; its mesh and animations are fixed",
                                    kPlayerKeys, &entity_keys};

void Player::Load(CfoNode* node, ResourceManager* resources) {
    if (resources != nullptr) {
        resources->Load(spareTexture, "resources/textures/polic.dds");
        resources->Load(diffuseTexture, "resources/textures/orsin_d.dds");
        resources->Load(normalTexture, "resources/textures/orsin_n.tga");
        resources->Load(shader, "resources/shaders/quat_skinned_geometry.cg");
    }
    // No child gives a null node, which the body takes as "nothing to read".
    physics.Load(node != nullptr ? CfoReadChild(node, CfoKeyOf(kPlayerKeys, "PhysicsCharacter"))
                                 : nullptr);
    Entity::Load(node, resources);

    mesh.Load("resources/models/orsin.aam");
    run.Load("animations/orsin_run.cfo");
    walk.Load("animations/orsin_walk.cfo");
    idle.Load("animations/orsin_idle.cfo");
    attack.Load("animations/orsin_attack.cfo");
    mesh.BindAnimation(&idle);
    mesh.BindAnimation(&walk);
    mesh.BindAnimation(&run);
    mesh.BindAnimation(&attack);

    // Channel 1 drives the upper body from the spine outward, over channel 0's whole figure.
    // A mesh without that bone gives -1, which poses nothing.
    animator.SetupChannel(1, 1.0f, 0.0f, mesh.FindBone("Mugurkauls_krutis"));
    animator.SetupChannel(0, 1.0f, 0.0f, RootBoneOf(mesh));
    animator.Play(&idle, 0.0f, 20.0f, 0);
    animator.Play(&idle, 0.0f, 20.0f, 1);
    animator.Stop(1);

    cameraRay.SetOrigin(HVector2(100.0f, 100.0f));
    cameraRay.SetDirection(HVector2(0.0f, 1.0f));
    cameraEye = HVector3(0.0f, 0.0f, 0.0f);
    cameraGoal = HVector3(0.0f, 0.0f, 0.0f);

    if (r_advanced_shading && resources != nullptr) {
        resources->Load(advancedVertex, "resources/shaders/character_advanced.cg");
        SetShaderLoadMode(false);
        resources->Load(advancedFragment, "resources/shaders/character_advanced_frag.cg");
        SetShaderLoadMode(true);
    }
}

void Player::Bind(EventManager* events, SceneManager*, CollisionManager* manager) {
    physics.Prepare();
    physics.SetEntity(this);
    attackRay.SetEntity(this);
    cameraRay.SetEntity(this);
    attackRay.SetCollisionMode(1, HVector2(0.0f, 1.0f));
    cameraRay.SetCollisionMode(1, HVector2(0.0f, 1.0f));
    if (manager != nullptr) {
        manager->AddObject(&attackRay);
        manager->AddObject(&cameraRay);
        manager->AddObject(&physics);
    }
    if (events != nullptr) {
        events->AddHandler(this, &Player::OnFrame);
        events->AddHandler(this, &Player::OnInput);
        events->AddHandler(this, &Player::OnCollision);
        events->AddHandler(this, &Player::OnHurt);
        events->AddHandler(this, &Player::OnPickup);
    }
    attackCooldown = 1.0f;
    lastAttackTime = 0.0f;
    yaw = 0.0f;
    pitch = 300.0f;
}

void Player::SetPaused(bool pause) {
    physics.SetDisabled(pause);
    cameraRay.SetDisabled(pause);
    Entity::SetPaused(pause);
}

bool Player::OnInput(InputEvent* event) {
    if (event == nullptr || IsPaused()) return true;
    const Sdl12Event& e = event->sdl_event;

    if (e.type == SDL12_KEYDOWN) {
        const int32_t key = e.key.keysym.sym;
        if (key == KEY_F5) {
            const HVector2 p = physics.GetPosition();
            // As a document writes a position, ready for "pos = ...".
            std::cout << "pos: " << p.x << "," << p.y << std::endl;
        }
        if (key == k_action_forward) {
            physics.moveForward = true;
            animator.Play(&walk, 0.5f, 70.0f, 0);
        }
        // Shift runs only when pressed with forward held and some stamina left.
        if (key == KEY_LSHIFT && physics.moveForward && stamina > 0.0f) {
            physics.moveForward = true;
            animator.Play(&run, 0.2f, 100.0f, 0);
            physics.SetRunning(true);
        }
        if (key == k_action_back) physics.moveBackward = true;
        if (key == KEY_STRAFE_LEFT) physics.strafeLeft = true;
        // With the default bindings this key strikes as well.
        if (key == KEY_STRAFE_RIGHT) physics.strafeRight = true;
        if (key == k_action_hit) {
            attacking = true;
            animator.Play(&attack, 0.5f, 80.0f, 1);
            // The first blow lands a cooldown after the press.
            lastAttackTime = now;
        }
    } else if (e.type == SDL12_KEYUP) {
        const int32_t key = e.key.keysym.sym;
        if (key == k_action_forward) {
            physics.moveForward = false;
            animator.Play(&idle, 0.5f, 20.0f, 0);
        }
        if (key == KEY_LSHIFT && physics.IsRunning()) {
            animator.Play(&walk, 0.5f, 70.0f, 0);
            physics.SetRunning(false);
        }
        if (key == k_action_back) physics.moveBackward = false;
        if (key == KEY_STRAFE_LEFT) physics.strafeLeft = false;
        if (key == KEY_STRAFE_RIGHT) physics.strafeRight = false;
        if (key == k_action_hit) {
            attacking = false;
            animator.Stop(1);
        }
    } else if (e.type == SDL12_MOUSEMOTION) {
        const float dx = float(e.motion.xrel);
        const float dy = float(e.motion.yrel);
        yaw -= dx * frameDt * 20.0f;
        pitch += dy * frameDt * 15.0f;
        if (pitch > 333.0f) pitch = 333.0f;
        if (pitch < 231.0f) pitch = 231.0f;
        if (yaw > 360.0f || yaw < -360.0f) yaw = 0.0f;
    }
    return true;
}

HVector3 Player::OrbitEye(const HVector3& look_at, float yaw_degrees, float pitch_degrees) {
    const HQuaternion turn(yaw_degrees * HMath::fDeg2Rad, HVector3(0.0f, 0.0f, 1.0f));
    const HQuaternion tilt(pitch_degrees * HMath::fDeg2Rad, HVector3(1.0f, 0.0f, 0.0f));
    const HQuaternion orbit = turn * tilt;
    return look_at + orbit.zAxis() * 50.0f;
}

bool Player::OnFrame(FrameEvent* event) {
    if (event == nullptr) return true;
    now = event->time;
    frameDt = event->dt;
    const float dt = event->dt;

    // Stamina: running spends it and drops to a walk when it is gone; anything else earns
    // it back. Shift must be pressed again to run once more.
    if (physics.IsRunning() && stamina > 0.0f) {
        stamina -= staminaDrain * dt;
        if (stamina <= 0.0f) {
            animator.Play(&walk, 0.5f, 70.0f, 0);
            physics.SetRunning(false);
        }
    } else if (stamina < 100.0f) {
        stamina += staminaGain * dt;
    }
    stamina = Clamp100(stamina);

    Post(new HUDEvent(0, stamina));
    Post(new HUDEvent(1, health));

    const HVector2 position = physics.GetPosition();
    const HVector2 f = Facing(physics.GetOrientation());
    cameraRay.SetOrigin(position);
    cameraRay.SetDirection(-f);
    attackRay.SetOrigin(position);
    attackRay.SetDirection(f);

    // The follow camera of the ray: behind the figure, closer when the ray met something
    // near. The orbit below replaces its result; it stays as the record of that logic.
    HVector2 goal = position - f * 50.0f;
    if (cameraBlocked && std::fabs(cameraHitDistance) < 100.0f) {
        goal = position - f * std::fabs(cameraHitDistance);
        cameraBlocked = false;
        cameraHitDistance = 500.0f;
    }
    cameraGoal = HVector3(goal.x, goal.y, 75.0f);
    lookAt = HVector3(position.x, position.y, 75.0f);
    cameraVelocity = (cameraGoal - cameraEye) * 2.0f;
    cameraEye += cameraVelocity * dt;

    // The eye the view really gets: from the mouse's angles alone.
    cameraEye = OrbitEye(lookAt, yaw, pitch);

    drawPosition = position;

    // Only a following camera is fed, and only then does the figure turn with it.
    if (auto* scene = dynamic_cast<Scene*>(FindEntity("game_scene"))) {
        if (scene->camera_mode == Scene::CAMERA_FOLLOW) {
            scene->camera.target = lookAt;
            scene->camera.position = cameraEye;
            scene->camera.up = HVector3(0.0f, 0.0f, 1.0f);
            scene->camera.fov = 70.0f;
            physics.SetTargetAngle(true, yaw - 90.0f);
        }
    }

    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    animator.Update(mesh, event->time);

    auto* mark = new MiniMapObjectEvent();
    mark->object_id = GetTypeId();
    mark->position = HVector3(position.x, position.y, physics.GetOrientation());
    mark->size = 30.0f;
    mark->kind = 0;
    Post(mark);
    return true;
}

bool Player::OnCollision(GenericCollisionEvent* event) {
    if (event == nullptr || event->self == nullptr || event->other == nullptr) return true;
    PhysicsObject* self = event->self;
    PhysicsObject* other = event->other;

    if (self == &cameraRay) {
        cameraBlocked = true;
        cameraHitPoint = event->point;
        cameraHitDistance = event->distance;
    }

    // A blow: any body of any owner within reach (a patrol, a door's body alike), at most
    // once per cooldown and only while the key is held. A body without an owner has nobody
    // to hurt: a HurtEvent without a target would reach everyone, the hero included.
    if (self == &attackRay && other->GetTypeId() == PhysicsCharacter::StaticTypeId() &&
        other->entity != nullptr && event->distance < 50.0f && attacking &&
        lastAttackTime + attackCooldown < now) {
        lastAttackTime = now;
        PostTo(new HurtEvent(-10.0f), other->entity);
    }

    // A switch: its reach ray met the body while the hero faces it. The type is told by name
    // so that this class does not depend on Trigger's.
    if (other->GetTypeId() == PhysicsRayCast::StaticTypeId() && other->entity != nullptr &&
        other->entity->GetTypeName() == "Trigger" &&
        physics.IsFacing(other->GetPosition(), 120.0f) && event->distance < 20.0f && attacking) {
        PostTo(new PlayerActionEvent(0, this), other->entity);
    }
    return true;
}

bool Player::OnHurt(HurtEvent* event) {
    if (event == nullptr) return true;
    // Only the blow that kills reports the death; later ones find nothing left to take.
    bool died = false;
    if (health > 0.0f) {
        health += event->amount;
        if (health <= 0.0f) {
            died = true;
            SetPaused(true);
        }
    }
    health = Clamp100(health);
    if (health <= 0.0f) {
        if (died) Post(new GameGUIMessageEvent(0, "Dude, no way! You're dead"));
    } else {
        Post(new GameGUIMessageEvent(0, "Dude, you are like hit"));
    }
    return true;
}

bool Player::OnPickup(ItemPickupEvent* event) {
    if (event == nullptr) return true;
    if (event->item_kind == 0) health = Clamp100(health + event->amount);
    return true;
}

void Player::Render(RenderQueue* queue) {
    glPushMatrix();
    glDisable(GL_CULL_FACE);
    glTranslatef(drawPosition.x, drawPosition.y, -2.0f);
    glRotatef(physics.GetOrientation() + 90.0f, 0.0f, 0.0f, 1.0f);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    BindCharacterTexture(diffuseTexture->texture_id);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    glScalef(1.22f, 1.22f, 1.22f);

    if (r_advanced_shading && advancedVertex.IsValid() && advancedFragment.IsValid()) {
        // The eye of the view being drawn; the hero's own orbit before any Scene set one.
        HVector3 eye = cameraEye, target = lookAt;
        if (queue != nullptr && queue->camera != nullptr) {
            eye = queue->camera->position;
            target = queue->camera->target;
        }
        const float camera_pos[3] = {eye.x, eye.y, eye.z};
        // From the point looked at back to the eye, not normalised.
        const float camera_dir[3] = {eye.x - target.x, eye.y - target.y, eye.z - target.z};
        ShaderProgram* vertex = advancedVertex.Get();
        ShaderProgram* fragment = advancedFragment.Get();
        ShaderProgram::EnableProfile(cg_vertex_profile);
        vertex->Bind();
        vertex->SetViewMatrices();
        vertex->SetParameter3fv("LigthPos", kLightPos);
        vertex->SetParameter3fv("LigthColor", kLightColor);
        vertex->SetParameter3fv("CameraPos", camera_pos);
        SetBoneParameters(vertex, mesh);
        vertex->SetParameter3fv("CameraDir", camera_dir);
        ShaderProgram::EnableProfile(cg_fragment_profile);
        fragment->Bind();
        fragment->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
        fragment->SetParameter3fv("LigthPos", kLightPos);
        fragment->SetParameter3fv("LigthColor", kLightColor);
        fragment->SetTexture("diffuse_map", diffuseTexture->texture_id);
        fragment->SetTexture("normal_map", normalTexture->texture_id);
        fragment->EnableTexture("diffuse_map");
        fragment->EnableTexture("normal_map");
        DrawSkinnedMesh(mesh);
        fragment->DisableTexture("diffuse_map");
        fragment->DisableTexture("normal_map");
        ShaderProgram::DisableProfile(cg_vertex_profile);
        ShaderProgram::DisableProfile(cg_fragment_profile);
    } else {
        // The level's fog, written by the program as its fog coordinate.
        glEnable(GL_CULL_FACE);
        EnableProgramFog(0.5f, 0.5f, 0.55f, 1.0f);
        ShaderProgram* program = shader.Get();
        ShaderProgram::EnableProfile(cg_vertex_profile);
        program->Bind();
        program->SetViewMatrices();
        program->SetParameter3fv("LigthColor", kLightColor);
        SetBoneParameters(program, mesh);
        DrawSkinnedMesh(mesh);
        ShaderProgram::DisableProfile(cg_vertex_profile);
    }
    glPopMatrix();
}
