#pragma once
// GUIList: a scrolling list of text rows with a scroll bar of two buttons on its right.
// Rows are 13 units high and are drawn from the top, shifted up by `scroll`; the widget's
// rectangle clips them through a scissor box in window pixels. The pointer moves the
// selection (it stays on the last row hovered, also after the pointer has left), and
// releasing a mouse button activates the selected row with a GUIListEvent. Holding a
// button while the pointer is on a scroll button moves the list by one unit per frame.
//
// The rows' hit test, the scroll buttons' hit test, `max_scroll` and the scrolling per
// frame need no GL; only Render does.

#include <string>
#include <vector>

#include "events/eventmanager.h"
#include "events/events.h"
#include "gui/guiobject.h"
#include "resources/font.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"

class GUIList : public GUIObject, public EventListener {
    VELMORA_ENTITY_TYPE("GUIList")

    // The keys Load reads, for the level checker and the level author's guide.
    static const CfoKeyTable key_table;

public:
    GUIList() = default;
    ~GUIList() override = default;

    static constexpr float kRowHeight = 13.0f;
    static constexpr float kScrollButtonSize = 15.0f;
    static constexpr float kTextInset = 5.0f;
    static constexpr float kTextScale = 0.5f;
    static constexpr float kBarHeight = 15.0f;  // the selection bar, 2 units above a row

    static constexpr const char* kFontFile = "resources/fonts/tahoma.glf";
    static constexpr const char* kScrollUpFile = "resources/textures/gui/scroll_bar_button_up.dds";
    static constexpr const char* kScrollDownFile =
        "resources/textures/gui/scroll_bar_button_down.dds";
    static constexpr const char* kScrollUpSelectedFile =
        "resources/textures/gui/scroll_bar_button_up_s.dds";
    static constexpr const char* kScrollDownSelectedFile =
        "resources/textures/gui/scroll_bar_button_down_s.dds";

    // The GUI keys, then "image"; the four scroll bar images and the font are fixed files.
    void Load(CfoNode* node, ResourceManager* resources) override;
    // FrameEvent, then InputEvent.
    void Bind(EventManager* events, SceneManager* scene, CollisionManager* physics) override;
    void Render(RenderQueue* queue) override;

    // Append a row / insert one before the first / empty the list; each then UpdateScroll.
    void AddItem(const std::string& text);
    void AddItemFront(const std::string& text);
    void Clear();
    // `max_scroll` from the rows' height against the widget's: content - height + 3,
    // truncated, when the rows are taller; else 0. `scroll` is left alone, so after a
    // Clear it may stand above `max_scroll`.
    void UpdateScroll();

    // Inside the rectangle, edges included (the button's test).
    bool HitTest(HVector2 point) const;
    // The scroll button at `point` when it lies in the scroll column (the right 15 units,
    // whether a bar is drawn or not): 1 up, 2 down, -1 between them or outside the column.
    int32_t ScrollButtonAt(HVector2 point) const;
    // The row strictly between a row's top and bottom at `point`.y with the present scroll,
    // or -1 (also on the 13-unit boundaries between rows).
    int32_t RowAt(HVector2 point) const;
    // The scissor box of the rectangle in pixels of a `real_w` x `real_h` window showing
    // the virtual screen of `virtual_w` x `virtual_h`: x, y (from the bottom), width,
    // height, as glScissor takes them.
    void ScissorBox(int32_t real_w, int32_t real_h, int32_t virtual_w, int32_t virtual_h,
                    int32_t box[4]) const;

    // Scrolls one unit while a button is held on a scroll button, then queues the widget.
    bool OnFrame(FrameEvent* event);
    // Motion moves the hover, the scroll button and the selection; a press holds; a
    // release activates the selected row.
    bool OnInput(InputEvent* event);
    // The scrolling of one frame, without the queue.
    void ScrollStep();

    std::vector<std::string> items;
    int32_t selected = -1;       // row under the pointer, kept after it left; -1 none
    int32_t scroll_button = -1;  // 1 up, 2 down, -1 none
    int32_t scroll = 0;          // units
    int32_t max_scroll = 0;      // 0: no scroll bar
    bool mouse_down = false;
    ResourceHandle<TextureDDS> image;
    ResourceHandle<TextureDDS> scroll_up;
    ResourceHandle<TextureDDS> scroll_down;
    ResourceHandle<TextureDDS> scroll_up_selected;
    ResourceHandle<TextureDDS> scroll_down_selected;
    ResourceHandle<Font> font;
    bool hovered = false;
};
