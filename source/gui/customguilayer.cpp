#include "gui/customguilayer.h"

#include <GL/gl.h>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "platform/settings.h"
#include "scene/scenemanager.h"

CustomGuiLayer::CustomGuiLayer() : cursor(new GUICursor()) {}

CustomGuiLayer::~CustomGuiLayer() { delete cursor; }

// clang-format off
constexpr CfoKey kCustomGuiLayerKeys[] = {
    {"GUICursor", CfoKeyType::Table, "", "the layer's pointer", &GUICursor::key_table},
};
// clang-format on

const CfoKeyTable CustomGuiLayer::key_table{"CustomGuiLayer", "the menu layer and its screens",
                                            kCustomGuiLayerKeys, &gui_object_keys};

void CustomGuiLayer::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    if (node == nullptr) return;
    if (CfoNode* child = CfoReadChild(node, CfoKeyOf(kCustomGuiLayerKeys, "GUICursor")))
        cursor->Load(child, resources);
}

void CustomGuiLayer::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events != nullptr) {
        events->AddHandler(this, &CustomGuiLayer::OnFrame);
        events->AddHandler(this, &CustomGuiLayer::OnInput);
        events->AddHandler(this, &CustomGuiLayer::OnGUIEvent);
        events->AddHandler(this, &CustomGuiLayer::OnFileWindow);
    }
    float z = z_index;
    AssignZOrder(this, z, 1.0f);
}

bool CustomGuiLayer::IsVisible() { return visible; }

bool CustomGuiLayer::OnFrame(FrameEvent* event) {
    width = virtual_width;
    height = virtual_height;
    if (event->scene_manager != nullptr) {
        event->scene_manager->AddToRenderQueue(this);
        event->scene_manager->AddToRenderQueue(cursor);
    }
    return true;
}

bool CustomGuiLayer::OnInput(InputEvent* event) {
    if (event->sdl_event.type == SDL12_MOUSEMOTION) cursor->pos = event->mouse;
    return true;
}

void CustomGuiLayer::Show(const char* widget_name, bool show) {
    if (Entity* widget = FindEntity(widget_name)) widget->SetVisible(show);
}

bool CustomGuiLayer::OnGUIEvent(GUIEvent* event) {
    if (event->kind == 3) cursor->SetVisible(true);
    if (event->kind == 2) cursor->SetVisible(false);
    if (event->kind != 1) return true;

    const std::string& clicked = event->name;
    if (clicked == "load_button") {
        SetVisible(false);
    } else if (clicked == "open_editor_button") {
        if (Entity* editor = FindEntity("editor_window")) editor->SetVisible(!editor->IsVisible());
    } else if (clicked == "exit_button") {
        return false;
    } else if (clicked == "load_scene_button") {
        Show("file_open_scene", true);
        return true;
    } else if (clicked == "delete_button") {
        if (Entity* player = FindEntity("main_player")) Post(new DeleteEntityEvent(player));
    } else if (clicked == "credits_button") {
        Show("credits_window", true);
        Show("play_button", false);
        Show("credits_button", false);
        Show("exit_button", false);
    } else if (clicked == "credits_close_button") {
        Show("credits_window", false);
        Show("play_button", true);
        Show("credits_button", true);
        Show("exit_button", true);
    } else if (clicked == "continue_button") {
        Show("bootup_window", false);
        Show("main_window", true);
    } else if (clicked == "play_button") {
        Show("GameGUILayer", true);
        Post(new LoadGameEvent(kGameScene));
        // With the intro on screen the world stays paused: the intro's button resumes it.
        Entity* intro = FindEntity("intro_window");
        cursor->SetVisible(true);
        if (intro == nullptr || !intro->IsVisible()) Post(new ResumeGameEvent(true));
        SetVisible(false);
    }
    return true;
}

bool CustomGuiLayer::OnFileWindow(GUIFileWindowEvent* event) {
    if (event->window_name == "file_open_scene") Post(new LoadGameEvent(event->path));
    return true;
}

void CustomGuiLayer::Render(RenderQueue*) {
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glDisable(GL_FOG);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0.0, width, height, 0.0, 1.0, 0.0);
    glMatrixMode(GL_MODELVIEW);
    // The 3D view keeps its camera in the model-view matrix: the screen starts from none.
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}
