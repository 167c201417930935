#pragma once
// What the props of a level (doors, switches, items) share when they draw: back faces
// culled, the fog of the figures in the colour (0.5, 0.5, 0.55), the simple static shader
// bound with its matrices and the light at (0, 0, 100) in the colour (1, 1, 0.6), white,
// and texturing on. The caller has pushed and placed its matrix; EndPropDraw unbinds the
// shader and the texture. Both need a current GL context.

class ShaderProgram;

// The shader every prop draws with.
constexpr const char* kPropShaderFile = "resources/shaders/static_geometry_simple.cg";

void BeginPropDraw(ShaderProgram* program);
void EndPropDraw();
