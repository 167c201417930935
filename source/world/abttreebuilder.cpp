#include "world/abttreebuilder.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <iostream>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "math/hmath.h"
#include "math/hray.h"
#include "world/meshasm.h"
#include "world/worldloading.h"

namespace {

// Where the exported text goes: a native file or a string. Lines are formatted into a
// bounded buffer first; every row format here is far shorter than the buffer.
class ExportSink {
public:
    explicit ExportSink(FILE* f) : file(f) {}
    explicit ExportSink(std::string* s) : text(s) {}

    void Put(const char* data, size_t size) {
        if (file)
            std::fwrite(data, 1, size, file);
        else if (text)
            text->append(data, size);
    }
    void Put(const std::string& s) { Put(s.data(), s.size()); }

    __attribute__((format(printf, 2, 3))) void Printf(const char* format, ...) {
        char buffer[2048];
        va_list args;
        va_start(args, format);
        int n = std::vsnprintf(buffer, sizeof(buffer), format, args);
        va_end(args);
        if (n < 0) return;
        size_t size =
            static_cast<size_t>(n) < sizeof(buffer) ? static_cast<size_t>(n) : sizeof(buffer) - 1;
        Put(buffer, size);
    }

private:
    FILE* file = nullptr;
    std::string* text = nullptr;
};

std::string Triple(const HVector3& v) {
    char buffer[512];
    std::snprintf(buffer, sizeof(buffer), "%.6f,%.6f,%.6f", v.x, v.y, v.z);
    return buffer;
}

// The export order. Kept as the level files were always sorted: it is not a strict weak
// order (equal materials are never ordered by node), which is why it goes through a merge
// sort that stays in bounds whatever the comparison says.
bool ExportBefore(const ABTFace* a, const ABTFace* b) {
    return a->material < b->material && a->node >= b->node;
}

void MergeSort(std::vector<ABTFace*>& items) {
    std::vector<ABTFace*> scratch(items.size());
    for (size_t width = 1; width < items.size(); width *= 2) {
        for (size_t lo = 0; lo < items.size(); lo += 2 * width) {
            size_t mid = std::min(lo + width, items.size());
            size_t hi = std::min(lo + 2 * width, items.size());
            size_t i = lo, j = mid, k = lo;
            while (i < mid && j < hi)
                scratch[k++] = ExportBefore(items[j], items[i]) ? items[j++] : items[i++];
            while (i < mid) scratch[k++] = items[i++];
            while (j < hi) scratch[k++] = items[j++];
        }
        items.swap(scratch);
    }
}

float Clamp01(float f) { return f < 0.0f ? 0.0f : (f > 1.0f ? 1.0f : f); }

void WriteTree(ABTTreeBuilder& b, ExportSink& out, int year, int month, int day, int hour,
               int minute, int second) {
    out.Put("// Tarvelle Adaptive Binary Tree\n");
    out.Printf("// %i-%i-%i %i:%i:%i\n\n", year, month, day, hour, minute, second);

    out.Put("verts={\n");
    for (const ABTFace* face : b.sorted) {
        for (int c = 0; c < 3; ++c) {
            const ABTVertex& v = b.vertices[face->v[c]];
            out.Printf("\t{%f,%f,%f, %f,%f,%f, %f,%f, %f,%f,%f}\n", v.v.x, v.v.y, v.v.z, v.n.x,
                       v.n.y, v.n.z, v.t.x, v.t.y, v.c.x, v.c.y, v.c.z);
        }
    }
    out.Put("}\n");

    out.Put("mat={\n");
    for (const std::string& m : b.materials) {
        out.Put("\t{\"");
        out.Put(m);
        out.Put("\"}\n");
    }
    out.Put("}\n");

    out.Put("nodes={\n");
    for (const ABTBuildNode& node : b.nodes) {
        std::string size = Triple(node.box.GetSize());
        std::string center = Triple(node.box.GetCenter());
        out.Printf("\t{%i,%s,%s}\n", node.parent, size.c_str(), center.c_str());
    }
    out.Put("}\n");

    out.Put("chunks={\n");
    size_t first = 0, run = 0;
    for (size_t i = 0; i < b.sorted.size(); ++i) {
        const ABTFace* f = b.sorted[i];
        bool last = i + 1 == b.sorted.size();
        if (last || b.sorted[i + 1]->node != f->node || b.sorted[i + 1]->material != f->material) {
            out.Printf("\t{%i,%i,%i,%i}\n", static_cast<int>(f->node),
                       static_cast<int>(f->material), static_cast<int>(first * 3),
                       static_cast<int>((run + 1) * 3));
            run = 0;
            first = i + 1;
        } else {
            ++run;
        }
    }
    out.Put("}\n");
}

}  // namespace

void ABTTreeBuilder::InsertObject(const std::string& mesh_file, const std::string& material) {
    // The CFO reader only: an OBJ file does not parse as a document and adds nothing.
    CfoDocument doc;
    if (!doc.LoadFile(mesh_file)) return;
    MeshASM mesh;
    if (!mesh.LoadASMDocument(&doc)) return;
    InsertMesh(mesh, material);
}

void ABTTreeBuilder::InsertMesh(const MeshASM& mesh, const std::string& material) {
    if (!mesh.raw) return;
    uint32_t m = static_cast<uint32_t>(materials.size());
    materials.push_back(material);
    const MeshLoadData& raw = *mesh.raw;
    vertices.reserve(vertices.size() + raw.faces.size() * 3);
    faces.reserve(faces.size() + raw.faces.size());
    for (const MeshFace& mf : raw.faces) {
        // Faces with an index outside the tables were reported by the mesh loader.
        if (!raw.FaceIsValid(mf, mesh.has_color)) continue;
        ABTFace face;
        for (int c = 0; c < 3; ++c) {
            ABTVertex v;
            v.v = raw.verts[mf.verts[c]];
            v.n = raw.normals[mf.normals[c]];
            v.t = raw.texcoords[mf.texcoords[c]];
            v.c = mesh.has_color ? raw.colors[mf.colors[c]] : HVector3(1.0f, 1.0f, 1.0f);
            face.v[c] = static_cast<uint32_t>(vertices.size());
            vertices.push_back(v);
        }
        face.material = m;
        faces.push_back(face);
    }
}

void ABTTreeBuilder::Build(uint32_t faces_limit, uint32_t depth_limit) {
    max_faces = faces_limit;
    max_depth = depth_limit;
    if (max_depth > kDepthCap) {
        std::cout << "ABTTreeBuilder: max depth " << max_depth << " cut to " << kDepthCap
                  << std::endl;
        max_depth = kDepthCap;
    }
    BuildNode(faces, -1, 0);
    // Children from the parent links, ascending.
    for (size_t a = 0; a < nodes.size(); ++a) {
        int32_t p = nodes[a].parent;
        if (p >= 0 && static_cast<size_t>(p) < nodes.size() && static_cast<size_t>(p) != a)
            nodes[static_cast<size_t>(p)].children.push_back(static_cast<int32_t>(a));
    }
}

void ABTTreeBuilder::BuildNode(std::vector<ABTFace>& list, int32_t parent, uint32_t depth) {
    if (list.empty()) return;

    const int32_t i = static_cast<int32_t>(nodes.size());
    nodes.emplace_back();
    nodes.back().parent = parent;
    if (parent < 0) root = i;

    HAxisAlignedBox parent_box;
    for (const ABTFace& f : list)
        for (int c = 0; c < 3; ++c) parent_box.Merge(vertices[f.v[c]].v);

    bool over_budget = vertices.size() > 3 * (faces.size() + kFaceBudget);
    if (list.size() > max_faces && depth < max_depth && !over_budget) {
        HVector3 sum(0.0f, 0.0f, 0.0f);
        for (const ABTFace& f : list)
            for (int c = 0; c < 3; ++c) sum += vertices[f.v[c]].v;
        HVector3 mcenter = sum / static_cast<float>(3 * list.size());

        HVector3 parent_size = parent_box.GetSize();
        HVector3 box_center = parent_box.GetCenter();
        HVector3 division_pos = box_center * weights.x + mcenter * weights.y;

        int axis = 0;
        if (parent_size.x >= parent_size.y && parent_size.x >= parent_size.z) axis = 0;
        if (parent_size.y >= parent_size.x && parent_size.y >= parent_size.z) axis = 1;
        if (parent_size.z >= parent_size.x && parent_size.z >= parent_size.y) axis = 2;
        HVector3 e(0.0f, 0.0f, 0.0f);
        e[static_cast<unsigned>(axis)] = 1.0f;

        HPlane plane(e, division_pos);
        float extent_min = std::fabs((parent_box.GetMinimum() - division_pos).Dot(e));
        float extent_max = std::fabs((parent_box.GetMaximum() - division_pos).Dot(e));

        std::vector<ABTFace> negative;
        std::vector<ABTFace> positive;
        for (size_t k = 0; k < list.size(); ++k) {
            const ABTFace& f = list[k];
            float d[3];
            for (int c = 0; c < 3; ++c) {
                d[c] = plane.GetDistance(vertices[f.v[c]].v);
                if (std::fabs(d[c]) < 1e-6f) d[c] = 0.0f;
            }
            if (d[0] >= 0.0f && d[1] >= 0.0f && d[2] >= 0.0f) {
                positive.push_back(f);
            } else if (d[0] <= 0.0f && d[1] <= 0.0f && d[2] <= 0.0f) {
                negative.push_back(f);
            } else {
                float p = 0.0f, q = 0.0f;
                for (int c = 0; c < 3; ++c) {
                    if (d[c] > p) p = d[c];
                    if (-d[c] > q) q = -d[c];
                }
                // A zero extent gives no finite ratio: the face is cut.
                if (p > q) {
                    if (extent_max > 0.0f && q / extent_max < overgrow)
                        positive.push_back(f);
                    else
                        SplitFace(plane, k, list, negative, positive);
                } else {
                    if (extent_min > 0.0f && p / extent_min < overgrow)
                        negative.push_back(f);
                    else
                        SplitFace(plane, k, list, negative, positive);
                }
            }
        }
        // The list is not read again: give its memory back before going deeper.
        if (parent >= 0) std::vector<ABTFace>().swap(list);
        BuildNode(negative, i, depth + 1);
        BuildNode(positive, i, depth + 1);
        return;
    }

    // Leaf.
    if (parent >= 0)
        nodes[static_cast<size_t>(i)].faces = std::move(list);
    else
        nodes[static_cast<size_t>(i)].faces = list;
    nodes[static_cast<size_t>(i)].box = parent_box;
    for (int32_t a = parent; a >= 0; a = nodes[static_cast<size_t>(a)].parent)
        nodes[static_cast<size_t>(a)].box.Merge(parent_box);
}

void ABTTreeBuilder::SplitFace(const HPlane& plane, size_t index, const std::vector<ABTFace>& list,
                               std::vector<ABTFace>& negative, std::vector<ABTFace>& positive) {
    if (index >= list.size()) return;
    const ABTFace source = list[index];
    struct Entry {
        uint32_t vertex;
        int sign;
    };
    std::vector<Entry> poly;
    poly.reserve(6);
    for (int k = 0; k < 3; ++k) {
        uint32_t a = source.v[k];
        uint32_t b = source.v[(k + 1) % 3];
        HPlane::Side side = plane.GetSide(vertices[a].v);
        poly.push_back({a, side == HPlane::NEGATIVE_SIDE ? -1 : 1});
        if (plane.GetSide(vertices[b].v) != side) {
            ABTVertex cut = SplitSegment(vertices[a], vertices[b], plane);
            vertices.push_back(cut);
            poly.push_back({static_cast<uint32_t>(vertices.size() - 1), 0});
        }
    }

    size_t p = 0;
    size_t scanned =
        0;  // entries passed since the last ear; a full round without a cut point ends it
    while (poly.size() >= 3) {
        if (poly[p].sign != 0) {
            p = (p + 1) % poly.size();
            if (++scanned > poly.size()) break;
            continue;
        }
        scanned = 0;
        size_t p1 = (p + 1) % poly.size();
        size_t p2 = (p + 2) % poly.size();
        ABTFace face;
        face.v[0] = poly[p].vertex;
        face.v[1] = poly[p1].vertex;
        face.v[2] = poly[p2].vertex;
        face.material = source.material;
        if (poly[p1].sign < 0 || (poly[p1].sign == 0 && poly[p2].sign < 0))
            negative.push_back(face);
        else
            positive.push_back(face);
        poly.erase(poly.begin() + static_cast<std::ptrdiff_t>(p1));
        p = 0;
    }
}

ABTVertex ABTTreeBuilder::SplitSegment(const ABTVertex& a, const ABTVertex& b,
                                       const HPlane& plane) {
    ABTVertex vrt;  // all zeros
    HVector3 span = b.v - a.v;
    HRay ray(a.v, span.NormalisedCopy());
    HIntersection result = Intersects(ray, plane);
    if (!result.first) {
        std::cout << "ABTTreeBuilder::SplitSegment segment division error" << std::endl;
        return vrt;
    }
    float length = span.Length();
    float s = length > 0.0f ? result.second / length : 0.0f;
    vrt.v = a.v + ray.GetDirection() * result.second;
    vrt.n = b.n * s + a.n * (1.0f - s);
    vrt.n.Normalise();
    vrt.t = b.t * s + a.t * (1.0f - s);
    HVector3 c = b.c * s + a.c * (1.0f - s);
    vrt.c = HVector3(Clamp01(c.x), Clamp01(c.y), Clamp01(c.z));
    return vrt;
}

void ABTTreeBuilder::SortFaces() {
    sorted.clear();
    sorted.reserve(faces.size());
    for (size_t n = 0; n < nodes.size(); ++n) {
        for (ABTFace& f : nodes[n].faces) {
            f.node = static_cast<uint32_t>(n);
            sorted.push_back(&f);
        }
    }
    MergeSort(sorted);
}

void ABTTreeBuilder::Export(const std::string& path) {
    FILE* f = std::fopen(path.c_str(), "w");
    if (!f) {
        std::cout << "ABTTreeBuilder::Export failed to open new file '" << path << "'" << std::endl;
        return;
    }
    SortFaces();
    std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    ExportSink sink(f);
    WriteTree(*this, sink, local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
              local.tm_min, local.tm_sec);
    std::fclose(f);
}

void ABTTreeBuilder::ExportText(std::string& out, int year, int month, int day, int hour,
                                int minute, int second) {
    SortFaces();
    ExportSink sink(&out);
    WriteTree(*this, sink, year, month, day, hour, minute, second);
}

void ABTTreeBuilder::PrintTree(int32_t node, int depth) const {
    if (node < 0 || static_cast<size_t>(node) >= nodes.size() ||
        depth > static_cast<int>(kDepthCap) + 1)
        return;
    const ABTBuildNode& n = nodes[static_cast<size_t>(node)];
    std::string indent(static_cast<size_t>(depth), ' ');
    std::cout << indent << node << "(" << n.parent << ")" << std::endl;
    std::cout << indent << "size:" << Triple(n.box.GetSize()) << std::endl;
    std::cout << indent << "pos:" << Triple(n.box.GetCenter()) << std::endl;
    if (n.children.empty()) std::cout << indent << "faces: " << n.faces.size() << std::endl;
    for (int32_t c : n.children) PrintTree(c, depth + 1);
}

// clang-format off
constexpr CfoKey kObjectKeys[] = {
    {"", CfoKeyType::String, "", "\"{mesh.asm,texture.dds}\": one mesh and its texture a row"},
};
constexpr CfoKey kABTBuilderKeys[] = {
    {"output_file", CfoKeyType::String, "", "the file written, from the folder the game runs "
     "in: \"data/\" and the WorldGeometry's \"file\""},
    {"weights", CfoKeyType::Vector2, "0.7,0.3", "weights of the split's balance and cut"},
    {"overgrow", CfoKeyType::Float, "0.1", "how far a node's box may grow over its half"},
    {"max_faces", CfoKeyType::UInt, "100", "faces a leaf may hold"},
    {"max_depth", CfoKeyType::UInt, "4", "depth of the tree"},
    {"Objects", CfoKeyType::Rows, "", "the meshes of the level", &abt_builder_objects_keys},
};
// clang-format on

const CfoKeyTable abt_builder_objects_keys{"Objects", "rows of a mesh and its texture",
                                           kObjectKeys};
const CfoKeyTable abt_builder_keys{"ABTBuilder", "writes the level's tree file from its meshes",
                                   kABTBuilderKeys};

void ABTBuilder(const CfoNode* node) {
    float overgrow = 0.1f;
    HVector2 weights(0.7f, 0.3f);
    uint32_t max_faces = 100;
    uint32_t max_depth = 4;
    std::string output_file;

    std::cout << "==================== Build ABT ======================" << std::endl;
    WorldLoadingScreen("Initiating ABTBuilder...", true);

    if (node) {
        CfoReadString(node, CfoKeyOf(kABTBuilderKeys, "output_file"), output_file);
        CfoReadVector2(node, CfoKeyOf(kABTBuilderKeys, "weights"), weights);
        CfoReadFloat(node, CfoKeyOf(kABTBuilderKeys, "overgrow"), overgrow);
        CfoReadUInt(node, CfoKeyOf(kABTBuilderKeys, "max_faces"), max_faces);
        CfoReadUInt(node, CfoKeyOf(kABTBuilderKeys, "max_depth"), max_depth);
    }
    std::cout << "output: " << output_file << std::endl;
    std::cout << "overgrow: " << overgrow << std::endl;
    std::cout << "weights: " << weights.x << "," << weights.y << std::endl;
    std::cout << "max faces: " << max_faces << std::endl;
    std::cout << "max depth: " << max_depth << std::endl;

    ABTTreeBuilder builder;
    WorldLoadingScreen("Inserting objects into ABT...", true);
    const CfoNode* objects =
        node ? CfoReadChild(node, CfoKeyOf(kABTBuilderKeys, "Objects")) : nullptr;
    if (objects) {
        for (const CfoNode* row : objects->children) {
            const CfoNode* first = row->FirstChild();
            if (!first) continue;
            const std::string& text = first->name;
            size_t comma = text.find(',');
            if (comma == std::string::npos) {
                std::cout << "ABTBuilder: object row '" << text << "' has no texture name, skipped"
                          << std::endl;
                continue;
            }
            std::string mesh = text.substr(0, comma);
            size_t end = text.find(',', comma + 1);
            std::string texture = text.substr(
                comma + 1, end == std::string::npos ? std::string::npos : end - comma - 1);
            builder.InsertObject(mesh, texture);
            std::cout << text << std::endl;
        }
    }

    WorldLoadingScreen("Building ABT...", true);
    builder.SetOvergrow(overgrow);
    builder.SetWeights(weights);
    builder.Build(max_faces, max_depth);

    WorldLoadingScreen("Saving ABT...", true);
    builder.Export(output_file);
}
