#pragma once
// GUIFileWindow: a small file picker over the search path. It fills the list named
// "file_list" (looked up over the whole scene at Bind) with the entries of its folder:
// "../" first, then the folders (each with "/", in reverse order of enumeration), then
// the files. Activating a folder's row enters it, "../" goes up one folder, a file's row
// chooses it; "open_file_button" then reports the choice with a GUIFileWindowEvent and
// the window hides itself, "cancel_file_button" only hides it. Folder and choice survive
// hiding: shown again, the window continues where it was.

#include <string>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/font.h"
#include "resources/resourcehandle.h"

class GUIList;

class GUIFileWindow : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIFileWindow")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUIFileWindow() = default;
    ~GUIFileWindow() override = default;

    static constexpr const char* kFontFile = "resources/fonts/tahoma.glf";
    static constexpr const char* kListName = "file_list";

    // The GUI keys, then the font.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, InputEvent, GUIListEvent, GUIEvent; then finds "file_list" and fills it.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    // Refills the list from `path`; nothing without a list.
    void Refresh();
    // The folder above `p` ("a/b/" gives "a/", "a/" and "" give ""), ending in "/".
    static std::string ParentPath(std::string p);
    // The title line: `title` + ": " + path + file, or `title` + ": .../" + file when that
    // is wider than the window in the font at scale 0.5.
    std::string TitleLine();

    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);  // registered and ignored
    bool OnListEvent(GUIListEvent* event);
    bool OnGUIEvent(GUIEvent* event);

    std::string title = "File open dialog";
    ResourceHandle<Font> font;
    GUIList* list = nullptr;  // not owned: the widget "file_list"
    std::string path;         // the folder, ending in "/" unless it is the root ("")
    std::string file;         // the chosen file in `path`; empty for none
};
