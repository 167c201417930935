#pragma once
// Bone: one joint of a skinned mesh's skeleton. The mesh owns its bones in id order; the
// bind transforms come from the mesh file, the pose transforms are written by the
// animator each animation step.

#include <cstdint>
#include <string>
#include <vector>

#include "math/hquaternion.h"
#include "math/hvector3.h"

// A rotation and a position; no scale.
struct BoneTransform {
    HQuaternion rotation;  // identity
    HVector3 position;     // zero
};

struct Bone {
    std::string name;
    int32_t parent_id = -1;         // below 0 for a root
    std::vector<int32_t> children;  // ids of the child bones
    BoneTransform bind_absolute;    // bind pose in model space
    BoneTransform
        bind_local;  // rotation relative to the parent's, position as a plain model-space offset
    BoneTransform skin;      // what goes to the vertex program
    BoneTransform absolute;  // current pose in model space
    BoneTransform local;     // current pose relative to the parent
};
