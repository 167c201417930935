// The ABT tree drawn by GL under Xvfb: a built level shows its textured triangles, and a
// camera turned away draws nothing.
#include <gtest/gtest.h>

#include "../resources/imagewriters.h"
#include "support/glcontext.h"

#include <SDL.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "platform/settings.h"
#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "resources/resourcemanager.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "world/abttree.h"
#include "world/abttreebuilder.h"
#include "world/meshasm.h"

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;
VELMORA_GL_TEST_CONTEXT("abt", kWidth, kHeight);

std::string Scratch() {
    static std::string dir = [] {
        std::string d = (std::filesystem::temp_directory_path() /
                         ("velmora_abtgfx_" + std::to_string(getpid())))
                            .string();
        std::filesystem::create_directories(d);
        FileSystemMount(d);
        return d;
    }();
    return dir;
}

// A 4x4 DXT1 texture of one colour (RGB565), with its 2x2 and 1x1 levels.
void WriteSolidDds(const std::string& name, uint16_t color565) {
    const std::vector<uint8_t> b =
        testfiles::MakeDDS(4, 4, "DXT1", 3, testfiles::Dxt1Solid(color565));
    std::ofstream f(std::filesystem::path(Scratch()) / name, std::ios::binary);
    f.write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

void AddQuad(std::string& verts, std::string& faces, int& n, HVector3 a, HVector3 b, HVector3 c,
             HVector3 d) {
    for (const HVector3& v : {a, b, c, d})
        verts += "{" + std::to_string(v.x) + "," + std::to_string(v.y) + "," + std::to_string(v.z) +
                 "}\n";
    faces += "{ {" + std::to_string(n) + "," + std::to_string(n + 1) + "," + std::to_string(n + 2) +
             "} {0,0,0} {0,0,0} }\n";
    faces += "{ {" + std::to_string(n) + "," + std::to_string(n + 2) + "," + std::to_string(n + 3) +
             "} {0,0,0} {0,0,0} }\n";
    n += 4;
}

// A floor of 8 by 8 tiles (red) and a row of walls (green) along y = 40.
void WriteLevelMeshes() {
    std::string fv, ff, wv, wf;
    int fn = 0, wn = 0;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) {
            float x = -40.0f + 10.0f * i, y = -40.0f + 10.0f * j;
            AddQuad(fv, ff, fn, {x, y, 0}, {x + 10, y, 0}, {x + 10, y + 10, 0}, {x, y + 10, 0});
        }
    for (int i = 0; i < 8; ++i) {
        float x = -40.0f + 10.0f * i;
        AddQuad(wv, wf, wn, {x, 40, 0}, {x + 10, 40, 0}, {x + 10, 40, 20}, {x, 40, 20});
    }
    const std::string common = "texcoords={ {0.5,0.5} }\nnormals={ {0,0,1} }\n";
    std::ofstream(std::filesystem::path(Scratch()) / "floor.asm") << "verts={\n"
                                                                  << fv << "}\n"
                                                                  << common << "faces={\n"
                                                                  << ff << "}\n";
    std::ofstream(std::filesystem::path(Scratch()) / "walls.asm") << "verts={\n"
                                                                  << wv << "}\n"
                                                                  << common << "faces={\n"
                                                                  << wf << "}\n";
}

struct Pixel {
    unsigned r, g, b;
};

Pixel ReadPixel(int x, int y) {
    unsigned char p[4] = {0, 0, 0, 0};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
    return {p[0], p[1], p[2]};
}

class ABTGfx : public ::testing::Test {
protected:
    void SetUp() override {
        WriteSolidDds("red.dds", 0xF800);
        WriteSolidDds("green.dds", 0x07E0);
        WriteLevelMeshes();
        ABTTreeBuilder builder;
        builder.InsertObject("floor.asm", "red.dds");
        builder.InsertObject("walls.asm", "green.dds");
        ASSERT_EQ(builder.faces.size(), 144u);
        builder.SetWeights(HVector2(0.7f, 0.3f));
        builder.SetOvergrow(0.1f);
        builder.Build(8, 5);
        builder.Export(Scratch() + "/level.abt");

        resources.RegisterType<TextureDDS>("dds");
        glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &max_elements_indices);
        ASSERT_GT(max_elements_indices, 0);
        tree.Load("level.abt");
        ASSERT_GT(tree.nodes.size(), 3u);
        tree.BuildVertexBuffers();
        tree.LoadTextures(&resources);
        ASSERT_TRUE(tree.textures[0].IsValid());
        ASSERT_TRUE(tree.textures[1].IsValid());
    }

    void Frame(Camera& cam) {
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        glDisable(GL_LIGHTING);
        glDisable(GL_CULL_FACE);
        cam.SetupView(static_cast<float>(kWidth) / kHeight, 1.0f, 500.0f);
        cam.ExtractFrustum();
        tree.Render(&cam, 1);
        glFinish();
    }

    ResourceManager resources;
    ABTTree tree;
};

}  // namespace

TEST_F(ABTGfx, LevelShowsItsTexturedTriangles) {
    Camera cam;
    cam.fov = 60.0f;
    cam.position = HVector3(0, -30, 10);
    cam.target = HVector3(0, 40, 8);
    cam.up = HVector3(0, 0, 1);
    Frame(cam);
    EXPECT_GT(tree.draws, 0u);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    // The wall straight ahead is green, the floor below the middle is red.
    Pixel wall = ReadPixel(kWidth / 2, kHeight / 2 + 5);
    EXPECT_LT(wall.r, 30u);
    EXPECT_GT(wall.g, 200u);
    EXPECT_LT(wall.b, 30u);
    Pixel floor = ReadPixel(kWidth / 2, 5);
    EXPECT_GT(floor.r, 200u);
    EXPECT_LT(floor.g, 30u);
    EXPECT_LT(floor.b, 30u);
    // Above the walls there is nothing: the clear colour.
    Pixel sky = ReadPixel(kWidth / 2, kHeight - 2);
    EXPECT_EQ(sky.r + sky.g + sky.b, 0u);
}

TEST_F(ABTGfx, CameraTurnedAwayDrawsNothing) {
    Camera cam;
    cam.fov = 60.0f;
    cam.position = HVector3(0, -100, 10);
    cam.target = HVector3(0, -300, 10);  // looking away from the level
    cam.up = HVector3(0, 0, 1);
    Frame(cam);
    EXPECT_EQ(tree.draws, 0u);
    EXPECT_EQ(tree.buffer_switches, static_cast<uint32_t>(tree.vertex_buffers.size()));
    EXPECT_EQ(tree.texture_binds, static_cast<uint32_t>(tree.vertex_buffers.size() * 2));
    for (int y = 0; y < kHeight; y += 7)
        for (int x = 0; x < kWidth; x += 7) {
            Pixel p = ReadPixel(x, y);
            ASSERT_EQ(p.r + p.g + p.b, 0u) << x << "," << y;
        }
}

TEST_F(ABTGfx, EveryTriangleDrawnFromAbove) {
    // From high above, looking down, every leaf is seen and all floor tiles show.
    Camera cam;
    cam.fov = 90.0f;
    cam.position = HVector3(0, 0, 150);
    cam.target = HVector3(0, 0.001f, 0);
    cam.up = HVector3(0, 1, 0);
    Frame(cam);
    uint32_t leaf_chunks = 0;
    for (const ABTNode* n : tree.nodes) leaf_chunks += static_cast<uint32_t>(n->chunks.size());
    EXPECT_GT(tree.draws, 0u);
    EXPECT_LE(tree.draws, leaf_chunks);
    Pixel centre = ReadPixel(kWidth / 2, kHeight / 2);
    EXPECT_GT(centre.r, 200u);
}

TEST_F(ABTGfx, PerChunkPathsDrawTheSameLevel) {
    Camera cam;
    cam.fov = 90.0f;
    cam.position = HVector3(0, 0, 150);
    cam.target = HVector3(0, 0.001f, 0);
    cam.up = HVector3(0, 1, 0);
    uint32_t chunks = 0;
    for (const ABTNode* n : tree.nodes) chunks += static_cast<uint32_t>(n->chunks.size());
    tree.CompileDisplayLists();
    for (const ABTNode* n : tree.nodes)
        for (const ABTChunk* c : n->chunks) EXPECT_NE(c->list, 0u);
    for (int mode = 0; mode < 3; ++mode) {
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glEnable(GL_DEPTH_TEST);
        cam.SetupView(static_cast<float>(kWidth) / kHeight, 1.0f, 500.0f);
        cam.ExtractFrustum();
        tree.RenderCulled(&cam, mode);
        glFinish();
        EXPECT_EQ(tree.draws, chunks) << "mode " << mode;
        EXPECT_EQ(tree.texture_binds, chunks) << "mode " << mode;
        Pixel centre = ReadPixel(kWidth / 2, kHeight / 2);
        EXPECT_GT(centre.r, 200u) << "mode " << mode;
        EXPECT_LT(centre.g, 30u) << "mode " << mode;
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "mode " << mode;
    }
    glDisable(GL_ALPHA_TEST);
    // Turned away, the culled path draws nothing; RenderAll draws every chunk anyway.
    cam.target = HVector3(0, 0.001f, 300);
    cam.SetupView(static_cast<float>(kWidth) / kHeight, 1.0f, 500.0f);
    cam.ExtractFrustum();
    tree.RenderCulled(&cam, 1);
    EXPECT_EQ(tree.draws, 0u);
    tree.RenderAll(1);
    EXPECT_EQ(tree.draws, chunks);
    glDisable(GL_ALPHA_TEST);
}

// Identity matrices, flat colours and a black frame: what the mesh tests draw on.
static void BeginFlatDraw() {
    glViewport(0, 0, kWidth, kHeight);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_LIGHTING);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
}

TEST(MeshGfx, StaticMeshDrawsWithItsVertexColours) {
    MeshASM mesh;
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(
        "verts={ {-1,-1,0} {1,-1,0} {1,1,0} {-1,1,0} }\n"
        "texcoords={ {0,0} }\nnormals={ {0,0,1} }\ncolor={ {0,0,1} }\n"
        "faces={ { {0,1,2} {0,0,0} {0,0,0} {0,0,0} } { {0,2,3} {0,0,0} {0,0,0} {0,0,0} } }\n"));
    ASSERT_TRUE(mesh.LoadASMDocument(&doc));
    BeginFlatDraw();
    mesh.Draw();
    glFinish();
    Pixel p = ReadPixel(kWidth / 2, kHeight / 2);
    EXPECT_EQ(p.r, 0u);
    EXPECT_EQ(p.g, 0u);
    EXPECT_EQ(p.b, 255u);
    EXPECT_FALSE(glIsEnabled(GL_COLOR_ARRAY));
    EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
    // No faces: nothing is drawn.
    MeshASM empty;
    CfoDocument none;
    ASSERT_TRUE(none.Parse("verts={ {0,0,0} } texcoords={ {0,0} } normals={ {0,0,1} }"));
    ASSERT_TRUE(empty.LoadASMDocument(&none));
    glClear(GL_COLOR_BUFFER_BIT);
    empty.Draw();
    glFinish();
    Pixel q = ReadPixel(kWidth / 2, kHeight / 2);
    EXPECT_EQ(q.r + q.g + q.b, 0u);
}

TEST(MeshGfx, MeshTooLargeForShortIndicesLoadsAndDrawsNothing) {
    // 21 846 triangles are 65 538 corners: more than 16-bit indices reach. The mesh loads for
    // the ABT builder, and Draw touches neither the screen nor the client state.
    std::string text =
        "verts={ {-1,-1,0} {1,-1,0} {1,1,0} }\ntexcoords={ {0,0} }\nnormals={ {0,0,1} }\n"
        "color={ {1,1,1} }\nfaces={\n";
    for (int i = 0; i < 21846; ++i) text += "{ {0,1,2} {0,0,0} {0,0,0} {0,0,0} }\n";
    text += "}\n";
    MeshASM mesh;
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(mesh.LoadASMDocument(&doc));
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(mesh.drawable);
    BeginFlatDraw();
    mesh.Draw();
    glFinish();
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    // The triangle would cover this point.
    Pixel p = ReadPixel(kWidth / 2 + 20, kHeight / 2 - 20);
    EXPECT_EQ(p.r + p.g + p.b, 0u);
    EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
    EXPECT_FALSE(glIsEnabled(GL_COLOR_ARRAY));
    // One triangle fewer fits, and the same point turns white.
    text.erase(text.rfind("{ {0,1,2}"),
               std::string("{ {0,1,2} {0,0,0} {0,0,0} {0,0,0} }\n").size());
    MeshASM fits;
    CfoDocument fits_doc;
    ASSERT_TRUE(fits_doc.Parse(text));
    ASSERT_TRUE(fits.LoadASMDocument(&fits_doc));
    EXPECT_TRUE(fits.drawable);
    fits.Draw();
    glFinish();
    Pixel q = ReadPixel(kWidth / 2 + 20, kHeight / 2 - 20);
    EXPECT_EQ(q.r + q.g + q.b, 3u * 255u);
}
