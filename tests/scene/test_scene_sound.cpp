// The Scene's ambient sound and the silence of a scene change, on SDL's "dummy" audio driver
// (set before the mixer opens, so a plain run and ctest behave alike). The sound files are
// copied into the test's own mounted folder under their data names.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "resources/sound.h"
#include "resources/soundlayer.h"
#include "scene/scene.h"
#include "scene_fixture.h"

using namespace scenetest;

namespace {

const char* const kRain = "resources/sounds/rain_loop.ogg";
const char* const kDoor = "resources/sounds/door_move.wav";
const char* const kPickup = "resources/sounds/item_pickup.wav";

std::vector<std::string>& Loaded() {
    static std::vector<std::string> names;
    return names;
}

// Resources that load without GL, and note the names asked for.
class FakeTexture : public TextureDDS {
public:
    bool Load(std::string file) override {
        Loaded().push_back(file);
        return true;
    }
};

class FakeMesh : public MeshASM {
public:
    bool Load(std::string file) override {
        Loaded().push_back(file);
        return true;
    }
};

// A real sound that notes its name first.
class NotedSound : public Sound {
public:
    bool Load(std::string file) override {
        Loaded().push_back(file);
        return Sound::Load(file);
    }
};

void CopyDataFile(const std::string& rel) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/" + rel, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    ASSERT_FALSE(bytes.empty()) << rel;
    WriteFile(rel, bytes);
}

void ResetSound() {
    SoundClose();
    SoundSetDriver(0);
    Sound::sound_enabled = false;
    Sound::sound_loop = false;
}

class SceneSoundTest : public SceneTest {
protected:
    void SetUp() override {
        SceneTest::SetUp();
        sm.GetClasses()->Register<Scene>();
        sm.resources.RegisterType<FakeTexture>("dds");
        sm.resources.RegisterType<FakeMesh>("asm");
        sm.resources.RegisterType<NotedSound>("wav");
        sm.resources.RegisterType<NotedSound>("ogg");
        for (const char* rel : {kRain, kDoor, kPickup}) CopyDataFile(rel);
        Loaded().clear();

        ResetSound();
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        testing::internal::CaptureStdout();
        InitSound();
        EXPECT_EQ(FlushedStdout(), "");
        ASSERT_TRUE(Sound::sound_enabled) << "the dummy audio driver did not open";
    }
    void TearDown() override {
        SceneTest::TearDown();  // the tree and its handles go before the mixer
        ResetSound();
    }

    // Builds "SceneManager={ <inner> }"; the lines of loading are dropped.
    Scene* BuildScene(const std::string& inner, bool bind = true) {
        testing::internal::CaptureStdout();
        Build("SceneManager={ " + inner + " }", bind);
        FlushedStdout();
        return dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    }

    // The scene change of the end of a frame, to the document `path`; its lines dropped.
    void ChangeScene(const std::string& path) {
        sm.pending_scene = path;
        testing::internal::CaptureStdout();
        sm.CleanUpObjects();
        FlushedStdout();
    }
};

}  // namespace

TEST(SceneSoundDefaults, TheAmbientHandleStartsEmpty) {
    Scene scene;
    EXPECT_FALSE(scene.ambient.IsValid());
    EXPECT_EQ(scene.ambient->sample, nullptr);
}

TEST_F(SceneSoundTest, TheAmbientSoundLoadsAfterTheSkyAndDoesNotLoopBeforeBind) {
    Scene* scene = BuildScene(
        "Scene={ name=game_scene; sky_texture=sky/clouds.dds; sky_mesh=sky/dome.asm; "
        "ambient_sound=resources/sounds/rain_loop.ogg; }",
        false);
    ASSERT_NE(scene, nullptr);
    const std::vector<std::string> expect = {"resources/textures/gui/cursor.dds",
                                             "system/white.dds", "sky/clouds.dds", "sky/dome.asm",
                                             kRain};
    EXPECT_EQ(Loaded(), expect);
    ASSERT_TRUE(scene->ambient.IsValid());
    EXPECT_EQ(scene->ambient->name, kRain);
    EXPECT_NE(scene->ambient->sample, nullptr);
    // Loaded in the first scene, before any Bind: the flag is still off.
    EXPECT_FALSE(Sound::sound_loop);
    EXPECT_FALSE(SoundSampleLoops(scene->ambient->sample));
    EXPECT_FALSE(SoundIsPlaying(0));
}

TEST_F(SceneSoundTest, BindLoopsTheAmbientSoundAndStartsIt) {
    Scene* scene =
        BuildScene("Scene={ name=game_scene; ambient_sound=" + std::string(kRain) + "; }");
    ASSERT_NE(scene, nullptr);
    ASSERT_TRUE(scene->ambient.IsValid());
    EXPECT_TRUE(Sound::sound_loop);
    EXPECT_TRUE(SoundSampleLoops(scene->ambient->sample));
    EXPECT_EQ(scene->ambient->channel, 0);
    EXPECT_TRUE(SoundIsPlaying(0));

    // From here on every sample loads looping, a door's or an item's alike.
    ResourceHandle<Sound> door;
    testing::internal::CaptureStdout();
    sm.resources.Load(door, kDoor);
    FlushedStdout();
    ASSERT_TRUE(door.IsValid());
    EXPECT_TRUE(SoundSampleLoops(door->sample));
}

TEST_F(SceneSoundTest, ASceneWithoutAmbientSoundLeavesTheHandleEmptyAndTheFlagOff) {
    Scene* scene = BuildScene("Scene={ name=game_scene; }");
    ASSERT_NE(scene, nullptr);
    EXPECT_FALSE(scene->ambient.IsValid());
    EXPECT_FALSE(Sound::sound_loop);
    EXPECT_FALSE(SoundIsPlaying(0));
    // A sound loaded now does not loop.
    ResourceHandle<Sound> door;
    testing::internal::CaptureStdout();
    sm.resources.Load(door, kDoor);
    FlushedStdout();
    ASSERT_TRUE(door.IsValid());
    EXPECT_FALSE(SoundSampleLoops(door->sample));
}

TEST_F(SceneSoundTest, AMissingAmbientSoundLeavesTheHandleEmptyWithTheManagersLine) {
    testing::internal::CaptureStdout();
    Build("SceneManager={ Scene={ name=game_scene; ambient_sound=resources/sounds/none.ogg; } }");
    const std::string out = FlushedStdout();
    EXPECT_NE(out.find("Could not load resource 'resources/sounds/none.ogg'\n"), std::string::npos)
        << out;
    Scene* scene = dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    ASSERT_NE(scene, nullptr);
    EXPECT_FALSE(scene->ambient.IsValid());
    EXPECT_FALSE(Sound::sound_loop);
}

TEST_F(SceneSoundTest, LeavingASceneStopsEveryChannel) {
    Scene* scene =
        BuildScene("Scene={ name=game_scene; ambient_sound=" + std::string(kRain) + "; }");
    ASSERT_NE(scene, nullptr);
    ResourceHandle<Sound> door;  // held outside the scene: it survives the change
    testing::internal::CaptureStdout();
    sm.resources.Load(door, kDoor);
    FlushedStdout();
    door->Play();
    ASSERT_EQ(door->channel, 1);
    ASSERT_TRUE(SoundIsPlaying(0));
    ASSERT_TRUE(SoundIsPlaying(1));

    WriteFile("scenes/quiet.cfo", "Scene={ name=game_scene; }\n");
    ChangeScene("scenes/quiet.cfo");
    Scene* quiet = dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    ASSERT_NE(quiet, nullptr);
    EXPECT_FALSE(quiet->ambient.IsValid());  // the new scene (it may reuse the old address)
    EXPECT_FALSE(SoundIsPlaying(0));
    EXPECT_FALSE(SoundIsPlaying(1));
    // The old scene's sound went with it; the door's stays loaded.
    EXPECT_EQ(sm.resources.Find(kRain), nullptr);
    EXPECT_NE(sm.resources.Find(kDoor), nullptr);
    // The flag is never reset.
    EXPECT_TRUE(Sound::sound_loop);
}

TEST_F(SceneSoundTest, TheNextScenesAmbientSoundLoadsLoopingAndPlays) {
    ASSERT_NE(BuildScene("Scene={ name=game_scene; ambient_sound=" + std::string(kRain) + "; }"),
              nullptr);
    WriteFile("scenes/next.cfo",
              "Scene={ name=game_scene; ambient_sound=" + std::string(kPickup) + "; }\n");
    Loaded().clear();
    ChangeScene("scenes/next.cfo");
    Scene* next = dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    ASSERT_NE(next, nullptr);
    EXPECT_NE(std::find(Loaded().begin(), Loaded().end(), kPickup), Loaded().end());
    ASSERT_TRUE(next->ambient.IsValid());
    EXPECT_TRUE(SoundSampleLoops(next->ambient->sample));
    // The rain was stopped and freed before the new scene's Bind: its channel 0 is free again.
    EXPECT_EQ(next->ambient->channel, 0);
    EXPECT_TRUE(SoundIsPlaying(0));
    EXPECT_FALSE(SoundIsPlaying(1));
}

TEST_F(SceneSoundTest, ASceneChangeWithoutASoundDeviceGoesOn) {
    ResetSound();
    ASSERT_FALSE(SoundIsOpen());
    ASSERT_NE(BuildScene("Scene={ name=game_scene; ambient_sound=" + std::string(kRain) + "; }"),
              nullptr);
    WriteFile("scenes/silent.cfo", "Scene={ name=game_scene; }\n");
    ChangeScene("scenes/silent.cfo");
    Scene* silent = dynamic_cast<Scene*>(sm.FindEntity("game_scene"));
    ASSERT_NE(silent, nullptr);
    EXPECT_FALSE(silent->ambient.IsValid());
    EXPECT_FALSE(Sound::sound_loop);
}
