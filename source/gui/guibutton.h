#pragma once
// GUIButton: a clickable image with a label, and the only basic widget that produces
// events. A click is a press of the left button while the pointer stood inside the
// rectangle at the last motion: the press itself is not located, and it fires on pressing,
// not on releasing. It posts a GUIEvent of kind 1 with the button's name; the layers'
// screen logic does the rest by that name.
//
// A button without both images is never drawn, yet still clickable while visible. Its
// `selected` flag survives hiding: a button hidden under the pointer and shown again stays
// selected until the next motion.

#include <string>

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/font.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"

class GUIButton : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIButton")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUIButton() = default;
    ~GUIButton() override = default;

    // The GUI keys, then "image_selected", "image_normal", "font_size", the font
    // "resources/fonts/arial.glf" and "text", each key only when present.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, InputEvent and CollisionEvent<PhysicsStaticGeometry>, in this order.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    // Inside the rectangle around `screen_pos`, edges included.
    bool HitTest(HVector2 point) const;

    // Queued only with both images.
    bool OnFrame(FrameEvent* event);
    bool OnInput(InputEvent* event);
    // Registered and ignored.
    bool OnCollision(CollisionEvent<PhysicsStaticGeometry>* event);

    bool selected = false;
    ResourceHandle<TextureDDS> image_selected;
    ResourceHandle<TextureDDS> image_normal;
    ResourceHandle<Font> font;
    std::string text;
    float font_size = 0.6f;

    static constexpr const char* kFontFile = "resources/fonts/arial.glf";
};
