// Every sound of the data folder decodes through SDL2_mixer (dummy audio driver) to the
// length it was made with.
#include <gtest/gtest.h>

#include <cstdlib>

#include "assetfiles.h"

TEST(WavData, SamplesAre16BitMonoPcmAt22050) {
    for (const char* rel : {"resources/sounds/door_move.wav", "resources/sounds/switch_click.wav",
                            "resources/sounds/item_pickup.wav"}) {
        std::vector<uint8_t> f = ReadAll(DataPath(rel));
        ASSERT_GE(f.size(), 44u) << rel;
        EXPECT_EQ(std::string(f.begin(), f.begin() + 4), "RIFF") << rel;
        EXPECT_EQ(std::string(f.begin() + 8, f.begin() + 16), "WAVEfmt ") << rel;
        EXPECT_EQ(f[20] | f[21] << 8, 1) << rel;  // PCM
        EXPECT_EQ(f[22] | f[23] << 8, 1) << rel;  // mono
        EXPECT_EQ(Le32(f, 24), 22050u) << rel;
        EXPECT_EQ(f[34] | f[35] << 8, 16) << rel;  // bits
        EXPECT_EQ(Le32(f, 40), f.size() - 44) << rel;
        EXPECT_EQ(Le32(f, 4), f.size() - 8) << rel;
    }
}

#ifdef VELMORA_HAVE_MIXER
#include <SDL.h>
#include <SDL_mixer.h>

namespace {

class SoundData : public testing::Test {
protected:
    static void SetUpTestSuite() {
        setenv("SDL_AUDIODRIVER", "dummy", 1);
        ready_ = SDL_Init(SDL_INIT_AUDIO) == 0 && (Mix_Init(MIX_INIT_OGG) & MIX_INIT_OGG) &&
                 Mix_OpenAudio(44100, AUDIO_S16SYS, 2, 1024) == 0;
        if (ready_) Mix_QuerySpec(&freq_, &format_, &channels_);
    }
    static void TearDownTestSuite() {
        Mix_CloseAudio();
        Mix_Quit();
        SDL_Quit();
    }
    // Seconds of sound in the decoded chunk, or -1 when it does not decode.
    static double Seconds(const char* rel) {
        std::vector<uint8_t> bytes = ReadAll(DataPath(rel));
        if (bytes.empty()) return -1;
        Mix_Chunk* chunk = Mix_LoadWAV_RW(SDL_RWFromConstMem(bytes.data(), int(bytes.size())), 1);
        if (!chunk) return -1;
        double frame = channels_ * (SDL_AUDIO_BITSIZE(format_) / 8);
        double s = chunk->alen / frame / freq_;
        Mix_FreeChunk(chunk);
        return s;
    }
    static bool ready_;
    static int freq_, channels_;
    static Uint16 format_;
};
bool SoundData::ready_ = false;
int SoundData::freq_ = 0;
int SoundData::channels_ = 0;
Uint16 SoundData::format_ = 0;

TEST_F(SoundData, MixerOpensWithTheDummyDriver) { ASSERT_TRUE(ready_) << Mix_GetError(); }

TEST_F(SoundData, RainLoopIsTenSecondsOfOgg) {
    ASSERT_TRUE(ready_);
    std::vector<uint8_t> bytes = ReadAll(DataPath("resources/sounds/rain_loop.ogg"));
    ASSERT_GE(bytes.size(), 4u);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "OggS");
    EXPECT_NEAR(Seconds("resources/sounds/rain_loop.ogg"), 10.0, 0.05);
}

TEST_F(SoundData, SamplesDecodeToTheirLengths) {
    ASSERT_TRUE(ready_);
    EXPECT_NEAR(Seconds("resources/sounds/door_move.wav"), 1.8, 0.01);
    EXPECT_NEAR(Seconds("resources/sounds/switch_click.wav"), 0.25, 0.01);
    EXPECT_NEAR(Seconds("resources/sounds/item_pickup.wav"), 0.5, 0.01);
}

TEST_F(SoundData, GarbageDoesNotDecode) {
    ASSERT_TRUE(ready_);
    std::vector<uint8_t> junk(64, 0x5A);
    Mix_Chunk* chunk = Mix_LoadWAV_RW(SDL_RWFromConstMem(junk.data(), int(junk.size())), 1);
    EXPECT_EQ(chunk, nullptr);
    if (chunk) Mix_FreeChunk(chunk);
}

TEST_F(SoundData, EveryWavAndOggDecodes) {
    ASSERT_TRUE(ready_);
    std::vector<std::string> files = DataFiles(".wav");
    for (const std::string& f : DataFiles(".ogg")) files.push_back(f);
    ASSERT_GE(files.size(), 4u);
    for (const std::string& f : files) EXPECT_GT(Seconds(f.c_str()), 0.1) << f;
}

}  // namespace
#endif
