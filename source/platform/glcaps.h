#pragma once
// GL capability checks of the start-up: the whole-word extension test and the table of
// extensions the engine cannot run without. They need a current GL context (after
// Window::Init), except FindExtension, which works on any extension string.

// Whole-word search of `name` in the blank-separated list `extensions`. A name that is
// empty or holds a blank is never found. No message.
bool FindExtension(const char* extensions, const char* name);

// Whole-word search in glGetString(GL_EXTENSIONS). A name not found as a whole word
// prints "!OpenGL extension '<name>' not supported". An empty name or one holding a
// blank gives false without a message.
bool CheckExtension(const char* name);

// The start-up capability table, in order: five required extensions (false at the first
// one missing), anisotropic filtering (reads max_anisotropy when present), the texture
// unit count (max_texture_units), multisample and vertex blend (reported only).
// Also reads max_elements_vertices and max_elements_indices.
bool CheckCapabilities();

// The GL information lines of the start-up: " MAX_ANISOTROPY ", " MULTISAMPLE ",
// " MAX_TEXTURE_UNITS ", " MAX_ELEMENTS_VERTICES ", " MAX_ELEMENTS_INDICES ", each with
// its value on a line of its own.
void PrintCapabilities();
