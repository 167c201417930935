#pragma once
// TextureDDS: a block-compressed (DXT1, DXT3, DXT5) texture with the full mipmap chain
// prepared offline; the data goes to the driver as it lies in the file. Registered for
// the extension "dds". The GL name is not given back on unload: textures live as long
// as the context.

#include <cstdint>
#include <string>

#include "resources/imagefiles.h"
#include "resources/resource.h"

class TextureDDS : public Resource {
public:
    uint32_t texture_id = 0;  // GL name, 0 until loaded
    std::string filename;     // as given to Load

    TextureDDS() = default;
    TextureDDS(const TextureDDS&) = default;

    bool Load(std::string filename) override;
    // Gives the GL name back when the manager lets the texture go, so that a level loaded
    // again does not leave the last copy's pixels in the driver.
    void Unload() override;

    // Binds to GL_TEXTURE_2D; a texture that is not a GL texture first reports itself
    // ("not a texture <address>, <file name>") and the bind goes on with its name.
    void Bind();

    // Uploads a parsed chain into a new GL name (needs a current context).
    bool Upload(const DdsImage& image);
};
