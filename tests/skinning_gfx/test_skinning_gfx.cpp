// GPU skinning under Xvfb: the character shader files compile and link through the shading
// layer; the vertex programs, fed by DrawSkinnedMesh, put every vertex where the software
// routine DeformVertices puts it, for random poses (read back by transform feedback); the
// bone arrays are packed w first; a mesh with short arrays draws nothing; and the simple
// path draws a posed triangle where its bone has moved it.
#include <gtest/gtest.h>

#include "support/glcontext.h"

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "cfo/file.h"
#include "gl/glprocs.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "world/meshaam.h"
#include "world/skinnedmeshdraw.h"

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 64;
VELMORA_GL_TEST_CONTEXT("skinning", kWidth, kHeight);

void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    ASSERT_TRUE(mounted);
}

void StartShading() {
    MountData();
    testing::internal::CaptureStdout();
    InitCg("glslv", "glslf");
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(cg_context);
}

std::string ReadDataFile(const std::string& name) {
    File file(name, File::READ);
    int64_t got = file.ReadAll();
    if (got <= 0 || !file.Data()) return "";
    return std::string(file.Data(), file.Data() + got);
}

// Sets a mesh's arrays for `count` vertices (a multiple of three), all in the bind pose.
void Allocate(MeshAAM& mesh, uint32_t count) {
    mesh.vertex_count = count;
    mesh.positions.assign(count, HVector3(0, 0, 0));
    mesh.skinned_positions.assign(count, HVector3(0, 0, 0));
    mesh.normals.assign(count, HVector3(0, 0, 1));
    mesh.texcoords.assign(count, HVector2(0, 0));
    mesh.bone_ids.assign(count, HVector4(-1, -1, -1, -1));
    mesh.bone_weights.assign(count, HVector4(0, 0, 0, 0));
    mesh.indices.resize(count);
    for (uint32_t i = 0; i < count; ++i) mesh.indices[i] = uint16_t(i);
}

HQuaternion RandomUnitQuaternion(std::mt19937& rng) {
    std::normal_distribution<float> n(0.0f, 1.0f);
    HQuaternion q(n(rng), n(rng), n(rng), n(rng));
    if (q.Normalise() < 1e-6f) q = HQuaternion::IDENTITY;
    return q;
}

// Vertices with none to four bones in turn (one in five keeps its bind pose), random
// weights summing to 1, and every seventh vertex with an empty place in its second slot,
// which ends its list there.
void MakeRandomMesh(MeshAAM& mesh, std::mt19937& rng) {
    Allocate(mesh, 300);
    std::uniform_real_distribution<float> coord(-60.0f, 60.0f);
    std::uniform_real_distribution<float> unit(0.05f, 1.0f);
    std::uniform_int_distribution<int> bone(0, MeshAAM::kMaxBones - 1);
    for (uint32_t v = 0; v < mesh.vertex_count; ++v) {
        mesh.positions[v] = HVector3(coord(rng), coord(rng), coord(rng) + 60.0f);
        HVector3 n(coord(rng), coord(rng), coord(rng));
        n.Normalise();
        mesh.normals[v] = n;
        mesh.texcoords[v] = HVector2(unit(rng), unit(rng));
        const int used = int(v % 5);
        float w[4] = {0, 0, 0, 0}, sum = 0.0f;
        for (int k = 0; k < used; ++k) sum += (w[k] = unit(rng));
        for (int k = 0; k < 4; ++k) {
            mesh.bone_ids[v][k] = k < used ? float(bone(rng)) : -1.0f;
            mesh.bone_weights[v][k] = k < used ? w[k] / sum : 0.0f;
        }
        if (used >= 3 && v % 7 == 0) mesh.bone_ids[v][1] = -1.0f;
    }
    mesh.skinned_positions = mesh.positions;
}

void RandomPose(MeshAAM& mesh, std::mt19937& rng) {
    std::uniform_real_distribution<float> offset(-30.0f, 30.0f);
    for (int b = 0; b < MeshAAM::kMaxBones; ++b) {
        mesh.bone_rotations[b] = RandomUnitQuaternion(rng);
        mesh.bone_positions[b] = HVector3(offset(rng), offset(rng), offset(rng));
    }
}

// The normal as the programs turn it: the weighted rotations, normalised.
HVector3 SkinnedNormal(const MeshAAM& mesh, uint32_t v) {
    const HVector4& ids = mesh.bone_ids[v];
    if (ids[0] < 0.0f) return mesh.normals[v];
    HVector3 sum(0, 0, 0);
    for (int k = 0; k < 4; ++k) {
        if (ids[k] < 0.0f) break;
        sum += (mesh.bone_rotations[int(ids[k])] * mesh.normals[v]) * mesh.bone_weights[v][k];
    }
    sum.Normalise();
    return sum;
}

GLuint CompileStage(GLenum stage, const std::string& text) {
    const std::string full = WrapShaderSource(text, stage == GL_VERTEX_SHADER);
    GLuint shader = glCreateShader(stage);
    const GLchar* strings[1] = {full.c_str()};
    glShaderSource(shader, 1, strings, nullptr);
    glCompileShader(shader);
    GLint ok = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &ok);
    EXPECT_EQ(ok, GL_TRUE);
    return shader;
}

// A program of one of the skinning vertex programs whose outputs `varyings` are captured.
// The shading layer links its programs itself, so the test links the same text again with
// the capture named before the link.
GLuint CaptureProgram(const std::string& file, const std::vector<const char*>& varyings) {
    const std::string text = ReadDataFile(file);
    EXPECT_FALSE(text.empty()) << file;
    GLuint shader = CompileStage(GL_VERTEX_SHADER, text);
    GLuint program = glCreateProgram();
    glAttachShader(program, shader);
    glTransformFeedbackVaryings(program, GLsizei(varyings.size()), varyings.data(),
                                GL_INTERLEAVED_ATTRIBS);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (!linked) {
        char log[2048] = {0};
        glGetProgramInfoLog(program, sizeof(log), nullptr, log);
        ADD_FAILURE() << file << ": " << log;
    }
    glDeleteShader(shader);
    return program;
}

// Draws the mesh through DrawSkinnedMesh with the pose of `mesh` and the identity for both
// matrices; returns `floats_per_vertex` captured floats for each vertex.
std::vector<float> RunCapture(GLuint program, const MeshAAM& mesh, int floats_per_vertex) {
    glUseProgram(program);
    const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    glUniformMatrix4fv(glGetUniformLocation(program, "ModelViewProj"), 1, GL_FALSE, identity);
    glUniformMatrix4fv(glGetUniformLocation(program, "ModelView"), 1, GL_FALSE, identity);
    const std::vector<float> rotations = PackBoneRotations(mesh);
    const std::vector<float> positions = PackBonePositions(mesh);
    glUniform4fv(glGetUniformLocation(program, "BoneRotationArray"), MeshAAM::kMaxBones,
                 rotations.data());
    glUniform3fv(glGetUniformLocation(program, "BonePositionArray"), MeshAAM::kMaxBones,
                 positions.data());

    const size_t bytes = size_t(mesh.vertex_count) * size_t(floats_per_vertex) * sizeof(float);
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_TRANSFORM_FEEDBACK_BUFFER, buffer);
    glBufferData(GL_TRANSFORM_FEEDBACK_BUFFER, GLsizeiptr(bytes), nullptr, GL_STATIC_READ);
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, buffer);
    glEnable(GL_RASTERIZER_DISCARD);
    glBeginTransformFeedback(GL_TRIANGLES);
    DrawSkinnedMesh(mesh);
    glEndTransformFeedback();
    glDisable(GL_RASTERIZER_DISCARD);
    std::vector<float> out(bytes / sizeof(float), -12345.0f);
    glGetBufferSubData(GL_TRANSFORM_FEEDBACK_BUFFER, 0, GLsizeiptr(bytes), out.data());
    glBindBufferBase(GL_TRANSFORM_FEEDBACK_BUFFER, 0, 0);
    glDeleteBuffers(1, &buffer);
    glUseProgram(0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    return out;
}

}  // namespace

TEST(SkinningShadersGfx, CharacterShadersCompileAndLinkThroughTheShadingLayer) {
    StartShading();
    ResourceManager resources;
    resources.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> simple, vertex, fragment;
    testing::internal::CaptureStdout();
    EXPECT_TRUE(resources.Load(simple, "resources/shaders/quat_skinned_geometry.cg"));
    EXPECT_TRUE(resources.Load(vertex, "resources/shaders/character_advanced.cg"));
    SetShaderLoadMode(false);
    EXPECT_TRUE(resources.Load(fragment, "resources/shaders/character_advanced_frag.cg"));
    SetShaderLoadMode(true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    ASSERT_TRUE(simple.IsValid() && vertex.IsValid() && fragment.IsValid());
    EXPECT_TRUE(simple->vertex);
    EXPECT_TRUE(vertex->vertex);
    EXPECT_FALSE(fragment->vertex);

    testing::internal::CaptureStdout();
    // The simple path: its vertex program alone, with the fixed-function fragment stage.
    ShaderProgram::EnableProfile(cg_vertex_profile);
    simple->Bind();
    const uint32_t alone = ShaderProgram::ActiveGlProgram();
    // The advanced path: the pair.
    vertex->Bind();
    ShaderProgram::EnableProfile(cg_fragment_profile);
    fragment->Bind();
    const uint32_t pair = ShaderProgram::ActiveGlProgram();
    // Every parameter the characters set is known to the programs that get it.
    MeshAAM mesh;
    SetBoneParameters(vertex.Get(), mesh);
    const float v3[3] = {1.0f, 1.0f, 0.6f};
    for (const char* name : {"LigthPos", "LigthColor", "CameraPos", "CameraDir"})
        vertex->SetParameter3fv(name, v3);
    vertex->SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX,
                           SHADER_MATRIX_IDENTITY);
    vertex->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
    fragment->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
    fragment->SetParameter3fv("LigthPos", v3);
    fragment->SetParameter3fv("LigthColor", v3);
    fragment->SetTexture("diffuse_map", 0);
    fragment->SetTexture("normal_map", 0);
    simple->SetParameter3fv("LigthColor", v3);
    SetBoneParameters(simple.Get(), mesh);
    ShaderProgram::DisableProfile(cg_vertex_profile);
    ShaderProgram::DisableProfile(cg_fragment_profile);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(alone, simple->program);
    EXPECT_NE(alone, 0u);
    EXPECT_NE(pair, 0u);
    EXPECT_NE(pair, vertex->program);
    EXPECT_NE(pair, fragment->program);
}

TEST(SkinningShadersGfx, BoneArraysArePackedWFirst) {
    MeshAAM mesh;
    mesh.bone_rotations[0] = HQuaternion(0.5f, -0.5f, 0.25f, 0.75f);
    mesh.bone_rotations[29] = HQuaternion(0.0f, 1.0f, 0.0f, 0.0f);
    mesh.bone_positions[1] = HVector3(3.0f, -4.0f, 5.5f);
    const std::vector<float> r = PackBoneRotations(mesh);
    const std::vector<float> p = PackBonePositions(mesh);
    ASSERT_EQ(r.size(), 120u);
    ASSERT_EQ(p.size(), 90u);
    EXPECT_EQ(std::vector<float>(r.begin(), r.begin() + 8),
              (std::vector<float>{0.5f, -0.5f, 0.25f, 0.75f, 1.0f, 0.0f, 0.0f, 0.0f}));
    EXPECT_EQ(std::vector<float>(r.end() - 4, r.end()), (std::vector<float>{0, 1, 0, 0}));
    EXPECT_EQ(std::vector<float>(p.begin(), p.begin() + 6),
              (std::vector<float>{0.0f, 0.0f, 0.0f, 3.0f, -4.0f, 5.5f}));
}

TEST(SkinningShadersGfx, MeshWithShortArraysDrawsNothingAndSaysSo) {
    MeshAAM mesh;
    Allocate(mesh, 3);
    EXPECT_TRUE(SkinnedMeshDrawable(mesh));
    mesh.bone_weights.resize(2);
    EXPECT_FALSE(SkinnedMeshDrawable(mesh));
    testing::internal::CaptureStdout();
    DrawSkinnedMesh(mesh);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Skinned mesh: arrays shorter than its 3 vertices, not drawn\n");
    Allocate(mesh, 3);
    mesh.indices[2] = 3;  // past the last vertex
    EXPECT_FALSE(SkinnedMeshDrawable(mesh));
    // An empty mesh is quietly nothing.
    MeshAAM empty;
    testing::internal::CaptureStdout();
    DrawSkinnedMesh(empty);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// One bone turned a quarter about x and moved: exact positions from both routines.
TEST(SkinningShadersGfx, QuarterTurnMatchesByHand) {
    StartShading();
    MeshAAM mesh;
    Allocate(mesh, 3);
    mesh.positions = {HVector3(10, 0, 0), HVector3(0, 10, 5), HVector3(2, 3, 4)};
    mesh.skinned_positions = mesh.positions;
    mesh.bone_ids[0] = HVector4(4, -1, -1, -1);
    mesh.bone_weights[0] = HVector4(1, 0, 0, 0);
    mesh.bone_ids[1] = HVector4(4, 5, -1, -1);
    mesh.bone_weights[1] = HVector4(0.5f, 0.5f, 0, 0);
    // The third vertex has no bone: it keeps its bind position.
    const float h = std::sqrt(0.5f);
    mesh.bone_rotations[4] = HQuaternion(h, h, 0, 0);  // +90 degrees about x: y to z
    mesh.bone_positions[4] = HVector3(1, 2, 3);
    mesh.bone_positions[5] = HVector3(0, 0, 10);  // rotation: identity
    mesh.DeformVertices();
    GLuint program = CaptureProgram("resources/shaders/quat_skinned_geometry.cg", {"gl_Position"});
    const std::vector<float> gpu = RunCapture(program, mesh, 4);
    glDeleteProgram(program);
    const float expected[3][3] = {{11, 2, 3}, {0.5f, 3.5f, 14}, {2, 3, 4}};
    for (int v = 0; v < 3; ++v) {
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(mesh.skinned_positions[size_t(v)][unsigned(c)], expected[v][c], 1e-5f);
            EXPECT_NEAR(gpu[size_t(v * 4 + c)], expected[v][c], 1e-4f) << v << "," << c;
        }
        EXPECT_EQ(gpu[size_t(v * 4 + 3)], 1.0f);
    }
}

TEST(SkinningShadersGfx, SimpleProgramMatchesDeformVerticesForRandomPoses) {
    StartShading();
    std::mt19937 rng(20261123u);
    MeshAAM mesh;
    MakeRandomMesh(mesh, rng);
    GLuint program = CaptureProgram("resources/shaders/quat_skinned_geometry.cg", {"gl_Position"});
    for (int pose = 0; pose < 8; ++pose) {
        RandomPose(mesh, rng);
        mesh.DeformVertices();
        const std::vector<float> gpu = RunCapture(program, mesh, 4);
        int unposed = 0;
        for (uint32_t v = 0; v < mesh.vertex_count; ++v) {
            const HVector3& cpu = mesh.skinned_positions[v];
            for (unsigned c = 0; c < 3; ++c)
                ASSERT_NEAR(gpu[v * 4 + c], cpu[c], 1e-3f) << "pose " << pose << " vertex " << v;
            if (mesh.bone_ids[v][0] < 0.0f) {
                ++unposed;
                EXPECT_EQ(gpu[v * 4 + 0], mesh.positions[v].x);
                EXPECT_EQ(gpu[v * 4 + 1], mesh.positions[v].y);
                EXPECT_EQ(gpu[v * 4 + 2], mesh.positions[v].z);
            }
        }
        EXPECT_EQ(unposed, 60);
    }
    glDeleteProgram(program);
}

TEST(SkinningShadersGfx, AdvancedProgramSkinsPositionsAndNormalsAlike) {
    StartShading();
    std::mt19937 rng(7u);
    MeshAAM mesh;
    MakeRandomMesh(mesh, rng);
    GLuint program = CaptureProgram("resources/shaders/character_advanced.cg",
                                    {"gl_Position", "gl_TexCoord[1]", "gl_TexCoord[2]"});
    for (int pose = 0; pose < 4; ++pose) {
        RandomPose(mesh, rng);
        mesh.DeformVertices();
        const std::vector<float> gpu = RunCapture(program, mesh, 12);
        for (uint32_t v = 0; v < mesh.vertex_count; ++v) {
            const HVector3& cpu = mesh.skinned_positions[v];
            const HVector3 normal = SkinnedNormal(mesh, v);
            HVector3 gpu_normal(gpu[v * 12 + 8], gpu[v * 12 + 9], gpu[v * 12 + 10]);
            gpu_normal.Normalise();
            for (unsigned c = 0; c < 3; ++c) {
                ASSERT_NEAR(gpu[v * 12 + c], cpu[c], 1e-3f) << "pose " << pose << " vertex " << v;
                ASSERT_NEAR(gpu[v * 12 + 4 + c], cpu[c], 1e-3f) << "vertex " << v;
                ASSERT_NEAR(gpu_normal[c], normal[c], 1e-3f) << "vertex " << v;
            }
        }
    }
    glDeleteProgram(program);
}

// The simple path as a character draws: the layer's order, the parameters replayed into
// the program, the bone moving a white triangle from the left half of the frame into the
// right half.
TEST(SkinningShadersGfx, SimplePathDrawsTheTriangleWhereItsBoneMovedIt) {
    StartShading();
    ResourceManager resources;
    resources.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> simple;
    ASSERT_TRUE(resources.Load(simple, "resources/shaders/quat_skinned_geometry.cg"));
    MeshAAM mesh;
    Allocate(mesh, 3);
    // Left half of a frame of -1..1, facing the eye.
    mesh.positions = {HVector3(-0.9f, -0.5f, 0), HVector3(-0.2f, -0.5f, 0),
                      HVector3(-0.5f, 0.5f, 0)};
    for (uint32_t v = 0; v < 3; ++v) {
        mesh.bone_ids[v] = HVector4(7, -1, -1, -1);
        mesh.bone_weights[v] = HVector4(1, 0, 0, 0);
    }
    auto draw = [&]() {
        glViewport(0, 0, kWidth, kHeight);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glDisable(GL_FOG);
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_CULL_FACE);
        glDisable(GL_DEPTH_TEST);
        glColor4f(1, 1, 1, 1);
        const float white[3] = {1, 1, 1};
        ShaderProgram::EnableProfile(cg_vertex_profile);
        simple->Bind();
        simple->SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX,
                               SHADER_MATRIX_IDENTITY);
        simple->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);
        simple->SetParameter3fv("LigthColor", white);
        SetBoneParameters(simple.Get(), mesh);
        DrawSkinnedMesh(mesh);
        ShaderProgram::DisableProfile(cg_vertex_profile);
        unsigned char left[4] = {0, 0, 0, 0}, right[4] = {0, 0, 0, 0};
        glReadPixels(kWidth * 1 / 4 - 2, kHeight / 2 - 4, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, left);
        glReadPixels(kWidth * 3 / 4 - 2, kHeight / 2 - 4, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, right);
        return std::make_pair(int(left[0]), int(right[0]));
    };
    // Bind pose: on the left.
    auto bind = draw();
    EXPECT_GT(bind.first, 100);
    EXPECT_EQ(bind.second, 0);
    // Bone 7 moved by 1 along x: on the right.
    mesh.bone_positions[7] = HVector3(1.0f, 0.0f, 0.0f);
    auto moved = draw();
    EXPECT_EQ(moved.first, 0);
    EXPECT_GT(moved.second, 100);
    // Bone 7 turned half about y around the origin: the triangle's x flips, to the right.
    mesh.bone_positions[7] = HVector3(0.0f, 0.0f, 0.0f);
    mesh.bone_rotations[7] = HQuaternion(0.0f, 0.0f, 1.0f, 0.0f);
    auto turned = draw();
    // Its normal now faces away from the lamp: the ambient light alone.
    EXPECT_EQ(turned.first, 0);
    EXPECT_EQ(turned.second, 89);
}
