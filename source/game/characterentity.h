#pragma once
// CharacterEntity: the base of the computer-driven people of a level (the patrols). It
// holds what a walking skinned figure needs and no behaviour of its own: a body
// (`physics`), a skinned mesh with its skeleton, a table of animations posed by an
// Animator, a shader, a texture, the round blob shadow under its feet, and `health`.
//
// Ownership: the entity owns its body, its mesh, its handles and every animation of
// `animations`. The body is handed to the CollisionManager by the subclass in Bind; the
// manager only holds a pointer and the body's destructor takes it out again, so the
// character may be deleted at any time between two steps.
//
// Animation indices, which the subclass plays: 0 standing ("ani_idle"), 1 walking
// ("ani_walk"), 2 running ("ani_run"), 3 striking ("ani_attack").

#include <map>
#include <string>

#include "math/haxisalignedbox.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/entity.h"
#include "world/animation.h"
#include "world/animator.h"
#include "world/meshaam.h"

// The keys LoadCharacter reads (an enemy's "Enemy" node).
extern const CfoKeyTable character_keys;

class CharacterEntity : public Entity {
public:
    enum AnimationIndex { ANI_IDLE = 0, ANI_WALK = 1, ANI_RUN = 2, ANI_ATTACK = 3 };

    CharacterEntity() = default;
    // Deletes every animation of the map.
    ~CharacterEntity() override;

    // Prepares the body and scales its hull to 30 (so every character has an extent of 30,
    // whatever its document said), stop distance 5 and approach gain 10; channel 0 from the
    // skeleton's root at weight 1, playing animation 0 (fade 0.5, speed 80).
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unbind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Unload(SceneManager* scene, ResourceManager* resources) override;
    void Load(CfoNode* node, ResourceManager* resources) override;
    void PreRender(RenderQueue* queue) override;
    // Culled by the queue's camera; the figure at the body's place, then the blob shadow.
    void Render(RenderQueue* queue) override;
    void PostRender() override;
    // Disables the body too, which takes it out of the pair tests.
    void SetPaused(bool pause) override;

    // The loading screen "Loading enemy...", the "PhysicsCharacter" child, "texture", the
    // fixed shadow texture, "shader", "mesh", then "ani_idle", "ani_walk", "ani_run" and
    // "ani_attack". A null node does nothing; a null resource manager fetches no resource.
    void LoadCharacter(CfoNode* node, ResourceManager* resources);
    // Loads the file into a new Animation under `index`, bound to the mesh's skeleton. A
    // file that does not load is skipped silently (the animation is deleted); an index
    // already taken gives up its old animation.
    void AddAnimation(const std::string& file, int index);
    // The animation of that index, or null.
    Animation* GetAnimation(int index);
    // Plays animation `index` on `channel`; an index without an animation plays nothing.
    void PlayAnimation(int index, float fade, float speed, int channel);
    // The view box around the body (radius of its bounding circle, 100 high); the pose
    // advances only while the last Render found the character in view.
    void UpdateMesh(float time);

    // The index of the skeleton's first root bone, 0 for a mesh without bones.
    int RootBone() const;

    HAxisAlignedBox boundingBox;
    bool inView = false;
    PhysicsCharacter physics;
    ResourceHandle<ShaderProgram> shader;
    ResourceHandle<TextureDDS> texture;
    ResourceHandle<TextureDDS> shadowTexture;
    MeshAAM mesh;
    std::map<int, Animation*> animations;  // owned
    Animator animator;
    float health = 100.0f;
};
