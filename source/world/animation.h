#pragma once
// Animation: the key tracks of one animation file, one track per bone. The file is a CFO
// document whose top-level children are bones, named as the skeleton names them; each has
// a "pos" table of rows "frame,x,y,z" and a "rot" table of rows "frame,w,x,y,z" (the
// quaternion with w first, as HQuaternion stores it). Frames are unsigned integers.
//
// After reading, the keys of every track are in ascending frame order and the tracks in
// ascending `bone_id` order. A track's `bone_id` is -1 until MeshAAM::BindAnimation finds
// its bone by name; the binding sorts the tracks again by their new ids and fills
// `track_map`, which poses use to look a bone's track up by index. An animation is bound
// once for each skeleton it plays on, before it is played.
//
// Ownership: whoever loads the animation owns it (a character keeps its animations for its
// own life); the Animator's channels only point at it.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "math/hquaternion.h"
#include "math/hvector3.h"

class CfoNode;

struct PositionKey {
    uint32_t frame = 0;
    HVector3 position;
};

struct RotationKey {
    uint32_t frame = 0;
    HQuaternion rotation;
};

class BoneTrack {
public:
    int32_t bone_id = -1;  // index of the bone in the bound skeleton, -1 when unbound
    std::string name;      // the bone's name in the file
    std::vector<PositionKey> positions;
    std::vector<RotationKey> rotations;

    // The rotation at `time` (a float frame). Fewer than two keys give the identity. Key i
    // is the last whose frame is not above `time` (none: the identity), j the one after it
    // or key 0 at the end of the table, and the result is the slerp from i to j at
    // (time - frame[i]) / (frame[j] - frame[i]), the difference taken in unsigned 32-bit
    // arithmetic and 1 when the two frames are equal. After the last key j wraps to 0 and
    // the difference to nearly 2^32, so the last key holds rather than blending back to
    // the first.
    HQuaternion SampleRotation(float time) const;
    // The position at `time`, found the same way and interpolated linearly; fewer than two
    // keys give zero. Poses sample it and leave the bones at their bind offsets.
    HVector3 SamplePosition(float time) const;
};

class Animation {
public:
    std::vector<BoneTrack> tracks;
    // Bone id -> index into `tracks`; empty until MeshAAM::BindAnimation. Tracks without a
    // bone are not entered, and of two tracks for one bone the first is kept.
    std::map<int32_t, size_t> track_map;

    // Reads the file through the search path. An unreadable document prints
    // "Animation '<path>' not loaded" after the document layer's own line, and leaves the
    // animation empty.
    bool Load(std::string path);
    // The same on a parsed document; `source` names it in messages. A row that is not
    // "frame" and three (pos) or four (rot) finite numbers, or whose frame is negative, is
    // skipped with "Animation '<source>': bone '<name>' pos|rot row N is malformed,
    // skipped".
    bool LoadDocument(const CfoNode* document, const std::string& source);

    // The last frame of all tracks, position and rotation keys alike; 0 for an animation
    // without keys.
    int32_t Length() const;

    // The track bound to `bone_id`, or 0.
    const BoneTrack* FindTrack(int32_t bone_id) const;

    void Clear();

    // Keys by frame (stable: equal frames keep file order), tracks by `bone_id` (stable).
    void Sort();
};
