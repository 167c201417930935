#include "resources/glfont.h"

#include <cstring>
#include <iostream>
#include <new>

#include "cfo/file.h"
#include "gl/glprocs.h"

namespace {

int32_t ReadI32(const uint8_t* p) {
    uint32_t v =
        uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
    int32_t s;
    std::memcpy(&s, &v, 4);
    return s;
}

float ReadF32(const uint8_t* p) {
    uint32_t v =
        uint32_t(p[0]) | (uint32_t(p[1]) << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
    float f;
    std::memcpy(&f, &v, 4);
    return f;
}

// Truncation towards zero that stays defined for values an int cannot hold.
int Truncate(float v) {
    if (!(v == v)) return 0;
    if (v >= 2147483520.0f) return 2147483647;
    if (v <= -2147483648.0f) return -2147483647 - 1;
    return int(v);
}

}  // namespace

GLFont::GLFont(const GLFont& other) { *this = other; }

GLFont& GLFont::operator=(const GLFont& other) {
    if (this == &other) return *this;
    Clear();
    texture = other.texture;
    tex_width = other.tex_width;
    tex_height = other.tex_height;
    start_char = other.start_char;
    end_char = other.end_char;
    if (other.chars && other.char_count > 0) {
        chars = new (std::nothrow) GLFontChar[other.char_count];
        if (chars) {
            std::memcpy(chars, other.chars, other.char_count * sizeof(GLFontChar));
            char_count = other.char_count;
        }
    }
    return *this;
}

GLFont::~GLFont() { Clear(); }

void GLFont::Clear() {
    delete[] chars;
    chars = nullptr;
    char_count = 0;
    tex_width = tex_height = start_char = end_char = 0;
}

bool GLFont::Parse(const uint8_t* bytes, size_t size, const std::string& name,
                   std::vector<uint8_t>* pixels_out) {
    Clear();
    if (!bytes || size < 24) {
        std::cout << "GLFont: '" << name << "' is shorter than its header" << std::endl;
        return false;
    }
    int32_t w = ReadI32(bytes + 4), h = ReadI32(bytes + 8);
    int32_t first = ReadI32(bytes + 12), last = ReadI32(bytes + 16);
    if (last < first) {
        std::cout << "GLFont: '" << name << "' has its last character " << last
                  << " below its first " << first << std::endl;
        return false;
    }
    if (w < 0 || h < 0) {
        std::cout << "GLFont: '" << name << "' has a negative texture size" << std::endl;
        return false;
    }
    const uint64_t count = uint64_t(int64_t(last) - int64_t(first)) + 1;
    const uint64_t table_bytes = count * 24;
    const uint64_t pixel_bytes = uint64_t(w) * uint64_t(h) * 2;
    const uint64_t available = size - 24;
    if (table_bytes > available) {
        std::cout << "GLFont: '" << name << "' claims " << count << " glyphs but holds "
                  << available / 24 << std::endl;
        return false;
    }
    if (pixel_bytes > available - table_bytes) {
        std::cout << "GLFont: '" << name << "' holds fewer pixels than its " << w << "x" << h
                  << " texture" << std::endl;
        return false;
    }
    GLFontChar* table = new (std::nothrow) GLFontChar[count];
    if (!table) return false;
    const uint8_t* p = bytes + 24;
    for (uint64_t i = 0; i < count; i++, p += 24) {
        table[i] = GLFontChar{ReadF32(p),      ReadF32(p + 4),  ReadF32(p + 8),
                              ReadF32(p + 12), ReadF32(p + 16), ReadF32(p + 20)};
    }
    tex_width = w;
    tex_height = h;
    start_char = first;
    end_char = last;
    chars = table;
    char_count = size_t(count);
    if (pixels_out) pixels_out->assign(p, p + pixel_bytes);
    return true;
}

bool GLFont::Create(const std::string& filename, uint32_t tex) {
    File file(filename, File::READ);
    if (file.Length() == 0) {
        // A missing or empty font file loads as an empty font.
        Clear();
        return true;
    }
    int64_t got = file.ReadAll();
    if (got < 0) {
        // Too big or damaged: the file layer has said which, and the font does not load.
        Clear();
        return false;
    }
    if (got == 0 || !file.Data()) {
        Clear();
        return true;
    }
    std::vector<uint8_t> pixels;
    if (!Parse(reinterpret_cast<const uint8_t*>(file.Data()), size_t(got), filename, &pixels))
        return false;
    texture = tex;

    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexEnvf(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, 2, tex_width, tex_height, 0, GL_LUMINANCE_ALPHA,
                 GL_UNSIGNED_BYTE, pixels.empty() ? nullptr : pixels.data());
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    return true;
}

void GLFont::Bind() const { glBindTexture(GL_TEXTURE_2D, texture); }

const GLFontChar* GLFont::Glyph(int code) const {
    if (!chars || code < start_char || code > end_char) return nullptr;
    uint64_t index = uint64_t(int64_t(code) - start_char);
    return index < char_count ? &chars[index] : nullptr;
}

void GLFont::GetStringSize(const std::string& text, int out[2]) const {
    // The height is that of the table entry at index start_char, whatever the text holds.
    out[1] = 0;
    if (chars && start_char >= 0 && uint64_t(start_char) < char_count)
        out[1] = Truncate(float(tex_height) * chars[start_char].dy);
    float sum = 0.0f;
    for (char byte : text) {
        if (byte == 0) break;
        const GLFontChar* glyph = Glyph(static_cast<signed char>(byte));
        if (glyph) sum += float(tex_width) * glyph->dx;
    }
    out[0] = Truncate(sum);
}

void GLFont::GetCharSize(int code, int out[2]) const {
    out[0] = GetCharWidth(code);
    out[1] = GetCharHeight(code);
}

int GLFont::GetCharWidth(int code) const {
    const GLFontChar* glyph = Glyph(code);
    return glyph ? Truncate(float(tex_width) * glyph->dx) : 0;
}

int GLFont::GetCharHeight(int code) const {
    const GLFontChar* glyph = Glyph(code);
    return glyph ? Truncate(float(tex_height) * glyph->dy) : 0;
}
