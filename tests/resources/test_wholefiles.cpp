// The readers that take whole files get the file layer's refusals: a file above the limit,
// an archive member that reads short. Each fails its load with the file layer's one line
// (and the manager's own line where the manager loads it).
#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "cfo/file.h"
#include "resources/glfont.h"
#include "resources/imagefiles.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "resources/texturedds.h"
#include "resources/texturetga.h"
#include "testdir.h"

using namespace testfiles;

namespace {

// A file of `size` zero bytes that takes no room on the disk.
void WriteSparse(const std::string& name, uint64_t size) {
    const std::filesystem::path native = std::filesystem::path(ScratchDir()) / name;
    std::filesystem::create_directories(native.parent_path());
    { std::ofstream create(native, std::ios::binary); }
    std::filesystem::resize_file(native, size);
}

std::string TooBig(const std::string& path) {
    char line[256];
    std::snprintf(line, sizeof line,
                  "File '%s' is %" PRIu64 " bytes, more than the %" PRIu64
                  " a whole read may take\n",
                  path.c_str(), FILE_READ_ALL_LIMIT + 1, FILE_READ_ALL_LIMIT);
    return line;
}

}  // namespace

TEST(WholeFiles, TexturesAboveTheLimitAreRefused) {
    WriteSparse("big/huge.tga", FILE_READ_ALL_LIMIT + 1);
    WriteSparse("big/huge.dds", FILE_READ_ALL_LIMIT + 1);

    testing::internal::CaptureStdout();
    TextureTGA tga_direct;
    EXPECT_FALSE(tga_direct.Load("big/huge.tga"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), TooBig("big/huge.tga"));

    TextureDDS direct;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(direct.Load("big/huge.dds"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), TooBig("big/huge.dds"));

    ResourceManager manager;
    manager.RegisterType<TextureDDS>("dds");
    manager.RegisterType<TextureTGA>("tga");
    ResourceHandle<TextureDDS> dds;
    ResourceHandle<TextureTGA> tga;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(dds, "big/huge.dds"));
    EXPECT_FALSE(manager.Load(tga, "big/huge.tga"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              TooBig("big/huge.dds") + "Could not load resource 'big/huge.dds'\n" +
                  TooBig("big/huge.tga") + "Could not load resource 'big/huge.tga'\n");
    EXPECT_TRUE(manager.GetResources().empty());
}

// A missing font still loads as an empty one; a refused font does not load.
TEST(WholeFiles, FontAboveTheLimitFailsToLoad) {
    WriteSparse("big/huge.glf", FILE_READ_ALL_LIMIT + 1);
    GLFont font;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(font.Create("big/huge.glf", 7));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), TooBig("big/huge.glf"));
    EXPECT_FALSE(font.HasTable());
}

TEST(WholeFiles, ShaderAboveTheLimitIsRefused) {
    WriteSparse("big/huge.cg", FILE_READ_ALL_LIMIT + 1);
    ShaderProgram program;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(program.Load("big/huge.cg"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), TooBig("big/huge.cg"));
}
