#include <gtest/gtest.h>

#include <cmath>

#include "cfo/cfodocument.h"
#include "world/meshaam.h"
#include "world/meshasm.h"
#include "worldtest.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

const char* kQuadAsm =
    "verts={ {0,0,0} {1,0,0} {1,1,0} {0,1,0} }\n"
    "texcoords={ {0,0} {1,0} {1,1} {0,1} }\n"
    "normals={ {0,0,1} }\n"
    "faces={\n"
    " { {0,1,2} {0,1,2} {0,0,0} }\n"
    " { {0,2,3} {0,2,3} {0,0,0} }\n"
    "}\n";

bool ParseAsm(MeshASM& mesh, const std::string& text) {
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse(text));
    return mesh.LoadASMDocument(&doc);
}

bool ParseAam(MeshAAM& mesh, const std::string& text) {
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse(text));
    return mesh.LoadDocument(&doc);
}

}  // namespace

TEST(MeshASM, UnweldsOneVertexPerCorner) {
    MeshASM mesh;
    ASSERT_TRUE(ParseAsm(mesh, kQuadAsm));
    EXPECT_EQ(mesh.vertex_count, 6u);
    ASSERT_EQ(mesh.indices.size(), 6u);
    for (uint16_t i = 0; i < 6; ++i) EXPECT_EQ(mesh.indices[i], i);
    EXPECT_EQ(mesh.positions[3], HVector3(0, 0, 0));
    EXPECT_EQ(mesh.positions[4], HVector3(1, 1, 0));
    EXPECT_EQ(mesh.positions[5], HVector3(0, 1, 0));
    EXPECT_EQ(mesh.texcoords[5], HVector2(0, 1));
    EXPECT_EQ(mesh.normals[2], HVector3(0, 0, 1));
    // The indexed tables stay for the builder.
    ASSERT_TRUE(mesh.raw);
    EXPECT_EQ(mesh.raw->verts.size(), 4u);
    EXPECT_EQ(mesh.raw->faces.size(), 2u);
}

TEST(MeshASM, NoFacesKeyLoadsEmpty) {
    MeshASM mesh;
    ASSERT_TRUE(ParseAsm(mesh, "verts={ {0,0,0} } texcoords={ {0,0} } normals={ {0,0,1} }"));
    EXPECT_EQ(mesh.vertex_count, 0u);
    EXPECT_TRUE(mesh.indices.empty());
    EXPECT_TRUE(mesh.positions.empty());
}

TEST(MeshASM, WithoutColorHasNoColorArray) {
    MeshASM mesh;
    ASSERT_TRUE(ParseAsm(mesh, kQuadAsm));
    EXPECT_FALSE(mesh.has_color);
    EXPECT_TRUE(mesh.colors.empty());
}

TEST(MeshASM, ColorTableAddsAFourthFaceRow) {
    MeshASM mesh;
    ASSERT_TRUE(ParseAsm(mesh,
                         "verts={ {0,0,0} {1,0,0} {1,1,0} }\n"
                         "texcoords={ {0,0} }\nnormals={ {0,0,1} }\n"
                         "color={ {1,0,0} {0,1,0} }\n"
                         "faces={ { {0,1,2} {0,0,0} {0,0,0} {1,0,1} } }\n"));
    EXPECT_TRUE(mesh.has_color);
    ASSERT_EQ(mesh.colors.size(), 3u);
    EXPECT_EQ(mesh.colors[0], HVector3(0, 1, 0));
    EXPECT_EQ(mesh.colors[1], HVector3(1, 0, 0));
    EXPECT_EQ(mesh.colors[2], HVector3(0, 1, 0));
}

TEST(MeshASM, MissingNormalsFailsWithItsLine) {
    MeshASM mesh;
    CaptureStdout();
    bool ok = ParseAsm(mesh, "verts={ {0,0,0} } texcoords={ {0,0} }");
    std::string out = GetCapturedStdout();
    EXPECT_FALSE(ok);
    EXPECT_EQ(out, "ASM loader: texcoords and normals required\n");
}

TEST(MeshASM, FaceIndexOutOfRangeIsSkipped) {
    MeshASM mesh;
    CaptureStdout();
    bool ok = ParseAsm(mesh,
                       "verts={ {0,0,0} {1,0,0} {1,1,0} }\n"
                       "texcoords={ {0,0} }\nnormals={ {0,0,1} }\n"
                       "faces={ { {0,1,7} {0,0,0} {0,0,0} } { {0,1,2} {0,0,0} {0,0,0} } { {0,-1,2} "
                       "{0,0,0} {0,0,0} } }\n");
    std::string out = GetCapturedStdout();
    EXPECT_TRUE(ok);
    EXPECT_EQ(mesh.vertex_count, 3u);
    EXPECT_EQ(mesh.positions[2], HVector3(1, 1, 0));
    EXPECT_EQ(out,
              "ASM loader: face 0 has an index out of range, skipped\n"
              "ASM loader: face 2 has an index out of range, skipped\n");
}

TEST(MeshASM, ShortFaceRowIsSkipped) {
    MeshASM mesh;
    CaptureStdout();
    bool ok = ParseAsm(mesh,
                       "verts={ {0,0,0} {1,0,0} {1,1,0} }\n"
                       "texcoords={ {0,0} }\nnormals={ {0,0,1} }\n"
                       "faces={ { {0,1} {0,0,0} {0,0,0} } { {0,1,2} {0,0,0} } }\n");
    std::string out = GetCapturedStdout();
    EXPECT_TRUE(ok);
    EXPECT_EQ(mesh.vertex_count, 0u);
    EXPECT_EQ(
        out,
        "ASM loader: face 0 is incomplete, skipped\nASM loader: face 1 is incomplete, skipped\n");
}

TEST(MeshASM, MoreThan65535CornersLoadForTheBuilderOnly) {
    std::string text =
        "verts={ {0,0,0} {1,0,0} {1,1,0} }\ntexcoords={ {0,0} }\nnormals={ {0,0,1} }\nfaces={\n";
    for (int i = 0; i < 21846; ++i) text += "{ {0,1,2} {0,0,0} {0,0,0} }\n";
    text += "}\n";
    MeshASM mesh;
    CaptureStdout();
    bool ok = ParseAsm(mesh, text);
    std::string out = GetCapturedStdout();
    // It loads, for the ABT builder, which reads the indexed tables; drawing cannot take it.
    EXPECT_TRUE(ok);
    EXPECT_EQ(out,
              "ASM loader: 65538 corners, more than 65535; loaded for the ABT builder only, it "
              "cannot be drawn directly\n");
    EXPECT_FALSE(mesh.drawable);
    ASSERT_TRUE(mesh.raw);
    EXPECT_EQ(mesh.raw->faces.size(), 21846u);
    EXPECT_EQ(mesh.raw->verts.size(), 3u);
    EXPECT_EQ(mesh.vertex_count, 0u);
    EXPECT_TRUE(mesh.indices.empty());
    EXPECT_TRUE(mesh.positions.empty());
    EXPECT_TRUE(mesh.texcoords.empty());
    EXPECT_TRUE(mesh.normals.empty());

    // One face fewer is 65535 corners and fits.
    std::string fits = text;
    fits.erase(fits.rfind("{ {0,1,2}"), std::string("{ {0,1,2} {0,0,0} {0,0,0} }\n").size());
    MeshASM small;
    EXPECT_TRUE(ParseAsm(small, fits));
    EXPECT_TRUE(small.drawable);
    EXPECT_EQ(small.vertex_count, 65535u);
    EXPECT_EQ(small.indices.back(), 65534u);
    // A mesh object loaded again starts afresh.
    CaptureStdout();
    EXPECT_TRUE(ParseAsm(mesh, fits));
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_TRUE(mesh.drawable);
    EXPECT_EQ(mesh.vertex_count, 65535u);
}

TEST(MeshASM, BadFacesOfAMeshTooLargeToDrawAreStillReported) {
    // Faces past the limit only count when they are valid: 21845 good faces and one bad
    // one fit, 21846 good ones do not.
    std::string head =
        "verts={ {0,0,0} {1,0,0} {1,1,0} }\ntexcoords={ {0,0} }\nnormals={ {0,0,1} }\nfaces={\n"
        "{ {0,1,9} {0,0,0} {0,0,0} }\n";
    std::string faces;
    for (int i = 0; i < 21845; ++i) faces += "{ {0,1,2} {0,0,0} {0,0,0} }\n";
    MeshASM fits;
    CaptureStdout();
    EXPECT_TRUE(ParseAsm(fits, head + faces + "}\n"));
    EXPECT_EQ(GetCapturedStdout(), "ASM loader: face 0 has an index out of range, skipped\n");
    EXPECT_TRUE(fits.drawable);
    EXPECT_EQ(fits.vertex_count, 65535u);

    MeshASM large;
    CaptureStdout();
    EXPECT_TRUE(ParseAsm(large, head + faces + "{ {2,1,0} {0,0,0} {0,0,0} }\n}\n"));
    EXPECT_EQ(GetCapturedStdout(),
              "ASM loader: 65538 corners, more than 65535; loaded for the ABT builder only, it "
              "cannot be drawn directly\n"
              "ASM loader: face 0 has an index out of range, skipped\n");
    EXPECT_FALSE(large.drawable);
    EXPECT_EQ(large.raw->faces.size(), 21847u);
}

TEST(MeshASM, ObjTooLargeToDrawStillLoads) {
    std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\n";
    for (int i = 0; i < 21846; ++i) text += "f 1/1/1 2/1/1 3/1/1\n";
    MeshASM mesh;
    CaptureStdout();
    EXPECT_TRUE(mesh.LoadOBJText(text));
    EXPECT_EQ(GetCapturedStdout(),
              "OBJ loader: 65538 corners, more than 65535; loaded for the ABT builder only, it "
              "cannot be drawn directly\n");
    EXPECT_FALSE(mesh.drawable);
    EXPECT_EQ(mesh.raw->faces.size(), 21846u);
    EXPECT_EQ(mesh.vertex_count, 0u);
}

TEST(MeshASM, ObjReaderCountsFromOne) {
    MeshASM mesh;
    ASSERT_TRUE(mesh.LoadOBJText(
        "# a comment\nv 0 0 0\nv 2 0 0\nv 0 3 0\nvt 0 0\nvt 1 0\nvt 0 1\nvn 0 0 1\n"
        "g group\nf 1/1/1 2/2/1 3/3/1\n"));
    EXPECT_EQ(mesh.vertex_count, 3u);
    EXPECT_EQ(mesh.positions[1], HVector3(2, 0, 0));
    EXPECT_EQ(mesh.positions[2], HVector3(0, 3, 0));
    EXPECT_EQ(mesh.texcoords[2], HVector2(0, 1));
    EXPECT_EQ(mesh.normals[0], HVector3(0, 0, 1));
}

TEST(MeshASM, ObjWithoutNormalsFails) {
    MeshASM mesh;
    CaptureStdout();
    bool ok = mesh.LoadOBJText("v 0 0 0\nvt 0 0\nf 1/1/1 1/1/1 1/1/1\n");
    EXPECT_FALSE(ok);
    EXPECT_EQ(GetCapturedStdout(), "OBJ loader: texcoords and normals required\n");
}

TEST(MeshASM, ObjQuadFaceIsSkippedWithALine) {
    MeshASM mesh;
    CaptureStdout();
    bool ok = mesh.LoadOBJText("v 0 0 0\nvt 0 0\nvn 0 0 1\nf 1/1 1/1 1/1\n");
    EXPECT_TRUE(ok);
    EXPECT_EQ(GetCapturedStdout(), "OBJ loader: line 4 is not a triangle, skipped\n");
    EXPECT_EQ(mesh.vertex_count, 0u);
}

TEST(MeshASM, LoadPicksTheReaderByExtension) {
    worldtest::WriteFile("meshes/quad.asm", kQuadAsm);
    worldtest::WriteFile("meshes/tri.OBJ",
                         "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n");
    worldtest::WriteFile("meshes/tri.txt", "v 0 0 0\n");
    MeshASM a, b, c;
    EXPECT_TRUE(a.Load("meshes/quad.asm"));
    EXPECT_EQ(a.vertex_count, 6u);
    EXPECT_TRUE(b.Load("meshes/tri.OBJ"));
    EXPECT_EQ(b.vertex_count, 3u);
    CaptureStdout();
    EXPECT_FALSE(c.Load("meshes/tri.txt"));
    EXPECT_EQ(GetCapturedStdout(), "ASM loader: unknown mesh type 'meshes/tri.txt'\n");
    MeshASM d;
    CaptureStdout();
    EXPECT_FALSE(d.Load("meshes/absent.asm"));
    EXPECT_EQ(GetCapturedStdout(), "CFO Document 'meshes/absent.asm' not found\n");
}

namespace {

// Two bones: a root at (0, 0, 1) turned 90 degrees about z, a child at (0, 0, 3).
const char* kSkinned =
    "verts={ {1,0,0} {0,1,0} {0,0,1} }\n"
    "texcoords={ {0,0} }\nnormals={ {0,0,1} }\n"
    "faces={ { {0,1,2} {0,0,0} {0,0,0} } }\n"
    "bones={\n"
    " { name=root; parent_id=-1; transf={0,-1,0,0, 1,0,0,0, 0,0,1,1, 0,0,0,1} }\n"
    " { name=child; parent_id=0; transf={1,0,0,0, 0,1,0,0, 0,0,1,3, 0,0,0,1} }\n"
    "}\n"
    "weights={\n"
    " { {0,1,-1,-1} {0.25,0.75,0,0} }\n"
    " { {1,-1,5,5} {1,0,0,0} }\n"
    "}\n";

}  // namespace

TEST(MeshAAM, BindTransformsAndChildren) {
    MeshAAM mesh;
    ASSERT_TRUE(ParseAam(mesh, kSkinned));
    ASSERT_EQ(mesh.bones.size(), 2u);
    EXPECT_EQ(mesh.bones[0].name, "root");
    EXPECT_EQ(mesh.bones[1].parent_id, 0);
    EXPECT_EQ(mesh.bones[0].bind_absolute.position, HVector3(0, 0, 1));
    EXPECT_EQ(mesh.bones[0].bind_local.position, HVector3(0, 0, 1));
    EXPECT_EQ(mesh.bones[1].bind_local.position, HVector3(0, 0, 2));
    ASSERT_EQ(mesh.bones[0].children.size(), 1u);
    EXPECT_EQ(mesh.bones[0].children[0], 1);
    // The root turns x into y; the child's local rotation undoes it.
    HVector3 turned = mesh.bones[0].bind_absolute.rotation * HVector3(1, 0, 0);
    EXPECT_NEAR(turned.x, 0.0f, 1e-6f);
    EXPECT_NEAR(turned.y, 1.0f, 1e-6f);
    HVector3 back = mesh.bones[1].bind_local.rotation * HVector3(0, 1, 0);
    EXPECT_NEAR(back.x, 1.0f, 1e-6f);
    EXPECT_NEAR(back.y, 0.0f, 1e-6f);
}

TEST(MeshAAM, WeightsFollowTheirPositionAndStopAtMinusOne) {
    MeshAAM mesh;
    ASSERT_TRUE(ParseAam(mesh, kSkinned));
    ASSERT_EQ(mesh.vertex_count, 3u);
    EXPECT_EQ(mesh.bone_ids[0], HVector4(0, 1, -1, -1));
    EXPECT_EQ(mesh.bone_weights[0], HVector4(0.25f, 0.75f, 0, 0));
    // Ids after the first -1 are not taken, even when they name bones.
    EXPECT_EQ(mesh.bone_ids[1], HVector4(1, -1, -1, -1));
    EXPECT_EQ(mesh.bone_weights[1], HVector4(1, 0, 0, 0));
    // The third vertex has no weight row.
    EXPECT_EQ(mesh.bone_ids[2], HVector4(-1, -1, -1, -1));
    EXPECT_EQ(mesh.bone_weights[2], HVector4(0, 0, 0, 0));
    for (int i = 0; i < MeshAAM::kMaxBones; ++i) {
        EXPECT_EQ(mesh.bone_rotations[i], HQuaternion(1, 0, 0, 0));
        EXPECT_EQ(mesh.bone_positions[i], HVector3(0, 0, 0));
    }
}

TEST(MeshAAM, DeformVerticesBlendsBonesAndLeavesUnweightedAlone) {
    MeshAAM mesh;
    ASSERT_TRUE(ParseAam(mesh, kSkinned));
    mesh.bone_positions[0] = HVector3(10, 0, 0);
    mesh.bone_positions[1] = HVector3(0, 20, 0);
    mesh.DeformVertices();
    // 0.25·((1,0,0) + (10,0,0)) + 0.75·((1,0,0) + (0,20,0))
    EXPECT_FLOAT_EQ(mesh.skinned_positions[0].x, 0.25f * 11.0f + 0.75f);
    EXPECT_FLOAT_EQ(mesh.skinned_positions[0].y, 15.0f);
    EXPECT_EQ(mesh.skinned_positions[1], HVector3(0, 21, 0));
    EXPECT_EQ(mesh.skinned_positions[2], HVector3(0, 0, 1));
    // A rotation: 90 degrees about z on bone 1 turns (0,1,0) into (-1,0,0).
    mesh.bone_rotations[1] = HQuaternion(std::sqrt(0.5f), 0, 0, std::sqrt(0.5f));
    mesh.bone_positions[1] = HVector3(0, 0, 0);
    mesh.DeformVertices();
    EXPECT_NEAR(mesh.skinned_positions[1].x, -1.0f, 1e-6f);
    EXPECT_NEAR(mesh.skinned_positions[1].y, 0.0f, 1e-6f);
}

TEST(MeshAAM, MissingTexcoordsFailsWithItsLine) {
    MeshAAM mesh;
    CaptureStdout();
    bool ok = ParseAam(mesh, "verts={ {0,0,0} } normals={ {0,0,1} }");
    EXPECT_FALSE(ok);
    EXPECT_EQ(GetCapturedStdout(), "AAM loader: texcoords and normals required\n");
}

TEST(MeshAAM, NoFacesLoadsEmpty) {
    MeshAAM mesh;
    ASSERT_TRUE(ParseAam(mesh, "verts={ {0,0,0} } texcoords={ {0,0} } normals={ {0,0,1} }"));
    EXPECT_EQ(mesh.vertex_count, 0u);
    mesh.DeformVertices();
    EXPECT_TRUE(mesh.skinned_positions.empty());
}

TEST(MeshAAM, MoreThanThirtyBonesFails) {
    std::string text = "verts={ {0,0,0} } texcoords={ {0,0} } normals={ {0,0,1} } bones={\n";
    for (int i = 0; i < 31; ++i) text += " { name=b" + std::to_string(i) + "; parent_id=-1; }\n";
    text += "}\n";
    MeshAAM mesh;
    CaptureStdout();
    bool ok = ParseAam(mesh, text);
    EXPECT_FALSE(ok);
    EXPECT_EQ(GetCapturedStdout(), "AAM loader: 31 bones, more than 30\n");
    // Thirty is the limit and loads.
    text.erase(text.rfind(" { name=b30"), std::string(" { name=b30; parent_id=-1; }\n").size());
    MeshAAM thirty;
    EXPECT_TRUE(ParseAam(thirty, text));
    EXPECT_EQ(thirty.bones.size(), 30u);
}

TEST(MeshAAM, BadBoneReferencesAreGuarded) {
    MeshAAM mesh;
    CaptureStdout();
    bool ok = ParseAam(mesh,
                       "verts={ {0,0,0} {1,0,0} {0,1,0} } texcoords={ {0,0} } normals={ {0,0,1} }\n"
                       "faces={ { {0,1,2} {0,0,0} {0,0,0} } }\n"
                       "bones={ { name=a; parent_id=0; } { name=b; parent_id=9; } }\n"
                       "weights={ { {1,7,0,-1} {0.5,0.5,0,0} } }\n");
    std::string out = GetCapturedStdout();
    EXPECT_TRUE(ok);
    EXPECT_EQ(out,
              "AAM loader: bone 0 has a bad parent 0, made a root\n"
              "AAM loader: bone 1 has a bad parent 9, made a root\n"
              "AAM loader: weight names bone 7, which does not exist; the list ends there\n");
    EXPECT_EQ(mesh.bones[0].parent_id, -1);
    EXPECT_EQ(mesh.bone_ids[0], HVector4(1, -1, -1, -1));
    mesh.DeformVertices();
    EXPECT_EQ(mesh.skinned_positions[0], HVector3(0, 0, 0));
}

TEST(MeshAAM, MoreThan65535CornersFails) {
    // A skinned mesh is only ever drawn, with 16-bit indices: unlike a static mesh, one
    // too large to draw has no other reader, and its load fails.
    std::string text =
        "verts={ {0,0,0} {1,0,0} {1,1,0} }\ntexcoords={ {0,0} }\nnormals={ {0,0,1} }\nfaces={\n";
    for (int i = 0; i < 21846; ++i) text += "{ {0,1,2} {0,0,0} {0,0,0} }\n";
    text += "}\n";
    MeshAAM mesh;
    CaptureStdout();
    bool ok = ParseAam(mesh, text);
    EXPECT_FALSE(ok);
    EXPECT_EQ(GetCapturedStdout(), "AAM loader: 65538 corners, more than 65535\n");
    EXPECT_EQ(mesh.vertex_count, 0u);
    EXPECT_TRUE(mesh.positions.empty());
    // One face fewer is 65535 corners and loads.
    text.erase(text.rfind("{ {0,1,2}"), std::string("{ {0,1,2} {0,0,0} {0,0,0} }\n").size());
    MeshAAM fits;
    EXPECT_TRUE(ParseAam(fits, text));
    EXPECT_EQ(fits.vertex_count, 65535u);
    EXPECT_EQ(fits.indices.back(), 65534u);
    EXPECT_EQ(fits.bone_ids.size(), 65535u);
}
