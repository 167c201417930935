#pragma once
// Helpers of the data checks: the data folder, whole-file reads and file lists.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline std::string DataPath(const std::string& rel) {
    return std::string(VELMORA_SOURCE_DIR) + "/data/" + rel;
}

inline std::vector<uint8_t> ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in),
                                std::istreambuf_iterator<char>());
}

// Files under data/ with the extension `ext` (".dds"), relative to data/, sorted.
inline std::vector<std::string> DataFiles(const std::string& ext) {
    std::vector<std::string> out;
    std::error_code ec;
    std::string root = std::string(VELMORA_SOURCE_DIR) + "/data";
    for (auto it = std::filesystem::recursive_directory_iterator(root, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
        if (it->is_regular_file() && it->path().extension() == ext)
            out.push_back(std::filesystem::relative(it->path(), root).generic_string());
    }
    std::sort(out.begin(), out.end());
    return out;
}

inline uint32_t Le32(const std::vector<uint8_t>& v, size_t at) {
    return uint32_t(v[at]) | uint32_t(v[at + 1]) << 8 | uint32_t(v[at + 2]) << 16 |
           uint32_t(v[at + 3]) << 24;
}
