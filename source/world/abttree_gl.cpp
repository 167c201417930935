// The GL layer of ABTTree: buffer uploads, texture loading and the drawing backend.

#include <SDL.h>

#include <vector>

#include "platform/settings.h"
#include "gl/glprocs.h"
#include "resources/resourcemanager.h"
#include "world/abttree.h"
#include "world/worldloading.h"

namespace {

void Upload(uint32_t& name, const std::vector<float>& data) {
    GLuint id = 0;
    glGenBuffersARB(1, &id);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, id);
    glBufferDataARB(GL_ARRAY_BUFFER_ARB, static_cast<GLsizeiptrARB>(data.size() * sizeof(float)),
                    data.empty() ? nullptr : data.data(), GL_STATIC_DRAW_ARB);
    name = id;
}

// Splits vertices into four streams and uploads them in the order position, texture
// coordinate, normal, colour.
void UploadStreams(const std::vector<ABTVertex>& verts, uint32_t& position, uint32_t& texcoord,
                   uint32_t& normal, uint32_t& color) {
    std::vector<float> p, t, n, c;
    p.reserve(verts.size() * 3);
    t.reserve(verts.size() * 2);
    n.reserve(verts.size() * 3);
    c.reserve(verts.size() * 3);
    for (const ABTVertex& v : verts) {
        p.insert(p.end(), {v.v.x, v.v.y, v.v.z});
        t.insert(t.end(), {v.t.x, v.t.y});
        n.insert(n.end(), {v.n.x, v.n.y, v.n.z});
        c.insert(c.end(), {v.c.x, v.c.y, v.c.z});
    }
    Upload(position, p);
    Upload(texcoord, t);
    Upload(normal, n);
    Upload(color, c);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}

class GLBackend : public ABTRenderBackend {
public:
    void Begin(ABTTree&) override { glEnable(GL_TEXTURE_2D); }

    void BindBuffer(ABTTree& tree, uint32_t buffer) override {
        if (buffer >= tree.vertex_buffers.size()) return;
        const ABTVertexBuffer* vb = tree.vertex_buffers[buffer];
        glEnableClientState(GL_VERTEX_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, vb->position_buffer);
        glVertexPointer(3, GL_FLOAT, 0, nullptr);
        glEnableClientState(GL_NORMAL_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, vb->normal_buffer);
        glNormalPointer(GL_FLOAT, 0, nullptr);
        glClientActiveTextureARB(GL_TEXTURE0_ARB);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, vb->texcoord_buffer);
        glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
        glClientActiveTextureARB(GL_TEXTURE1_ARB);
        glEnableClientState(GL_COLOR_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, vb->color_buffer);
        glColorPointer(3, GL_FLOAT, 0, nullptr);
    }

    void BindMaterial(ABTTree& tree, uint32_t material) override {
        if (tree.textures && material < tree.materials.size())
            tree.textures[material]->Bind();
        else
            glBindTexture(GL_TEXTURE_2D, 0);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
        float anisotropy = r_anisotropic_filtering;
        glTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
    }

    void MultiDraw(ABTTree&, const int32_t* counts, const uint16_t* const* pointers,
                   uint32_t size) override {
        glMultiDrawElements(GL_TRIANGLES, counts, GL_UNSIGNED_SHORT,
                            reinterpret_cast<const void* const*>(pointers),
                            static_cast<GLsizei>(size));
    }

    void End(ABTTree&) override {
        glClientActiveTextureARB(GL_TEXTURE0_ARB);
        glDisableClientState(GL_TEXTURE_COORD_ARRAY);
        glDisableClientState(GL_COLOR_ARRAY);
        glDisableClientState(GL_NORMAL_ARRAY);
        glDisableClientState(GL_VERTEX_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    }
};

}  // namespace

ABTRenderBackend* ABTGLBackend() {
    static GLBackend backend;
    return &backend;
}

void ABTTree::BuildVertexBuffers() {
    WorldLoadingScreen("Building vertex buffers...", true);
    UploadStreams(vertices, position_buffer, texcoord_buffer, normal_buffer, color_buffer);
    for (ABTVertexBuffer* vb : vertex_buffers)
        UploadStreams(vb->vertex_list, vb->position_buffer, vb->texcoord_buffer, vb->normal_buffer,
                      vb->color_buffer);
    PrepareRenderLists();
}

void ABTTree::LoadTextures(ResourceManager* resources) {
    WorldLoadingScreen("Reading textures...", true);
    textures = std::make_unique<ResourceHandle<TextureDDS>[]>(materials.size());
    if (!resources) return;
    for (size_t m = 0; m < materials.size(); ++m)
        resources->Load<TextureDDS>(textures[m], materials[m]);
}

namespace {

void SetFilters() {
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
}

// Client arrays straight into the interleaved whole-level vertices.
void PointIntoVertices(const std::vector<ABTVertex>& verts) {
    const GLsizei stride = sizeof(ABTVertex);
    const ABTVertex* base = verts.empty() ? nullptr : verts.data();
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, stride, base ? &base->v : nullptr);
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, stride, base ? &base->n : nullptr);
    glClientActiveTextureARB(GL_TEXTURE0_ARB);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(2, GL_FLOAT, stride, base ? &base->t : nullptr);
    glEnableClientState(GL_COLOR_ARRAY);
    glColorPointer(3, GL_FLOAT, stride, base ? &base->c : nullptr);
}

void DisableArrays() {
    glClientActiveTextureARB(GL_TEXTURE0_ARB);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
    glBindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
}

}  // namespace

void ABTTree::DrawChunks(const std::vector<int32_t>& order, int mode) {
    glEnable(GL_TEXTURE_2D);
    if (r_anisotropic_filtering > 1.0f) {
        float anisotropy = r_anisotropic_filtering;
        glTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, &anisotropy);
    }
    SetFilters();
    glEnable(GL_ALPHA_TEST);
    glAlphaFunc(GL_GREATER, 0.0f);
    texture_binds = 0;
    draws = 0;

    if (mode == 0) {
        PointIntoVertices(vertices);
    } else if (mode == 1) {
        glEnableClientState(GL_VERTEX_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, position_buffer);
        glVertexPointer(3, GL_FLOAT, 0, nullptr);
        glEnableClientState(GL_NORMAL_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, normal_buffer);
        glNormalPointer(GL_FLOAT, 0, nullptr);
        glClientActiveTextureARB(GL_TEXTURE0_ARB);
        glEnableClientState(GL_TEXTURE_COORD_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, texcoord_buffer);
        glTexCoordPointer(2, GL_FLOAT, 0, nullptr);
        glClientActiveTextureARB(GL_TEXTURE1_ARB);
        glEnableClientState(GL_COLOR_ARRAY);
        glBindBufferARB(GL_ARRAY_BUFFER_ARB, color_buffer);
        glColorPointer(3, GL_FLOAT, 0, nullptr);
    }

    for (int32_t index : order) {
        for (const ABTChunk* chunk : nodes[static_cast<size_t>(index)]->chunks) {
            if (textures && chunk->material < materials.size())
                textures[chunk->material]->Bind();
            else
                glBindTexture(GL_TEXTURE_2D, 0);
            SetFilters();
            texture_binds += 1;
            draws += 1;
            if (mode == 0 || mode == 1) {
                // Attached chunks lie inside `indices` (checked at load).
                glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(chunk->count), GL_UNSIGNED_INT,
                               indices.data() + chunk->start);
            } else {
                glCallList(chunk->list);
            }
        }
    }
    DisableArrays();
}

void ABTTree::RenderCulled(Camera* camera, int mode) {
    std::vector<int32_t> order;
    VisibleNodes(camera, order);
    DrawChunks(order, mode);
}

void ABTTree::RenderAll(int mode) {
    std::vector<int32_t> order(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) order[i] = static_cast<int32_t>(i);
    DrawChunks(order, mode);
}

void ABTTree::ReleaseGL() {
    std::vector<GLuint> buffers;
    auto take = [&buffers](uint32_t& name) {
        if (name != 0) buffers.push_back(name);
        name = 0;
    };
    take(position_buffer);
    take(texcoord_buffer);
    take(normal_buffer);
    take(color_buffer);
    for (ABTVertexBuffer* vb : vertex_buffers) {
        take(vb->position_buffer);
        take(vb->texcoord_buffer);
        take(vb->normal_buffer);
        take(vb->color_buffer);
    }
    std::vector<GLuint> lists;
    for (ABTNode* node : nodes)
        for (ABTChunk* chunk : node->chunks) {
            if (chunk->list != 0) lists.push_back(chunk->list);
            chunk->list = 0;
        }
    // Names from a context that is gone (or a tree that never had one) are only forgotten.
    if (SDL_GL_GetCurrentContext() == nullptr) return;
    if (!buffers.empty() && glDeleteBuffersARB != nullptr)
        glDeleteBuffersARB(static_cast<GLsizei>(buffers.size()), buffers.data());
    for (GLuint list : lists) glDeleteLists(list, 1);
}

void ABTTree::CompileDisplayLists() {
    for (ABTNode* node : nodes) {
        for (ABTChunk* chunk : node->chunks) {
            chunk->list = glGenLists(1);
            glNewList(chunk->list, GL_COMPILE);
            PointIntoVertices(vertices);
            glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(chunk->count), GL_UNSIGNED_INT,
                           indices.data() + chunk->start);
            glEndList();
        }
    }
    DisableArrays();
}
