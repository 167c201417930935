#include "gui/guiwindow.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <string>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

// clang-format off
constexpr CfoKey kGUIWindowKeys[] = {
    {"image", CfoKeyType::File, "", "the window's background", nullptr, "dds,tga"},
};
// clang-format on

const CfoKeyTable GUIWindow::key_table{"GUIWindow", "a window that holds other widgets",
                                       kGUIWindowKeys, &gui_object_keys};

void GUIWindow::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    std::string file;
    if (node != nullptr && resources != nullptr &&
        CfoReadString(node, CfoKeyOf(kGUIWindowKeys, "image"), file))
        resources->Load(image, file);
}

void GUIWindow::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events == nullptr) return;
    events->AddHandler(this, &GUIWindow::OnFrame);
    events->AddHandler(this, &GUIWindow::OnInput);
}

bool GUIWindow::OnFrame(FrameEvent* event) {
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool GUIWindow::OnInput(InputEvent*) { return true; }

void GUIWindow::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    if (!image.IsValid()) {
        glDisable(GL_TEXTURE_2D);
        glColor4f(0.0f, 0.0f, 0.3f, 0.7f);
        DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
        SetTextureClamp(true);
        glColor4f(0.0f, 0.0f, 0.0f, 1.0f);
        DrawQuad(-w / 2.0f, -h / 2.0f + 15.0f, w / 2.0f, -h / 2.0f);
        glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
        glColor3f(1.0f, 1.0f, 1.0f);
        DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    } else {
        glColor3f(1.0f, 1.0f, 1.0f);
        glEnable(GL_BLEND);
        glEnable(GL_TEXTURE_2D);
        image->Bind();
        SetTextureClamp(true);
        DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
        glDisable(GL_TEXTURE_2D);
    }
    SetTextureClamp(false);
    DrawDebugOutline(size);
    EndWidgetDraw();
}
