#pragma once
// The loading-screen line of the world's load steps. The world code shows its progress
// ("Reading verts...", "Building ABT...") through this one function, which draws the
// loading screen only when a GL context is current, so the same load steps run in tools
// and tests that have no window.

#include <string>

void WorldLoadingScreen(const std::string& text, bool clear = true);

// Replaces what WorldLoadingScreen does (tests record the texts); null restores the
// default.
typedef void (*WorldLoadingHook)(const std::string& text, bool clear);
void SetWorldLoadingHook(WorldLoadingHook hook);
