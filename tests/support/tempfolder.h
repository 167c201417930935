#pragma once
// A temporary native folder for tests that read files through the search path: made on
// first use, mounted on the search path (and, when asked, made the write folder), and
// removed with everything in it when the test program ends.
//
//   const std::string& Dir() { static testsupport::MountedTempFolder f("velmora_x"); return f.path;
//   } testsupport::WriteNativeFile(Dir(), "scenes/a.cfo", text.data(), text.size());

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "cfo/file.h"

namespace testsupport {

struct MountedTempFolder {
    std::string path;  // empty when the folder could not be made

    explicit MountedTempFolder(const std::string& prefix, bool write_folder = false) {
        std::string pattern =
            (std::filesystem::temp_directory_path() / (prefix + "_XXXXXX")).string();
        const char* made = mkdtemp(pattern.data());
        path = made ? made : "";
        if (path.empty()) return;
        FileSystemMount(path);
        if (write_folder) FileSystemSetWriteDir(path);
    }
    ~MountedTempFolder() {
        if (path.empty()) return;
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    MountedTempFolder(const MountedTempFolder&) = delete;
    MountedTempFolder& operator=(const MountedTempFolder&) = delete;
};

// Writes `size` bytes as `name` (a path relative to `folder`, its folders made as needed).
inline void WriteNativeFile(const std::string& folder, const std::string& name, const void* data,
                            size_t size) {
    const std::filesystem::path full = std::filesystem::path(folder) / name;
    std::filesystem::create_directories(full.parent_path());
    std::ofstream out(full, std::ios::binary);
    out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
}

}  // namespace testsupport
