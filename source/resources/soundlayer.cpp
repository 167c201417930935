#include "resources/soundlayer.h"

#include <climits>

// Without SDL2_mixer the layer still builds: the mixer never opens, and the game runs silent
// exactly as on a machine without an audio device.
#if __has_include(<SDL_mixer.h>)
#define VELMORA_SOUND_MIXER 1
#include <SDL.h>
#include <SDL_mixer.h>
#endif

struct SoundSample {
#ifdef VELMORA_SOUND_MIXER
    Mix_Chunk* chunk = nullptr;  // owned
#endif
    bool loop = false;
};

namespace {

int32_t chosen_driver = 0;
bool mixer_open = false;
int32_t mixer_channels = 0;

// Decoded sound goes out in blocks of this many sample frames.
constexpr int kChunkFrames = 1024;

}  // namespace

bool SoundSetDriver(int32_t driver) {
    if (driver < 0 || mixer_open) return false;
    chosen_driver = driver;
    return true;
}

bool SoundIsOpen() { return mixer_open; }

bool SoundSampleLoops(const SoundSample* sample) { return sample != nullptr && sample->loop; }

bool SoundSampleSetMode(SoundSample* sample, uint32_t mode) {
    if (sample == nullptr) return true;
    if (mode == SOUND_LOOP_NORMAL) {
        sample->loop = true;
        return true;
    }
    if (mode == SOUND_LOOP_OFF) {
        sample->loop = false;
        return true;
    }
    return false;
}

#ifdef VELMORA_SOUND_MIXER

int32_t SoundInit(int32_t mix_rate, int32_t max_channels, uint32_t) {
    if (mixer_open) return 1;
    if (mix_rate <= 0 || max_channels <= 0) return 0;
    // SDL picks the audio driver here (SDL_AUDIODRIVER when it is set); a name that no
    // driver answers to fails, and so does a machine without any device.
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return 0;

    const char* device = nullptr;  // the default output
    if (chosen_driver > 0) {
        if (chosen_driver >= SDL_GetNumAudioDevices(0)) {
            SDL_QuitSubSystem(SDL_INIT_AUDIO);
            return 0;
        }
        device = SDL_GetAudioDeviceName(chosen_driver, 0);
    }
    // OGG support is loaded on demand; WAV needs nothing.
    Mix_Init(MIX_INIT_OGG);
    // No changes allowed: SDL converts to whatever the device really runs at, so the
    // mixer's own format stays the one asked for.
    if (Mix_OpenAudioDevice(mix_rate, AUDIO_S16SYS, 2, kChunkFrames, device, 0) != 0) {
        Mix_Quit();
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
        return 0;
    }
    mixer_channels = Mix_AllocateChannels(max_channels);
    mixer_open = true;
    return 1;
}

SoundSample* SoundSampleLoad(int32_t index, const char* data, uint32_t mode, int32_t offset,
                             uint32_t length) {
    if (!mixer_open || data == nullptr || index != SOUND_UNMANAGED) return nullptr;
    if ((mode & SOUND_LOADMEMORY) == 0) return nullptr;  // only samples from memory
    if (offset < 0 || static_cast<uint32_t>(offset) >= length) return nullptr;
    const uint32_t size = length - static_cast<uint32_t>(offset);
    if (size > static_cast<uint32_t>(INT_MAX)) return nullptr;

    SDL_RWops* rw = SDL_RWFromConstMem(data + offset, static_cast<int>(size));
    if (rw == nullptr) return nullptr;
    // The reader is closed here, not by the mixer: on some failures (bytes of no known
    // format) the mixer leaves it open. The chunk holds its own decoded copy.
    Mix_Chunk* chunk = Mix_LoadWAV_RW(rw, 0);
    SDL_RWclose(rw);
    if (chunk == nullptr) return nullptr;

    SoundSample* sample = new SoundSample();
    sample->chunk = chunk;
    sample->loop = (mode & SOUND_LOOP_NORMAL) != 0;
    return sample;
}

void SoundSampleFree(SoundSample* sample) {
    if (sample == nullptr) return;
    // Mix_FreeChunk halts the channels that play it while the mixer is open.
    if (sample->chunk != nullptr) Mix_FreeChunk(sample->chunk);
    delete sample;
}

int32_t SoundPlay(int32_t channel, SoundSample* sample) {
    if (!mixer_open || sample == nullptr || sample->chunk == nullptr) return -1;
    if (channel != SOUND_FREE && (channel < 0 || channel >= mixer_channels)) return -1;
    return Mix_PlayChannel(channel, sample->chunk, sample->loop ? -1 : 0);
}

bool SoundStop(int32_t channel) {
    if (!mixer_open) return false;
    if (channel == SOUND_ALL) {
        Mix_HaltChannel(-1);
        return true;
    }
    // The mixer reads -1 as "every channel": a failed play's -1 must stop nothing.
    if (channel < 0 || channel >= mixer_channels) return false;
    Mix_HaltChannel(channel);
    return true;
}

bool SoundIsPlaying(int32_t channel) {
    if (!mixer_open || channel < 0 || channel >= mixer_channels) return false;
    return Mix_Playing(channel) != 0;
}

void SoundClose() {
    if (!mixer_open) return;
    Mix_HaltChannel(-1);
    Mix_CloseAudio();
    Mix_Quit();
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    mixer_open = false;
    mixer_channels = 0;
}

#else  // no SDL2_mixer: the mixer never opens

int32_t SoundInit(int32_t, int32_t, uint32_t) { return 0; }
SoundSample* SoundSampleLoad(int32_t, const char*, uint32_t, int32_t, uint32_t) { return nullptr; }
void SoundSampleFree(SoundSample* sample) { delete sample; }
int32_t SoundPlay(int32_t, SoundSample*) { return -1; }
bool SoundStop(int32_t) { return false; }
bool SoundIsPlaying(int32_t) { return false; }
void SoundClose() {}

#endif
