#include <gtest/gtest.h>

#include "imagewriters.h"
#include "resources/resourcemanager.h"
#include "resources/shaderprogram.h"
#include "testdir.h"

TEST(ShaderLayer, WithoutAGlContextTheContextFailsAndLoadsFail) {
    testing::internal::CaptureStdout();
    InitCg("arbvp1", "arbfp1");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Failed to create Cg context\n");
    EXPECT_FALSE(cg_context);

    testfiles::WriteFile("shaders/plain.cg", {'v', 'o', 'i', 'd'});
    ResourceManager manager;
    manager.RegisterType<ShaderProgram>("cg");
    ResourceHandle<ShaderProgram> h;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(manager.Load(h, "shaders/plain.cg"));
    EXPECT_FALSE(manager.Load(h, "shaders/missing.CG"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Could not load resource 'shaders/plain.cg'\n"
              "Could not load resource 'shaders/missing.CG'\n");
    ShaderProgram direct;
    EXPECT_FALSE(direct.LoadSource("void vertex_program() {}"));
    EXPECT_EQ(direct.program, 0u);
}

TEST(ShaderLayer, LoadModeAndProfiles) {
    EXPECT_TRUE(shader_load_as_vertex);
    SetShaderLoadMode(false);
    EXPECT_FALSE(shader_load_as_vertex);
    SetShaderLoadMode(true);
    EXPECT_TRUE(shader_load_as_vertex);
    EXPECT_EQ(GetShaderProfile("glslv"), SHADER_PROFILE_VERTEX);
    EXPECT_EQ(GetShaderProfile("glslf"), SHADER_PROFILE_FRAGMENT);
    EXPECT_EQ(GetShaderProfile("arbvp1"), SHADER_PROFILE_UNKNOWN);
    EXPECT_STREQ(GetShaderProfileString(SHADER_PROFILE_VERTEX), "glslv");
    EXPECT_STREQ(GetShaderProfileString(SHADER_PROFILE_FRAGMENT), "glslf");
}

TEST(ShaderLayer, SourceIsWrappedAroundTheEntryFunction) {
    EXPECT_EQ(
        WrapShaderSource("void vertex_program() {}", true),
        "#version 120\n#line 1\nvoid vertex_program() {}\nvoid main() { vertex_program(); }\n");
    EXPECT_EQ(WrapShaderSource("X", false),
              "#version 120\n#line 1\nX\nvoid main() { fragment_program(); }\n");
    EXPECT_EQ(WrapShaderSource("\n  #version 130\nY", true),
              "\n  #version 130\nY\nvoid main() { vertex_program(); }\n");
    EXPECT_EQ(WrapShaderSource("", true),
              "#version 120\n#line 1\n\nvoid main() { vertex_program(); }\n");
}

TEST(ShaderLayer, ErrorCallbackPrintsTheLastError) {
    testing::internal::CaptureStdout();
    OnCgError();
    std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "Cg error: " + GetShaderLastError() + "\n");
}
