#include "platform/screenshot.h"

#include <SDL.h>
#include <GL/gl.h>

#include <cstdio>
#include <vector>

#include "platform/settings.h"

bool SaveScreenshot(const std::string& path, std::string* error) {
    auto fail = [error](const std::string& what) {
        if (error != nullptr) *error = what;
        return false;
    };
    if (SDL_GL_GetCurrentContext() == nullptr) return fail("no window to read");
    const int w = screen_width, h = screen_height;
    if (w <= 0 || h <= 0 || w > 16384 || h > 16384) return fail("the window has no size");
    std::vector<unsigned char> rows(static_cast<size_t>(w) * static_cast<size_t>(h) * 3);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadBuffer(GL_BACK);
    glReadPixels(0, 0, w, h, GL_RGB, GL_UNSIGNED_BYTE, rows.data());
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) return fail("cannot write '" + path + "'");
    fprintf(file, "P6\n%d %d\n255\n", w, h);
    // GL's rows run bottom up.
    bool ok = true;
    for (int y = h - 1; y >= 0 && ok; --y)
        ok = fwrite(rows.data() + static_cast<size_t>(y) * w * 3, 1, static_cast<size_t>(w) * 3,
                    file) == static_cast<size_t>(w) * 3;
    if (fclose(file) != 0) ok = false;
    return ok ? true : fail("cannot write '" + path + "'");
}
