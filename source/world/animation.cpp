#include "world/animation.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "world/meshloaddata.h"

namespace {

// A row "frame,v0,v1,..." with `count` numbers after the frame. The frame is an integer in
// the forms of "%i" (decimal, 0x hex, 0 octal) from 0 to 2^31 - 1; the numbers are finite
// floats. Fields past the last one are ignored, as a scanf of the row would.
bool ParseKeyRow(const std::string& text, uint32_t& frame, float* values, int count) {
    std::vector<std::string> fields;
    std::string field;
    for (char ch : text) {
        if (ch == ',') {
            fields.push_back(field);
            field.clear();
        } else {
            field += ch;
        }
    }
    fields.push_back(field);
    if (fields.size() < static_cast<size_t>(count) + 1) return false;

    const std::string& f = fields[0];
    if (f.empty()) return false;
    errno = 0;
    char* end = nullptr;
    long long number = std::strtoll(f.c_str(), &end, 0);
    if (errno != 0 || end != f.c_str() + f.size()) return false;
    if (number < 0 || number > INT32_MAX) return false;
    frame = static_cast<uint32_t>(number);

    for (int i = 0; i < count; ++i) {
        const std::string& v = fields[static_cast<size_t>(i) + 1];
        if (v.empty()) return false;
        end = nullptr;
        float value = std::strtof(v.c_str(), &end);
        if (end != v.c_str() + v.size() || !std::isfinite(value)) return false;
        values[i] = value;
    }
    return true;
}

// The index of the last key whose frame is not above `time`, or -1; keys are sorted.
template <class Key>
int64_t KeyAtOrBefore(const std::vector<Key>& keys, float time) {
    auto after = std::upper_bound(keys.begin(), keys.end(), time, [](float t, const Key& key) {
        return t < static_cast<float>(key.frame);
    });
    return static_cast<int64_t>(after - keys.begin()) - 1;
}

// The factor between keys i and j: the frame difference is unsigned and wraps when j is
// key 0, which keeps the factor near 0 at the last key.
template <class Key>
float KeyFactor(const std::vector<Key>& keys, size_t i, size_t j, float time) {
    uint32_t delta = keys[j].frame - keys[i].frame;
    if (delta == 0) delta = 1;
    return (time - static_cast<float>(keys[i].frame)) / static_cast<float>(delta);
}

void ReadKeys(const CfoNode* bone, const char* key, int count, const std::string& source,
              BoneTrack& track) {
    const CfoNode* table = bone->FindChild(key);
    if (!table) return;
    size_t number = 0;
    std::string text;
    for (const CfoNode* row : table->children) {
        uint32_t frame = 0;
        float v[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        if (!MeshRowText(row, text) || !ParseKeyRow(text, frame, v, count)) {
            std::cout << "Animation '" << source << "': bone '" << track.name << "' " << key
                      << " row " << number << " is malformed, skipped" << std::endl;
        } else if (count == 3) {
            track.positions.push_back(PositionKey{frame, HVector3(v[0], v[1], v[2])});
        } else {
            track.rotations.push_back(RotationKey{frame, HQuaternion(v[0], v[1], v[2], v[3])});
        }
        ++number;
    }
}

}  // namespace

HQuaternion BoneTrack::SampleRotation(float time) const {
    if (rotations.size() < 2) return HQuaternion::IDENTITY;
    int64_t found = KeyAtOrBefore(rotations, time);
    if (found < 0) return HQuaternion::IDENTITY;
    size_t i = static_cast<size_t>(found);
    size_t j = i + 1 < rotations.size() ? i + 1 : 0;
    float t = KeyFactor(rotations, i, j, time);
    return HQuaternion::Slerp(t, rotations[i].rotation, rotations[j].rotation);
}

HVector3 BoneTrack::SamplePosition(float time) const {
    if (positions.size() < 2) return HVector3(0.0f, 0.0f, 0.0f);
    int64_t found = KeyAtOrBefore(positions, time);
    if (found < 0) return HVector3(0.0f, 0.0f, 0.0f);
    size_t i = static_cast<size_t>(found);
    size_t j = i + 1 < positions.size() ? i + 1 : 0;
    float t = KeyFactor(positions, i, j, time);
    return positions[i].position + (positions[j].position - positions[i].position) * t;
}

bool Animation::Load(std::string path) {
    Clear();
    CfoDocument doc;
    if (!doc.LoadFile(path)) {
        std::cout << "Animation '" << path << "' not loaded" << std::endl;
        return false;
    }
    return LoadDocument(&doc, path);
}

bool Animation::LoadDocument(const CfoNode* document, const std::string& source) {
    Clear();
    if (!document) return false;
    tracks.reserve(document->children.size());
    for (const CfoNode* bone : document->children) {
        BoneTrack track;
        track.name = bone->name;
        ReadKeys(bone, "pos", 3, source, track);
        ReadKeys(bone, "rot", 4, source, track);
        tracks.push_back(std::move(track));
    }
    Sort();
    return true;
}

void Animation::Sort() {
    for (BoneTrack& track : tracks) {
        std::stable_sort(
            track.positions.begin(), track.positions.end(),
            [](const PositionKey& a, const PositionKey& b) { return a.frame < b.frame; });
        std::stable_sort(
            track.rotations.begin(), track.rotations.end(),
            [](const RotationKey& a, const RotationKey& b) { return a.frame < b.frame; });
    }
    std::stable_sort(tracks.begin(), tracks.end(),
                     [](const BoneTrack& a, const BoneTrack& b) { return a.bone_id < b.bone_id; });
}

int32_t Animation::Length() const {
    uint32_t last = 0;
    for (const BoneTrack& track : tracks) {
        if (!track.positions.empty()) last = std::max(last, track.positions.back().frame);
        if (!track.rotations.empty()) last = std::max(last, track.rotations.back().frame);
    }
    return static_cast<int32_t>(last);  // frames are read no higher than 2^31 - 1
}

const BoneTrack* Animation::FindTrack(int32_t bone_id) const {
    if (bone_id < 0) return nullptr;
    auto it = track_map.find(bone_id);
    if (it == track_map.end() || it->second >= tracks.size()) return nullptr;
    return &tracks[it->second];
}

void Animation::Clear() {
    tracks.clear();
    track_map.clear();
}
