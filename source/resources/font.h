#pragma once
// Font: a GLF bitmap font as a resource (extension "glf"): one texture with every glyph
// and a table of glyph rectangles. One line of text, no kerning, single-byte codes; a
// byte of 128 or more is a negative signed char and lies outside every table.
//
// The global font ("system/tahoma2.glf", loaded by main) is at the same time the null
// object of ResourceHandle<Font>: an empty font handle prints with it.

#include <cstdint>
#include <string>

#include "math/hvector2.h"
#include "resources/glfont.h"
#include "resources/resource.h"
#include "resources/resourcehandle.h"

class Font : public Resource {
public:
    uint32_t texture_id = 0;  // GL name, 0 at first
    GLFont glfont;

    Font() = default;
    Font(const Font&) = default;

    bool Load(std::string filename) override;
    // Deletes the GL texture; the glyph table goes with the object.
    void Unload() override;

    // Top-left aligned at `pos`, from the current model-view matrix; pos.y is given
    // negated (the matrix is mirrored in y), so 10 units below the origin is y = -10.
    void Print(const std::string& text, float scale, HVector2 pos);
    // Centred on `pos`, y as it is on the screen.
    void PrintCentred(const std::string& text, float scale, HVector2 pos);
    // Width and height of `text` in GUI units at `scale`.
    HVector2 GetTextSize(const std::string& text, float scale) const;

    // One line of immediate-mode quads from (x, y); glyph rows run towards smaller y.
    // Returns the number of quads drawn.
    int DrawString(const std::string& text, float scale_x, float scale_y, float x, float y);
};

// The process-wide font main loads at start; lives for the whole run.
Font& GlobalFont();

// Loads the global font and lets the loading screen print with it.
bool LoadGlobalFont(const std::string& filename);

template <>
struct NullResource<Font> {
    static Font* Get() { return &GlobalFont(); }
};
