#include "platform/banner.h"

#include <unistd.h>

namespace {

bool IsTerminal(FILE* out) { return out != nullptr && isatty(fileno(out)) != 0; }

const char kRule[] = "========================================";

}  // namespace

const char* ConsoleEscape(ConsoleColour colour, bool terminal) {
    if (!terminal) return "";
    switch (colour) {
        case ConsoleColour::Red:
            return "\033[1;31m";
        case ConsoleColour::Green:
            return "\033[1;32m";
        case ConsoleColour::White:
            return "\033[0m";
    }
    return "";
}

void PrintBanner(FILE* out) {
    const bool terminal = IsTerminal(out);
    fprintf(out, "%sVelmora\n", ConsoleEscape(ConsoleColour::Red, terminal));
    fprintf(out, "The Velmora team\n");
    fprintf(out, "Version: 0, 0, 0, 377\n");
    fprintf(out, "%s%s%s\n", ConsoleEscape(ConsoleColour::Green, terminal), kRule,
            ConsoleEscape(ConsoleColour::White, terminal));
}

void PrintClosingLine(FILE* out) {
    const bool terminal = IsTerminal(out);
    fprintf(out, "%s%s%s\n", ConsoleEscape(ConsoleColour::Green, terminal), kRule,
            ConsoleEscape(ConsoleColour::White, terminal));
}
