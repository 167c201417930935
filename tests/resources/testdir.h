#pragma once
// A scratch folder mounted on the search path for the resource tests.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/tempfolder.h"

namespace testfiles {

// The folder lives as long as the process and is removed at exit.
inline const std::string& ScratchDir() {
    static testsupport::MountedTempFolder folder("velmora_res");
    return folder.path;
}

// Writes `bytes` as `name` (a path on the search path) into the scratch folder.
inline void WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
    testsupport::WriteNativeFile(ScratchDir(), name, bytes.data(), bytes.size());
}

}  // namespace testfiles
