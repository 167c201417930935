#pragma once
// A scratch folder mounted on the search path for the resource tests.

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cfo/file.h"

namespace testfiles {

// The folder lives as long as the process and is removed at exit.
struct ScratchFolder {
    std::string path;
    ScratchFolder() {
        path =
            (std::filesystem::temp_directory_path() / ("velmora_res_" + std::to_string(getpid())))
                .string();
        std::filesystem::create_directories(path);
        FileSystemMount(path);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

inline const std::string& ScratchDir() {
    static ScratchFolder folder;
    return folder.path;
}

// Writes `bytes` as `name` (a path on the search path) into the scratch folder.
inline void WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
    std::filesystem::path p = std::filesystem::path(ScratchDir()) / name;
    std::filesystem::create_directories(p.parent_path());
    std::ofstream f(p, std::ios::binary);
    f.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

}  // namespace testfiles
