#include "gui/guibutton.h"

#include <GL/gl.h>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

// clang-format off
constexpr CfoKey kGUIButtonKeys[] = {
    {"image_selected", CfoKeyType::File, "", "the picture under the pointer", nullptr, "dds,tga"},
    {"image_normal", CfoKeyType::File, "", "the picture otherwise", nullptr, "dds,tga"},
    {"font_size", CfoKeyType::Float, "0.6", "size of the caption"},
    {"text", CfoKeyType::String, "", "the caption"},
};
// clang-format on

const CfoKeyTable GUIButton::key_table{"GUIButton", "a button; a click sends its name",
                                       kGUIButtonKeys, &gui_object_keys};

void GUIButton::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    // Without a node the button still takes its font.
    std::string file;
    if (node != nullptr && resources != nullptr &&
        CfoReadString(node, CfoKeyOf(kGUIButtonKeys, "image_selected"), file))
        resources->Load(image_selected, file);
    if (node != nullptr && resources != nullptr &&
        CfoReadString(node, CfoKeyOf(kGUIButtonKeys, "image_normal"), file))
        resources->Load(image_normal, file);
    if (node != nullptr) CfoReadFloat(node, CfoKeyOf(kGUIButtonKeys, "font_size"), font_size);
    if (resources != nullptr) resources->Load(font, kFontFile);
    if (node != nullptr) CfoReadString(node, CfoKeyOf(kGUIButtonKeys, "text"), text);
}

void GUIButton::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events == nullptr) return;
    events->AddHandler(this, &GUIButton::OnFrame);
    events->AddHandler(this, &GUIButton::OnInput);
    events->AddHandler(this, &GUIButton::OnCollision);
}

bool GUIButton::HitTest(HVector2 point) const {
    const HVector2 d = point - screen_pos;
    return -size.x / 2.0f <= d.x && d.x <= size.x / 2.0f && -size.y / 2.0f <= d.y &&
           d.y <= size.y / 2.0f;
}

bool GUIButton::OnFrame(FrameEvent* event) {
    if (image_selected.IsValid() && image_normal.IsValid() && event->scene_manager != nullptr)
        event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool GUIButton::OnInput(InputEvent* event) {
    if (!IsVisible()) return true;
    const Sdl12Event& sdl = event->sdl_event;
    if (sdl.type == SDL12_MOUSEMOTION) {
        selected = HitTest(event->mouse);
    } else if (sdl.type == SDL12_MOUSEBUTTONDOWN && sdl.button.button == 1 && selected) {
        Post(new GUIEvent(1, name));
    }
    return true;
}

bool GUIButton::OnCollision(CollisionEvent<PhysicsStaticGeometry>*) { return true; }

void GUIButton::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    glEnable(GL_BLEND);
    glColor3f(1.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    (selected ? image_selected : image_normal)->Bind();
    DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    if (!text.empty() && font.IsValid()) font->PrintCentred(text, font_size, HVector2(0, 0));
    glDisable(GL_TEXTURE_2D);
    DrawDebugOutline(size);
    glDisable(GL_BLEND);
    EndWidgetDraw();
}
