#include "world/worldloading.h"

#include <SDL.h>

#include "platform/draw.h"

namespace {
WorldLoadingHook loading_hook = nullptr;
}

void SetWorldLoadingHook(WorldLoadingHook hook) { loading_hook = hook; }

void WorldLoadingScreen(const std::string& text, bool clear) {
    if (loading_hook) {
        loading_hook(text, clear);
        return;
    }
    if (SDL_GL_GetCurrentContext() != nullptr) DrawLoadingScreen(text, clear);
}
