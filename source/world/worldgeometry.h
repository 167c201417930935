#pragma once
// WorldGeometry: the fixed world of a level, created by the class name "WorldGeometry".
// It owns the level's ABT (what is seen) and a set of PhysicsStaticGeometry objects (what
// is solid). The two are independent: the collision shapes are hand-written polygons of
// the level document, never derived from the tree.
//
// The tree is drawn with a vertex program ("static_geometry_simple.cg", with fixed
// function fog from the program's fog coordinate) or, when the card has fragment
// programs and r_advanced_shading is on, with a vertex and a fragment program
// ("static_geometry.cg" and "static_geometry_fragment.cg", lit per pixel). The light is a
// constant of this class, not a setting.
//
// Ownership and lifetime: the tree is a member; the collision objects are owned through
// plain pointers and deleted by the destructor. They are registered with the
// CollisionManager in Bind and stay there until they die (Unbind leaves them): a physics
// object takes itself out of its manager when it is destroyed. The camera comes from the
// render queue, where the Scene, queued ahead of the world, puts it every frame.

#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "physics/physics.h"
#include "resources/resourcehandle.h"
#include "resources/shaderprogram.h"
#include "scene/entity.h"
#include "world/abttree.h"

class WorldGeometry : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("WorldGeometry")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // SDL 1.2 key code of F8, the statistics key.
    static constexpr int32_t kStatisticsKey = 289;

    WorldGeometry() = default;
    // Deletes every collision object (each leaves its manager), then the handles and
    // the tree go.
    ~WorldGeometry() override;

    // Handlers for FrameEvent and InputEvent, in that order; every collision object is
    // prepared, given this entity and added to `physics`; `has_fragment_program` from
    // the extension "GL_ARB_fragment_program".
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // With a node: the "ABTBuilder" step, the "file" tree with its buffers and
    // textures, one collision object per "PhysicsStaticGeometry" child, Entity::Load.
    // With or without one: the programs of the shading path.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // The tree with the programs of the shading path, seen by the queue's camera.
    void Render(RenderQueue* queue) override;

    // Keeps the frame's length and queues the entity. True.
    bool OnFrame(FrameEvent* event);
    // F8 down prints the statistics. True.
    bool OnInput(InputEvent* event);

    // The three lines F8 prints: "<1/dt> d:<draws> t:<binds> tpn:<per buffer>
    // bsw:<switches>  bs:<min> <max>", then the root box's minimum and maximum as
    // "%.6f,%.6f,%.6f". A tree without nodes has no root box: only the first line.
    std::string StatisticsText() const;

    // The light of both shading paths.
    static constexpr float kSimpleLightPos[3] = {0.0f, 0.0f, 100.0f};
    static constexpr float kAdvancedLightPos[3] = {100.0f, 100.0f, 150.0f};
    static constexpr float kLightColor[3] = {1.0f, 1.0f, 0.6f};

    ResourceHandle<ShaderProgram> vertex_program;
    ABTTree tree;
    float dt = 0.0f;                                        // the last frame's length, seconds
    std::vector<PhysicsStaticGeometry*> collision_objects;  // owned
    ResourceHandle<ShaderProgram> fragment_program;         // advanced shading only
    bool has_fragment_program = false;

private:
    void RenderSimple(RenderQueue* queue);
    void RenderAdvanced(RenderQueue* queue);
};
