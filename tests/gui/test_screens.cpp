// The game's screens by widget names, through the real event queue: boot, main menu,
// credits, play with and without the intro, the developer's panel, the scene picker's
// choice, exit; then the in-game layer's intro, pause screen and way back to the menu.

#include <gtest/gtest.h>

#include "guitest.h"

using namespace guitest;

namespace {

// The menu and the in-game layer with every name of the screens, without any picture.
const char* kScreens =
    "CustomGuiLayer = { name = MainGUILayer; z_index = 200;"
    "  GUICursor = { size = 32,32; z_index = 10000; }"
    "  GUIWindow = { name = bootup_window; pos = 512,384; size = 768,768;"
    "    GUIButton = { name = continue_button; pos = 0,326; size = 240,60; } }"
    "  GUIWindow = { name = main_window; visible = 0; pos = 512,384; size = 768,768;"
    "    GUIButton = { name = play_button; pos = 0,-40; size = 272,68; }"
    "    GUIButton = { name = credits_button; pos = 0,50; size = 272,68; }"
    "    GUIButton = { name = exit_button; pos = 0,140; size = 272,68; }"
    "    GUIButton = { name = load_scene_button; pos = -382,344; size = 200,50; }"
    "    GUIButton = { name = open_editor_button; pos = 382,344; size = 200,50; } }"
    "  GUIWindow = { name = credits_window; visible = 0; pos = 512,449; size = 478,448;"
    "    GUIButton = { name = credits_close_button; pos = 0,172; size = 200,50; } }"
    "  GUIWindow = { name = editor_window; visible = 0; pos = 894,560; size = 220,190;"
    "    GUIButton = { name = delete_button; pos = 0,-35; size = 180,45; }"
    "    GUIButton = { name = load_button; pos = 0,35; size = 180,45; } }"
    "  GUIWindow = { name = file_open_scene; visible = 0; pos = 512,384; size = 400,300; }"
    "}"
    "GameGuiLayer = { name = GameGUILayer; visible = 0; z_index = 100;"
    "  GUIWindow = { name = intro_window; pos = 512,340; size = 640,320;"
    "    GUIButton = { name = exit_intro_button; pos = -130,100; size = 224,56; }"
    "    GUIButton = { name = exit_level_button; pos = 130,100; size = 224,56; } } }";

class ScreensTest : public GuiTest {
protected:
    void BuildScreens(const std::string& extra = "") { Build(std::string(kScreens) + extra); }
    bool Shown(const std::string& name) { return Find<Entity>(name)->IsVisible(); }
    CustomGuiLayer* Menu() { return Find<CustomGuiLayer>("MainGUILayer"); }
    GameGuiLayer* Game() { return Find<GameGuiLayer>("GameGUILayer"); }
    bool PressEscape() {
        Post(new InputEvent(KeyDown(27)));
        return Settle();
    }
    // Boot, continue, play: the intro on screen.
    void ToIntro() {
        ASSERT_TRUE(ClickAt(512, 710));
        ASSERT_TRUE(ClickAt(512, 344));
        Log();
    }
};

}  // namespace

TEST_F(ScreensTest, BootShowsOnlyTheBootWindow) {
    BuildScreens();
    EXPECT_TRUE(Shown("bootup_window"));
    EXPECT_TRUE(Shown("continue_button"));
    EXPECT_FALSE(Shown("main_window"));
    EXPECT_FALSE(Shown("play_button"));
    EXPECT_FALSE(Shown("GameGUILayer"));
    EXPECT_TRUE(Menu()->cursor->IsVisible());
}

TEST_F(ScreensTest, ContinueSwapsTheBootWindowForTheMainMenu) {
    BuildScreens();
    ASSERT_TRUE(ClickAt(512, 710));
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'continue_button'"});
    EXPECT_FALSE(Shown("bootup_window"));
    EXPECT_TRUE(Shown("main_window"));
    EXPECT_TRUE(Shown("play_button"));
    EXPECT_TRUE(Shown("exit_button"));
}

TEST_F(ScreensTest, CreditsHideTheMainButtonsAndCloseShowsThemAgain) {
    BuildScreens();
    ASSERT_TRUE(ClickAt(512, 710));
    ASSERT_TRUE(ClickAt(512, 434));
    EXPECT_TRUE(Shown("credits_window"));
    EXPECT_FALSE(Shown("play_button"));
    EXPECT_FALSE(Shown("credits_button"));
    EXPECT_FALSE(Shown("exit_button"));
    EXPECT_TRUE(Shown("load_scene_button"));  // the tools in the corners stay
    ASSERT_TRUE(ClickAt(512, 621));
    EXPECT_FALSE(Shown("credits_window"));
    EXPECT_TRUE(Shown("play_button"));
    EXPECT_TRUE(Shown("credits_button"));
    EXPECT_TRUE(Shown("exit_button"));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'continue_button'", "gui 1 'credits_button'",
                                               "gui 1 'credits_close_button'"}));
}

TEST_F(ScreensTest, PlayWithTheIntroShownLoadsTheLevelAndKeepsTheWorldPaused) {
    BuildScreens();
    ASSERT_TRUE(ClickAt(512, 710));
    Log();
    ASSERT_TRUE(ClickAt(512, 344));
    EXPECT_EQ(Log(),
              (std::vector<std::string>{"gui 1 'play_button'", "load scenes/enemy_test.cfo"}));
    EXPECT_TRUE(Shown("GameGUILayer"));
    EXPECT_TRUE(Shown("intro_window"));
    EXPECT_FALSE(Shown("MainGUILayer"));
    EXPECT_TRUE(Menu()->cursor->IsVisible());
    EXPECT_EQ(scene.pending_scene, "scenes/enemy_test.cfo");
}

TEST_F(ScreensTest, PlayWithoutAnIntroResumesTheWorld) {
    BuildScreens();
    Find<Entity>("intro_window")->SetVisible(false);
    ASSERT_TRUE(ClickAt(512, 710));
    Log();
    ASSERT_TRUE(ClickAt(512, 344));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'play_button'", "load scenes/enemy_test.cfo",
                                               "resume"}));
    EXPECT_FALSE(Shown("MainGUILayer"));
}

TEST_F(ScreensTest, ExitEndsTheMainLoop) {
    BuildScreens();
    ASSERT_TRUE(ClickAt(512, 710));
    Post(new InputEvent(Motion(), HVector2(512, 524)));
    Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1)));
    EXPECT_FALSE(Settle());  // the click reaches the menu layer, which answers false
}

TEST_F(ScreensTest, OtherClicksLetTheLoopGoOn) {
    BuildScreens();
    for (const char* name : {"credits_button", "credits_close_button", "unknown", ""})
        Post(new GUIEvent(1, name));
    EXPECT_TRUE(Settle());
}

TEST_F(ScreensTest, TheDevelopersPanelFlipsAndItsButtonsWork) {
    BuildScreens("Entity = { name = main_player; }");
    ASSERT_TRUE(ClickAt(512, 710));
    ASSERT_TRUE(ClickAt(894, 728));
    EXPECT_TRUE(Shown("editor_window"));
    Log();
    ASSERT_TRUE(ClickAt(894, 525));  // delete
    // "Entity" names no registered class here, so the player is looked for and not found.
    EXPECT_EQ(Log(), std::vector<std::string>{"gui 1 'delete_button'"});
    ASSERT_TRUE(ClickAt(894, 595));  // load: hides the menu layer
    EXPECT_FALSE(Shown("MainGUILayer"));
    Menu()->SetVisible(true);
    ASSERT_TRUE(ClickAt(894, 728));
    EXPECT_FALSE(Shown("editor_window"));
}

TEST_F(ScreensTest, DeleteTakesTheHeroOutWhenThereIsOne) {
    BuildScreens("Recorder = { name = main_player; }");
    ASSERT_TRUE(ClickAt(512, 710));
    ASSERT_TRUE(ClickAt(894, 728));
    Log();
    ASSERT_TRUE(ClickAt(894, 525));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'delete_button'", "delete main_player"}));
}

TEST_F(ScreensTest, LoadSceneOpensThePickerAndItsChoiceLoadsTheScene) {
    BuildScreens();
    ASSERT_TRUE(ClickAt(512, 710));
    ASSERT_TRUE(ClickAt(130, 728));
    EXPECT_TRUE(Shown("file_open_scene"));
    Log();
    auto* chosen = new GUIFileWindowEvent();
    chosen->window_name = "file_open_scene";
    chosen->file = "test_yard.cfo";
    chosen->path = "scenes/test_yard.cfo";
    Post(chosen);
    auto* other = new GUIFileWindowEvent();
    other->window_name = "another_picker";
    other->path = "scenes/other.cfo";
    Post(other);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Log(), std::vector<std::string>{"load scenes/test_yard.cfo"});
    EXPECT_TRUE(Shown("MainGUILayer"));
}

TEST_F(ScreensTest, MissingNamesSkipOnlyTheirOwnSteps) {
    Build("CustomGuiLayer = { name = MainGUILayer; }");
    for (const char* name : {"continue_button", "credits_button", "credits_close_button",
                             "open_editor_button", "load_scene_button", "delete_button"})
        Post(new GUIEvent(1, name));
    ASSERT_TRUE(Settle());
    Post(new GUIEvent(1, "play_button"));
    ASSERT_TRUE(Settle());
    // No intro to wait for: the world resumes.
    EXPECT_EQ(Log().back(), "resume");
    EXPECT_FALSE(Find<CustomGuiLayer>("MainGUILayer")->IsVisible());
}

TEST_F(ScreensTest, TheCursorFollowsMotionAndGuiEventsShowOrHideIt) {
    BuildScreens();
    Post(new InputEvent(Motion(), HVector2(300, 200)));
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Menu()->cursor->pos, HVector2(300, 200));
    EXPECT_EQ(Menu()->cursor->screen_pos, HVector2(0, 0));
    Post(new GUIEvent(2, ""));
    ASSERT_TRUE(Settle());
    EXPECT_FALSE(Menu()->cursor->IsVisible());
    Post(new GUIEvent(3, ""));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Menu()->cursor->IsVisible());
}

TEST_F(ScreensTest, AHiddenMenuLayerGoesOnQueueingItsCursor) {
    BuildScreens();
    Menu()->SetVisible(false);
    EXPECT_EQ(Queued({Menu()}), std::vector<std::string>{""});
    Menu()->cursor->SetVisible(false);
    EXPECT_TRUE(Queued({Menu()}).empty());
    Menu()->SetVisible(true);
    Menu()->cursor->SetVisible(true);
    EXPECT_EQ(Queued({Menu()}), (std::vector<std::string>{"MainGUILayer", ""}));
}

TEST_F(ScreensTest, TheLayersTakeTheVirtualScreenWhateverTheWindow) {
    BuildScreens();
    screen_width = 800;
    screen_height = 600;
    Game()->SetVisible(true);
    Queued({Menu(), Game()});
    EXPECT_EQ(Menu()->width, 1024);
    EXPECT_EQ(Menu()->height, 768);
    EXPECT_EQ(Game()->width, 1024);
    EXPECT_EQ(Game()->height, 768);
}

TEST_F(ScreensTest, ExitIntroStartsThePlayWithTheFollowCamera) {
    BuildScreens();
    ToIntro();
    EXPECT_TRUE(Game()->in_intro);
    ASSERT_TRUE(ClickAt(382, 440));
    // Delivered by handler: the recorder's GUIEvent handler, then its resume and camera ones.
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'exit_intro_button'", "gui 2 ''", "resume",
                                               "camera 2"}));
    EXPECT_FALSE(Game()->in_intro);
    EXPECT_FALSE(Shown("intro_window"));
    EXPECT_FALSE(Menu()->cursor->IsVisible());
    EXPECT_TRUE(Shown("GameGUILayer"));
}

TEST_F(ScreensTest, ExitIntroWithoutAnIntroWindowStillResumes) {
    Build("GameGuiLayer = { name = GameGUILayer; }");
    Post(new GUIEvent(1, "exit_intro_button"));
    ASSERT_TRUE(Settle());
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'exit_intro_button'", "resume"}));
    EXPECT_FALSE(Find<GameGuiLayer>("GameGUILayer")->in_intro);
}

TEST_F(ScreensTest, EscapeDoesNothingDuringTheIntroOrWhileTheMenuIsShown) {
    BuildScreens();
    ASSERT_TRUE(PressEscape());  // the menu is shown
    EXPECT_TRUE(Shown("MainGUILayer"));
    EXPECT_TRUE(Log().empty());
    ToIntro();
    ASSERT_TRUE(PressEscape());  // the intro cannot be left by escape
    EXPECT_TRUE(Shown("intro_window"));
    EXPECT_TRUE(Log().empty());
    // After the intro, a visible menu still has priority.
    ASSERT_TRUE(ClickAt(382, 440));
    Log();
    Menu()->SetVisible(true);
    ASSERT_TRUE(PressEscape());
    EXPECT_FALSE(Shown("intro_window"));
    EXPECT_TRUE(Log().empty());
}

TEST_F(ScreensTest, EscapePausesAndResumesThroughTheIntroWindow) {
    BuildScreens();
    ToIntro();
    ASSERT_TRUE(ClickAt(382, 440));
    Log();
    ASSERT_TRUE(PressEscape());
    EXPECT_TRUE(Shown("intro_window"));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 3 ''", "pause"}));
    EXPECT_TRUE(Menu()->cursor->IsVisible());
    ASSERT_TRUE(PressEscape());
    EXPECT_FALSE(Shown("intro_window"));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 2 ''", "resume"}));
    EXPECT_FALSE(Menu()->cursor->IsVisible());
    // Other keys do nothing.
    Post(new InputEvent(KeyDown(119)));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(Log().empty());
}

TEST_F(ScreensTest, ExitLevelFromThePauseScreenLeadsBackToTheMenu) {
    BuildScreens();
    ToIntro();
    ASSERT_TRUE(ClickAt(382, 440));
    ASSERT_TRUE(PressEscape());
    Log();
    ASSERT_TRUE(ClickAt(642, 440));
    EXPECT_EQ(Log(), (std::vector<std::string>{"gui 1 'exit_level_button'", "pause"}));
    EXPECT_FALSE(Shown("GameGUILayer"));
    EXPECT_TRUE(Shown("MainGUILayer"));
    EXPECT_TRUE(Shown("main_window"));
    EXPECT_FALSE(Shown("bootup_window"));
    // Play again: the pause screen is the intro again, and its button resumes.
    ASSERT_TRUE(ClickAt(512, 344));
    EXPECT_TRUE(Shown("GameGUILayer"));
    EXPECT_TRUE(Shown("intro_window"));
    EXPECT_FALSE(Game()->in_intro);
}
