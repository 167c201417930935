#pragma once
// Sdl12Event: the first 20 bytes of an SDL 1.2 event record, which is what an InputEvent
// carries to its handlers. Handlers read the type from the first byte and, for keys, the
// key code at byte 8 (keysym.sym). The SDL2 events of the window are turned into these
// records by platform/sdlinput.h; nothing else in the engine sees SDL2 events.

#include <cstddef>
#include <cstdint>

enum : uint8_t {
    SDL12_KEYDOWN = 2,
    SDL12_KEYUP = 3,
    SDL12_MOUSEMOTION = 4,
    SDL12_MOUSEBUTTONDOWN = 5,
    SDL12_MOUSEBUTTONUP = 6,
    SDL12_QUIT = 12,
};

struct Sdl12Keysym {
    uint8_t scancode;
    int32_t sym;  // SDL 1.2 key code
    int32_t mod;
    uint16_t unicode;
};

struct Sdl12KeyboardEvent {
    uint8_t type;
    uint8_t which;
    uint8_t state;
    Sdl12Keysym keysym;
};

struct Sdl12MouseMotionEvent {
    uint8_t type;
    uint8_t which;
    uint8_t state;
    uint16_t x, y;
    int16_t xrel, yrel;
};

struct Sdl12MouseButtonEvent {
    uint8_t type;
    uint8_t which;
    uint8_t button;
    uint8_t state;
    uint16_t x, y;
};

union Sdl12Event {
    uint8_t type;
    Sdl12KeyboardEvent key;
    Sdl12MouseMotionEvent motion;
    Sdl12MouseButtonEvent button;
    uint8_t bytes[20];
};

static_assert(sizeof(Sdl12Event) == 20, "an SDL 1.2 event record is 20 bytes here");
static_assert(offsetof(Sdl12KeyboardEvent, keysym) == 4);
static_assert(offsetof(Sdl12KeyboardEvent, keysym) + offsetof(Sdl12Keysym, sym) == 8,
              "the key code sits at byte 8");
static_assert(offsetof(Sdl12KeyboardEvent, keysym) + offsetof(Sdl12Keysym, mod) == 12);
static_assert(offsetof(Sdl12KeyboardEvent, keysym) + offsetof(Sdl12Keysym, unicode) == 16);
static_assert(offsetof(Sdl12MouseMotionEvent, x) == 4);
static_assert(offsetof(Sdl12MouseMotionEvent, y) == 6);
static_assert(offsetof(Sdl12MouseMotionEvent, xrel) == 8);
static_assert(offsetof(Sdl12MouseMotionEvent, yrel) == 10);
static_assert(offsetof(Sdl12MouseButtonEvent, button) == 2);
static_assert(offsetof(Sdl12MouseButtonEvent, state) == 3);
static_assert(offsetof(Sdl12MouseButtonEvent, x) == 4);
static_assert(offsetof(Sdl12MouseButtonEvent, y) == 6);
