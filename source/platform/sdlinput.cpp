#include "platform/sdlinput.h"

#include <cstring>

#include "events/sdl12event.h"

namespace {

constexpr uint8_t kKeyDown = SDL12_KEYDOWN;
constexpr uint8_t kKeyUp = SDL12_KEYUP;
constexpr uint8_t kMotion = SDL12_MOUSEMOTION;
constexpr uint8_t kButtonDown = SDL12_MOUSEBUTTONDOWN;
constexpr uint8_t kButtonUp = SDL12_MOUSEBUTTONUP;
constexpr uint8_t kQuit = SDL12_QUIT;

// SDL 1.2 key codes that SDL2 does not give one key of its own.
constexpr int32_t kKeyPause = 19;
constexpr int32_t kKeyCompose = 314;
constexpr int32_t kKeyBreak = 318;

// What SDL2 reports for a key whose X keysym it cannot name: the Compose key (Multi_key,
// wherever the layout puts it), and in the same way dead accent keys, level-five, hyper
// and group-switch keys, which it cannot tell apart from it.
constexpr SDL_Keycode kSdlUnnamedKey = SDL_SCANCODE_TO_KEYCODE(SDL_SCANCODE_UNKNOWN);

// SDL 1.2 button numbers of the wheel.
constexpr uint8_t kWheelUp = 4;
constexpr uint8_t kWheelDown = 5;

// SDL 1.2 kept positions in 16 unsigned bits.
uint16_t Position(int value) {
    if (value < 0) return 0;
    if (value > 0xFFFF) return 0xFFFF;
    return static_cast<uint16_t>(value);
}

int16_t Relative(int value) {
    if (value < -32768) return -32768;
    if (value > 32767) return 32767;
    return static_cast<int16_t>(value);
}

// The wheel's direction as an SDL 1.2 button, 0 for a purely sideways step.
uint8_t WheelButton(const SDL_MouseWheelEvent& wheel) {
    int y = wheel.y;
    if (wheel.direction == SDL_MOUSEWHEEL_FLIPPED) y = -y;
    if (y > 0) return kWheelUp;
    if (y < 0) return kWheelDown;
    return 0;
}

// The SDL 1.2 records are written byte by byte at their fixed offsets, so the layout
// does not depend on how a compiler pads the union's structs.
struct Record {
    unsigned char bytes[20] = {};
    void U8(int at, uint8_t v) { bytes[at] = v; }
    void U16(int at, uint16_t v) { memcpy(bytes + at, &v, 2); }
    void S16(int at, int16_t v) { memcpy(bytes + at, &v, 2); }
    void S32(int at, int32_t v) { memcpy(bytes + at, &v, 4); }
    void CopyTo(Sdl12Event* out) const {
        static_assert(sizeof(Sdl12Event) >= sizeof(bytes), "an SDL 1.2 event holds 20 bytes");
        memset(static_cast<void*>(out), 0, sizeof(Sdl12Event));
        memcpy(static_cast<void*>(out), bytes, sizeof(bytes));
    }
};

// Button record: type 0, which 1, button 2, state 3, x 4, y 6.
void Button(Record& r, uint8_t type, uint8_t which, uint8_t button, int x, int y) {
    r.U8(0, type);
    r.U8(1, which);
    r.U8(2, button);
    r.U8(3, type == kButtonDown ? 1 : 0);
    r.U16(4, Position(x));
    r.U16(6, Position(y));
}

void FillWheel(const SDL_Event& in, uint8_t button, uint8_t type, Sdl12Event* out) {
    int x = 0;
    int y = 0;
    if (SDL_WasInit(SDL_INIT_VIDEO) != 0) SDL_GetMouseState(&x, &y);
    Record r;
    Button(r, type, static_cast<uint8_t>(in.wheel.which), button, x, y);
    r.CopyTo(out);
}

// Break is Ctrl+Pause; SDL2 reports it as Pause with a Ctrl modifier. The press decides,
// and its release carries the same code even when Ctrl is let go first, so that a handler
// that tracks held keys sees the pair it expects.
bool break_held = false;

int32_t KeyCode(const SDL_Event& in) {
    const SDL_Keysym& key = in.key.keysym;
    if (key.sym != SDLK_PAUSE) return TranslateSdlKey(key.sym);
    if (in.type == SDL_KEYDOWN) {
        break_held = (key.mod & KMOD_CTRL) != 0;
        return break_held ? kKeyBreak : kKeyPause;
    }
    const bool was_break = break_held;
    break_held = false;
    return was_break ? kKeyBreak : kKeyPause;
}

}  // namespace

int32_t TranslateSdlKey(SDL_Keycode key) {
    // Printable keys and the control characters keep their ASCII codes in both versions;
    // SDL 1.2's "world" keys 160..255 are the Latin-1 characters of the same number.
    if (key >= 0 && key < 128) return key;
    if (key >= 160 && key <= 255) return key;
    switch (key) {
        case SDLK_KP_0:
            return 256;
        case SDLK_KP_1:
            return 257;
        case SDLK_KP_2:
            return 258;
        case SDLK_KP_3:
            return 259;
        case SDLK_KP_4:
            return 260;
        case SDLK_KP_5:
            return 261;
        case SDLK_KP_6:
            return 262;
        case SDLK_KP_7:
            return 263;
        case SDLK_KP_8:
            return 264;
        case SDLK_KP_9:
            return 265;
        case SDLK_KP_PERIOD:
            return 266;
        case SDLK_KP_DIVIDE:
            return 267;
        case SDLK_KP_MULTIPLY:
            return 268;
        case SDLK_KP_MINUS:
            return 269;
        case SDLK_KP_PLUS:
            return 270;
        case SDLK_KP_ENTER:
            return 271;
        case SDLK_KP_EQUALS:
            return 272;
        case SDLK_UP:
            return 273;
        case SDLK_DOWN:
            return 274;
        case SDLK_RIGHT:
            return 275;
        case SDLK_LEFT:
            return 276;
        case SDLK_INSERT:
            return 277;
        case SDLK_HOME:
            return 278;
        case SDLK_END:
            return 279;
        case SDLK_PAGEUP:
            return 280;
        case SDLK_PAGEDOWN:
            return 281;
        case SDLK_F1:
            return 282;
        case SDLK_F2:
            return 283;
        case SDLK_F3:
            return 284;
        case SDLK_F4:
            return 285;
        case SDLK_F5:
            return 286;
        case SDLK_F6:
            return 287;
        case SDLK_F7:
            return 288;
        case SDLK_F8:
            return 289;
        case SDLK_F9:
            return 290;
        case SDLK_F10:
            return 291;
        case SDLK_F11:
            return 292;
        case SDLK_F12:
            return 293;
        case SDLK_F13:
            return 294;
        case SDLK_F14:
            return 295;
        case SDLK_F15:
            return 296;
        case SDLK_NUMLOCKCLEAR:
            return 300;
        case SDLK_CAPSLOCK:
            return 301;
        case SDLK_SCROLLLOCK:
            return 302;
        case SDLK_RSHIFT:
            return 303;
        case SDLK_LSHIFT:
            return 304;
        case SDLK_RCTRL:
            return 305;
        case SDLK_LCTRL:
            return 306;
        case SDLK_RALT:
            return 307;
        case SDLK_LALT:
            return 308;
        // 309/310 (the meta keys) have no SDL2 counterpart: SDL2 reports X's Meta keys and
        // the logo keys alike as GUI keys, and the logo keys were "super".
        case SDLK_LGUI:
            return 311;
        case SDLK_RGUI:
            return 312;
        case SDLK_MODE:
            return 313;
        case kSdlUnnamedKey:
            return kKeyCompose;
        case SDLK_HELP:
            return 315;
        case SDLK_PRINTSCREEN:
            return 316;
        case SDLK_SYSREQ:
            return 317;
        case SDLK_PAUSE:
            return kKeyPause;
        case SDLK_KP_CLEAR:
            return 12;
        case SDLK_CLEAR:
            return 12;
        case SDLK_APPLICATION:
            return 319;
        case SDLK_MENU:
            return 319;
        case SDLK_POWER:
            return 320;
        // The euro key: the character a layout puts on a key, and the rare keyboard that
        // sends the currency-unit usage.
        case 0x20AC:
        case SDLK_CURRENCYUNIT:
            return 321;
        case SDLK_UNDO:
            return 322;
        default:
            return 0;
    }
}

uint8_t TranslateSdlButton(uint8_t button) {
    switch (button) {
        case SDL_BUTTON_LEFT:
            return 1;
        case SDL_BUTTON_MIDDLE:
            return 2;
        case SDL_BUTTON_RIGHT:
            return 3;
        // SDL 1.2 numbered the side buttons after the wheel.
        case SDL_BUTTON_X1:
            return 6;
        case SDL_BUTTON_X2:
            return 7;
        default:
            return 0;
    }
}

bool TranslateSdlEvent(const SDL_Event& in, Sdl12Event* out) {
    if (out == nullptr) return false;
    Record r;
    switch (in.type) {
        case SDL_KEYDOWN:
        case SDL_KEYUP: {
            // SDL 1.2 sent one key down per press (key repeat was never turned on); SDL2's
            // repeats of a held key would toggle F2 and flood the entities.
            if (in.key.repeat != 0) return false;
            // type 0, which 1, state 2, keysym at 4: scancode 4, sym 8, mod 12, unicode 16.
            const bool down = in.type == SDL_KEYDOWN;
            const int32_t sym = KeyCode(in);
            r.U8(0, down ? kKeyDown : kKeyUp);
            r.U8(2, down ? 1 : 0);
            r.U8(4, static_cast<uint8_t>(in.key.keysym.scancode));
            r.S32(8, sym);
            // SDL2 kept SDL 1.2's modifier bits (the logo keys sit where meta was).
            r.S32(12, static_cast<int32_t>(in.key.keysym.mod & 0x7FFF));
            r.U16(16, static_cast<uint16_t>(sym > 0 && sym < 128 ? sym : 0));
            break;
        }
        case SDL_MOUSEMOTION:
            // type 0, which 1, state 2, x 4, y 6, xrel 8, yrel 10.
            r.U8(0, kMotion);
            r.U8(1, static_cast<uint8_t>(in.motion.which));
            r.U8(2, static_cast<uint8_t>(in.motion.state));
            r.U16(4, Position(in.motion.x));
            r.U16(6, Position(in.motion.y));
            r.S16(8, Relative(in.motion.xrel));
            r.S16(10, Relative(in.motion.yrel));
            break;
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP: {
            const uint8_t button = TranslateSdlButton(in.button.button);
            if (button == 0) return false;
            Button(r, in.type == SDL_MOUSEBUTTONDOWN ? kButtonDown : kButtonUp,
                   static_cast<uint8_t>(in.button.which), button, in.button.x, in.button.y);
            break;
        }
        case SDL_MOUSEWHEEL: {
            const uint8_t button = WheelButton(in.wheel);
            if (button == 0) return false;
            FillWheel(in, button, kButtonDown, out);
            return true;
        }
        case SDL_QUIT:
            r.U8(0, kQuit);
            break;
        default:
            return false;
    }
    r.CopyTo(out);
    return true;
}

bool WheelButtonUp(const SDL_Event& in, Sdl12Event* out) {
    if (out == nullptr || in.type != SDL_MOUSEWHEEL) return false;
    const uint8_t button = WheelButton(in.wheel);
    if (button == 0) return false;
    FillWheel(in, button, kButtonUp, out);
    return true;
}
