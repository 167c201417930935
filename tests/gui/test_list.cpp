// The scrolling list without a window: its scroll range, the hover of rows and of the two
// scroll buttons, the selection that stays, activation on release (and when it posts
// nothing), scrolling while a button is held, and the scissor box in window pixels; all
// through the real event queue.

#include <gtest/gtest.h>

#include "gui/guilist.h"
#include "guitest.h"

using namespace guitest;

namespace {

class ListEvents : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("ListEvents")

public:
    void Bind(EventManager* events, SceneManager*, CollisionManager*) override {
        events->AddHandler(this, &ListEvents::OnList);
    }
    bool OnList(GUIListEvent* e) {
        log.push_back(e->list_name + " " + std::to_string(e->index) + " '" + e->item + "'");
        return true;
    }
    std::vector<std::string> log;
};

// A list of 300 by 200 around (512, 384): rows start at y 284, the scroll column is x > 647.
class ListTest : public GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        scene.GetClasses()->Register<GUIList>();
        scene.GetClasses()->Register<ListEvents>();
    }
    void BuildList(int rows, const std::string& window_keys = "") {
        Build(
            "CustomGuiLayer = { name = layer;"
            "  GUIWindow = { name = win; pos = 512,384; size = 400,300; " +
            window_keys +
            "    GUIList = { name = names; pos = 0,0; size = 300,200; } }"
            "  ListEvents = { name = events; } }");
        list = Find<GUIList>("names");
        events = Find<ListEvents>("events");
        ASSERT_NE(list, nullptr);
        ASSERT_NE(events, nullptr);
        for (int i = 0; i < rows; ++i) list->AddItem("row " + std::to_string(i));
    }
    void Move(float x, float y) { Post(new InputEvent(Motion(), HVector2(x, y))); }
    void Press() { Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0))); }
    void Release(uint8_t button = 1) {
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONUP, button), HVector2(0, 0)));
    }
    std::vector<std::string> Posted() {
        EXPECT_TRUE(Settle());
        std::vector<std::string> out = events->log;
        events->log.clear();
        return out;
    }
    void Frame() {
        FrameEvent frame(0.02f, now, &scene, nullptr);
        list->OnFrame(&frame);
    }

    GUIList* list = nullptr;
    ListEvents* events = nullptr;
};

}  // namespace

TEST_F(ListTest, DefaultsAndFixedFiles) {
    GUIList plain;
    EXPECT_EQ(plain.GetTypeName(), "GUIList");
    EXPECT_EQ(plain.selected, -1);
    EXPECT_EQ(plain.scroll_button, -1);
    EXPECT_EQ(plain.scroll, 0);
    EXPECT_EQ(plain.max_scroll, 0);
    EXPECT_FALSE(plain.mouse_down);
    EXPECT_FALSE(plain.hovered);
    EXPECT_STREQ(GUIList::kFontFile, "resources/fonts/tahoma.glf");
    EXPECT_STREQ(GUIList::kScrollUpFile, "resources/textures/gui/scroll_bar_button_up.dds");
    EXPECT_STREQ(GUIList::kScrollDownSelectedFile,
                 "resources/textures/gui/scroll_bar_button_down_s.dds");
}

TEST_F(ListTest, FortyRowsInAHeightOf200ScrollBy323) {
    BuildList(40);
    // 40 x 13 = 520 units of rows in 200: 520 - 200 + 3.
    EXPECT_EQ(list->max_scroll, 323);
}

TEST_F(ListTest, AShortListHasNoScrollBarButItsColumnTakesHover) {
    BuildList(15);  // 195 units in 200
    EXPECT_EQ(list->max_scroll, 0);
    Move(655, 290);  // in the column, within 15 of the top
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(list->hovered);
    EXPECT_EQ(list->scroll_button, 1);
    Move(655, 480);  // within 15 of the bottom
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->scroll_button, 2);
    Move(655, 384);  // between them
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->scroll_button, -1);
    EXPECT_EQ(list->selected, -1);  // the column never selects a row
}

TEST_F(ListTest, RowsAddedInFrontAndClearedKeepTheScroll) {
    BuildList(20);  // 260 in 200: 63
    EXPECT_EQ(list->max_scroll, 63);
    list->AddItemFront("first");
    EXPECT_EQ(list->items.front(), "first");
    EXPECT_EQ(list->max_scroll, 76);
    list->scroll = 50;
    list->Clear();
    EXPECT_TRUE(list->items.empty());
    EXPECT_EQ(list->max_scroll, 0);
    EXPECT_EQ(list->scroll, 50);  // above the range until something scrolls
}

TEST_F(ListTest, HoverSelectsTheRowStrictlyInside) {
    BuildList(5);
    Move(512, 284 + 2 * 13 + 6);  // inside row 2
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->selected, 2);
    EXPECT_EQ(list->RowAt(HVector2(512, 284 + 3 * 13)), -1);  // the border of rows 2 and 3
    Move(512, 284 + 3 * 13);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->selected, 2);  // unchanged on a border
    Move(512, 284 + 13 * 6);       // below the last row, inside the widget
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->selected, 2);
    list->scroll = 10;
    EXPECT_EQ(list->RowAt(HVector2(512, 275)), 0);  // row 0 now runs from 274 to 287
    EXPECT_EQ(list->RowAt(HVector2(512, 288)), 1);
}

TEST_F(ListTest, ReleasingActivatesTheSelectedRow) {
    BuildList(5);
    Move(512, 284 + 13 + 6);
    Press();
    EXPECT_TRUE(Posted().empty());  // pressing alone does nothing
    EXPECT_TRUE(list->mouse_down);
    Release(3);  // any button
    EXPECT_EQ(Posted(), std::vector<std::string>{"names 1 'row 1'"});
    EXPECT_FALSE(list->mouse_down);
}

TEST_F(ListTest, ReleasingOnTheUpButtonActivatesNothing) {
    BuildList(40);
    Move(512, 290);  // row 0
    Move(655, 290);  // then the up button: the selection stays
    Press();
    Release();
    EXPECT_TRUE(Posted().empty());
    EXPECT_EQ(list->selected, 0);
    EXPECT_EQ(list->scroll_button, 1);
}

TEST_F(ListTest, ReleasingWithoutASelectionPostsNothing) {
    BuildList(5);
    Move(512, 470);  // inside, under the rows
    Press();
    Release();
    EXPECT_TRUE(Posted().empty());
    EXPECT_EQ(list->selected, -1);
}

TEST_F(ListTest, TheSelectionStaysAfterThePointerLeftButReleasingOutsideIsNoActivation) {
    BuildList(5);
    Move(512, 284 + 4 * 13 + 6);
    Move(100, 100);  // outside
    ASSERT_TRUE(Settle());
    EXPECT_EQ(list->selected, 4);
    EXPECT_FALSE(list->hovered);
    EXPECT_EQ(list->scroll_button, -1);
    Press();
    Release();
    EXPECT_TRUE(Posted().empty());
}

TEST_F(ListTest, ASelectionBeyondTheRowsActivatesRowZeroWithAnEmptyText) {
    BuildList(5);
    Move(512, 284 + 3 * 13 + 6);
    ASSERT_TRUE(Settle());
    list->Clear();
    list->AddItem("only");
    Press();
    Release();
    EXPECT_EQ(Posted(), std::vector<std::string>{"names 0 ''"});
    EXPECT_EQ(list->selected, 0);
}

TEST_F(ListTest, AHiddenListIgnoresInput) {
    BuildList(5, "visible = 0;");
    Move(512, 290);
    Press();
    Release();
    EXPECT_TRUE(Posted().empty());
    EXPECT_EQ(list->selected, -1);
    EXPECT_FALSE(list->hovered);
    EXPECT_FALSE(list->mouse_down);
}

TEST_F(ListTest, HoldingAScrollButtonMovesOneUnitPerFrameWithinTheRange) {
    BuildList(17);  // 221 in 200: 24
    ASSERT_EQ(list->max_scroll, 24);
    Frame();
    EXPECT_EQ(list->scroll, 0);
    Move(655, 480);  // down button
    Press();
    ASSERT_TRUE(Settle());
    for (int i = 0; i < 3; ++i) Frame();
    EXPECT_EQ(list->scroll, 3);
    for (int i = 0; i < 40; ++i) Frame();
    EXPECT_EQ(list->scroll, 24);
    Move(655, 290);  // up button, still held
    ASSERT_TRUE(Settle());
    Frame();
    EXPECT_EQ(list->scroll, 23);
    for (int i = 0; i < 40; ++i) Frame();
    EXPECT_EQ(list->scroll, 0);
    Release();
    ASSERT_TRUE(Settle());
    Move(655, 480);
    ASSERT_TRUE(Settle());
    Frame();
    EXPECT_EQ(list->scroll, 0);  // nothing held
}

TEST_F(ListTest, AScrollAboveTheRangeComesBackOnTheFirstHeldFrame) {
    BuildList(17);
    list->scroll = 50;
    list->scroll_button = 2;
    list->mouse_down = true;
    list->ScrollStep();
    EXPECT_EQ(list->scroll, 24);
}

TEST_F(ListTest, TheListIsQueuedEachFrameWhileVisible) {
    BuildList(2);
    scene.render_queue.Clear();
    Frame();
    ASSERT_EQ(scene.render_queue.entities.size(), 1u);
    EXPECT_EQ(scene.render_queue.entities.front(), list);
    scene.render_queue.Clear();
    Find<GUIWindow>("win")->SetVisible(false);
    Frame();
    EXPECT_TRUE(scene.render_queue.entities.empty());
}

TEST_F(ListTest, TheScissorBoxInWindowPixels) {
    BuildList(1);
    int32_t box[4];
    list->ScissorBox(1024, 768, 1024, 768, box);
    EXPECT_EQ((std::vector<int32_t>{box[0], box[1], box[2], box[3]}),
              (std::vector<int32_t>{362, 284, 301, 201}));
    // 1280 x 1024: sx 640, sy 512, sw 375, sh 266 (266.67 truncated).
    list->ScissorBox(1280, 1024, 1024, 768, box);
    EXPECT_EQ((std::vector<int32_t>{box[0], box[1], box[2], box[3]}),
              (std::vector<int32_t>{453, 379, 376, 267}));
    list->ScissorBox(1280, 1024, 0, 768, box);
    EXPECT_EQ((std::vector<int32_t>{box[0], box[1], box[2], box[3]}),
              (std::vector<int32_t>{0, 0, 0, 0}));
}

TEST(ListWithoutNode, LoadWithoutANodeKeepsTheDefaults) {
    GUIList list;
    list.Load(nullptr, nullptr);
    EXPECT_EQ(list.size, HVector2(0, 0));
    EXPECT_FALSE(list.image.IsValid());
}
