// Finding the data: the current folder's "data/" first, then the one installed beside the
// program, else nothing.

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>

#include "app/datafolder.h"

namespace {

class DataFolderTest : public testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/velmora_datafolder_XXXXXX";
        const char* made = mkdtemp(pattern);
        ASSERT_NE(made, nullptr);
        root = made;
        std::filesystem::create_directories(root + "/prefix/bin");
        std::filesystem::create_directories(root + "/elsewhere");
        old = std::filesystem::current_path();
        std::filesystem::current_path(root + "/elsewhere");
    }
    void TearDown() override {
        std::filesystem::current_path(old);
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
    std::string root;
    std::filesystem::path old;
};

}  // namespace

TEST_F(DataFolderTest, TheInstalledFolderLiesBesideTheProgram) {
    EXPECT_EQ(InstalledDataFolder("/usr/local/bin/velmora"), "/usr/local/share/velmora/data/");
    EXPECT_EQ(InstalledDataFolder("/opt/v/bin/../bin/velmora"), "/opt/v/share/velmora/data/");
}

TEST_F(DataFolderTest, NothingFoundGivesAnEmptyName) {
    EXPECT_EQ(FindDataFolder(root + "/prefix/bin/velmora"), "");
    EXPECT_EQ(FindDataFolder(""), "");
}

TEST_F(DataFolderTest, TheInstalledDataIsFoundFromAnywhere) {
    std::filesystem::create_directories(root + "/prefix/share/velmora/data");
    EXPECT_EQ(FindDataFolder(root + "/prefix/bin/velmora"), root + "/prefix/share/velmora/data/");
}

TEST_F(DataFolderTest, TheCurrentFoldersDataComesFirst) {
    std::filesystem::create_directories(root + "/prefix/share/velmora/data");
    std::filesystem::create_directories(root + "/elsewhere/data");
    EXPECT_EQ(FindDataFolder(root + "/prefix/bin/velmora"), "data/");
}

TEST_F(DataFolderTest, TheProgramKnowsItsOwnPath) {
    const std::string self = ProgramPath("fallback");
    EXPECT_NE(self, "fallback");
    EXPECT_TRUE(std::filesystem::exists(self));
}
