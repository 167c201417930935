#pragma once
// MeshAAM: a skinned mesh with its skeleton, the class of the extension "aam". A
// character holds one as a member and loads it directly. The file is a CFO document with
// the tables "verts", "texcoords", "normals", "faces", "bones" and "weights"; loading
// unwelds it into one vertex per face corner, each with up to four bone weights.
//
// The pose goes to the vertex program as two fixed arrays of 30 entries, a quaternion
// and a position per bone; 30 is therefore the limit of bones a mesh may have, and a
// file with more fails to load. The 16-bit index list limits a mesh to 65535 corners,
// and a file with more fails to load too: a static mesh that large still loads for the
// ABT builder, but nothing but drawing reads a skinned mesh.
//
// Ownership: the mesh owns `raw`, its flat arrays and its bones.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "math/hquaternion.h"
#include "math/hvector2.h"
#include "math/hvector3.h"
#include "math/hvector4.h"
#include "resources/resource.h"
#include "world/bone.h"
#include "world/meshloaddata.h"

class Animation;
class CfoNode;

class MeshAAM : public Resource {
public:
    static constexpr int kMaxBones = 30;

    std::unique_ptr<MeshLoadData> raw;  // owned
    std::vector<Bone> bones;
    uint32_t vertex_count = 0;
    std::vector<uint16_t> indices;
    std::vector<HVector3> positions;          // the bind pose
    std::vector<HVector3> skinned_positions;  // written by DeformVertices
    std::vector<HVector2> texcoords;
    std::vector<HVector3> normals;
    std::vector<HVector4> bone_weights;
    std::vector<HVector4> bone_ids;  // as floats, -1 for an empty place
    HQuaternion bone_rotations[kMaxBones];
    HVector3 bone_positions[kMaxBones];

    MeshAAM();
    MeshAAM(const MeshAAM&) = delete;
    MeshAAM& operator=(const MeshAAM&) = delete;
    ~MeshAAM() override = default;

    bool Load(std::string filename) override;
    // The same on a document already parsed.
    bool LoadDocument(const CfoNode* document);

    // Software skinning: each vertex becomes the weighted sum, over its bones (up to
    // four, ending at an id below 0), of the bone's rotation applied to the bind position
    // plus the bone's position. A vertex without bones keeps its bind position.
    void DeformVertices();

    // The index of the first bone called `bone_name`, or -1.
    int32_t FindBone(const std::string& bone_name) const;

    // Binds `animation` to this skeleton: each track's `bone_id` becomes the index of the
    // bone of its name (-1 when there is none), the tracks are sorted by that id and the
    // animation's map is filled anew. Poses look tracks up by bone index, so an animation
    // passes through here once for each skeleton before it plays there. Null is ignored.
    void BindAnimation(Animation* animation) const;

private:
    void Clear();
};
