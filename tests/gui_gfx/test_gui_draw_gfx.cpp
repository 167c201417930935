// The GUI drawn under Xvfb with the committed art and fonts: buttons in their two looks and
// with a label of size 0, the plain panel, the pointer's hot spot, the debug outline, the
// HUD bars past their ends, the messages, and the mini map's disc, icons and rim arrows.
// The window is half the virtual screen: one pixel for two units.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gui/customguilayer.h"
#include "gui/gameguilayer.h"
#include "gui/guibutton.h"
#include "gui/guiwindow.h"
#include "platform/settings.h"
#include "resources/font.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "support/glcontext.h"
#include "support/virtualpixels.h"

namespace {

constexpr int kWidth = 512;
constexpr int kHeight = 384;

VELMORA_GL_TEST_CONTEXT("gui", kWidth, kHeight);

using Pixel = virtualpixels::Pixel;

class GuiDraw : public testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        virtual_width = 1024;
        virtual_height = 768;
        screen_width = kWidth;
        screen_height = kHeight;
        ASSERT_TRUE(FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data"));
        resources.RegisterType<TextureDDS>("dds");
        resources.RegisterType<Font>("glf");
        // The window's first frame: until it has been shown once the drawable may still be
        // empty, and the first picture would be lost.
        static bool shown = false;
        for (int i = 0; !shown && i < 100; ++i) {
            SDL_PumpEvents();
            SDL_GL_SwapWindow(gl_test_context->window());
            glViewport(0, 0, kWidth, kHeight);
            glClearColor(0.0f, 1.0f, 0.0f, 1.0f);
            glClear(GL_COLOR_BUFFER_BIT);
            shown = At(512, 384)[1] == 255;
            if (!shown) SDL_Delay(20);
        }
        ASSERT_TRUE(shown) << "the window never showed a cleared picture";
        glViewport(0, 0, kWidth, kHeight);
        Clear();
        layer.width = 1024;
        layer.height = 768;
        layer.SetParent(&root);  // the root answers (0, 0), as the SceneManager does
    }
    void TearDown() override { r_debug = false; }
    void Clear() {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    // The pixel at virtual (x, y).
    Pixel At(float x, float y) { return virtualpixels::At(kWidth, kHeight, x, y); }
    // Every pixel of a virtual box.
    std::vector<Pixel> Box(float x0, float y0, float x1, float y1) {
        return virtualpixels::Box(kWidth, kHeight, x0, y0, x1, y1, 2.0f);
    }
    template <class Test>
    float Fraction(const std::vector<Pixel>& pixels, Test test) {
        return virtualpixels::Fraction(pixels, test);
    }
    template <class T>
    T* Make(const std::string& text) {
        docs.push_back(std::make_unique<CfoDocument>());
        EXPECT_TRUE(docs.back()->Parse(text));
        auto* widget = new T();
        owned.emplace_back(widget);
        widget->SetParent(&layer);
        widget->Load(docs.back()->FindChild(widget->GetTypeName()), &resources);
        return widget;
    }

    ResourceManager resources;
    Entity root;
    CustomGuiLayer layer;
    std::vector<std::unique_ptr<CfoDocument>> docs;
    std::vector<std::unique_ptr<Entity>> owned;
};

bool Gold(const Pixel& p) { return p[0] > 180 && p[1] > 120 && p[2] < 110; }
bool Navy(const Pixel& p) { return p[2] > 60 && p[0] < 40 && p[1] < 40; }
bool White(const Pixel& p) { return p[0] > 230 && p[1] > 230 && p[2] > 230; }
bool Black(const Pixel& p) { return p[0] < 8 && p[1] < 8 && p[2] < 8; }

const char* kPlay =
    "GUIButton = { name = play; pos = 512,384; size = 272,68;"
    " image_normal = \"resources/textures/gui/buttons/play.dds\";"
    " image_selected = \"resources/textures/gui/buttons/play_s.dds\"; }";

}  // namespace

TEST_F(GuiDraw, AButtonShowsItsNormalAndItsSelectedArtAtItsPlace) {
    auto* play = Make<GUIButton>(kPlay);
    ASSERT_TRUE(play->image_normal.IsValid());
    layer.Render(nullptr);
    play->Render(nullptr);
    const std::vector<Pixel> normal = Box(380, 352, 644, 416);
    EXPECT_GT(Fraction(normal, Navy), 0.5f);
    EXPECT_LT(Fraction(normal, Gold), 0.01f);
    EXPECT_TRUE(Black(At(370, 384)));  // nothing beyond its rectangle
    EXPECT_TRUE(Black(At(512, 340)));
    Clear();
    play->selected = true;
    layer.Render(nullptr);
    play->Render(nullptr);
    EXPECT_GT(Fraction(Box(380, 352, 644, 416), Gold), 0.03f);
}

TEST_F(GuiDraw, ALabelOfSizeZeroDrawsNothingVisible) {
    auto* plain = Make<GUIButton>(kPlay);
    auto* labelled =
        Make<GUIButton>(std::string(kPlay).replace(13, 0, " text = Hello; font_size = 0;"));
    ASSERT_EQ(labelled->text, "Hello");
    ASSERT_TRUE(labelled->font.IsValid());
    // The layer sets linear filtering on whatever texture is bound: a first pass leaves the
    // button's texture bound, so that both shots below filter it alike.
    layer.Render(nullptr);
    plain->Render(nullptr);
    Clear();
    layer.Render(nullptr);
    plain->Render(nullptr);
    const std::vector<Pixel> without = Box(380, 352, 644, 416);
    Clear();
    layer.Render(nullptr);
    labelled->Render(nullptr);
    EXPECT_EQ(Box(380, 352, 644, 416), without);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    // A visible size does draw.
    Clear();
    labelled->font_size = 0.6f;
    layer.Render(nullptr);
    labelled->Render(nullptr);
    EXPECT_NE(Box(380, 352, 644, 416), without);
}

TEST_F(GuiDraw, AWindowWithoutImageIsThePlainPanel) {
    auto* panel = Make<GUIWindow>("GUIWindow = { pos = 512,384; size = 400,300; }");
    layer.Render(nullptr);
    panel->Render(nullptr);
    const Pixel body = At(512, 400);
    EXPECT_LE(body[0], 2);
    EXPECT_LE(body[1], 2);
    EXPECT_NEAR(body[2], 54, 3);       // 0.3 blue at alpha 0.7 over black
    EXPECT_TRUE(Black(At(512, 244)));  // the title strip along the top edge
    EXPECT_TRUE(Black(At(512, 230)));  // above the panel
    // The white outline along the left edge.
    bool outline = false;
    for (float x = 308; x <= 316; x += 2) outline = outline || White(At(x, 400));
    EXPECT_TRUE(outline);
}

TEST_F(GuiDraw, ThePointersHotSpotIsItsTopLeftCorner) {
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("CustomGuiLayer = { GUICursor = { image = \"resources/textures/gui/cursor.dds\";"
                  " size = 64,64; } }"));
    layer.Load(doc.FindChild("CustomGuiLayer"), &resources);
    layer.cursor->pos = HVector2(400, 300);
    layer.Render(nullptr);
    layer.cursor->Render(nullptr);
    EXPECT_TRUE(Black(At(396, 320)));  // left of the hot spot
    EXPECT_TRUE(Black(At(420, 296)));  // above it
    EXPECT_GT(Fraction(Box(400, 300, 440, 340), White), 0.1f);
}

TEST_F(GuiDraw, TheDebugOutlineIsYellow) {
    auto* panel = Make<GUIWindow>(
        "GUIWindow = { pos = 512,384; size = 400,300; "
        "image = \"resources/textures/gui/windows/intro.dds\"; }");
    r_debug = true;
    layer.Render(nullptr);
    panel->Render(nullptr);
    bool yellow = false;
    for (float x = 306; x <= 318; x += 2) {
        const Pixel p = At(x, 384);
        yellow = yellow || (p[0] > 200 && p[1] > 200 && p[2] < 60);
    }
    EXPECT_TRUE(yellow);
}

namespace {

class HudDraw : public GuiDraw {
protected:
    void SetUp() override {
        GuiDraw::SetUp();
        hud.Load(nullptr, &resources);
        ASSERT_TRUE(hud.minimap_texture.IsValid());
        ASSERT_TRUE(hud.font.IsValid());
        hud.width = 1024;
        hud.height = 768;
        hud.enemy_type = 7;
        hud.item_type = 8;
    }
    void Draw() {
        Clear();
        hud.Render(nullptr);
    }
    static bool Green(const Pixel& p) { return p[1] > 150 && p[0] < 40 && p[2] < 40; }
    static bool Red(const Pixel& p) { return p[0] > 150 && p[1] < 40 && p[2] < 40; }
    static bool Yellow(const Pixel& p) { return p[0] > 230 && p[1] > 230 && p[2] < 40; }
    GameGuiLayer hud;
};

}  // namespace

TEST_F(HudDraw, TheBarsShowTheirValuesOverTheirBackgrounds) {
    hud.run = 50.0f;
    hud.health = 25.0f;
    Draw();
    EXPECT_TRUE(Green(At(50, 27)));    // run: green to 18 + 50
    EXPECT_TRUE(Yellow(At(100, 27)));  // then its yellow ground to 118
    EXPECT_TRUE(Black(At(124, 27)));
    EXPECT_TRUE(Red(At(30, 50)));  // health: red to 18 + 25
    const Pixel pink = At(90, 50);
    EXPECT_GT(pink[0], 230);
    EXPECT_NEAR(pink[1], 128, 4);
}

TEST_F(HudDraw, ARunAboveAHundredRunsPastItsGroundAndANegativeOneToTheLeft) {
    hud.run = 150.0f;
    Draw();
    EXPECT_TRUE(Green(At(150, 27)));  // 18 + 150 = 168 > 118
    EXPECT_TRUE(Black(At(172, 27)));
    hud.run = -10.0f;
    Draw();
    EXPECT_TRUE(Green(At(12, 27)));   // from 18 back to 8
    EXPECT_TRUE(Yellow(At(60, 27)));  // the ground alone to its right
    EXPECT_TRUE(Black(At(4, 27)));
}

TEST_F(HudDraw, AMessageStandsCentredLowInWhiteAndAnEmptyOneDrawsNothing) {
    hud.time = 10.0f;
    hud.messages.push_back(GameMessage{"", 0.0f, 9.8f});
    Draw();
    const std::vector<Pixel> none = Box(300, 620, 724, 660);
    EXPECT_EQ(Fraction(none, White), 0.0f);
    hud.messages.clear();
    hud.messages.push_back(GameMessage{"The yard door swings open", 2.0f, 9.0f});  // holding
    Draw();
    EXPECT_GT(Fraction(Box(300, 620, 724, 660), White), 0.02f);
    EXPECT_EQ(Fraction(Box(0, 620, 250, 660), White), 0.0f);  // centred, not at the left
}

TEST_F(HudDraw, TheMiniMapDrawsItsDiscAndEnemiesInWhiteWhateverTheirState) {
    hud.player_pos = HVector2(40, -1250);
    hud.player_angle = 90.0f;
    Draw();
    const Pixel inside = At(910 - 60, 108);
    EXPECT_FALSE(Black(inside));             // the map's ground on the disc
    EXPECT_TRUE(Black(At(910 - 110, 108)));  // nothing outside it
    // An alert enemy (kind 2) close by: its icon in its own colours, not tinted red.
    MiniMapObject enemy;
    enemy.x = 40.0f;
    enemy.y = -1250.0f + 150.0f;
    enemy.size = 30.0f;
    enemy.type_id = 7;
    enemy.kind = 2;
    hud.map_objects.push_back(enemy);
    Draw();
    EXPECT_TRUE(hud.map_objects.empty());  // emptied once drawn
    Draw();
    // Drawn without a new announcement: the icon is gone again.
    const std::vector<Pixel> without = Box(870, 60, 950, 160);
    hud.map_objects.push_back(enemy);
    Draw();
    const std::vector<Pixel> with = Box(870, 60, 950, 160);
    EXPECT_NE(with, without);
    // The enemy icon's white rim is there: no red tint on it.
    EXPECT_GT(Fraction(with, White), Fraction(without, White));
}

TEST_F(HudDraw, FarObjectsGetAYellowArrowOnTheRim) {
    hud.player_pos = HVector2(0, 0);
    hud.player_angle = 90.0f;
    Draw();
    const std::vector<Pixel> rim_without = Box(815, 60, 1010, 160);
    MiniMapObject item;
    item.x = 5000.0f;  // far east
    item.size = 30.0f;
    item.type_id = 8;
    item.kind = 1;
    hud.map_objects.push_back(item);
    Draw();
    const std::vector<Pixel> rim_with = Box(815, 60, 1010, 160);
    auto arrow_yellow = [](const Pixel& p) { return p[0] > 200 && p[1] > 170 && p[2] < 80; };
    EXPECT_GT(Fraction(rim_with, arrow_yellow), Fraction(rim_without, arrow_yellow));
}
