#include "world/meshaam.h"

#include <cstdio>
#include <iostream>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"
#include "math/hmatrix3.h"
#include "world/animation.h"

namespace {

constexpr size_t kMaxCorners = 65535;

struct VertexWeights {
    int32_t ids[4] = {-1, -1, -1, -1};
    float weights[4] = {0.0f, 0.0f, 0.0f, 0.0f};
};

// "%i,%i,%i,%i": the ids present; places the row does not reach stay -1.
void ParseIds(const std::string& text, int32_t out[4]) {
    int v[4] = {-1, -1, -1, -1};
    std::sscanf(text.c_str(), "%i,%i,%i,%i", &v[0], &v[1], &v[2], &v[3]);
    for (int i = 0; i < 4; ++i) out[i] = v[i];
}

}  // namespace

MeshAAM::MeshAAM() {
    for (int i = 0; i < kMaxBones; ++i) {
        bone_rotations[i] = HQuaternion(1.0f, 0.0f, 0.0f, 0.0f);
        bone_positions[i] = HVector3(0.0f, 0.0f, 0.0f);
    }
}

void MeshAAM::Clear() {
    raw.reset();
    bones.clear();
    vertex_count = 0;
    indices.clear();
    positions.clear();
    skinned_positions.clear();
    texcoords.clear();
    normals.clear();
    bone_weights.clear();
    bone_ids.clear();
}

bool MeshAAM::Load(std::string filename) {
    CfoDocument doc;
    if (!doc.LoadFile(filename)) return false;
    return LoadDocument(&doc);
}

bool MeshAAM::LoadDocument(const CfoNode* document) {
    Clear();
    if (!document) return false;
    raw = std::make_unique<MeshLoadData>();

    const CfoNode* verts = document->FindChild("verts");
    const CfoNode* tex = document->FindChild("texcoords");
    const CfoNode* norm = document->FindChild("normals");
    const CfoNode* faces = document->FindChild("faces");
    const CfoNode* bones_node = document->FindChild("bones");
    const CfoNode* weights_node = document->FindChild("weights");

    MeshReadVector3Table(verts, raw->verts);
    MeshReadVector2Table(tex, raw->texcoords);
    MeshReadVector3Table(norm, raw->normals);

    MeshReadFaceTable(faces, 3, "AAM loader", raw->faces);

    if (bones_node) {
        if (bones_node->children.size() > static_cast<size_t>(kMaxBones)) {
            std::cout << "AAM loader: " << bones_node->children.size() << " bones, more than 30"
                      << std::endl;
            return false;
        }
        for (const CfoNode* bone_node : bones_node->children) {
            Bone bone;
            CfoReadString(bone_node, "name", bone.name);
            CfoReadInt(bone_node, "parent_id", bone.parent_id);
            std::string text;
            if (MeshRowText(bone_node->FindChild("transf"), text)) {
                float m[16];
                MeshParseFloats(text, m, 16);
                HMatrix3 rot(m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]);
                bone.bind_absolute.rotation = HQuaternion(rot);
                bone.bind_absolute.position = HVector3(m[3], m[7], m[11]);
            }
            bones.push_back(bone);
        }
    }

    std::vector<VertexWeights> weights;
    if (weights_node) {
        weights.reserve(weights_node->children.size());
        for (const CfoNode* entry : weights_node->children) {
            VertexWeights w;
            std::string text;
            if (entry->children.size() >= 1 && MeshRowText(entry->children[0], text))
                ParseIds(text, w.ids);
            if (entry->children.size() >= 2 && MeshRowText(entry->children[1], text))
                MeshParseFloats(text, w.weights, 4);
            weights.push_back(w);
        }
    }

    if (!tex || !norm) {
        std::cout << "AAM loader: texcoords and normals required" << std::endl;
        return false;
    }

    // Unweld: one vertex per corner, each with the weights of its position.
    size_t valid = 0;
    for (const MeshFace& face : raw->faces)
        if (raw->FaceIsValid(face, false)) ++valid;
    if (valid * 3 > kMaxCorners) {
        std::cout << "AAM loader: " << valid * 3 << " corners, more than 65535" << std::endl;
        return false;
    }
    std::vector<VertexWeights> flat_weights;
    flat_weights.reserve(valid * 3);
    positions.reserve(valid * 3);
    size_t number = 0;
    for (const MeshFace& face : raw->faces) {
        if (!raw->FaceIsValid(face, false)) {
            std::cout << "AAM loader: face " << number << " has an index out of range, skipped"
                      << std::endl;
            ++number;
            continue;
        }
        for (int c = 0; c < 3; ++c) {
            indices.push_back(static_cast<uint16_t>(positions.size()));
            positions.push_back(raw->verts[face.verts[c]]);
            normals.push_back(raw->normals[face.normals[c]]);
            texcoords.push_back(raw->texcoords[face.texcoords[c]]);
            size_t v = static_cast<size_t>(face.verts[c]);
            flat_weights.push_back(v < weights.size() ? weights[v] : VertexWeights());
        }
        ++number;
    }
    vertex_count = static_cast<uint32_t>(positions.size());

    // Bind transforms relative to the parent.
    for (size_t b = 0; b < bones.size(); ++b) {
        Bone& bone = bones[b];
        int32_t p = bone.parent_id;
        if (p >= 0 && (static_cast<size_t>(p) >= bones.size() || static_cast<size_t>(p) == b)) {
            std::cout << "AAM loader: bone " << b << " has a bad parent " << p << ", made a root"
                      << std::endl;
            bone.parent_id = -1;
            p = -1;
        }
        if (p < 0) {
            bone.bind_local = bone.bind_absolute;
        } else {
            const Bone& parent = bones[static_cast<size_t>(p)];
            bone.bind_local.rotation =
                parent.bind_absolute.rotation.Inverse() * bone.bind_absolute.rotation;
            bone.bind_local.position = bone.bind_absolute.position - parent.bind_absolute.position;
            bones[static_cast<size_t>(p)].children.push_back(static_cast<int32_t>(b));
        }
    }

    skinned_positions = positions;
    bone_weights.assign(vertex_count, HVector4(0.0f, 0.0f, 0.0f, 0.0f));
    bone_ids.assign(vertex_count, HVector4(-1.0f, -1.0f, -1.0f, -1.0f));
    bool reported = false;
    for (size_t v = 0; v < vertex_count; ++v) {
        const VertexWeights& w = flat_weights[v];
        for (int k = 0; k < 4; ++k) {
            if (w.ids[k] < 0) break;
            if (static_cast<size_t>(w.ids[k]) >= bones.size()) {
                if (!reported)
                    std::cout << "AAM loader: weight names bone " << w.ids[k]
                              << ", which does not exist; the list ends there" << std::endl;
                reported = true;
                break;
            }
            bone_ids[v][k] = static_cast<float>(w.ids[k]);
            bone_weights[v][k] = w.weights[k];
        }
    }

    for (int i = 0; i < kMaxBones; ++i) {
        bone_positions[i] = HVector3(0.0f, 0.0f, 0.0f);
        bone_rotations[i] = HQuaternion(1.0f, 0.0f, 0.0f, 0.0f);
    }
    return true;
}

void MeshAAM::DeformVertices() {
    for (size_t v = 0; v < vertex_count && v < positions.size(); ++v) {
        const HVector4& ids = bone_ids[v];
        const HVector4& w = bone_weights[v];
        if (ids[0] < 0.0f) continue;  // no bones: the bind position stays
        HVector3 sum(0.0f, 0.0f, 0.0f);
        for (int k = 0; k < 4; ++k) {
            float id = ids[k];
            if (id < 0.0f || id >= static_cast<float>(kMaxBones)) break;
            int b = static_cast<int>(id);
            sum += (bone_rotations[b] * positions[v] + bone_positions[b]) * w[k];
        }
        skinned_positions[v] = sum;
    }
}

int32_t MeshAAM::FindBone(const std::string& bone_name) const {
    for (size_t b = 0; b < bones.size(); ++b)
        if (bones[b].name == bone_name) return static_cast<int32_t>(b);
    return -1;
}

void MeshAAM::BindAnimation(Animation* animation) const {
    if (!animation) return;
    for (BoneTrack& track : animation->tracks) track.bone_id = FindBone(track.name);
    animation->Sort();
    animation->track_map.clear();
    for (size_t t = 0; t < animation->tracks.size(); ++t) {
        int32_t id = animation->tracks[t].bone_id;
        if (id >= 0) animation->track_map.emplace(id, t);
    }
}
