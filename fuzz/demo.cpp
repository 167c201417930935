// Fuzzes the demo reader: any text either reads to a demo that writes back to the same
// passes, or fails with a line number.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "app/demo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    DemoFile demo;
    std::string error;
    if (!DemoFromText(text, &demo, &error)) {
        if (error.compare(0, 5, "line ") != 0) std::abort();
        return 0;
    }
    // What reads writes back to text that reads to the same demo.
    DemoFile again;
    if (!DemoFromText(DemoToText(demo), &again, &error)) std::abort();
    if (again.passes.size() != demo.passes.size() || again.marks.size() != demo.marks.size() ||
        again.seed != demo.seed)
        std::abort();
    for (size_t i = 0; i < demo.passes.size(); ++i) {
        if (memcmp(&again.passes[i].time, &demo.passes[i].time, sizeof(float)) != 0) std::abort();
        if (again.passes[i].input.size() != demo.passes[i].input.size()) std::abort();
    }
    return 0;
}
