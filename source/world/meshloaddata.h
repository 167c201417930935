#pragma once
// MeshLoadData: the indexed tables of a mesh file while it is read, before unwelding.
// Positions, texture coordinates and normals (and colours for static meshes) each have
// their own table, and a face names one index into each table for each of its corners.
//
// The static mesh keeps its MeshLoadData after loading (`MeshASM::raw`), because the ABT
// builder reads the indexed tables rather than the flat arrays. Nothing here is range
// checked on the way in: `FaceIsValid` is the one place that decides whether a face may
// be unwelded.
//
// Also here: the row readers shared by the mesh formats (a table's rows are anonymous
// scopes whose first child's name is the row text).

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "math/hvector2.h"
#include "math/hvector3.h"

class CfoNode;

struct MeshFace {
    std::array<int32_t, 3> verts{0, 0, 0};      // position indices
    std::array<int32_t, 3> texcoords{0, 0, 0};  // texture coordinate indices
    std::array<int32_t, 3> normals{0, 0, 0};    // normal indices
    std::array<int32_t, 3> colors{0, 0, 0};     // colour indices (static meshes with colours)
};

class MeshLoadData {
public:
    std::vector<HVector3> verts;
    std::vector<HVector3> normals;
    std::vector<HVector2> texcoords;
    std::vector<HVector3> colors;
    std::vector<MeshFace> faces;

    // True when every index of the face lies inside its table (colours only when
    // `with_colors`).
    bool FaceIsValid(const MeshFace& face, bool with_colors) const;
};

// The text of a table row: the name of the row's first child, or false for a row with
// no child (such rows are skipped by every reader).
bool MeshRowText(const CfoNode* row, std::string& text);

// A comma list into `count` floats, with the rules of the vector readers: a token ends at
// ",", backspace or newline, empty tokens are skipped, components no token reaches are 0.
void MeshParseFloats(const std::string& text, float* out, int count);

// Every row of `table` as a 3- or 2-vector; rows without text are skipped.
void MeshReadVector3Table(const CfoNode* table, std::vector<HVector3>& out);
void MeshReadVector2Table(const CfoNode* table, std::vector<HVector2>& out);

// "%i,%i,%i" into three integers; false when the row holds fewer than three.
bool MeshParseTriple(const std::string& text, std::array<int32_t, 3>& out);

// A "faces" table: each face is a scope of `rows` index rows, in the order positions,
// texture coordinates, normals and (with four rows) colours. A face with too few or short
// rows is skipped with "<loader>: face N is incomplete, skipped".
void MeshReadFaceTable(const CfoNode* table, size_t rows, const char* loader,
                       std::vector<MeshFace>& out);
