#include "game/trigger.h"

#include <GL/gl.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "game/propdraw.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/staticgeometry.h"
#include "physics/physicskeys.h"

// clang-format off
constexpr CfoKey kTriggerKeys[] = {
    {"open_model", CfoKeyType::File, "", "the mesh when on", nullptr, "asm"},
    {"closed_model", CfoKeyType::File, "", "the mesh when off", nullptr, "asm"},
    {"open_texture", CfoKeyType::File, "", "the texture when on", nullptr, "dds,tga"},
    {"closed_texture", CfoKeyType::File, "", "the texture when off", nullptr, "dds,tga"},
    {"open_time", CfoKeyType::Float, "1", "seconds from on to off"},
    {"close_time", CfoKeyType::Float, "1", "seconds from off to on"},
    {"open_message", CfoKeyType::String, "", "shown when switched off"},
    {"close_message", CfoKeyType::String, "", "shown when switched on"},
    {"switch_sound", CfoKeyType::File, "", "played when thrown", nullptr, "wav,ogg"},
    {"transf", CfoKeyType::Rows, "", "where the mesh stands", &transform_keys},
    {"PhysicsRayCast", CfoKeyType::Table, "", "the ray that finds the hero in reach",
     &physics_ray_cast_keys},
    {"PhysicsStaticGeometry", CfoKeyType::Table, "", "the switch's solid shape",
     &physics_static_geometry_keys},
};
// clang-format on

const CfoKeyTable Trigger::key_table{"Trigger", "a switch the hero throws; Doors name it",
                                     kTriggerKeys, &entity_keys};

void Trigger::Load(CfoNode* node, ResourceManager* resources) {
    Entity::Load(node, resources);
    if (resources != nullptr) resources->Load(shader, kPropShaderFile);
    if (node == nullptr) return;

    std::string text;
    if (resources != nullptr) {
        if (CfoReadString(node, CfoKeyOf(kTriggerKeys, "open_model"), text))
            resources->Load(openModel, text);
        if (CfoReadString(node, CfoKeyOf(kTriggerKeys, "closed_model"), text))
            resources->Load(closedModel, text);
        if (CfoReadString(node, CfoKeyOf(kTriggerKeys, "open_texture"), text))
            resources->Load(openTexture, text);
        if (CfoReadString(node, CfoKeyOf(kTriggerKeys, "closed_texture"), text))
            resources->Load(closedTexture, text);
    }
    CfoReadFloat(node, CfoKeyOf(kTriggerKeys, "open_time"), openTime);
    CfoReadFloat(node, CfoKeyOf(kTriggerKeys, "close_time"), closeTime);
    CfoReadString(node, CfoKeyOf(kTriggerKeys, "open_message"), openMessage);
    CfoReadString(node, CfoKeyOf(kTriggerKeys, "close_message"), closeMessage);
    if (CfoReadString(node, CfoKeyOf(kTriggerKeys, "switch_sound"), text) && resources != nullptr)
        resources->Load(switchSound, text);
    if (const CfoNode* transf = CfoReadChild(node, CfoKeyOf(kTriggerKeys, "transf")))
        StaticGeometry::ReadTransform(transf, transform);
    if (CfoNode* child = CfoReadChild(node, CfoKeyOf(kTriggerKeys, "PhysicsRayCast")))
        ray.Load(child);
    if (CfoNode* child = CfoReadChild(node, CfoKeyOf(kTriggerKeys, "PhysicsStaticGeometry")))
        geometry.Load(child);
}

void Trigger::Bind(EventManager* events, SceneManager*, CollisionManager* physics_manager) {
    // Without a hull the switch has no solid shape and is a ray only.
    if (!geometry.body.vertices.empty()) {
        geometry.Prepare();
        geometry.SetEntity(this);
        if (physics_manager != nullptr) physics_manager->AddObject(&geometry);
    }
    ray.SetEntity(this);
    ray.SetCollisionMode(1, HVector2(0.0f, 1.0f));
    if (physics_manager != nullptr) physics_manager->AddObject(&ray);
    if (events == nullptr) return;
    events->Attach(this);
    events->AddHandler(this, &Trigger::OnFrame);
    events->AddHandler(this, &Trigger::OnCollision);
    events->AddHandler(this, &Trigger::OnAction);
}

bool Trigger::OnAction(PlayerActionEvent*) {
    // Who struck, and how, does not matter; a switch under way ignores the strike.
    if (state != OFF && state != ON) return true;
    switchSound->Stop();
    switchSound->Play();
    state = state == OFF ? SWITCHING_ON : SWITCHING_OFF;
    startTime = now;
    return true;
}

bool Trigger::OnFrame(FrameEvent* event) {
    if (event == nullptr) return true;
    now = event->time;
    if (state == SWITCHING_ON && startTime + closeTime < now) {
        state = ON;
        Post(new TriggerActivationEvent(this, 0));
        if (!openMessage.empty()) Post(new GameGUIMessageEvent(0, openMessage));
    }
    if (state == SWITCHING_OFF && startTime + openTime < now) {
        state = OFF;
        Post(new TriggerActivationEvent(this, 1));
        if (!closeMessage.empty()) Post(new GameGUIMessageEvent(0, closeMessage));
    }
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool Trigger::OnCollision(GenericCollisionEvent*) { return true; }

void Trigger::Render(RenderQueue*) {
    const bool open_look = ShowsOpenLook();
    const ResourceHandle<MeshASM>& model = open_look ? openModel : closedModel;
    const ResourceHandle<TextureDDS>& texture = open_look ? openTexture : closedTexture;
    // Depth as the doors draw: the switch stands in the level, whatever drew before it.
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glPushMatrix();
    const HVector2 pos = ray.GetPosition();
    glTranslatef(pos.x, pos.y, 0.0f);
    BeginPropDraw(shader.Get());
    if (model.IsValid()) {
        if (texture.IsValid()) texture->Bind();
        model->Draw();
    }
    EndPropDraw();
    glPopMatrix();
    if (r_debug_physics) glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}
