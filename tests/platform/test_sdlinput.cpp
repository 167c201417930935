// The SDL2 to SDL 1.2 translation layer: key codes table by table, mouse buttons and the
// wheel, and the byte layout of the records that InputEvent carries.
#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "platform/sdlinput.h"
#include "events/sdl12event.h"

namespace {

struct Bytes {
    unsigned char b[20];
    uint8_t U8(int at) const { return b[at]; }
    uint16_t U16(int at) const {
        uint16_t v;
        memcpy(&v, b + at, 2);
        return v;
    }
    int16_t S16(int at) const {
        int16_t v;
        memcpy(&v, b + at, 2);
        return v;
    }
    int32_t S32(int at) const {
        int32_t v;
        memcpy(&v, b + at, 4);
        return v;
    }
};

Bytes Raw(const Sdl12Event& e) {
    Bytes out;
    memcpy(out.b, &e, sizeof(out.b));
    return out;
}

SDL_Event Key(Uint32 type, SDL_Keycode sym, Uint16 mod = 0) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = type;
    e.key.state = type == SDL_KEYDOWN ? SDL_PRESSED : SDL_RELEASED;
    e.key.keysym.sym = sym;
    e.key.keysym.scancode = SDL_GetScancodeFromKey(sym);
    e.key.keysym.mod = mod;
    return e;
}

void ExpectKeys(const std::vector<std::pair<SDL_Keycode, int32_t>>& table) {
    for (const auto& [sdl2, sdl12] : table) {
        EXPECT_EQ(TranslateSdlKey(sdl2), sdl12) << "SDL2 key " << sdl2;
    }
}

TEST(SdlKeys, LettersKeepAscii) {
    for (int c = 'a'; c <= 'z'; ++c) EXPECT_EQ(TranslateSdlKey(c), c);
    EXPECT_EQ(TranslateSdlKey(SDLK_q), 113);
    EXPECT_EQ(TranslateSdlKey(SDLK_w), 119);
    EXPECT_EQ(TranslateSdlKey(SDLK_d), 100);
}

TEST(SdlKeys, DigitsKeepAscii) {
    for (int c = '0'; c <= '9'; ++c) EXPECT_EQ(TranslateSdlKey(c), c);
}

TEST(SdlKeys, ControlAndPunctuation) {
    ExpectKeys({{SDLK_BACKSPACE, 8},     {SDLK_TAB, 9},          {SDLK_CLEAR, 12},
                {SDLK_RETURN, 13},       {SDLK_PAUSE, 19},       {SDLK_ESCAPE, 27},
                {SDLK_SPACE, 32},        {SDLK_EXCLAIM, 33},     {SDLK_QUOTEDBL, 34},
                {SDLK_HASH, 35},         {SDLK_DOLLAR, 36},      {SDLK_AMPERSAND, 38},
                {SDLK_QUOTE, 39},        {SDLK_LEFTPAREN, 40},   {SDLK_RIGHTPAREN, 41},
                {SDLK_ASTERISK, 42},     {SDLK_PLUS, 43},        {SDLK_COMMA, 44},
                {SDLK_MINUS, 45},        {SDLK_PERIOD, 46},      {SDLK_SLASH, 47},
                {SDLK_COLON, 58},        {SDLK_SEMICOLON, 59},   {SDLK_LESS, 60},
                {SDLK_EQUALS, 61},       {SDLK_GREATER, 62},     {SDLK_QUESTION, 63},
                {SDLK_AT, 64},           {SDLK_LEFTBRACKET, 91}, {SDLK_BACKSLASH, 92},
                {SDLK_RIGHTBRACKET, 93}, {SDLK_CARET, 94},       {SDLK_UNDERSCORE, 95},
                {SDLK_BACKQUOTE, 96},    {SDLK_DELETE, 127}});
}

TEST(SdlKeys, FunctionKeys) {
    ExpectKeys({{SDLK_F1, 282},
                {SDLK_F2, 283},
                {SDLK_F3, 284},
                {SDLK_F4, 285},
                {SDLK_F5, 286},
                {SDLK_F6, 287},
                {SDLK_F7, 288},
                {SDLK_F8, 289},
                {SDLK_F9, 290},
                {SDLK_F10, 291},
                {SDLK_F11, 292},
                {SDLK_F12, 293},
                {SDLK_F13, 294},
                {SDLK_F14, 295},
                {SDLK_F15, 296}});
    EXPECT_EQ(TranslateSdlKey(SDLK_F16), 0);  // SDL 1.2 stopped at F15
}

TEST(SdlKeys, ArrowsAndNavigation) {
    ExpectKeys({{SDLK_UP, 273},
                {SDLK_DOWN, 274},
                {SDLK_RIGHT, 275},
                {SDLK_LEFT, 276},
                {SDLK_INSERT, 277},
                {SDLK_HOME, 278},
                {SDLK_END, 279},
                {SDLK_PAGEUP, 280},
                {SDLK_PAGEDOWN, 281}});
}

TEST(SdlKeys, Keypad) {
    ExpectKeys({{SDLK_KP_0, 256},
                {SDLK_KP_1, 257},
                {SDLK_KP_2, 258},
                {SDLK_KP_3, 259},
                {SDLK_KP_4, 260},
                {SDLK_KP_5, 261},
                {SDLK_KP_6, 262},
                {SDLK_KP_7, 263},
                {SDLK_KP_8, 264},
                {SDLK_KP_9, 265},
                {SDLK_KP_PERIOD, 266},
                {SDLK_KP_DIVIDE, 267},
                {SDLK_KP_MULTIPLY, 268},
                {SDLK_KP_MINUS, 269},
                {SDLK_KP_PLUS, 270},
                {SDLK_KP_ENTER, 271},
                {SDLK_KP_EQUALS, 272}});
}

TEST(SdlKeys, Modifiers) {
    ExpectKeys({{SDLK_NUMLOCKCLEAR, 300},
                {SDLK_CAPSLOCK, 301},
                {SDLK_SCROLLLOCK, 302},
                {SDLK_RSHIFT, 303},
                {SDLK_LSHIFT, 304},
                {SDLK_RCTRL, 305},
                {SDLK_LCTRL, 306},
                {SDLK_RALT, 307},
                {SDLK_LALT, 308},
                {SDLK_LGUI, 311},
                {SDLK_RGUI, 312},
                {SDLK_MODE, 313}});
}

TEST(SdlKeys, SystemKeys) {
    ExpectKeys({{SDLK_HELP, 315},
                {SDLK_PRINTSCREEN, 316},
                {SDLK_SYSREQ, 317},
                {SDLK_MENU, 319},
                {SDLK_APPLICATION, 319},
                {SDLK_POWER, 320},
                {SDLK_CURRENCYUNIT, 321},
                {SDLK_UNDO, 322}});
}

TEST(SdlKeys, UnknownKeysAreZero) {
    EXPECT_EQ(TranslateSdlKey(SDLK_AUDIOPLAY), 0);
    EXPECT_EQ(TranslateSdlKey(SDLK_BRIGHTNESSUP), 0);
    EXPECT_EQ(TranslateSdlKey(0x0101), 0);  // a non-Latin-1 character key (a with macron)
    EXPECT_EQ(TranslateSdlKey(0x20AD), 0);  // the character after the euro sign
    EXPECT_EQ(TranslateSdlKey(150), 0);     // C1 control range: no SDL 1.2 key
    EXPECT_EQ(TranslateSdlKey(-1), 0);
}

TEST(SdlKeys, EuroSignAndCurrencyUnitAreEuro) {
    EXPECT_EQ(TranslateSdlKey(0x20AC), 321);  // a layout's euro sign key
    EXPECT_EQ(TranslateSdlKey(SDLK_CURRENCYUNIT), 321);
}

TEST(SdlKeys, KeyWithoutAnSdl2NameIsCompose) {
    // SDL2 reports X's Multi_key as the key code of the unknown scancode.
    EXPECT_EQ(TranslateSdlKey(SDL_SCANCODE_TO_KEYCODE(SDL_SCANCODE_UNKNOWN)), 314);
    EXPECT_EQ(TranslateSdlKey(0x40000000), 314);
    // The Menu key itself stays "menu".
    EXPECT_EQ(TranslateSdlKey(SDLK_APPLICATION), 319);
}

TEST(SdlKeys, NoSdl2KeyGivesTheMetaKeys) {
    // SDL2 reports X's Meta keys as its GUI keys, and those are the Windows keys here.
    EXPECT_EQ(TranslateSdlKey(SDLK_LGUI), 311);
    EXPECT_EQ(TranslateSdlKey(SDLK_RGUI), 312);
    for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode) {
        const int32_t code = TranslateSdlKey(SDL_SCANCODE_TO_KEYCODE(scancode));
        EXPECT_TRUE(code != 309 && code != 310) << "scancode " << scancode;
    }
    for (SDL_Keycode character = 0; character <= 0x10FFFF; ++character) {
        const int32_t code = TranslateSdlKey(character);
        if (code == 309 || code == 310) ADD_FAILURE() << "character key " << character;
    }
}

TEST(SdlKeys, Latin1KeysAreWorldKeys) {
    EXPECT_EQ(TranslateSdlKey(0xE4), 0xE4);  // a with diaeresis: SDL 1.2 world key 68
    EXPECT_EQ(TranslateSdlKey(160), 160);
    EXPECT_EQ(TranslateSdlKey(255), 255);
}

TEST(SdlButtons, Table) {
    EXPECT_EQ(TranslateSdlButton(SDL_BUTTON_LEFT), 1);
    EXPECT_EQ(TranslateSdlButton(SDL_BUTTON_MIDDLE), 2);
    EXPECT_EQ(TranslateSdlButton(SDL_BUTTON_RIGHT), 3);
    EXPECT_EQ(TranslateSdlButton(SDL_BUTTON_X1), 6);
    EXPECT_EQ(TranslateSdlButton(SDL_BUTTON_X2), 7);
    EXPECT_EQ(TranslateSdlButton(0), 0);
    EXPECT_EQ(TranslateSdlButton(9), 0);
}

TEST(SdlEvents, KeyDownRecord) {
    Sdl12Event out;
    memset(&out, 0xAB, sizeof(out));
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_q), &out));
    const Bytes b = Raw(out);
    EXPECT_EQ(b.U8(0), 2);
    EXPECT_EQ(b.U8(2), 1);
    EXPECT_EQ(b.S32(8), 113);
    EXPECT_EQ(b.S32(12), 0);
    EXPECT_EQ(b.U16(16), 113);
    EXPECT_EQ(b.U8(1), 0);
    EXPECT_EQ(b.U8(3), 0);
}

TEST(SdlEvents, KeyRepeatIsDropped) {
    SDL_Event held = Key(SDL_KEYDOWN, SDLK_F2);
    held.key.repeat = 1;
    Sdl12Event out;
    memset(&out, 0x3C, sizeof(out));
    EXPECT_FALSE(TranslateSdlEvent(held, &out));
    EXPECT_EQ(Raw(out).U8(0), 0x3C);
    held.key.keysym.sym = SDLK_a;
    EXPECT_FALSE(TranslateSdlEvent(held, &out));
    EXPECT_EQ(Raw(out).U8(0), 0x3C);
    // The first press and the release still come through.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_F2), &out));
    EXPECT_EQ(Raw(out).U8(0), 2);
    EXPECT_EQ(Raw(out).S32(8), 283);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_F2), &out));
    EXPECT_EQ(Raw(out).U8(0), 3);
    EXPECT_EQ(Raw(out).S32(8), 283);
}

TEST(SdlEvents, ComposeRecord) {
    // Multi_key on the Menu key's place, as SDL2 reports it under X.
    SDL_Event e = Key(SDL_KEYDOWN, SDL_SCANCODE_TO_KEYCODE(SDL_SCANCODE_UNKNOWN));
    e.key.keysym.scancode = SDL_SCANCODE_APPLICATION;
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(e, &out));
    EXPECT_EQ(Raw(out).U8(0), 2);
    EXPECT_EQ(Raw(out).S32(8), 314);
    EXPECT_EQ(Raw(out).U16(16), 0);
    e.type = SDL_KEYUP;
    ASSERT_TRUE(TranslateSdlEvent(e, &out));
    EXPECT_EQ(Raw(out).U8(0), 3);
    EXPECT_EQ(Raw(out).S32(8), 314);
}

TEST(SdlEvents, CtrlPauseIsBreak) {
    Sdl12Event out;
    // Ctrl let go before Pause: the release is still Break.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_PAUSE, KMOD_LCTRL), &out));
    EXPECT_EQ(Raw(out).S32(8), 318);
    EXPECT_EQ(Raw(out).S32(12), 0x0040);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_PAUSE), &out));
    EXPECT_EQ(Raw(out).U8(0), 3);
    EXPECT_EQ(Raw(out).S32(8), 318);
    // Pause alone.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_PAUSE), &out));
    EXPECT_EQ(Raw(out).S32(8), 19);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_PAUSE), &out));
    EXPECT_EQ(Raw(out).S32(8), 19);
    // Right Ctrl, held through the release.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_PAUSE, KMOD_RCTRL), &out));
    EXPECT_EQ(Raw(out).S32(8), 318);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_PAUSE, KMOD_RCTRL), &out));
    EXPECT_EQ(Raw(out).S32(8), 318);
    // Ctrl pressed only after Pause: still Pause at the release.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_PAUSE), &out));
    EXPECT_EQ(Raw(out).S32(8), 19);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_PAUSE, KMOD_LCTRL), &out));
    EXPECT_EQ(Raw(out).S32(8), 19);
    // Ctrl with other keys changes nothing.
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_F2, KMOD_LCTRL), &out));
    EXPECT_EQ(Raw(out).S32(8), 283);
}

TEST(SdlEvents, KeyUpRecordOfASpecialKey) {
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYUP, SDLK_F2), &out));
    const Bytes b = Raw(out);
    EXPECT_EQ(b.U8(0), 3);
    EXPECT_EQ(b.U8(2), 0);
    EXPECT_EQ(b.S32(8), 283);
    EXPECT_EQ(b.U16(16), 0);
}

TEST(SdlEvents, ArrowAndShiftKeys) {
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_LEFT), &out));
    EXPECT_EQ(Raw(out).S32(8), 276);
    ASSERT_TRUE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_LSHIFT, KMOD_LSHIFT), &out));
    EXPECT_EQ(Raw(out).S32(8), 304);
    EXPECT_EQ(Raw(out).S32(12), 0x0001);  // SDL 1.2 KMOD_LSHIFT
}

TEST(SdlEvents, ModifierBitsKeepTheirValues) {
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(
        Key(SDL_KEYDOWN, SDLK_a, KMOD_RSHIFT | KMOD_LCTRL | KMOD_RALT | KMOD_CAPS), &out));
    EXPECT_EQ(Raw(out).S32(12), 0x0002 | 0x0040 | 0x0200 | 0x2000);
}

TEST(SdlEvents, MotionRecord) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = SDL_MOUSEMOTION;
    e.motion.x = 400;
    e.motion.y = 300;
    e.motion.xrel = -7;
    e.motion.yrel = 12;
    e.motion.state = SDL_BUTTON_LMASK;
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(e, &out));
    const Bytes b = Raw(out);
    EXPECT_EQ(b.U8(0), 4);
    EXPECT_EQ(b.U8(2), 1);
    EXPECT_EQ(b.U16(4), 400);
    EXPECT_EQ(b.U16(6), 300);
    EXPECT_EQ(b.S16(8), -7);
    EXPECT_EQ(b.S16(10), 12);
}

TEST(SdlEvents, MotionOutsideTheRangeIsClamped) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = SDL_MOUSEMOTION;
    e.motion.x = -3;
    e.motion.y = 70000;
    e.motion.xrel = -40000;
    e.motion.yrel = 40000;
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(e, &out));
    const Bytes b = Raw(out);
    EXPECT_EQ(b.U16(4), 0);
    EXPECT_EQ(b.U16(6), 65535);
    EXPECT_EQ(b.S16(8), -32768);
    EXPECT_EQ(b.S16(10), 32767);
}

SDL_Event ButtonEvent(Uint32 type, Uint8 button, int x, int y) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = type;
    e.button.button = button;
    e.button.state = type == SDL_MOUSEBUTTONDOWN ? SDL_PRESSED : SDL_RELEASED;
    e.button.x = x;
    e.button.y = y;
    return e;
}

TEST(SdlEvents, ButtonRecords) {
    const std::pair<Uint8, uint8_t> table[] = {
        {SDL_BUTTON_LEFT, 1}, {SDL_BUTTON_MIDDLE, 2}, {SDL_BUTTON_RIGHT, 3}};
    for (const auto& [sdl2, sdl12] : table) {
        Sdl12Event out;
        ASSERT_TRUE(TranslateSdlEvent(ButtonEvent(SDL_MOUSEBUTTONDOWN, sdl2, 12, 34), &out));
        Bytes b = Raw(out);
        EXPECT_EQ(b.U8(0), 5);
        EXPECT_EQ(b.U8(2), sdl12);
        EXPECT_EQ(b.U8(3), 1);
        EXPECT_EQ(b.U16(4), 12);
        EXPECT_EQ(b.U16(6), 34);
        ASSERT_TRUE(TranslateSdlEvent(ButtonEvent(SDL_MOUSEBUTTONUP, sdl2, 56, 78), &out));
        b = Raw(out);
        EXPECT_EQ(b.U8(0), 6);
        EXPECT_EQ(b.U8(2), sdl12);
        EXPECT_EQ(b.U8(3), 0);
        EXPECT_EQ(b.U16(4), 56);
        EXPECT_EQ(b.U16(6), 78);
    }
}

TEST(SdlEvents, UnknownButtonIsDropped) {
    Sdl12Event out;
    memset(&out, 0x5A, sizeof(out));
    EXPECT_FALSE(TranslateSdlEvent(ButtonEvent(SDL_MOUSEBUTTONDOWN, 12, 1, 1), &out));
    EXPECT_EQ(Raw(out).U8(0), 0x5A);
}

SDL_Event Wheel(int y, Uint32 direction = SDL_MOUSEWHEEL_NORMAL, int x = 0) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = SDL_MOUSEWHEEL;
    e.wheel.x = x;
    e.wheel.y = y;
    e.wheel.direction = direction;
    return e;
}

TEST(SdlEvents, WheelUpIsButtonFourDownThenUp) {
    Sdl12Event down, up;
    ASSERT_TRUE(TranslateSdlEvent(Wheel(1), &down));
    ASSERT_TRUE(WheelButtonUp(Wheel(1), &up));
    EXPECT_EQ(Raw(down).U8(0), 5);
    EXPECT_EQ(Raw(down).U8(2), 4);
    EXPECT_EQ(Raw(down).U8(3), 1);
    EXPECT_EQ(Raw(up).U8(0), 6);
    EXPECT_EQ(Raw(up).U8(2), 4);
    EXPECT_EQ(Raw(up).U8(3), 0);
}

TEST(SdlEvents, WheelDownIsButtonFive) {
    Sdl12Event down, up;
    ASSERT_TRUE(TranslateSdlEvent(Wheel(-2), &down));
    ASSERT_TRUE(WheelButtonUp(Wheel(-2), &up));
    EXPECT_EQ(Raw(down).U8(2), 5);
    EXPECT_EQ(Raw(up).U8(2), 5);
}

TEST(SdlEvents, FlippedWheelIsTurnedBack) {
    Sdl12Event down;
    ASSERT_TRUE(TranslateSdlEvent(Wheel(1, SDL_MOUSEWHEEL_FLIPPED), &down));
    EXPECT_EQ(Raw(down).U8(2), 5);
}

TEST(SdlEvents, SidewaysWheelIsDropped) {
    Sdl12Event out;
    EXPECT_FALSE(TranslateSdlEvent(Wheel(0, SDL_MOUSEWHEEL_NORMAL, 3), &out));
    EXPECT_FALSE(WheelButtonUp(Wheel(0, SDL_MOUSEWHEEL_NORMAL, 3), &out));
}

TEST(SdlEvents, WheelUpOnlyForWheelEvents) {
    Sdl12Event out;
    EXPECT_FALSE(WheelButtonUp(Key(SDL_KEYDOWN, SDLK_a), &out));
}

TEST(SdlEvents, QuitRecord) {
    SDL_Event e;
    memset(&e, 0, sizeof(e));
    e.type = SDL_QUIT;
    Sdl12Event out;
    ASSERT_TRUE(TranslateSdlEvent(e, &out));
    EXPECT_EQ(Raw(out).U8(0), 12);
}

TEST(SdlEvents, OtherEventsLeaveTheRecordAlone) {
    const Uint32 types[] = {SDL_WINDOWEVENT, SDL_TEXTINPUT, SDL_JOYAXISMOTION, SDL_USEREVENT};
    for (Uint32 type : types) {
        SDL_Event e;
        memset(&e, 0, sizeof(e));
        e.type = type;
        Sdl12Event out;
        memset(&out, 0x77, sizeof(out));
        EXPECT_FALSE(TranslateSdlEvent(e, &out)) << type;
        EXPECT_EQ(Raw(out).U8(0), 0x77);
    }
}

TEST(SdlEvents, NullOutputIsRefused) {
    EXPECT_FALSE(TranslateSdlEvent(Key(SDL_KEYDOWN, SDLK_a), nullptr));
    EXPECT_FALSE(WheelButtonUp(Wheel(1), nullptr));
}

}  // namespace
