#include "game/item.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "game/player.h"
#include "game/propdraw.h"
#include "physics/collisionmanager.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/staticgeometry.h"
#include "physics/physicskeys.h"

namespace {

// The light of the level's props.

}  // namespace

// clang-format off
constexpr CfoKey kItemKeys[] = {
    {"model", CfoKeyType::File, "", "the item's mesh", nullptr, "asm"},
    {"texture", CfoKeyType::File, "", "the mesh's texture", nullptr, "dds,tga"},
    {"pickup_message", CfoKeyType::String, "", "shown when the hero takes it"},
    {"pickup_sound", CfoKeyType::File, "", "played when the hero takes it", nullptr, "wav,ogg"},
    {"type", CfoKeyType::String, "HEALTH", "HEALTH heals by value; TARGET is the level's goal",
     nullptr, "", false, true},
    {"value", CfoKeyType::Float, "0", "health given"},
    {"transf", CfoKeyType::Rows, "", "where the mesh stands", &transform_keys},
    {"PhysicsStaticGeometry", CfoKeyType::Table, "", "the shape the hero touches to take it",
     &physics_static_geometry_keys},
};
// clang-format on

const CfoKeyTable Item::key_table{"Item", "a thing to pick up", kItemKeys, &entity_keys};

void Item::Load(CfoNode* node, ResourceManager* resources) {
    if (resources != nullptr) resources->Load(shader, kPropShaderFile);
    if (node != nullptr) {
        std::string text;
        if (resources != nullptr) {
            if (CfoReadString(node, CfoKeyOf(kItemKeys, "model"), text))
                resources->Load(model, text);
            if (CfoReadString(node, CfoKeyOf(kItemKeys, "texture"), text))
                resources->Load(texture, text);
        }
        CfoReadString(node, CfoKeyOf(kItemKeys, "pickup_message"), pickupMessage);
        if (resources != nullptr && CfoReadString(node, CfoKeyOf(kItemKeys, "pickup_sound"), text))
            resources->Load(pickupSound, text);
        if (CfoReadString(node, CfoKeyOf(kItemKeys, "type"), text)) {
            if (text == "HEALTH") kind = HEALTH;
            if (text == "TARGET") kind = TARGET;
        }
        CfoReadFloat(node, CfoKeyOf(kItemKeys, "value"), value);
        // The same row of twelve numbers as the level's static objects.
        if (const CfoNode* transf = CfoReadChild(node, CfoKeyOf(kItemKeys, "transf")))
            StaticGeometry::ReadTransform(transf, transform);
        geometry.Load(CfoReadChild(node, CfoKeyOf(kItemKeys, "PhysicsStaticGeometry")));
    }
    Entity::Load(node, resources);
}

void Item::Bind(EventManager* events, SceneManager*, CollisionManager* physics) {
    // Without a shape the item stays out of the collision world and cannot be taken.
    if (!geometry.body.vertices.empty()) {
        geometry.Prepare();
        geometry.SetEntity(this);
        if (physics != nullptr) physics->AddObject(&geometry);
    }
    if (events != nullptr) {
        events->AddHandler(this, &Item::OnFrame);
        events->AddHandler(this, &Item::OnCollision);
    }
}

void Item::SetPaused(bool pause) {
    geometry.SetDisabled(pause);
    Entity::SetPaused(pause);
}

bool Item::OnFrame(FrameEvent* event) {
    if (event == nullptr) return true;
    if (!IsPaused()) {
        auto* mark = new MiniMapObjectEvent();
        mark->object_id = GetTypeId();
        const HVector2 at = geometry.GetPosition();
        mark->position = HVector3(at.x, at.y, geometry.body.orientation);
        mark->size = 30.0f;
        mark->kind = MiniMapKind();
        Post(mark);
    }
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool Item::OnCollision(GenericCollisionEvent* event) {
    if (event == nullptr || event->self == nullptr || event->other == nullptr) return true;
    // A contact of the step before the pickup arrives one update after it: a taken item
    // (paused) lets it pass, so that nothing is taken twice.
    if (IsPaused()) return true;
    PhysicsObject* other = event->other;
    if (other->GetTypeId() != PhysicsCharacter::StaticTypeId()) return true;
    if (dynamic_cast<Player*>(other->entity) == nullptr) return true;

    Post(new ItemPickupEvent(kind, value));
    if (!pickupMessage.empty()) Post(new GameGUIMessageEvent(0, pickupMessage));
    SetPaused(true);
    SetVisible(false);
    if (pickupSound.IsValid()) pickupSound->Play();
    return true;
}

void Item::Render(RenderQueue*) {
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glPushMatrix();
    const HVector2 at = geometry.GetPosition();
    glTranslatef(at.x, at.y, 0.0f);
    BeginPropDraw(shader.Get());
    glBindTexture(GL_TEXTURE_2D, texture->texture_id);
    model->Draw();
    EndPropDraw();
    glPopMatrix();
}
