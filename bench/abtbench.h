#pragma once
// What the ABT frame benchmarks share: a window with a GL context, the brute-force peer
// (every triangle of a loaded tree, one vertex buffer and one draw per material, no
// culling), a backend that counts what the tree hands to GL, and the median.

#include <SDL.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "benchstats.h"
#include "platform/settings.h"
#include "gl/glprocs.h"
#include "scene/camera.h"
#include "world/abttree.h"

namespace abtbench {

using benchstats::Median;

struct Window {
    SDL_Window* window = nullptr;
    SDL_GLContext context = nullptr;
    int width = 0, height = 0;

    bool Open(const char* title, int w, int h) {
        if (window) return true;
        if (SDL_Init(SDL_INIT_VIDEO) != 0) return false;
        SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
        SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
        window = SDL_CreateWindow(title, 0, 0, w, h, SDL_WINDOW_OPENGL);
        if (!window) return false;
        context = SDL_GL_CreateContext(window);
        if (!context) return false;
        SDL_GL_MakeCurrent(window, context);
        SDL_GL_SetSwapInterval(0);
        width = w;
        height = h;
        glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &max_elements_indices);
        // The level's vertex buffers follow the driver's index limit (llvmpipe: 3000);
        // VELMORA_ABT_INDEX_LIMIT plays a card with another one (at most 65536).
        if (const char* env = std::getenv("VELMORA_ABT_INDEX_LIMIT"))
            max_elements_indices = std::atoi(env);
        return true;
    }
};

// Clears, sets the viewport (a part of the window for the geometry-bound runs) and the
// camera's view at the window's aspect.
inline void BeginFrame(const Window& w, const Camera& cam, int view_width, int view_height) {
    glViewport(0, 0, view_width, view_height);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    cam.SetupView(float(w.width) / float(w.height), 1.0f, 5000.0f);
}

// The peer: the tree's own vertices regrouped by material into one buffer each, drawn with
// the tree's textures, without culling.
struct BruteForce {
    std::vector<uint32_t> buffers;
    std::vector<int32_t> counts;

    void Build(const ABTTree& tree) {
        const size_t materials = tree.materials.size();
        std::vector<std::vector<float>> streams(materials);
        for (const ABTNode* n : tree.nodes) {
            if (n == nullptr) continue;
            for (const ABTChunk* c : n->chunks) {
                if (c->material >= materials) continue;
                for (uint32_t k = 0; k < c->count && c->start + k < tree.vertices.size(); ++k) {
                    const ABTVertex& v = tree.vertices[c->start + k];
                    streams[c->material].insert(
                        streams[c->material].end(),
                        {v.v.x, v.v.y, v.v.z, v.t.x, v.t.y, v.c.x, v.c.y, v.c.z});
                }
            }
        }
        buffers.resize(materials);
        counts.resize(materials);
        for (size_t m = 0; m < materials; ++m) {
            glGenBuffersARB(1, &buffers[m]);
            glBindBufferARB(GL_ARRAY_BUFFER_ARB, buffers[m]);
            glBufferDataARB(GL_ARRAY_BUFFER_ARB, GLsizeiptrARB(streams[m].size() * sizeof(float)),
                            streams[m].data(), GL_STATIC_DRAW_ARB);
            counts[m] = int32_t(streams[m].size() / 8);
        }
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    }

    void Draw(ABTTree& tree) const {
        glEnable(GL_TEXTURE_2D);
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glEnableClientState(GL_COLOR_ARRAY);
        for (size_t m = 0; m < buffers.size(); ++m) {
            if (tree.textures) tree.textures[m]->Bind();
            glBindBufferARB(GL_ARRAY_BUFFER_ARB, buffers[m]);
            glVertexPointer(3, GL_FLOAT, 32, reinterpret_cast<void*>(0));
            glTexCoordPointer(2, GL_FLOAT, 32, reinterpret_cast<void*>(12));
            glColorPointer(3, GL_FLOAT, 32, reinterpret_cast<void*>(20));
            glDrawArrays(GL_TRIANGLES, 0, counts[m]);
        }
        glDisableClientState(GL_COLOR_ARRAY);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glDisableClientState(GL_VERTEX_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    }
};

// Counts the vertices the tree hands to GL, then forwards to the GL backend.
struct Counting : ABTRenderBackend {
    uint64_t vertices = 0;
    ABTRenderBackend* gl = ABTGLBackend();
    void Begin(ABTTree& t) override { gl->Begin(t); }
    void BindBuffer(ABTTree& t, uint32_t b) override { gl->BindBuffer(t, b); }
    void BindMaterial(ABTTree& t, uint32_t m) override { gl->BindMaterial(t, m); }
    void MultiDraw(ABTTree& t, const int32_t* c, const uint16_t* const* p, uint32_t n) override {
        for (uint32_t i = 0; i < n; ++i) vertices += uint64_t(c[i]);
        gl->MultiDraw(t, c, p, n);
    }
    void End(ABTTree& t) override { gl->End(t); }
};

}  // namespace abtbench
