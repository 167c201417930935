// GUI objects: positions summed up the chain once at load, visibility down the tree with
// the layers as roots, the z order that Bind assigns, and the circle's angles.

#include <gtest/gtest.h>

#include "gui/guiobject.h"
#include "guitest.h"

using namespace guitest;

namespace {

class GuiObjectTest : public GuiTest {};

}  // namespace

TEST_F(GuiObjectTest, PositionIsTheSumOfThePositionsUpTheChain) {
    Build(
        "CustomGuiLayer = { name = layer; pos = 5,7;"
        "  GUIWindow = { name = win; pos = 100,200; size = 300,100;"
        "    GUIButton = { name = b; pos = 10,-20; size = 40,20; } } }");
    auto* win = Find<GUIWindow>("win");
    auto* b = Find<GUIButton>("b");
    EXPECT_EQ(win->pos, HVector2(100, 200));
    EXPECT_EQ(win->screen_pos, HVector2(105, 207));
    EXPECT_EQ(b->screen_pos, HVector2(115, 187));
    EXPECT_EQ(b->size, HVector2(40, 20));
}

TEST_F(GuiObjectTest, ALayerWithoutParentAnswersTheLocalPoint) {
    CustomGuiLayer layer;
    layer.pos = HVector2(3, 4);
    EXPECT_EQ(layer.GetPosition(HVector2(9, 9)), HVector2(9, 9));
    Entity root;
    layer.SetParent(&root);
    EXPECT_EQ(layer.GetPosition(HVector2(9, 9)), HVector2(3, 4));  // the root adds (0, 0)
}

TEST_F(GuiObjectTest, AChildWithoutPosIsAtTheScreensOriginNotAtItsParent) {
    Build(
        "CustomGuiLayer = { name = layer;"
        "  GUIWindow = { name = win; pos = 512,384; size = 300,100;"
        "    GUIButton = { name = b; size = 40,20; } } }");
    EXPECT_EQ(Find<GUIButton>("b")->screen_pos, HVector2(0, 0));
    EXPECT_EQ(Find<GUIButton>("b")->pos, HVector2(0, 0));
}

TEST_F(GuiObjectTest, MovingAParentLaterDoesNotMoveItsChildren) {
    Build(
        "CustomGuiLayer = { name = layer;"
        "  GUIWindow = { name = win; pos = 100,100; size = 300,100;"
        "    GUIButton = { name = b; pos = 10,10; size = 40,20; } } }");
    auto* win = Find<GUIWindow>("win");
    win->pos = HVector2(500, 500);
    win->screen_pos = HVector2(500, 500);
    EXPECT_EQ(Find<GUIButton>("b")->screen_pos, HVector2(110, 110));
}

TEST_F(GuiObjectTest, VisibilityRunsDownTheTreeWithoutTouchingTheChildrensFlags) {
    Build(
        "GameGuiLayer = { name = layer;"
        "  GUIWindow = { name = win; GUIButton = { name = b; } } }");
    auto* layer = Find<GameGuiLayer>("layer");
    auto* win = Find<GUIWindow>("win");
    auto* b = Find<GUIButton>("b");
    EXPECT_TRUE(b->IsVisible());
    win->SetVisible(false);
    EXPECT_FALSE(b->IsVisible());
    EXPECT_TRUE(b->visible);
    win->SetVisible(true);
    layer->SetVisible(false);
    EXPECT_FALSE(b->IsVisible());
    EXPECT_FALSE(win->IsVisible());
    // The layer is the root of visibility: a hidden root entity above it does not count.
    layer->SetVisible(true);
    scene.SetVisible(false);
    EXPECT_TRUE(layer->IsVisible());
    EXPECT_TRUE(b->IsVisible());
}

TEST_F(GuiObjectTest, AWidgetUnderAHiddenWindowIsNotQueuedAndIgnoresInput) {
    Build(
        "CustomGuiLayer = { name = layer;"
        "  GUIWindow = { name = win; visible = 0; pos = 100,100; size = 200,200;"
        "    GUIWindow = { name = inner; pos = 0,0; size = 50,50; }"
        "    GUIButton = { name = b; pos = 0,0; size = 50,50; } } }");
    auto* inner = Find<GUIWindow>("inner");
    auto* b = Find<GUIButton>("b");
    EXPECT_TRUE(inner->visible);
    EXPECT_EQ(Queued({inner}), std::vector<std::string>{});
    InputEvent motion(Motion(), HVector2(100, 100));
    b->OnInput(&motion);
    EXPECT_FALSE(b->selected);
    Find<GUIWindow>("win")->SetVisible(true);
    EXPECT_EQ(Queued({inner}), std::vector<std::string>{"inner"});
    b->OnInput(&motion);
    EXPECT_TRUE(b->selected);
}

TEST_F(GuiObjectTest, BindNumbersTheLayersSubtreeDepthFirst) {
    Build(
        "CustomGuiLayer = { name = layer; z_index = 10;"
        "  GUIWindow = { name = a; z_index = 500;"
        "    GUIButton = { name = a1; z_index = -3; } GUIButton = { name = a2; } }"
        "  GUIWindow = { name = b; GUIButton = { name = b1; z_index = 99; } } }");
    EXPECT_EQ(Find<Entity>("layer")->z_index, 10.0f);
    EXPECT_EQ(Find<Entity>("a")->z_index, 11.0f);
    EXPECT_EQ(Find<Entity>("a1")->z_index, 12.0f);
    EXPECT_EQ(Find<Entity>("a2")->z_index, 13.0f);
    EXPECT_EQ(Find<Entity>("b")->z_index, 14.0f);
    EXPECT_EQ(Find<Entity>("b1")->z_index, 15.0f);
}

TEST_F(GuiObjectTest, TheCursorKeepsItsOwnZIndexAndHasNoParent) {
    Build(
        "CustomGuiLayer = { name = layer; z_index = 10;"
        "  GUICursor = { z_index = 777; size = 32,32; }"
        "  GUIWindow = { name = a; } }");
    auto* layer = Find<CustomGuiLayer>("layer");
    EXPECT_EQ(layer->cursor->z_index, 777.0f);
    EXPECT_EQ(layer->cursor->GetParent(), nullptr);
    EXPECT_EQ(layer->cursor->size, HVector2(32, 32));
    EXPECT_EQ(layer->children.size(), 1u);
}

TEST(AssignZOrder, SharesTheCounterAcrossTheWholeWalk) {
    Entity root, a, b, c;
    root.AddChild(&a);
    a.AddChild(&b);
    root.AddChild(&c);
    float z = 2.0f;
    AssignZOrder(&root, z, 0.5f);
    EXPECT_EQ(root.z_index, 2.0f);
    EXPECT_EQ(a.z_index, 2.5f);
    EXPECT_EQ(b.z_index, 3.0f);
    EXPECT_EQ(c.z_index, 3.5f);
    EXPECT_EQ(z, 3.5f);
    root.children.clear();
    a.children.clear();
}

TEST(CircleAngles, StepsFromZeroWhileAtMost360) {
    const std::vector<float> sixteen = CircleAngles(16);
    ASSERT_EQ(sixteen.size(), 17u);  // 0, 22.5, ..., 360 exactly
    EXPECT_EQ(sixteen.front(), 0.0f);
    EXPECT_EQ(sixteen[1], 22.5f);
    EXPECT_EQ(sixteen.back(), 360.0f);
    // 360/35 added up in float overshoots 360 by a hair: the last step is left out.
    const std::vector<float> disc = CircleAngles(35);
    float a = 0.0f;
    size_t expected = 0;
    for (; a <= 360.0f; a += 360.0f / 35.0f) ++expected;
    EXPECT_EQ(disc.size(), expected);
    EXPECT_LE(disc.back(), 360.0f);
    EXPECT_GT(disc.back(), 340.0f);
    EXPECT_TRUE(CircleAngles(0).empty());
    EXPECT_TRUE(CircleAngles(-4).empty());
}
