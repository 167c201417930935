#pragma once
// CustomGuiLayer: the menu layer ("MainGUILayer" in the start-up documents). It sets up
// the 2D drawing state for its widgets, owns the menu's pointer (a GUICursor outside the
// children list) and runs the menu's screen logic by widget names: boot screen, main menu,
// credits, the developer panel and the scene picker, and "play", which shows the in-game
// layer, loads the level and hides the menu.
//
// Names are looked up in the whole tree at the moment of use; a name that is missing
// skips only its own step. "exit_button" is the one click whose handler answers false,
// which ends the main loop.

#include <cstdint>

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guicursor.h"
#include "gui/guiobject.h"

class CustomGuiLayer : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("CustomGuiLayer")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    CustomGuiLayer();
    ~CustomGuiLayer() override;

    // The GUI keys, then the "GUICursor" child into the cursor.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, InputEvent, GUIEvent, GUIFileWindowEvent; then the z order of the
    // subtree from the layer's own "z_index", in steps of 1.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // The 2D state: linear filtering of the bound texture, no fog, an orthographic
    // projection over the virtual screen, no depth test, alpha blending.
    void Render(RenderQueue* queue) override;
    // The own flag alone: layers are the roots of visibility.
    bool IsVisible() override;

    // Queues the layer, then the cursor (which is queued also while the layer is hidden).
    bool OnFrame(FrameEvent* event);
    // Mouse motion moves the cursor.
    bool OnInput(InputEvent* event);
    // The screen logic; false only for "exit_button".
    bool OnGUIEvent(GUIEvent* event);
    // The scene picker's choice loads that scene.
    bool OnFileWindow(GUIFileWindowEvent* event);

    // The scene "play_button" starts.
    static constexpr const char* kGameScene = "scenes/enemy_test.cfo";

    int32_t width = 0;  // the virtual screen, refreshed each frame
    int32_t height = 0;
    HVector2 origin;              // stays (0, 0)
    GUICursor* cursor = nullptr;  // owned; made by the constructor

private:
    // Shows or hides the entity named `name`, when there is one.
    void Show(const char* widget_name, bool show);
};
