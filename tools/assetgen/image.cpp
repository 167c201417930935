#include "image.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define STB_DXT_IMPLEMENTATION
#include <stb/stb_dxt.h>
#define STB_TRUETYPE_IMPLEMENTATION
#include <stb/stb_truetype.h>
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO_UNUSED
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace {
uint8_t ToByte(float v) {
    if (!(v > 0.0f)) return 0;
    if (v >= 1.0f) return 255;
    return static_cast<uint8_t>(v * 255.0f + 0.5f);
}
float Clamp01(float v) { return v < 0 ? 0 : (v > 1 ? 1 : v); }
}  // namespace

Col Rgb(int r, int g, int b, float a) { return Col{r / 255.0f, g / 255.0f, b / 255.0f, a}; }
Col Mix(const Col& a, const Col& b, float t) {
    return Col{a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t,
               a.a + (b.a - a.a) * t};
}
Col Scale(const Col& c, float k) { return Col{c.r * k, c.g * k, c.b * k, c.a}; }

Image::Image(int width, int height, Col fill)
    : w(width), h(height), px(size_t(width) * height * 4) {
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) Set(x, y, fill);
}

Col Image::Get(int x, int y) const {
    x = std::clamp(x, 0, w - 1);
    y = std::clamp(y, 0, h - 1);
    const uint8_t* p = &px[(size_t(y) * w + x) * 4];
    return Col{p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f, p[3] / 255.0f};
}

void Image::Set(int x, int y, Col c) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    uint8_t* p = &px[(size_t(y) * w + x) * 4];
    p[0] = ToByte(c.r);
    p[1] = ToByte(c.g);
    p[2] = ToByte(c.b);
    p[3] = ToByte(c.a);
}

void Image::Blend(int x, int y, Col c, float cover) {
    if (x < 0 || y < 0 || x >= w || y >= h) return;
    float a = Clamp01(c.a * cover);
    if (a <= 0.0f) return;
    Col d = Get(x, y);
    float oa = a + d.a * (1.0f - a);
    Col o;
    if (oa > 0.0f) {
        o.r = (c.r * a + d.r * d.a * (1.0f - a)) / oa;
        o.g = (c.g * a + d.g * d.a * (1.0f - a)) / oa;
        o.b = (c.b * a + d.b * d.a * (1.0f - a)) / oa;
    }
    o.a = oa;
    Set(x, y, o);
}

uint32_t Hash3(int32_t x, int32_t y, uint32_t seed) {
    uint32_t h = seed * 0x9E3779B1u;
    h ^= uint32_t(x) * 0x85EBCA77u;
    h = (h << 13) | (h >> 19);
    h ^= uint32_t(y) * 0xC2B2AE3Du;
    h ^= h >> 16;
    h *= 0x7FEB352Du;
    h ^= h >> 15;
    h *= 0x846CA68Bu;
    h ^= h >> 16;
    return h;
}

float Hash01(int32_t x, int32_t y, uint32_t seed) { return (Hash3(x, y, seed) >> 8) / 16777216.0f; }

float ValueNoise(float x, float y, int period, uint32_t seed) {
    int xi = int(std::floor(x)), yi = int(std::floor(y));
    float fx = x - xi, fy = y - yi;
    auto wrap = [period](int v) { return period > 0 ? ((v % period) + period) % period : v; };
    float a = Hash01(wrap(xi), wrap(yi), seed), b = Hash01(wrap(xi + 1), wrap(yi), seed);
    float c = Hash01(wrap(xi), wrap(yi + 1), seed), d = Hash01(wrap(xi + 1), wrap(yi + 1), seed);
    float sx = fx * fx * (3 - 2 * fx), sy = fy * fy * (3 - 2 * fy);
    float top = a + (b - a) * sx, bottom = c + (d - c) * sx;
    return top + (bottom - top) * sy;
}

float Fbm(float x, float y, int period, int octaves, uint32_t seed) {
    float sum = 0, amp = 0.5f, norm = 0;
    for (int i = 0; i < octaves; ++i) {
        sum += amp * ValueNoise(x, y, period, seed + uint32_t(i) * 101u);
        norm += amp;
        x *= 2;
        y *= 2;
        if (period > 0) period *= 2;
        amp *= 0.5f;
    }
    return sum / norm;
}

void FillRect(Image& img, int x, int y, int w, int h, Col c) {
    for (int j = std::max(0, y); j < std::min(img.h, y + h); ++j)
        for (int i = std::max(0, x); i < std::min(img.w, x + w); ++i) img.Blend(i, j, c);
}

void StrokeRect(Image& img, int x, int y, int w, int h, int t, Col c) {
    FillRect(img, x, y, w, t, c);
    FillRect(img, x, y + h - t, w, t, c);
    FillRect(img, x, y + t, t, h - 2 * t, c);
    FillRect(img, x + w - t, y + t, t, h - 2 * t, c);
}

namespace {
// Supersampled coverage of an inside test over the pixel box [x0,x1)x[y0,y1).
template <typename Inside>
void Cover(Image& img, float x0, float y0, float x1, float y1, Col c, Inside inside) {
    int ix0 = std::max(0, int(std::floor(x0)) - 1), iy0 = std::max(0, int(std::floor(y0)) - 1);
    int ix1 = std::min(img.w, int(std::ceil(x1)) + 1),
        iy1 = std::min(img.h, int(std::ceil(y1)) + 1);
    for (int y = iy0; y < iy1; ++y)
        for (int x = ix0; x < ix1; ++x) {
            int n = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx)
                    if (inside(x + (sx + 0.5f) / 4.0f, y + (sy + 0.5f) / 4.0f)) ++n;
            if (n) img.Blend(x, y, c, n / 16.0f);
        }
}

float RoundRectDistance(float px, float py, float x, float y, float w, float h, float r) {
    float cx = x + w / 2, cy = y + h / 2;
    float qx = std::fabs(px - cx) - (w / 2 - r), qy = std::fabs(py - cy) - (h / 2 - r);
    float ox = std::max(qx, 0.0f), oy = std::max(qy, 0.0f);
    return std::sqrt(ox * ox + oy * oy) + std::min(std::max(qx, qy), 0.0f) - r;
}
}  // namespace

void FillRoundRect(Image& img, float x, float y, float w, float h, float r, Col c) {
    Cover(img, x, y, x + w, y + h, c,
          [&](float px, float py) { return RoundRectDistance(px, py, x, y, w, h, r) <= 0.0f; });
}

void StrokeRoundRect(Image& img, float x, float y, float w, float h, float r, float t, Col c) {
    Cover(img, x, y, x + w, y + h, c, [&](float px, float py) {
        float d = RoundRectDistance(px, py, x, y, w, h, r);
        return d <= 0.0f && d > -t;
    });
}

void FillCircle(Image& img, float cx, float cy, float r, Col c) {
    Cover(img, cx - r, cy - r, cx + r, cy + r, c, [&](float px, float py) {
        return (px - cx) * (px - cx) + (py - cy) * (py - cy) <= r * r;
    });
}

void StrokeCircle(Image& img, float cx, float cy, float r, float t, Col c) {
    Cover(img, cx - r, cy - r, cx + r, cy + r, c, [&](float px, float py) {
        float d = std::sqrt((px - cx) * (px - cx) + (py - cy) * (py - cy));
        return d <= r && d > r - t;
    });
}

void FillPolygon(Image& img, const std::vector<float>& xy, Col c) {
    if (xy.size() < 6) return;
    float x0 = xy[0], x1 = xy[0], y0 = xy[1], y1 = xy[1];
    for (size_t i = 0; i + 1 < xy.size(); i += 2) {
        x0 = std::min(x0, xy[i]);
        x1 = std::max(x1, xy[i]);
        y0 = std::min(y0, xy[i + 1]);
        y1 = std::max(y1, xy[i + 1]);
    }
    size_t n = xy.size() / 2;
    Cover(img, x0, y0, x1, y1, c, [&](float px, float py) {
        bool in = false;
        for (size_t i = 0, j = n - 1; i < n; j = i++) {
            float xi = xy[2 * i], yi = xy[2 * i + 1], xj = xy[2 * j], yj = xy[2 * j + 1];
            if ((yi > py) != (yj > py) && px < (xj - xi) * (py - yi) / (yj - yi) + xi) in = !in;
        }
        return in;
    });
}

void DrawLine(Image& img, float x0, float y0, float x1, float y1, float width, Col c) {
    float dx = x1 - x0, dy = y1 - y0;
    float len2 = dx * dx + dy * dy;
    float hw = width / 2;
    Cover(img, std::min(x0, x1) - hw, std::min(y0, y1) - hw, std::max(x0, x1) + hw,
          std::max(y0, y1) + hw, c, [&](float px, float py) {
              float t = len2 > 0 ? ((px - x0) * dx + (py - y0) * dy) / len2 : 0.0f;
              t = Clamp01(t);
              float ex = x0 + t * dx - px, ey = y0 + t * dy - py;
              return ex * ex + ey * ey <= hw * hw;
          });
}

void VerticalGradient(Image& img, int y0, int y1, Col top, Col bottom) {
    for (int y = std::max(0, y0); y < std::min(img.h, y1); ++y) {
        float t = y1 - 1 > y0 ? float(y - y0) / float(y1 - 1 - y0) : 0.0f;
        Col c = Mix(top, bottom, t);
        for (int x = 0; x < img.w; ++x) img.Blend(x, y, c);
    }
}

// ---------------------------------------------------------------- TrueType

bool TrueType::Load(const std::string& path) {
    if (!ReadFile(path, &data)) return false;
    auto* f = new stbtt_fontinfo;
    if (!stbtt_InitFont(f, data.data(), stbtt_GetFontOffsetForIndex(data.data(), 0))) {
        std::printf("Not a TrueType font '%s'\n", path.c_str());
        delete f;
        return false;
    }
    info = f;
    return true;
}

TrueType::~TrueType() { delete static_cast<stbtt_fontinfo*>(info); }

float TrueType::Scale(float pixel_height) const {
    return stbtt_ScaleForPixelHeight(static_cast<stbtt_fontinfo*>(info), pixel_height);
}

int TrueType::Advance(int code, float pixel_height) const {
    int adv = 0, lsb = 0;
    stbtt_GetCodepointHMetrics(static_cast<stbtt_fontinfo*>(info), code, &adv, &lsb);
    return int(std::lround(adv * Scale(pixel_height)));
}

float TrueType::TextWidth(const std::string& text, float pixel_height) const {
    float w = 0;
    for (unsigned char ch : text) w += Advance(ch, pixel_height);
    return w;
}

void TrueType::Ascent(float pixel_height, int* ascent, int* descent) const {
    int a = 0, d = 0, gap = 0;
    stbtt_GetFontVMetrics(static_cast<stbtt_fontinfo*>(info), &a, &d, &gap);
    float s = Scale(pixel_height);
    *ascent = int(std::ceil(a * s));
    *descent = int(std::floor(d * s));
}

std::vector<uint8_t> TrueType::Glyph(int code, float pixel_height, int* x0, int* y0, int* w,
                                     int* h) const {
    auto* f = static_cast<stbtt_fontinfo*>(info);
    float s = Scale(pixel_height);
    int bx0, by0, bx1, by1;
    stbtt_GetCodepointBitmapBox(f, code, s, s, &bx0, &by0, &bx1, &by1);
    *x0 = bx0;
    *y0 = by0;
    *w = std::max(0, bx1 - bx0);
    *h = std::max(0, by1 - by0);
    std::vector<uint8_t> bits(size_t(*w) * *h);
    if (!bits.empty()) stbtt_MakeCodepointBitmap(f, bits.data(), *w, *h, *w, s, s, code);
    return bits;
}

void DrawText(Image& img, const TrueType& font, float ph, float x, float baseline,
              const std::string& text, Col c) {
    float pen = std::round(x);
    int base = int(std::round(baseline));
    for (unsigned char ch : text) {
        int gx, gy, gw, gh;
        std::vector<uint8_t> bits = font.Glyph(ch, ph, &gx, &gy, &gw, &gh);
        for (int j = 0; j < gh; ++j)
            for (int i = 0; i < gw; ++i)
                if (bits[size_t(j) * gw + i])
                    img.Blend(int(pen) + gx + i, base + gy + j, c,
                              bits[size_t(j) * gw + i] / 255.0f);
        pen += font.Advance(ch, ph);
    }
}

void DrawTextCentred(Image& img, const TrueType& font, float ph, float cx, float baseline,
                     const std::string& text, Col c) {
    DrawText(img, font, ph, cx - font.TextWidth(text, ph) / 2, baseline, text, c);
}

// ---------------------------------------------------------------- files

bool IsPowerOfTwo(int v) { return v > 0 && (v & (v - 1)) == 0; }

bool ReadFile(const std::string& path, std::vector<uint8_t>* out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::printf("Could not open '%s'\n", path.c_str());
        return false;
    }
    out->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::filesystem::path p(path);
    std::error_code ec;
    if (p.has_parent_path()) std::filesystem::create_directories(p.parent_path(), ec);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) {
        std::printf("Could not write '%s'\n", path.c_str());
        return false;
    }
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return bool(out);
}

namespace {
void Put32(std::vector<uint8_t>& v, size_t at, uint32_t x) {
    for (int i = 0; i < 4; ++i) v[at + i] = uint8_t(x >> (8 * i));
}
uint32_t Get32(const std::vector<uint8_t>& v, size_t at) {
    return uint32_t(v[at]) | uint32_t(v[at + 1]) << 8 | uint32_t(v[at + 2]) << 16 |
           uint32_t(v[at + 3]) << 24;
}

// Next level of the chain: 2x2 box filter, each side halved and clamped to 1.
Image Downsample(const Image& src) {
    int w = std::max(1, src.w / 2), h = std::max(1, src.h / 2);
    Image dst(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int ch = 0; ch < 4; ++ch) {
                int sx = std::min(src.w - 1, 2 * x), sy = std::min(src.h - 1, 2 * y);
                int sx1 = std::min(src.w - 1, sx + 1), sy1 = std::min(src.h - 1, sy + 1);
                int sum = src.px[(size_t(sy) * src.w + sx) * 4 + ch] +
                          src.px[(size_t(sy) * src.w + sx1) * 4 + ch] +
                          src.px[(size_t(sy1) * src.w + sx) * 4 + ch] +
                          src.px[(size_t(sy1) * src.w + sx1) * 4 + ch];
                dst.px[(size_t(y) * w + x) * 4 + ch] = uint8_t((sum + 2) / 4);
            }
    return dst;
}
}  // namespace

std::vector<uint8_t> EncodeDds(const Image& img, bool dxt5) {
    const int block = dxt5 ? 16 : 8;
    std::vector<uint8_t> out(128, 0);
    int levels = 1;
    for (int w = img.w, h = img.h; w > 1 || h > 1; w = std::max(1, w / 2), h = std::max(1, h / 2))
        ++levels;
    std::memcpy(out.data(), "DDS ", 4);
    Put32(out, 4, 124);
    Put32(out, 8,
          0x1 | 0x2 | 0x4 | 0x1000 | 0x20000 |
              0x80000);  // caps, height, width, format, mips, linear size
    Put32(out, 12, uint32_t(img.h));
    Put32(out, 16, uint32_t(img.w));
    Put32(out, 20, uint32_t(((img.w + 3) / 4) * ((img.h + 3) / 4) * block));
    Put32(out, 28, uint32_t(levels));
    Put32(out, 76, 32);
    Put32(out, 80, 0x4);  // four-character code present
    std::memcpy(&out[84], dxt5 ? "DXT5" : "DXT1", 4);
    Put32(out, 108, 0x1000 | 0x400000 | 0x8);  // texture, mipmap, complex
    Image level = img;
    for (int i = 0; i < levels; ++i) {
        for (int by = 0; by < (level.h + 3) / 4; ++by)
            for (int bx = 0; bx < (level.w + 3) / 4; ++bx) {
                uint8_t src[64];
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 4; ++x) {
                        int sx = std::min(level.w - 1, bx * 4 + x),
                            sy = std::min(level.h - 1, by * 4 + y);
                        std::memcpy(&src[(y * 4 + x) * 4],
                                    &level.px[(size_t(sy) * level.w + sx) * 4], 4);
                    }
                uint8_t dst[16];
                stb_compress_dxt_block(dst, src, dxt5 ? 1 : 0, STB_DXT_HIGHQUAL);
                out.insert(out.end(), dst, dst + block);
            }
        if (i + 1 < levels) level = Downsample(level);
    }
    return out;
}

bool WriteDds(const std::string& path, const Image& img, bool dxt5) {
    if (!IsPowerOfTwo(img.w) || !IsPowerOfTwo(img.h)) {
        std::printf("Image is not a power of two: '%s'\n", path.c_str());
        return false;
    }
    return WriteFile(path, EncodeDds(img, dxt5));
}

bool WriteTga24(const std::string& path, const Image& img) {
    std::vector<uint8_t> out(18, 0);
    out[2] = 2;  // uncompressed true colour
    out[12] = uint8_t(img.w);
    out[13] = uint8_t(img.w >> 8);
    out[14] = uint8_t(img.h);
    out[15] = uint8_t(img.h >> 8);
    out[16] = 24;
    out[17] = 0x20;  // rows from the top, as the game reads them
    out.reserve(18 + size_t(img.w) * img.h * 3);
    for (size_t i = 0; i < size_t(img.w) * img.h; ++i) {
        out.push_back(img.px[i * 4 + 2]);
        out.push_back(img.px[i * 4 + 1]);
        out.push_back(img.px[i * 4 + 0]);
    }
    return WriteFile(path, out);
}

bool WritePng(const std::string& path, const Image& img) {
    int len = 0;
    unsigned char* png = stbi_write_png_to_mem(img.px.data(), img.w * 4, img.w, img.h, 4, &len);
    if (!png) return false;
    std::vector<uint8_t> bytes(png, png + len);
    STBIW_FREE(png);
    return WriteFile(path, bytes);
}

namespace {
void Rgb565(uint16_t v, int* r, int* g, int* b) {
    *r = ((v >> 11) & 31) * 255 / 31;
    *g = ((v >> 5) & 63) * 255 / 63;
    *b = (v & 31) * 255 / 31;
}

void DecodeColourBlock(const uint8_t* b, bool dxt1, uint8_t out[16][4]) {
    uint16_t c0 = uint16_t(b[0] | b[1] << 8), c1 = uint16_t(b[2] | b[3] << 8);
    int pal[4][4];
    Rgb565(c0, &pal[0][0], &pal[0][1], &pal[0][2]);
    Rgb565(c1, &pal[1][0], &pal[1][1], &pal[1][2]);
    pal[0][3] = pal[1][3] = pal[2][3] = pal[3][3] = 255;
    for (int ch = 0; ch < 3; ++ch) {
        if (!dxt1 || c0 > c1) {
            pal[2][ch] = (2 * pal[0][ch] + pal[1][ch]) / 3;
            pal[3][ch] = (pal[0][ch] + 2 * pal[1][ch]) / 3;
        } else {
            pal[2][ch] = (pal[0][ch] + pal[1][ch]) / 2;
            pal[3][ch] = 0;
        }
    }
    if (dxt1 && c0 <= c1) pal[3][3] = 0;
    uint32_t bits =
        uint32_t(b[4]) | uint32_t(b[5]) << 8 | uint32_t(b[6]) << 16 | uint32_t(b[7]) << 24;
    for (int i = 0; i < 16; ++i) {
        int k = (bits >> (2 * i)) & 3;
        for (int ch = 0; ch < 4; ++ch) out[i][ch] = uint8_t(pal[k][ch]);
    }
}
}  // namespace

bool DecodeDds(const std::vector<uint8_t>& f, Image* out) {
    if (f.size() < 128 || std::memcmp(f.data(), "DDS ", 4) != 0) return false;
    uint32_t h = Get32(f, 12), w = Get32(f, 16);
    if (w == 0 || h == 0 || w > 8192 || h > 8192) return false;
    int kind = 0;
    if (std::memcmp(&f[84], "DXT1", 4) == 0) kind = 1;
    if (std::memcmp(&f[84], "DXT3", 4) == 0) kind = 3;
    if (std::memcmp(&f[84], "DXT5", 4) == 0) kind = 5;
    if (!kind) return false;
    size_t block = kind == 1 ? 8 : 16;
    size_t bw = (w + 3) / 4, bh = (h + 3) / 4;
    if (f.size() < 128 + bw * bh * block) return false;
    *out = Image(int(w), int(h));
    for (size_t by = 0; by < bh; ++by)
        for (size_t bx = 0; bx < bw; ++bx) {
            const uint8_t* b = &f[128 + (by * bw + bx) * block];
            uint8_t px[16][4];
            DecodeColourBlock(kind == 1 ? b : b + 8, kind == 1, px);
            if (kind == 3) {
                for (int i = 0; i < 16; ++i)
                    px[i][3] = uint8_t(((b[i / 2] >> (4 * (i & 1))) & 15) * 17);
            } else if (kind == 5) {
                int a[8] = {b[0], b[1]};
                for (int i = 2; i < 8; ++i)
                    a[i] = a[0] > a[1] ? ((8 - i) * a[0] + (i - 1) * a[1]) / 7
                                       : (i < 6 ? ((6 - i) * a[0] + (i - 1) * a[1]) / 5
                                                : (i == 6 ? 0 : 255));
                uint64_t bits = 0;
                for (int i = 0; i < 6; ++i) bits |= uint64_t(b[2 + i]) << (8 * i);
                for (int i = 0; i < 16; ++i) px[i][3] = uint8_t(a[(bits >> (3 * i)) & 7]);
            }
            for (int i = 0; i < 16; ++i) {
                int x = int(bx * 4) + i % 4, y = int(by * 4) + i / 4;
                if (x < int(w) && y < int(h))
                    std::memcpy(&out->px[(size_t(y) * w + x) * 4], px[i], 4);
            }
        }
    return true;
}

bool DecodeTga(const std::vector<uint8_t>& f, Image* out) {
    if (f.size() < 18) return false;
    int w = f[12] | f[13] << 8, h = f[14] | f[15] << 8, bpp = f[16] / 8;
    size_t start = 18 + f[0];
    if (f[2] != 2 || (bpp != 3 && bpp != 4) || w == 0 || h == 0 ||
        f.size() < start + size_t(w) * h * bpp)
        return false;
    *out = Image(w, h);
    for (size_t i = 0; i < size_t(w) * h; ++i) {
        const uint8_t* p = &f[start + i * bpp];
        out->px[i * 4 + 0] = p[2];
        out->px[i * 4 + 1] = p[1];
        out->px[i * 4 + 2] = p[0];
        out->px[i * 4 + 3] = bpp == 4 ? p[3] : 255;
    }
    return true;
}
