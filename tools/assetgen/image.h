#pragma once
// Imaging core of the asset generator: an RGBA canvas with the few drawing operations the
// game's flat art needs, deterministic noise, text through stb_truetype, and the writers
// for DDS (DXT1/DXT5 with the full mip chain), uncompressed TGA and PNG.
// Everything here is integer-hashed or plain IEEE float arithmetic, so the same inputs give
// the same bytes on every run and every build type.

#include <cstdint>
#include <string>
#include <vector>

struct Col {
    float r = 0, g = 0, b = 0, a = 1;
};

// 8-bit sRGB triple to a colour.
Col Rgb(int r, int g, int b, float a = 1.0f);
Col Mix(const Col& a, const Col& b, float t);
Col Scale(const Col& c, float k);  // scales r, g, b

struct Image {
    int w = 0, h = 0;
    std::vector<uint8_t> px;  // RGBA, rows from the top

    Image() = default;
    Image(int width, int height, Col fill = Col{0, 0, 0, 0});
    Col Get(int x, int y) const;  // clamps to the edge
    void Set(int x, int y, Col c);
    // Source-over blend of c with coverage `cover` (0..1) times c.a.
    void Blend(int x, int y, Col c, float cover = 1.0f);
};

// Hashes and noise. `period` makes value noise tile (lattice wraps every `period` cells).
uint32_t Hash3(int32_t x, int32_t y, uint32_t seed);
float Hash01(int32_t x, int32_t y, uint32_t seed);
float ValueNoise(float x, float y, int period, uint32_t seed);
float Fbm(float x, float y, int period, int octaves, uint32_t seed);

// Drawing. Coordinates are pixels; shapes are antialiased by 4x4 supersampling where noted.
void FillRect(Image& img, int x, int y, int w, int h, Col c);
void StrokeRect(Image& img, int x, int y, int w, int h, int thickness, Col c);
void FillRoundRect(Image& img, float x, float y, float w, float h, float radius, Col c);  // AA
void StrokeRoundRect(Image& img, float x, float y, float w, float h, float radius, float t,
                     Col c);                                                 // AA
void FillCircle(Image& img, float cx, float cy, float r, Col c);             // AA
void StrokeCircle(Image& img, float cx, float cy, float r, float t, Col c);  // AA
void FillPolygon(Image& img, const std::vector<float>& xy, Col c);           // AA, even-odd
void DrawLine(Image& img, float x0, float y0, float x1, float y1, float width, Col c);  // AA
void VerticalGradient(Image& img, int y0, int y1, Col top, Col bottom);

// A TrueType face from a file; text is drawn with its baseline at y.
struct TrueType {
    std::vector<uint8_t> data;
    void* info = nullptr;  // stbtt_fontinfo, owned
    bool Load(const std::string& path);
    ~TrueType();
    float Scale(float pixel_height) const;
    int Advance(int code, float pixel_height) const;  // rounded, pixels
    float TextWidth(const std::string& text, float pixel_height) const;
    void Ascent(float pixel_height, int* ascent, int* descent) const;
    // Coverage bitmap of one glyph: box (x0, y0)-(x1, y1) relative to the pen on the baseline.
    std::vector<uint8_t> Glyph(int code, float pixel_height, int* x0, int* y0, int* w,
                               int* h) const;
};
void DrawText(Image& img, const TrueType& font, float pixel_height, float x, float baseline,
              const std::string& text, Col c);
void DrawTextCentred(Image& img, const TrueType& font, float pixel_height, float cx, float baseline,
                     const std::string& text, Col c);

// Writers. They create parent folders and return false with a line on standard output on failure.
bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes);
std::vector<uint8_t> EncodeDds(const Image& img, bool dxt5);
bool WriteDds(const std::string& path, const Image& img, bool dxt5);
bool WriteTga24(const std::string& path, const Image& img);
bool WritePng(const std::string& path, const Image& img);

// Reading back for the contact sheet: level 0 of a DXT1/3/5 file, or an uncompressed TGA.
bool DecodeDds(const std::vector<uint8_t>& file, Image* out);
bool DecodeTga(const std::vector<uint8_t>& file, Image* out);
bool ReadFile(const std::string& path, std::vector<uint8_t>* out);

bool IsPowerOfTwo(int v);
