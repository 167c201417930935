#include "game/doors.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "game/propdraw.h"
#include "game/trigger.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/staticgeometry.h"
#include "physics/physicskeys.h"

namespace {}  // namespace

// clang-format off
constexpr CfoKey kDoorsKeys[] = {
    {"model", CfoKeyType::File, "", "the door's mesh", nullptr, "asm"},
    {"texture", CfoKeyType::File, "", "the mesh's texture", nullptr, "dds,tga"},
    {"activator_name", CfoKeyType::String, "", "name of the Trigger that moves it"},
    {"open_message", CfoKeyType::String, "", "shown when it has opened"},
    {"close_message", CfoKeyType::String, "", "shown when it has closed"},
    {"open_pos", CfoKeyType::Vector2, "1,0", "open place (slider) or heading (rotate)"},
    {"closed_pos", CfoKeyType::Vector2, "0,1", "closed place (slider) or heading (rotate)"},
    {"move_sound", CfoKeyType::File, "", "played while it moves", nullptr, "wav,ogg"},
    {"type", CfoKeyType::String, "slider", "slider moves, anything else turns", nullptr, "",
     false, true},
    {"init_state", CfoKeyType::Int, "0", "1 starts open"},
    {"transf", CfoKeyType::Rows, "", "where the mesh stands", &transform_keys},
    {"PhysicsCharacter", CfoKeyType::Table, "", "the door's moving body",
     &physics_character_keys},
};
// clang-format on

const CfoKeyTable Doors::key_table{"Doors", "a door that a Trigger opens and closes", kDoorsKeys,
                                   &entity_keys};

void Doors::Load(CfoNode* node, ResourceManager* resources) {
    Entity::Load(node, resources);
    if (resources != nullptr) resources->Load(shader, kPropShaderFile);

    std::string text;
    if (node != nullptr) {
        if (CfoReadString(node, CfoKeyOf(kDoorsKeys, "model"), text) && resources != nullptr)
            resources->Load(model, text);
        if (CfoReadString(node, CfoKeyOf(kDoorsKeys, "texture"), text) && resources != nullptr)
            resources->Load(texture, text);
        CfoReadString(node, CfoKeyOf(kDoorsKeys, "activator_name"), activatorName);
        CfoReadString(node, CfoKeyOf(kDoorsKeys, "open_message"), openMessage);
        CfoReadString(node, CfoKeyOf(kDoorsKeys, "close_message"), closeMessage);
        CfoReadVector2(node, CfoKeyOf(kDoorsKeys, "open_pos"), openPos);
        CfoReadVector2(node, CfoKeyOf(kDoorsKeys, "closed_pos"), closedPos);
        if (CfoReadString(node, CfoKeyOf(kDoorsKeys, "move_sound"), text) && resources != nullptr)
            resources->Load(moveSound, text);
        // Only the exact word makes a slider: anything else turns.
        if (CfoReadString(node, CfoKeyOf(kDoorsKeys, "type"), text))
            kind = text == "slider" ? SLIDER : ROTATE;
    }

    // The first movement starts here, before the body has read its place.
    int32_t init_state = 0;
    if (node != nullptr) CfoReadInt(node, CfoKeyOf(kDoorsKeys, "init_state"), init_state);
    if (init_state == 1)
        Open();
    else
        Close();

    if (node == nullptr) return;
    if (const CfoNode* transf = CfoReadChild(node, CfoKeyOf(kDoorsKeys, "transf")))
        StaticGeometry::ReadTransform(transf, transform);
    if (CfoNode* body = CfoReadChild(node, CfoKeyOf(kDoorsKeys, "PhysicsCharacter")))
        physics.Load(body);
}

void Doors::Bind(EventManager* events, SceneManager*, CollisionManager* physics_manager) {
    physics.Prepare();
    physics.SetImmovable(true);
    physics.SetEntity(this);
    physics.SetStopDistance(5.0f);
    physics.SetApproachGain(10.0f);
    if (physics_manager != nullptr) physics_manager->AddObject(&physics);
    if (events == nullptr) return;
    events->Attach(this);
    events->AddHandler(this, &Doors::OnFrame);
    events->AddHandler(this, &Doors::OnInput);
    events->AddHandler(this, &Doors::OnCollision);
    events->AddHandler(this, &Doors::OnActivation);
}

void Doors::PlayMoveSound() {
    moveSound->Stop();
    moveSound->Play();
}

void Doors::StartMove(HVector2 pos, int new_state) {
    if (kind == ROTATE)
        physics.FaceTowards(true, physics.GetPosition() + pos * kHeadingDistance);
    else
        physics.Home(true, pos);
    state = new_state;
    PlayMoveSound();
}

void Doors::Open() { StartMove(openPos, OPENING); }

void Doors::Close() { StartMove(closedPos, CLOSING); }

bool Doors::IsInPose(HVector2 pos) {
    if (kind == ROTATE)
        return physics.IsFacing(physics.GetPosition() + pos * kHeadingDistance, kFacingCone);
    return physics.IsNear(pos, kSliderReach);
}

bool Doors::IsOpenPose() { return IsInPose(openPos); }

bool Doors::IsClosedPose() { return IsInPose(closedPos); }

bool Doors::OnFrame(FrameEvent* event) {
    if (state == OPENING && IsOpenPose()) {
        state = OPEN;
        if (!openMessage.empty()) Post(new GameGUIMessageEvent(0, openMessage));
    }
    if (state == CLOSING && IsClosedPose()) {
        state = CLOSED;
        if (!closeMessage.empty()) Post(new GameGUIMessageEvent(0, closeMessage));
    }
    if (event != nullptr && event->scene_manager != nullptr)
        event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool Doors::OnInput(InputEvent* event) {
    if (event == nullptr) return true;
    const Sdl12Event& e = event->sdl_event;
    if (e.type != SDL12_KEYDOWN || e.key.keysym.sym != kToggleKey) return true;
    if (state == OPEN)
        Close();
    else if (state == CLOSED)
        Open();
    return true;
}

bool Doors::OnCollision(GenericCollisionEvent*) { return true; }

bool Doors::OnActivation(TriggerActivationEvent* event) {
    // The kind of the activation is not looked at: each one toggles.
    if (event == nullptr || event->trigger == nullptr) return true;
    if (event->trigger->GetName() != activatorName) return true;
    if (state == OPEN)
        Close();
    else if (state == CLOSED)
        Open();
    return true;
}

void Doors::Render(RenderQueue*) {
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glPushMatrix();
    const HVector2 pos = physics.GetPosition();
    glTranslatef(pos.x, pos.y, 0.0f);
    glRotatef(physics.GetOrientation(), 0.0f, 0.0f, 1.0f);
    BeginPropDraw(shader.Get());
    // A door without a model or texture draws nothing of it.
    if (model.IsValid()) {
        if (texture.IsValid()) texture->Bind();
        model->Draw();
    }
    EndPropDraw();
    glPopMatrix();
    if (r_debug_physics) {
        // The collision view draws after this: plain filled polygons without fog.
        glDisable(GL_FOG);
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        glDisable(GL_TEXTURE_2D);
        glEnable(GL_DEPTH_TEST);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    }
}
