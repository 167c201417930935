#include <iostream>

#include "gl/glprocs.h"
#include "platform/settings.h"
#include "world/meshaam.h"
#include "world/skinnedmeshdraw.h"

void DrawSkinnedMesh(const MeshAAM& mesh) {
    if (mesh.vertex_count == 0) return;
    if (!SkinnedMeshDrawable(mesh)) {
        std::cout << "Skinned mesh: arrays shorter than its " << mesh.vertex_count
                  << " vertices, not drawn" << std::endl;
        return;
    }
    glEnableClientState(GL_VERTEX_ARRAY);
    glVertexPointer(3, GL_FLOAT, sizeof(HVector3), mesh.positions.data());
    glEnableClientState(GL_NORMAL_ARRAY);
    glNormalPointer(GL_FLOAT, sizeof(HVector3), mesh.normals.data());
    glClientActiveTexture(GL_TEXTURE0);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(2, GL_FLOAT, sizeof(HVector2), mesh.texcoords.data());
    glClientActiveTexture(GL_TEXTURE1);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(4, GL_FLOAT, sizeof(HVector4), mesh.bone_ids.data());
    glClientActiveTexture(GL_TEXTURE2);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glTexCoordPointer(4, GL_FLOAT, sizeof(HVector4), mesh.bone_weights.data());

    glDrawElements(GL_TRIANGLES, GLsizei(mesh.vertex_count), GL_UNSIGNED_SHORT,
                   mesh.indices.data());

    glClientActiveTexture(GL_TEXTURE2);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glClientActiveTexture(GL_TEXTURE1);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glClientActiveTexture(GL_TEXTURE0);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
    glDisableClientState(GL_NORMAL_ARRAY);
    glDisableClientState(GL_VERTEX_ARRAY);
}

void BindCharacterTexture(uint32_t texture) {
    glBindTexture(GL_TEXTURE_2D, texture);
    if (max_anisotropy > 1.0f)
        glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, max_anisotropy);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
}
