#include "platform/draw.h"

#include <GL/gl.h>

#include "platform/settings.h"
#include "platform/window.h"

LoadingTextPrinter loading_text_printer = nullptr;

void DrawQuad(float x1, float y1, float x2, float y2) {
    static GLfloat vertices[8];
    static const GLfloat texcoords[8] = {0, 1, 0, 0, 1, 0, 1, 1};
    vertices[0] = x1;
    vertices[1] = y1;
    vertices[2] = x1;
    vertices[3] = y2;
    vertices[4] = x2;
    vertices[5] = y2;
    vertices[6] = x2;
    vertices[7] = y1;
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    glVertexPointer(2, GL_FLOAT, 0, vertices);
    glTexCoordPointer(2, GL_FLOAT, 0, texcoords);
    glDrawArrays(GL_QUADS, 0, 4);
    glDisableClientState(GL_VERTEX_ARRAY);
    glDisableClientState(GL_TEXTURE_COORD_ARRAY);
}

void DrawLoadingScreen(const std::string& text, bool clear) {
    if (clear) {
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    const float W = static_cast<float>(virtual_width);
    const float H = static_cast<float>(virtual_height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, W, H, 0, 1, 0);
    glMatrixMode(GL_MODELVIEW);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);

    const float w = W * 0.4f;
    const float h = H * 0.08f;
    const float x1 = W / 2 - w / 2;
    const float y1 = H / 2 - h / 2;
    glColor3f(0, 0, 0.3f);
    DrawQuad(x1, y1, x1 + w, y1 + h);
    glColor3f(1, 1, 1);
    glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
    DrawQuad(x1, y1, x1 + w, y1 + h);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);

    glEnable(GL_TEXTURE_2D);
    glColor3f(1, 1, 1);
    if (loading_text_printer != nullptr) {
        loading_text_printer(text, W / 2 - w / 2.5f, -H / 2 + h / 4, 0.5f);
    }
    SwapWindowBuffers();
}

void EnableProgramFog(float r, float g, float b, float a) {
    const GLfloat colour[4] = {r, g, b, a};
    glEnable(GL_FOG);
    glFogi(GL_FOG_MODE, GL_LINEAR);
    glFogfv(GL_FOG_COLOR, colour);
    glFogf(GL_FOG_START, 0.0f);
    glFogf(GL_FOG_END, 1.0f);
    glHint(GL_FOG_HINT, GL_NICEST);
    glFogi(GL_FOG_COORDINATE_SOURCE, GL_FOG_COORDINATE);
}
