#include "world/skinnedmeshdraw.h"

#include "resources/shaderprogram.h"
#include "world/meshaam.h"

std::vector<float> PackBoneRotations(const MeshAAM& mesh) {
    std::vector<float> out;
    out.reserve(MeshAAM::kMaxBones * 4);
    for (const HQuaternion& q : mesh.bone_rotations) {
        out.push_back(q.w);
        out.push_back(q.x);
        out.push_back(q.y);
        out.push_back(q.z);
    }
    return out;
}

std::vector<float> PackBonePositions(const MeshAAM& mesh) {
    std::vector<float> out;
    out.reserve(MeshAAM::kMaxBones * 3);
    for (const HVector3& p : mesh.bone_positions) {
        out.push_back(p.x);
        out.push_back(p.y);
        out.push_back(p.z);
    }
    return out;
}

void SetBoneParameters(ShaderProgram* program, const MeshAAM& mesh) {
    if (program == nullptr) return;
    const std::vector<float> rotations = PackBoneRotations(mesh);
    const std::vector<float> positions = PackBonePositions(mesh);
    program->SetParameterArray4f("BoneRotationArray", MeshAAM::kMaxBones, rotations.data());
    program->SetParameterArray3f("BonePositionArray", MeshAAM::kMaxBones, positions.data());
}

bool SkinnedMeshDrawable(const MeshAAM& mesh) {
    const size_t n = mesh.vertex_count;
    if (mesh.indices.size() < n) return false;
    if (mesh.positions.size() < n || mesh.normals.size() < n || mesh.texcoords.size() < n ||
        mesh.bone_ids.size() < n || mesh.bone_weights.size() < n)
        return false;
    // The indices of an unwelded mesh count up from 0, but a mesh built by hand may not.
    for (size_t i = 0; i < n; ++i)
        if (mesh.indices[i] >= n) return false;
    return true;
}
