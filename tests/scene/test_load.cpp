// SceneManager::Load: settings, search paths, key bindings and the fragment program gate.

#include <physfs.h>

#include <cmath>

#include "scene_fixture.h"

using namespace scenetest;

namespace {

std::string LoadText(SceneManager& sm, const std::string& body) {
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse("SceneManager={" + body + "}"));
    testing::internal::CaptureStdout();
    sm.Load(doc.FindChild("SceneManager"), nullptr);
    return FlushedStdout();
}

}  // namespace

TEST_F(SceneTest, NullNodeKeepsTheDefaults) {
    testing::internal::CaptureStdout();
    sm.Load(nullptr, nullptr);
    EXPECT_EQ(FlushedStdout(), "SceneManager configuration node not defined\n");
    EXPECT_TRUE(r_particle_rain);
    EXPECT_EQ(k_action_hit, 100);
}

TEST_F(SceneTest, LoadReadsTheSettings) {
    std::string out =
        LoadText(sm,
                 "r_debug=1; r_debug_physics=1; r_show_fps=1; r_sw_skinning=1;"
                 "r_particle_rain_size=500; r_animation_hz=50; r_abt_render_mode=LIST;");
    EXPECT_EQ(out, kLoadLines);
    EXPECT_TRUE(r_debug);
    EXPECT_TRUE(r_debug_physics);
    EXPECT_TRUE(r_show_fps);
    EXPECT_TRUE(r_sw_skinning);
    EXPECT_EQ(r_particle_rain_size, 500);
    EXPECT_FLOAT_EQ(r_animation_step, 0.02f);
    EXPECT_EQ(r_abt_render_mode, LIST);
}

TEST_F(SceneTest, FragmentProgramGateForcesShadingAndRainOff) {
    std::string out = LoadText(sm, "r_advanced_shading=1; r_particle_rain=1;");
    EXPECT_EQ(out, kLoadLines);
    EXPECT_FALSE(r_advanced_shading);
    EXPECT_FALSE(r_particle_rain);
}

TEST_F(SceneTest, AbsentKeysLeaveTheDefaults) {
    LoadText(sm, "unrelated=5;");
    EXPECT_FALSE(r_debug);
    EXPECT_EQ(r_particle_rain_size, 10000);
    EXPECT_FLOAT_EQ(r_animation_step, 0.016f);
    EXPECT_EQ(r_abt_render_mode, VBO);
    EXPECT_EQ(k_action_forward, 119);
    EXPECT_EQ(k_action_back, 115);
    EXPECT_EQ(k_action_stafe_left, 97);
    EXPECT_EQ(k_action_stafe_right, 100);
    EXPECT_EQ(k_action_hit, 100);
}

TEST_F(SceneTest, RenderModeNames) {
    LoadText(sm, "r_abt_render_mode=VAR;");
    EXPECT_EQ(r_abt_render_mode, VAR);
    LoadText(sm, "r_abt_render_mode=VBO;");
    EXPECT_EQ(r_abt_render_mode, VBO);
    LoadText(sm, "r_abt_render_mode=LIST;");
    EXPECT_EQ(r_abt_render_mode, LIST);
    LoadText(sm, "r_abt_render_mode=vbo;");  // other text leaves the mode alone
    EXPECT_EQ(r_abt_render_mode, LIST);
}

TEST_F(SceneTest, AnisotropicFilteringOnlyWithAnisotropy) {
    LoadText(sm, "r_anisotropic_filtering=8;");
    EXPECT_FLOAT_EQ(r_anisotropic_filtering, 1.0f);
    max_anisotropy = 16.0f;
    LoadText(sm, "r_anisotropic_filtering=8;");
    EXPECT_FLOAT_EQ(r_anisotropic_filtering, 8.0f);
}

TEST_F(SceneTest, AnimationRateOfZeroKeepsTheStep) {
    std::string out = LoadText(sm, "r_animation_hz=0;");
    EXPECT_FLOAT_EQ(r_animation_step, 0.016f);
    EXPECT_TRUE(std::isfinite(r_animation_step));
    EXPECT_EQ(out,
              std::string("SceneManager r_animation_hz '0' is not above 0, animation step kept\n") +
                  kLoadLines);
    LoadText(sm, "r_animation_hz=-30;");
    EXPECT_FLOAT_EQ(r_animation_step, 0.016f);
    LoadText(sm, "r_animation_hz=100;");
    EXPECT_FLOAT_EQ(r_animation_step, 0.01f);
}

TEST_F(SceneTest, KeyBindingsByName) {
    LoadText(sm, "k_action_forward=uparrow; k_action_hit=kminus; k_action_stafe_left=F1;");
    EXPECT_EQ(k_action_forward, 273);
    EXPECT_EQ(k_action_hit, 267);
    EXPECT_EQ(k_action_stafe_left, 282);
}

TEST_F(SceneTest, UnknownKeyNameKeepsTheDefaultSilently) {
    std::string out = LoadText(sm, "k_action_back=nokey; k_action_stafe_right=UPARROW;");
    EXPECT_EQ(k_action_back, 115);
    EXPECT_EQ(k_action_stafe_right, 100);
    EXPECT_EQ(out, kLoadLines);
}

TEST_F(SceneTest, SearchPathsInDocumentOrder) {
    WriteFile("extra_a/only_a.txt", "a");
    const std::string missing = TempDir() + "/no_such_folder";
    std::string out = LoadText(
        sm, "add_search_path=" + TempDir() + "/extra_a;" + "add_search_path=" + missing + ";");
    const char* error = PHYSFS_getErrorByCode(PHYSFS_ERR_NOT_FOUND);
    EXPECT_EQ(out, std::string(error) + " '" + missing + "'\n" + kLoadLines);
    File file("only_a.txt", File::READ);
    EXPECT_TRUE(file.IsOpen());
}

TEST_F(SceneTest, AddSearchPathReportsAFailure) {
    testing::internal::CaptureStdout();
    EXPECT_FALSE(SceneManager::AddSearchPath("/nonexistent/velmora_data"));
    EXPECT_EQ(FlushedStdout(), std::string(PHYSFS_getErrorByCode(PHYSFS_ERR_NOT_FOUND)) +
                                   " '/nonexistent/velmora_data'\n");
}
