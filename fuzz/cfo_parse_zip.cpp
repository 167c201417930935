// Fuzzes the file layer's reader of ZIP directories, the one part of it that parses bytes
// from outside: it must stay inside the archive it is given, fail without leaving anything
// behind, and never hand out a folder's name. Also checks that the checksum continues over
// split blocks.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_map>

#include "cfo/file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto read_at = [data, size](uint64_t offset, void* dest, size_t n) {
        if (offset > size || n > size - offset) return false;
        if (n > 0) std::memcpy(dest, data + offset, n);
        return true;
    };
    std::unordered_map<std::string, uint32_t> crcs;
    bool ok = ZipMemberChecksums(size, read_at, crcs);
    if (!ok && !crcs.empty()) {
        std::printf("a failed read left checksums behind\n");
        std::abort();
    }
    for (const auto& entry : crcs) {
        if (entry.first.empty() || entry.first.back() == '/') {
            std::printf("a folder or an empty name among the members\n");
            std::abort();
        }
    }

    size_t split = size > 0 ? data[0] % (size + 1) : 0;
    if (FileCrc32(data, size) != FileCrc32(data + split, size - split, FileCrc32(data, split))) {
        std::printf("checksum differs when split at %zu\n", split);
        std::abort();
    }
    return 0;
}
