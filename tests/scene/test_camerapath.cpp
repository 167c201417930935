// The Scene's camera path: Scene::Load reads "animations/cam2.cfo" into `camera_path`
// between the entity keys and the fixed camera's keys, a missing file costs two lines and
// nothing else, and the shipped path circles the courtyard at eye height looking in.

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "cfo/cfodocument.h"
#include "scene/scene.h"
#include "scene_fixture.h"
#include "world/cameraanimation.h"

using namespace scenetest;

namespace {

const char* kPath =
    "camera={\n"
    " pos={ {0,100,0,150} {50,0,100,150} }\n"
    " rot={ {0,1,0,0,0} {50,0.70710678,0,0,0.70710678} }\n"
    "}\n";

// Loads a Scene from `text` without resources, returning what it printed.
std::string LoadScene(Scene& scene, const std::string& text) {
    CfoDocument doc;
    EXPECT_TRUE(doc.Parse(text));
    testing::internal::CaptureStdout();
    scene.Load(doc.FindChild("Scene"), nullptr);
    return FlushedStdout();
}

}  // namespace

TEST(SceneCameraPath, LoadReadsTheCameraPath) {
    ASSERT_FALSE(TempDir().empty());
    WriteFile("animations/cam2.cfo", kPath);
    Scene scene;
    EXPECT_EQ(LoadScene(scene, "Scene={ camera_pos=1,2,3; }"), "");
    ASSERT_TRUE(scene.camera_path.IsLoaded());
    const Animation& path = scene.camera_path.animation;
    ASSERT_EQ(path.tracks.size(), 1u);
    EXPECT_EQ(path.tracks[0].name, "camera");
    EXPECT_EQ(path.Length(), 50);
    ASSERT_EQ(path.tracks[0].positions.size(), 2u);
    EXPECT_EQ(path.tracks[0].positions[1].position, HVector3(0, 100, 150));
    ASSERT_EQ(path.tracks[0].rotations.size(), 2u);
    EXPECT_EQ(path.tracks[0].rotations[1].rotation,
              HQuaternion(0.70710678f, 0.0f, 0.0f, 0.70710678f));
    // Loaded, not played: the fixed camera's keys are read after it and nothing moves.
    EXPECT_EQ(scene.fixed_position, HVector3(1, 2, 3));
    EXPECT_EQ(scene.camera.position, HVector3(0, 0, 0));
    std::filesystem::remove(std::filesystem::path(TempDir()) / "animations/cam2.cfo");
}

TEST(SceneCameraPath, AMissingPathPrintsTwoLinesAndTheLoadGoesOn) {
    ASSERT_FALSE(TempDir().empty());
    std::filesystem::remove(std::filesystem::path(TempDir()) / "animations/cam2.cfo");
    Scene scene;
    EXPECT_EQ(LoadScene(scene, "Scene={ name=game_scene; camera_pos=1,2,3; camera_fov=60; }"),
              "CFO Document 'animations/cam2.cfo' not found\n"
              "Camera path 'animations/cam2.cfo' not loaded\n");
    EXPECT_FALSE(scene.camera_path.IsLoaded());
    EXPECT_TRUE(scene.camera_path.animation.tracks.empty());
    EXPECT_EQ(scene.GetName(), "game_scene");
    EXPECT_EQ(scene.fixed_position, HVector3(1, 2, 3));
    EXPECT_EQ(scene.fixed_fov, 60.0f);
}

TEST(SceneCameraPath, ALaterLoadForgetsTheOldPath) {
    ASSERT_FALSE(TempDir().empty());
    WriteFile("animations/cam2.cfo", kPath);
    CameraAnimation path;
    ASSERT_TRUE(path.Load("animations/cam2.cfo"));
    testing::internal::CaptureStdout();
    EXPECT_FALSE(path.Load("animations/cam3.cfo"));
    FlushedStdout();
    EXPECT_FALSE(path.IsLoaded());
    EXPECT_TRUE(path.animation.tracks.empty());
    std::filesystem::remove(std::filesystem::path(TempDir()) / "animations/cam2.cfo");
}

// The file the game ships, read from the source tree.
TEST(SceneCameraPath, TheShippedPathCirclesTheCourtyardLookingIn) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/animations/cam2.cfo");
    ASSERT_TRUE(in.good());
    std::stringstream text;
    text << in.rdbuf();
    CfoDocument doc;
    ASSERT_TRUE(doc.Parse(text.str()));
    Animation path;
    testing::internal::CaptureStdout();
    ASSERT_TRUE(path.LoadDocument(&doc, "animations/cam2.cfo"));
    EXPECT_EQ(FlushedStdout(), "");  // every row well formed

    ASSERT_EQ(path.tracks.size(), 1u);
    const BoneTrack& camera = path.tracks[0];
    EXPECT_EQ(camera.name, "camera");
    ASSERT_GE(camera.positions.size(), 4u);
    ASSERT_EQ(camera.rotations.size(), camera.positions.size());
    EXPECT_EQ(path.Length(), static_cast<int32_t>(camera.positions.back().frame));
    // One closed turn: the last key is the first place again.
    EXPECT_EQ(camera.positions.front().position, camera.positions.back().position);
    for (size_t k = 0; k < camera.positions.size(); ++k) {
        const HVector3 eye = camera.positions[k].position;
        EXPECT_EQ(camera.rotations[k].frame, camera.positions[k].frame) << k;
        // Inside the level, at eye height.
        EXPECT_LT(std::fabs(eye.x), 1000.0f) << k;
        EXPECT_LT(std::fabs(eye.y), 1000.0f) << k;
        EXPECT_EQ(eye.z, 150.0f) << k;
        const HQuaternion q = camera.rotations[k].rotation;
        EXPECT_NEAR(q.Norm(), 1.0f, 1e-3f) << k;
        // The eye looks down its -z towards the middle of the square, with +z up.
        HVector3 forward = q * HVector3(0, 0, -1);
        HVector3 to_middle = HVector3(0, 0, 100) - eye;
        to_middle.Normalise();
        EXPECT_GT(forward.Dot(to_middle), 0.999f) << k;
        EXPECT_GT((q * HVector3(0, 1, 0)).z, 0.99f) << k;
    }
}
