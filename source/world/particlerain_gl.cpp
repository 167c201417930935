#include <cstddef>

#include "gl/glprocs.h"
#include "world/particlerain.h"

void ParticleRain::Render(RenderQueue*) {
    ShaderProgram::EnableProfile(cg_vertex_profile);
    shader->Bind();
    shader->SetStateMatrix("ModelViewProj", SHADER_MODELVIEW_PROJECTION_MATRIX,
                           SHADER_MATRIX_IDENTITY);
    shader->SetStateMatrix("ModelView", SHADER_MODELVIEW_MATRIX, SHADER_MATRIX_INVERSE);

    // Blended over what is drawn, depth-tested against it, unsorted: no depth writes.
    glDisable(GL_FOG);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glDisable(GL_ALPHA_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    glClientActiveTextureARB(GL_TEXTURE0_ARB);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture->texture_id);

    // The sprite covers each point, sized by the vertex program.
    glTexEnvf(GL_POINT_SPRITE_ARB, GL_COORD_REPLACE_ARB, 1.0f);
    glEnable(GL_COLOR_MATERIAL);
    glColor3f(1.0f, 1.0f, 1.0f);
    glEnable(GL_POINT_SPRITE_ARB);
    glEnable(GL_VERTEX_PROGRAM_POINT_SIZE_ARB);

    if (count > 0 && particles.size() >= count) {
        glEnableClientState(GL_VERTEX_ARRAY);
        glVertexPointer(3, GL_FLOAT, sizeof(RainParticle), particles.data());
        glDrawArrays(GL_POINTS, 0, GLsizei(count));
        glDisableClientState(GL_VERTEX_ARRAY);
    }

    glDepthMask(GL_TRUE);
    glDisable(GL_POINT_SPRITE_ARB);
    glDisable(GL_VERTEX_PROGRAM_POINT_SIZE_ARB);
    ShaderProgram::DisableProfile(cg_vertex_profile);
}
