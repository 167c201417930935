// The key name table and the bindings that Load takes from it.

#include <gtest/gtest.h>

#include <cstring>
#include <set>

#include "events/sdl12event.h"
#include "platform/sdlinput.h"
#include "scene/keynametable.h"

TEST(KeyNameTable, AllAssignmentsInOrder) {
    KeyNameTable keys;
    keys.Build();
    EXPECT_EQ(keys.Assignments(), 137);
    EXPECT_EQ(keys.Size(), 135u);  // "kperiod" and "sysreq" are set twice
}

TEST(KeyNameTable, KeypadRowKeepsItsHistoricValues) {
    KeyNameTable keys;
    keys.Build();
    int32_t code = 0;
    ASSERT_TRUE(keys.Lookup("kperiod", code));
    EXPECT_EQ(code, 269);
    ASSERT_TRUE(keys.Lookup("kminus", code));
    EXPECT_EQ(code, 267);
    ASSERT_TRUE(keys.Lookup("kdivide", code));
    EXPECT_EQ(code, 267);
    ASSERT_TRUE(keys.Lookup("kplus", code));
    EXPECT_EQ(code, 270);
    for (const auto& entry : keys.table) EXPECT_NE(entry.second, 266) << entry.first;
}

TEST(KeyNameTable, Samples) {
    KeyNameTable keys;
    keys.Build();
    const struct {
        const char* name;
        int32_t code;
    } samples[] = {
        {"backspace", 8},  {"space", 32},    {"exclamation", 33}, {"ampersand", 38},
        {"fslash", 47},    {"0", 48},        {"9", 57},           {"colon", 58},
        {"at", 64},        {"lbracket", 91}, {"grave", 96},       {"a", 97},
        {"z", 122},        {"delete", 127},  {"keypad0", 256},    {"keypad9", 265},
        {"kenter", 271},   {"kequals", 272}, {"uparrow", 273},    {"leftarrow", 276},
        {"pagedown", 281}, {"F1", 282},      {"F15", 296},        {"numlock", 300},
        {"lshift", 304},   {"compose", 314}, {"help", 315},       {"sysreq", 317},
        {"undo", 322},
    };
    for (const auto& s : samples) {
        int32_t code = -1;
        ASSERT_TRUE(keys.Lookup(s.name, code)) << s.name;
        EXPECT_EQ(code, s.code) << s.name;
    }
    // Codes 37 ('%') and 65..90 (capitals) have no name.
    std::set<int32_t> codes;
    for (const auto& entry : keys.table) codes.insert(entry.second);
    EXPECT_EQ(codes.count(37), 0u);
    EXPECT_EQ(codes.count(65), 0u);
}

TEST(KeyNameTable, MissLeavesTheOutputAlone) {
    KeyNameTable keys;
    keys.Build();
    int32_t code = 1234;
    EXPECT_FALSE(keys.Lookup("nokey", code));
    EXPECT_FALSE(keys.Lookup("A", code));  // names are exact
    EXPECT_FALSE(keys.Lookup("f1", code));
    EXPECT_EQ(code, 1234);
    KeyNameTable empty;
    EXPECT_FALSE(empty.Lookup("a", code));
    EXPECT_EQ(code, 1234);
}

// Every name stands for a key that SDL2 can report, save the two meta keys, which SDL2
// folds into the GUI keys ("lwindows", "rwindows").
TEST(KeyNameTable, EveryNameButTheMetaKeysCanFire) {
    std::set<int32_t> reachable;
    for (SDL_Keycode character = 0; character <= 0x10FFFF; ++character)
        reachable.insert(TranslateSdlKey(character));
    for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode)
        reachable.insert(TranslateSdlKey(SDL_SCANCODE_TO_KEYCODE(scancode)));
    // Break needs Ctrl held with Pause.
    SDL_Event press;
    memset(&press, 0, sizeof(press));
    press.type = SDL_KEYDOWN;
    press.key.keysym.sym = SDLK_PAUSE;
    press.key.keysym.scancode = SDL_SCANCODE_PAUSE;
    press.key.keysym.mod = KMOD_LCTRL;
    Sdl12Event record;
    ASSERT_TRUE(TranslateSdlEvent(press, &record));
    reachable.insert(record.key.keysym.sym);
    SDL_Event release = press;  // and its release, so that the layer forgets the press
    release.type = SDL_KEYUP;
    ASSERT_TRUE(TranslateSdlEvent(release, &record));

    KeyNameTable keys;
    keys.Build();
    for (const auto& [name, code] : keys.table) {
        const bool meta = name == "lmeta" || name == "rmeta";
        EXPECT_EQ(reachable.count(code), meta ? 0u : 1u) << name << " " << code;
    }
}
