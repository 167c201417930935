#include "world/worldgeometry.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "physics/collisionmanager.h"
#include "physics/physicskeys.h"
#include "platform/glcaps.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "scene/scenemanager.h"
#include "world/abttreebuilder.h"
#include "world/worldloading.h"

WorldGeometry::~WorldGeometry() {
    for (PhysicsStaticGeometry* object : collision_objects) delete object;
    collision_objects.clear();
}

// clang-format off
constexpr CfoKey kWorldGeometryKeys[] = {
    {"ABTBuilder", CfoKeyType::Table, "", "builds the tree file from meshes before loading it",
     &abt_builder_keys},
    {"file", CfoKeyType::File, "", "the level's tree (ABT) file", nullptr, "abt"},
    {"PhysicsStaticGeometry", CfoKeyType::Table, "", "one solid polygon of the level; "
     "one node each", &physics_static_geometry_keys, "", true},
};
// clang-format on

const CfoKeyTable WorldGeometry::key_table{"WorldGeometry",
                                           "the level's visible geometry and its walls",
                                           kWorldGeometryKeys, &entity_keys};

void WorldGeometry::Load(CfoNode* node, ResourceManager* resources) {
    if (node != nullptr) {
        // Writes the ABT file first when the level asks for it. A level without the
        // node builds nothing: the step itself would run on its defaults and try to
        // write a file without a name.
        if (const CfoNode* builder = CfoReadChild(node, CfoKeyOf(kWorldGeometryKeys, "ABTBuilder")))
            ABTBuilder(builder);

        std::string file;
        if (CfoReadString(node, CfoKeyOf(kWorldGeometryKeys, "file"), file)) {
            WorldLoadingScreen("Loading ABT...", true);
            tree.Load(file);
            tree.BuildVertexBuffers();
            tree.LoadTextures(resources);
        }

        WorldLoadingScreen("Loading collision geometry...", true);
        for (CfoNode* child : node->children) {
            if (child == nullptr ||
                child->name != CfoKeyOf(kWorldGeometryKeys, "PhysicsStaticGeometry").name)
                continue;
            auto* object = new PhysicsStaticGeometry();
            collision_objects.push_back(object);
            object->Load(child);
        }

        Entity::Load(node, resources);
    }

    if (resources == nullptr) return;
    if (!CheckExtension("GL_ARB_fragment_program") || !r_advanced_shading) {
        resources->Load(vertex_program, "resources/shaders/static_geometry_simple.cg");
    } else {
        resources->Load(vertex_program, "resources/shaders/static_geometry.cg");
        SetShaderLoadMode(false);
        resources->Load(fragment_program, "resources/shaders/static_geometry_fragment.cg");
        SetShaderLoadMode(true);
    }
}

void WorldGeometry::Bind(EventManager* events, SceneManager*, CollisionManager* physics) {
    if (events != nullptr) {
        events->Attach(this);
        events->AddHandler(this, &WorldGeometry::OnFrame);
        events->AddHandler(this, &WorldGeometry::OnInput);
    }
    for (PhysicsStaticGeometry* object : collision_objects) {
        object->Prepare();
        object->SetEntity(this);
        if (physics != nullptr) physics->AddObject(object);
    }
    if (CheckExtension("GL_ARB_fragment_program")) has_fragment_program = true;
}

bool WorldGeometry::OnFrame(FrameEvent* event) {
    dt = event->dt;
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool WorldGeometry::OnInput(InputEvent* event) {
    const Sdl12Event& e = event->sdl_event;
    if (e.type == SDL12_KEYDOWN && e.key.keysym.sym == kStatisticsKey)
        std::cout << StatisticsText() << std::flush;
    return true;
}

std::string WorldGeometry::StatisticsText() const {
    std::ostringstream out;
    // A frame of no length (F8 before the first frame) is an infinite rate.
    out << 1.0f / dt << " d:" << tree.draws << " t:" << tree.texture_binds
        << " tpn:" << tree.textures_per_buffer << " bsw:" << tree.buffer_switches
        << "  bs:" << tree.min_chunk << " " << tree.max_chunk << "\n";
    const size_t root = static_cast<size_t>(tree.root);
    if (tree.root >= 0 && root < tree.nodes.size() && tree.nodes[root] != nullptr) {
        const HAxisAlignedBox& box = tree.nodes[root]->box;
        char line[160];
        for (const HVector3& v : {box.GetMinimum(), box.GetMaximum()}) {
            snprintf(line, sizeof line, "%.6f,%.6f,%.6f\n", v.x, v.y, v.z);
            out << line;
        }
    }
    return out.str();
}

void WorldGeometry::Render(RenderQueue* queue) {
    if (has_fragment_program && r_advanced_shading)
        RenderAdvanced(queue);
    else
        RenderSimple(queue);
}

namespace {

// What both shading paths set up before the programs: depth, colour material, the
// pushed matrix, back-face culling, the alpha test and blending.
void BeginWorldState() {
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glPushMatrix();
    glCullFace(GL_BACK);
    glEnable(GL_CULL_FACE);
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.2f);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

}  // namespace

void WorldGeometry::RenderSimple(RenderQueue* queue) {
    BeginWorldState();

    // Linear fog over the program's fog coordinate, which runs from 0 at the eye to 1
    // where the view closes.
    EnableProgramFog(0.55f, 0.5f, 0.4f, 1.0f);

    glEnable(GL_DEPTH_TEST);

    ShaderProgram::EnableProfile(cg_vertex_profile);
    vertex_program->Bind();
    vertex_program->SetViewMatrices();
    vertex_program->SetParameter3fv("LigthPos", kSimpleLightPos);
    vertex_program->SetParameter3fv("LigthColor", kLightColor);

    tree.Render(queue != nullptr ? queue->camera : nullptr, r_abt_render_mode);

    ShaderProgram::DisableProfile(cg_vertex_profile);
    glPopMatrix();
    // Fog and blending stay on: the drawers after this one set what they need.
    glDisable(GL_ALPHA_TEST);
}

void WorldGeometry::RenderAdvanced(RenderQueue* queue) {
    Camera* camera = queue != nullptr ? queue->camera : nullptr;
    float light_pos[3] = {kAdvancedLightPos[0], kAdvancedLightPos[1], kAdvancedLightPos[2]};
    float camera_pos[3] = {0.0f, 0.0f, 0.0f};
    float camera_dir[3] = {0.0f, 0.0f, 0.0f};
    if (camera != nullptr) {
        camera_pos[0] = camera->position.x;
        camera_pos[1] = camera->position.y;
        camera_pos[2] = camera->position.z;
        // From the point looked at back to the eye, not normalised.
        camera_dir[0] = camera->position.x - camera->target.x;
        camera_dir[1] = camera->position.y - camera->target.y;
        camera_dir[2] = camera->position.z - camera->target.z;
    }

    BeginWorldState();

    ShaderProgram::EnableProfile(cg_vertex_profile);
    vertex_program->Bind();
    vertex_program->SetViewMatrices();
    // The light is a position for the vertex stage ...
    vertex_program->SetParameter3fv("LigthPos", light_pos);
    vertex_program->SetParameter3fv("LigthColor", kLightColor);
    vertex_program->SetParameter3fv("CameraPos", camera_pos);

    ShaderProgram::EnableProfile(cg_fragment_profile);
    fragment_program->Bind();
    fragment_program->SetParameter3fv("CameraDir", camera_dir);
    // ... and a direction for the fragment stage.
    const float length = std::sqrt(light_pos[0] * light_pos[0] + light_pos[1] * light_pos[1] +
                                   light_pos[2] * light_pos[2]);
    for (float& c : light_pos) c /= length;
    fragment_program->SetParameter3fv("LigthPos", light_pos);
    fragment_program->SetParameter3fv("LigthColor", kLightColor);

    tree.Render(camera, r_abt_render_mode);

    ShaderProgram::DisableProfile(cg_vertex_profile);
    ShaderProgram::DisableProfile(cg_fragment_profile);
    glPopMatrix();
    glDisable(GL_ALPHA_TEST);
}
