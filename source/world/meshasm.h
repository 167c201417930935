#pragma once
// MeshASM: a static mesh, the resource of the extension "asm". It reads either the CFO
// text form ("asm") or a Wavefront OBJ file ("obj"/"OBJ", reached only through a direct
// Load: the resource manager knows no "obj"), then unwelds the indexed tables into flat
// arrays with one vertex per face corner, drawn with 16-bit indices.
//
// Ownership: the mesh owns its flat arrays and `raw`, the indexed tables it was read
// from. `raw` stays alive after loading because the ABT builder reads the tables, not the
// flat arrays. A mesh lives as long as the resource manager keeps it (its last handle)
// or as long as the local object of a builder.
//
// Size: the flat arrays are drawn with 16-bit indices, so a mesh of more than 65535
// corners cannot be drawn directly. Such a mesh still loads, for the ABT builder, which
// reads only `raw` and has no such limit: the load says so in one line, `drawable` is
// false, the flat arrays stay empty and Draw draws nothing.
//
// Bad data: a face with an index outside its table is skipped with a line.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "math/hvector2.h"
#include "math/hvector3.h"
#include "resources/resource.h"
#include "world/meshloaddata.h"

class CfoNode;

class MeshASM : public Resource {
public:
    std::unique_ptr<MeshLoadData> raw;  // owned; the indexed tables, kept after loading
    uint32_t vertex_count = 0;
    std::vector<uint16_t> indices;
    std::vector<HVector3> positions;
    std::vector<HVector2> texcoords;
    std::vector<HVector3> normals;
    std::vector<HVector3> colors;  // only with a colour table
    bool has_color = false;
    // False when the mesh has more corners than 16-bit indices reach: `raw` holds it all,
    // the flat arrays are empty.
    bool drawable = true;

    MeshASM() = default;
    MeshASM(const MeshASM&) = delete;
    MeshASM& operator=(const MeshASM&) = delete;
    ~MeshASM() override = default;

    // "asm" through the CFO reader, "obj" or "OBJ" through the line reader; any other
    // extension fails.
    bool Load(std::string filename) override;

    // The two readers on text already in memory (the file loaders and the fuzzers call
    // them). Each fills `raw` and unwelds.
    bool LoadASMDocument(const CfoNode* document);
    bool LoadOBJText(const std::string& text);

    // Client arrays: positions, normals, colours when present, texture coordinates on
    // unit 0, one glDrawElements of all corners; the client states are switched off again
    // in reverse order. Needs a current GL context. A mesh that is not `drawable` draws
    // nothing.
    void Draw() const;

private:
    // Flattens `raw` into the per-corner arrays. Past 65535 corners it only reports the
    // bad faces, says once that the mesh cannot be drawn, and leaves the arrays empty.
    bool Unweld(const char* loader);
    void Clear();
};
