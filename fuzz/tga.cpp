// Feeds arbitrary bytes to the TGA decoder: no read or write out of range, and no
// allocation beyond what the data could fill.
#include <cstddef>
#include <cstdint>
#include <iostream>

#include "resources/imagefiles.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool quiet = [] {
        std::cout.setstate(std::ios::failbit);
        return true;
    }();
    (void)quiet;
    TgaImage* image = ParseTGA(data, size, "fuzz.tga");
    if (image) {
        size_t bytes = size_t(image->width) * image->height * size_t(image->bytes_per_pixel);
        volatile uint8_t last = image->pixels[bytes - 1];
        (void)last;
        FreeTGA(image);
    }
    return 0;
}
