#pragma once
// Helpers of the world tests: a scratch folder on the search path, meshes from lists of
// triangles, a camera that sees everything or nothing, and a backend that records what
// the tree would draw.

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "cfo/file.h"
#include "math/hvector3.h"
#include "scene/camera.h"
#include "world/abttree.h"
#include "world/meshasm.h"

namespace worldtest {

inline const std::string& ScratchDir() {
    static std::string dir = [] {
        std::string d =
            (std::filesystem::temp_directory_path() / ("velmora_world_" + std::to_string(getpid())))
                .string();
        std::filesystem::create_directories(d);
        FileSystemMount(d);
        return d;
    }();
    return dir;
}

// Writes `text` as `name` into the scratch folder (so it is on the search path) and
// returns the native path.
inline std::string WriteFile(const std::string& name, const std::string& text) {
    std::filesystem::path p = std::filesystem::path(ScratchDir()) / name;
    std::filesystem::create_directories(p.parent_path());
    std::ofstream f(p, std::ios::binary);
    f << text;
    return p.string();
}

struct Tri {
    HVector3 a, b, c;
};

// The "asm" text of a list of triangles: own positions, one texture coordinate per
// corner (u = corner/2), one normal (0, 0, 1).
inline std::string AsmText(const std::vector<Tri>& tris) {
    std::ostringstream s;
    s.precision(9);
    s << "verts={\n";
    for (const Tri& t : tris)
        for (const HVector3* v : {&t.a, &t.b, &t.c})
            s << "{" << v->x << "," << v->y << "," << v->z << "}\n";
    s << "}\ntexcoords={\n{0,0}\n{0.5,0}\n{1,1}\n}\nnormals={\n{0,0,1}\n}\nfaces={\n";
    for (size_t i = 0; i < tris.size(); ++i) {
        s << "{\n{" << i * 3 << "," << i * 3 + 1 << "," << i * 3 + 2 << "}\n{0,1,2}\n{0,0,0}\n}\n";
    }
    s << "}\n";
    return s.str();
}

inline bool ParseMesh(MeshASM& mesh, const std::string& text) {
    CfoDocument doc;
    if (!doc.Parse(text)) return false;
    return mesh.LoadASMDocument(&doc);
}

// Planes that put every box outside, with the eye far from everything.
inline Camera BlindCamera() {
    Camera cam;
    for (int p = 0; p < 6; ++p) {
        cam.frustum[p][0] = 0.0f;
        cam.frustum[p][1] = 0.0f;
        cam.frustum[p][2] = 0.0f;
        cam.frustum[p][3] = -1.0f;
    }
    cam.position = HVector3(1e6f, 1e6f, 1e6f);
    return cam;
}

// Planes that keep every box inside.
inline Camera OpenCamera() {
    Camera cam = BlindCamera();
    for (int p = 0; p < 6; ++p) cam.frustum[p][3] = 1e9f;
    return cam;
}

struct Recorder : ABTRenderBackend {
    std::vector<std::string> calls;
    std::vector<std::vector<int32_t>> batches;
    void Begin(ABTTree&) override { calls.push_back("begin"); }
    void BindBuffer(ABTTree&, uint32_t b) override {
        calls.push_back("buffer " + std::to_string(b));
    }
    void BindMaterial(ABTTree&, uint32_t m) override {
        calls.push_back("material " + std::to_string(m));
    }
    void MultiDraw(ABTTree&, const int32_t* counts, const uint16_t* const*,
                   uint32_t size) override {
        calls.push_back("draw " + std::to_string(size));
        batches.emplace_back(counts, counts + size);
    }
    void End(ABTTree&) override { calls.push_back("end"); }
};

// A row of an ABT vertex table at position p.
inline std::string VertRow(float x, float y, float z) {
    std::ostringstream s;
    s << "\t{" << x << "," << y << "," << z << ", 0,0,1, 0,0, 1,1,1}\n";
    return s.str();
}

// Loads ABT text with a vertex limit per buffer.
inline void LoadText(ABTTree& tree, const std::string& text, int64_t limit) {
    CfoDocument doc;
    doc.Parse(text);
    tree.LoadDocument(&doc, limit);
}

}  // namespace worldtest
