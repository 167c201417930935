#include "world/worldloading.h"

#include <SDL.h>

// The window's loading screen. Declared weak so that tools and tests that link the world
// without the window code still link; they never have a current context anyway.
extern void DrawLoadingScreen(const std::string& text, bool clear) __attribute__((weak));

namespace {
WorldLoadingHook loading_hook = nullptr;
}

void SetWorldLoadingHook(WorldLoadingHook hook) { loading_hook = hook; }

void WorldLoadingScreen(const std::string& text, bool clear) {
    if (loading_hook) {
        loading_hook(text, clear);
        return;
    }
    if (DrawLoadingScreen && SDL_GL_GetCurrentContext() != nullptr) DrawLoadingScreen(text, clear);
}
