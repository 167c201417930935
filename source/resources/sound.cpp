#include "resources/sound.h"

#include <cstdio>

#include "cfo/file.h"
#include "resources/soundlayer.h"

bool Sound::sound_enabled = false;
bool Sound::sound_loop = false;

void InitSound() {
    SoundSetDriver(0);
    if (SoundInit(SOUND_MIX_RATE, SOUND_CHANNELS, 0) != 0) {
        Sound::sound_enabled = true;
    } else {
        printf("FMOD failed to initialise\n");
    }
}

Sound::Sound(const Sound& other) : Resource(other), channel(other.channel) {}

Sound::~Sound() {
    SoundSampleFree(sample);
    sample = nullptr;
}

bool Sound::Load(std::string filename) {
    std::unique_ptr<File> source = std::make_unique<File>(filename, File::READ);
    if (!source->IsOpen()) return false;
    if (!sound_enabled) return false;

    const int64_t length = source->ReadAll();  // -1 (refused, with its line) or 0: nothing
    if (length <= 0) return false;

    sample = SoundSampleLoad(SOUND_UNMANAGED, source->Data(), SOUND_NORMAL | SOUND_LOADMEMORY, 0,
                             static_cast<uint32_t>(length));
    if (sample == nullptr) return false;

    SoundSampleSetMode(sample, sound_loop ? SOUND_LOOP_NORMAL : SOUND_LOOP_OFF);
    // The bytes stay with the sound for as long as its sample lives.
    file = std::move(source);
    return true;
}

void Sound::Play() {
    if (sample != nullptr && sound_enabled) channel = SoundPlay(SOUND_FREE, sample);
}

void Sound::Stop() {
    if (sample != nullptr && sound_enabled) SoundStop(channel);
}

void Sound::SetLoop(bool loop) {
    if (sample == nullptr || !sound_enabled) return;
    SoundSampleSetMode(sample, loop ? SOUND_LOOP_NORMAL : SOUND_LOOP_OFF);
    sound_loop = loop;
}
