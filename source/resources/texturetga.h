#pragma once
// TextureTGA: an uncompressed (or run-length) TGA image, for the few textures that are
// not block-compressed (normal maps); mipmaps are built by GLU at load. Registered for
// the extension "tga". Rows are uploaded in file order, never flipped.

#include <cstdint>
#include <string>

#include "resources/imagefiles.h"
#include "resources/resource.h"

class TextureTGA : public Resource {
public:
    uint32_t texture_id = 0;  // GL name, 0 until loaded
    std::string filename;     // as given to Load

    TextureTGA() = default;
    TextureTGA(const TextureTGA&) = default;

    bool Load(std::string filename) override;
    // Gives the GL name back when the manager lets the texture go, so that a level loaded
    // again does not leave the last copy's pixels in the driver.
    void Unload() override;

    // Uploads a decoded image with GLU-built mipmaps (needs a current context).
    bool Upload(const TgaImage& image);

private:
    TgaImage* LoadTGA(const std::string& filename);
};
