#pragma once
// Window: the one OpenGL window of the process and its context, made over SDL2 with a
// fixed frame buffer format (8/8/8/8 colour, 24 depth, 8 stencil, double buffered) and
// sized from the configuration's "Window" node. `main` owns the single Window; it lives
// from start-up to shut-down, and its destructor shuts SDL down.
//
// After Init the process-wide screen_width/screen_height hold the window's size and
// virtual_width/virtual_height the 1024 by 768 space in which all 2D work happens.

#include <SDL.h>

class CfoNode;

class Window {
public:
    Window();
    virtual ~Window();

    // Reads "fullscreen", "width", "height" and "multisample" from `node` (each only when
    // present), opens the window and sets the viewport. False, with a message, on a null
    // node or when the window cannot be made.
    bool Init(CfoNode* node);
    // Opens the window; 1 on success, -1 on failure (after a message).
    int SetVideoMode(int width, int height, int bpp, bool fullscreen, bool joystick);
    // Turns the wait for vertical retrace off, sets the viewport and, with multisampling,
    // enables it.
    void Resize(int x, int y, int width, int height);
    void Swap();
    // Vendor, renderer and version lines of the GL driver.
    void PrintInfo();

    SDL_Window* GetSdlWindow() const { return window; }

    bool fullscreen = false;
    int bpp = 32;
    int multisample = 0;

private:
    SDL_Window* window = nullptr;     // owned
    SDL_GLContext context = nullptr;  // owned
};

// Swaps the buffers of the window made by the last successful Window::Init (or
// SetVideoMode); does nothing while there is none.
void SwapWindowBuffers();
