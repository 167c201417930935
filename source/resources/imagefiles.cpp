#include "resources/imagefiles.h"

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace {

uint32_t ReadU32(const uint8_t* p) {
    return uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

bool IsPowerOfTwo(uint32_t v) {
    while (v != 0 && (v % 2) == 0) v /= 2;
    return v == 1;
}

// Sequential reader that behaves like a file read: what lies past the end is not read
// and the destination keeps its old bytes.
struct ByteReader {
    const uint8_t* bytes;
    size_t size;
    size_t pos = 0;

    size_t Remaining() const { return pos < size ? size - pos : 0; }
    // Whole-item read: all `n` bytes or nothing (the position still moves to the end).
    bool Read(void* dest, size_t n) {
        if (Remaining() < n) {
            pos = size;
            return false;
        }
        std::memcpy(dest, bytes + pos, n);
        pos += n;
        return true;
    }
    void Skip(size_t n) { pos = Remaining() < n ? size : pos + n; }
};

}  // namespace

bool ParseDDS(const uint8_t* bytes, size_t size, const std::string& name, DdsImage& out) {
    out = DdsImage();
    if (!bytes || size < 4) return false;
    if (std::strncmp(reinterpret_cast<const char*>(bytes), "DDS ", 4) != 0) return false;
    if (size < DDS_HEADER_SIZE) return false;

    const uint8_t* desc = bytes + 4;
    uint32_t height = ReadU32(desc + 8);
    uint32_t width = ReadU32(desc + 12);
    uint32_t linear_size = ReadU32(desc + 16);
    uint32_t mip_count = ReadU32(desc + 24);
    const char* fourcc = reinterpret_cast<const char*>(desc + 80);

    if (std::strncmp(fourcc, "DXT1", 4) == 0) {
        out.format = DDS_FORMAT_DXT1;
        out.block_bytes = 8;
    } else if (std::strncmp(fourcc, "DXT3", 4) == 0) {
        out.format = DDS_FORMAT_DXT3;
        out.block_bytes = 16;
    } else if (std::strncmp(fourcc, "DXT5", 4) == 0) {
        out.format = DDS_FORMAT_DXT5;
        out.block_bytes = 16;
    } else {
        return false;
    }

    uint32_t levels = mip_count == 0 ? 1 : mip_count;
    if (width == 0 || height == 0) return false;
    if (!IsPowerOfTwo(width) || !IsPowerOfTwo(height)) {
        std::cout << "TextureDDS: Image non power of two '" << name << "'" << std::endl;
        return false;
    }

    // Size pass. A claimed count beyond the chain keeps adding 1x1 levels of one block;
    // the walk stops as soon as the sum passes what the buffer holds.
    const size_t available = size - DDS_HEADER_SIZE;
    uint32_t w = width, h = height;
    uint64_t total = 0;
    for (uint32_t i = 0; i < levels && (w != 0 || h != 0); i++) {
        uint64_t level_size = DdsLevelSize(w, h, out.block_bytes);
        if (i == 0 && level_size != linear_size) return false;
        if (level_size > available - total) return false;  // short read
        out.chain.push_back(DdsLevel{w, h, size_t(total), size_t(level_size)});
        total += level_size;
        w = w / 2 > 0 ? w / 2 : 1;
        h = h / 2 > 0 ? h / 2 : 1;
    }
    if (total == 0) return false;

    out.width = width;
    out.height = height;
    out.levels = levels;
    out.total = size_t(total);
    out.data = bytes + DDS_HEADER_SIZE;
    return true;
}

void FreeTGA(TgaImage* image) {
    if (!image) return;
    std::free(image->pixels);
    std::free(image);
}

TgaImage* ParseTGA(const uint8_t* bytes, size_t size, const std::string& name) {
    if (!bytes) return nullptr;
    ByteReader in{bytes, size};
    uint8_t id_length = 0, image_type = 0, bits = 0;
    uint8_t word[2] = {0, 0};
    in.Read(&id_length, 1);
    in.Skip(1);
    in.Read(&image_type, 1);
    in.Skip(9);
    in.Read(word, 2);
    uint32_t width = uint32_t(word[0]) | (uint32_t(word[1]) << 8);
    word[0] = word[1] = 0;
    in.Read(word, 2);
    uint32_t height = uint32_t(word[0]) | (uint32_t(word[1]) << 8);
    in.Read(&bits, 1);
    in.Skip(1 + size_t(id_length));

    const uint64_t pixel_count = uint64_t(width) * height;
    const bool rle = image_type == 10;
    int32_t bpp = 0;
    if (rle) {
        if (bits != 16 && bits != 24 && bits != 32) return nullptr;
        bpp = bits / 8;
    } else if (bits == 24 || bits == 32) {
        bpp = bits / 8;
    } else if (bits == 16) {
        bpp = 3;
    } else {
        return nullptr;
    }
    if (pixel_count == 0) return nullptr;

    // Never allocate more than the data can fill: uncompressed data must hold every
    // pixel; a run-length packet of 1 + bpp bytes gives at most 128 pixels.
    const uint64_t remaining = in.Remaining();
    const uint64_t file_bpp = rle ? uint64_t(bpp) : uint64_t(bits / 8);
    bool too_short = rle ? pixel_count > (remaining / (1 + file_bpp)) * 128 + 128
                         : pixel_count * file_bpp > remaining;
    if (too_short) {
        std::cout << "TextureTGA: '" << name << "' holds less data than its " << width << "x"
                  << height << " image" << std::endl;
        return nullptr;
    }

    const size_t image_bytes = size_t(pixel_count) * size_t(bpp);
    uint8_t* pixels = static_cast<uint8_t*>(std::calloc(image_bytes, 1));
    TgaImage* image = static_cast<TgaImage*>(std::malloc(sizeof(TgaImage)));
    if (!pixels || !image) {
        std::free(pixels);
        std::free(image);
        return nullptr;
    }

    if (rle) {
        // File pixels are blue, green, red[, alpha]; each is stored red, green, blue and,
        // for 32 bits, alpha. A 16-bit file takes the same path with two bytes a pixel,
        // so its third "channel" is always 0 and overlaps the next pixel, as it always has.
        uint8_t pixel[4] = {0, 0, 0, 0};
        size_t target = 0;
        uint64_t done = 0;
        while (done < pixel_count) {
            uint8_t packet = 0;
            if (!in.Read(&packet, 1)) break;  // out of data: the rest stays black
            uint64_t count = packet < 128 ? uint64_t(packet) + 1 : uint64_t(packet) - 127;
            bool raw = packet < 128;
            if (!raw) in.Read(pixel, size_t(bpp));
            for (uint64_t k = 0; k < count && done < pixel_count;
                 k++) {  // a run stops at the image end
                if (raw) in.Read(pixel, size_t(bpp));
                const uint8_t rgba[4] = {pixel[2], pixel[1], pixel[0], pixel[3]};
                size_t channels = bits == 32 ? 4 : 3;
                for (size_t c = 0; c < channels && target + c < image_bytes; c++)
                    pixels[target + c] = rgba[c];
                target += size_t(bpp);
                done++;
            }
        }
    } else if (bits == 24 || bits == 32) {
        const size_t row = size_t(width) * size_t(bpp);
        for (uint32_t y = 0; y < height; y++) {
            uint8_t* dst = pixels + size_t(y) * row;
            in.Read(dst, row);
            for (size_t x = 0; x < row; x += size_t(bpp)) std::swap(dst[x], dst[x + 2]);
        }
    } else {  // 16 bits, uncompressed: 5-5-5, attribute bit dropped, no low-bit fill
        for (uint64_t i = 0; i < pixel_count; i++) {
            uint8_t b[2] = {0, 0};
            in.Read(b, 2);
            uint32_t p = uint32_t(b[0]) | (uint32_t(b[1]) << 8);
            pixels[i * 3 + 0] = uint8_t(((p >> 10) & 31) << 3);
            pixels[i * 3 + 1] = uint8_t(((p >> 5) & 31) << 3);
            pixels[i * 3 + 2] = uint8_t((p & 31) << 3);
        }
    }

    image->bytes_per_pixel = bpp;
    image->width = width;
    image->height = height;
    image->pixels = pixels;
    return image;
}
