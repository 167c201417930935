#pragma once
// The state digest: a few lines that say where a run ended. For every entity of
// "game_scene", depth first: its name, class and what the game decides about it (place,
// heading, health, state); for every GUI layer: whether it shows and which of its widgets
// do; then a hash of those lines. A replay of a demo prints the digest its recording
// printed, so two digests that differ mean the run went another way.

#include <string>
#include <vector>

class SceneManager;

// The lines, each starting "Digest: ", the hash last.
std::vector<std::string> StateDigest(SceneManager* scene_manager, unsigned long passes);
