#pragma once
// A temporary native folder, mounted on the PhysFS search path and set as the write
// folder, shared by all tests of the process.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "cfo/file.h"

namespace cfotest {

// Removed with everything in it when the process ends.
struct TempFolder {
    std::string path;
    TempFolder() {
        char pattern[] = "/tmp/velmora_cfo_XXXXXX";
        const char* made = mkdtemp(pattern);
        path = made ? made : "";
        if (!path.empty()) {
            FileSystemMount(path);
            FileSystemSetWriteDir(path);
        }
    }
    ~TempFolder() {
        if (!path.empty()) {
            std::error_code ignored;
            std::filesystem::remove_all(path, ignored);
        }
    }
};

inline const std::string& TempDir() {
    static TempFolder folder;
    return folder.path;
}

inline void WriteNative(const std::string& name, const std::string& bytes) {
    std::ofstream out(TempDir() + "/" + name, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadNative(const std::string& name) {
    std::ifstream in(TempDir() + "/" + name, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace cfotest
