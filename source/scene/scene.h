#pragma once
// Scene: the entity named "game_scene", the root of a level. A scene document's top node is
// a Scene; the world geometry, the player, the enemies and the objects are its children.
// It owns the sky, the world's extent, the camera, the ambient sound, the camera path and
// the rain. Its Render pass sets up the 3D view (projection, look-at,
// frustum) for everything that the render queue draws after it, and hands its camera to the
// queue so that they can reach it.
//
// Camera modes: 0 follow (the Player drives the camera), 1 free flight (arrows, page up and
// page down, mouse look), 2 fixed (the "camera_*" values of the document). A level starts in
// mode 2; F1 cycles the modes and a CameraModeEvent from the game's screens picks one.
//
// The Scene is replaced as a whole by SceneManager::CleanUpObjects; it lives from LoadTree
// to the next scene change or the end of the game.

#include <cstdint>

#include "events/eventmanager.h"
#include "events/events.h"
#include "math/hvector2.h"
#include "math/hvector3.h"
#include "resources/resourcehandle.h"
#include "resources/sound.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "scene/entity.h"
#include "world/cameraanimation.h"
#include "world/meshasm.h"
#include "world/particlerain.h"

class CollisionManager;
class SceneManager;

class Scene : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("Scene")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    // The camera modes.
    enum CameraMode : int32_t { CAMERA_FOLLOW = 0, CAMERA_FREE = 1, CAMERA_FIXED = 2 };

    // SDL 1.2 codes of the keys the Scene reads itself.
    enum Key : int32_t {
        KEY_BACKSLASH = 92,
        KEY_UP = 273,
        KEY_DOWN = 274,
        KEY_RIGHT = 275,
        KEY_LEFT = 276,
        KEY_PAGEUP = 280,
        KEY_PAGEDOWN = 281,
        KEY_F1 = 282,
        KEY_F9 = 290,
    };

    Scene() = default;
    ~Scene() override = default;

    // Sky texture ("system/white.dds" unless "sky_texture" names another), "sky_mesh",
    // "ambient_sound", "max_size", the rain from this same node when r_particle_rain is set,
    // the Entity keys, then "camera_pos", "camera_target",
    // "camera_up" and "camera_fov". `node` must not be null.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // Pitches the camera to 60 degrees, keeps `physics` and gives it the world's extent,
    // then subscribes to FrameEvent, InputEvent, ResumeGameEvent and CameraModeEvent, in
    // this order, and last turns looping on for the ambient sound and starts it.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // The 3D view, the frustum, the queue's camera, the sky and, with r_debug_physics, the
    // collision view with the ground grid and the axes. Needs a current GL context.
    void Render(RenderQueue* queue) override;

    // Handlers, subscribed in this order by Bind.
    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);
    bool OnResumeGame(ResumeGameEvent* event);
    bool OnCameraMode(CameraModeEvent* event);

    // The free camera's rotation from its angles: angle_y about the world's z axis, then
    // angle_x about the local x axis; the target one unit ahead (−z of the rotation) and up
    // its y axis.
    void UpdateCamera();

    // Projection and model-view of the camera: gluPerspective(fov, 1.33, 1, 5000) and
    // gluLookAt(position, target, up), leaving the model-view matrix current.
    void SetupView();

    // Applies `pause` to `entity` and to all its descendants.
    static void SetPausedTree(Entity* entity, bool pause);

    ResourceHandle<TextureDDS> sky_texture;
    ResourceHandle<MeshASM> sky_mesh;
    float sky_angle = 0.0f;        // degrees; back to 0 past 360
    float sky_speed = 1.0f;        // degrees per second
    float path_start_time = 0.0f;  // set by the backslash key, for the camera path
    float time = 0.0f;             // the last FrameEvent's time
    Camera camera;
    HVector3 fixed_position{0.0f, 0.0f, 0.0f};  // "camera_pos"
    HVector3 fixed_target{0.0f, 200.0f, 0.0f};  // "camera_target"
    HVector3 fixed_up{0.0f, 0.0f, 1.0f};        // "camera_up"
    float fixed_fov = 90.0f;                    // "camera_fov"
    int32_t camera_mode = CAMERA_FIXED;
    // Held keys of the free camera.
    bool fly_forward = false;
    bool fly_back = false;
    bool fly_left = false;
    bool fly_right = false;
    bool fly_up = false;
    bool fly_down = false;
    float frame_dt = 0.0f;                  // the last FrameEvent's dt
    float fly_speed = 100.0f;               // units per second
    float look_speed = 10.0f;               // degrees per mouse step and second
    CollisionManager* collision = nullptr;  // not owned; from Bind
    HVector2 max_size{0.0f, 0.0f};          // "max_size": the world's extent
    ResourceHandle<Sound> ambient;          // "ambient_sound": loops from Bind on
    // The rain: a member, not a child. Loaded, updated and queued only while
    // r_particle_rain is set.
    ParticleRain rain;
    CameraAnimation camera_path;  // "animations/cam2.cfo", loaded and not played
};

// The ground grid of the collision view in the plane z = 0: a cross of two lines at `pos`,
// each `length` long, then, while `level` is above 0, two grids of half the `size` a
// quarter of `size` to each side. Lines at 0 are 4 pixels wide, those of level 1 are 2, the
// rest 1. Draws in the current colour.
void DrawGrid(float pos, float size, int level, float length);

// Three lines of length `size` from the origin: x red, y green, z blue, each with a small
// cone at its tip. Turns texturing off.
void DrawAxes(float size);
