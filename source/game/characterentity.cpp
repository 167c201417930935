#include "game/characterentity.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "world/skinnedmeshdraw.h"
#include "world/worldloading.h"
#include "physics/physicskeys.h"

CharacterEntity::~CharacterEntity() {
    for (auto& entry : animations) delete entry.second;
    animations.clear();
}

// clang-format off
constexpr CfoKey kCharacterKeys[] = {
    {"PhysicsCharacter", CfoKeyType::Table, "", "the character's body",
     &physics_character_keys},
    {"texture", CfoKeyType::File, "", "the skin's texture", nullptr, "dds,tga"},
    {"shader", CfoKeyType::File, "", "the skinning vertex program", nullptr, "cg"},
    {"mesh", CfoKeyType::File, "", "the skinned mesh", nullptr, "aam"},
    {"ani_idle", CfoKeyType::File, "", "standing animation", nullptr, "cfo"},
    {"ani_walk", CfoKeyType::File, "", "walking animation", nullptr, "cfo"},
    {"ani_run", CfoKeyType::File, "", "running animation", nullptr, "cfo"},
    {"ani_attack", CfoKeyType::File, "", "striking animation", nullptr, "cfo"},
};
// clang-format on

const CfoKeyTable character_keys{"Enemy", "the character: body, mesh and animations",
                                 kCharacterKeys};

void CharacterEntity::Load(CfoNode* node, ResourceManager* resources) {
    LoadCharacter(node, resources);
    Entity::Load(node, resources);
}

void CharacterEntity::LoadCharacter(CfoNode* node, ResourceManager* resources) {
    if (node == nullptr) return;
    // Drawn only when a window is up: tests and tools load characters without one.
    WorldLoadingScreen("Loading enemy...", true);
    // A missing child is a null node, which the body takes as "nothing to read".
    physics.Load(CfoReadChild(node, CfoKeyOf(kCharacterKeys, "PhysicsCharacter")));
    std::string file;
    if (resources != nullptr) {
        if (CfoReadString(node, CfoKeyOf(kCharacterKeys, "texture"), file))
            resources->Load(texture, file);
        resources->Load(shadowTexture, "resources/textures/character_shadow.dds");
        if (CfoReadString(node, CfoKeyOf(kCharacterKeys, "shader"), file))
            resources->Load(shader, file);
    }
    if (CfoReadString(node, CfoKeyOf(kCharacterKeys, "mesh"), file)) mesh.Load(file);
    const CfoKey* keys[4] = {
        &CfoKeyOf(kCharacterKeys, "ani_idle"),
        &CfoKeyOf(kCharacterKeys, "ani_walk"),
        &CfoKeyOf(kCharacterKeys, "ani_run"),
        &CfoKeyOf(kCharacterKeys, "ani_attack"),
    };
    for (int index = 0; index < 4; ++index)
        if (CfoReadString(node, *keys[index], file)) AddAnimation(file, index);
}

void CharacterEntity::AddAnimation(const std::string& file, int index) {
    Animation* animation = new Animation();
    if (!animation->Load(file)) {
        delete animation;
        return;
    }
    auto found = animations.find(index);
    if (found != animations.end()) {
        // No channel may keep pointing at the animation that goes.
        for (AnimationChannel& channel : animator.channels) {
            if (channel.animation == found->second) channel.animation = nullptr;
            if (channel.previous == found->second) channel.previous = nullptr;
        }
        delete found->second;
    }
    animations[index] = animation;
    mesh.BindAnimation(animation);
}

Animation* CharacterEntity::GetAnimation(int index) {
    auto found = animations.find(index);
    return found == animations.end() ? nullptr : found->second;
}

void CharacterEntity::PlayAnimation(int index, float fade, float speed, int channel) {
    animator.Play(GetAnimation(index), fade, speed, channel);
}

int CharacterEntity::RootBone() const {
    for (size_t i = 0; i < mesh.bones.size(); ++i)
        if (mesh.bones[i].parent_id < 0) return int(i);
    return 0;
}

void CharacterEntity::Bind(EventManager*, SceneManager*, CollisionManager*) {
    physics.Prepare();
    // After Prepare: the bounding circle keeps the radius of the polygon as it was loaded.
    physics.ScaleHull(30.0f);
    physics.SetStopDistance(5.0f);
    physics.SetApproachGain(10.0f);
    animator.SetupChannel(0, 1.0f, 0.0f, RootBone());
    PlayAnimation(ANI_IDLE, 0.5f, 80.0f, 0);
}

void CharacterEntity::Unbind(EventManager*, SceneManager*, CollisionManager*) {}
void CharacterEntity::Unload(SceneManager*, ResourceManager*) {}
void CharacterEntity::PreRender(RenderQueue*) {}
void CharacterEntity::PostRender() {}

void CharacterEntity::SetPaused(bool pause) {
    physics.SetDisabled(pause);
    Entity::SetPaused(pause);
}

void CharacterEntity::UpdateMesh(float time) {
    const HVector2 p = physics.GetPosition();
    const float r = physics.GetBoundingCircle().radius;
    boundingBox.SetExtents(HVector3(p.x - r, p.y - r, 0.0f), HVector3(p.x + r, p.y + r, 100.0f));
    if (inView) animator.Update(mesh, time);
}

void CharacterEntity::Render(RenderQueue* queue) {
    if (queue != nullptr && queue->camera != nullptr && !queue->camera->IsBoxVisible(boundingBox)) {
        inView = false;
        return;
    }
    inView = true;

    // The program writes the fog coordinate itself, 0 at the eye to 1 where the view ends.
    glEnable(GL_CULL_FACE);
    EnableProgramFog(0.65f, 0.6f, 0.4f, 0.0f);

    const HVector2 p = physics.GetPosition();
    glPushMatrix();
    glTranslatef(p.x, p.y, 0.0f);
    glRotatef(physics.GetOrientation() + 90.0f, 0.0f, 0.0f, 1.0f);
    glScalef(0.8f, 0.8f, 0.8f);

    glEnable(GL_DEPTH_TEST);
    glEnable(GL_TEXTURE_2D);
    BindCharacterTexture(texture->texture_id);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);

    const float light_color[3] = {1.0f, 1.0f, 0.6f};
    ShaderProgram::EnableProfile(cg_vertex_profile);
    shader->Bind();
    shader->SetViewMatrices();
    shader->SetParameter3fv("LigthColor", light_color);
    SetBoneParameters(shader.Get(), mesh);
    DrawSkinnedMesh(mesh);
    ShaderProgram::DisableProfile(cg_vertex_profile);

    // The same round spot under every figure: it follows neither the light nor the ground.
    glTranslatef(0.0f, 0.0f, 1.0f);
    glBindTexture(GL_TEXTURE_2D, shadowTexture->texture_id);
    glColor4f(1.0f, 1.0f, 1.0f, 0.5f);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDisable(GL_CULL_FACE);
    DrawQuad(-20.0f, -20.0f, 20.0f, 20.0f);
    glEnable(GL_CULL_FACE);
    glPopMatrix();
}
