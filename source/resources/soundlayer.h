#pragma once
// The sound layer: the seven sample operations the game plays its sounds with, over
// SDL2_mixer. They stand in for the sample calls of a closed sound library that the game
// was first written against, and keep their shape: choose a driver, start the mixer, load
// a sample from bytes in memory (the decoder tells WAV from OGG by itself), give a sample
// its loop mode, free it, play it on a free channel and stop one channel or all of them.
//
// Process-wide state, one thread: the mixer is opened once by SoundInit and stays open for
// the rest of the process (the game never closes it; SoundClose exists for tools and for
// tests that open another driver). Mixing runs on SDL's audio thread.
//
// A sample owns its decoded chunk. SDL_mixer loops per play call, not per sample, so the
// layer keeps the loop mode with the sample and plays a looping sample with loops = -1.
// Every operation is safe to call when the mixer is not open: loads fail, plays give -1,
// stops do nothing.

#include <cstdint>

struct SoundSample;

// Channel arguments of SoundPlay and SoundStop.
constexpr int32_t SOUND_FREE = -1;  // SoundPlay: any channel that is not playing
constexpr int32_t SOUND_ALL = -3;   // SoundStop: every channel

// Sample modes of SoundSampleLoad and SoundSampleSetMode.
constexpr uint32_t SOUND_LOOP_OFF = 0x1;
constexpr uint32_t SOUND_LOOP_NORMAL = 0x2;
constexpr uint32_t SOUND_NORMAL = 0x10;
constexpr uint32_t SOUND_LOADMEMORY = 0x8000;
// The sample index argument of SoundSampleLoad: the caller owns the sample.
constexpr int32_t SOUND_UNMANAGED = -1;

// The mixer's rate and channel count the game starts with.
constexpr int32_t SOUND_MIX_RATE = 44100;
constexpr int32_t SOUND_CHANNELS = 32;

// Chooses the output device SoundInit opens: 0 is the system's default output, n above 0
// the n-th output device SDL lists. False for a negative index or while the mixer is open.
bool SoundSetDriver(int32_t driver);

// Opens the audio device at `mix_rate` Hz, 16-bit stereo, with `max_channels` mixing
// channels. Non-zero on success (and when the mixer is open already); 0 when no audio
// driver or device can be opened (the SDL_AUDIODRIVER names none that works, a headless
// machine, a driver index past the list) or the arguments are not above 0. `flags` is
// accepted and unused.
int32_t SoundInit(int32_t mix_rate, int32_t max_channels, uint32_t flags);

// Decodes `length` bytes at `data` (with `mode` holding SOUND_LOADMEMORY) into a new sample,
// looping when `mode` holds SOUND_LOOP_NORMAL. `index` must be SOUND_UNMANAGED and `offset`
// is where the sound starts in the bytes. The bytes are copied: the caller may free them
// afterwards. Null when the mixer is not open, the arguments are bad or the bytes do not
// decode.
SoundSample* SoundSampleLoad(int32_t index, const char* data, uint32_t mode, int32_t offset,
                             uint32_t length);

// SOUND_LOOP_NORMAL or SOUND_LOOP_OFF for the later plays of `sample`; a play that runs
// keeps the mode it started with. Null is ignored; false for any other mode.
bool SoundSampleSetMode(SoundSample* sample, uint32_t mode);

// Stops every channel that plays the sample and frees it. Null is ignored.
void SoundSampleFree(SoundSample* sample);

// Plays `sample` once (or for ever, in loop mode) on a channel that is not playing, when
// `channel` is SOUND_FREE, or on that channel. The channel used, or -1 when the mixer is not
// open, the sample is null or no channel is free.
int32_t SoundPlay(int32_t channel, SoundSample* sample);

// Stops `channel`, or all channels for SOUND_ALL. Any other channel outside the mixer's
// channels (the -1 of a failed play included) stops nothing.
bool SoundStop(int32_t channel);

// Not among the operations the game uses.
// Closes the mixer and SDL's audio; samples still alive must be freed before the next
// SoundInit. The game never calls it: the mixer goes with the process.
void SoundClose();
// True while the mixer is open.
bool SoundIsOpen();
// True while `channel` is playing (false outside the mixer's channels).
bool SoundIsPlaying(int32_t channel);
// Whether a play of `sample` loops; false for null.
bool SoundSampleLoops(const SoundSample* sample);
