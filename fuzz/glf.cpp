// Feeds arbitrary bytes to the GLF reader and measures a few strings with what it read.
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <vector>

#include "resources/glfont.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = [] {
        std::cout.setstate(std::ios::failbit);
        return true;
    }();
    (void)quiet;
    GLFont font;
    std::vector<uint8_t> pixels;
    if (font.Parse(data, size, "fuzz.glf", &pixels)) {
        int out[2];
        font.GetStringSize("The quick brown fox \x80\xff", out);
        font.GetStringSize("", out);
        for (int code = -130; code < 260; code += 7)
            font.GetCharWidth(code), font.GetCharHeight(code);
        GLFont copy(font);
        copy.GetStringSize("abc", out);
    }
    return 0;
}
