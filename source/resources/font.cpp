#include "resources/font.h"

#include "platform/draw.h"
#include "gl/glprocs.h"

bool Font::Load(std::string filename) {
    glGenTextures(1, &texture_id);
    return glfont.Create(filename, texture_id);
}

void Font::Unload() {
    if (glIsTexture(texture_id)) glDeleteTextures(1, &texture_id);
}

HVector2 Font::GetTextSize(const std::string& text, float scale) const {
    int size[2] = {0, 0};
    glfont.GetStringSize(text, size);
    return HVector2(float(size[0]) * scale, float(size[1]) * scale);
}

int Font::DrawString(const std::string& text, float scale_x, float scale_y, float x, float y) {
    int quads = 0;
    const float tex_width = float(glfont.GetTexWidth());
    const float tex_height = float(glfont.GetTexHeight());
    glBegin(GL_QUADS);
    for (char byte : text) {
        if (byte == 0) break;
        const GLFontChar* glyph = glfont.Glyph(static_cast<signed char>(byte));
        if (!glyph) continue;  // out of range: skipped, no advance
        float w = tex_width * glyph->dx * scale_x;
        float h = tex_height * glyph->dy * scale_y;
        glTexCoord2f(glyph->tx1, glyph->ty1);
        glVertex2f(x, y);
        glTexCoord2f(glyph->tx1, glyph->ty2);
        glVertex2f(x, y - h);
        glTexCoord2f(glyph->tx2, glyph->ty2);
        glVertex2f(x + w, y - h);
        glTexCoord2f(glyph->tx2, glyph->ty1);
        glVertex2f(x + w, y);
        x += w;
        quads++;
    }
    glEnd();
    return quads;
}

void Font::Print(const std::string& text, float scale, HVector2 pos) {
    glDisable(GL_FOG);
    glPushMatrix();
    glScalef(1.0f, -1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    // The filters go to whatever texture is bound at this point, as on every 2D path.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glfont.Bind();
    DrawString(text, scale, scale, pos.x, pos.y);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glPopMatrix();
}

void Font::PrintCentred(const std::string& text, float scale, HVector2 pos) {
    glDisable(GL_FOG);
    glPushMatrix();
    glEnable(GL_TEXTURE_2D);
    // The filters go to whatever texture is bound at this point, as on every 2D path.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    HVector2 size = GetTextSize(text, 1.0f) * scale;
    glfont.Bind();
    DrawString(text, scale, -scale, pos.x - size.x / 2, pos.y - size.y / 2);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glPopMatrix();
}

Font& GlobalFont() {
    static Font global_font;
    return global_font;
}

namespace {
void PrintLoadingText(const std::string& text, float x, float y, float scale) {
    GlobalFont().Print(text, scale, HVector2(x, y));
}
}  // namespace

bool LoadGlobalFont(const std::string& filename) {
    bool ok = GlobalFont().Load(filename);
    loading_text_printer = PrintLoadingText;
    return ok;
}
