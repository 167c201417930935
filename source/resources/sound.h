#pragma once
// Sound: one sample of a "wav" or "ogg" file, shared by name through the resource manager,
// and the channel it last played on. Every sound is a plain two-dimensional sample: no
// position, volume, pan or streaming; the whole file is decoded at load time, so Play never
// touches a file. The samples go through the sound layer (resources/soundlayer.h).
//
// Two process-wide flags belong to the class. `sound_enabled` is set by a successful
// InitSound; without it every Load fails (and the manager prints its line), so the whole
// game runs silent. `sound_loop` is the loop mode every sample gets at load time; only
// SetLoop writes it and nothing resets it. The Scene's ambient sound is its one caller,
// with true, so every sample loaded after the first scene's Bind loops; door and switch
// sounds are stopped before they are played again, which keeps them from piling up.

#include <cstdint>
#include <memory>
#include <string>

#include "cfo/file.h"
#include "resources/resource.h"

struct SoundSample;

// Starts the sound layer once, at start-up: the first driver, 44100 Hz, 32 channels. On
// success sets Sound::sound_enabled; otherwise prints "FMOD failed to initialise" and the
// game goes on in silence.
void InitSound();

class Sound : public Resource {
public:
    SoundSample* sample = nullptr;  // owned; freed by the destructor
    int32_t channel = 0;            // channel of the last Play

    static bool sound_enabled;  // set by a successful InitSound
    static bool sound_loop;     // loop mode given to samples at load; written by SetLoop only

    Sound() = default;
    // A copy owns nothing: the sample and the file's bytes stay with the original.
    Sound(const Sound& other);
    Sound& operator=(const Sound&) = delete;
    ~Sound() override;

    // Reads the whole file and decodes it into the sample, looping when sound_loop is set.
    // False, with nothing kept, when the file cannot be opened, sound is disabled, the file
    // is empty or unreadable, or its bytes do not decode.
    bool Load(std::string filename) override;
    // Plays the sample on a free channel and remembers that channel; an earlier play of the
    // same sound goes on, its channel forgotten. Nothing without a sample or with sound
    // disabled.
    void Play();
    // Stops the channel of the last Play (channel 0 before any). Nothing without a sample or
    // with sound disabled.
    void Stop();
    // The loop mode of the sample's later plays, and of every sample loaded from now on.
    // Nothing, not even the flag, without a sample or with sound disabled.
    void SetLoop(bool loop);

private:
    // The file the sample was read from, with its bytes; kept as long as the sample.
    std::unique_ptr<File> file;
};
