// LoadTree with includes, BindTree, UnbindTree and DestroyTree.

#include "scene_fixture.h"

using namespace scenetest;

namespace {

std::vector<std::string> ChildNames(Entity* e) {
    std::vector<std::string> names;
    for (Entity* child : e->children) names.push_back(child->name);
    return names;
}

}  // namespace

TEST_F(SceneTest, TypeNameAndRegistration) {
    EXPECT_EQ(sm.GetTypeName(), "SceneManager");
    EXPECT_EQ(sm.GetTypeId(), SceneManager::type_id);
    Entity* made = sm.GetClasses()->Create("SceneManager");
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->GetTypeName(), "SceneManager");
    delete made;
}

TEST_F(SceneTest, RequireIsATextualIncludeWithIndentedLines) {
    WriteFile("inc_tree.cfo", "r_debug=1;\nProbe={ name=i; }\n");
    testing::internal::CaptureStdout();
    Build(
        "SceneManager={ Probe={ name=a; Probe={ name=b; } } require=inc_tree.cfo; Probe={ name=c; "
        "} }",
        false);
    std::string out = FlushedStdout();
    EXPECT_EQ(out, std::string(kLoadLines) + " 'Probe'\n  'Probe'\n" + kLoadLines +
                       " 'Probe'\n 'Probe'\n");
    EXPECT_TRUE(r_debug);  // the include's top-level keys went to the SceneManager
    EXPECT_EQ(ChildNames(&sm), (std::vector<std::string>{"a", "i", "c"}));
    EXPECT_EQ(ChildNames(Find("a")), (std::vector<std::string>{"b"}));
    EXPECT_EQ(Find("b")->GetParent(), Find("a"));
    EXPECT_EQ(Find("i")->GetParent(), &sm);
    EXPECT_EQ(Joined(), "load:a load:b load:i load:c");
}

TEST_F(SceneTest, MissingIncludeGivesAnEmptyDocument) {
    testing::internal::CaptureStdout();
    Build("SceneManager={ require=absent_inc.cfo; Probe={ name=after; } }", false);
    std::string out = FlushedStdout();
    EXPECT_EQ(out, std::string(kLoadLines) + "CFO Document 'absent_inc.cfo' not found\n" +
                       kLoadLines + " 'Probe'\n");
    EXPECT_EQ(ChildNames(&sm), (std::vector<std::string>{"after"}));
}

TEST_F(SceneTest, SelfRequiringDocumentIsIncludedOnce) {
    WriteFile("self.cfo", "require=self.cfo;\nProbe={ name=s; }\n");
    testing::internal::CaptureStdout();
    Build("SceneManager={ require=self.cfo; }", false);
    std::string out = FlushedStdout();
    EXPECT_EQ(out,
              std::string(kLoadLines) + kLoadLines +
                  "SceneManager::LoadTree 'self.cfo' requires itself, include skipped\n 'Probe'\n");
    EXPECT_EQ(ChildNames(&sm), (std::vector<std::string>{"s"}));
}

TEST_F(SceneTest, IncludeChainIsCappedAtThirtyTwoLevels) {
    for (int i = 0; i < 40; ++i)
        WriteFile("chain" + std::to_string(i) + ".cfo", "Probe={ name=p" + std::to_string(i) +
                                                            "; }\nrequire=chain" +
                                                            std::to_string(i + 1) + ".cfo;\n");
    testing::internal::CaptureStdout();
    Build("SceneManager={ require=chain0.cfo; }", false);
    std::string out = FlushedStdout();
    EXPECT_NE(
        out.find("SceneManager::LoadTree includes nested deeper than 32, 'chain32.cfo' skipped\n"),
        std::string::npos);
    EXPECT_EQ(sm.children.size(), 32u);
    EXPECT_NE(Find("p31"), nullptr);
    EXPECT_EQ(Find("p32"), nullptr);
}

TEST_F(SceneTest, DeepClassNestingIsCapped) {
    std::string text = "SceneManager={";
    for (int i = 0; i < 300; ++i) text += "Probe={";
    for (int i = 0; i < 300; ++i) text += "}";
    text += "}";
    testing::internal::CaptureStdout();
    Build(text, false);
    std::string out = FlushedStdout();
    EXPECT_NE(out.find("SceneManager::LoadTree 'Probe' nested deeper than 256 levels, skipped\n"),
              std::string::npos);
    int depth = 0;
    for (Entity* e = &sm; !e->children.empty(); e = e->children.front()) ++depth;
    EXPECT_EQ(depth, 256);
}

TEST_F(SceneTest, UnknownNamesAreData) {
    testing::internal::CaptureStdout();
    Build("SceneManager={ Lamp={ name=x; } Probe={ name=p; } }", false);
    FlushedStdout();
    EXPECT_EQ(ChildNames(&sm), (std::vector<std::string>{"p"}));
}

TEST_F(SceneTest, BindTreeRunsParentsBeforeChildren) {
    testing::internal::CaptureStdout();
    Build("SceneManager={ Probe={ name=a; Probe={ name=b; } } Probe={ name=c; } }", false);
    FlushedStdout();
    Log().clear();
    sm.BindTree(&sm);
    EXPECT_EQ(Joined(), "bind:a bind:b bind:c");
    EXPECT_EQ(sm.events.HandlerCount(), 3u + 9u);  // own three, then three per probe
    Log().clear();
    sm.UnbindTree(&sm);
    EXPECT_EQ(Joined(), "unbind:a unbind:b unbind:c");
}

TEST_F(SceneTest, DestroyTreeUnloadsAndDeletesDepthFirst) {
    testing::internal::CaptureStdout();
    Build("SceneManager={ Probe={ name=a; Probe={ name=b; } } Probe={ name=c; } }");
    FlushedStdout();
    Log().clear();
    sm.DestroyTree(&sm, &sm);
    EXPECT_EQ(Joined(), "unload:a unload:b delete:b delete:a unload:c delete:c");
    EXPECT_TRUE(sm.children.empty());
    EXPECT_EQ(sm.events.HandlerCount(), 3u);  // the probes took their handlers with them
}
