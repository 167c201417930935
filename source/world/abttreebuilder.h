#pragma once
// ABTTreeBuilder: turns a list of static meshes into an Adaptive Binary Tree and writes
// it as the level's ABT text file, which ABTTree reads back.
//
// The tree adapts in two ways. A node splits at a weighted blend of its box centre and
// its mean vertex, along its longest axis; and a triangle that crosses the plane only a
// little (its overhang, measured against the extent of the side it mainly lies on, is
// below `overgrow`) is not cut but kept whole on its main side, so the child's box grows
// past the plane. Boxes are built from the triangles the leaves really hold.
//
// Lifetime: a builder lives for one build on the stack of ABTBuilder(); nothing of it
// stays afterwards but the file. The calling order is the constructor, InsertObject any
// number of times, SetOvergrow, SetWeights, Build, Export.
//
// No two faces share a vertex: each corner is its own entry in `vertices`, and each cut
// adds new ones (past kFaceBudget faces made by cuts, nodes stop splitting). Vertices of faces that
// were cut stay in `vertices` but are not written.

#include <cstdint>
#include <string>
#include <vector>

#include "cfo/cfokeys.h"
#include "math/haxisalignedbox.h"
#include "math/hplane.h"
#include "math/hvector2.h"
#include "world/abtvertex.h"

class CfoNode;
class MeshASM;

struct ABTFace {
    uint32_t v[3] = {0, 0, 0};  // indices into the builder's vertices
    uint32_t material = 0;      // index into materials
    uint32_t node = 0;          // the leaf that holds the face; set by Export's sort
};

struct ABTBuildNode {
    int32_t parent = -1;
    std::vector<int32_t> children;
    HAxisAlignedBox box;         // null until a leaf grows it
    std::vector<ABTFace> faces;  // leaves only
};

// The "ABTBuilder" node of a WorldGeometry: what ABTBuilder() reads.
extern const CfoKeyTable abt_builder_keys;
// Its "Objects" node.
extern const CfoKeyTable abt_builder_objects_keys;

class ABTTreeBuilder {
public:
    // Hard caps that keep a hostile configuration from exhausting the machine: the depth
    // limit is cut to kDepthCap, and once the cuts have made kFaceBudget faces every
    // further node becomes a leaf.
    static constexpr uint32_t kDepthCap = 32;
    static constexpr size_t kFaceBudget = 4u * 1024u * 1024u;

    int32_t root = -1;
    std::vector<ABTVertex> vertices;
    std::vector<ABTFace> faces;
    std::vector<std::string> materials;
    std::vector<ABTBuildNode> nodes;  // creation order, which is pre-order
    std::vector<ABTFace*> sorted;     // export order
    HVector2 weights{0.0f, 0.0f};     // x weighs the box centre, y the mean vertex
    uint32_t max_faces = 50;
    uint32_t max_depth = 10;
    float overgrow = 0.1f;

    ABTTreeBuilder() = default;

    // Reads an "asm" mesh and adds its faces under a new material; a mesh that does not
    // load adds nothing (its loader has said why). Size is no limit: the builder reads
    // the indexed tables, and a mesh too large for 16-bit drawing still loads for it.
    void InsertObject(const std::string& mesh_file, const std::string& material);
    // The same for a mesh already loaded: its indexed tables (`raw`) become the faces.
    void InsertMesh(const MeshASM& mesh, const std::string& material);

    void SetOvergrow(float value) { overgrow = value; }
    void SetWeights(const HVector2& value) { weights = value; }

    void Build(uint32_t max_faces, uint32_t max_depth);

    // Sorts the faces and writes the file to the native path (not the search path).
    // Prints "ABTTreeBuilder::Export failed to open new file '<path>'" when it cannot.
    void Export(const std::string& path);
    // The same text into a string, with the given time stamp (tests, benchmarks).
    void ExportText(std::string& out, int year, int month, int day, int hour, int minute,
                    int second);

    // Cuts face `index` of `list` by `plane` into triangles on one side each, appended to
    // `negative` and `positive`. The source face goes to neither list.
    void SplitFace(const HPlane& plane, size_t index, const std::vector<ABTFace>& list,
                   std::vector<ABTFace>& negative, std::vector<ABTFace>& positive);
    // The point where the segment a-b meets the plane, with normal, texture coordinate
    // and colour blended. A miss prints "ABTTreeBuilder::SplitSegment segment division
    // error" and gives a vertex of zeros.
    static ABTVertex SplitSegment(const ABTVertex& a, const ABTVertex& b, const HPlane& plane);

    // Debug: the subtree of `node` on standard output.
    void PrintTree(int32_t node, int depth) const;

private:
    void BuildNode(std::vector<ABTFace>& list, int32_t parent, uint32_t depth);
    void SortFaces();
};

// The level-load step: reads the optional "ABTBuilder" node (null when absent), prints its
// settings, inserts the rows of "Objects", builds and exports the file.
void ABTBuilder(const CfoNode* node);
