#pragma once
// A demo: one recorded run of the game, enough to run it again identically on the same
// build. It holds the random seed, the window size the run had (the pointer's place in the
// 2D space is scaled from it), and for every pass of the frame loop its time, its dt and
// the input records polled in it, already translated to SDL 1.2 numbers. Marks name passes
// whose picture a replay may save.
//
// The file is text, one line per pass, so that a changed demo reads as a diff:
//
//   velmora-demo 1
//   seed 1700000000
//   screen 1024 768
//   pass 0x1.0cp-1 0x1.0cp-1 1 0200000071000000...   time, dt (hexadecimal floats, exact),
//   mark 812 door_open                                the record count, 40 hex digits each
//   end 3912
//
// DemoFile is plain data; the Application owns the one it records or replays for the
// whole run.

#include <cstdint>
#include <string>
#include <vector>

#include "events/sdl12event.h"

struct DemoPass {
    float time = 0.0f;  // seconds, as the frame loop's clock gave them
    float dt = 0.0f;
    std::vector<Sdl12Event> input;
};

struct DemoMark {
    uint32_t pass = 0;
    std::string name;  // one word: letters, digits, "_" and "-"
};

struct DemoFile {
    uint32_t seed = 1;
    int32_t screen_width = 1024;
    int32_t screen_height = 768;
    std::vector<DemoPass> passes;
    std::vector<DemoMark> marks;  // in pass order

    // Caps that keep a damaged file from asking for unbounded memory.
    static constexpr size_t kMaxPasses = 10'000'000;
    static constexpr size_t kMaxInputPerPass = 4096;
    static constexpr size_t kMaxMarks = 1000;
};

// The text above. Writes nothing but the file.
std::string DemoToText(const DemoFile& demo);

// Parses the text. On failure returns false with `error` set to a line that names the
// line number and what was wrong ("line 7: a pass needs a time, a dt and a count"); `out`
// is then left empty.
bool DemoFromText(const std::string& text, DemoFile* out, std::string* error);

// The same through a file on disk (not the search path: a demo belongs to the player).
bool WriteDemoFile(const std::string& path, const DemoFile& demo, std::string* error);
bool ReadDemoFile(const std::string& path, DemoFile* out, std::string* error);
