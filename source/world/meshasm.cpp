#include "world/meshasm.h"

#include <cstdio>
#include <iostream>

#include "cfo/cfodocument.h"
#include "cfo/cfonode.h"
#include "cfo/file.h"
#include "gl/glprocs.h"

namespace {

// The flat arrays hold at most this many corners: the index list is 16 bits wide.
constexpr size_t kMaxCorners = 65535;

std::string FileExtension(const std::string& path) {
    size_t dot = path.rfind('.');
    if (dot == std::string::npos) return std::string();
    return path.substr(dot + 1);
}

}  // namespace

void MeshASM::Clear() {
    raw.reset();
    vertex_count = 0;
    indices.clear();
    positions.clear();
    texcoords.clear();
    normals.clear();
    colors.clear();
    has_color = false;
    drawable = true;
}

bool MeshASM::Load(std::string filename) {
    std::string ext = FileExtension(filename);
    if (ext == "obj" || ext == "OBJ") {
        File file(filename, File::READ);
        int64_t read = file.ReadAll();
        if (read <= 0 || !file.Data()) {
            std::cout << "OBJ loader: could not read '" << filename << "'" << std::endl;
            return false;
        }
        std::string text(file.Data(), static_cast<size_t>(read));
        return LoadOBJText(text);
    }
    if (ext == "asm") {
        CfoDocument doc;
        if (!doc.LoadFile(filename)) return false;
        return LoadASMDocument(&doc);
    }
    std::cout << "ASM loader: unknown mesh type '" << filename << "'" << std::endl;
    return false;
}

bool MeshASM::LoadASMDocument(const CfoNode* document) {
    Clear();
    if (!document) return false;
    raw = std::make_unique<MeshLoadData>();

    const CfoNode* verts = document->FindChild("verts");
    const CfoNode* tex = document->FindChild("texcoords");
    const CfoNode* norm = document->FindChild("normals");
    const CfoNode* color = document->FindChild("color");
    const CfoNode* faces = document->FindChild("faces");

    MeshReadVector3Table(verts, raw->verts);
    MeshReadVector2Table(tex, raw->texcoords);
    MeshReadVector3Table(norm, raw->normals);
    has_color = color != nullptr;
    MeshReadVector3Table(color, raw->colors);

    MeshReadFaceTable(faces, has_color ? 4 : 3, "ASM loader", raw->faces);

    if (!tex || !norm) {
        std::cout << "ASM loader: texcoords and normals required" << std::endl;
        return false;
    }
    return Unweld("ASM loader");
}

bool MeshASM::LoadOBJText(const std::string& text) {
    Clear();
    raw = std::make_unique<MeshLoadData>();
    size_t pos = 0;
    size_t line_number = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(pos, end - pos);
        pos = end + 1;
        ++line_number;
        if (line.size() < 2) continue;
        const char* s = line.c_str();
        if (s[0] == 'v' && s[1] == ' ') {
            float x = 0, y = 0, z = 0;
            std::sscanf(s + 2, "%f %f %f", &x, &y, &z);
            raw->verts.emplace_back(x, y, z);
        } else if (s[0] == 'v' && s[1] == 'n' && s[2] == ' ') {
            float x = 0, y = 0, z = 0;
            std::sscanf(s + 3, "%f %f %f", &x, &y, &z);
            raw->normals.emplace_back(x, y, z);
        } else if (s[0] == 'v' && s[1] == 't' && s[2] == ' ') {
            float u = 0, v = 0;
            std::sscanf(s + 3, "%f %f", &u, &v);
            raw->texcoords.emplace_back(u, v);
        } else if (s[0] == 'f' && s[1] == ' ') {
            int i[9];
            if (std::sscanf(s + 2, "%d/%d/%d %d/%d/%d %d/%d/%d", &i[0], &i[1], &i[2], &i[3], &i[4],
                            &i[5], &i[6], &i[7], &i[8]) != 9) {
                std::cout << "OBJ loader: line " << line_number << " is not a triangle, skipped"
                          << std::endl;
                continue;
            }
            // OBJ counts from 1.
            MeshFace face;
            for (int c = 0; c < 3; ++c) {
                face.verts[c] = i[c * 3] - 1;
                face.texcoords[c] = i[c * 3 + 1] - 1;
                face.normals[c] = i[c * 3 + 2] - 1;
            }
            raw->faces.push_back(face);
        }
    }
    if (raw->texcoords.empty() || raw->normals.empty()) {
        std::cout << "OBJ loader: texcoords and normals required" << std::endl;
        return false;
    }
    return Unweld("OBJ loader");
}

bool MeshASM::Unweld(const char* loader) {
    size_t valid = 0;
    for (const MeshFace& face : raw->faces)
        if (raw->FaceIsValid(face, has_color)) ++valid;
    // Too many corners for 16-bit drawing: the indexed tables are all the ABT builder
    // reads, so the mesh stays loaded for it, and only the flat arrays are left out.
    drawable = valid * 3 <= kMaxCorners;
    if (!drawable) {
        std::cout << loader << ": " << valid * 3
                  << " corners, more than 65535; loaded for the ABT builder only, it cannot be "
                     "drawn directly"
                  << std::endl;
    } else {
        positions.reserve(valid * 3);
        texcoords.reserve(valid * 3);
        normals.reserve(valid * 3);
        if (has_color) colors.reserve(valid * 3);
        indices.reserve(valid * 3);
    }
    size_t number = 0;
    for (const MeshFace& face : raw->faces) {
        if (!raw->FaceIsValid(face, has_color)) {
            std::cout << loader << ": face " << number << " has an index out of range, skipped"
                      << std::endl;
            ++number;
            continue;
        }
        ++number;
        if (!drawable) continue;
        for (int c = 0; c < 3; ++c) {
            indices.push_back(static_cast<uint16_t>(positions.size()));
            positions.push_back(raw->verts[face.verts[c]]);
            normals.push_back(raw->normals[face.normals[c]]);
            texcoords.push_back(raw->texcoords[face.texcoords[c]]);
            if (has_color) colors.push_back(raw->colors[face.colors[c]]);
        }
    }
    vertex_count = static_cast<uint32_t>(positions.size());
    return true;
}

void MeshASM::Draw() const {
    if (!drawable || vertex_count == 0) return;
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, 0, positions.data());
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, 0, normals.data());
    if (has_color) {
        glEnableClientState(GL_COLOR_ARRAY);
        glColorPointer(3, GL_FLOAT, 0, colors.data());
    }
    glClientActiveTextureARB(GL_TEXTURE0_ARB);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(2, GL_FLOAT, 0, texcoords.data());
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(vertex_count), GL_UNSIGNED_SHORT,
                   indices.data());
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    if (has_color) glDisableClientState(GL_COLOR_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}
