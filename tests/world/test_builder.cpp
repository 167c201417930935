#include <gtest/gtest.h>

#include <set>

#include "cfo/cfodocument.h"
#include "world/abttree.h"
#include "world/abttreebuilder.h"
#include "world/worldloading.h"

#include <fstream>
#include <sstream>
#include "worldtest.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;
using worldtest::Tri;

namespace {

void Insert(ABTTreeBuilder& b, const std::vector<Tri>& tris,
            const std::string& material = "m.dds") {
    MeshASM mesh;
    ASSERT_TRUE(worldtest::ParseMesh(mesh, worldtest::AsmText(tris)));
    b.InsertMesh(mesh, material);
}

// A flat triangle at height z, small in x and y.
Tri Flat(float z, float x = 0.0f) { return {{x, 0, z}, {x + 1, 0, z}, {x, 1, z}}; }

// A triangle whose corners sit at heights za, zb, zc.
Tri Heights(float za, float zb, float zc) { return {{0, 0, za}, {1, 0, zb}, {0, 1, zc}}; }

bool SameFace(const ABTTreeBuilder& b, const ABTFace& f, const Tri& t) {
    return b.vertices[f.v[0]].v == t.a && b.vertices[f.v[1]].v == t.b &&
           b.vertices[f.v[2]].v == t.c;
}

size_t Depth(const ABTTreeBuilder& b, int32_t n) {
    size_t d = 0;
    while (b.nodes[static_cast<size_t>(n)].parent >= 0) {
        n = b.nodes[static_cast<size_t>(n)].parent;
        ++d;
    }
    return d;
}

}  // namespace

TEST(ABTTreeBuilder, ConstructorDefaults) {
    ABTTreeBuilder b;
    EXPECT_EQ(b.root, -1);
    EXPECT_EQ(b.max_faces, 50u);
    EXPECT_EQ(b.max_depth, 10u);
    EXPECT_FLOAT_EQ(b.overgrow, 0.1f);
    EXPECT_EQ(b.weights, HVector2(0, 0));
}

TEST(ABTTreeBuilder, InsertObjectUnweldsEveryCornerWithWhiteColour) {
    worldtest::WriteFile("builder/two.asm", worldtest::AsmText({Flat(0), Flat(1)}));
    ABTTreeBuilder b;
    b.InsertObject("builder/two.asm", "a.dds");
    ASSERT_EQ(b.faces.size(), 2u);
    ASSERT_EQ(b.vertices.size(), 6u);
    EXPECT_EQ(b.faces[1].v[0], 3u);
    EXPECT_EQ(b.faces[1].material, 0u);
    EXPECT_EQ(b.vertices[4].v, HVector3(1, 0, 1));
    EXPECT_EQ(b.vertices[4].t, HVector2(0.5f, 0));
    EXPECT_EQ(b.vertices[4].n, HVector3(0, 0, 1));
    EXPECT_EQ(b.vertices[4].c, HVector3(1, 1, 1));
    // A mesh that does not load adds neither a material nor a face.
    CaptureStdout();
    b.InsertObject("builder/none.asm", "b.dds");
    EXPECT_EQ(GetCapturedStdout(), "CFO Document 'builder/none.asm' not found\n");
    EXPECT_EQ(b.materials.size(), 1u);
}

TEST(ABTTreeBuilder, SameTextureTwiceGivesTwoMaterials) {
    ABTTreeBuilder b;
    Insert(b, {Flat(0)}, "wall.dds");
    Insert(b, {Flat(1)}, "wall.dds");
    ASSERT_EQ(b.materials.size(), 2u);
    EXPECT_EQ(b.materials[0], "wall.dds");
    EXPECT_EQ(b.materials[1], "wall.dds");
    EXPECT_EQ(b.faces[1].material, 1u);
    b.Build(10, 4);
    std::string text;
    b.ExportText(text, 2024, 1, 2, 3, 4, 5);
    EXPECT_NE(text.find("mat={\n\t{\"wall.dds\"}\n\t{\"wall.dds\"}\n}\n"), std::string::npos);
    EXPECT_NE(text.find("chunks={\n\t{0,0,0,3}\n\t{0,1,3,3}\n}\n"), std::string::npos);
}

TEST(ABTTreeBuilder, FewFacesMakeOneRootLeafWhoseChunkTheReaderDrops) {
    ABTTreeBuilder b;
    Insert(b, {Flat(0), Flat(1), Flat(2)});
    b.Build(3, 4);
    ASSERT_EQ(b.nodes.size(), 1u);
    EXPECT_EQ(b.root, 0);
    EXPECT_EQ(b.nodes[0].faces.size(), 3u);
    EXPECT_EQ(b.nodes[0].parent, -1);
    std::string text;
    b.ExportText(text, 2024, 1, 2, 3, 4, 5);
    EXPECT_NE(text.find("chunks={\n\t{0,0,0,9}\n}\n"), std::string::npos);

    ABTTree tree;
    worldtest::LoadText(tree, text, 65535);
    EXPECT_EQ(tree.nodes.size(), 1u);
    EXPECT_EQ(tree.index_count, 9u);
    EXPECT_TRUE(tree.nodes[0]->chunks.empty());
    EXPECT_EQ(tree.unattached.size(), 1u);
    EXPECT_TRUE(tree.vertex_buffers.empty());
    tree.PrepareRenderLists();
    worldtest::Recorder rec;
    tree.backend = &rec;
    Camera cam = worldtest::OpenCamera();
    tree.Render(&cam, 1);
    EXPECT_EQ(tree.draws, 0u);
    EXPECT_EQ(rec.calls, (std::vector<std::string>{"begin", "end"}));
}

TEST(ABTTreeBuilder, ExactTextOfASmallTree) {
    ABTTreeBuilder b;
    Insert(b, {Flat(-1), Flat(1)}, "a b.dds");
    b.SetWeights(HVector2(1, 0));
    b.Build(1, 4);
    std::string text;
    b.ExportText(text, 2024, 3, 9, 7, 5, 2);
    EXPECT_EQ(text,
              "// Tarvelle Adaptive Binary Tree\n"
              "// 2024-3-9 7:5:2\n\n"
              "verts={\n"
              "\t{0.000000,0.000000,-1.000000, 0.000000,0.000000,1.000000, 0.000000,0.000000, "
              "1.000000,1.000000,1.000000}\n"
              "\t{1.000000,0.000000,-1.000000, 0.000000,0.000000,1.000000, 0.500000,0.000000, "
              "1.000000,1.000000,1.000000}\n"
              "\t{0.000000,1.000000,-1.000000, 0.000000,0.000000,1.000000, 1.000000,1.000000, "
              "1.000000,1.000000,1.000000}\n"
              "\t{0.000000,0.000000,1.000000, 0.000000,0.000000,1.000000, 0.000000,0.000000, "
              "1.000000,1.000000,1.000000}\n"
              "\t{1.000000,0.000000,1.000000, 0.000000,0.000000,1.000000, 0.500000,0.000000, "
              "1.000000,1.000000,1.000000}\n"
              "\t{0.000000,1.000000,1.000000, 0.000000,0.000000,1.000000, 1.000000,1.000000, "
              "1.000000,1.000000,1.000000}\n"
              "}\n"
              "mat={\n\t{\"a b.dds\"}\n}\n"
              "nodes={\n"
              "\t{-1,1.000000,1.000000,2.000000,0.500000,0.500000,0.000000}\n"
              "\t{0,1.000000,1.000000,0.000000,0.500000,0.500000,-1.000000}\n"
              "\t{0,1.000000,1.000000,0.000000,0.500000,0.500000,1.000000}\n"
              "}\n"
              "chunks={\n\t{1,0,0,3}\n\t{2,0,3,3}\n}\n");
    EXPECT_EQ(b.nodes[0].children, (std::vector<int32_t>{1, 2}));
}

TEST(ABTTreeBuilder, SplitsAreLimitedByDepthAndALeafHoldsAnyNumber) {
    ABTTreeBuilder b;
    // Two faces apart in z and a third that spans the middle plane.
    Insert(b, {Flat(-10), Flat(10), Heights(-5, 5, 5)});
    b.SetWeights(HVector2(1, 0));
    b.SetOvergrow(0.0f);
    b.Build(1, 1);
    ASSERT_EQ(b.nodes.size(), 3u);
    EXPECT_EQ(Depth(b, 1), 1u);
    EXPECT_EQ(Depth(b, 2), 1u);
    // The spanning face was cut: one piece below, two above, with the flat faces.
    EXPECT_EQ(b.nodes[1].faces.size(), 2u);
    EXPECT_EQ(b.nodes[2].faces.size(), 3u);
    EXPECT_GT(b.nodes[2].faces.size(), b.max_faces);
}

TEST(ABTTreeBuilder, SlightOverhangStaysWholeOnThePositiveSide) {
    ABTTreeBuilder b;
    Tri spanning = Heights(1.0f, -0.01f, 0.5f);
    Insert(b, {Flat(-10), Flat(10), spanning});
    b.SetWeights(HVector2(1, 0));  // the plane z = 0, extents 10 and 10
    b.Build(1, 1);
    ASSERT_EQ(b.nodes.size(), 3u);
    ASSERT_EQ(b.nodes[2].faces.size(), 2u);
    EXPECT_TRUE(SameFace(b, b.nodes[2].faces[1], spanning));
    EXPECT_EQ(b.nodes[1].faces.size(), 1u);
    // The positive child's box reaches below the plane.
    EXPECT_FLOAT_EQ(b.nodes[2].box.GetMinimum().z, -0.01f);
    EXPECT_FLOAT_EQ(b.nodes[2].box.GetMaximum().z, 10.0f);
    EXPECT_EQ(b.vertices.size(), 9u);
}

TEST(ABTTreeBuilder, OvergrowZeroCutsEverySpanningFace) {
    ABTTreeBuilder b;
    Insert(b, {Flat(-10), Flat(10), Heights(1.0f, -0.01f, 0.5f)});
    b.SetWeights(HVector2(1, 0));
    b.SetOvergrow(0.0f);
    b.Build(1, 1);
    // Cut at two edges: one piece on the lone corner's side, two on the other.
    EXPECT_EQ(b.nodes[1].faces.size(), 2u);
    EXPECT_EQ(b.nodes[2].faces.size(), 3u);
    EXPECT_EQ(b.vertices.size(), 11u);
    EXPECT_FLOAT_EQ(b.nodes[2].box.GetMinimum().z, 0.0f);
    for (const ABTFace& f : b.nodes[1].faces)
        for (int c = 0; c < 3; ++c) EXPECT_LE(b.vertices[f.v[c]].v.z, 0.0f);
}

TEST(ABTTreeBuilder, TieGoesToTheNegativeSideMeasuredAgainstItsExtent) {
    // Plane z = 0 (weights 0, 0), box from z -10 to 100: extent_min 10, extent_max 100.
    Tri tie = Heights(5, -5, 0);
    {
        ABTTreeBuilder b;
        Insert(b, {Flat(-10), Flat(100), tie});
        b.SetOvergrow(0.6f);  // 5/10 = 0.5 is below
        b.Build(1, 1);
        ASSERT_EQ(b.nodes.size(), 3u);
        ASSERT_EQ(b.nodes[1].faces.size(), 2u);
        EXPECT_TRUE(SameFace(b, b.nodes[1].faces[1], tie));
        EXPECT_EQ(b.nodes[2].faces.size(), 1u);
    }
    {
        ABTTreeBuilder b;
        Insert(b, {Flat(-10), Flat(100), tie});
        b.SetOvergrow(0.1f);  // 5/10 is above; 5/100 would have kept it whole
        b.Build(1, 1);
        ASSERT_EQ(b.nodes.size(), 3u);
        for (const ABTBuildNode& n : b.nodes)
            for (const ABTFace& f : n.faces) EXPECT_FALSE(SameFace(b, f, tie));
        EXPECT_EQ(b.nodes[1].faces.size(), 2u);  // the flat face and the lower piece
        EXPECT_EQ(b.nodes[2].faces.size(),
                  4u);  // the flat face and three pieces touching the plane
    }
}

TEST(ABTTreeBuilder, OvergrowOfOneKeepsSpanningFacesWhole) {
    ABTTreeBuilder b;
    Insert(b, {Flat(-10), Flat(10), Heights(9, -8, 1), Heights(-9, 7, -1)});
    b.SetWeights(HVector2(1, 0));
    b.SetOvergrow(1.0f);
    b.Build(1, 1);
    EXPECT_EQ(b.vertices.size(), 12u);  // nothing was cut
    EXPECT_EQ(b.nodes[1].faces.size(), 2u);
    EXPECT_EQ(b.nodes[2].faces.size(), 2u);
    EXPECT_FLOAT_EQ(b.nodes[2].box.GetMinimum().z, -8.0f);
    EXPECT_FLOAT_EQ(b.nodes[1].box.GetMaximum().z, 7.0f);
}

TEST(ABTTreeBuilder, NearPlaneCornerIsOnThePlaneForTheClassification) {
    ABTTreeBuilder b;
    Tri near = Heights(-1e-7f, 1, 2);
    Insert(b, {Flat(-10), Flat(10), near});
    b.SetWeights(HVector2(1, 0));
    b.SetOvergrow(0.0f);  // without the snap it would be cut
    b.Build(1, 1);
    EXPECT_EQ(b.vertices.size(), 9u);
    ASSERT_EQ(b.nodes[2].faces.size(), 2u);
    EXPECT_TRUE(SameFace(b, b.nodes[2].faces[1], near));
}

TEST(ABTTreeBuilder, NearPlaneCornerIsOffThePlaneWhenSplitting) {
    ABTTreeBuilder b;
    Insert(b, {Heights(1e-7f, 1, -1)});
    HPlane plane(HVector3(0, 0, 1), HVector3(0, 0, 0));
    std::vector<ABTFace> negative, positive;
    b.SplitFace(plane, 0, b.faces, negative, positive);
    // Exactly two cuts (a corner on the plane would have made three).
    EXPECT_EQ(b.vertices.size(), 5u);
    EXPECT_EQ(negative.size(), 1u);
    EXPECT_EQ(positive.size(), 2u);
    EXPECT_EQ(negative[0].v[1], 2u);  // the lone negative corner is the ear's middle
}

TEST(ABTTreeBuilder, OneSidedNodesRecurseToTheDepthLimit) {
    ABTTreeBuilder b;
    Insert(b, {Flat(1, 1), Flat(2, 1), Flat(3, 1)});
    // The plane goes through the origin; every corner is on its positive side.
    b.Build(0, 3);
    ASSERT_EQ(b.nodes.size(), 4u);
    for (int32_t i = 1; i < 4; ++i) EXPECT_EQ(b.nodes[static_cast<size_t>(i)].parent, i - 1);
    EXPECT_EQ(b.nodes[3].faces.size(), 3u);
    for (const ABTBuildNode& n : b.nodes) {
        EXPECT_EQ(n.box.GetMinimum(), HVector3(1, 0, 1));
        EXPECT_EQ(n.box.GetMaximum(), HVector3(2, 1, 3));
    }
    EXPECT_EQ(b.nodes[0].children, (std::vector<int32_t>{1}));
}

TEST(ABTTreeBuilder, CubeTieSplitsAlongZ) {
    ABTTreeBuilder b;
    Tri low = {{0, 0, 0}, {1, 1, 0}, {1, 0, 0}};
    Tri high = {{0, 0, 1}, {1, 1, 1}, {0, 1, 1}};
    Insert(b, {low, high});
    b.SetWeights(HVector2(1, 0));
    b.SetOvergrow(0.0f);
    b.Build(1, 1);
    ASSERT_EQ(b.nodes.size(), 3u);
    EXPECT_EQ(b.vertices.size(), 6u);
    ASSERT_EQ(b.nodes[1].faces.size(), 1u);
    EXPECT_TRUE(SameFace(b, b.nodes[1].faces[0], low));
    EXPECT_TRUE(SameFace(b, b.nodes[2].faces[0], high));
}

TEST(ABTTreeBuilder, AxisTieBetweenXAndYGoesToY) {
    ABTTreeBuilder b;
    // x and y 2 wide, z 1: the y test comes after the x test.
    Tri a = {{0, 0, 0}, {2, 0, 0}, {0, 0, 1}};
    Tri c = {{0, 2, 0}, {2, 2, 0}, {0, 2, 1}};
    Insert(b, {a, c});
    b.SetWeights(HVector2(1, 0));
    b.Build(1, 1);
    ASSERT_EQ(b.nodes.size(), 3u);
    EXPECT_TRUE(SameFace(b, b.nodes[1].faces[0], a));
    EXPECT_TRUE(SameFace(b, b.nodes[2].faces[0], c));
}

TEST(ABTTreeBuilder, SplitSegmentBlendsAndClamps) {
    ABTVertex a, c;
    a.v = HVector3(0, 0, -1);
    a.n = HVector3(1, 0, 0);
    a.t = HVector2(0, 0);
    a.c = HVector3(1.5f, 0, 0.5f);
    c.v = HVector3(0, 0, 3);
    c.n = HVector3(0, 1, 0);
    c.t = HVector2(1, 2);
    c.c = HVector3(1.5f, -1, 0.5f);
    HPlane plane(HVector3(0, 0, 1), HVector3(0, 0, 0));
    ABTVertex v = ABTTreeBuilder::SplitSegment(a, c, plane);  // s = 0.25
    EXPECT_EQ(v.v, HVector3(0, 0, 0));
    EXPECT_FLOAT_EQ(v.t.x, 0.25f);
    EXPECT_FLOAT_EQ(v.t.y, 0.5f);
    EXPECT_FLOAT_EQ(v.n.x, 0.75f / std::sqrt(0.75f * 0.75f + 0.25f * 0.25f));
    EXPECT_FLOAT_EQ(v.n.y, 0.25f / std::sqrt(0.75f * 0.75f + 0.25f * 0.25f));
    EXPECT_EQ(v.c, HVector3(1, 0, 0.5f));
}

TEST(ABTTreeBuilder, SplitSegmentMissGivesAZeroVertex) {
    ABTVertex a, c;
    a.v = HVector3(0, 0, 1);
    a.n = HVector3(1, 0, 0);
    c.v = HVector3(1, 0, 1);  // parallel to the plane
    HPlane plane(HVector3(0, 0, 1), HVector3(0, 0, 0));
    CaptureStdout();
    ABTVertex v = ABTTreeBuilder::SplitSegment(a, c, plane);
    EXPECT_EQ(GetCapturedStdout(), "ABTTreeBuilder::SplitSegment segment division error\n");
    EXPECT_EQ(v.v, HVector3(0, 0, 0));
    EXPECT_EQ(v.n, HVector3(0, 0, 0));
    EXPECT_EQ(v.c, HVector3(0, 0, 0));
}

TEST(ABTTreeBuilder, ExportToAnUnwritablePathSaysSo) {
    ABTTreeBuilder b;
    CaptureStdout();
    b.Export("/nonexistent-folder/level.abt");
    EXPECT_EQ(GetCapturedStdout(),
              "ABTTreeBuilder::Export failed to open new file '/nonexistent-folder/level.abt'\n");
    EXPECT_TRUE(b.sorted.empty());
}

TEST(ABTTreeBuilder, EmptyBuildWritesFourEmptyTables) {
    ABTTreeBuilder b;
    b.Build(100, 4);
    EXPECT_TRUE(b.nodes.empty());
    EXPECT_EQ(b.root, -1);
    std::string text;
    b.ExportText(text, 2000, 12, 31, 23, 59, 58);
    EXPECT_EQ(text,
              "// Tarvelle Adaptive Binary Tree\n// 2000-12-31 23:59:58\n\n"
              "verts={\n}\nmat={\n}\nnodes={\n}\nchunks={\n}\n");
}

TEST(ABTTreeBuilder, ChunksFollowNodeAndMaterialRuns) {
    ABTTreeBuilder b;
    Insert(b, {Flat(-10), Flat(-9), Flat(10)}, "a.dds");
    Insert(b, {Flat(-8), Flat(9)}, "b.dds");
    b.SetWeights(HVector2(1, 0));
    b.Build(1, 1);
    std::string text;
    b.ExportText(text, 2024, 1, 1, 0, 0, 0);
    // Every face in a chunk row has that row's node and material, and the rows cover all.
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    const CfoNode* chunks = doc.FindChild("chunks");
    ASSERT_TRUE(chunks);
    uint32_t covered = 0;
    std::set<std::pair<int, int>> seen;
    for (const CfoNode* row : chunks->children) {
        int n = 0, m = 0, s = 0, c = 0;
        ASSERT_EQ(std::sscanf(row->FirstChild()->name.c_str(), "%i,%i,%i,%i", &n, &m, &s, &c), 4);
        EXPECT_EQ(static_cast<uint32_t>(s), covered);
        covered += static_cast<uint32_t>(c);
        for (int k = s / 3; k < (s + c) / 3; ++k) {
            EXPECT_EQ(b.sorted[static_cast<size_t>(k)]->node, static_cast<uint32_t>(n));
            EXPECT_EQ(b.sorted[static_cast<size_t>(k)]->material, static_cast<uint32_t>(m));
        }
        seen.insert({n, m});
    }
    EXPECT_EQ(covered, 15u);
    EXPECT_EQ(seen, (std::set<std::pair<int, int>>{{1, 0}, {1, 1}, {2, 0}, {2, 1}}));
}

namespace {
std::vector<std::string> loading_texts;
void RecordLoading(const std::string& text, bool) { loading_texts.push_back(text); }
}  // namespace

TEST(ABTBuilderStep, DefaultsLinesAndLoadingTexts) {
    worldtest::WriteFile("builder/obj_a.asm", worldtest::AsmText({Flat(0), Flat(5)}));
    std::string out_path = worldtest::ScratchDir() + "/builder/out.abt";
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("ABTBuilder={ output_file=\"" + out_path +
                          "\"; max_depth=2; Objects={ {builder/obj_a.asm,a.dds} {nocomma} "
                          "{builder/obj_a.asm,b.dds,extra} } }"));
    loading_texts.clear();
    SetWorldLoadingHook(RecordLoading);
    CaptureStdout();
    ABTBuilder(doc.FindChild("ABTBuilder"));
    std::string out = GetCapturedStdout();
    SetWorldLoadingHook(nullptr);
    EXPECT_EQ(out,
              "==================== Build ABT ======================\n"
              "output: " +
                  out_path +
                  "\n"
                  "overgrow: 0.1\n"
                  "weights: 0.7,0.3\n"
                  "max faces: 100\n"
                  "max depth: 2\n"
                  "builder/obj_a.asm,a.dds\n"
                  "ABTBuilder: object row 'nocomma' has no texture name, skipped\n"
                  "builder/obj_a.asm,b.dds,extra\n");
    EXPECT_EQ(loading_texts,
              (std::vector<std::string>{"Initiating ABTBuilder...", "Inserting objects into ABT...",
                                        "Building ABT...", "Saving ABT..."}));
    std::ifstream f(out_path);
    std::stringstream s;
    s << f.rdbuf();
    std::string text = s.str();
    EXPECT_EQ(text.rfind("// Tarvelle Adaptive Binary Tree\n", 0), 0u);
    EXPECT_NE(text.find("mat={\n\t{\"a.dds\"}\n\t{\"b.dds\"}\n}\n"), std::string::npos);
    EXPECT_NE(text.find("chunks={\n\t{0,0,0,6}\n\t{0,1,6,6}\n}\n"), std::string::npos);
}

TEST(ABTBuilderStep, AbsentNodeBuildsNothingAndCannotWrite) {
    CaptureStdout();
    ABTBuilder(nullptr);
    EXPECT_EQ(GetCapturedStdout(),
              "==================== Build ABT ======================\n"
              "output: \novergrow: 0.1\nweights: 0.7,0.3\nmax faces: 100\nmax depth: 4\n"
              "ABTTreeBuilder::Export failed to open new file ''\n");
}

TEST(ABTTreeBuilder, HugeDepthLimitIsCapped) {
    ABTTreeBuilder b;
    Insert(b, {Flat(1, 1)});
    CaptureStdout();
    b.Build(0, 4000000000u);
    EXPECT_EQ(GetCapturedStdout(), "ABTTreeBuilder: max depth 4000000000 cut to 32\n");
    EXPECT_EQ(b.nodes.size(), 33u);
}

TEST(ABTBuilderStep, NoObjectsWritesFourEmptyTables) {
    std::filesystem::create_directories(worldtest::ScratchDir() + "/builder");
    std::string out_path = worldtest::ScratchDir() + "/builder/empty.abt";
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("ABTBuilder={ output_file=\"" + out_path +
                          "\"; overgrow=0.5; weights=1,0; max_faces=7; }"));
    CaptureStdout();
    ABTBuilder(doc.FindChild("ABTBuilder"));
    EXPECT_EQ(GetCapturedStdout(),
              "==================== Build ABT ======================\n"
              "output: " +
                  out_path + "\novergrow: 0.5\nweights: 1,0\nmax faces: 7\nmax depth: 4\n");
    std::ifstream f(out_path);
    std::stringstream s;
    s << f.rdbuf();
    std::string text = s.str();
    size_t body = text.find("\n\n");
    ASSERT_NE(body, std::string::npos);
    EXPECT_EQ(text.substr(body + 2), "verts={\n}\nmat={\n}\nnodes={\n}\nchunks={\n}\n");
}

namespace {

// The "asm" text of a strip of `count` triangles along x, one unit wide, sharing their
// corners: corner 2i is (i, 0, 0), corner 2i + 1 is (i, 1, 0).
std::string StripAsm(int count) {
    std::string s = "verts={\n";
    int columns = count / 2 + 2;
    for (int i = 0; i < columns; ++i)
        s += "{" + std::to_string(i) + ",0,0}\n{" + std::to_string(i) + ",1,0}\n";
    s += "}\ntexcoords={ {0,0} }\nnormals={ {0,0,1} }\nfaces={\n";
    for (int f = 0; f < count; ++f) {
        int i = f / 2;
        int a = 2 * i, b = 2 * i + 1, c = 2 * i + 2, d = 2 * i + 3;
        std::string corners =
            f % 2 == 0 ? std::to_string(a) + "," + std::to_string(c) + "," + std::to_string(b)
                       : std::to_string(b) + "," + std::to_string(c) + "," + std::to_string(d);
        s += "{ {" + corners + "} {0,0,0} {0,0,0} }\n";
    }
    return s + "}\n";
}

}  // namespace

TEST(ABTBuilderStep, MeshTooLargeToDrawGoesWholeIntoTheTreeAndTheFile) {
    // 70 000 triangles are 210 000 corners, far past what 16-bit indices reach.
    const int kTriangles = 70000;
    worldtest::WriteFile("builder/strip.asm", StripAsm(kTriangles));
    std::string out_path = worldtest::ScratchDir() + "/builder/strip.abt";
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse("ABTBuilder={ output_file=\"" + out_path +
                          "\"; overgrow=0.5; max_faces=1000; max_depth=8; Objects={ "
                          "{builder/strip.asm,strip.dds} } }"));
    CaptureStdout();
    ABTBuilder(doc.FindChild("ABTBuilder"));
    std::string out = GetCapturedStdout();
    // The mesh says once that it cannot be drawn as it is, and the object is still there.
    EXPECT_EQ(out,
              "==================== Build ABT ======================\n"
              "output: " +
                  out_path +
                  "\novergrow: 0.5\nweights: 0.7,0.3\nmax faces: 1000\nmax depth: 8\n"
                  "ASM loader: 210000 corners, more than 65535; loaded for the ABT builder only, "
                  "it cannot be drawn directly\n"
                  "builder/strip.asm,strip.dds\n");

    std::ifstream f(out_path);
    std::stringstream s;
    s << f.rdbuf();
    ABTTree tree;
    CaptureStdout();
    worldtest::LoadText(tree, s.str(), 65535);
    GetCapturedStdout();
    ASSERT_EQ(tree.materials, (std::vector<std::string>{"strip.dds"}));
    // Every corner is written once (the strip is thin enough that no face is cut) ...
    ASSERT_EQ(tree.index_count, 3u * kTriangles);
    // ... and every one of them lies in a chunk of some leaf, in buffers 16-bit indices reach.
    size_t in_chunks = 0;
    double sum_x = 0.0, sum_y = 0.0;
    for (const ABTNode* node : tree.nodes)
        for (const ABTChunk* c : node->chunks) {
            in_chunks += c->count;
            for (uint32_t k = 0; k < c->count; ++k) {
                sum_x += tree.vertices[c->start + k].v.x;
                sum_y += tree.vertices[c->start + k].v.y;
            }
        }
    EXPECT_EQ(in_chunks, 3u * kTriangles);
    EXPECT_GT(tree.nodes.size(), 64u);
    for (const ABTVertexBuffer* vb : tree.vertex_buffers) EXPECT_LE(vb->count, 65535u);
    // The corners are the mesh's: triangle 2i has x = i, i + 1, i and y = 0, 0, 1; triangle
    // 2i + 1 has x = i, i + 1, i + 1 and y = 1, 0, 1.
    double want_x = 0.0, want_y = 0.0;
    for (int t = 0; t < kTriangles; ++t) {
        int i = t / 2;
        want_x += t % 2 == 0 ? 3.0 * i + 1.0 : 3.0 * i + 2.0;
        want_y += t % 2 == 0 ? 1.0 : 2.0;
    }
    EXPECT_EQ(sum_x, want_x);
    EXPECT_EQ(sum_y, want_y);
}
