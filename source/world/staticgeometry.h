#pragma once
// StaticGeometry: a fixed object of a level with a collision polygon, created by the
// class name "StaticGeometry". It fetches a mesh, two textures and a shader for a drawing
// path that was never finished: its Render draws nothing and only sets the collision
// view's state (wireframe, no fog, lighting, culling or texturing). In a running game its
// whole effect is its collision body and the render-queue entry that makes the collision
// view work.
//
// Ownership: the entity owns its body (`physics`, a member) and its handles. The body is
// registered with the CollisionManager in Bind when it has a hull; the manager only holds
// a pointer, and the body's own destructor takes it out again, so the entity may go at
// any time. `tree` is constructed and destroyed, never loaded; `transform` is read from
// "transf" and used by nothing.

#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hmatrix4.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/entity.h"
#include "world/abttree.h"
#include "world/meshasm.h"

// A "transf" node: one row of twelve numbers, the columns of a transform.
extern const CfoKeyTable transform_keys;

class StaticGeometry : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("StaticGeometry")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    StaticGeometry() = default;
    // The handles go down in reverse order of the fields; the body leaves its manager.
    ~StaticGeometry() override = default;

    // Registers the body when it has vertices, then the FrameEvent handler.
    void Bind(EventManager* events, SceneManager* scene,
              CollisionManager* physics_manager) override;
    // With a node: "cgtest.cg", the default texture, "texture", "mesh", the first
    // "PhysicsStaticGeometry" child and "transf"; then, with or without one, Entity::Load.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // Nothing is drawn: only the collision view's state is set.
    void Render(RenderQueue* queue) override;

    // Queues the entity when it has a mesh or the collision view is on. Always true.
    bool OnFrame(FrameEvent* event);

    // Reads a "transf" key: its first row's text, cut as a comma list, up to 12 numbers
    // taken by columns (three basis vectors, then the translation). Numbers the row does
    // not reach are 0. False, with `out` untouched, when the key holds no row.
    static bool ReadTransform(const CfoNode* key, HMatrix4& out);

    PhysicsStaticGeometry physics;
    ResourceHandle<TextureDDS> texture;
    ResourceHandle<TextureDDS> default_texture;
    ResourceHandle<MeshASM> mesh;
    ResourceHandle<ShaderProgram> shader;
    ABTTree tree;
    HMatrix4 transform;
};
