#pragma once
// A temporary native folder, mounted on the PhysFS search path and set as the write
// folder, shared by all tests of the process.

#include <fstream>
#include <iterator>
#include <string>

#include "support/tempfolder.h"

namespace cfotest {

// Removed with everything in it when the process ends.
inline const std::string& TempDir() {
    static testsupport::MountedTempFolder folder("velmora_cfo", /*write_folder=*/true);
    return folder.path;
}

inline void WriteNative(const std::string& name, const std::string& bytes) {
    testsupport::WriteNativeFile(TempDir(), name, bytes.data(), bytes.size());
}

inline std::string ReadNative(const std::string& name) {
    std::ifstream in(TempDir() + "/" + name, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace cfotest
