#include "world/meshloaddata.h"

#include <cstdio>

#include "cfo/cfonode.h"
#include "cfo/cforeaders.h"

bool MeshLoadData::FaceIsValid(const MeshFace& face, bool with_colors) const {
    for (int c = 0; c < 3; ++c) {
        if (face.verts[c] < 0 || static_cast<size_t>(face.verts[c]) >= verts.size()) return false;
        if (face.texcoords[c] < 0 || static_cast<size_t>(face.texcoords[c]) >= texcoords.size())
            return false;
        if (face.normals[c] < 0 || static_cast<size_t>(face.normals[c]) >= normals.size())
            return false;
        if (with_colors &&
            (face.colors[c] < 0 || static_cast<size_t>(face.colors[c]) >= colors.size()))
            return false;
    }
    return true;
}

bool MeshRowText(const CfoNode* row, std::string& text) {
    if (!row) return false;
    const CfoNode* first = row->FirstChild();
    if (!first) return false;
    text = first->name;
    return true;
}

void MeshParseFloats(const std::string& text, float* out, int count) {
    for (int i = 0; i < count; ++i) out[i] = 0.0f;
    int stored = 0;
    std::string token;
    for (char ch : text) {
        if (ch == ',' || ch == 8 || ch == 10) {
            if (!token.empty()) {
                if (stored < count) out[stored] = CfoAtof(token);
                ++stored;
                token.clear();
            }
        } else {
            token += ch;
        }
    }
    if (!token.empty() && stored < count) out[stored] = CfoAtof(token);
}

void MeshReadVector3Table(const CfoNode* table, std::vector<HVector3>& out) {
    if (!table) return;
    out.reserve(out.size() + table->children.size());
    std::string text;
    for (const CfoNode* row : table->children) {
        if (!MeshRowText(row, text)) continue;
        float f[3];
        MeshParseFloats(text, f, 3);
        out.emplace_back(f[0], f[1], f[2]);
    }
}

void MeshReadVector2Table(const CfoNode* table, std::vector<HVector2>& out) {
    if (!table) return;
    out.reserve(out.size() + table->children.size());
    std::string text;
    for (const CfoNode* row : table->children) {
        if (!MeshRowText(row, text)) continue;
        float f[2];
        MeshParseFloats(text, f, 2);
        out.emplace_back(f[0], f[1]);
    }
}

bool MeshParseTriple(const std::string& text, std::array<int32_t, 3>& out) {
    int a = 0, b = 0, c = 0;
    if (std::sscanf(text.c_str(), "%i,%i,%i", &a, &b, &c) != 3) return false;
    out = {a, b, c};
    return true;
}
