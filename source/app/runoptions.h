#pragma once
// What the command line asks of a run. A plain argument is the configuration's path (the
// first one counts); options may stand before or after it:
//
//   velmora [CONFIGURATION] [--record FILE] [--seed N]
//   velmora [CONFIGURATION] (--replay FILE | --timedemo FILE) [--shots DIR] [--loop SECONDS]
//
//   --record FILE     record the run to FILE, written when the game ends
//   --seed N          the random seed of a recorded run (else one from the clock)
//   --replay FILE     run a recorded demo again, at the pace it was recorded
//   --timedemo FILE   the same as fast as the machine draws, then the frame rate
//   --shots DIR       save the picture of each marked pass of the demo as DIR/NAME.ppm
//   --loop SECONDS    play the demo again and again until SECONDS have passed
//
// ParseRunOptions is pure: the Application acts on the result.

#include <cstdint>
#include <string>

struct RunOptions {
    std::string config;  // empty: the default configuration
    std::string record;  // demo to write; empty: none
    std::string replay;  // demo to play; empty: none
    bool timedemo = false;
    bool has_seed = false;
    uint32_t seed = 0;
    std::string shots;          // folder for the marked passes' pictures; empty: none
    double loop_seconds = 0.0;  // 0: play the demo once
};

// False with `error` set for an unknown option, an option without its value, a value that
// does not read, or options that do not go together (recording while replaying).
bool ParseRunOptions(int argc, const char* const* argv, RunOptions* out, std::string* error);

// The usage lines printed after a wrong command line.
const char* RunOptionsUsage();
