#include "gui/guiimage.h"

#include <GL/gl.h>

#include <string>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

// clang-format off
constexpr CfoKey kGUIImageKeys[] = {
    {"image", CfoKeyType::File, "", "the picture", nullptr, "dds,tga"},
};
// clang-format on

const CfoKeyTable GUIImage::key_table{"GUIImage", "a picture panel", kGUIImageKeys,
                                      &gui_object_keys};

void GUIImage::Load(CfoNode* node, ResourceManager* resources) {
    DrawLoadingScreen("Buffering video...", true);
    DrawLoadingScreen("Loading...", true);
    GUIObject::Load(node, resources);
    std::string file;
    if (node != nullptr && resources != nullptr &&
        CfoReadString(node, CfoKeyOf(kGUIImageKeys, "image"), file))
        resources->Load(image, file);
}

void GUIImage::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events != nullptr) events->AddHandler(this, &GUIImage::OnFrame);
}

bool GUIImage::OnFrame(FrameEvent* event) {
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

void GUIImage::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    glColor3f(1.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    SetTextureClamp(true);
    video.Draw(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    SetTextureClamp(false);
    DrawDebugOutline(size);
    EndWidgetDraw();
}
