#pragma once
// GameGuiLayer: the in-game layer ("GameGUILayer"). It draws the heads-up display (the run
// and health bars with their labels), the fading messages of the game's objects and the
// mini map; and it runs the intro and the pause screen: "intro_window" is first the intro,
// left by its "exit_intro_button" (follow camera, pointer hidden, world running), and
// afterwards escape shows and hides the same window as the pause screen, whose
// "exit_level_button" leads back to the menu.
//
// What it draws comes only through events: HUDEvent from the Player, GameGUIMessageEvent
// from doors, switches, enemies and items, and MiniMapObjectEvent from everything on the
// map, sent anew each frame (the map list is emptied after each drawing, so a paused
// sender disappears). The senders' classes are told apart by their type ids, which the
// layer asks the class registry for by name in Bind.

#include <cstdint>
#include <list>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/gamemessages.h"
#include "gui/guiobject.h"
#include "gui/minimap.h"
#include "resources/font.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"

class GameGuiLayer : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GameGuiLayer")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GameGuiLayer() = default;
    ~GameGuiLayer() override = default;

    // The font and the five map textures, then the GUI keys.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, InputEvent, GUIEvent, GameGUIMessageEvent, HUDEvent, MiniMapObjectEvent;
    // the z order of the subtree; the type ids of "Player", "EnemyPoliceDude" and "Item"
    // from the scene's class registry.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    // The 2D state, the bars and labels, the messages, then the mini map.
    void Render(RenderQueue* queue) override;
    // The own flag alone: layers are the roots of visibility.
    bool IsVisible() override;

    bool OnFrame(FrameEvent* event);
    // Escape: pause screen in and out, once the intro is over and while the menu is hidden.
    bool OnInput(InputEvent* event);
    // "exit_intro_button" and "exit_level_button".
    bool OnGUIEvent(GUIEvent* event);
    bool OnMessage(GameGUIMessageEvent* event);
    bool OnHUD(HUDEvent* event);
    bool OnMiniMapObject(MiniMapObjectEvent* event);

    // The labels' text: "Run: " or "Hlth: " and the value rounded up, as a stream writes a
    // float (75 gives "75").
    static std::string Label(const char* prefix, float value);

    ResourceHandle<Font> font;
    ResourceHandle<TextureDDS> minimap_texture;
    ResourceHandle<TextureDDS> health_icon;
    ResourceHandle<TextureDDS> enemy_icon;
    ResourceHandle<TextureDDS> target_icon;
    ResourceHandle<TextureDDS> arrow_icon;
    int32_t width = 0;  // the virtual screen, refreshed each frame
    int32_t height = 0;
    HVector2 player_pos;  // the hero on the map
    float player_angle = 0.0f;
    float run = 100.0f;    // first HUD value
    float health = 75.0f;  // second HUD value
    std::list<GameMessage> messages;
    float fade_in = 0.5f;
    float fade_gap = 0.3f;  // kept, read by nothing
    float fade_out = 0.7f;
    // This frame's announcements; emptied after each drawing, its room kept for the next.
    std::vector<MiniMapObject> map_objects;
    bool in_intro = true;
    float time = 0.0f;  // the frame's time

    // Type ids of the senders; 0 until Bind finds their classes.
    uint32_t player_type = 0;
    uint32_t enemy_type = 0;
    uint32_t item_type = 0;

    // A sender that posts without the layer ever drawing (a hidden layer draws nothing)
    // cannot grow the map list past this.
    static constexpr size_t kMaxMapObjects = 4096;

private:
    void DrawMessages();
    void DrawMiniMap();
};
