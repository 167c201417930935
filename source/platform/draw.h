#pragma once
// The drawing helpers shared by the whole engine: the 2D ones work in the virtual 1024 by
// 768 space (origin at the top left); the fog helper sets the state every lit 3D object
// draws under. All need a current GL context.

#include <string>

// One textured quad from (x1, y1) to (x2, y2) as a client-side array draw of GL_QUADS,
// texture coordinates (0,1) (0,0) (1,0) (1,1) at (x1,y1) (x1,y2) (x2,y2) (x2,y1).
void DrawQuad(float x1, float y1, float x2, float y2);

// Linear fog of colour (r, g, b, a) over the fog coordinate that the vertex programs write
// themselves: 0 at the eye, 1 where the view closes (start 0, end 1, the nicest hint).
void EnableProgramFog(float r, float g, float b, float a);

// The synchronous loading screen: an outlined dark blue box in the middle of the screen
// with `text` in it, then a buffer swap. With `clear` the screen is cleared to black first.
void DrawLoadingScreen(const std::string& text, bool clear);

// Set by the font code once the global font exists: prints `text` at (x, y) (y negated as
// the font wants it) at `scale`. While null, the loading screen draws the box alone.
typedef void (*LoadingTextPrinter)(const std::string& text, float x, float y, float scale);
extern LoadingTextPrinter loading_text_printer;
