// Fuzzes the ABT file reader: any text is parsed as a document, loaded as a tree with a
// buffer limit taken from the first byte, and drawn once through a backend that does
// nothing, from a camera that sees everything and one that sees nothing.

#include <cstddef>
#include <cstdint>
#include <string>

#include "cfo/cfodocument.h"
#include "scene/camera.h"
#include "world/abttree.h"

namespace {

struct NullBackend : ABTRenderBackend {
    size_t drawn = 0;
    void Begin(ABTTree&) override {}
    void BindBuffer(ABTTree&, uint32_t) override {}
    void BindMaterial(ABTTree&, uint32_t) override {}
    void MultiDraw(ABTTree& tree, const int32_t* counts, const uint16_t* const* pointers,
                   uint32_t size) override {
        // Touch every index the draw would read, so that a bad range shows up.
        for (uint32_t i = 0; i < size; ++i) {
            const ABTVertexBuffer* owner = nullptr;
            for (const ABTVertexBuffer* vb : tree.vertex_buffers)
                if (pointers[i] >= vb->indices.data() &&
                    pointers[i] <= vb->indices.data() + vb->indices.size())
                    owner = vb;
            if (!owner) __builtin_trap();
            size_t offset = static_cast<size_t>(pointers[i] - owner->indices.data());
            if (offset + static_cast<size_t>(counts[i]) > owner->indices.size()) __builtin_trap();
            for (int32_t k = 0; k < counts[i]; ++k) drawn += pointers[i][k];
        }
    }
    void End(ABTTree&) override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    int64_t limit = static_cast<int64_t>(data[0]) * 3;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    CfoDocument doc;
    doc.Parse(text);
    ABTTree tree;
    tree.LoadDocument(&doc, limit);
    tree.PrepareRenderLists();
    NullBackend backend;
    tree.backend = &backend;
    Camera open;
    for (int p = 0; p < 6; ++p) open.frustum[p][3] = 1e30f;
    tree.Render(&open, 1);
    Camera blind;
    blind.position = HVector3(1e30f, 1e30f, 1e30f);
    for (int p = 0; p < 6; ++p) blind.frustum[p][3] = -1.0f;
    tree.Render(&blind, 1);
    tree.PrintTree(tree.root, 0);
    return 0;
}
