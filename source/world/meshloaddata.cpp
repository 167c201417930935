#include "world/meshloaddata.h"

#include <cstdio>
#include <iostream>

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

void MeshReadFaceTable(const CfoNode* table, size_t rows, const char* loader,
                       std::vector<MeshFace>& out) {
    if (!table) return;
    out.reserve(out.size() + table->children.size());
    size_t number = 0;
    std::string text;
    for (const CfoNode* face_node : table->children) {
        MeshFace face;
        std::array<int32_t, 3>* targets[4] = {&face.verts, &face.texcoords, &face.normals,
                                              &face.colors};
        bool ok = rows <= 4 && face_node->children.size() >= rows;
        for (size_t r = 0; ok && r < rows; ++r)
            ok = MeshRowText(face_node->children[r], text) && MeshParseTriple(text, *targets[r]);
        if (ok)
            out.push_back(face);
        else
            std::cout << loader << ": face " << number << " is incomplete, skipped" << std::endl;
        ++number;
    }
}
