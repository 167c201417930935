#include "world/abttree.h"

#include <cstdio>
#include <iostream>

#include "platform/settings.h"
#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "scene/camera.h"
#include "world/worldloading.h"

namespace {

bool RowText(const CfoNode* row, std::string& text) {
    const CfoNode* first = row ? row->FirstChild() : nullptr;
    if (!first) return false;
    text = first->name;
    return true;
}

// Short rows stay where they are, so that the row numbers the other tables use keep
// naming the same rows; the fields a row does not reach read as 0.
void ReportShort(size_t count, const char* what) {
    if (count)
        std::cout << "ABTTree: " << count << " " << what
                  << " rows shorter than their format, missing fields read as 0" << std::endl;
}

}  // namespace

ABTNode::~ABTNode() {
    for (ABTChunk* c : chunks) delete c;
}

ABTTree::~ABTTree() { Clear(); }

void ABTTree::Clear() {
    ReleaseGL();
    for (ABTNode* n : nodes) delete n;
    nodes.clear();
    for (ABTVertexBuffer* b : vertex_buffers) delete b;
    vertex_buffers.clear();
    unattached.clear();
    render_lists.clear();
    materials.clear();
    textures.reset();
    indices.clear();
    vertices.clear();
    index_count = 0;
    root = 0;
}

bool ABTTree::Load(std::string path) {
    CfoDocument doc;
    bool ok = doc.LoadFile(path);
    int64_t limit = max_elements_indices;
    // A file that did not load or parse reads as an empty one.
    LoadDocument(ok ? &doc : nullptr, limit);
    return false;
}

bool ABTTree::LoadQuiet(std::string path) {
    CfoDocument doc;
    bool ok = doc.LoadFile(path);
    LoadDocument(ok ? &doc : nullptr, max_elements_indices, true);
    return false;
}

void ABTTree::LoadDocument(const CfoNode* document, int64_t buffer_limit, bool quiet) {
    Clear();
    auto show = [quiet](const char* text) {
        if (!quiet) WorldLoadingScreen(text, true);
    };
    std::string text;

    // 1. Vertices: three rows per triangle, none shared. Chunks name rows by number.
    const CfoNode* verts = document ? document->FindChild("verts") : nullptr;
    if (verts) {
        show("Reading verts...");
        std::vector<ABTVertex> read;
        read.reserve(verts->children.size());
        size_t short_rows = 0;
        for (const CfoNode* row : verts->children) {
            if (!RowText(row, text)) continue;
            ABTVertex v;  // all zeros: what a short row does not reach
            if (std::sscanf(text.c_str(), "%f,%f,%f,%f,%f,%f,%f,%f,%f,%f,%f", &v.v.x, &v.v.y,
                            &v.v.z, &v.n.x, &v.n.y, &v.n.z, &v.t.x, &v.t.y, &v.c.x, &v.c.y,
                            &v.c.z) != 11)
                ++short_rows;
            read.push_back(v);
        }
        ReportShort(short_rows, "vertex");
        if (!read.empty()) {
            vertices = std::move(read);
            index_count = static_cast<uint32_t>(vertices.size());
            indices.resize(index_count);
            for (uint32_t i = 0; i < index_count; ++i) indices[i] = i;
        }
    }

    // 2. Material names.
    const CfoNode* mat = document ? document->FindChild("mat") : nullptr;
    if (mat) {
        show("Reading material names...");
        for (const CfoNode* row : mat->children)
            if (RowText(row, text)) materials.push_back(text);
    }

    // 3. Nodes: the box from its size and centre. The row number is the node's index,
    // which parents and chunks name.
    const CfoNode* nodes_node = document ? document->FindChild("nodes") : nullptr;
    if (nodes_node) {
        show("Reading nodes...");
        size_t short_rows = 0;
        for (const CfoNode* row : nodes_node->children) {
            if (!RowText(row, text)) continue;
            int parent = 0;
            HVector3 size, center;
            if (std::sscanf(text.c_str(), "%i,%f,%f,%f,%f,%f,%f", &parent, &size.x, &size.y,
                            &size.z, &center.x, &center.y, &center.z) != 7)
                ++short_rows;
            ABTNode* node = new ABTNode();
            node->parent = parent;
            node->box.SetExtents(center - size * 0.5f, center + size * 0.5f);
            nodes.push_back(node);
        }
        ReportShort(short_rows, "node");
    }

    // 4. Chunks. Node 0 is the root, which holds no chunks in a split tree: chunks that
    // name it, or a node that does not exist, are not attached.
    const CfoNode* chunks = document ? document->FindChild("chunks") : nullptr;
    if (chunks) {
        show("Reading chunks...");
        size_t short_rows = 0, bad_range = 0, bad_material = 0, overlapping = 0;
        // Every vertex row is used by one chunk: attached chunks may cover at most as many
        // rows as the file holds, which bounds what the buffer step copies.
        uint64_t covered = 0;
        for (const CfoNode* row : chunks->children) {
            if (!RowText(row, text)) continue;
            int a = 0, m = 0, s = 0, c = 0;
            if (std::sscanf(text.c_str(), "%i,%i,%i,%i", &a, &m, &s, &c) != 4) ++short_rows;
            auto chunk = std::make_unique<ABTChunk>();
            chunk->node = a;
            chunk->material = static_cast<uint32_t>(m);
            chunk->start = static_cast<uint32_t>(s);
            chunk->count = static_cast<uint32_t>(c);
            chunk->list = 0;
            bool attach = a != 0 && static_cast<uint32_t>(a) < nodes.size();
            if (attach && static_cast<uint64_t>(chunk->start) + chunk->count > index_count) {
                ++bad_range;
                attach = false;
            } else if (attach && chunk->material >= materials.size()) {
                ++bad_material;
                attach = false;
            } else if (attach && covered + chunk->count > index_count) {
                ++overlapping;
                attach = false;
            }
            if (attach) covered += chunk->count;
            if (attach)
                nodes[static_cast<size_t>(a)]->chunks.push_back(chunk.release());
            else
                unattached.push_back(std::move(chunk));
        }
        ReportShort(short_rows, "chunk");
        if (bad_range)
            std::cout << "ABTTree: " << bad_range << " chunks run past the vertices, skipped"
                      << std::endl;
        if (overlapping)
            std::cout << "ABTTree: " << overlapping
                      << " chunks cover more vertex rows than the file holds, skipped" << std::endl;
        if (bad_material)
            std::cout << "ABTTree: " << bad_material
                      << " chunks name a material that does not exist, skipped" << std::endl;
    }

    // 5. Vertex buffers of at most buffer_limit vertices (a larger chunk overruns its own).
    int64_t current = -1;
    for (ABTNode* node : quiet ? std::vector<ABTNode*>() : nodes) {
        for (ABTChunk* chunk : node->chunks) {
            if (current < 0 ||
                static_cast<int64_t>(
                    vertex_buffers[static_cast<size_t>(current)]->vertex_list.size()) +
                        static_cast<int64_t>(chunk->count) >
                    buffer_limit) {
                vertex_buffers.push_back(new ABTVertexBuffer());
                current = static_cast<int64_t>(vertex_buffers.size()) - 1;
                std::cout << "vertex buffer: " << current << std::endl;
            }
            ABTVertexBuffer* vb = vertex_buffers[static_cast<size_t>(current)];
            uint32_t base = static_cast<uint32_t>(vb->vertex_list.size());
            vb->vertex_list.reserve(vb->vertex_list.size() + chunk->count);
            vb->index_list.reserve(vb->index_list.size() + chunk->count);
            for (uint32_t j = 0; j < chunk->count; ++j) {
                vb->vertex_list.push_back(vertices[indices[chunk->start + j]]);
                vb->index_list.push_back(static_cast<uint16_t>(base + j));
            }
            chunk->base = base;
            chunk->buffer = static_cast<uint32_t>(current);
        }
    }
    for (size_t b = 0; b < vertex_buffers.size(); ++b) {
        ABTVertexBuffer* vb = vertex_buffers[b];
        if (vb->vertex_list.empty()) continue;
        vb->count = static_cast<uint32_t>(vb->vertex_list.size());
        vb->vertices = vb->vertex_list;
        vb->indices = vb->index_list;
        std::cout << "vertex array " << b << " " << vb->count << std::endl;
    }

    // 6. Children from the parent links. A node whose parent chain loops never reaches a
    // root; it is left out, so that no walk of the tree can go round for ever.
    show("Updating child indexes...");
    const size_t n = nodes.size();
    std::vector<uint8_t> state(n, 0);  // 0 unknown, 1 on the current path, 2 ends, 3 loops
    std::vector<size_t> path;
    size_t looping = 0;
    for (size_t start = 0; start < n; ++start) {
        if (state[start]) continue;
        path.clear();
        size_t at = start;
        uint8_t result = 2;
        for (;;) {
            if (state[at] == 1) {
                result = 3;
                break;
            }
            if (state[at] >= 2) {
                result = state[at];
                break;
            }
            state[at] = 1;
            path.push_back(at);
            int32_t p = nodes[at]->parent;
            if (p < 0 || static_cast<size_t>(p) >= n) {
                result = 2;
                break;
            }
            at = static_cast<size_t>(p);
        }
        for (size_t k : path) state[k] = result;
        if (result == 3) looping += path.size();
    }
    if (looping)
        std::cout << "ABTTree: " << looping << " nodes whose parents form a cycle, left out"
                  << std::endl;
    for (size_t a = 0; a < n; ++a) {
        int32_t p = nodes[a]->parent;
        if (p < 0) {
            root = static_cast<int32_t>(a);
            continue;
        }
        if (state[a] == 3 || static_cast<size_t>(p) >= n || static_cast<size_t>(p) == a) continue;
        nodes[static_cast<size_t>(p)]->children.push_back(static_cast<int32_t>(a));
    }
}

void ABTTree::PrepareRenderLists() {
    render_lists.clear();
    for (uint32_t b = 0; b < vertex_buffers.size(); ++b) {
        auto& per_buffer = render_lists[b];
        for (uint32_t m = 0; m < materials.size(); ++m) per_buffer[m];
    }
    batch_counts.fill(0);
    batch_pointers.fill(nullptr);
    batch_size = 0;
}

void ABTTree::VisibleNodes(const Camera* camera, std::vector<int32_t>& out) const {
    out.clear();
    if (nodes.empty() || root < 0 || static_cast<size_t>(root) >= nodes.size()) return;
    // Pre-order, children in order, on an explicit stack: a file may hold a deep chain.
    std::vector<int32_t>& stack = visit_stack;
    stack.clear();
    stack.push_back(root);
    while (!stack.empty()) {
        int32_t index = stack.back();
        stack.pop_back();
        const ABTNode* node = nodes[static_cast<size_t>(index)];
        if (camera && !camera->IsBoxVisible(node->box)) continue;
        out.push_back(index);
        for (auto it = node->children.rbegin(); it != node->children.rend(); ++it)
            if (*it >= 0 && static_cast<size_t>(*it) < nodes.size()) stack.push_back(*it);
    }
}

void ABTTree::Gather(const Camera* camera) {
    VisibleNodes(camera, visible_nodes);
    for (int32_t index : visible_nodes) {
        for (ABTChunk* chunk : nodes[static_cast<size_t>(index)]->chunks) {
            auto buffer = render_lists.find(chunk->buffer);
            if (buffer == render_lists.end()) continue;
            auto list = buffer->second.find(chunk->material);
            if (list == buffer->second.end()) continue;
            list->second.push_back(chunk);
        }
    }
}

void ABTTree::Render(Camera* camera, int mode) {
    (void)mode;  // every mode draws the same way
    if (nodes.empty()) return;
    ABTRenderBackend* out = backend ? backend : ABTGLBackend();

    Gather(camera);

    out->Begin(*this);
    texture_binds = 0;
    textures_per_buffer = 0;
    draws = 0;
    buffer_switches = 0;
    min_chunk = 5000000;
    max_chunk = 0;

    for (auto& [buffer_index, per_material] : render_lists) {
        out->BindBuffer(*this, buffer_index);
        buffer_switches += 1;
        uint32_t local_textures = 0;
        const ABTVertexBuffer* vb =
            buffer_index < vertex_buffers.size() ? vertex_buffers[buffer_index] : nullptr;
        for (auto& [material, list] : per_material) {
            out->BindMaterial(*this, material);
            texture_binds += 1;
            local_textures += 1;
            batch_size = 0;
            for (ABTChunk* chunk : list) {
                // The load step put every chunk inside its buffer; the draw reads no
                // further than that, whatever the file held.
                if (!vb || static_cast<uint64_t>(chunk->base) + chunk->count > vb->indices.size())
                    continue;
                batch_counts[batch_size] = static_cast<int32_t>(chunk->count);
                batch_pointers[batch_size] = vb->indices.data() + chunk->base;
                batch_size += 1;
                // A batch holds at most 501 chunks; the rest wait for the next frame.
                if (batch_size > kBatchEntries - 1) break;
                if (chunk->count < min_chunk) min_chunk = chunk->count;
                if (chunk->count > max_chunk) max_chunk = chunk->count;
            }
            if (batch_size != 0) {
                draws += 1;
                out->MultiDraw(*this, batch_counts.data(), batch_pointers.data(), batch_size);
            }
            list.clear();
        }
        if (local_textures > textures_per_buffer) textures_per_buffer = local_textures;
    }
    out->End(*this);
}

void ABTTree::PrintTree(int32_t node, int depth) const {
    if (node < 0 || static_cast<size_t>(node) >= nodes.size() ||
        static_cast<size_t>(depth) > nodes.size())
        return;
    const ABTNode* n = nodes[static_cast<size_t>(node)];
    std::string indent(static_cast<size_t>(depth), ' ');
    char size[256], pos[256];
    HVector3 s = n->box.GetSize(), c = n->box.GetCenter();
    std::snprintf(size, sizeof(size), "%.6f,%.6f,%.6f", s.x, s.y, s.z);
    std::snprintf(pos, sizeof(pos), "%.6f,%.6f,%.6f", c.x, c.y, c.z);
    std::cout << indent << node << "(" << n->parent << ")" << std::endl;
    std::cout << indent << "size:" << size << std::endl;
    std::cout << indent << "pos:" << pos << std::endl;
    for (const ABTChunk* ch : n->chunks)
        std::cout << "  rnd: " << ch->material << " " << ch->start << " " << ch->count << std::endl;
    for (int32_t child : n->children) PrintTree(child, depth + 1);
}
