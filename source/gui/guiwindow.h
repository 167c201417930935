#pragma once
// GUIWindow: a plain panel, the parent of buttons on every screen. With an "image" it is
// that picture; without one (or when the picture fails to load) a dark blue, half
// transparent panel with a black title strip along its top and a white outline. It takes
// input only to swallow nothing: its handler does nothing.

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"

class GUIWindow : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIWindow")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUIWindow() = default;
    ~GUIWindow() override = default;

    // The GUI keys, then "image".
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, then InputEvent.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);

    ResourceHandle<TextureDDS> image;
};
