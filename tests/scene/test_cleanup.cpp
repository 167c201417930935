// CleanUpObjects: delete requests first, then the scene change of "game_scene".

#include "scene_fixture.h"

using namespace scenetest;

namespace {

class CleanUpTest : public SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        testing::internal::CaptureStdout();
        Build(
            "SceneManager={ Probe={ name=gui; Probe={ name=button; } }"
            " Probe={ name=game_scene; Probe={ name=old_hero; } } }");
        FlushedStdout();
        Log().clear();
    }

    // Posts between two updates and delivers, as in play.
    void Deliver(BaseEvent* event) {
        sm.Post(event);
        ASSERT_TRUE(sm.UpdateAt(1.0f));
        ASSERT_TRUE(sm.UpdateAt(2.0f));
    }
};

}  // namespace

TEST_F(CleanUpTest, DeleteAndLoadInOneFrameDeleteFirst) {
    WriteFile("scenes/next.cfo", "Probe={ name=game_scene; Probe={ name=hero; } }\n");
    sm.Post(new DeleteEntityEvent(Find("gui")));
    sm.Post(new LoadGameEvent("scenes/next.cfo"));
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    ASSERT_TRUE(sm.UpdateAt(2.0f));
    ASSERT_EQ(sm.delete_list.size(), 1u);
    EXPECT_EQ(sm.pending_scene, "scenes/next.cfo");

    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    std::string out = FlushedStdout();
    EXPECT_EQ(Joined(),
              "delete:button delete:gui "
              "unbind:game_scene unbind:old_hero unload:game_scene unload:old_hero "
              "delete:old_hero delete:game_scene "
              "load:game_scene load:hero bind:game_scene bind:hero");
    EXPECT_EQ(out, std::string(kLoadLines) + " 'Probe'\n  'Probe'\n");
    EXPECT_TRUE(sm.delete_list.empty());
    EXPECT_EQ(sm.pending_scene, "");
    Probe* new_scene = Find("game_scene");
    ASSERT_NE(new_scene, nullptr);
    EXPECT_EQ(new_scene->GetParent(), &sm);
    EXPECT_EQ(sm.children.size(), 1u);

    // The new scene is paused by a ResumeGameEvent(false) in the next round.
    ASSERT_TRUE(sm.UpdateAt(3.0f));
    ASSERT_TRUE(sm.UpdateAt(4.0f));
    ASSERT_EQ(new_scene->resumes.size(), 1u);
    EXPECT_FALSE(new_scene->resumes[0]);
}

TEST_F(CleanUpTest, OnlyGameSceneIsReplaced) {
    WriteFile("scenes/level2.cfo", "Probe={ name=game_scene; }\nProbe={ name=beside; }\n");
    Probe* gui = Find("gui");
    Deliver(new LoadGameEvent("scenes/level2.cfo"));
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    FlushedStdout();
    EXPECT_EQ(Find("gui"), gui);
    ASSERT_NE(Find("beside"), nullptr);
    std::vector<std::string> names;
    for (Entity* child : sm.children) names.push_back(child->name);
    EXPECT_EQ(names, (std::vector<std::string>{"gui", "game_scene", "beside"}));
    // Only the new "game_scene" was bound; its neighbour from the same document was not.
    EXPECT_NE(std::find(Log().begin(), Log().end(), "bind:game_scene"), Log().end());
    EXPECT_EQ(std::find(Log().begin(), Log().end(), "bind:beside"), Log().end());
}

TEST_F(CleanUpTest, ShortPathIsIgnoredAndStays) {
    Deliver(new LoadGameEvent("a.cfo"));
    EXPECT_EQ(sm.pending_scene, "a.cfo");
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    EXPECT_EQ(FlushedStdout(), "");
    EXPECT_EQ(sm.pending_scene, "a.cfo");
    EXPECT_EQ(Joined(), "");
    EXPECT_NE(Find("game_scene"), nullptr);
}

TEST_F(CleanUpTest, UnreadableSceneDestroysTheOldOneAllTheSame) {
    Deliver(new LoadGameEvent("scenes/missing.cfo"));
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    EXPECT_EQ(FlushedStdout(), std::string("CFO Document 'scenes/missing.cfo' not found\n") +
                                   kLoadLines +
                                   "SceneManager::CleanUpObjects Scene object not found\n");
    EXPECT_EQ(Find("game_scene"), nullptr);
    EXPECT_EQ(Find("old_hero"), nullptr);
    EXPECT_NE(Find("gui"), nullptr);
    EXPECT_EQ(sm.pending_scene, "");
}

TEST_F(CleanUpTest, DocumentWithoutGameSceneLeavesItsEntitiesUnbound) {
    WriteFile("scenes/empty_level.cfo", "Probe={ name=stray; }\n");
    Deliver(new LoadGameEvent("scenes/empty_level.cfo"));
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    EXPECT_EQ(FlushedStdout(), std::string(kLoadLines) + " 'Probe'\n" +
                                   "SceneManager::CleanUpObjects Scene object not found\n");
    ASSERT_NE(Find("stray"), nullptr);
    EXPECT_EQ(std::find(Log().begin(), Log().end(), "bind:stray"), Log().end());
    EXPECT_EQ(Find("stray")->event_manager, nullptr);
}

TEST_F(CleanUpTest, EntityWithoutParentIsDroppedWithAMessage) {
    Probe loose;
    loose.name = "loose";
    sm.delete_list.push_back(&loose);
    sm.delete_list.push_back(nullptr);
    sm.delete_list.push_back(&sm);
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    const std::string line = "SceneManager::CleanUpObjects entity without a parent not deleted\n";
    EXPECT_EQ(FlushedStdout(), line + line + line);
    EXPECT_TRUE(sm.delete_list.empty());
    EXPECT_EQ(Joined(), "");
    Log().clear();
}

TEST_F(CleanUpTest, RepeatedAndNestedRequestsDeleteOnce) {
    Probe* gui = Find("gui");
    Probe* button = Find("button");
    sm.Post(new DeleteEntityEvent(gui));
    sm.Post(new DeleteEntityEvent(button));
    sm.Post(new DeleteEntityEvent(gui));
    ASSERT_TRUE(sm.UpdateAt(1.0f));
    ASSERT_TRUE(sm.UpdateAt(2.0f));
    EXPECT_EQ(sm.delete_list.size(), 3u);
    sm.CleanUpObjects();
    EXPECT_EQ(Joined(), "delete:button delete:gui");
    EXPECT_TRUE(sm.delete_list.empty());
    EXPECT_EQ(Find("gui"), nullptr);
    EXPECT_EQ(Find("button"), nullptr);
}

TEST_F(CleanUpTest, DeletedEntityNoLongerReceivesEvents) {
    Probe* gui = Find("gui");
    EXPECT_EQ(sm.events.HandlerCount(), 3u * 5u);
    Deliver(new DeleteEntityEvent(gui));
    EXPECT_EQ(sm.events.HandlerCount(), 3u * 5u);  // the request alone changes nothing
    sm.CleanUpObjects();
    // The SceneManager's own, game_scene's and old_hero's: gui and button took theirs along.
    EXPECT_EQ(sm.events.HandlerCount(), 3u * 3u);
    EXPECT_EQ(Joined(), "delete:button delete:gui");
}

TEST_F(CleanUpTest, RootNamedGameSceneIsNeverReplaced) {
    sm.DestroyTree(&sm, &sm);
    sm.name = "game_scene";
    Log().clear();
    Deliver(new LoadGameEvent("scenes/missing_root.cfo"));
    testing::internal::CaptureStdout();
    sm.CleanUpObjects();
    EXPECT_EQ(FlushedStdout(), std::string("CFO Document 'scenes/missing_root.cfo' not found\n") +
                                   kLoadLines +
                                   "SceneManager::CleanUpObjects Scene object not found\n");
    EXPECT_EQ(Joined(), "");
    EXPECT_TRUE(sm.children.empty());
    EXPECT_EQ(sm.events.HandlerCount(), 3u);  // not bound a second time
    EXPECT_EQ(sm.pending_scene, "");
    sm.name.clear();
}
