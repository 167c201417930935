// StaticGeometry without a window: what Load fetches and reads, "transf" by columns, the
// body in the collision world, and when the entity queues itself for rendering.
#include <gtest/gtest.h>

#include <string>

#include "cfo/cfodocument.h"
#include "events/events.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "scene/scenemanager.h"
#include "world/meshasm.h"
#include "world/staticgeometry.h"
#include "world/worldtest.h"

namespace {

struct Doc {
    CfoDocument doc;
    explicit Doc(const std::string& text) { EXPECT_TRUE(doc.Parse(text)); }
    CfoNode* Node(const std::string& name) { return doc.FindChild(name); }
};

void ExpectMatrix(const HMatrix4& m, const float (&rows)[4][4]) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(m.m[r][c], rows[r][c]) << "row " << r << " col " << c;
}

class StaticGeometryTest : public ::testing::Test {
protected:
    void SetUp() override { ResetSettings(); }
    void TearDown() override { ResetSettings(); }
};

}  // namespace

TEST_F(StaticGeometryTest, TypeNameAndId) {
    StaticGeometry a, b;
    EXPECT_EQ(a.GetTypeName(), "StaticGeometry");
    EXPECT_NE(a.GetTypeId(), 0u);
    EXPECT_EQ(a.GetTypeId(), b.GetTypeId());
    // Starts as the identity.
    EXPECT_TRUE(a.transform == HMatrix4());
}

TEST_F(StaticGeometryTest, TransfOfIdentityAndTranslationPutsTheTranslationInTheLastColumn) {
    Doc d("StaticGeometry={ transf={ {1,0,0, 0,1,0, 0,0,1, 5,6,7} } }");
    StaticGeometry s;
    s.Load(d.Node("StaticGeometry"), nullptr);
    const float want[4][4] = {{1, 0, 0, 5}, {0, 1, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}};
    ExpectMatrix(s.transform, want);
    EXPECT_EQ(s.transform.GetTrans().x, 5.0f);
    EXPECT_EQ(s.transform.GetTrans().y, 6.0f);
    EXPECT_EQ(s.transform.GetTrans().z, 7.0f);
}

TEST_F(StaticGeometryTest, TransfIsReadByColumnsAndStopsAtTwelveNumbers) {
    Doc d("StaticGeometry={ transf={ {1,2,3,4,5,6,7,8,9,10,11,12,13,14} } }");
    StaticGeometry s;
    s.Load(d.Node("StaticGeometry"), nullptr);
    const float want[4][4] = {{1, 4, 7, 10}, {2, 5, 8, 11}, {3, 6, 9, 12}, {0, 0, 0, 1}};
    ExpectMatrix(s.transform, want);
}

TEST_F(StaticGeometryTest, ShortTransfLeavesTheRestZeroAndEmptyTransfChangesNothing) {
    Doc d("A={ transf={ {2,0,0,0,3} } } B={ transf={ } } C={ name=c; }");
    StaticGeometry a, b, c;
    a.Load(d.Node("A"), nullptr);
    const float want[4][4] = {{2, 0, 0, 0}, {0, 3, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 1}};
    ExpectMatrix(a.transform, want);
    b.Load(d.Node("B"), nullptr);
    EXPECT_TRUE(b.transform == HMatrix4());
    c.Load(d.Node("C"), nullptr);
    EXPECT_TRUE(c.transform == HMatrix4());
    EXPECT_EQ(c.name, "c");
}

TEST_F(StaticGeometryTest, LoadFetchesShaderDefaultTextureTextureAndMeshInOrder) {
    worldtest::WriteFile("sg/box.asm", worldtest::AsmText({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}));
    Doc d(
        "StaticGeometry={ name=crate; z_index=3.5; visible=0; texture=\"sg/crate.dds\"; "
        "mesh=\"sg/box.asm\"; }");
    ResourceManager resources;
    resources.RegisterType<MeshASM>("asm");
    StaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(d.Node("StaticGeometry"), &resources);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Could not find resource constructor associated with 'cg'\n"
              "Could not find resource constructor associated with 'dds'\n"
              "Could not find resource constructor associated with 'dds'\n");
    EXPECT_FALSE(s.shader.IsValid());
    EXPECT_FALSE(s.default_texture.IsValid());
    EXPECT_FALSE(s.texture.IsValid());
    ASSERT_TRUE(s.mesh.IsValid());
    EXPECT_EQ(s.mesh->vertex_count, 3u);
    EXPECT_EQ(s.name, "crate");
    EXPECT_EQ(s.z_index, 3.5f);
    EXPECT_FALSE(s.visible);
    // The tree is never loaded.
    EXPECT_TRUE(s.tree.nodes.empty());
}

TEST_F(StaticGeometryTest, NullNodeFetchesNothingAndKeepsDefaults) {
    ResourceManager resources;
    StaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(nullptr, &resources);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(resources.GetResources().empty());
    EXPECT_TRUE(s.visible);
    EXPECT_TRUE(s.physics.body.vertices.empty());
}

TEST_F(StaticGeometryTest, WithoutPhysicsChildNoBodyIsRegistered) {
    Doc d("StaticGeometry={ name=plain }");
    SceneManager scene;
    StaticGeometry s;
    s.Load(d.Node("StaticGeometry"), nullptr);
    const size_t handlers = scene.events.HandlerCount();
    s.Bind(&scene.events, &scene, &scene.physics);
    EXPECT_TRUE(scene.physics.objects.empty());
    EXPECT_EQ(s.physics.manager, nullptr);
    EXPECT_EQ(s.physics.entity, nullptr);
    // The frame handler is there all the same.
    EXPECT_EQ(scene.events.HandlerCount(), handlers + 1);
    EXPECT_EQ(scene.events.handlers.back()->GetEventTypeName(), "FrameEvent");
}

TEST_F(StaticGeometryTest, FirstPhysicsChildIsTheBodyRegisteredInBindAndRemovedWithTheEntity) {
    Doc d(
        "StaticGeometry={ PhysicsStaticGeometry={ hull={ {-1,-1} {1,-1} {1,1} {-1,1} } "
        "pos=\"10,20\"; } PhysicsStaticGeometry={ hull={ {0,0} {5,0} {5,5} } pos=\"99,99\"; } }");
    SceneManager scene;
    {
        StaticGeometry s;
        s.Load(d.Node("StaticGeometry"), nullptr);
        ASSERT_EQ(s.physics.body.vertices.size(), 4u);
        EXPECT_EQ(s.physics.body.position.x, 10.0f);
        EXPECT_EQ(s.physics.body.position.y, 20.0f);
        s.Bind(&scene.events, &scene, &scene.physics);
        ASSERT_EQ(scene.physics.objects.size(), 1u);
        EXPECT_EQ(scene.physics.objects.front(), &s.physics);
        EXPECT_EQ(s.physics.entity, &s);
        EXPECT_EQ(s.physics.manager, &scene.physics);
        // Prepared: immovable, bounding circle around the position.
        EXPECT_EQ(s.physics.body.invMass, 0.0f);
        EXPECT_EQ(s.physics.boundingCircle.centre.x, 10.0f);
        EXPECT_EQ(s.physics.boundingCircle.centre.y, 20.0f);
        EXPECT_GT(s.physics.boundingCircle.radius, 1.4f);
        // Unbind leaves it in the collision world.
        s.Unbind(&scene.events, &scene, &scene.physics);
        EXPECT_EQ(scene.physics.objects.size(), 1u);
    }
    // The body leaves its manager with the entity.
    EXPECT_TRUE(scene.physics.objects.empty());
}

TEST_F(StaticGeometryTest, WithNeitherMeshNorCollisionViewItIsNeverQueued) {
    Doc d("StaticGeometry={ mesh=\"sg/missing.asm\"; }");
    ResourceManager resources;
    resources.RegisterType<MeshASM>("asm");
    SceneManager scene;
    StaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(d.Node("StaticGeometry"), &resources);
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(s.mesh.IsValid());
    s.Bind(&scene.events, &scene, &scene.physics);
    FrameEvent frame(0.02f, 1.0f, &scene, nullptr);
    EXPECT_TRUE(s.OnFrame(&frame));
    EXPECT_EQ(scene.render_queue.Size(), 0u);
    // The collision view queues it.
    r_debug_physics = true;
    EXPECT_TRUE(s.OnFrame(&frame));
    ASSERT_EQ(scene.render_queue.Size(), 1u);
    EXPECT_EQ(scene.render_queue.entities.front(), &s);
}

TEST_F(StaticGeometryTest, WithAMeshItIsQueuedEveryFrame) {
    worldtest::WriteFile("sg/tri.asm", worldtest::AsmText({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}}));
    Doc d("StaticGeometry={ mesh=\"sg/tri.asm\"; }");
    ResourceManager resources;
    resources.RegisterType<MeshASM>("asm");
    SceneManager scene;
    StaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(d.Node("StaticGeometry"), &resources);
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(s.mesh.IsValid());
    s.Bind(&scene.events, &scene, &scene.physics);
    // Through the event queue, as in the frame loop.
    scene.events.Post(new FrameEvent(0.02f, 1.0f, &scene, nullptr));
    EXPECT_TRUE(scene.events.Update(1.0f));
    EXPECT_TRUE(scene.events.Update(1.1f));
    EXPECT_EQ(scene.render_queue.Size(), 1u);
}
