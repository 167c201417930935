#pragma once
// Reads what the X server shows of an SDL window: the swapped frame as a user sees it.
// Kept apart from the engine headers, as Xlib's own `Window` type clashes with ours.

#include <SDL.h>

struct Rgb {
    int r = -1, g = -1, b = -1;
};

// The pixel at (x, y) from the window's top left; -1s when it cannot be read.
Rgb ScreenPixel(SDL_Window* window, int x, int y);
