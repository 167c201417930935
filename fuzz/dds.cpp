// Feeds arbitrary bytes to the DDS chain reader: it must reject or accept without reading
// past the buffer, and an accepted chain must lie inside it.
#include <cassert>
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
    DdsImage image;
    if (ParseDDS(data, size, "fuzz.dds", image)) {
        assert(image.total + DDS_HEADER_SIZE <= size);
        size_t sum = 0;
        for (const DdsLevel& level : image.chain) {
            assert(level.offset == sum);
            sum += level.size;
        }
        assert(sum == image.total);
        volatile uint8_t last = image.data[image.total - 1];
        (void)last;
    }
    return 0;
}
