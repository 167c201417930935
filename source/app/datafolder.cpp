#include "app/datafolder.h"

#include <filesystem>
#include <system_error>

std::string InstalledDataFolder(const std::string& program_path) {
    const std::filesystem::path folder = std::filesystem::path(program_path).parent_path();
    return (folder / ".." / "share" / "velmora" / "data").lexically_normal().string() + "/";
}

std::string FindDataFolder(const std::string& program_path) {
    std::error_code error;
    if (std::filesystem::is_directory("data", error)) return "data/";
    const std::string installed = InstalledDataFolder(program_path);
    if (!program_path.empty() && std::filesystem::is_directory(installed, error)) return installed;
    return "";
}

std::string ProgramPath(const std::string& fallback) {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || self.empty()) return fallback;
    return self.string();
}
