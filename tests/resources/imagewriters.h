#pragma once
// Small writers of DDS, TGA and GLF files for the resource tests, fuzz seeds and
// benchmarks. They write exactly the layouts the readers take, with knobs to break them.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace testfiles {

inline void PutU32(std::vector<uint8_t>& out, size_t at, uint32_t v) {
    out[at] = uint8_t(v), out[at + 1] = uint8_t(v >> 8), out[at + 2] = uint8_t(v >> 16),
    out[at + 3] = uint8_t(v >> 24);
}
inline void AppendU32(std::vector<uint8_t>& out, uint32_t v) {
    out.resize(out.size() + 4);
    PutU32(out, out.size() - 4, v);
}
inline void AppendF32(std::vector<uint8_t>& out, float f) {
    uint32_t v;
    std::memcpy(&v, &f, 4);
    AppendU32(out, v);
}

inline uint64_t BlockLevelSize(uint32_t w, uint32_t h, uint32_t block) {
    return uint64_t((uint64_t(w) + 3) / 4) * ((uint64_t(h) + 3) / 4) * block;
}

// A DDS header for the given size and code; `linear` < 0 takes the true level-0 size.
inline std::vector<uint8_t> DdsHeader(uint32_t width, uint32_t height, const char* fourcc,
                                      uint32_t mip_count, int64_t linear = -1) {
    std::vector<uint8_t> out(128, 0);
    std::memcpy(out.data(), "DDS ", 4);
    PutU32(out, 4, 124);
    PutU32(out, 8, 0x000A1007);
    PutU32(out, 12, height);
    PutU32(out, 16, width);
    uint32_t block = std::strncmp(fourcc, "DXT1", 4) == 0 ? 8 : 16;
    PutU32(out, 20, linear < 0 ? uint32_t(BlockLevelSize(width, height, block)) : uint32_t(linear));
    PutU32(out, 28, mip_count);
    PutU32(out, 76, 32);
    PutU32(out, 80, fourcc[0] ? 0x4 : 0x40);
    std::memcpy(out.data() + 84, fourcc, 4);
    return out;
}

// A whole DDS: header plus `levels` levels (mip_count 0 writes one), each level filled
// with repeats of `block` (8 or 16 bytes per block as the code wants).
inline std::vector<uint8_t> MakeDDS(uint32_t width, uint32_t height, const char* fourcc,
                                    uint32_t mip_count, const std::vector<uint8_t>& block) {
    std::vector<uint8_t> out = DdsHeader(width, height, fourcc, mip_count);
    uint32_t bytes = std::strncmp(fourcc, "DXT1", 4) == 0 ? 8 : 16;
    uint32_t levels = mip_count == 0 ? 1 : mip_count;
    uint32_t w = width, h = height;
    for (uint32_t i = 0; i < levels; i++) {
        uint64_t n = BlockLevelSize(w, h, bytes) / bytes;
        for (uint64_t b = 0; b < n; b++)
            for (uint32_t k = 0; k < bytes; k++) out.push_back(k < block.size() ? block[k] : 0);
        w = w / 2 ? w / 2 : 1;
        h = h / 2 ? h / 2 : 1;
    }
    return out;
}

// One DXT1 block of a solid 5-6-5 colour.
inline std::vector<uint8_t> Dxt1Solid(uint16_t rgb565) {
    return {uint8_t(rgb565), uint8_t(rgb565 >> 8), 0, 0, 0, 0, 0, 0};
}

// A TGA: header, `id_length` id bytes, then `data` as given (already packed).
inline std::vector<uint8_t> MakeTGA(uint8_t image_type, uint8_t bits, uint16_t width,
                                    uint16_t height, const std::vector<uint8_t>& data,
                                    uint8_t id_length = 0) {
    std::vector<uint8_t> out(18, 0);
    out[0] = id_length;
    out[2] = image_type;
    out[12] = uint8_t(width), out[13] = uint8_t(width >> 8);
    out[14] = uint8_t(height), out[15] = uint8_t(height >> 8);
    out[16] = bits;
    for (uint8_t i = 0; i < id_length; i++) out.push_back(uint8_t('A' + i % 26));
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

struct Glyph {
    float dx, dy, tx1, ty1, tx2, ty2;
};

// A GLF: header, one record per glyph as given (the header's count is taken from
// start/end, so a short `glyphs` list makes a file that claims more than it holds), then
// `pixels` (luminance, alpha pairs).
inline std::vector<uint8_t> MakeGLF(int32_t tex_width, int32_t tex_height, int32_t start_char,
                                    int32_t end_char, const std::vector<Glyph>& glyphs,
                                    const std::vector<uint8_t>& pixels) {
    std::vector<uint8_t> out;
    AppendU32(out, 0);
    AppendU32(out, uint32_t(tex_width));
    AppendU32(out, uint32_t(tex_height));
    AppendU32(out, uint32_t(start_char));
    AppendU32(out, uint32_t(end_char));
    AppendU32(out, 0);
    for (const Glyph& g : glyphs) {
        AppendF32(out, g.dx), AppendF32(out, g.dy), AppendF32(out, g.tx1);
        AppendF32(out, g.ty1), AppendF32(out, g.tx2), AppendF32(out, g.ty2);
    }
    out.insert(out.end(), pixels.begin(), pixels.end());
    return out;
}

}  // namespace testfiles
