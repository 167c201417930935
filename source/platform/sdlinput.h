#pragma once
// The one translation layer between SDL2's events and the SDL 1.2 event records that the
// engine's InputEvent carries: SDL 1.2 event types (2 key down, 3 key up, 4 motion, 5
// button down, 6 button up, 12 quit), SDL 1.2 key codes (ASCII for printable keys, 273..276
// arrows, 282.. function keys, 304 left shift, ...) and SDL 1.2 mouse button numbers (4 and
// 5 for the wheel).

#include <SDL.h>

#include <cstdint>

union Sdl12Event;

// Fills `out` from `in`. False when the event has no SDL 1.2 counterpart the engine uses
// (window events, text input, SDL2's key repeats: a held key gives one key down and one
// key up, ...); `out` is then left alone. A mouse wheel event gives the button-down record;
// the matching button-up is made by WheelButtonUp. Ctrl+Pause gives Break (318) for its
// press and its release; Pause alone stays 19.
bool TranslateSdlEvent(const SDL_Event& in, Sdl12Event* out);

// For a wheel event: the button-up record that follows the button-down one, as SDL 1.2
// reported a wheel step as a press and a release. False for any other event.
bool WheelButtonUp(const SDL_Event& in, Sdl12Event* out);

// SDL2 key code to SDL 1.2 key code; 0 (SDLK_UNKNOWN) for a key SDL 1.2 did not have. A key
// SDL2 cannot name (its code for the unknown scancode, as it reports X's Compose key) is
// Compose (314). Break needs the modifiers: see TranslateSdlEvent. No SDL2 key gives the
// meta keys (309, 310): SDL2 folds them into the GUI keys, which are the Windows keys.
int32_t TranslateSdlKey(SDL_Keycode key);

// SDL2 mouse button to SDL 1.2 button number (1 left, 2 middle, 3 right, 6 and 7 the side
// buttons); 0 when unknown.
uint8_t TranslateSdlButton(uint8_t button);
