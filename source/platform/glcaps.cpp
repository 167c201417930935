#include "platform/glcaps.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>
#include <cstring>

#include "platform/settings.h"

bool FindExtension(const char* extensions, const char* name) {
    if (extensions == nullptr || name == nullptr) return false;
    if (name[0] == '\0' || strchr(name, ' ') != nullptr) return false;
    const size_t length = strlen(name);
    const char* start = extensions;
    for (;;) {
        const char* hit = strstr(start, name);
        if (hit == nullptr) return false;
        const char* end = hit + length;
        // A hit counts only as a whole word: at the start of the list or after a blank, and
        // followed by a blank or the end of the list. "GL_EXT_foo" inside "GL_EXT_foobar" does
        // not count; the search goes on after it.
        if ((hit == extensions || hit[-1] == ' ') && (*end == ' ' || *end == '\0')) return true;
        start = end;
    }
}

bool CheckExtension(const char* name) {
    if (name == nullptr || name[0] == '\0' || strchr(name, ' ') != nullptr) return false;
    const char* extensions = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    // The search ends in "no hit" both for a name absent from the list and for one that
    // only occurs inside longer names: either way the message is printed.
    if (!FindExtension(extensions, name)) {
        printf("!OpenGL extension '%s' not supported\n", name);
        return false;
    }
    return true;
}

bool CheckCapabilities() {
    static const char* const required[] = {
        "GL_ARB_transpose_matrix",     "GL_ARB_multitexture",   "GL_ARB_texture_compression",
        "GL_ARB_vertex_buffer_object", "GL_ARB_vertex_program",
    };
    for (const char* name : required) {
        if (!CheckExtension(name)) return false;
    }
    if (CheckExtension("GL_EXT_texture_filter_anisotropic")) {
        GLfloat value = 1.0f;
        glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &value);
        max_anisotropy = value;
    }
    GLint units = 1;
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS_ARB, &units);
    max_texture_units = units;
    CheckExtension("GL_ARB_multisample");
    CheckExtension("GL_ARB_vertex_blend");

    GLint value = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_VERTICES, &value);
    max_elements_vertices = value;
    value = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &value);
    max_elements_indices = value;
    return true;
}

void PrintCapabilities() {
    GLint samples = 0;
    glGetIntegerv(GL_SAMPLES_ARB, &samples);
    GLint vertices = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_VERTICES, &vertices);
    GLint indices = 0;
    glGetIntegerv(GL_MAX_ELEMENTS_INDICES, &indices);
    printf(" MAX_ANISOTROPY %g\n", static_cast<double>(max_anisotropy));
    printf(" MULTISAMPLE %d\n", samples);
    printf(" MAX_TEXTURE_UNITS %d\n", max_texture_units);
    printf(" MAX_ELEMENTS_VERTICES %d\n", vertices);
    printf(" MAX_ELEMENTS_INDICES %d\n", indices);
}
