// Fuzzes CfoDocument::Parse, and checks its tree against the byte-at-a-time reference
// parser whenever the input is shallow enough for the reference's recursion.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "cfo/cfodocument.h"
#include "cfo/cforeaders.h"
#include "cfo_reference.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    CfoDocument doc;
    bool ok = doc.Parse(text);

    size_t opens = 0;
    for (char c : text) opens += c == '{';
    if (opens < 2000) {
        CfoNode ref;
        bool ref_ok = cforef::Parse(&ref, text);
        bool links = false;
        if (ok != ref_ok || cforef::Dump(&doc, &links) != cforef::Dump(&ref) || !links) {
            std::printf("parser and reference disagree\n");
            std::abort();
        }
    }

    // The readers on whatever the root holds.
    for (const CfoNode* child : doc.children) {
        int32_t i = 0;
        float f = 0;
        HVector3 v;
        CfoReadInt(&doc, child->name, i);
        CfoReadFloat(&doc, child->name, f);
        CfoReadVector3(&doc, child->name, v);
    }
    return 0;
}
