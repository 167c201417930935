// Sound and the sound layer under it, without a sound card: SDL's "dummy" audio driver mixes
// in real time into nothing, the "disk" driver writes the mix to a file, and a driver name
// that does not exist makes the start-up fail. Each test picks its driver itself (setenv
// before the mixer opens), so a plain run of the program and ctest behave alike.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "cfo/file.h"
#include "resources/resourcemanager.h"
#include "resources/sound.h"
#include "resources/soundlayer.h"
#include "testdir.h"

namespace {

const char* const kDoor = "resources/sounds/door_move.wav";       // 1.8 s
const char* const kSwitch = "resources/sounds/switch_click.wav";  // 0.25 s
const char* const kPickup = "resources/sounds/item_pickup.wav";   // 0.5 s
const char* const kRain = "resources/sounds/rain_loop.ogg";       // 10 s

void MountData() {
    static bool mounted = FileSystemMount(std::string(VELMORA_SOURCE_DIR) + "/data");
    ASSERT_TRUE(mounted);
}

std::vector<uint8_t> DataBytes(const std::string& rel) {
    std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/" + rel, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

std::string Captured(const std::function<void()>& fn) {
    testing::internal::CaptureStdout();
    fn();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

// Waits up to five seconds for `done`; the result is its last answer.
bool WaitFor(const std::function<bool()>& done) {
    for (int i = 0; i < 500; ++i) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return done();
}

// Closes whatever mixer an earlier test opened and clears both flags of the class.
void ResetSound() {
    SoundClose();
    SoundSetDriver(0);
    Sound::sound_enabled = false;
    Sound::sound_loop = false;
}

// InitSound on the named SDL audio driver; what it printed.
std::string StartOn(const char* driver) {
    ResetSound();
    setenv("SDL_AUDIODRIVER", driver, 1);
    return Captured([] { InitSound(); });
}

// A resource manager with the game's two sound loaders, on the dummy driver.
class SoundTest : public testing::Test {
protected:
    void SetUp() override {
        MountData();
        manager.RegisterType<Sound>("wav");
        manager.RegisterType<Sound>("ogg");
        EXPECT_EQ(StartOn("dummy"), "");
        ASSERT_TRUE(Sound::sound_enabled) << "the dummy audio driver did not open";
    }
    void TearDown() override { ResetSound(); }

    // Loads `name` into `handle`; what the manager printed.
    std::string Load(ResourceHandle<Sound>& handle, const std::string& name) {
        return Captured([&] { manager.Load(handle, name); });
    }

    ResourceManager manager;
};

}  // namespace

TEST(SoundDefaults, FieldsAndFlags) {
    ResetSound();
    Sound sound;
    EXPECT_EQ(sound.sample, nullptr);
    EXPECT_EQ(sound.channel, 0);
    EXPECT_EQ(sound.refcount, 0);
    EXPECT_EQ(sound.name, "");
    EXPECT_FALSE(Sound::sound_enabled);
    EXPECT_FALSE(Sound::sound_loop);
}

TEST(SoundInit, DummyDriverStartsSilentlyWithThirtyTwoChannels) {
    EXPECT_EQ(StartOn("dummy"), "");
    EXPECT_TRUE(Sound::sound_enabled);
    EXPECT_TRUE(SoundIsOpen());
    // The layer's channels run from 0 to 31.
    EXPECT_TRUE(SoundStop(31));
    EXPECT_FALSE(SoundStop(32));
    ResetSound();
}

TEST(SoundInit, ADriverThatDoesNotExistLeavesTheGameSilent) {
    MountData();
    EXPECT_EQ(StartOn("velmora_no_such_driver"), "FMOD failed to initialise\n");
    EXPECT_FALSE(Sound::sound_enabled);
    EXPECT_FALSE(SoundIsOpen());

    // Every sound asset is refused, with the manager's line, and its handle stays empty.
    ResourceManager manager;
    manager.RegisterType<Sound>("wav");
    manager.RegisterType<Sound>("ogg");
    ResourceHandle<Sound> door, rain;
    EXPECT_EQ(Captured([&] { EXPECT_FALSE(manager.Load(door, kDoor)); }),
              "Could not load resource 'resources/sounds/door_move.wav'\n");
    EXPECT_EQ(Captured([&] { EXPECT_FALSE(manager.Load(rain, kRain)); }),
              "Could not load resource 'resources/sounds/rain_loop.ogg'\n");
    EXPECT_FALSE(door.IsValid());
    EXPECT_TRUE(manager.GetResources().empty());

    // The null sound of an empty handle neither plays nor stops, nor sets the loop flag.
    door->Play();
    door->Stop();
    door->SetLoop(true);
    EXPECT_EQ(door->sample, nullptr);
    EXPECT_EQ(door->channel, 0);
    EXPECT_FALSE(Sound::sound_loop);
    EXPECT_EQ(door.Get(), rain.Get());
    ResetSound();
}

TEST(SoundInit, ADriverIndexPastTheListFails) {
    ResetSound();
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    // The dummy driver lists one output device, index 0.
    EXPECT_TRUE(SoundSetDriver(5));
    EXPECT_EQ(SoundInit(SOUND_MIX_RATE, SOUND_CHANNELS, 0), 0);
    EXPECT_FALSE(SoundIsOpen());
    EXPECT_FALSE(SoundSetDriver(-1));
    EXPECT_TRUE(SoundSetDriver(0));
    EXPECT_EQ(SoundInit(SOUND_MIX_RATE, 0, 0), 0);
    EXPECT_EQ(SoundInit(0, SOUND_CHANNELS, 0), 0);
    EXPECT_NE(SoundInit(SOUND_MIX_RATE, SOUND_CHANNELS, 0), 0);
    // Open: a second start changes nothing, and the driver is fixed.
    EXPECT_NE(SoundInit(SOUND_MIX_RATE, SOUND_CHANNELS, 0), 0);
    EXPECT_FALSE(SoundSetDriver(1));
    ResetSound();
}

TEST(SoundLayer, NothingWorksBeforeTheMixerOpens) {
    ResetSound();
    const std::vector<uint8_t> bytes = DataBytes(kSwitch);
    ASSERT_FALSE(bytes.empty());
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, reinterpret_cast<const char*>(bytes.data()),
                              SOUND_NORMAL | SOUND_LOADMEMORY, 0, uint32_t(bytes.size())),
              nullptr);
    EXPECT_EQ(SoundPlay(SOUND_FREE, nullptr), -1);
    EXPECT_FALSE(SoundStop(SOUND_ALL));
    EXPECT_FALSE(SoundStop(0));
    EXPECT_FALSE(SoundIsPlaying(0));
    SoundSampleFree(nullptr);
}

TEST_F(SoundTest, AWavLoadsFromItsBytes) {
    ResourceHandle<Sound> door;
    EXPECT_EQ(Load(door, kDoor), "");
    ASSERT_TRUE(door.IsValid());
    EXPECT_NE(dynamic_cast<Sound*>(door.Get()), nullptr);
    EXPECT_NE(door->sample, nullptr);
    EXPECT_EQ(door->channel, 0);
    EXPECT_EQ(door->name, kDoor);
    EXPECT_EQ(door->refcount, 1);
    EXPECT_FALSE(SoundSampleLoops(door->sample));
}

TEST_F(SoundTest, AnOggLoadsFromItsBytes) {
    ResourceHandle<Sound> rain;
    EXPECT_EQ(Load(rain, kRain), "");
    ASSERT_TRUE(rain.IsValid());
    EXPECT_NE(rain->sample, nullptr);
    EXPECT_FALSE(SoundSampleLoops(rain->sample));
    rain->Play();
    EXPECT_EQ(rain->channel, 0);
    EXPECT_TRUE(SoundIsPlaying(0));
}

TEST_F(SoundTest, MissingEmptyAndUndecodableFilesAreRefused) {
    testfiles::WriteFile("sounds/empty.wav", {});
    testfiles::WriteFile("sounds/text.wav",
                         {'n', 'o', 't', ' ', 'a', ' ', 's', 'o', 'u', 'n', 'd'});
    testfiles::WriteFile("sounds/text.ogg", {'O', 'g', 'g', 'S', 0, 0, 0});
    ResourceHandle<Sound> a, b, c, d;
    EXPECT_EQ(Load(a, "sounds/none.wav"), "Could not load resource 'sounds/none.wav'\n");
    EXPECT_EQ(Load(b, "sounds/empty.wav"), "Could not load resource 'sounds/empty.wav'\n");
    EXPECT_EQ(Load(c, "sounds/text.wav"), "Could not load resource 'sounds/text.wav'\n");
    EXPECT_EQ(Load(d, "sounds/text.ogg"), "Could not load resource 'sounds/text.ogg'\n");
    EXPECT_FALSE(a.IsValid());
    EXPECT_FALSE(b.IsValid());
    EXPECT_FALSE(c.IsValid());
    EXPECT_FALSE(d.IsValid());
    EXPECT_TRUE(manager.GetResources().empty());
    // A sound found but disabled is refused the same way.
    Sound::sound_enabled = false;
    EXPECT_EQ(Load(a, kSwitch), "Could not load resource 'resources/sounds/switch_click.wav'\n");
}

TEST_F(SoundTest, AnExtensionInCapitalsReachesSound) {
    const std::vector<uint8_t> wav = DataBytes(kPickup);
    const std::vector<uint8_t> ogg = DataBytes(kRain);
    testfiles::WriteFile("sounds/LOUD.WAV", wav);
    testfiles::WriteFile("sounds/Rain.Ogg", ogg);
    ResourceHandle<Sound> loud, rain;
    EXPECT_EQ(Load(loud, "sounds/LOUD.WAV"), "");
    EXPECT_EQ(Load(rain, "sounds/Rain.Ogg"), "");
    ASSERT_TRUE(loud.IsValid());
    ASSERT_TRUE(rain.IsValid());
    EXPECT_NE(dynamic_cast<Sound*>(loud.Get()), nullptr);
    EXPECT_NE(loud->sample, nullptr);
    EXPECT_NE(rain->sample, nullptr);
}

TEST_F(SoundTest, PlayTakesTheLowestFreeChannelAndPlayAgainForgetsTheEarlierOne) {
    ResourceHandle<Sound> rain;
    Load(rain, kRain);
    ASSERT_TRUE(rain.IsValid());
    rain->Play();
    EXPECT_EQ(rain->channel, 0);
    rain->Play();
    EXPECT_EQ(rain->channel, 1);
    // The first instance goes on; Stop reaches only the latest one.
    rain->Stop();
    EXPECT_TRUE(SoundIsPlaying(0));
    EXPECT_FALSE(SoundIsPlaying(1));
    EXPECT_EQ(rain->channel, 1);
}

TEST_F(SoundTest, StopBeforePlayAddressesChannelZero) {
    ResourceHandle<Sound> rain, door;
    Load(rain, kRain);
    Load(door, kDoor);
    rain->Play();
    ASSERT_EQ(rain->channel, 0);
    ASSERT_TRUE(SoundIsPlaying(0));
    door->Stop();  // never played: its channel is 0, the rain's
    EXPECT_EQ(door->channel, 0);
    EXPECT_FALSE(SoundIsPlaying(0));
}

TEST_F(SoundTest, TwoDoorsWithOneMoveSoundShareItAndStopOnlyTheLatestPlay) {
    ResourceHandle<Sound> first_door, second_door;
    Load(first_door, kRain);
    Load(second_door, kRain);
    ASSERT_EQ(first_door.Get(), second_door.Get());
    EXPECT_EQ(first_door->refcount, 2);
    EXPECT_EQ(manager.GetResources().size(), 1u);

    // Each door: Stop, then Play.
    first_door->Stop();
    first_door->Play();
    EXPECT_EQ(first_door->channel, 0);
    second_door->Stop();  // the first door's channel: 0
    EXPECT_FALSE(SoundIsPlaying(0));
    second_door->Play();
    EXPECT_EQ(second_door->channel, 0);
    first_door->Play();  // the first door starts again, without a Stop
    EXPECT_EQ(first_door->channel, 1);
    EXPECT_EQ(second_door->channel, 1);
    second_door->Stop();
    EXPECT_TRUE(SoundIsPlaying(0));  // the earlier play is out of reach
    EXPECT_FALSE(SoundIsPlaying(1));
}

TEST_F(SoundTest, PlayWithSoundDisabledDoesNothing) {
    ResourceHandle<Sound> rain;
    Load(rain, kRain);
    ASSERT_TRUE(rain.IsValid());
    Sound::sound_enabled = false;
    rain->channel = 7;
    rain->Play();
    EXPECT_EQ(rain->channel, 7);
    EXPECT_FALSE(SoundIsPlaying(0));
    // Nor does Stop: a play from before goes on.
    Sound::sound_enabled = true;
    rain->Play();
    ASSERT_EQ(rain->channel, 0);
    Sound::sound_enabled = false;
    rain->Stop();
    EXPECT_TRUE(SoundIsPlaying(0));
    // Nor SetLoop, flag included.
    rain->SetLoop(true);
    EXPECT_FALSE(Sound::sound_loop);
    EXPECT_FALSE(SoundSampleLoops(rain->sample));
}

TEST_F(SoundTest, EverySampleLoadedAfterTheFirstSetLoopTrueLoops) {
    ResourceHandle<Sound> rain, door, pickup, click;
    Load(rain, kRain);
    Load(door, kDoor);
    EXPECT_FALSE(SoundSampleLoops(door->sample));

    rain->SetLoop(true);
    EXPECT_TRUE(Sound::sound_loop);
    EXPECT_TRUE(SoundSampleLoops(rain->sample));
    // A sound loaded before keeps its mode.
    EXPECT_FALSE(SoundSampleLoops(door->sample));

    Load(pickup, kPickup);
    EXPECT_TRUE(SoundSampleLoops(pickup->sample));

    // SetLoop(false) on one sound turns the flag off again for later loads.
    pickup->SetLoop(false);
    EXPECT_FALSE(Sound::sound_loop);
    EXPECT_FALSE(SoundSampleLoops(pickup->sample));
    EXPECT_TRUE(SoundSampleLoops(rain->sample));
    Load(click, kSwitch);
    EXPECT_FALSE(SoundSampleLoops(click->sample));

    // An empty handle's SetLoop writes nothing.
    ResourceHandle<Sound> none;
    none->SetLoop(true);
    EXPECT_FALSE(Sound::sound_loop);
}

TEST_F(SoundTest, ALoopingPlayOutlastsItsSampleAndAPlainOneEnds) {
    ResourceHandle<Sound> click;
    Load(click, kSwitch);  // 0.25 s
    click->Play();
    ASSERT_EQ(click->channel, 0);
    click->SetLoop(true);
    click->Play();
    ASSERT_EQ(click->channel, 1);
    EXPECT_TRUE(WaitFor([] { return !SoundIsPlaying(0); }));
    // Well past its quarter second, the looping play goes on until it is stopped.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(SoundIsPlaying(1));
    click->Stop();
    EXPECT_FALSE(SoundIsPlaying(1));
}

TEST_F(SoundTest, ReleasingTheLastHandleStopsAndFreesTheSample) {
    ResourceHandle<Sound> rain;
    Load(rain, kRain);
    rain->SetLoop(true);
    rain->Play();
    ASSERT_TRUE(SoundIsPlaying(0));
    rain.Release();
    EXPECT_FALSE(SoundIsPlaying(0));
    EXPECT_TRUE(manager.GetResources().empty());
}

TEST_F(SoundTest, ACopyOwnsNoSample) {
    ResourceHandle<Sound> door;
    Load(door, kDoor);
    door->channel = 3;
    {
        Sound copy(*door.Get());
        EXPECT_EQ(copy.sample, nullptr);
        EXPECT_EQ(copy.channel, 3);
        EXPECT_EQ(copy.name, kDoor);
    }
    EXPECT_NE(door->sample, nullptr);
    door->channel = 0;
    door->Play();
    EXPECT_EQ(door->channel, 0);
}

TEST_F(SoundTest, AllChannelsBusyThePlayGetsMinusOneAndItsStopStopsNothing) {
    ResourceHandle<Sound> rain;
    Load(rain, kRain);
    for (int i = 0; i < SOUND_CHANNELS; ++i) {
        rain->Play();
        ASSERT_EQ(rain->channel, i);
    }
    rain->Play();
    EXPECT_EQ(rain->channel, -1);
    rain->Stop();  // the mixer would read -1 as every channel
    for (int i = 0; i < SOUND_CHANNELS; ++i) EXPECT_TRUE(SoundIsPlaying(i)) << i;
    EXPECT_TRUE(SoundStop(SOUND_ALL));
    for (int i = 0; i < SOUND_CHANNELS; ++i) EXPECT_FALSE(SoundIsPlaying(i)) << i;
}

TEST_F(SoundTest, LayerGuards) {
    const std::vector<uint8_t> bytes = DataBytes(kSwitch);
    const char* data = reinterpret_cast<const char*>(bytes.data());
    const uint32_t size = uint32_t(bytes.size());
    const uint32_t mode = SOUND_NORMAL | SOUND_LOADMEMORY;
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, nullptr, mode, 0, size), nullptr);
    EXPECT_EQ(SoundSampleLoad(0, data, mode, 0, size), nullptr);
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, data, SOUND_NORMAL, 0, size), nullptr);
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, data, mode, -1, size), nullptr);
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, data, mode, int32_t(size), size), nullptr);
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, data, mode, 0, 0), nullptr);
    EXPECT_EQ(SoundSampleLoad(SOUND_UNMANAGED, data, mode, 0, 20), nullptr);  // cut short

    SoundSample* sample = SoundSampleLoad(SOUND_UNMANAGED, data, mode | SOUND_LOOP_NORMAL, 0, size);
    ASSERT_NE(sample, nullptr);
    EXPECT_TRUE(SoundSampleLoops(sample));
    EXPECT_FALSE(SoundSampleSetMode(sample, 0x40));
    EXPECT_TRUE(SoundSampleLoops(sample));
    EXPECT_TRUE(SoundSampleSetMode(sample, SOUND_LOOP_OFF));
    EXPECT_FALSE(SoundSampleLoops(sample));
    EXPECT_TRUE(SoundSampleSetMode(nullptr, SOUND_LOOP_OFF));
    EXPECT_FALSE(SoundSampleLoops(nullptr));

    EXPECT_EQ(SoundPlay(SOUND_FREE, nullptr), -1);
    EXPECT_EQ(SoundPlay(32, sample), -1);
    EXPECT_EQ(SoundPlay(-2, sample), -1);
    EXPECT_EQ(SoundPlay(5, sample), 5);  // a channel named by the caller
    EXPECT_TRUE(SoundIsPlaying(5));
    EXPECT_FALSE(SoundStop(-1));
    EXPECT_FALSE(SoundStop(-2));
    EXPECT_FALSE(SoundStop(SOUND_CHANNELS));
    EXPECT_TRUE(SoundIsPlaying(5));
    EXPECT_FALSE(SoundIsPlaying(-1));
    EXPECT_FALSE(SoundIsPlaying(SOUND_CHANNELS));
    // Freeing a sample stops its channels.
    SoundSampleFree(sample);
    EXPECT_FALSE(SoundIsPlaying(5));
}

TEST(SoundDisk, APlayingSampleReachesTheOutput) {
    MountData();
    testsupport::MountedTempFolder folder("velmora_sound_disk");
    ASSERT_FALSE(folder.path.empty());
    const std::string out = folder.path + "/mix.raw";
    setenv("SDL_DISKAUDIOFILE", out.c_str(), 1);
    EXPECT_EQ(StartOn("disk"), "");
    ASSERT_TRUE(Sound::sound_enabled);

    auto bytes = [&out] {
        std::ifstream in(out, std::ios::binary);
        return std::vector<char>(std::istreambuf_iterator<char>(in), {});
    };
    auto any_sound = [&bytes] {
        for (char c : bytes())
            if (c != 0) return true;
        return false;
    };
    // Before anything plays the mixer writes silence.
    ASSERT_TRUE(WaitFor([&] { return bytes().size() >= 16384; }));
    EXPECT_FALSE(any_sound());

    {
        ResourceManager manager;
        manager.RegisterType<Sound>("wav");
        ResourceHandle<Sound> pickup;
        EXPECT_EQ(Captured([&] { manager.Load(pickup, kPickup); }), "");
        pickup->Play();
        EXPECT_EQ(pickup->channel, 0);
        EXPECT_TRUE(WaitFor(any_sound));
    }
    ResetSound();
    unsetenv("SDL_DISKAUDIOFILE");
}
