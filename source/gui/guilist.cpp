#include "gui/guilist.h"

#include <GL/gl.h>

#include "cfo/cforeaders.h"
#include "platform/draw.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

// clang-format off
constexpr CfoKey kGUIListKeys[] = {
    {"image", CfoKeyType::File, "", "the list's background", nullptr, "dds,tga"},
};
// clang-format on

const CfoKeyTable GUIList::key_table{"GUIList", "a scrolling list of lines", kGUIListKeys,
                                     &gui_object_keys};

void GUIList::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    if (resources == nullptr) return;
    std::string file;
    if (node != nullptr && CfoReadString(node, CfoKeyOf(kGUIListKeys, "image"), file))
        resources->Load(image, file);
    resources->Load(scroll_up, kScrollUpFile);
    resources->Load(scroll_down, kScrollDownFile);
    resources->Load(scroll_up_selected, kScrollUpSelectedFile);
    resources->Load(scroll_down_selected, kScrollDownSelectedFile);
    resources->Load(font, kFontFile);
}

void GUIList::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events == nullptr) return;
    events->AddHandler(this, &GUIList::OnFrame);
    events->AddHandler(this, &GUIList::OnInput);
}

void GUIList::AddItem(const std::string& text) {
    items.push_back(text);
    UpdateScroll();
}

void GUIList::AddItemFront(const std::string& text) {
    items.insert(items.begin(), text);
    UpdateScroll();
}

void GUIList::Clear() {
    items.clear();
    UpdateScroll();
}

void GUIList::UpdateScroll() {
    const float content = static_cast<float>(items.size()) * kRowHeight;
    if (content > size.y)
        max_scroll = static_cast<int32_t>(content - size.y + 3.0f);
    else
        max_scroll = 0;
}

bool GUIList::HitTest(HVector2 point) const {
    const HVector2 d = point - screen_pos;
    return -size.x / 2.0f <= d.x && d.x <= size.x / 2.0f && -size.y / 2.0f <= d.y &&
           d.y <= size.y / 2.0f;
}

int32_t GUIList::ScrollButtonAt(HVector2 point) const {
    const float w = size.x, h = size.y;
    if (!(point.x > screen_pos.x + w / 2.0f - kScrollButtonSize)) return -1;
    const float top = screen_pos.y - h / 2.0f;
    if (point.y < top + kScrollButtonSize) return 1;
    if (point.y > screen_pos.y + h / 2.0f - kScrollButtonSize) return 2;
    return -1;
}

int32_t GUIList::RowAt(HVector2 point) const {
    float y = screen_pos.y - size.y / 2.0f - static_cast<float>(scroll);
    for (size_t i = 0; i < items.size(); ++i) {
        if (y < point.y && point.y < y + kRowHeight) return static_cast<int32_t>(i);
        y += kRowHeight;
    }
    return -1;
}

void GUIList::ScissorBox(int32_t real_w, int32_t real_h, int32_t virtual_w, int32_t virtual_h,
                         int32_t box[4]) const {
    // A zero virtual size would divide by zero; the box is then empty.
    if (virtual_w == 0 || virtual_h == 0) {
        box[0] = box[1] = box[2] = box[3] = 0;
        return;
    }
    const float rw = static_cast<float>(real_w), rh = static_cast<float>(real_h);
    const float vw = static_cast<float>(virtual_w), vh = static_cast<float>(virtual_h);
    const int32_t sx = static_cast<int32_t>(rw * screen_pos.x / vw);
    const int32_t sy = static_cast<int32_t>(rh * screen_pos.y / vh);
    const int32_t sw = static_cast<int32_t>(rw * size.x / vw);
    const int32_t sh = static_cast<int32_t>(rh * size.y / vh);
    box[0] = sx - sw / 2;
    box[1] = real_h - sy - sh / 2;
    box[2] = sw + 1;
    box[3] = sh + 1;
}

void GUIList::ScrollStep() {
    if (scroll_button == 2 && mouse_down) {
        scroll += 1;
        if (scroll > max_scroll) scroll = max_scroll;
    }
    if (scroll_button == 1 && mouse_down) {
        scroll -= 1;
        if (scroll < 0) scroll = 0;
    }
}

bool GUIList::OnFrame(FrameEvent* event) {
    ScrollStep();
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool GUIList::OnInput(InputEvent* event) {
    if (!IsVisible()) return true;
    const Sdl12Event& sdl = event->sdl_event;
    if (sdl.type == SDL12_MOUSEMOTION) {
        const HVector2 m = event->mouse;
        if (!HitTest(m)) {
            hovered = false;
            scroll_button = -1;
            return true;
        }
        hovered = true;
        if (m.x > screen_pos.x + size.x / 2.0f - kScrollButtonSize) {
            scroll_button = ScrollButtonAt(m);
            return true;
        }
        scroll_button = -1;
        const int32_t row = RowAt(m);
        if (row >= 0) selected = row;
    } else if (sdl.type == SDL12_MOUSEBUTTONDOWN) {
        mouse_down = true;
    } else if (sdl.type == SDL12_MOUSEBUTTONUP) {
        mouse_down = false;
        if (selected > -1 && scroll_button < 1 && hovered) {
            std::string text;
            if (selected < static_cast<int32_t>(items.size()))
                text = items[static_cast<size_t>(selected)];
            else
                selected = 0;
            auto* list_event = new GUIListEvent();
            list_event->list_name = name;
            list_event->index = selected;
            list_event->item = text;
            Post(list_event);
        }
    }
    return true;
}

void GUIList::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    glColor3f(1.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    image->Bind();
    DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    glDisable(GL_TEXTURE_2D);

    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);

    int32_t box[4];
    ScissorBox(screen_width, screen_height, virtual_width, virtual_height, box);
    glScissor(box[0], box[1], box[2], box[3]);
    glEnable(GL_SCISSOR_TEST);

    const float x = -w / 2.0f + kTextInset;
    float text_y = h / 2.0f + static_cast<float>(scroll);
    float bar_y = -h / 2.0f - static_cast<float>(scroll);
    for (size_t i = 0; i < items.size(); ++i) {
        if (static_cast<int32_t>(i) == selected) {
            glColor3f(1.0f, 1.0f, 1.0f);
            DrawQuad(-w / 2.0f, bar_y, w / 2.0f, bar_y + kBarHeight);
            glColor3f(0.0f, 0.0f, 0.0f);
        } else {
            glColor3f(1.0f, 1.0f, 1.0f);
        }
        if (font.IsValid()) font->Print(items[i], kTextScale, HVector2(x, text_y));
        text_y -= kRowHeight;
        bar_y += kRowHeight;
    }
    glDisable(GL_SCISSOR_TEST);

    if (max_scroll > 0) {
        const float b = kScrollButtonSize;
        glColor3f(1.0f, 1.0f, 1.0f);
        glEnable(GL_TEXTURE_2D);
        (scroll_button == 1 ? scroll_up_selected : scroll_up)->Bind();
        DrawQuad(w / 2.0f - b, -h / 2.0f + b, w / 2.0f, -h / 2.0f);
        (scroll_button == 2 ? scroll_down_selected : scroll_down)->Bind();
        DrawQuad(w / 2.0f - b, h / 2.0f, w / 2.0f, h / 2.0f - b);
        glDisable(GL_TEXTURE_2D);
        glColor3f(0.0f, 0.0f, 0.3f);
        DrawQuad(w / 2.0f - b, h / 2.0f - b, w / 2.0f, -h / 2.0f + b);
    }
    DrawDebugOutline(size);
    EndWidgetDraw();
}
