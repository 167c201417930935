#pragma once
// ABTTree: the run-time side of the level's visible geometry. It reads the ABT text file
// that ABTTreeBuilder writes, cuts the geometry into vertex buffers small enough for
// 16-bit indices (`max_elements_indices`), and each frame walks the node boxes against the
// camera's frustum and draws what survives, grouped by vertex buffer and then by
// material, one glMultiDrawElements per group.
//
// `Render`'s mode argument is handed down by WorldGeometry and not used: every mode draws
// through the vertex buffers. RenderCulled and RenderAll are the older per-chunk paths,
// kept beside it and not called by the frame.
//
// Ownership and lifetime: the tree owns its nodes, and each node its chunks; chunks the
// file puts nowhere (node 0, a node out of range, or a bad range or material) are kept in
// `unattached` and freed with the tree. WorldGeometry owns one tree for the level's
// lifetime. GL buffer names live to the end of the process. Everything runs on the thread
// that owns the GL context.
//
// Load and the gathering and batching of Render are plain code; the GL calls sit behind
// ABTRenderBackend (the default one talks to GL, tests put a recorder in its place).
//
// Bad data: a row shorter than its format keeps its place, with the fields it does not
// reach read as 0 (one line per table), because the tables name each other's rows by
// number; a chunk whose range runs past the vertices or whose material does not exist is
// skipped with a line; nodes whose parent chain loops are left out of the tree with a line.

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "math/haxisalignedbox.h"
#include "resources/resourcehandle.h"
#include "resources/texturedds.h"
#include "world/abtvertex.h"

class Camera;
class CfoNode;
class ResourceManager;

struct ABTChunk {
    uint32_t start = 0;     // first entry in the tree's indices
    uint32_t count = 0;     // entries; a multiple of 3
    uint32_t material = 0;  // index into materials and textures
    uint32_t list = 0;      // display list, 0 until compiled
    uint32_t buffer = 0;    // vertex buffer, set at load
    uint32_t base = 0;      // first vertex in that buffer, set at load
    int32_t node = 0;       // owner node as the file states it
};

class ABTNode {
public:
    virtual ~ABTNode();
    int32_t parent = -1;
    HAxisAlignedBox box;
    std::vector<ABTChunk*> chunks;  // owned, file order
    std::vector<int32_t> children;  // ascending
};

struct ABTVertexBuffer {
    uint32_t count = 0;
    std::vector<ABTVertex> vertices;  // copy of vertex_list
    std::vector<uint16_t> indices;    // entry i holds i: the client-side index array
    std::vector<ABTVertex> vertex_list;
    std::vector<uint16_t> index_list;
    uint32_t position_buffer = 0, texcoord_buffer = 0, normal_buffer = 0, color_buffer = 0;
};

class ABTTree;

// The GL side of Render. Calls come in this order: Begin, then for each buffer
// BindBuffer and for each of its materials BindMaterial and at most one MultiDraw, then
// End.
class ABTRenderBackend {
public:
    virtual ~ABTRenderBackend() = default;
    virtual void Begin(ABTTree& tree) = 0;
    virtual void BindBuffer(ABTTree& tree, uint32_t buffer) = 0;
    virtual void BindMaterial(ABTTree& tree, uint32_t material) = 0;
    virtual void MultiDraw(ABTTree& tree, const int32_t* counts, const uint16_t* const* pointers,
                           uint32_t size) = 0;
    virtual void End(ABTTree& tree) = 0;
};

// The backend that draws with GL (needs a current context).
ABTRenderBackend* ABTGLBackend();

class ABTTree {
public:
    static constexpr uint32_t kBatchEntries = 501;

    int32_t root = 0;
    std::vector<std::string> materials;
    std::unique_ptr<ResourceHandle<TextureDDS>[]> textures;  // one per material
    std::vector<uint32_t> indices;                           // one per vertex, entry i holds i
    uint32_t index_count = 0;
    std::vector<ABTNode*> nodes;  // owned, file order
    std::map<uint32_t, std::map<uint32_t, std::list<ABTChunk*>>> render_lists;
    uint32_t texture_binds = 0;
    uint32_t textures_per_buffer = 0;
    uint32_t draws = 0;
    uint32_t buffer_switches = 0;
    uint32_t min_chunk = 5000000;
    uint32_t max_chunk = 0;
    std::vector<ABTVertex> vertices;  // the whole level, file order
    uint32_t position_buffer = 0, texcoord_buffer = 0, normal_buffer = 0, color_buffer = 0;
    std::vector<ABTVertexBuffer*> vertex_buffers;  // owned
    std::array<int32_t, kBatchEntries> batch_counts{};
    std::array<const uint16_t*, kBatchEntries> batch_pointers{};
    uint32_t batch_size = 0;

    std::vector<std::unique_ptr<ABTChunk>> unattached;  // chunks no node holds
    ABTRenderBackend* backend = nullptr;                // null: GL

    ABTTree() = default;
    ~ABTTree();
    ABTTree(const ABTTree&) = delete;
    ABTTree& operator=(const ABTTree&) = delete;

    // Reads the file through the search path, cutting buffers at max_elements_indices.
    // Always false: callers look at what was loaded, not at the result.
    bool Load(std::string path);
    // The same steps on a parsed document (null or empty is an empty file), with an
    // explicit vertex limit per buffer.
    void LoadDocument(const CfoNode* document, int64_t buffer_limit, bool quiet = false);
    // The quiet form: no loading-screen texts and no vertex buffers (only the whole-level
    // arrays, for the alternative paths below). Always false, like Load.
    bool LoadQuiet(std::string path);

    // Uploads the level and every vertex buffer as GL buffers, then PrepareRenderLists.
    void BuildVertexBuffers();
    // Makes every (buffer, material) list, so that a frame only fills lists.
    void PrepareRenderLists();
    // One handle per material, each loaded as a TextureDDS; a failure leaves it empty.
    void LoadTextures(ResourceManager* resources);

    // Draws what the camera can see. `mode` is handed down by the caller and not used.
    void Render(Camera* camera, int mode);
    // The gather step of Render on its own: fills render_lists from the visible nodes.
    void Gather(const Camera* camera);

    // The nodes whose boxes the camera sees, in drawing order (pre-order from the root, a
    // hidden node hiding its subtree); every node when `camera` is null.
    void VisibleNodes(const Camera* camera, std::vector<int32_t>& out) const;

    // Alternative drawing paths, outside the frame: one glDrawElements (or display list)
    // per chunk, textures bound per chunk. `mode` 0 draws from the client-side
    // `vertices`, 1 from the whole-level GL buffers, 2 calls each chunk's display list.
    // The whole-level index array is 32-bit and is drawn as such.
    void RenderCulled(Camera* camera, int mode);
    void RenderAll(int mode);
    // A display list per chunk, from the client-side arrays.
    void CompileDisplayLists();

    // Debug: the subtree of `node` on standard output.
    void PrintTree(int32_t node, int depth) const;

private:
    // Scratch lists of the culling walk, kept between frames so that a frame allocates
    // nothing once they have grown.
    mutable std::vector<int32_t> visit_stack;
    std::vector<int32_t> visible_nodes;

    void DrawChunks(const std::vector<int32_t>& order, int mode);
    void Clear();
    // Hands the GL buffers and display lists back to the driver, so that a level loaded
    // again (each "Play") does not leave the last one's copy in the driver's memory. Does
    // nothing without a current context.
    void ReleaseGL();
};
