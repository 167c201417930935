#include "scene/scene.h"

#include <GL/gl.h>
#include <GL/glu.h>

#include <cassert>
#include <iostream>
#include <string>

#include "cfo/cforeaders.h"
#include "physics/collisionmanager.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/renderqueue.h"
#include "scene/scenemanager.h"

namespace {

// The line around the handler dump of F9.
const char* const kDumpRule = "====================================================";

// The view every level gets, whatever the window's shape.
constexpr double kAspect = 1.33;
constexpr double kNear = 1.0;
constexpr double kFar = 5000.0;

// The collision view's ground grid: 3000 units, seven levels of halving, in dark grey.
constexpr float kGridSize = 3000.0f;
constexpr int kGridLevels = 7;
constexpr float kGridGrey = 0.2f;
constexpr float kAxesSize = 15.0f;

}  // namespace

// clang-format off
constexpr CfoKey kSceneKeys[] = {
    {"sky_texture", CfoKeyType::File, "system/white.dds", "texture of the sky dome", nullptr,
     "dds,tga"},
    {"sky_mesh", CfoKeyType::File, "", "the sky dome", nullptr, "asm"},
    {"ambient_sound", CfoKeyType::File, "", "the level's looping sound", nullptr, "wav,ogg"},
    {"max_size", CfoKeyType::Vector2, "0,0", "the world's extent"},
    {"camera_pos", CfoKeyType::Vector3, "0,0,0", "the fixed camera's place"},
    {"camera_target", CfoKeyType::Vector3, "0,200,0", "the point the fixed camera looks at"},
    {"camera_up", CfoKeyType::Vector3, "0,0,1", "the fixed camera's up"},
    {"camera_fov", CfoKeyType::Float, "90", "the fixed camera's field of view, degrees"},
};
// clang-format on

const CfoKeyTable Scene::key_table{"Scene", "a level: its sky, sound, cameras and rain", kSceneKeys,
                                   &entity_keys};

void Scene::Load(CfoNode* node, ResourceManager* resources) {
    assert(node != nullptr && "node");

    if (resources != nullptr) {
        resources->Load(sky_texture, "system/white.dds");
        std::string texture_name;
        if (CfoReadString(node, CfoKeyOf(kSceneKeys, "sky_texture"), texture_name))
            resources->Load(sky_texture, texture_name);
        std::string mesh_name;
        if (CfoReadString(node, CfoKeyOf(kSceneKeys, "sky_mesh"), mesh_name))
            resources->Load(sky_mesh, mesh_name);
        // The ambient sound; Bind turns it to looping before it first plays.
        std::string sound_name;
        if (CfoReadString(node, CfoKeyOf(kSceneKeys, "ambient_sound"), sound_name))
            resources->Load(ambient, sound_name);
    }
    CfoReadVector2(node, CfoKeyOf(kSceneKeys, "max_size"), max_size);
    if (r_particle_rain) rain.Load(node, resources);
    Entity::Load(node, resources);
    // The camera path: kept with the level, though no camera mode plays it. Without the
    // file the level loads all the same.
    camera_path.Load("animations/cam2.cfo");
    CfoReadVector3(node, CfoKeyOf(kSceneKeys, "camera_pos"), fixed_position);
    CfoReadVector3(node, CfoKeyOf(kSceneKeys, "camera_target"), fixed_target);
    CfoReadVector3(node, CfoKeyOf(kSceneKeys, "camera_up"), fixed_up);
    CfoReadFloat(node, CfoKeyOf(kSceneKeys, "camera_fov"), fixed_fov);
}

void Scene::Bind(EventManager* events, SceneManager*, CollisionManager* physics) {
    camera.angle_x = 60.0f;
    collision = physics;
    // The world's extent, centred on the origin like the ground grid, is the root
    // rectangle of the collision manager's spatial tree.
    if (collision != nullptr) collision->SetTreeRectangle(HVector2(0.0f, 0.0f), max_size);

    events->Attach(this);
    events->AddHandler(this, &Scene::OnFrame);
    events->AddHandler(this, &Scene::OnInput);
    events->AddHandler(this, &Scene::OnResumeGame);
    events->AddHandler(this, &Scene::OnCameraMode);
    // The ambient sound loops; an empty handle's null sound has no sample and stays quiet.
    ambient->SetLoop(true);
    ambient->Play();
}

bool Scene::OnFrame(FrameEvent* event) {
    if (r_particle_rain) rain.Update(event->time);
    time = event->time;
    sky_angle += event->dt * sky_speed;
    if (sky_angle > 360.0f) sky_angle = 0.0f;
    frame_dt = event->dt;

    if (camera_mode == CAMERA_FREE && !IsPaused()) {
        camera.fov = 90.0f;
        const float step = frame_dt * fly_speed;
        if (fly_forward) camera.position -= camera.rotation.zAxis() * step;
        if (fly_back) camera.position += camera.rotation.zAxis() * step;
        if (fly_left) camera.position -= camera.rotation.xAxis() * step;
        if (fly_right) camera.position += camera.rotation.xAxis() * step;
        if (fly_up) camera.position += camera.rotation.yAxis() * step;
        if (fly_down) camera.position -= camera.rotation.yAxis() * step;
        UpdateCamera();
    }
    if (camera_mode == CAMERA_FIXED) {
        camera.position = fixed_position;
        camera.target = fixed_target;
        camera.up = fixed_up;
        camera.fov = fixed_fov;
    }

    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    if (r_particle_rain && event->scene_manager != nullptr)
        event->scene_manager->AddToRenderQueue(&rain);
    return true;
}

void Scene::UpdateCamera() { camera.UpdateFromAngles(); }

bool Scene::OnInput(InputEvent* event) {
    if (IsPaused()) return true;
    const Sdl12Event& sdl = event->sdl_event;

    if (sdl.type == SDL12_KEYDOWN || sdl.type == SDL12_KEYUP) {
        const int32_t key = sdl.key.keysym.sym;
        const bool down = sdl.type == SDL12_KEYDOWN;
        if (down) {
            if (key == KEY_F1) {
                camera_mode = (camera_mode + 1) % 3;
                std::cout << "Camera mode changed: " << camera_mode << std::endl;
                if (camera_mode == CAMERA_FOLLOW) camera.angle_x = 60.0f;
                if (camera_mode == CAMERA_FREE) {
                    camera.angle_x = 0.0f;
                    camera.angle_y = 0.0f;
                }
            } else if (key == KEY_F9) {
                std::cout << kDumpRule << std::endl;
                if (collision != nullptr) collision->DumpHandlers();
                std::cout << kDumpRule << std::endl;
            } else if (key == KEY_BACKSLASH) {
                path_start_time = time;
            }
        }
        // Key down sets a flight flag, key up clears it; only the free camera flies.
        if (camera_mode == CAMERA_FREE) {
            switch (key) {
                case KEY_UP:
                    fly_forward = down;
                    break;
                case KEY_DOWN:
                    fly_back = down;
                    break;
                case KEY_LEFT:
                    fly_left = down;
                    break;
                case KEY_RIGHT:
                    fly_right = down;
                    break;
                case KEY_PAGEUP:
                    fly_up = down;
                    break;
                case KEY_PAGEDOWN:
                    fly_down = down;
                    break;
                default:
                    break;
            }
        }
    } else if (sdl.type == SDL12_MOUSEMOTION && camera_mode == CAMERA_FREE) {
        camera.angle_x -= static_cast<float>(sdl.motion.yrel) * frame_dt * look_speed;
        camera.angle_y -= static_cast<float>(sdl.motion.xrel) * frame_dt * look_speed;
    }
    return true;
}

void Scene::SetPausedTree(Entity* entity, bool pause) {
    if (entity == nullptr) return;
    entity->SetPaused(pause);
    for (Entity* child : entity->GetChildren()) SetPausedTree(child, pause);
}

bool Scene::OnResumeGame(ResumeGameEvent* event) {
    SetPausedTree(this, !event->resume);
    return true;
}

bool Scene::OnCameraMode(CameraModeEvent* event) {
    // The game's screens list the choices in another order than the modes' numbers.
    switch (event->mode) {
        case 0:
            camera_mode = CAMERA_FREE;
            break;
        case 1:
            camera_mode = CAMERA_FIXED;
            break;
        case 2:
            camera_mode = CAMERA_FOLLOW;
            break;
        default:
            break;
    }
    return true;
}

void Scene::SetupView() { camera.SetupView(kAspect, kNear, kFar); }

void Scene::Render(RenderQueue* queue) {
    SetupView();
    camera.ExtractFrustum();
    if (queue != nullptr) queue->camera = &camera;

    // The sky moves with the eye, so it is never reached, and writes no depth, so that
    // everything drawn after it lies in front.
    glPushMatrix();
    glDisable(GL_LIGHTING);
    glDepthMask(GL_FALSE);
    glTranslatef(camera.position.x, camera.position.y, camera.position.z);
    glRotatef(sky_angle, 0.0f, 0.0f, 1.0f);
    // The screens drawn after the world end with texturing off.
    glEnable(GL_TEXTURE_2D);
    sky_texture->Bind();
    glColor3f(1.0f, 1.0f, 1.0f);
    sky_mesh->Draw();
    glPopMatrix();
    // Depth writes come back for the world: with them off, the next frame's clear would
    // leave the depth buffer as it is.
    glDepthMask(GL_TRUE);

    if (r_debug_physics) {
        glDisable(GL_TEXTURE_2D);
        glEnable(GL_DEPTH_TEST);
        glDisable(GL_BLEND);
        if (collision != nullptr) collision->DebugDraw();
        glPushMatrix();
        glColor3f(kGridGrey, kGridGrey, kGridGrey);
        DrawGrid(0.0f, kGridSize, kGridLevels, kGridSize);
        glPopMatrix();
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        glDisable(GL_TEXTURE_2D);
        DrawAxes(kAxesSize);
    }
}

void DrawGrid(float pos, float size, int level, float length) {
    float width = 1.0f;
    if (pos == 0.0f)
        width = 4.0f;
    else if (level == 1)
        width = 2.0f;
    glLineWidth(width);
    const float half = length / 2.0f;
    glBegin(GL_LINES);
    glVertex3f(pos, half, 0.0f);
    glVertex3f(pos, -half, 0.0f);
    glVertex3f(half, pos, 0.0f);
    glVertex3f(-half, pos, 0.0f);
    glEnd();
    if (level > 0) {
        DrawGrid(pos + size / 4.0f, size / 2.0f, level - 1, length);
        DrawGrid(pos - size / 4.0f, size / 2.0f, level - 1, length);
    }
}

void DrawAxes(float size) {
    glDisable(GL_TEXTURE_2D);
    // The cones: a fifth of the axis long, pointing outwards from its end.
    const double cone_radius = size * 0.08;
    const double cone_length = size * 0.2;
    GLUquadric* quadric = gluNewQuadric();

    struct Axis {
        float r, g, b;     // colour
        float x, y, z;     // direction
        float angle;       // turns the quadric's +z onto the direction
        float ax, ay, az;  // about this axis
    };
    // clang-format off
    const Axis axes[3] = {
        {1.0f, 0.0f, 0.0f,  1.0f, 0.0f, 0.0f,  90.0f,  0.0f, 1.0f, 0.0f},
        {0.0f, 1.0f, 0.0f,  0.0f, 1.0f, 0.0f,  -90.0f, 1.0f, 0.0f, 0.0f},
        {0.0f, 0.0f, 1.0f,  0.0f, 0.0f, 1.0f,  0.0f,   0.0f, 0.0f, 1.0f},
    };
    // clang-format on
    for (const Axis& a : axes) {
        glColor3f(a.r, a.g, a.b);
        glBegin(GL_LINES);
        glVertex3f(0.0f, 0.0f, 0.0f);
        glVertex3f(a.x * size, a.y * size, a.z * size);
        glEnd();
        if (quadric != nullptr) {
            glPushMatrix();
            glTranslatef(a.x * size, a.y * size, a.z * size);
            glRotatef(a.angle, a.ax, a.ay, a.az);
            gluCylinder(quadric, cone_radius, 0.0, cone_length, 8, 1);
            glPopMatrix();
        }
    }
    if (quadric != nullptr) gluDeleteQuadric(quadric);
}
