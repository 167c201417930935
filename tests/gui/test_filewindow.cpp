// The file picker without a window, over a folder of its own mounted at "picker": the rows
// of a folder, going down and up through the list's own activations, "../" at the root,
// choosing and opening a file (once per press, again after reopening), cancelling, the
// parent of a path, and a window without its list.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "cfo/file.h"
#include "gui/guifilewindow.h"
#include "gui/guilist.h"
#include "guitest.h"
#include "support/tempfolder.h"

using namespace guitest;

namespace {

// picker/ holds two folders and two files; picker/alpha/ a folder and a file.
const std::string& PickerFolder() {
    struct Folder {
        std::string path;
        Folder() {
            std::string pattern =
                (std::filesystem::temp_directory_path() / "velmora_picker_XXXXXX").string();
            const char* made = mkdtemp(pattern.data());
            path = made ? made : "";
            const std::string text = "Scene = { }";
            for (const char* name :
                 {"alpha/one.cfo", "alpha/deep/two.cfo", "beta/three.cfo", "c.cfo", "d.cfo"})
                testsupport::WriteNativeFile(path, name, text.data(), text.size());
            FileSystemMount(path, "picker");
        }
        ~Folder() {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    };
    static Folder folder;
    return folder.path;
}

class PickerEvents : public Entity, public EventListener {
    VELMORA_ENTITY_TYPE("PickerEvents")

public:
    void Bind(EventManager* events, SceneManager*, CollisionManager*) override {
        events->AddHandler(this, &PickerEvents::OnChosen);
    }
    bool OnChosen(GUIFileWindowEvent* e) {
        log.push_back(e->window_name + " " + e->file + " " + e->path);
        return true;
    }
    std::vector<std::string> log;
};

using Rows = std::vector<std::string>;

class FileWindowTest : public GuiTest {
protected:
    void SetUp() override {
        GuiTest::SetUp();
        ASSERT_FALSE(PickerFolder().empty());
        scene.GetClasses()->Register<GUIList>();
        scene.GetClasses()->Register<GUIFileWindow>();
        scene.GetClasses()->Register<PickerEvents>();
    }
    // The picker as the menu has it: the list, then the two buttons, in a file window of
    // 400 by 300 around (512, 384); its list is 360 by 200 around (512, 369).
    void BuildPicker(bool with_list = true) {
        Build(
            "CustomGuiLayer = { name = layer;"
            "  GUIFileWindow = { name = picker_window; pos = 512,384; size = 400,300;" +
            std::string(with_list ? "    GUIList = { name = file_list; pos = 0,-15; "
                                    "size = 360,200; }"
                                  : "") +
            "    GUIButton = { name = open_file_button; pos = -100,120; size = 120,30; }"
            "    GUIButton = { name = cancel_file_button; pos = 100,120; size = 120,30; }"
            "  }"
            "  PickerEvents = { name = picker_events; } }");
        window = Find<GUIFileWindow>("picker_window");
        events = Find<PickerEvents>("picker_events");
        ASSERT_NE(window, nullptr);
        ASSERT_NE(events, nullptr);
        list = window->list;
    }
    // Moves onto the row that reads `text`, presses and releases there.
    void Activate(const std::string& text) {
        ASSERT_NE(list, nullptr);
        const auto it = std::find(list->items.begin(), list->items.end(), text);
        ASSERT_NE(it, list->items.end()) << text;
        const float row = static_cast<float>(it - list->items.begin());
        const float top = list->screen_pos.y - list->size.y / 2.0f;
        Post(new InputEvent(Motion(), HVector2(list->screen_pos.x, top + row * 13.0f + 6.0f)));
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONDOWN, 1), HVector2(0, 0)));
        Post(new InputEvent(Button(SDL12_MOUSEBUTTONUP, 1), HVector2(0, 0)));
        ASSERT_TRUE(Settle());
    }
    std::vector<std::string> Chosen() {
        EXPECT_TRUE(Settle());
        std::vector<std::string> out = events->log;
        events->log.clear();
        return out;
    }

    GUIFileWindow* window = nullptr;
    GUIList* list = nullptr;
    PickerEvents* events = nullptr;
};

}  // namespace

TEST(FileWindowParentPath, UpOneFolder) {
    EXPECT_EQ(GUIFileWindow::ParentPath(""), "");
    EXPECT_EQ(GUIFileWindow::ParentPath("a/b/"), "a/");
    EXPECT_EQ(GUIFileWindow::ParentPath("a/"), "");
    EXPECT_EQ(GUIFileWindow::ParentPath("a"), "");
    EXPECT_EQ(GUIFileWindow::ParentPath("a/b"), "a/");
    EXPECT_EQ(GUIFileWindow::ParentPath("/"), "");
    EXPECT_EQ(GUIFileWindow::ParentPath("scenes/levels/old/"), "scenes/levels/");
}

TEST_F(FileWindowTest, DefaultsAndTheListOfTheScene) {
    BuildPicker();
    EXPECT_EQ(window->GetTypeName(), "GUIFileWindow");
    EXPECT_EQ(window->title, "File open dialog");
    EXPECT_EQ(window->path, "");
    EXPECT_EQ(window->file, "");
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list, Find<GUIList>("file_list"));
    EXPECT_STREQ(GUIFileWindow::kFontFile, "resources/fonts/tahoma.glf");
    // Bind filled it from the root: "../" first, the mounted folder among the folders.
    ASSERT_FALSE(list->items.empty());
    EXPECT_EQ(list->items.front(), "../");
    EXPECT_NE(std::find(list->items.begin(), list->items.end(), "picker/"), list->items.end());
}

TEST_F(FileWindowTest, AFolderListsUpFirstThenFoldersInReverseThenFiles) {
    BuildPicker();
    Activate("picker/");
    EXPECT_EQ(window->path, "picker/");
    EXPECT_EQ(list->items, (Rows{"../", "beta/", "alpha/", "c.cfo", "d.cfo"}));
    Activate("alpha/");
    EXPECT_EQ(window->path, "picker/alpha/");
    EXPECT_EQ(list->items, (Rows{"../", "deep/", "one.cfo"}));
    Activate("deep/");
    EXPECT_EQ(window->path, "picker/alpha/deep/");
    EXPECT_EQ(list->items, (Rows{"../", "two.cfo"}));
}

TEST_F(FileWindowTest, UpGoesToTheParentAndClearsTheChoice) {
    BuildPicker();
    Activate("picker/");
    Activate("alpha/");
    Activate("one.cfo");
    EXPECT_EQ(window->file, "one.cfo");
    Activate("../");
    EXPECT_EQ(window->path, "picker/");
    EXPECT_EQ(window->file, "");
    EXPECT_EQ(list->items, (Rows{"../", "beta/", "alpha/", "c.cfo", "d.cfo"}));
}

TEST_F(FileWindowTest, UpAtTheRootRebuildsTheSameList) {
    BuildPicker();
    const Rows before = list->items;
    Activate("../");
    EXPECT_EQ(window->path, "");
    EXPECT_EQ(list->items, before);
}

TEST_F(FileWindowTest, ChoosingAFileKeepsTheFolderAndItsRows) {
    BuildPicker();
    Activate("picker/");
    Activate("c.cfo");
    EXPECT_EQ(window->path, "picker/");
    EXPECT_EQ(window->file, "c.cfo");
    EXPECT_EQ(list->items, (Rows{"../", "beta/", "alpha/", "c.cfo", "d.cfo"}));
    Activate("d.cfo");
    EXPECT_EQ(window->file, "d.cfo");
}

TEST_F(FileWindowTest, OpenPostsTheChoiceOnceAndHidesTheWindowAndAgainAfterReopening) {
    BuildPicker();
    Activate("picker/");
    Activate("c.cfo");
    ASSERT_TRUE(ClickAt(412, 504));  // "open_file_button"
    EXPECT_EQ(Chosen(), std::vector<std::string>{"picker_window c.cfo picker/c.cfo"});
    EXPECT_FALSE(window->IsVisible());
    EXPECT_FALSE(list->IsVisible());
    // Hidden, its buttons take no click.
    ASSERT_TRUE(ClickAt(412, 504));
    EXPECT_TRUE(Chosen().empty());
    // Shown again: the same folder and the same choice.
    window->SetVisible(true);
    EXPECT_EQ(window->path, "picker/");
    EXPECT_EQ(window->file, "c.cfo");
    ASSERT_TRUE(ClickAt(412, 504));
    EXPECT_EQ(Chosen(), std::vector<std::string>{"picker_window c.cfo picker/c.cfo"});
}

TEST_F(FileWindowTest, OpenWithoutAChoiceDoesNothing) {
    BuildPicker();
    Activate("picker/");
    ASSERT_TRUE(ClickAt(412, 504));
    EXPECT_TRUE(Chosen().empty());
    EXPECT_TRUE(window->IsVisible());
}

TEST_F(FileWindowTest, OpenTakesAnyKindAndCancelOnlyAClick) {
    BuildPicker();
    window->file = "c.cfo";
    window->path = "picker/";
    Post(new GUIEvent(2, "cancel_file_button"));
    ASSERT_TRUE(Settle());
    EXPECT_TRUE(window->IsVisible());
    Post(new GUIEvent(3, "open_file_button"));
    EXPECT_EQ(Chosen(), std::vector<std::string>{"picker_window c.cfo picker/c.cfo"});
    EXPECT_FALSE(window->IsVisible());
    window->SetVisible(true);
    ASSERT_TRUE(ClickAt(612, 504));  // "cancel_file_button"
    EXPECT_FALSE(window->IsVisible());
    EXPECT_TRUE(Chosen().empty());
}

TEST_F(FileWindowTest, AnotherListsEventsAreNotTheWindows) {
    BuildPicker();
    auto* other = new GUIListEvent();
    other->list_name = "names";
    other->index = 1;
    other->item = "picker/";
    Post(other);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(window->path, "");
}

TEST_F(FileWindowTest, AnUnreadableFolderListsOnlyUp) {
    BuildPicker();
    window->path = "picker/missing/";
    window->Refresh();
    EXPECT_EQ(list->items, Rows{"../"});
}

TEST_F(FileWindowTest, WithoutItsListTheWindowIsATitleBarAlone) {
    BuildPicker(false);
    EXPECT_EQ(window->list, nullptr);
    window->Refresh();  // nothing to fill
    auto* up = new GUIListEvent();
    up->list_name = "file_list";
    up->index = 0;
    up->item = "../";
    Post(up);
    ASSERT_TRUE(Settle());
    EXPECT_EQ(window->path, "");
    // Without a font the title is never measured, so it stays whole.
    window->path = "picker/alpha/deep/";
    window->file = "two.cfo";
    EXPECT_EQ(window->TitleLine(), "File open dialog: picker/alpha/deep/two.cfo");
}

TEST_F(FileWindowTest, TheWindowIsQueuedEachFrameWhileVisible) {
    BuildPicker();
    scene.render_queue.Clear();
    FrameEvent frame(0.02f, now, &scene, nullptr);
    window->OnFrame(&frame);
    ASSERT_EQ(scene.render_queue.entities.size(), 1u);
    EXPECT_EQ(scene.render_queue.entities.front(), window);
}

TEST(FileWindowWithoutNode, LoadWithoutANodeKeepsTheDefaults) {
    GUIFileWindow window;
    window.Load(nullptr, nullptr);
    EXPECT_EQ(window.title, "File open dialog");
    EXPECT_EQ(window.path, "");
}

TEST_F(FileWindowTest, TwoWindowsShareTheFirstList) {
    Build(
        "CustomGuiLayer = { name = layer;"
        "  GUIFileWindow = { name = first; pos = 200,200; size = 300,300;"
        "    GUIList = { name = file_list; pos = 0,0; size = 280,200; } }"
        "  GUIFileWindow = { name = second; pos = 700,200; size = 300,300;"
        "    GUIList = { name = file_list; pos = 0,0; size = 280,200; } } }");
    auto* first = Find<GUIFileWindow>("first");
    auto* second = Find<GUIFileWindow>("second");
    ASSERT_NE(first->list, nullptr);
    EXPECT_EQ(second->list, first->list);
    EXPECT_EQ(first->list->GetParent(), first);
}
