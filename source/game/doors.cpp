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

namespace {}  // namespace

void Doors::Load(CfoNode* node, ResourceManager* resources) {
    Entity::Load(node, resources);
    if (resources != nullptr) resources->Load(shader, kPropShaderFile);

    std::string text;
    if (node != nullptr) {
        if (CfoReadString(node, "model", text) && resources != nullptr)
            resources->Load(model, text);
        if (CfoReadString(node, "texture", text) && resources != nullptr)
            resources->Load(texture, text);
        CfoReadString(node, "activator_name", activatorName);
        CfoReadString(node, "open_message", openMessage);
        CfoReadString(node, "close_message", closeMessage);
        CfoReadVector2(node, "open_pos", openPos);
        CfoReadVector2(node, "closed_pos", closedPos);
        if (CfoReadString(node, "move_sound", text) && resources != nullptr)
            resources->Load(moveSound, text);
        // Only the exact word makes a slider: anything else turns.
        if (CfoReadString(node, "type", text)) kind = text == "slider" ? SLIDER : ROTATE;
    }

    // The first movement starts here, before the body has read its place.
    int32_t init_state = 0;
    if (node != nullptr) CfoReadInt(node, "init_state", init_state);
    if (init_state == 1)
        Open();
    else
        Close();

    if (node == nullptr) return;
    if (const CfoNode* transf = node->FindChild("transf"))
        StaticGeometry::ReadTransform(transf, transform);
    if (CfoNode* body = node->FindChild("PhysicsCharacter")) physics.Load(body);
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
