#pragma once
// Pure readers of the two image formats the textures take, over a byte buffer and with no
// GL: the DDS chain walk (level sizes and offsets of a block-compressed image) and the
// TGA decoder. The texture classes feed them the bytes of a File and upload the result;
// tests and fuzzers call them directly.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// GL internal formats of the three accepted block codes (values of
// GL_EXT_texture_compression_s3tc).
constexpr uint32_t DDS_FORMAT_DXT1 = 0x83F1;  // GL_COMPRESSED_RGBA_S3TC_DXT1_EXT
constexpr uint32_t DDS_FORMAT_DXT3 = 0x83F2;  // GL_COMPRESSED_RGBA_S3TC_DXT3_EXT
constexpr uint32_t DDS_FORMAT_DXT5 = 0x83F3;  // GL_COMPRESSED_RGBA_S3TC_DXT5_EXT

constexpr size_t DDS_HEADER_SIZE = 128;  // magic + 124-byte surface description

struct DdsLevel {
    uint32_t width;
    uint32_t height;
    size_t offset;  // from the first byte of block data
    size_t size;
};

struct DdsImage {
    uint32_t format = 0;       // one of DDS_FORMAT_*
    uint32_t block_bytes = 0;  // 8 or 16
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t levels = 0;            // mipmap count, 0 read as 1
    std::vector<DdsLevel> chain;    // one entry per level, largest first
    size_t total = 0;               // bytes of block data of the whole chain
    const uint8_t* data = nullptr;  // points into the parsed buffer, at offset 128
};

// Reads the header and walks the chain. False on any defect; only a size that is not a
// power of two prints a line ("TextureDDS: Image non power of two '<name>'"). The chain
// is never longer than the buffer can hold: a mipmap count of billions fails as a short
// read once the counted levels pass the end of the data.
bool ParseDDS(const uint8_t* bytes, size_t size, const std::string& name, DdsImage& out);

// Byte size of one level of a block-compressed image.
inline uint64_t DdsLevelSize(uint32_t width, uint32_t height, uint32_t block_bytes) {
    return uint64_t((uint64_t(width) + 3) / 4) * uint64_t((uint64_t(height) + 3) / 4) * block_bytes;
}

// The TGA reader's intermediate image: pixels in file row order (rows are never
// flipped), channels R, G, B[, A]. The record and its pixels are malloc'ed; free both
// with FreeTGA.
struct TgaImage {
    int32_t bytes_per_pixel;  // 3 or 4 (2 for the 16-bit run-length oddity)
    uint32_t width;
    uint32_t height;
    uint8_t* pixels;
};

// Decodes run-length (type 10) and uncompressed 24, 32 and 16-bit images. Null for other
// depths, an empty image, or a header that claims more pixels than the data could ever
// give (then with a line naming the file). Missing bytes of a short file read as 0.
TgaImage* ParseTGA(const uint8_t* bytes, size_t size, const std::string& name);
void FreeTGA(TgaImage* image);
