#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "cfo/cfodocument.h"
#include "world/abttree.h"
#include "world/abttreebuilder.h"
#include "world/worldloading.h"
#include "worldtest.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using worldtest::LoadText;
using worldtest::Recorder;
using worldtest::VertRow;

namespace {

// n vertex rows along x.
std::string Verts(int n) {
    std::string s = "verts={\n";
    for (int i = 0; i < n; ++i) s += VertRow(static_cast<float>(i), 0, 0);
    return s + "}\n";
}

// Root 0 with `children` leaves, each a box of size 1000 around the origin.
std::string Nodes(int children) {
    std::string s = "nodes={\n\t{-1,1000,1000,1000,0,0,0}\n";
    for (int i = 0; i < children; ++i) s += "\t{0,1000,1000,1000,0,0,0}\n";
    return s + "}\n";
}

}  // namespace

TEST(ABTTree, EmptyFileHasNoNodesAndRenderDoesNothing) {
    worldtest::WriteFile("tree/empty.abt", "");
    ABTTree tree;
    CaptureStdout();
    bool result = tree.Load("tree/empty.abt");
    EXPECT_EQ(GetCapturedStdout(), "CFO Document 'tree/empty.abt' not found\n");
    EXPECT_FALSE(result);
    EXPECT_TRUE(tree.nodes.empty());
    EXPECT_EQ(tree.root, 0);
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 0);
    EXPECT_TRUE(rec.calls.empty());
}

TEST(ABTTree, LoadingTextsInOrderEvenForAMissingFile) {
    static std::vector<std::string> texts;
    texts.clear();
    SetWorldLoadingHook(
        [](const std::string& t, bool clear) { texts.push_back(t + (clear ? " (clear)" : "")); });
    ABTTree tree;
    CaptureStdout();
    tree.Load("tree/absent.abt");
    GetCapturedStdout();
    EXPECT_EQ(texts, (std::vector<std::string>{"Updating child indexes... (clear)"}));
    texts.clear();
    LoadText(tree, Verts(3) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + "chunks={ {1,0,0,3} }\n", 100);
    SetWorldLoadingHook(nullptr);
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "Reading verts... (clear)", "Reading material names... (clear)",
                         "Reading nodes... (clear)", "Reading chunks... (clear)",
                         "Updating child indexes... (clear)"}));
}

TEST(ABTTree, RowsBoxesAndIndices) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             "verts={ {1,2,3, 0,0,1, 0.5,0.25, 1,0,0} {4,5,6, 0,1,0, 1,1, 0,1,0} {7,8,9, 1,0,0, "
             "0,0, 0,0,1} }\n"
             "mat={ {\"wall one.dds\"} }\n"
             "nodes={ {-1,2,4,6,1,1,1} {0,1,1,1,0.5,0.5,0.5} }\n"
             "chunks={ {1,0,0,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(), "vertex buffer: 0\nvertex array 0 3\n");
    ASSERT_EQ(tree.index_count, 3u);
    EXPECT_EQ(tree.indices, (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(tree.vertices[1].v, HVector3(4, 5, 6));
    EXPECT_EQ(tree.vertices[1].n, HVector3(0, 1, 0));
    EXPECT_EQ(tree.vertices[1].t, HVector2(1, 1));
    EXPECT_EQ(tree.vertices[2].c, HVector3(0, 0, 1));
    ASSERT_EQ(tree.materials.size(), 1u);
    EXPECT_EQ(tree.materials[0], "wall one.dds");
    ASSERT_EQ(tree.nodes.size(), 2u);
    EXPECT_EQ(tree.nodes[0]->box.GetMinimum(), HVector3(0, -1, -2));
    EXPECT_EQ(tree.nodes[0]->box.GetMaximum(), HVector3(2, 3, 4));
    EXPECT_EQ(tree.nodes[1]->parent, 0);
    EXPECT_EQ(tree.nodes[0]->children, (std::vector<int32_t>{1}));
    EXPECT_EQ(tree.root, 0);
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 1u);
    const ABTChunk* c = tree.nodes[1]->chunks[0];
    EXPECT_EQ(c->node, 1);
    EXPECT_EQ(c->list, 0u);
    EXPECT_EQ(c->buffer, 0u);
    EXPECT_EQ(c->base, 0u);
    ASSERT_EQ(tree.vertex_buffers.size(), 1u);
    EXPECT_EQ(tree.vertex_buffers[0]->count, 3u);
    EXPECT_EQ(tree.vertex_buffers[0]->indices, (std::vector<uint16_t>{0, 1, 2}));
    EXPECT_EQ(tree.vertex_buffers[0]->vertices[2].v, HVector3(7, 8, 9));
}

TEST(ABTTree, OneNodeTreeDropsItsChunks) {
    ABTTree tree;
    LoadText(
        tree,
        Verts(6) + "mat={ {\"a.dds\"} }\nnodes={ {-1,10,10,10,0,0,0} }\nchunks={ {0,0,0,6} }\n",
        100);
    ASSERT_EQ(tree.nodes.size(), 1u);
    EXPECT_TRUE(tree.nodes[0]->chunks.empty());
    EXPECT_TRUE(tree.vertex_buffers.empty());
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(tree.draws, 0u);
    EXPECT_EQ(tree.buffer_switches, 0u);
}

TEST(ABTTree, BuffersCutAtTheLimit) {
    std::string text = Verts(15) + "mat={ {\"a.dds\"} }\n" + Nodes(2) +
                       "chunks={ {1,0,0,6} {1,0,6,6} {2,0,12,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 10);
    EXPECT_EQ(GetCapturedStdout(),
              "vertex buffer: 0\nvertex buffer: 1\nvertex array 0 6\nvertex array 1 9\n");
    ASSERT_EQ(tree.vertex_buffers.size(), 2u);
    const ABTChunk* a = tree.nodes[1]->chunks[0];
    const ABTChunk* b = tree.nodes[1]->chunks[1];
    const ABTChunk* c = tree.nodes[2]->chunks[0];
    EXPECT_EQ(a->buffer, 0u);
    EXPECT_EQ(a->base, 0u);
    EXPECT_EQ(b->buffer, 1u);
    EXPECT_EQ(b->base, 0u);
    EXPECT_EQ(c->buffer, 1u);
    EXPECT_EQ(c->base, 6u);
    EXPECT_EQ(tree.vertex_buffers[1]->index_list,
              (std::vector<uint16_t>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    // The third chunk's vertices are rows 12 to 14.
    EXPECT_EQ(tree.vertex_buffers[1]->vertices[6].v, HVector3(12, 0, 0));
    EXPECT_EQ(tree.vertex_buffers[1]->vertices[8].v, HVector3(14, 0, 0));
}

TEST(ABTTree, AChunkReachingTheLimitExactlyStillFits) {
    std::string text = Verts(15) + "mat={ {\"a.dds\"} }\n" + Nodes(2) +
                       "chunks={ {1,0,0,6} {1,0,6,6} {2,0,12,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 12);
    EXPECT_EQ(GetCapturedStdout(),
              "vertex buffer: 0\nvertex buffer: 1\nvertex array 0 12\nvertex array 1 3\n");
    EXPECT_EQ(tree.nodes[1]->chunks[1]->buffer, 0u);
    EXPECT_EQ(tree.nodes[1]->chunks[1]->base, 6u);
    EXPECT_EQ(tree.nodes[2]->chunks[0]->buffer, 1u);
    EXPECT_EQ(tree.nodes[2]->chunks[0]->base, 0u);
}

TEST(ABTTree, AChunkLargerThanTheLimitOverrunsItsOwnBuffer) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(9) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + "chunks={ {1,0,0,3} {1,0,3,6} }\n", 4);
    EXPECT_EQ(GetCapturedStdout(),
              "vertex buffer: 0\nvertex buffer: 1\nvertex array 0 3\nvertex array 1 6\n");
}

TEST(ABTTree, SixHundredChunksDrawFiveHundredAndOne) {
    std::string chunks = "chunks={\n";
    for (int i = 0; i < 600; ++i) chunks += "\t{1,0," + std::to_string(i * 3) + ",3}\n";
    chunks += "}\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, Verts(1800) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + chunks, 65535);
    GetCapturedStdout();
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.calls,
              (std::vector<std::string>{"begin", "buffer 0", "material 0", "draw 501", "end"}));
    EXPECT_EQ(tree.draws, 1u);
    EXPECT_EQ(tree.batch_size, 501u);
    EXPECT_EQ(tree.min_chunk, 3u);
    EXPECT_EQ(tree.max_chunk, 3u);
    // The 501st pointer is the chunk at vertex 1500.
    EXPECT_EQ(tree.batch_pointers[500], tree.vertex_buffers[0]->indices.data() + 1500);
    // Lists are emptied: the next frame draws the same again.
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.batches.back().size(), 501u);
}

TEST(ABTTree, NothingVisibleStillBindsEveryBufferAndTexture) {
    std::string text = Verts(15) + "mat={ {\"a.dds\"} {\"b.dds\"} {\"c.dds\"} }\n" + Nodes(2) +
                       "chunks={ {1,0,0,6} {1,1,6,6} {2,2,12,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 10);
    GetCapturedStdout();
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::BlindCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.calls, (std::vector<std::string>{"begin", "buffer 0", "material 0", "material 1",
                                                   "material 2", "buffer 1", "material 0",
                                                   "material 1", "material 2", "end"}));
    EXPECT_EQ(tree.draws, 0u);
    EXPECT_EQ(tree.buffer_switches, 2u);
    EXPECT_EQ(tree.texture_binds, 6u);
    EXPECT_EQ(tree.textures_per_buffer, 3u);
    EXPECT_EQ(tree.min_chunk, 5000000u);
    EXPECT_EQ(tree.max_chunk, 0u);
}

TEST(ABTTree, EverythingVisibleGroupsByBufferThenMaterial) {
    std::string text = Verts(15) + "mat={ {\"a.dds\"} {\"b.dds\"} }\n" + Nodes(2) +
                       "chunks={ {1,1,0,3} {1,0,3,3} {2,1,6,6} {2,0,12,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 1000);
    GetCapturedStdout();
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.calls, (std::vector<std::string>{"begin", "buffer 0", "material 0", "draw 2",
                                                   "material 1", "draw 2", "end"}));
    EXPECT_EQ(rec.batches[0], (std::vector<int32_t>{3, 3}));
    EXPECT_EQ(rec.batches[1], (std::vector<int32_t>{3, 6}));
    EXPECT_EQ(tree.draws, 2u);
    EXPECT_EQ(tree.min_chunk, 3u);
    EXPECT_EQ(tree.max_chunk, 6u);
}

TEST(ABTTree, HiddenParentHidesItsSubtree) {
    // Node 1 is far away and holds node 2, whose box would be seen.
    std::string text = Verts(6) +
                       "mat={ {\"a.dds\"} }\n"
                       "nodes={ {-1,1000,1000,1000,0,0,0} {0,1,1,1,500,0,0} {1,2,2,2,0,0,0} }\n"
                       "chunks={ {1,0,0,3} {2,0,3,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 1000);
    GetCapturedStdout();
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::BlindCamera();
    // Only x < 100 is inside.
    cam.frustum[0][0] = -1.0f;
    cam.frustum[0][3] = 100.0f;
    for (int p = 1; p < 6; ++p) cam.frustum[p][3] = 1e9f;
    tree.Render(&cam, 1);
    EXPECT_EQ(tree.draws, 0u);
    // Moved to x = 400 the parent is seen and both chunks go out.
    cam.frustum[0][0] = -1.0f;
    cam.frustum[0][3] = 1000.0f;
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.batches.back().size(), 2u);
}

TEST(ABTTree, CameraInsideABoxAlwaysSeesIt) {
    std::string text = Verts(3) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + "chunks={ {1,0,0,3} }\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 1000);
    GetCapturedStdout();
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::BlindCamera();
    cam.position = HVector3(1, 2, 3);
    tree.Render(&cam, 1);
    EXPECT_EQ(tree.draws, 1u);
}

TEST(ABTTree, NodeBoxesAreExactToSixDecimalsOnly) {
    ABTTreeBuilder b;
    MeshASM mesh;
    worldtest::Tri t1 = {{0.3333333f, 0, 0}, {0.6666667f, 0, 0}, {0.3333333f, 1, 0}};
    worldtest::Tri t2 = {{0.3333333f, 0, 5}, {0.6666667f, 0, 5}, {0.3333333f, 1, 5}};
    ASSERT_TRUE(worldtest::ParseMesh(mesh, worldtest::AsmText({t1, t2})));
    b.InsertMesh(mesh, "a.dds");
    b.SetWeights(HVector2(1, 0));
    b.Build(1, 1);
    std::string text;
    b.ExportText(text, 2024, 1, 1, 0, 0, 0);
    EXPECT_NE(text.find("\t{0,0.333333,1.000000,0.000000,0.500000,0.500000,0.000000}\n"),
              std::string::npos);
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, text, 1000);
    GetCapturedStdout();
    ASSERT_EQ(tree.nodes.size(), 3u);
    // The rebuilt box is narrower than the vertex it was made around.
    EXPECT_LT(tree.nodes[1]->box.GetMaximum().x, 0.6666667f);
    EXPECT_NEAR(tree.nodes[1]->box.GetMaximum().x, 0.6666665f, 1e-7f);
    EXPECT_EQ(tree.vertices[1].v.x, 0.666667f);
}

// Bad input: nothing crashes, nothing reads out of range, and the record is skipped.

TEST(ABTTreeBadInput, ShortRowsKeepTheirPlaceWithALine) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             "verts={ {1,2,3} {0,0,0, 0,0,1, 0,0, 1,1,1} {0,0,0, 0,0,1, 0,0, 1,1,1} {0,0,0, 0,0,1, "
             "0,0, 1,1,1} }\n"
             "mat={ {\"a.dds\"} {} }\n"
             "nodes={ {-1,1,1,1,0,0,0} {0,1,1} {0,1,1,1,0,0,0} }\n"
             "chunks={ {1,0,0} {1,0,0,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 1 vertex rows shorter than their format, missing fields read as 0\n"
              "ABTTree: 1 node rows shorter than their format, missing fields read as 0\n"
              "ABTTree: 1 chunk rows shorter than their format, missing fields read as 0\n"
              "vertex buffer: 0\nvertex array 0 3\n");
    EXPECT_EQ(tree.index_count, 4u);
    // A row without any text is no row at all: the material table keeps one name.
    EXPECT_EQ(tree.materials.size(), 1u);
    EXPECT_EQ(tree.nodes.size(), 3u);
    // The short chunk row is a chunk of no vertices; the full one follows it.
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 2u);
    EXPECT_EQ(tree.nodes[1]->chunks[0]->count, 0u);
    EXPECT_EQ(tree.nodes[1]->chunks[1]->count, 3u);
    // The fields the short rows lack are zero.
    EXPECT_EQ(tree.vertices[0].v, HVector3(1, 2, 3));
    EXPECT_EQ(tree.vertices[0].n, HVector3(0, 0, 0));
    EXPECT_EQ(tree.vertices[0].t, HVector2(0, 0));
    EXPECT_EQ(tree.vertices[0].c, HVector3(0, 0, 0));
    EXPECT_EQ(tree.nodes[1]->parent, 0);
    EXPECT_EQ(tree.nodes[1]->box.GetMinimum(), HVector3(-0.5f, -0.5f, 0));
    EXPECT_EQ(tree.nodes[1]->box.GetMaximum(), HVector3(0.5f, 0.5f, 0));
    EXPECT_EQ(tree.nodes[0]->children, (std::vector<int32_t>{1, 2}));
}

TEST(ABTTreeBadInput, ShortVertexRowKeepsTheLaterRowsInPlace) {
    // Row 2 lacks its normal, texture coordinate and colour. The chunk of node 2 names rows
    // 3 to 5, which must stay rows 3 to 5.
    std::string verts = "verts={\n" + VertRow(0, 0, 0) + VertRow(1, 0, 0) + "\t{2,0,0}\n" +
                        VertRow(3, 0, 0) + VertRow(4, 0, 0) + VertRow(5, 0, 0) + "}\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, verts + "mat={ {\"a.dds\"} }\n" + Nodes(2) + "chunks={ {1,0,0,3} {2,0,3,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 1 vertex rows shorter than their format, missing fields read as 0\n"
              "vertex buffer: 0\nvertex array 0 6\n");
    ASSERT_EQ(tree.index_count, 6u);
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_EQ(tree.vertices[i].v, HVector3(static_cast<float>(i), 0, 0));
    EXPECT_EQ(tree.vertices[2].n, HVector3(0, 0, 0));
    EXPECT_EQ(tree.vertices[3].n, HVector3(0, 0, 1));
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 1u);
    ASSERT_EQ(tree.nodes[2]->chunks.size(), 1u);
    const ABTVertexBuffer* vb = tree.vertex_buffers[0];
    const ABTChunk* second = tree.nodes[2]->chunks[0];
    EXPECT_EQ(vb->vertices[second->base].v, HVector3(3, 0, 0));
    EXPECT_EQ(vb->vertices[second->base + 2].v, HVector3(5, 0, 0));
    EXPECT_EQ(vb->vertices[2].v, HVector3(2, 0, 0));
    EXPECT_TRUE(tree.unattached.empty());
}

TEST(ABTTreeBadInput, ShortNodeRowKeepsTheLaterNodesInPlace) {
    // Node 1 lacks its box centre; node 2's chunk must still reach node 2, far out at x = 500.
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(6) +
                 "mat={ {\"a.dds\"} }\n"
                 "nodes={ {-1,1000,1000,1000,0,0,0} {0,2,2,2} {0,2,2,2,500,0,0} }\n"
                 "chunks={ {1,0,0,3} {2,0,3,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 1 node rows shorter than their format, missing fields read as 0\n"
              "vertex buffer: 0\nvertex array 0 6\n");
    ASSERT_EQ(tree.nodes.size(), 3u);
    EXPECT_EQ(tree.nodes[1]->box.GetMinimum(), HVector3(-1, -1, -1));
    EXPECT_EQ(tree.nodes[1]->box.GetMaximum(), HVector3(1, 1, 1));
    EXPECT_EQ(tree.nodes[2]->box.GetMinimum(), HVector3(499, -1, -1));
    EXPECT_EQ(tree.nodes[0]->children, (std::vector<int32_t>{1, 2}));
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 1u);
    ASSERT_EQ(tree.nodes[2]->chunks.size(), 1u);
    EXPECT_EQ(tree.nodes[1]->chunks[0]->start, 0u);
    EXPECT_EQ(tree.nodes[2]->chunks[0]->start, 3u);
    // Seen only near the origin, node 1 draws and node 2 does not.
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::BlindCamera();
    cam.frustum[0][0] = -1.0f;  // x < 100 only
    cam.frustum[0][3] = 100.0f;
    for (int p = 1; p < 6; ++p) cam.frustum[p][3] = 1e9f;
    tree.Render(&cam, 1);
    ASSERT_EQ(rec.batches.size(), 1u);
    EXPECT_EQ(rec.batches[0], (std::vector<int32_t>{3}));
    std::vector<int32_t> order;
    tree.VisibleNodes(&cam, order);
    EXPECT_EQ(order, (std::vector<int32_t>{0, 1}));
}

TEST(ABTTreeBadInput, ShortRowsNeverReachOutOfRange) {
    // Zeros from short rows are indices like any other, checked like any other: a node row
    // without a parent hangs below node 0, a parent out of range is kept and never reached,
    // a chunk without a range is empty, one whose start is past the vertices is refused,
    // and a chunk row without a node names node 0, which holds no chunks.
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             "verts={ {1} {2} {3} }\n"
             "mat={ {\"a.dds\"} }\n"
             "nodes={ {-1,4,4,4,0,0,0} {0,4,4,4,0,0,0} {7} {x} }\n"
             "chunks={ {1} {1,0,0,3} {1,0,2147483647} {3,0} {x} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 3 vertex rows shorter than their format, missing fields read as 0\n"
              "ABTTree: 2 node rows shorter than their format, missing fields read as 0\n"
              "ABTTree: 4 chunk rows shorter than their format, missing fields read as 0\n"
              "ABTTree: 1 chunks run past the vertices, skipped\n"
              "vertex buffer: 0\nvertex array 0 3\n");
    ASSERT_EQ(tree.nodes.size(), 4u);
    EXPECT_EQ(tree.nodes[2]->parent, 7);
    EXPECT_EQ(tree.nodes[3]->parent, 0);
    EXPECT_EQ(tree.nodes[0]->children, (std::vector<int32_t>{1, 3}));
    EXPECT_EQ(tree.vertices[2].v, HVector3(3, 0, 0));
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 2u);
    EXPECT_EQ(tree.nodes[1]->chunks[0]->count, 0u);
    EXPECT_EQ(tree.nodes[1]->chunks[1]->count, 3u);
    ASSERT_EQ(tree.nodes[3]->chunks.size(), 1u);
    EXPECT_EQ(tree.nodes[3]->chunks[0]->count, 0u);
    EXPECT_EQ(tree.unattached.size(), 2u);
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.batches, (std::vector<std::vector<int32_t>>{{0, 3, 0}}));
    for (const ABTNode* node : tree.nodes)
        for (const ABTChunk* c : node->chunks) {
            ASSERT_LT(c->buffer, tree.vertex_buffers.size());
            EXPECT_LE(c->base + c->count, tree.vertex_buffers[c->buffer]->indices.size());
            EXPECT_LE(c->start + c->count, tree.index_count);
            EXPECT_LT(c->material, tree.materials.size());
        }
}

TEST(ABTTreeBadInput, ChunkRunningPastTheVerticesIsSkipped) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(6) + "mat={ {\"a.dds\"} }\n" + Nodes(1) +
                 "chunks={ {1,0,3,6} {1,0,-3,6} {1,0,2147483647,2147483647} {1,0,0,6} }\n",
             100);
    EXPECT_EQ(
        GetCapturedStdout(),
        "ABTTree: 3 chunks run past the vertices, skipped\nvertex buffer: 0\nvertex array 0 6\n");
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 1u);
    EXPECT_EQ(tree.nodes[1]->chunks[0]->count, 6u);
    EXPECT_EQ(tree.unattached.size(), 3u);
}

TEST(ABTTreeBadInput, MaterialOutOfRangeIsSkipped) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(6) + "mat={ {\"a.dds\"} }\n" + Nodes(1) +
                 "chunks={ {1,1,0,3} {1,-1,0,3} {1,0,3,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 2 chunks name a material that does not exist, skipped\nvertex buffer: "
              "0\nvertex array 0 3\n");
    ASSERT_EQ(tree.nodes[1]->chunks.size(), 1u);
    EXPECT_EQ(tree.nodes[1]->chunks[0]->start, 3u);
}

TEST(ABTTreeBadInput, ChunkOfANodeOutOfRangeIsUnattached) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(3) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + "chunks={ {2,0,0,3} {-1,0,0,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_TRUE(tree.nodes[1]->chunks.empty());
    EXPECT_EQ(tree.unattached.size(), 2u);
    EXPECT_EQ(tree.unattached[1]->node, -1);
}

TEST(ABTTreeBadInput, SelfParentAndCyclesAreLeftOut) {
    ABTTree tree;
    CaptureStdout();
    // 0 is its own parent, 1 and 2 point at each other, 3 hangs below the cycle, 4 is the root.
    LoadText(tree,
             Verts(6) +
                 "mat={ {\"a.dds\"} }\n"
                 "nodes={ {0,1,1,1,0,0,0} {2,1,1,1,0,0,0} {1,1,1,1,0,0,0} {2,1,1,1,0,0,0} "
                 "{-1,1,1,1,0,0,0} {4,1,1,1,0,0,0} }\n"
                 "chunks={ {1,0,0,3} {5,0,3,3} }\n",
             100);
    EXPECT_EQ(GetCapturedStdout(),
              "vertex buffer: 0\nvertex array 0 6\nABTTree: 4 nodes whose parents form a cycle, "
              "left out\n");
    EXPECT_EQ(tree.root, 4);
    EXPECT_TRUE(tree.nodes[0]->children.empty());
    EXPECT_TRUE(tree.nodes[1]->children.empty());
    EXPECT_TRUE(tree.nodes[2]->children.empty());
    EXPECT_EQ(tree.nodes[4]->children, (std::vector<int32_t>{5}));
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    // Only node 5's chunk is reached.
    ASSERT_EQ(rec.batches.size(), 1u);
    EXPECT_EQ(rec.batches[0], (std::vector<int32_t>{3}));
}

TEST(ABTTreeBadInput, CycleThroughTheDefaultRootEnds) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(3) +
                 "mat={ {\"a.dds\"} }\nnodes={ {1,1,1,1,0,0,0} {0,1,1,1,0,0,0} }\nchunks={ "
                 "{1,0,0,3} }\n",
             100);
    GetCapturedStdout();
    EXPECT_EQ(tree.root, 0);
    tree.PrepareRenderLists();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(tree.draws, 0u);
}

TEST(ABTTreeBadInput, RenderBeforeTheListsExistDrawsNothing) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, Verts(3) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + "chunks={ {1,0,0,3} }\n", 100);
    GetCapturedStdout();
    Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(rec.calls, (std::vector<std::string>{"begin", "end"}));
}

// Build, export, load: the geometry survives and the tree is the same.

namespace {

void AddBox(std::vector<worldtest::Tri>& tris, HVector3 lo, HVector3 hi) {
    HVector3 c[8];
    for (int i = 0; i < 8; ++i)
        c[i] = HVector3((i & 1) ? hi.x : lo.x, (i & 2) ? hi.y : lo.y, (i & 4) ? hi.z : lo.z);
    const int quads[6][4] = {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1},
                             {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}};
    for (const auto& q : quads) {
        tris.push_back({c[q[0]], c[q[1]], c[q[2]]});
        tris.push_back({c[q[0]], c[q[2]], c[q[3]]});
    }
}

float Area(const HVector3& a, const HVector3& b, const HVector3& c) {
    return 0.5f * (b - a).Cross(c - a).Length();
}

// Point p inside triangle (a, b, c), on its plane, within eps.
bool Inside(const HVector3& p, const HVector3& a, const HVector3& b, const HVector3& c, float eps) {
    HVector3 n = (b - a).Cross(c - a);
    float len = n.Length();
    if (len < 1e-12f) return false;
    n = n / len;
    if (std::fabs((p - a).Dot(n)) > eps) return false;
    HVector3 e[3] = {b - a, c - b, a - c};
    HVector3 v[3] = {a, b, c};
    for (int k = 0; k < 3; ++k) {
        HVector3 edge_n = n.Cross(e[k]);
        float el = e[k].Length();
        if (el < 1e-12f) return false;
        if ((p - v[k]).Dot(edge_n) / el < -eps) return false;
    }
    return true;
}

}  // namespace

TEST(ABTRoundTrip, BuildExportLoadKeepsGeometryAndTree) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> pos(0.0f, 90.0f), size(1.0f, 9.0f);
    std::vector<std::vector<worldtest::Tri>> objects(3);
    for (int i = 0; i < 60; ++i) {
        HVector3 lo(pos(rng), pos(rng), 0.0f);
        AddBox(objects[static_cast<size_t>(i % 3)], lo,
               lo + HVector3(size(rng), size(rng), size(rng)));
    }
    // A ground plane that every split cuts.
    objects[0].push_back({{0, 0, 0}, {100, 0, 0}, {100, 100, 0}});
    objects[0].push_back({{0, 0, 0}, {100, 100, 0}, {0, 100, 0}});

    ABTTreeBuilder b;
    for (size_t o = 0; o < objects.size(); ++o) {
        MeshASM mesh;
        ASSERT_TRUE(worldtest::ParseMesh(mesh, worldtest::AsmText(objects[o])));
        b.InsertMesh(mesh, "mat" + std::to_string(o) + ".dds");
    }
    b.SetWeights(HVector2(0.7f, 0.3f));
    b.SetOvergrow(0.1f);
    CaptureStdout();
    b.Build(20, 6);
    std::string text;
    b.ExportText(text, 2024, 1, 1, 0, 0, 0);
    ABTTree tree;
    LoadText(tree, text, 65535);
    GetCapturedStdout();

    ASSERT_GT(b.nodes.size(), 20u);
    ASSERT_EQ(tree.nodes.size(), b.nodes.size());
    // The parent links rebuild the same tree.
    for (size_t n = 0; n < b.nodes.size(); ++n) {
        EXPECT_EQ(tree.nodes[n]->parent, b.nodes[n].parent);
        EXPECT_EQ(tree.nodes[n]->children, b.nodes[n].children);
    }
    EXPECT_EQ(tree.root, b.root);

    // Every leaf's triangles lie inside its node box, to six decimals.
    size_t drawn = 0;
    std::map<uint32_t, std::vector<worldtest::Tri>> out_by_material;
    for (size_t n = 0; n < tree.nodes.size(); ++n) {
        const HAxisAlignedBox& box = tree.nodes[n]->box;
        for (const ABTChunk* c : tree.nodes[n]->chunks) {
            EXPECT_EQ(c->node, static_cast<int32_t>(n));
            EXPECT_TRUE(b.nodes[n].children.empty());
            for (uint32_t k = 0; k < c->count; ++k) {
                const HVector3& v = tree.vertices[c->start + k].v;
                for (unsigned a = 0; a < 3; ++a) {
                    EXPECT_GE(v[a], box.GetMinimum()[a] - 2e-5f);
                    EXPECT_LE(v[a], box.GetMaximum()[a] + 2e-5f);
                }
            }
            for (uint32_t k = 0; k < c->count; k += 3)
                out_by_material[c->material].push_back({tree.vertices[c->start + k].v,
                                                        tree.vertices[c->start + k + 1].v,
                                                        tree.vertices[c->start + k + 2].v});
            drawn += c->count;
        }
    }
    // Nothing is lost: every exported vertex is in some leaf's chunk (node 0 is split).
    EXPECT_EQ(drawn, tree.index_count);
    size_t leaf_faces = 0;
    for (const ABTBuildNode& n : b.nodes) leaf_faces += n.faces.size();
    EXPECT_EQ(tree.index_count, 3 * leaf_faces);

    // Every input triangle is covered by output triangles of its material: the same area,
    // and its centroid and points near its corners lie in one of them.
    for (size_t o = 0; o < objects.size(); ++o) {
        double in_area = 0, out_area = 0;
        for (const auto& t : objects[o]) in_area += Area(t.a, t.b, t.c);
        for (const auto& t : out_by_material[static_cast<uint32_t>(o)])
            out_area += Area(t.a, t.b, t.c);
        EXPECT_NEAR(out_area, in_area, in_area * 1e-4);
        for (const auto& t : objects[o]) {
            HVector3 centroid = (t.a + t.b + t.c) / 3.0f;
            HVector3 samples[4] = {centroid, t.a * 0.8f + centroid * 0.2f,
                                   t.b * 0.8f + centroid * 0.2f, t.c * 0.8f + centroid * 0.2f};
            for (const HVector3& p : samples) {
                bool found = false;
                for (const auto& u : out_by_material[static_cast<uint32_t>(o)])
                    if (Inside(p, u.a, u.b, u.c, 1e-3f)) {
                        found = true;
                        break;
                    }
                EXPECT_TRUE(found) << "point " << p.x << "," << p.y << "," << p.z;
            }
        }
    }
}

TEST(ABTTree, QuietLoadShowsNothingAndMakesNoBuffers) {
    worldtest::WriteFile("tree/quiet.abt", Verts(6) + "mat={ {\"a.dds\"} }\n" + Nodes(2) +
                                               "chunks={ {1,0,0,3} {2,0,3,3} }\n");
    static int shown = 0;
    shown = 0;
    SetWorldLoadingHook([](const std::string&, bool) { ++shown; });
    ABTTree tree;
    CaptureStdout();
    EXPECT_FALSE(tree.LoadQuiet("tree/quiet.abt"));
    EXPECT_EQ(GetCapturedStdout(), "");
    SetWorldLoadingHook(nullptr);
    EXPECT_EQ(shown, 0);
    EXPECT_EQ(tree.index_count, 6u);
    EXPECT_EQ(tree.nodes[2]->chunks.size(), 1u);
    EXPECT_TRUE(tree.vertex_buffers.empty());
    EXPECT_EQ(tree.nodes[0]->children, (std::vector<int32_t>{1, 2}));
}

TEST(ABTTree, VisibleNodesInPreOrder) {
    ABTTree tree;
    CaptureStdout();
    LoadText(tree,
             Verts(3) +
                 "mat={ {\"a.dds\"} }\n"
                 "nodes={ {-1,1000,1000,1000,0,0,0} {0,10,10,10,0,0,0} {1,1,1,1,0,0,0} "
                 "{0,10,10,10,500,0,0} {1,1,1,1,1,1,1} }\n",
             100);
    GetCapturedStdout();
    std::vector<int32_t> order;
    tree.VisibleNodes(nullptr, order);
    EXPECT_EQ(order, (std::vector<int32_t>{0, 1, 2, 4, 3}));
    Camera cam = worldtest::BlindCamera();
    cam.frustum[0][0] = -1.0f;  // x < 100 only
    cam.frustum[0][3] = 100.0f;
    for (int p = 1; p < 6; ++p) cam.frustum[p][3] = 1e9f;
    tree.VisibleNodes(&cam, order);
    EXPECT_EQ(order, (std::vector<int32_t>{0, 1, 2, 4}));
}

TEST(ABTTreeBadInput, ChunksCoveringMoreRowsThanTheFileHoldsAreSkipped) {
    std::string chunks = "chunks={\n";
    for (int i = 0; i < 1000; ++i) chunks += "\t{1,0,0,6}\n";
    chunks += "}\n";
    ABTTree tree;
    CaptureStdout();
    LoadText(tree, Verts(6) + "mat={ {\"a.dds\"} }\n" + Nodes(1) + chunks, 65535);
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTree: 999 chunks cover more vertex rows than the file holds, skipped\n"
              "vertex buffer: 0\nvertex array 0 6\n");
    EXPECT_EQ(tree.nodes[1]->chunks.size(), 1u);
    EXPECT_EQ(tree.unattached.size(), 999u);
}
