#include <iostream>
#include <vector>

#include <GL/glu.h>
#include <SDL.h>

#include "cfo/file.h"
#include "gl/glprocs.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"

namespace {

// The whole file as bytes; false when it is missing or empty.
bool ReadWholeFile(const std::string& filename, const uint8_t*& data, size_t& size, File& file) {
    if (!file.IsOpen()) return false;
    int64_t got = file.ReadAll();
    if (got <= 0 || !file.Data()) return false;
    data = reinterpret_cast<const uint8_t*>(file.Data());
    size = size_t(got);
    (void)filename;
    return true;
}

}  // namespace

namespace {

// A name from a context that no longer exists (or none) is only forgotten.
void DeleteTexture(uint32_t& texture_id) {
    if (texture_id != 0 && SDL_GL_GetCurrentContext() != nullptr && glIsTexture(texture_id))
        glDeleteTextures(1, &texture_id);
    texture_id = 0;
}

}  // namespace

void TextureDDS::Unload() { DeleteTexture(texture_id); }

void TextureTGA::Unload() { DeleteTexture(texture_id); }

bool TextureDDS::Load(std::string name) {
    filename = name;
    File file(filename, File::READ);
    const uint8_t* data = nullptr;
    size_t size = 0;
    if (!ReadWholeFile(filename, data, size, file)) return false;
    DdsImage image;
    if (!ParseDDS(data, size, filename, image)) return false;
    return Upload(image);
}

bool TextureDDS::Upload(const DdsImage& image) {
    if (glIsTexture(texture_id)) glDeleteTextures(1, &texture_id);
    glGenTextures(1, &texture_id);
    glBindTexture(GL_TEXTURE_2D, texture_id);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    if (image.total == 0 || !image.data) return false;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, GLint(image.levels - 1));
    // Same walk as the size pass of ParseDDS: the chain holds its offsets and sizes.
    for (size_t i = 0; i < image.chain.size(); i++) {
        const DdsLevel& level = image.chain[i];
        glCompressedTexImage2DARB(GL_TEXTURE_2D, GLint(i), image.format, GLsizei(level.width),
                                  GLsizei(level.height), 0, GLsizei(level.size),
                                  image.data + level.offset);
    }
    return true;
}

void TextureDDS::Bind() {
    if (!glIsTexture(texture_id))
        std::cout << "not a texture " << static_cast<const void*>(this) << ", " << filename
                  << std::endl;
    glBindTexture(GL_TEXTURE_2D, texture_id);
}

TgaImage* TextureTGA::LoadTGA(const std::string& name) {
    File file(name, File::READ);
    const uint8_t* data = nullptr;
    size_t size = 0;
    if (!ReadWholeFile(name, data, size, file)) return nullptr;
    return ParseTGA(data, size, name);
}

bool TextureTGA::Load(std::string name) {
    filename = name;
    TgaImage* image = LoadTGA(filename);
    if (!image) return false;
    bool ok = Upload(*image);
    FreeTGA(image);
    return ok;
}

bool TextureTGA::Upload(const TgaImage& image) {
    if (image.bytes_per_pixel != 3 && image.bytes_per_pixel != 4) {
        // The 16-bit run-length oddity: its two bytes a pixel are no GL_RGB data.
        std::cout << "TextureTGA: cannot upload " << image.bytes_per_pixel
                  << " bytes a pixel from '" << filename << "'" << std::endl;
        return false;
    }
    glGenTextures(1, &texture_id);
    glBindTexture(GL_TEXTURE_2D, texture_id);
    GLenum format = image.bytes_per_pixel == 4 ? GL_RGBA : GL_RGB;
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    gluBuild2DMipmaps(GL_TEXTURE_2D, image.bytes_per_pixel, GLint(image.width), GLint(image.height),
                      format, GL_UNSIGNED_BYTE, image.pixels);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_NEAREST);
    // Not a legal magnification filter: GL refuses it and the default stays. TGA
    // textures have always come out this way.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    return true;
}
