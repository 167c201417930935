#pragma once
// The keys of the SceneManager's node, the settings of the configuration. The SceneManager
// reads them in its Load; the top level of every document that LoadTree reads (a required
// file, a scene) is read by the same Load.

#include "cfo/cfokeys.h"

extern const CfoKeyTable scene_manager_keys;

// The entries by name, for SceneManager::Load.
const CfoKey& SceneManagerKey(const char* name);
