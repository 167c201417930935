// Buttons: the hit test with its edges, the click on pressing with the selection of the last
// motion, the right button, double clicks, hidden buttons and nameless ones; all through the
// real event queue.

#include <gtest/gtest.h>

#include "guitest.h"

using namespace guitest;

namespace {

class ButtonTest : public GuiTest {
protected:
    void BuildButtons(const std::string& extra = "") {
        Build(
            "CustomGuiLayer = { name = layer;"
            "  GUIWindow = { name = win; pos = 200,100; size = 400,300;"
            "    GUIButton = { name = ok; pos = 0,0; size = 100,40; text = OK; font_size = 0;"
            "    } " +
            extra + " } }");
    }
};

}  // namespace

TEST_F(ButtonTest, KeysAndDefaults) {
    BuildButtons();
    auto* ok = Find<GUIButton>("ok");
    EXPECT_EQ(ok->text, "OK");
    EXPECT_EQ(ok->font_size, 0.0f);
    EXPECT_FALSE(ok->selected);
    GUIButton plain;
    EXPECT_EQ(plain.font_size, 0.6f);
    EXPECT_EQ(plain.GetTypeName(), "GUIButton");
    EXPECT_EQ(std::string(GUIButton::kFontFile), "resources/fonts/arial.glf");
}

TEST_F(ButtonTest, HitTestCountsTheEdgesAsInside) {
    BuildButtons();
    auto* ok = Find<GUIButton>("ok");
    ASSERT_EQ(ok->screen_pos, HVector2(200, 100));
    EXPECT_TRUE(ok->HitTest(HVector2(250, 120)));  // right bottom corner
    EXPECT_TRUE(ok->HitTest(HVector2(150, 80)));   // left top corner
    EXPECT_TRUE(ok->HitTest(HVector2(250, 100)));  // right edge
    EXPECT_TRUE(ok->HitTest(HVector2(200, 120)));  // bottom edge
    EXPECT_FALSE(ok->HitTest(HVector2(250.01f, 100)));
    EXPECT_FALSE(ok->HitTest(HVector2(200, 120.01f)));
    EXPECT_FALSE(ok->HitTest(HVector2(149.99f, 100)));
}

TEST_F(ButtonTest, AClickExactlyOnTheRightBottomCornerIsAClick) {
    BuildButtons();
    ASSERT_TRUE(ClickAt(250, 120));
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'ok'"});
}

TEST_F(ButtonTest, TheClickFiresOnPressWithTheSelectionOfTheLastMotion) {
    BuildButtons();
    // Inside at the last motion: the press fires, wherever it is reported.
    Post(new InputEvent(Motion(), HVector2(200, 100)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(900, 700)));
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'ok'"});
    // Releasing fires nothing.
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONUP, 1), HVector2(200, 100)));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Log().empty());
    // Outside at the last motion: a press reported inside does nothing.
    Post(new InputEvent(Motion(), HVector2(10, 10)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(200, 100)));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Log().empty());
}

TEST_F(ButtonTest, TheRightButtonDoesNothing) {
    BuildButtons();
    Post(new InputEvent(Motion(), HVector2(200, 100)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 3), HVector2(0, 0)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 2), HVector2(0, 0)));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(Find<GUIButton>("ok")->selected);
}

TEST_F(ButtonTest, ADoubleClickPostsTwoEvents) {
    BuildButtons();
    Post(new InputEvent(Motion(), HVector2(200, 100)));
    for (int i = 0; i < 2; ++i) {
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0)));
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONUP, 1), HVector2(0, 0)));
    }
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'ok'", "gui 1 'ok'"}));
}

TEST_F(ButtonTest, TwoOverlappingButtonsBothTakeTheSameClick) {
    BuildButtons("GUIButton = { name = under; pos = 20,0; size = 100,40; }");
    ASSERT_TRUE(ClickAt(230, 100));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'ok'", "gui 1 'under'"}));
}

TEST_F(ButtonTest, AButtonInAHiddenWindowIgnoresInputAndKeepsItsSelection) {
    BuildButtons();
    auto* ok = Find<GUIButton>("ok");
    Post(new InputEvent(Motion(), HVector2(200, 100)));
    ASSERT_TRUE(Settle());
    ASSERT_TRUE(ok->selected);
    Find<GUIWindow>("win")->SetVisible(false);
    Post(new InputEvent(Motion(), HVector2(10, 10)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0)));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(ok->selected);  // not cleared by the motion it never saw
    // Shown again, it is still selected: a press fires before any new motion.
    Find<GUIWindow>("win")->SetVisible(true);
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0)));
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'ok'"});
}

TEST_F(ButtonTest, AButtonWithoutBothImagesIsNotQueuedButClickable) {
    BuildButtons();
    auto* ok = Find<GUIButton>("ok");
    EXPECT_FALSE(ok->image_normal.IsValid());
    EXPECT_EQ(Queued({ok}), std::vector<std::string>{});
    ASSERT_TRUE(ClickAt(200, 100));
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'ok'"});
}

TEST_F(ButtonTest, ANamelessButtonPostsAnEmptyNameThatNoScreenRuleTakes) {
    Build(
        "CustomGuiLayer = { name = MainGUILayer;"
        "  GUIWindow = { name = main_window; pos = 200,100; size = 400,300;"
        "    GUIButton = { pos = 0,0; size = 100,40; } } }");
    ASSERT_TRUE(ClickAt(200, 100));
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 ''"});
    EXPECT_TRUE(Find<CustomGuiLayer>("MainGUILayer")->IsVisible());
    EXPECT_TRUE(Find<GUIWindow>("main_window")->IsVisible());
}

TEST_F(ButtonTest, CollisionEventsAreTakenAndIgnored) {
    BuildButtons();
    CollisionEvent<PhysicsStaticGeometry> hit;
    EXPECT_TRUE(Find<GUIButton>("ok")->OnCollision(&hit));
}

TEST(GuiWidgets, ANullNodeLeavesTheDefaults) {
    GUIButton button;
    button.Load(nullptr, nullptr);
    EXPECT_EQ(button.font_size, 0.6f);
    EXPECT_TRUE(button.text.empty());
    GUIWindow window;
    window.Load(nullptr, nullptr);
    EXPECT_FALSE(window.image.IsValid());
    CustomGuiLayer layer;
    layer.Load(nullptr, nullptr);
    GameGuiLayer game;
    game.Load(nullptr, nullptr);
    EXPECT_EQ(game.screen_pos, HVector2(0, 0));
}
