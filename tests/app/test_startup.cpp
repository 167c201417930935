// The program's start-up without a window: banner, data folder, configuration choice and
// exit code, seen from outside by running the built binary in a fresh folder.

#include <gtest/gtest.h>

#include <physfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/banner.h"

#ifdef VELMORA_EXE

namespace {

const char kBanner[] =
    "Velmora\n"
    "The Velmora team\n"
    "Version: 0, 0, 0, 377\n"
    "========================================\n";

struct RunResult {
    std::string out;
    int exit_code = -1;
};

class StartupTest : public testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmora_start_XXXXXX";
        const char* made = mkdtemp(pattern);
        ASSERT_NE(made, nullptr);
        folder = made;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }

    void Write(const std::string& name, const std::string& text) {
        std::filesystem::path full = std::filesystem::path(folder) / name;
        std::filesystem::create_directories(full.parent_path());
        std::ofstream(full) << text;
    }

    // Runs the program in `folder` with no display, standard output piped.
    RunResult Run(const std::string& args) {
        RunResult result;
        const std::string command = "cd '" + folder +
                                    "' && env -u DISPLAY SDL_VIDEODRIVER=offscreen_none '" +
                                    std::string(VELMORA_EXE) + "' " + args + " 2>/dev/null";
        FILE* pipe = popen(command.c_str(), "r");
        if (pipe == nullptr) return result;
        std::array<char, 4096> buffer;
        size_t got;
        while ((got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
            result.out.append(buffer.data(), got);
        const int status = pclose(pipe);
        if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
        return result;
    }

    static std::string NotFound() { return PHYSFS_getErrorByCode(PHYSFS_ERR_NOT_FOUND); }
    // The line of a start that finds no data folder: both places it looked.
    static std::string NoDataFolder() {
        const std::string installed =
            (std::filesystem::path(VELMORA_EXE).parent_path() / ".." / "share" / "velmora" / "data")
                .lexically_normal()
                .string();
        return "No data folder: looked in 'data/' and '" + installed + "/'\n";
    }

    std::string folder;
};

}  // namespace

TEST_F(StartupTest, NoConfigurationAnywhere) {
    RunResult r = Run("");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, std::string(kBanner) + NotFound() + " 'data/'\n" + NoDataFolder() +
                         "CFO Document 'conf_pc_d.cfo' not found\n"
                         "Could not read configuration file\n");
}

TEST_F(StartupTest, OnlyTheDebugConfigurationNameCounts) {
    Write("data/conf_pc.cfo", "SceneManager={}\n");
    RunResult r = Run("");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, std::string(kBanner) +
                         "CFO Document 'conf_pc_d.cfo' not found\n"
                         "Could not read configuration file\n");
}

TEST_F(StartupTest, UnreadableArgumentAndNoDefault) {
    std::filesystem::create_directories(folder + "/data");
    RunResult r = Run("levels/missing.cfo");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, std::string(kBanner) +
                         "CFO Document 'levels/missing.cfo' not found\n"
                         "CFO Document 'conf_pc_d.cfo' not found\n"
                         "Could not read configuration file\n");
}

TEST_F(StartupTest, UnreadableArgumentFallsBackToTheDefaultSilently) {
    // The default holds no "Window" node, so the start ends at the window, which proves
    // that the default was read.
    Write("data/conf_pc_d.cfo", "SceneManager={ r_debug=1; }\n");
    RunResult r = Run("levels/missing.cfo");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, std::string(kBanner) +
                         "CFO Document 'levels/missing.cfo' not found\n"
                         "Window configuration node not defined\n");
}

TEST_F(StartupTest, ReadableArgumentIsUsedInsteadOfTheDefault) {
    Write("data/conf_pc_d.cfo", "broken={\n");
    Write("data/mine.cfo", "SceneManager={}\n");
    RunResult r = Run("mine.cfo");
    EXPECT_EQ(r.exit_code, 0);
    EXPECT_EQ(r.out, std::string(kBanner) + "Window configuration node not defined\n");
}

#endif  // VELMORA_EXE

TEST(Banner, ColoursOnlyOnATerminal) {
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::Red, true), "\033[1;31m");
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::Green, true), "\033[1;32m");
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::White, true), "\033[0m");
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::Red, false), "");
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::Green, false), "");
    EXPECT_STREQ(ConsoleEscape(ConsoleColour::White, false), "");
}

TEST(Banner, PlainTextToAFile) {
    FILE* file = tmpfile();
    ASSERT_NE(file, nullptr);
    PrintBanner(file);
    PrintClosingLine(file);
    rewind(file);
    std::string text;
    char buffer[256];
    size_t got;
    while ((got = fread(buffer, 1, sizeof(buffer), file)) > 0) text.append(buffer, got);
    fclose(file);
    EXPECT_EQ(text,
              "Velmora\nThe Velmora team\nVersion: 0, 0, 0, 377\n"
              "========================================\n"
              "========================================\n");
}
