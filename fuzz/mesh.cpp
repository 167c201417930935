// Fuzzes the mesh readers: the text is read as an "asm" and an "aam" document and as an
// OBJ file, and the static mesh then goes through the ABT builder and its export.

#include <cstddef>
#include <cstdint>
#include <string>

#include "cfo/cfodocument.h"
#include "world/abttreebuilder.h"
#include "world/meshaam.h"
#include "world/meshasm.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    CfoDocument doc;
    doc.Parse(text);

    MeshASM asm_mesh;
    if (asm_mesh.LoadASMDocument(&doc)) {
        for (uint32_t i = 0; i < asm_mesh.vertex_count; ++i)
            if (asm_mesh.indices[i] >= asm_mesh.positions.size()) __builtin_trap();
        ABTTreeBuilder builder;
        builder.InsertMesh(asm_mesh, "fuzz.dds");
        builder.SetWeights(HVector2(0.7f, 0.3f));
        builder.Build(2, 6);
        std::string out;
        builder.ExportText(out, 2024, 1, 1, 0, 0, 0);
    }

    MeshAAM aam;
    if (aam.LoadDocument(&doc)) {
        for (int b = 0; b < MeshAAM::kMaxBones; ++b) aam.bone_positions[b] = HVector3(1, 2, 3);
        aam.DeformVertices();
    }

    MeshASM obj;
    obj.LoadOBJText(text);
    return 0;
}
