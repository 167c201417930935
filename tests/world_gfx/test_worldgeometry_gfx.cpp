// WorldGeometry and StaticGeometry with GL under Xvfb: the level's shader files compile,
// a generated level loads from its "ABTBuilder" and "file" keys and draws with each
// shading path, with the GL state and program parameters of that path in force while
// the tree draws; fog closes the view long before the far plane; the null node and a
// missing file draw nothing; StaticGeometry only sets the collision view's state.
#include <gtest/gtest.h>

#include "../resources/imagewriters.h"
#include "support/glcontext.h"

#include <SDL.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "gl/glprocs.h"
#include "math/hmatrix4.h"
#include "platform/settings.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "scene/camera.h"
#include "scene/renderqueue.h"
#include "world/abttree.h"
#include "world/meshasm.h"
#include "world/staticgeometry.h"
#include "world/worldgeometry.h"
#include "world/worldloading.h"
#include "world/worldtest.h"

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 120;
VELMORA_GL_TEST_CONTEXT("worldgeometry", kWidth, kHeight);

void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    ASSERT_TRUE(mounted);
}

// A 4x4 DXT1 texture of one colour (RGB565) with its 2x2 and 1x1 levels.
void WriteSolidDds(const std::string& name, uint16_t color565) {
    const std::vector<uint8_t> b =
        testfiles::MakeDDS(4, 4, "DXT1", 3, testfiles::Dxt1Solid(color565));
    worldtest::WriteFile(name, std::string(b.begin(), b.end()));
}

// A floor of 8 by 8 tiles of 25 units around the origin, facing up.
void WriteFloorMesh(const std::string& name) {
    std::vector<worldtest::Tri> tris;
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j) {
            float x = -100.0f + 25.0f * i, y = -100.0f + 25.0f * j;
            tris.push_back({{x, y, 0}, {x + 25, y, 0}, {x + 25, y + 25, 0}});
            tris.push_back({{x, y, 0}, {x + 25, y + 25, 0}, {x, y + 25, 0}});
        }
    worldtest::WriteFile(name, worldtest::AsmText(tris));
}

struct Pixel {
    int r, g, b;
};

Pixel ReadPixel(int x, int y) {
    unsigned char p[4] = {0, 0, 0, 0};
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
    return {p[0], p[1], p[2]};
}

std::vector<unsigned char> ReadFrame() {
    std::vector<unsigned char> frame(static_cast<size_t>(kWidth * kHeight * 4));
    glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, frame.data());
    return frame;
}

bool FrameIsClear(const std::vector<unsigned char>& frame) {
    for (size_t i = 0; i < frame.size(); i += 4)
        if (frame[i] + frame[i + 1] + frame[i + 2] != 0) return false;
    return true;
}

std::vector<std::string>& Shown() {
    static std::vector<std::string> shown;
    return shown;
}
void RecordScreen(const std::string& text, bool) { Shown().push_back(text); }

// What GL holds while the tree draws: recorded at the backend's Begin, then the real GL
// backend draws.
struct StateAtDraw : ABTRenderBackend {
    bool began = false;
    bool depth = false, colour_material = false, cull = false, alpha = false, blend = false,
         fog = false, texture = false;
    GLint cull_mode = 0, alpha_func = 0, blend_src = 0, blend_dst = 0, fog_mode = 0, fog_hint = 0,
          fog_source = 0, program = 0, stack = 0;
    GLfloat alpha_ref = 0, fog_start = -1, fog_end = -1, fog_color[4] = {0, 0, 0, 0};
    uint32_t layer_program = 0;  // what the shading layer says is in use
    float modelview[16] = {}, projection[16] = {};

    void Begin(ABTTree& tree) override {
        began = true;
        depth = glIsEnabled(GL_DEPTH_TEST);
        colour_material = glIsEnabled(GL_COLOR_MATERIAL);
        cull = glIsEnabled(GL_CULL_FACE);
        alpha = glIsEnabled(GL_ALPHA_TEST);
        blend = glIsEnabled(GL_BLEND);
        fog = glIsEnabled(GL_FOG);
        glGetIntegerv(GL_CULL_FACE_MODE, &cull_mode);
        glGetIntegerv(GL_ALPHA_TEST_FUNC, &alpha_func);
        glGetFloatv(GL_ALPHA_TEST_REF, &alpha_ref);
        glGetIntegerv(GL_BLEND_SRC, &blend_src);
        glGetIntegerv(GL_BLEND_DST, &blend_dst);
        glGetIntegerv(GL_FOG_MODE, &fog_mode);
        glGetFloatv(GL_FOG_START, &fog_start);
        glGetFloatv(GL_FOG_END, &fog_end);
        glGetFloatv(GL_FOG_COLOR, fog_color);
        glGetIntegerv(GL_FOG_HINT, &fog_hint);
        glGetIntegerv(GL_FOG_COORDINATE_SOURCE, &fog_source);
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        layer_program = ShaderProgram::ActiveGlProgram();
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack);
        glGetFloatv(GL_MODELVIEW_MATRIX, modelview);
        glGetFloatv(GL_PROJECTION_MATRIX, projection);
        ABTGLBackend()->Begin(tree);
        texture = glIsEnabled(GL_TEXTURE_2D);
    }
    void BindBuffer(ABTTree& tree, uint32_t buffer) override {
        ABTGLBackend()->BindBuffer(tree, buffer);
    }
    void BindMaterial(ABTTree& tree, uint32_t material) override {
        ABTGLBackend()->BindMaterial(tree, material);
    }
    void MultiDraw(ABTTree& tree, const int32_t* counts, const uint16_t* const* pointers,
                   uint32_t size) override {
        ABTGLBackend()->MultiDraw(tree, counts, pointers, size);
    }
    void End(ABTTree& tree) override { ABTGLBackend()->End(tree); }

    // A uniform of the program in use while the tree drew; false when it has none.
    bool Uniform(const char* name, float* out) const {
        static auto get =
            reinterpret_cast<PFNGLGETUNIFORMFVPROC>(SDL_GL_GetProcAddress("glGetUniformfv"));
        GLint loc = glGetUniformLocation(static_cast<GLuint>(program), name);
        if (loc < 0) return false;
        get(static_cast<GLuint>(program), loc, out);
        return true;
    }
};

HMatrix4 FromGl(const float* gl) {
    HMatrix4 r;
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col) r.m[row][col] = gl[col * 4 + row];
    return r;
}

void ExpectMatrixNear(const float* gl_uniform, const HMatrix4& want) {
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            EXPECT_NEAR(gl_uniform[col * 4 + row], want.m[row][col],
                        1e-3f * (1.0f + std::fabs(want.m[row][col])))
                << row << "," << col;
}

void Expect3(const float* v, float x, float y, float z) {
    EXPECT_NEAR(v[0], x, 1e-4f);
    EXPECT_NEAR(v[1], y, 1e-4f);
    EXPECT_NEAR(v[2], z, 1e-4f);
}

class WorldGeometryGfx : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSettings();
        MountData();
        testing::internal::CaptureStdout();
        InitCg("glslv", "glslf");
        testing::internal::GetCapturedStdout();
        ASSERT_TRUE(cg_context);
        resources.RegisterType<ShaderProgram>("cg");
        resources.RegisterType<TextureDDS>("dds");
        resources.RegisterType<MeshASM>("asm");
        glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &max_elements_indices);
        WriteSolidDds("wgfx/white.dds", 0xFFFF);
        WriteFloorMesh("wgfx/floor.asm");
        Shown().clear();
        SetWorldLoadingHook(&RecordScreen);
        // The state a frame starts from.
        glDisable(GL_FOG);
        glDisable(GL_BLEND);
        glDisable(GL_CULL_FACE);
        glDisable(GL_ALPHA_TEST);
        glDisable(GL_COLOR_MATERIAL);
        glDisable(GL_DEPTH_TEST);
        glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    }
    void TearDown() override {
        SetWorldLoadingHook(nullptr);
        ResetSettings();
    }

    // The level document: the builder step writes the file, "file" reads it back.
    std::string LevelText(const std::string& file_key) const {
        return "WorldGeometry={ name=world;"
               " ABTBuilder={ output_file=\"" +
               worldtest::ScratchDir() +
               "/wgfx/level.abt\"; max_faces=16; max_depth=4;"
               " Objects={ {wgfx/floor.asm,wgfx/white.dds} } }" +
               file_key +
               " PhysicsStaticGeometry={ hull={ {-1,-1} {1,-1} {1,1} {-1,1} } pos=\"3,4\"; } }";
    }

    void LoadLevel(WorldGeometry& w, const std::string& text) {
        ASSERT_TRUE(doc.Parse(text));
        testing::internal::CaptureStdout();
        w.Load(doc.FindChild("WorldGeometry"), &resources);
        load_log = testing::internal::GetCapturedStdout();
    }

    // Clears, sets up the camera's view and renders the world as the queue would.
    void Frame(WorldGeometry& w, Camera& cam) {
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_MODELVIEW);
        cam.SetupView(static_cast<double>(kWidth) / kHeight, 1.0, 5000.0);
        cam.ExtractFrustum();
        queue.camera = &cam;
        glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack_before);
        w.Render(&queue);
        glFinish();
    }

    static Camera NearCamera() {
        Camera cam;
        cam.fov = 60.0f;
        cam.position = HVector3(0, -150, 80);
        cam.target = HVector3(0, 0, 0);
        cam.up = HVector3(0, 0, 1);
        return cam;
    }

    ResourceManager resources;  // declared first: the handles go before it
    CfoDocument doc;
    RenderQueue queue;
    std::string load_log;
    GLint stack_before = 0;
};

// What both shading paths set before the tree draws: depth, colour material, back-face
// culling, the alpha test and blending.
void ExpectWorldState(const StateAtDraw& state) {
    EXPECT_TRUE(state.depth);
    EXPECT_TRUE(state.colour_material);
    EXPECT_TRUE(state.cull);
    EXPECT_EQ(state.cull_mode, GL_BACK);
    EXPECT_TRUE(state.alpha);
    EXPECT_EQ(state.alpha_func, GL_GREATER);
    EXPECT_NEAR(state.alpha_ref, 0.2f, 1e-6f);
    EXPECT_TRUE(state.blend);
    EXPECT_EQ(state.blend_src, GL_SRC_ALPHA);
    EXPECT_EQ(state.blend_dst, GL_ONE_MINUS_SRC_ALPHA);
}

}  // namespace

TEST(WorldShadersGfx, EveryShaderFileCompilesForItsStage) {
    MountData();
    testing::internal::CaptureStdout();
    InitCg("glslv", "glslf");
    testing::internal::GetCapturedStdout();
    ResourceManager resources;
    resources.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> simple, vertex, fragment, test;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(resources.Load(simple, "resources/shaders/static_geometry_simple.cg"));
    EXPECT_TRUE(resources.Load(vertex, "resources/shaders/static_geometry.cg"));
    SetShaderLoadMode(false);
    EXPECT_TRUE(resources.Load(fragment, "resources/shaders/static_geometry_fragment.cg"));
    SetShaderLoadMode(true);
    EXPECT_TRUE(resources.Load(test, "cgtest.cg"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(simple->vertex);
    EXPECT_TRUE(vertex->vertex);
    EXPECT_FALSE(fragment->vertex);
    EXPECT_TRUE(test->vertex);
    // The two stages of the advanced path link as a pair.
    testing::internal::CaptureStdout();
    ShaderProgram::EnableProfile(cg_vertex_profile);
    ShaderProgram::EnableProfile(cg_fragment_profile);
    vertex->Bind();
    fragment->Bind();
    const uint32_t pair = ShaderProgram::ActiveGlProgram();
    ShaderProgram::DisableProfile(cg_vertex_profile);
    ShaderProgram::DisableProfile(cg_fragment_profile);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_NE(pair, 0u);
    EXPECT_NE(pair, vertex->program);
    EXPECT_NE(pair, fragment->program);
}

TEST_F(WorldGeometryGfx, LoadBuildsReadsAndFetchesInOrder) {
    WorldGeometry w;
    LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
    EXPECT_EQ(Shown(), (std::vector<std::string>{
                           "Initiating ABTBuilder...", "Inserting objects into ABT...",
                           "Building ABT...", "Saving ABT...", "Loading ABT...", "Reading verts...",
                           "Reading material names...", "Reading nodes...", "Reading chunks...",
                           "Updating child indexes...", "Building vertex buffers...",
                           "Reading textures...", "Loading collision geometry..."}));
    EXPECT_GT(w.tree.nodes.size(), 3u);
    ASSERT_EQ(w.tree.materials.size(), 1u);
    EXPECT_TRUE(w.tree.textures[0].IsValid());
    EXPECT_FALSE(w.tree.vertex_buffers.empty());
    EXPECT_NE(w.tree.vertex_buffers[0]->position_buffer, 0u);
    ASSERT_EQ(w.collision_objects.size(), 1u);
    EXPECT_EQ(w.collision_objects[0]->body.position.x, 3.0f);
    EXPECT_EQ(w.name, "world");
    EXPECT_TRUE(w.vertex_program.IsValid());
    EXPECT_FALSE(w.fragment_program.IsValid());
}

TEST_F(WorldGeometryGfx, SimplePathRunsWithoutAdvancedShadingWhateverTheExtension) {
    r_advanced_shading = false;
    WorldGeometry w;
    LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
    w.Bind(nullptr, nullptr, nullptr);
    ASSERT_TRUE(w.has_fragment_program);  // the card has fragment programs
    EXPECT_FALSE(w.fragment_program.IsValid());
    ASSERT_TRUE(w.vertex_program.IsValid());
    StateAtDraw state;
    w.tree.backend = &state;
    Camera cam = NearCamera();
    Frame(w, cam);
    ASSERT_TRUE(state.began);
    EXPECT_GT(w.tree.draws, 0u);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

    ExpectWorldState(state);
    EXPECT_TRUE(state.fog);
    EXPECT_EQ(state.fog_mode, GL_LINEAR);
    EXPECT_EQ(state.fog_start, 0.0f);
    EXPECT_EQ(state.fog_end, 1.0f);
    EXPECT_NEAR(state.fog_color[0], 0.55f, 1e-6f);
    EXPECT_NEAR(state.fog_color[1], 0.5f, 1e-6f);
    EXPECT_NEAR(state.fog_color[2], 0.4f, 1e-6f);
    EXPECT_NEAR(state.fog_color[3], 1.0f, 1e-6f);
    EXPECT_EQ(state.fog_hint, GL_NICEST);
    EXPECT_EQ(state.fog_source, GL_FOG_COORDINATE);
    EXPECT_TRUE(state.texture);
    EXPECT_EQ(state.stack, stack_before + 1);  // inside the pushed matrix
    // The vertex program alone, with the simple light and both matrices.
    EXPECT_EQ(static_cast<uint32_t>(state.program), w.vertex_program->program);
    EXPECT_EQ(state.layer_program, w.vertex_program->program);
    float v[16];
    ASSERT_TRUE(state.Uniform("LigthPos", v));
    Expect3(v, 0.0f, 0.0f, 100.0f);
    ASSERT_TRUE(state.Uniform("LigthColor", v));
    Expect3(v, 1.0f, 1.0f, 0.6f);
    const HMatrix4 mv = FromGl(state.modelview), proj = FromGl(state.projection);
    ASSERT_TRUE(state.Uniform("ModelView", v));
    ExpectMatrixNear(v, mv.Inverse());
    ASSERT_TRUE(state.Uniform("ModelViewProj", v));
    ExpectMatrixNear(v, proj * mv);

    // Afterwards: no program, the matrix popped, no alpha test; fog and blending stay.
    EXPECT_EQ(ShaderProgram::ActiveGlProgram(), 0u);
    GLint stack_after = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack_after);
    EXPECT_EQ(stack_after, stack_before);
    EXPECT_FALSE(glIsEnabled(GL_ALPHA_TEST));
    EXPECT_TRUE(glIsEnabled(GL_FOG));
    EXPECT_TRUE(glIsEnabled(GL_BLEND));

    // The floor below the middle is lit, warm white (the light is yellowish), barely fogged.
    Pixel floor = ReadPixel(kWidth / 2, kHeight / 2);
    EXPECT_NEAR(floor.r, 250, 6) << floor.r << "," << floor.g << "," << floor.b;
    EXPECT_NEAR(floor.g, 250, 6) << floor.r << "," << floor.g << "," << floor.b;
    EXPECT_NEAR(floor.b, 224, 8) << floor.r << "," << floor.g << "," << floor.b;
    // Above the floor's far edge: the clear colour.
    Pixel sky = ReadPixel(kWidth / 2, kHeight - 2);
    EXPECT_EQ(sky.r + sky.g + sky.b, 0);
}

TEST_F(WorldGeometryGfx, AdvancedPathLinksBothProgramsAndLeavesTheFogAlone) {
    r_advanced_shading = true;
    WorldGeometry w;
    LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
    EXPECT_EQ(load_log.find("Cg error"), std::string::npos) << load_log;
    ASSERT_TRUE(w.vertex_program.IsValid());
    ASSERT_TRUE(w.fragment_program.IsValid());
    EXPECT_TRUE(w.vertex_program->vertex);
    EXPECT_FALSE(w.fragment_program->vertex);
    EXPECT_TRUE(shader_load_as_vertex);
    w.Bind(nullptr, nullptr, nullptr);
    ASSERT_TRUE(w.has_fragment_program);
    StateAtDraw state;
    w.tree.backend = &state;
    Camera cam = NearCamera();
    testing::internal::CaptureStdout();
    Frame(w, cam);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_TRUE(state.began);
    EXPECT_GT(w.tree.draws, 0u);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));

    ExpectWorldState(state);
    EXPECT_FALSE(state.fog);  // no fog state is touched
    EXPECT_EQ(state.stack, stack_before + 1);
    // The linked pair of both programs.
    EXPECT_EQ(static_cast<uint32_t>(state.program), state.layer_program);
    EXPECT_NE(static_cast<uint32_t>(state.program), 0u);
    EXPECT_NE(static_cast<uint32_t>(state.program), w.vertex_program->program);
    EXPECT_NE(static_cast<uint32_t>(state.program), w.fragment_program->program);
    float v[16];
    ASSERT_TRUE(state.Uniform("CameraPos", v));
    Expect3(v, 0.0f, -150.0f, 80.0f);
    ASSERT_TRUE(state.Uniform("CameraDir", v));
    Expect3(v, 0.0f, -150.0f, 80.0f);  // eye minus the point looked at (the origin)
    // The two stages share the light's names in one linked program: the fragment
    // stage's normalised direction is set last.
    const float n = std::sqrt(100.0f * 100.0f + 100.0f * 100.0f + 150.0f * 150.0f);
    ASSERT_TRUE(state.Uniform("LigthPos", v));
    Expect3(v, 100.0f / n, 100.0f / n, 150.0f / n);
    ASSERT_TRUE(state.Uniform("LigthColor", v));
    Expect3(v, 1.0f, 1.0f, 0.6f);
    ASSERT_TRUE(state.Uniform("ModelViewProj", v));
    ExpectMatrixNear(v, FromGl(state.projection) * FromGl(state.modelview));
    // The vertex program's own values are the position.
    ShaderProgram::EnableProfile(cg_vertex_profile);
    w.vertex_program->Bind();
    GLint alone = 0;
    glGetIntegerv(GL_CURRENT_PROGRAM, &alone);
    StateAtDraw vertex_only;
    vertex_only.program = alone;
    ASSERT_TRUE(vertex_only.Uniform("LigthPos", v));
    Expect3(v, 100.0f, 100.0f, 150.0f);
    ShaderProgram::DisableProfile(cg_vertex_profile);

    EXPECT_EQ(ShaderProgram::ActiveGlProgram(), 0u);
    EXPECT_FALSE(glIsEnabled(GL_ALPHA_TEST));
    EXPECT_FALSE(glIsEnabled(GL_FOG));
    GLint stack_after = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack_after);
    EXPECT_EQ(stack_after, stack_before);

    // Lit from the side by the directional light: warm white, bluer parts held back.
    Pixel floor = ReadPixel(kWidth / 2, kHeight / 2);
    EXPECT_NEAR(floor.r, 250, 6) << floor.r << "," << floor.g << "," << floor.b;
    EXPECT_NEAR(floor.g, 250, 6) << floor.r << "," << floor.g << "," << floor.b;
    EXPECT_NEAR(floor.b, 186, 8) << floor.r << "," << floor.g << "," << floor.b;
    Pixel sky = ReadPixel(kWidth / 2, kHeight - 2);
    EXPECT_EQ(sky.r + sky.g + sky.b, 0);
}

TEST_F(WorldGeometryGfx, FogClosesTheViewLongBeforeTheFarPlane) {
    for (bool advanced : {false, true}) {
        r_advanced_shading = advanced;
        WorldGeometry w;
        LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
        w.Bind(nullptr, nullptr, nullptr);
        // 2500 units away, half the far plane: only the fog's colour is left.
        Camera cam;
        cam.fov = 30.0f;
        cam.position = HVector3(0, -2500, 400);
        cam.target = HVector3(0, 0, 0);
        cam.up = HVector3(0, 0, 1);
        Frame(w, cam);
        EXPECT_GT(w.tree.draws, 0u);
        Pixel p = ReadPixel(kWidth / 2, kHeight / 2);
        EXPECT_NEAR(p.r, 140, 4) << "advanced " << advanced;
        EXPECT_NEAR(p.g, 128, 4) << "advanced " << advanced;
        EXPECT_NEAR(p.b, 102, 4) << "advanced " << advanced;
        glDisable(GL_FOG);
    }
}

TEST_F(WorldGeometryGfx, RenderModeChangesNothingOnScreen) {
    r_advanced_shading = false;
    WorldGeometry w;
    LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
    w.Bind(nullptr, nullptr, nullptr);
    Camera cam = NearCamera();
    r_abt_render_mode = VBO;
    Frame(w, cam);
    const std::vector<unsigned char> vbo = ReadFrame();
    const uint32_t draws = w.tree.draws;
    ASSERT_FALSE(FrameIsClear(vbo));
    for (int32_t mode : {static_cast<int32_t>(VAR), static_cast<int32_t>(LIST)}) {
        r_abt_render_mode = mode;
        Frame(w, cam);
        EXPECT_EQ(w.tree.draws, draws) << mode;
        EXPECT_TRUE(ReadFrame() == vbo) << mode;
    }
}

TEST_F(WorldGeometryGfx, F8AfterAFramePrintsItsCounters) {
    r_advanced_shading = false;
    WorldGeometry w;
    LoadLevel(w, LevelText(" file=\"wgfx/level.abt\";"));
    Camera cam = NearCamera();
    Frame(w, cam);
    w.dt = 0.1f;
    const ABTTree& t = w.tree;
    ASSERT_GT(t.draws, 0u);
    const HAxisAlignedBox& box = t.nodes[static_cast<size_t>(t.root)]->box;
    // The builder's root box is the floor: 200 by 200, flat, around the origin.
    EXPECT_NEAR(box.GetMinimum().x, -100.0f, 1e-4f);
    EXPECT_NEAR(box.GetMaximum().y, 100.0f, 1e-4f);
    Sdl12Event e{};
    e.key.type = SDL12_KEYDOWN;
    e.key.keysym.sym = 289;
    InputEvent f8(e);
    testing::internal::CaptureStdout();
    w.OnInput(&f8);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "10 d:" + std::to_string(t.draws) + " t:" + std::to_string(t.texture_binds) +
                  " tpn:" + std::to_string(t.textures_per_buffer) +
                  " bsw:" + std::to_string(t.buffer_switches) +
                  "  bs:" + std::to_string(t.min_chunk) + " " + std::to_string(t.max_chunk) +
                  "\n-100.000000,-100.000000,0.000000\n100.000000,100.000000,0.000000\n");
}

TEST_F(WorldGeometryGfx, NullNodeFetchesTheProgramsAndDrawsNothing) {
    r_advanced_shading = true;
    WorldGeometry w;
    testing::internal::CaptureStdout();
    w.Load(nullptr, &resources);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(Shown().empty());
    EXPECT_TRUE(w.vertex_program.IsValid());
    EXPECT_TRUE(w.fragment_program.IsValid());
    w.Bind(nullptr, nullptr, nullptr);
    Camera cam = NearCamera();
    Frame(w, cam);
    EXPECT_TRUE(FrameIsClear(ReadFrame()));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(ShaderProgram::ActiveGlProgram(), 0u);
}

TEST_F(WorldGeometryGfx, MissingFileGivesAnEmptyTreeAndTheRestGoesOn) {
    r_advanced_shading = false;
    WorldGeometry w;
    LoadLevel(w,
              "WorldGeometry={ file=\"wgfx/nothing.abt\";"
              " PhysicsStaticGeometry={ hull={ {0,0} {1,0} {1,1} } } }");
    EXPECT_NE(load_log.find("CFO Document 'wgfx/nothing.abt' not found\n"), std::string::npos)
        << load_log;
    EXPECT_TRUE(w.tree.nodes.empty());
    EXPECT_EQ(w.collision_objects.size(), 1u);
    EXPECT_TRUE(w.vertex_program.IsValid());
    Camera cam = NearCamera();
    Frame(w, cam);
    EXPECT_TRUE(FrameIsClear(ReadFrame()));
}

TEST_F(WorldGeometryGfx, MissingShaderLeavesTheHandleEmptyAndTheEmptyProgramIsBound) {
    // Without a "cg" loader the fetch fails: the default program is bound, and the tree
    // draws with the fixed-function stages.
    ResourceManager bare;
    bare.RegisterType<TextureDDS>("dds");
    r_advanced_shading = false;
    WorldGeometry w;
    ASSERT_TRUE(doc.Parse(LevelText(" file=\"wgfx/level.abt\";")));
    testing::internal::CaptureStdout();
    w.Load(doc.FindChild("WorldGeometry"), &bare);
    std::string log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("Could not find resource constructor associated with 'cg'\n"),
              std::string::npos);
    EXPECT_FALSE(w.vertex_program.IsValid());
    Camera cam = NearCamera();
    testing::internal::CaptureStdout();
    Frame(w, cam);
    log = testing::internal::GetCapturedStdout();
    EXPECT_NE(log.find("Cg error: "), std::string::npos) << log;
    EXPECT_GT(w.tree.draws, 0u);
    EXPECT_FALSE(FrameIsClear(ReadFrame()));
    EXPECT_EQ(ShaderProgram::ActiveGlProgram(), 0u);
    glDisable(GL_FOG);
}

TEST_F(WorldGeometryGfx, StaticGeometryLoadsItsResourcesAndOnlySetsTheCollisionViewState) {
    CfoDocument d;
    ASSERT_TRUE(d.Parse("StaticGeometry={ texture=\"wgfx/white.dds\"; mesh=\"wgfx/floor.asm\"; }"));
    StaticGeometry s;
    testing::internal::CaptureStdout();
    s.Load(d.FindChild("StaticGeometry"), &resources);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(s.shader.IsValid());
    EXPECT_TRUE(s.shader->vertex);
    EXPECT_TRUE(s.default_texture.IsValid());
    EXPECT_TRUE(s.texture.IsValid());
    EXPECT_TRUE(s.mesh.IsValid());

    glViewport(0, 0, kWidth, kHeight);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_FOG);
    glEnable(GL_LIGHTING);
    glEnable(GL_CULL_FACE);
    glEnable(GL_TEXTURE_2D);
    GLint stack_before_render = 0, stack_after_render = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack_before_render);
    // Without the collision view: depth and colour material, nothing drawn.
    s.Render(&queue);
    glFinish();
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &stack_after_render);
    EXPECT_EQ(stack_after_render, stack_before_render);
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_TRUE(glIsEnabled(GL_COLOR_MATERIAL));
    EXPECT_TRUE(glIsEnabled(GL_FOG));
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    EXPECT_TRUE(glIsEnabled(GL_CULL_FACE));
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
    GLint modes[2] = {0, 0};
    glGetIntegerv(GL_POLYGON_MODE, modes);
    EXPECT_EQ(modes[0], GL_FILL);
    EXPECT_TRUE(FrameIsClear(ReadFrame()));

    // The collision view: wire frames without fog, lighting, culling or texturing, left
    // on for the drawers after it.
    r_debug_physics = true;
    glDisable(GL_DEPTH_TEST);
    s.Render(&queue);
    glFinish();
    EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
    EXPECT_FALSE(glIsEnabled(GL_FOG));
    EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
    EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
    glGetIntegerv(GL_POLYGON_MODE, modes);
    EXPECT_EQ(modes[0], GL_LINE);
    EXPECT_EQ(modes[1], GL_LINE);
    EXPECT_TRUE(FrameIsClear(ReadFrame()));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glDisable(GL_COLOR_MATERIAL);
}
