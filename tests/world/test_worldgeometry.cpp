// WorldGeometry without a window: the keys Load reads (the builder step, the collision
// children, the entity keys), the null node, Bind's registrations, the frame handler and
// the F8 statistics. Loading a tree ("file") and drawing need GL: tests/world_gfx.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "cfo/cfodocument.h"
#include "events/events.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/worldgeometry.h"
#include "world/worldloading.h"
#include "world/worldtest.h"

namespace {

std::vector<std::string>& Shown() {
    static std::vector<std::string> shown;
    return shown;
}

void RecordScreen(const std::string& text, bool clear) {
    Shown().push_back(text + (clear ? "" : " (no clear)"));
}

class WorldGeometryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        Shown().clear();
        SetWorldLoadingHook(&RecordScreen);
    }
    void TearDown() override {
        SetWorldLoadingHook(nullptr);
        ResetSettings();
    }
};

InputEvent KeyEvent(uint8_t type, int32_t sym) {
    Sdl12Event e{};
    e.key.type = type;
    e.key.keysym.sym = sym;
    return InputEvent(e);
}

}  // namespace

TEST_F(WorldGeometryTest, TypeNameAndDefaults) {
    WorldGeometry w;
    EXPECT_EQ(w.GetTypeName(), "WorldGeometry");
    EXPECT_NE(w.GetTypeId(), 0u);
    EXPECT_EQ(w.dt, 0.0f);
    EXPECT_FALSE(w.has_fragment_program);
    EXPECT_TRUE(w.collision_objects.empty());
}

TEST_F(WorldGeometryTest, NullNodeOnlyFetchesTheSimpleProgram) {
    ResourceManager resources;
    WorldGeometry w;
    r_advanced_shading = false;
    testing::internal::CaptureStdout();
    w.Load(nullptr, &resources);
    // Without a window the extension check fails, with its line.
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "!OpenGL extension 'GL_ARB_fragment_program' not supported\n"
              "Could not find resource constructor associated with 'cg'\n");
    EXPECT_TRUE(Shown().empty());
    EXPECT_TRUE(w.tree.nodes.empty());
    EXPECT_TRUE(w.collision_objects.empty());
    EXPECT_FALSE(w.vertex_program.IsValid());
    EXPECT_FALSE(w.fragment_program.IsValid());
    EXPECT_TRUE(w.visible);
    EXPECT_TRUE(shader_load_as_vertex);
}

TEST_F(WorldGeometryTest, CollisionChildrenAndEntityKeysAreRead) {
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("WorldGeometry={ name=level; z_index=-2; visible=0;"
                  " PhysicsStaticGeometry={ hull={ {-1,-1} {1,-1} {1,1} {-1,1} } pos=\"5,6\"; }"
                  " PhysicsStaticGeometryX={ hull={ {0,0} {1,0} {1,1} } }"
                  " Other={ PhysicsStaticGeometry={ hull={ {0,0} {1,0} {1,1} } } }"
                  " PhysicsStaticGeometry={ hull={ {0,0} {4,0} {4,4} {0,4} } } }"));
    ResourceManager resources;
    WorldGeometry w;
    r_advanced_shading = false;
    testing::internal::CaptureStdout();
    w.Load(doc.FindChild("WorldGeometry"), &resources);
    testing::internal::GetCapturedStdout();
    // No "file": no tree, and the builder step has no node.
    EXPECT_TRUE(w.tree.nodes.empty());
    EXPECT_EQ(Shown(), (std::vector<std::string>{"Loading collision geometry..."}));
    ASSERT_EQ(w.collision_objects.size(), 2u);
    EXPECT_EQ(w.collision_objects[0]->body.vertices.size(), 4u);
    EXPECT_EQ(w.collision_objects[0]->body.position.x, 5.0f);
    EXPECT_EQ(w.collision_objects[0]->body.position.y, 6.0f);
    EXPECT_EQ(w.collision_objects[1]->body.vertices.size(), 4u);
    EXPECT_EQ(w.collision_objects[1]->body.position.x, 2.0f);  // the hull's centre
    EXPECT_EQ(w.name, "level");
    EXPECT_EQ(w.z_index, -2.0f);
    EXPECT_FALSE(w.visible);
}

TEST_F(WorldGeometryTest, BindRegistersHandlersInOrderAndEveryCollisionObject) {
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("WorldGeometry={ visible=0;"
                  " PhysicsStaticGeometry={ hull={ {-1,-1} {1,-1} {1,1} {-1,1} } pos=\"5,6\"; }"
                  " PhysicsStaticGeometry={ hull={ {0,0} {4,0} {4,4} {0,4} } } }"));
    SceneManager scene;
    testing::internal::CaptureStdout();
    {
        WorldGeometry w;
        w.Load(doc.FindChild("WorldGeometry"), nullptr);
        const size_t before = scene.events.HandlerCount();
        w.Bind(&scene.events, &scene, &scene.physics);
        ASSERT_EQ(scene.events.HandlerCount(), before + 2);
        EXPECT_EQ(scene.events.handlers[before]->GetEventTypeName(), "FrameEvent");
        EXPECT_EQ(scene.events.handlers[before + 1]->GetEventTypeName(), "InputEvent");
        EXPECT_TRUE(scene.events.handlers[before]->IsOwner(static_cast<Entity*>(&w)));
        ASSERT_EQ(scene.physics.objects.size(), 2u);
        EXPECT_EQ(scene.physics.objects.front(), w.collision_objects[0]);
        EXPECT_EQ(scene.physics.objects.back(), w.collision_objects[1]);
        for (PhysicsStaticGeometry* o : w.collision_objects) {
            EXPECT_EQ(o->entity, &w);
            EXPECT_EQ(o->manager, &scene.physics);
            EXPECT_EQ(o->body.invMass, 0.0f);
        }
        EXPECT_EQ(w.collision_objects[0]->boundingCircle.centre.x, 5.0f);
        // Invisible: not queued, but its collision objects stay in the world.
        FrameEvent frame(0.25f, 3.0f, &scene, nullptr);
        EXPECT_TRUE(w.OnFrame(&frame));
        EXPECT_EQ(w.dt, 0.25f);
        EXPECT_EQ(scene.render_queue.Size(), 0u);
        w.Unbind(&scene.events, &scene, &scene.physics);
        EXPECT_EQ(scene.physics.objects.size(), 2u);
    }
    testing::internal::GetCapturedStdout();
    // The objects die with the entity and leave the manager.
    EXPECT_TRUE(scene.physics.objects.empty());
}

TEST_F(WorldGeometryTest, InvisibleWorldStillCollides) {
    CfoDocument doc;
    ASSERT_TRUE(
        doc.Parse("WorldGeometry={ visible=0;"
                  " PhysicsStaticGeometry={ hull={ {-10,-10} {10,-10} {10,10} {-10,10} } } }"));
    SceneManager scene;
    WorldGeometry w;
    testing::internal::CaptureStdout();
    w.Load(doc.FindChild("WorldGeometry"), nullptr);
    testing::internal::GetCapturedStdout();
    scene.Bind(nullptr, &scene, nullptr);
    w.Bind(&scene.events, &scene, &scene.physics);
    scene.physics.RegisterHandler<PhysicsCharacter, PhysicsStaticGeometry>(&TestCharacterStatic);
    PhysicsCharacter walker;
    walker.body.AddVertex(HVector2(-1, -1));
    walker.body.AddVertex(HVector2(1, -1));
    walker.body.AddVertex(HVector2(1, 1));
    walker.body.AddVertex(HVector2(-1, 1));
    walker.Prepare();
    walker.SetPosition(HVector2(9.5f, 0.0f));
    scene.physics.AddObject(&walker);
    scene.physics.Step(0.1f, 1.0f);
    // The walker was pushed out of the wall.
    EXPECT_GE(walker.body.position.x, 10.9f);
    scene.physics.RemoveObject(&walker);
}

TEST_F(WorldGeometryTest, VisibleWorldQueuesItselfEveryFrame) {
    SceneManager scene;
    WorldGeometry w;
    w.Bind(&scene.events, &scene, &scene.physics);
    scene.events.Post(new FrameEvent(0.5f, 1.0f, &scene, nullptr));
    EXPECT_TRUE(scene.events.Update(1.0f));
    EXPECT_TRUE(scene.events.Update(1.1f));
    EXPECT_EQ(w.dt, 0.5f);
    ASSERT_EQ(scene.render_queue.Size(), 1u);
    EXPECT_EQ(scene.render_queue.entities.front(), &w);
}

TEST_F(WorldGeometryTest, BuilderStepWritesTheFileWithoutLoadingIt) {
    worldtest::WriteFile("wg/tri.asm", worldtest::AsmText({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
                                                           {{0, 0, 1}, {1, 0, 1}, {0, 1, 1}}}));
    const std::string out = worldtest::ScratchDir() + "/wg/built.abt";
    std::filesystem::remove(out);
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("WorldGeometry={ ABTBuilder={ output_file=\"" + out +
                          "\"; max_faces=1; max_depth=1; Objects={ {wg/tri.asm,t.dds} } } }"));
    WorldGeometry w;
    testing::internal::CaptureStdout();
    w.Load(doc.FindChild("WorldGeometry"), nullptr);
    std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(log.rfind("==================== Build ABT ======================\n", 0), 0u) << log;
    EXPECT_NE(log.find("output: " + out + "\n"), std::string::npos) << log;
    EXPECT_NE(log.find("wg/tri.asm,t.dds\n"), std::string::npos) << log;
    EXPECT_TRUE(std::filesystem::exists(out));
    EXPECT_TRUE(w.tree.nodes.empty());
    EXPECT_EQ(Shown(), (std::vector<std::string>{
                           "Initiating ABTBuilder...", "Inserting objects into ABT...",
                           "Building ABT...", "Saving ABT...", "Loading collision geometry..."}));
    // The file is a tree the reader takes: a root and two leaves.
    ABTTree tree;
    testing::internal::CaptureStdout();
    tree.LoadQuiet("wg/built.abt");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(tree.nodes.size(), 3u);
}

TEST_F(WorldGeometryTest, F8PrintsTheStatisticsLine) {
    WorldGeometry w;
    InputEvent f8 = KeyEvent(SDL12_KEYDOWN, 289);
    // Before the first frame: no length, an infinite rate, the reset statistics, no root.
    testing::internal::CaptureStdout();
    EXPECT_TRUE(w.OnInput(&f8));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "inf d:0 t:0 tpn:0 bsw:0  bs:5000000 0\n");

    // A tree with its root box, and the counters of a frame.
    worldtest::LoadText(w.tree,
                        "verts={\n" + worldtest::VertRow(0, 0, 0) + worldtest::VertRow(1, 0, 0) +
                            worldtest::VertRow(0, 1, 0) +
                            "}\nmat={ {\"a.dds\"} }\nnodes={\n"
                            "\t{-1,10.000000,20.000000,30.000000,1.000000,2.000000,3.000000}\n"
                            "\t{0,1.000000,1.000000,0.000000,0.500000,0.500000,0.000000}\n"
                            "}\nchunks={ {1,0,0,3} }\n",
                        1000);
    ASSERT_EQ(w.tree.nodes.size(), 2u);
    w.tree.draws = 3;
    w.tree.texture_binds = 4;
    w.tree.textures_per_buffer = 2;
    w.tree.buffer_switches = 1;
    w.tree.min_chunk = 6;
    w.tree.max_chunk = 42;
    w.dt = 0.02f;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(w.OnInput(&f8));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "50 d:3 t:4 tpn:2 bsw:1  bs:6 42\n"
              "-4.000000,-8.000000,-12.000000\n"
              "6.000000,12.000000,18.000000\n");

    // Other keys, and F8 let go, print nothing.
    InputEvent up = KeyEvent(SDL12_KEYUP, 289);
    InputEvent f9 = KeyEvent(SDL12_KEYDOWN, 290);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(w.OnInput(&up));
    EXPECT_TRUE(w.OnInput(&f9));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(WorldGeometryTest, F8ReachesTheHandlerThroughTheQueue) {
    SceneManager scene;
    WorldGeometry w;
    w.Bind(&scene.events, &scene, &scene.physics);
    w.dt = 0.25f;
    Sdl12Event e{};
    e.key.type = SDL12_KEYDOWN;
    e.key.keysym.sym = WorldGeometry::kStatisticsKey;
    scene.events.Post(new InputEvent(e));
    testing::internal::CaptureStdout();
    EXPECT_TRUE(scene.events.Update(1.0f));
    EXPECT_TRUE(scene.events.Update(1.1f));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "4 d:0 t:0 tpn:0 bsw:0  bs:5000000 0\n");
}
