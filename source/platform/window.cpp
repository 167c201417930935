#include "platform/window.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdio>

#include "platform/settings.h"
#include "cfo/cforeaders.h"
#include "platform/windowkeys.h"
#include "gl/glprocs.h"

namespace {

// The window of the last successful SetVideoMode, for SwapWindowBuffers. Not owned.
SDL_Window* current_window = nullptr;

void SetFrameBufferAttributes(int samples) {
    SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
    SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 8);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    // The renderer uses the fixed-function pipeline beside shaders.
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_COMPATIBILITY);
    // Multisampling is asked for only when configured, so a plain configuration never
    // touches these attributes.
    SDL_GL_SetAttribute(SDL_GL_MULTISAMPLEBUFFERS, samples > 0 ? 1 : 0);
    SDL_GL_SetAttribute(SDL_GL_MULTISAMPLESAMPLES, samples > 0 ? samples : 0);
}

}  // namespace

Window::Window() {}

Window::~Window() {
    if (context != nullptr) SDL_GL_DeleteContext(context);
    if (window != nullptr) {
        if (current_window == window) current_window = nullptr;
        SDL_DestroyWindow(window);
    }
    context = nullptr;
    window = nullptr;
    SDL_Quit();
    // The GL library goes with SDL: addresses looked up so far are no longer valid.
    ResetGlProcs();
}

bool Window::Init(CfoNode* node) {
    if (node == nullptr) {
        printf("Window configuration node not defined\n");
        return false;
    }
    int width = screen_width;
    int height = screen_height;
    CfoReadBool(node, CfoKeyOf(kWindowKeys, "fullscreen"), fullscreen);
    CfoReadInt(node, CfoKeyOf(kWindowKeys, "width"), width);
    CfoReadInt(node, CfoKeyOf(kWindowKeys, "height"), height);
    uint32_t samples = static_cast<uint32_t>(multisample);
    if (CfoReadUInt(node, CfoKeyOf(kWindowKeys, "multisample"), samples)) {
        // A count beyond what any driver offers is a typing error; it gets the same treatment
        // as a count this driver cannot give (SetVideoMode retries without).
        multisample = samples > 64 ? 64 : static_cast<int>(samples);
    }
    if (width <= 0 || height <= 0) {
        printf("Window size %dx%d is not valid, using 800x600\n", width, height);
        width = 800;
        height = 600;
    }
    if (SetVideoMode(width, height, 32, fullscreen, true) < 0) return false;
    Resize(0, 0, screen_width, screen_height);
    virtual_width = 1024;
    virtual_height = 768;
    return true;
}

int Window::SetVideoMode(int width, int height, int new_bpp, bool new_fullscreen, bool joystick) {
    screen_width = width;
    screen_height = height;
    virtual_width = width;
    virtual_height = height;
    bpp = new_bpp;
    fullscreen = new_fullscreen;

    if (SDL_Init(SDL_INIT_TIMER | SDL_INIT_VIDEO) < 0) {
        printf("! SDL:Initiation failed: %s.\n", SDL_GetError());
        return -1;
    }
    if (joystick) {
        SDL_InitSubSystem(SDL_INIT_JOYSTICK);
        SDL_JoystickEventState(SDL_ENABLE);
    }
    if (width <= 0 || height <= 0) {
        printf("SDL Video mode failed: invalid size %dx%d\n", width, height);
        SDL_Quit();
        return -1;
    }

    const Uint32 flags = SDL_WINDOW_OPENGL | (fullscreen ? SDL_WINDOW_FULLSCREEN : 0);
    // A window counts only together with its GL context.
    auto open_window = [&] {
        window = SDL_CreateWindow("Orsin", SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, width,
                                  height, flags);
        if (window == nullptr) return;
        context = SDL_GL_CreateContext(window);
        if (context == nullptr) {
            SDL_DestroyWindow(window);
            window = nullptr;
        }
    };
    SetFrameBufferAttributes(multisample);
    open_window();
    if (window == nullptr && multisample > 0) {
        // The driver cannot give this many samples: go on without multisampling.
        printf("Multisample %d not available (%s), using none\n", multisample, SDL_GetError());
        multisample = 0;
        SetFrameBufferAttributes(0);
        open_window();
    }
    if (window == nullptr) {
        printf("SDL Video mode failed: %s\n", SDL_GetError());
        SDL_Quit();
        return -1;
    }
    current_window = window;

    SDL_ShowCursor(0);
    SDL_SetWindowTitle(window, "Orsin");
    return 1;
}

void Window::Resize(int x, int y, int width, int height) {
    // Buffer swaps never wait for the display.
    SDL_GL_SetSwapInterval(0);
    glViewport(x, y, width, height);
    if (multisample > 0) glEnable(GL_MULTISAMPLE_ARB);
}

void Window::Swap() {
    if (window != nullptr) SDL_GL_SwapWindow(window);
}

void Window::PrintInfo() {
    const char* vendor = reinterpret_cast<const char*>(glGetString(GL_VENDOR));
    const char* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    printf("Vendor: %s\n", vendor != nullptr ? vendor : "");
    printf("Renderer: %s\n", renderer != nullptr ? renderer : "");
    printf("Version: %s\n", version != nullptr ? version : "");
}

void SwapWindowBuffers() {
    if (current_window != nullptr) SDL_GL_SwapWindow(current_window);
}
