#include "game/propdraw.h"

#include <GL/gl.h>

#include "platform/draw.h"
#include "resources/shaderprogram.h"

namespace {

const float kLightPos[3] = {0.0f, 0.0f, 100.0f};
const float kLightColor[3] = {1.0f, 1.0f, 0.6f};

}  // namespace

void BeginPropDraw(ShaderProgram* program) {
    glCullFace(GL_BACK);
    glEnable(GL_CULL_FACE);
    // The program writes the fog coordinate itself: 0 at the eye, 1 where the view closes.
    EnableProgramFog(0.5f, 0.5f, 0.55f, 1.0f);

    ShaderProgram::EnableProfile(cg_vertex_profile);
    program->Bind();
    program->SetViewMatrices();
    program->SetParameter3fv("LigthPos", kLightPos);
    program->SetParameter3fv("LigthColor", kLightColor);

    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
}

void EndPropDraw() {
    ShaderProgram::DisableProfile(cg_vertex_profile);
    glBindTexture(GL_TEXTURE_2D, 0);
}
