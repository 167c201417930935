#include "app/runoptions.h"

#include <cmath>
#include <cstdlib>

namespace {

bool ReadSeconds(const std::string& text, double* out) {
    char* end = nullptr;
    const double value = strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || !std::isfinite(value) ||
        value <= 0.0 || value > 1e7)
        return false;
    *out = value;
    return true;
}

bool ReadSeed(const std::string& text, uint32_t* out) {
    if (text.empty() || text.size() > 10) return false;
    uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    if (value > UINT32_MAX) return false;
    *out = static_cast<uint32_t>(value);
    return true;
}

}  // namespace

const char* RunOptionsUsage() {
    return "usage: velmora [CONFIGURATION] [--record FILE] [--seed N]\n"
           "       velmora [CONFIGURATION] (--replay FILE | --timedemo FILE) [--shots DIR] "
           "[--loop SECONDS]\n";
}

bool ParseRunOptions(int argc, const char* const* argv, RunOptions* out, std::string* error) {
    RunOptions options;
    auto fail = [error](const std::string& what) {
        if (error != nullptr) *error = what;
        return false;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i] != nullptr ? argv[i] : "";
        if (arg.size() < 2 || arg.compare(0, 2, "--") != 0) {
            if (options.config.empty()) options.config = arg;
            continue;
        }
        const bool takes_value = arg == "--record" || arg == "--replay" || arg == "--timedemo" ||
                                 arg == "--shots" || arg == "--loop" || arg == "--seed";
        if (!takes_value) return fail("unknown option '" + arg + "'");
        if (i + 1 >= argc || argv[i + 1] == nullptr || argv[i + 1][0] == '\0')
            return fail("option '" + arg + "' needs a value");
        const std::string value = argv[++i];
        if (arg == "--record") {
            options.record = value;
        } else if (arg == "--replay" || arg == "--timedemo") {
            if (!options.replay.empty()) return fail("one demo a run");
            options.replay = value;
            options.timedemo = arg == "--timedemo";
        } else if (arg == "--shots") {
            options.shots = value;
        } else if (arg == "--loop") {
            if (!ReadSeconds(value, &options.loop_seconds))
                return fail("'--loop' takes seconds, more than 0");
        } else if (!ReadSeed(value, &options.seed)) {
            return fail("'--seed' takes a number from 0 to 4294967295");
        } else {
            options.has_seed = true;
        }
    }
    if (!options.record.empty() && !options.replay.empty())
        return fail("a run either records or replays");
    if (options.replay.empty() && (!options.shots.empty() || options.loop_seconds > 0.0))
        return fail("'--shots' and '--loop' go with '--replay' or '--timedemo'");
    if (options.has_seed && options.record.empty())
        return fail("'--seed' goes with '--record': a demo brings its own");
    *out = options;
    return true;
}
