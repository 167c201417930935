#pragma once
// GLFont: a bitmap font read from a GLF file: a 24-byte header (texture name, texture
// width and height, first and last character code, glyph pointer), one glyph record of
// six floats per code from start_char to end_char, then tex_width x tex_height
// luminance-alpha pixels. The two pointer-sized slots of the header are replaced at load
// by the GL texture name and the owned glyph table.
//
// Parse() is the pure part (no GL); Create() reads the file through the search path and
// uploads the pixels into the given texture name.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct GLFontChar {
    float dx, dy;    // glyph size as a fraction of the texture's width and height
    float tx1, ty1;  // texture coordinate of the first corner
    float tx2, ty2;  // texture coordinate of the opposite corner
};

class GLFont {
public:
    GLFont() = default;
    GLFont(const GLFont& other);
    GLFont& operator=(const GLFont& other);
    ~GLFont();

    // Reads the file and uploads its pixels into `texture`. A missing or empty file
    // counts as loaded with an empty table. False for a file the file layer refuses (too
    // big, read short, a wrong checksum; it prints the line), for a file whose header or
    // table does not fit (with a line naming it) or when the table cannot be allocated.
    bool Create(const std::string& filename, uint32_t texture);

    // The pure reader: fills header and table; `pixels_out` receives the pixel bytes.
    // False, with a line naming `name`, when the data does not hold what the header says.
    bool Parse(const uint8_t* bytes, size_t size, const std::string& name,
               std::vector<uint8_t>* pixels_out);

    void Bind() const;

    // out[0]: sum of the glyph widths of the bytes in range, truncated once at the end;
    // out[1]: height of the table entry at index start_char (0 when that index lies
    // outside the table).
    void GetStringSize(const std::string& text, int out[2]) const;

    void GetTexSize(int out[2]) const { out[0] = tex_width, out[1] = tex_height; }
    int GetTexWidth() const { return tex_width; }
    int GetTexHeight() const { return tex_height; }
    void GetCharInterval(int out[2]) const { out[0] = start_char, out[1] = end_char; }
    int GetStartChar() const { return start_char; }
    int GetEndChar() const { return end_char; }
    // Pixel size of a glyph at scale 1, truncated; 0 for a code outside the table.
    void GetCharSize(int code, int out[2]) const;
    int GetCharWidth(int code) const;
    int GetCharHeight(int code) const;

    // The glyph of a code in range, else null.
    const GLFontChar* Glyph(int code) const;
    bool HasTable() const { return chars != nullptr; }
    size_t GlyphCount() const { return char_count; }

    uint32_t texture = uint32_t(-1);  // GL name; -1 when unset

private:
    void Clear();

    int32_t tex_width = 0;
    int32_t tex_height = 0;
    int32_t start_char = 0;
    int32_t end_char = 0;
    GLFontChar* chars = nullptr;  // owned glyph table
    size_t char_count = 0;
};
