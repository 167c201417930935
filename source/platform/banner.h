#pragma once
// The start-up banner and the closing line of the start-up, the only coloured output of
// the program. Colours are ANSI escapes, written only when the stream is a terminal, so
// that logs piped to a file or a test stay plain text.

#include <cstdio>

// Bright red, bright green and the plain grey of the console.
enum class ConsoleColour { Red, Green, White };

// The escape for `colour` when `terminal`, else an empty string.
const char* ConsoleEscape(ConsoleColour colour, bool terminal);

// Red "Velmora", the author line, "Version: 0, 0, 0, 377", then the green line of equal
// signs and back to white.
void PrintBanner(FILE* out);
// Green line of equal signs, then white.
void PrintClosingLine(FILE* out);
