#pragma once
// Synthesised sounds: 16-bit mono PCM at 22050 Hz, from fixed seeds.
#include <cstdint>
#include <string>
#include <vector>

constexpr int kSampleRate = 22050;

std::vector<float> RainLoop(float seconds);  // seamless: the last sample flows into the first
std::vector<float> DoorMove();
std::vector<float> SwitchClick();
std::vector<float> ItemPickup();

std::vector<uint8_t> EncodeWav(const std::vector<float>& samples);
