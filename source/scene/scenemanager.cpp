#include "scene/scenemanager.h"

#include <GL/gl.h>
#include <SDL.h>

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdio>
#include <vector>

#include "platform/draw.h"
#include "platform/glcaps.h"
#include "platform/screenshot.h"
#include "platform/sdlinput.h"
#include "platform/settings.h"
#include "platform/window.h"
#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"
#include "cfo/file.h"
#include "resources/soundlayer.h"
#include "scene/keynametable.h"
#include "scene/scenemanagerkeys.h"

SceneManager::SceneManager() = default;

SceneManager::~SceneManager() {
    // `events` is a member and goes before the listener base: drop our own handlers now,
    // so that the base's destructor has nothing left to reach.
    if (event_manager != nullptr && owner != nullptr) event_manager->RemoveHandlers(owner);
    event_manager = nullptr;
    owner = nullptr;
}

ResourceManager* SceneManager::GetResources() { return &resources; }

CollisionManager* SceneManager::GetPhysics() { return &physics; }

void SceneManager::Bind(EventManager*, SceneManager*, CollisionManager*) {
    physics.SetEventManager(&events);
    events.Attach(this);
    events.AddHandler(this, &SceneManager::OnFrame);
    events.AddHandler(this, &SceneManager::OnDeleteEntity);
    events.AddHandler(this, &SceneManager::OnLoadGame);
}

void SceneManager::Unbind(EventManager*, SceneManager*, CollisionManager*) {}
void SceneManager::Unload(SceneManager*, ResourceManager*) {}
void SceneManager::Render(RenderQueue*) {}

bool SceneManager::AddSearchPath(const std::string& path) {
    // The file layer starts PhysFS if need be and gives PhysFS's reason for a failure.
    std::string reason;
    if (!FileSystemMount(path, "/", &reason)) {
        printf("%s '%s'\n", reason.c_str(), path.c_str());
        return false;
    }
    return true;
}

void SceneManager::Load(CfoNode* node, ResourceManager* manager) {
    if (node == nullptr) {
        printf("SceneManager configuration node not defined\n");
        return;
    }
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_debug"), r_debug);
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_debug_physics"), r_debug_physics);
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_show_fps"), r_show_fps);
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_sw_skinning"), r_sw_skinning);
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_advanced_shading"), r_advanced_shading);
    CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "r_particle_rain"), r_particle_rain);
    CfoReadInt(node, CfoKeyOf(kSceneManagerKeys, "r_particle_rain_size"), r_particle_rain_size);

    if (max_anisotropy > 1.0f)
        CfoReadFloat(node, CfoKeyOf(kSceneManagerKeys, "r_anisotropic_filtering"),
                     r_anisotropic_filtering);

    float animation_hz = 0.0f;
    if (CfoReadFloat(node, CfoKeyOf(kSceneManagerKeys, "r_animation_hz"), animation_hz)) {
        // A rate of zero or less (or not a number) would make the step infinite or negative.
        if (animation_hz > 0.0f && std::isfinite(1.0f / animation_hz))
            r_animation_step = 1.0f / animation_hz;
        else
            printf("SceneManager r_animation_hz '%g' is not above 0, animation step kept\n",
                   static_cast<double>(animation_hz));
    }

    std::string mode;
    if (CfoReadString(node, CfoKeyOf(kSceneManagerKeys, "r_abt_render_mode"), mode)) {
        if (mode == "VAR") r_abt_render_mode = VAR;
        if (mode == "VBO") r_abt_render_mode = VBO;
        if (mode == "LIST") r_abt_render_mode = LIST;
    }

    for (CfoNode* child : node->children)
        if (child != nullptr && child->name == CfoKeyOf(kSceneManagerKeys, "add_search_path").name)
            AddSearchPath(child->value);

    KeyNameTable keys;
    keys.Build();
    struct Binding {
        const CfoKey& key;
        int32_t* code;
    };
    const Binding bindings[] = {
        {CfoKeyOf(kSceneManagerKeys, "k_action_forward"), &k_action_forward},
        {CfoKeyOf(kSceneManagerKeys, "k_action_back"), &k_action_back},
        {CfoKeyOf(kSceneManagerKeys, "k_action_stafe_left"), &k_action_stafe_left},
        {CfoKeyOf(kSceneManagerKeys, "k_action_stafe_right"), &k_action_stafe_right},
        {CfoKeyOf(kSceneManagerKeys, "k_action_hit"), &k_action_hit},
    };
    for (const Binding& binding : bindings) {
        std::string key_name;
        if (CfoReadString(node, binding.key, key_name)) keys.Lookup(key_name, *binding.code);
    }

    // The manager passed in is this one's own; a caller without one gets the member.
    (manager != nullptr ? manager : &resources)->Load(cursor, "resources/textures/gui/cursor.dds");

    if (!CheckExtension("GL_ARB_fragment_program")) {
        r_advanced_shading = false;
        r_particle_rain = false;
    }
}

void SceneManager::LoadTree(CfoNode* node, Entity* parent, int32_t depth) {
    assert(parent != nullptr && "parent");
    LoadTreeLevel(node, parent, depth);
}

void SceneManager::LoadTreeLevel(CfoNode* node, Entity* parent, int32_t depth) {
    parent->Load(node, GetResources());
    if (node == nullptr) return;
    for (CfoNode* child : node->children) {
        if (child == nullptr) continue;
        Entity* entity = classes.Create(child->name);
        if (entity != nullptr) {
            if (tree_depth >= kMaxTreeDepth) {
                printf("SceneManager::LoadTree '%s' nested deeper than %d levels, skipped\n",
                       child->name.c_str(), kMaxTreeDepth);
                delete entity;
                continue;
            }
            entity->SetParent(parent);
            parent->AddChild(entity);
            printf("%s'%s'\n", std::string(static_cast<size_t>(depth + 1), ' ').c_str(),
                   child->name.c_str());
            ++tree_depth;
            LoadTreeLevel(child, entity, depth + 1);
            --tree_depth;
        } else if (child->name == "require") {
            const std::string& path = child->value;
            if (std::find(require_stack.begin(), require_stack.end(), path) !=
                require_stack.end()) {
                printf("SceneManager::LoadTree '%s' requires itself, include skipped\n",
                       path.c_str());
                continue;
            }
            if (static_cast<int32_t>(require_stack.size()) >= kMaxRequireDepth) {
                printf("SceneManager::LoadTree includes nested deeper than %d, '%s' skipped\n",
                       kMaxRequireDepth, path.c_str());
                continue;
            }
            CfoDocument* document = new CfoDocument();
            document->LoadFile(path);
            require_stack.push_back(path);
            LoadTreeLevel(document, parent, 0);
            require_stack.pop_back();
            delete document;
        }
    }
}

void SceneManager::BindTree(Entity* entity) {
    if (entity == nullptr) return;
    entity->Bind(&events, this, GetPhysics());
    for (Entity* child : entity->children) BindTree(child);
}

void SceneManager::UnbindTree(Entity* entity) {
    if (entity == nullptr) return;
    entity->Unbind(&events, this, GetPhysics());
    for (Entity* child : entity->children) UnbindTree(child);
}

void SceneManager::DestroyTree(SceneManager* scene, Entity* entity) {
    if (entity == nullptr) return;
    entity->Unload(scene, GetResources());
    while (!entity->children.empty()) {
        Entity* child = entity->children.front();
        DestroyTree(scene, child);
        entity->children.pop_front();
        delete child;
    }
}

bool SceneManager::UpdateAt(float now) {
    dt = now - time;
    time = now;
    physics.Step(dt, time);
    return events.Update(time);
}

float SceneManager::ClockSeconds() {
    const uint64_t ticks = SDL_GetTicks64();
    return static_cast<float>(static_cast<double>(ticks) / 1000.0);
}

bool SceneManager::Update() { return UpdateAt(ClockSeconds()); }

bool SceneManager::HandleInput(const Sdl12Event& sdl) {
    switch (sdl.type) {
        case SDL12_KEYDOWN:
            if (sdl.key.keysym.sym == 113) return false;                        // "q"
            if (sdl.key.keysym.sym == 283) r_debug_physics = !r_debug_physics;  // F2
            Post(new InputEvent(sdl));
            break;
        case SDL12_KEYUP:
        case SDL12_MOUSEBUTTONDOWN:
        case SDL12_MOUSEBUTTONUP:
            Post(new InputEvent(sdl));
            break;
        case SDL12_MOUSEMOTION: {
            // Integer arithmetic first, as the 2D space is in whole units; a zero screen size
            // (no window yet) leaves the coordinate unscaled.
            const int64_t x = sdl.motion.x, y = sdl.motion.y;
            const int64_t w = input_screen_width != 0 ? input_screen_width : screen_width;
            const int64_t h = input_screen_height != 0 ? input_screen_height : screen_height;
            const int64_t vx = w != 0 ? x * virtual_width / w : x;
            const int64_t vy = h != 0 ? y * virtual_height / h : y;
            Post(new InputEvent(sdl, HVector2(static_cast<float>(vx), static_cast<float>(vy))));
            break;
        }
        case SDL12_QUIT:
            return false;
        default:
            break;
    }
    return true;
}

bool SceneManager::OnFrame(FrameEvent*) {
    AddToRenderQueue(this);
    SDL_Event sdl;
    if (input_replay != nullptr) {
        while (SDL_PollEvent(&sdl))
            if (sdl.type == SDL_QUIT) return false;
        for (const Sdl12Event& record : *input_replay)
            if (!HandleInput(record)) return false;
        return true;
    }
    while (SDL_PollEvent(&sdl)) {
        Sdl12Event record;
        if (!TranslateSdlEvent(sdl, &record)) continue;
        if (input_record != nullptr) input_record->push_back(record);
        if (!HandleInput(record)) return false;
        // A wheel step was a press and a release.
        Sdl12Event release;
        if (WheelButtonUp(sdl, &release)) {
            if (input_record != nullptr) input_record->push_back(release);
            if (!HandleInput(release)) return false;
        }
    }
    return true;
}

bool SceneManager::OnDeleteEntity(DeleteEntityEvent* event) {
    delete_list.push_back(event->entity);
    return true;
}

bool SceneManager::OnLoadGame(LoadGameEvent* event) {
    pending_scene = event->path;
    return true;
}

void SceneManager::PreRender(RenderQueue*) {
    ++clear_count;
    if (SDL_GL_GetCurrentContext() == nullptr) return;  // no window: nothing to clear
    glClearColor(0.3f, 0.3f, 0.3f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void SceneManager::PostRender() {
    ++swap_count;
    if (SDL_GL_GetCurrentContext() == nullptr) return;
    glFlush();
    if (!screenshot_path.empty()) {
        std::string error;
        if (SaveScreenshot(screenshot_path, &error))
            printf("Screenshot: '%s'\n", screenshot_path.c_str());
        else
            printf("Screenshot: not saved: %s\n", error.c_str());
        screenshot_path.clear();
    }
    SwapWindowBuffers();
}

void SceneManager::DeleteSubtree(Entity* entity) {
    // The entity and everything below it; any later request for one of them is void.
    std::vector<Entity*> doomed{entity};
    for (size_t i = 0; i < doomed.size(); ++i)
        for (Entity* child : doomed[i]->children)
            if (child != nullptr) doomed.push_back(child);
    for (Entity* gone : doomed) delete_list.remove(gone);
    // Deepest first: a child goes while its parent still stands.
    for (auto it = doomed.rbegin(); it != doomed.rend(); ++it) delete *it;
}

void SceneManager::CleanUpObjects() {
    while (!delete_list.empty()) {
        Entity* entity = delete_list.front();
        if (entity == nullptr || entity->GetParent() == nullptr || entity == this) {
            // Nothing can own it: deleting it would be wrong, keeping it would loop for ever.
            printf("SceneManager::CleanUpObjects entity without a parent not deleted\n");
            delete_list.pop_front();
            continue;
        }
        entity->GetParent()->RemoveChild(entity);
        // The camera belongs to the scene and may go with it; the next Scene render sets it.
        render_queue.camera = nullptr;
        DeleteSubtree(entity);
    }

    if (pending_scene.size() <= 5) return;

    // Nothing of the old level goes on sounding through the loading screen.
    SoundStop(SOUND_ALL);
    if (SDL_GL_GetCurrentContext() != nullptr) DrawLoadingScreen("Loading...", false);

    CfoDocument* document = new CfoDocument();
    document->LoadFile(pending_scene);

    Entity* old_scene = FindEntity("game_scene");
    if (old_scene != nullptr && old_scene != this) {  // the root itself is never replaced
        UnbindTree(old_scene);
        DestroyTree(nullptr, old_scene);
        if (old_scene->GetParent() != nullptr) old_scene->GetParent()->RemoveChild(old_scene);
        RemoveChild(old_scene);
        delete_list.remove(old_scene);
        render_queue.camera = nullptr;
        delete old_scene;
    }

    LoadTree(document, this);

    Entity* new_scene = FindEntity("game_scene");
    if (new_scene != nullptr && new_scene != this) {
        BindTree(new_scene);
        Post(new ResumeGameEvent(false));
    } else {
        printf("SceneManager::CleanUpObjects Scene object not found\n");
    }

    delete document;
    pending_scene.clear();
}
