#include "gui/guifilewindow.h"

#include <GL/gl.h>
#include <physfs.h>

#include "gui/guilist.h"
#include "platform/draw.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"

namespace {

// PhysFS's own answer on folders (what PHYSFS_isDirectory gives, through the call that
// replaced it).
bool IsDirectory(const std::string& name) {
    PHYSFS_Stat stat;
    if (PHYSFS_stat(name.c_str(), &stat) == 0) return false;
    return stat.filetype == PHYSFS_FILETYPE_DIRECTORY;
}

}  // namespace

const CfoKeyTable GUIFileWindow::key_table{
    "GUIFileWindow", "the scene picker: a list of the scene documents", {}, &gui_object_keys};

void GUIFileWindow::Load(CfoNode* node, ResourceManager* resources) {
    GUIObject::Load(node, resources);
    if (resources != nullptr) resources->Load(font, kFontFile);
}

void GUIFileWindow::Bind(EventManager* events, SceneManager*, CollisionManager*) {
    if (events != nullptr) {
        events->AddHandler(this, &GUIFileWindow::OnFrame);
        events->AddHandler(this, &GUIFileWindow::OnInput);
        events->AddHandler(this, &GUIFileWindow::OnListEvent);
        events->AddHandler(this, &GUIFileWindow::OnGUIEvent);
    }
    list = dynamic_cast<GUIList*>(FindEntity(kListName));
    Refresh();
}

void GUIFileWindow::Refresh() {
    if (list == nullptr) return;
    list->Clear();
    char** names = PHYSFS_enumerateFiles(path.c_str());
    if (names != nullptr) {
        for (char** name = names; *name != nullptr; ++name) {
            if (IsDirectory(path + *name))
                list->AddItemFront(std::string(*name) + "/");
            else
                list->AddItem(*name);
        }
        PHYSFS_freeList(names);
    }
    list->AddItemFront("../");
}

std::string GUIFileWindow::ParentPath(std::string p) {
    // An empty path has no last character to look at: its parent is itself.
    if (p.empty()) return p;
    if (p.back() == '/') p.back() = ' ';
    const size_t slash = p.rfind('/');
    if (slash == std::string::npos) return std::string();
    return p.substr(0, slash + 1);
}

std::string GUIFileWindow::TitleLine() {
    const std::string line = title + ": " + path + file;
    if (font.IsValid() && font->GetTextSize(line, 0.5f).x > size.x) return title + ": .../" + file;
    return line;
}

bool GUIFileWindow::OnFrame(FrameEvent* event) {
    if (event->scene_manager != nullptr) event->scene_manager->AddToRenderQueue(this);
    return true;
}

bool GUIFileWindow::OnInput(InputEvent*) { return true; }

bool GUIFileWindow::OnListEvent(GUIListEvent* event) {
    if (event->list_name != kListName) return true;
    if (event->index == 0) {
        file.clear();
        path = ParentPath(path);
        Refresh();
    }
    const std::string full = path + event->item;
    if (IsDirectory(full)) {
        file.clear();
        path = full;
        Refresh();
    } else if (PHYSFS_exists(full.c_str()) != 0) {
        file = event->item;
    }
    return true;
}

bool GUIFileWindow::OnGUIEvent(GUIEvent* event) {
    if (event->name == "open_file_button") {
        if (!file.empty()) {
            auto* chosen = new GUIFileWindowEvent();
            chosen->window_name = name;
            chosen->file = file;
            chosen->path = path + file;
            Post(chosen);
            SetVisible(false);
        }
    } else if (event->name == "cancel_file_button" && event->kind == 1) {
        SetVisible(false);
    }
    return true;
}

void GUIFileWindow::Render(RenderQueue*) {
    const float w = size.x, h = size.y;
    BeginWidgetDraw(screen_pos);
    glEnable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glColor4f(0.0f, 0.0f, 0.3f, 0.7f);
    DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    glColor4f(0.0f, 0.0f, 0.0f, 1.0f);
    DrawQuad(-w / 2.0f, -h / 2.0f + 15.0f, w / 2.0f, -h / 2.0f);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    glColor3f(1.0f, 1.0f, 1.0f);
    DrawQuad(-w / 2.0f, h / 2.0f, w / 2.0f, -h / 2.0f);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glColor3f(1.0f, 1.0f, 1.0f);
    if (font.IsValid()) font->Print(TitleLine(), 0.5f, HVector2(-w / 2.0f + 5.0f, h / 2.0f));
    DrawDebugOutline(size);
    EndWidgetDraw();
}
