#include "screenpixel.h"

#include <GL/gl.h>
#include <SDL_syswm.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

Rgb ScreenPixel(SDL_Window* window, int x, int y) {
    Rgb out;
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (window == nullptr || !SDL_GetWindowWMInfo(window, &info) ||
        info.subsystem != SDL_SYSWM_X11) {
        return out;
    }
    glFinish();
    XSync(info.info.x11.display, False);
    XImage* image =
        XGetImage(info.info.x11.display, info.info.x11.window, x, y, 1, 1, AllPlanes, ZPixmap);
    if (image == nullptr) return out;
    const unsigned long pixel = XGetPixel(image, 0, 0);
    out.r = static_cast<int>((pixel & image->red_mask) >> 16);
    out.g = static_cast<int>((pixel & image->green_mask) >> 8);
    out.b = static_cast<int>(pixel & image->blue_mask);
    XDestroyImage(image);
    return out;
}
