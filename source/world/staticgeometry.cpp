#include "world/staticgeometry.h"

#include <GL/gl.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "physics/collisionmanager.h"
#include "physics/physicskeys.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/meshloaddata.h"

// clang-format off
constexpr CfoKey kTransformKeys[] = {
    {"", CfoKeyType::String, "", "twelve numbers, the transform's four columns of three"},
};
constexpr CfoKey kStaticGeometryKeys[] = {
    {"texture", CfoKeyType::File, "resources/textures/chek.dds", "the mesh's texture", nullptr,
     "dds,tga"},
    {"mesh", CfoKeyType::File, "", "the mesh", nullptr, "asm"},
    {"PhysicsStaticGeometry", CfoKeyType::Table, "", "its solid shape",
     &physics_static_geometry_keys},
    {"transf", CfoKeyType::Rows, "", "where the mesh stands", &transform_keys},
};
// clang-format on

const CfoKeyTable transform_keys{"transf", "a transform: one row of twelve numbers",
                                 kTransformKeys};
const CfoKeyTable StaticGeometry::key_table{"StaticGeometry", "a mesh that stands still",
                                            kStaticGeometryKeys, &entity_keys};

void StaticGeometry::Load(CfoNode* node, ResourceManager* resources) {
    if (node != nullptr) {
        if (resources != nullptr) {
            // The shader compiles for whatever stage the last fetch left selected.
            resources->Load(shader, "cgtest.cg");
            resources->Load(default_texture, "resources/textures/chek.dds");
            std::string file;
            if (CfoReadString(node, CfoKeyOf(kStaticGeometryKeys, "texture"), file))
                resources->Load(texture, file);
            if (CfoReadString(node, CfoKeyOf(kStaticGeometryKeys, "mesh"), file))
                resources->Load(mesh, file);
        }
        // No child is a null node, which the body accepts and leaves without a hull.
        physics.Load(CfoReadChild(node, CfoKeyOf(kStaticGeometryKeys, "PhysicsStaticGeometry")));
        if (const CfoNode* transf = CfoReadChild(node, CfoKeyOf(kStaticGeometryKeys, "transf")))
            ReadTransform(transf, transform);
    }
    Entity::Load(node, resources);
}

bool StaticGeometry::ReadTransform(const CfoNode* key, HMatrix4& out) {
    if (key == nullptr) return false;
    std::string text;
    if (!MeshRowText(key->FirstChild(), text)) return false;
    float a[12];
    MeshParseFloats(text, a, 12);
    // By columns: the first three numbers are the first column.
    out = HMatrix4(a[0], a[3], a[6], a[9],   //
                   a[1], a[4], a[7], a[10],  //
                   a[2], a[5], a[8], a[11],  //
                   0.0f, 0.0f, 0.0f, 1.0f);
    return true;
}

void StaticGeometry::Bind(EventManager* events, SceneManager*, CollisionManager* physics_manager) {
    // Without a hull the object stays out of the collision world.
    if (!physics.body.vertices.empty()) {
        physics.Prepare();
        physics.SetEntity(this);
        if (physics_manager != nullptr) physics_manager->AddObject(&physics);
    }
    if (events != nullptr) {
        events->Attach(this);
        events->AddHandler(this, &StaticGeometry::OnFrame);
    }
}

bool StaticGeometry::OnFrame(FrameEvent* event) {
    if ((mesh.IsValid() || r_debug_physics) && event->scene_manager != nullptr)
        event->scene_manager->AddToRenderQueue(this);
    return true;
}

void StaticGeometry::Render(RenderQueue*) {
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glPushMatrix();
    glPopMatrix();
    if (r_debug_physics) {
        // The collision view draws on top as wire frames; the state stays for the drawers
        // after this one.
        glDisable(GL_FOG);
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        glDisable(GL_TEXTURE_2D);
        glEnable(GL_DEPTH_TEST);
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    }
}
