#include <GL/gl.h>

#include "platform/draw.h"
#include "resources/videofile.h"

namespace {

// Textures of the picture's own size, RGB8, linear filters, rows packed tightly.
class GLTextures : public VideoTextures {
public:
    uint32_t Create(int32_t w, int32_t h, const uint8_t* zeros) override {
        GLuint t = 0;
        glGenTextures(1, &t);
        glBindTexture(GL_TEXTURE_2D, t);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
        glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
        glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        glPixelStorei(GL_UNPACK_SWAP_BYTES, 0);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB8, w, h, 0, GL_RGB, GL_UNSIGNED_BYTE, zeros);
        return t;
    }
    bool IsTexture(uint32_t texture) override { return glIsTexture(texture) == GL_TRUE; }
    void Upload(int32_t w, int32_t h, const uint8_t* pixels, uint32_t texture) override {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, GL_RGB, GL_UNSIGNED_BYTE, pixels);
    }
    void Stamp(uint32_t texture, const uint8_t* marker) override {
        glBindTexture(GL_TEXTURE_2D, texture);
        glTexSubImage2D(GL_TEXTURE_2D, 0, 1, 1, VideoFile::kMarkerWidth, VideoFile::kMarkerHeight,
                        GL_RGB, GL_UNSIGNED_BYTE, marker);
    }
    void Delete(uint32_t texture) override {
        GLuint t = texture;
        glDeleteTextures(1, &t);
    }
};

}  // namespace

VideoTextures* GLVideoTextures() {
    static GLTextures textures;
    return &textures;
}

void VideoFile::Draw(float x1, float y1, float x2, float y2) {
    glEnable(GL_TEXTURE_2D);
    if (glIsTexture(display_texture)) glBindTexture(GL_TEXTURE_2D, display_texture);
    DrawQuad(x1, y1, x2, y2);
}
