#pragma once
// The keys of the SceneManager's node, the settings of the configuration. The SceneManager
// reads them in its Load; the top level of every document that LoadTree reads (a required
// file, a scene) is read by the same Load.

#include "cfo/cfokeys.h"

// The entries themselves, for the reader's compile-time lookup:
// CfoReadBool(node, CfoKeyOf(kSceneManagerKeys, "key"), variable).
// clang-format off
inline constexpr CfoKey kSceneManagerKeys[] = {
    {"r_debug", CfoKeyType::Bool, "0", "debug drawing"},
    {"r_debug_physics", CfoKeyType::Bool, "0", "draws the collision shapes (F2 toggles)"},
    {"r_show_fps", CfoKeyType::Bool, "0", "shows frames per second"},
    {"r_sw_skinning", CfoKeyType::Bool, "0", "skins characters on the processor"},
    {"r_advanced_shading", CfoKeyType::Bool, "0", "per-pixel lighting where the card has it"},
    {"r_particle_rain", CfoKeyType::Bool, "1", "the rain of a Scene"},
    {"r_particle_rain_size", CfoKeyType::Int, "10000", "rain drops"},
    {"r_anisotropic_filtering", CfoKeyType::Float, "1", "texture filtering, read where the "
     "card filters above 1"},
    {"r_animation_hz", CfoKeyType::Float, "62.5", "animation steps a second", nullptr, "", false,
     true},
    {"r_abt_render_mode", CfoKeyType::String, "VBO", "VAR, VBO or LIST: how the level's "
     "tree is drawn", nullptr, "", false, true},
    {"add_search_path", CfoKeyType::String, "", "a folder or archive added to the search path",
     nullptr, "", true},
    {"k_action_forward", CfoKeyType::String, "w", "key: forward", nullptr, "", false, true},
    {"k_action_back", CfoKeyType::String, "s", "key: back", nullptr, "", false, true},
    {"k_action_stafe_left", CfoKeyType::String, "a", "key: step left", nullptr, "", false,
     true},
    {"k_action_stafe_right", CfoKeyType::String, "d", "key: step right", nullptr, "", false,
     true},
    {"k_action_hit", CfoKeyType::String, "d", "key: strike", nullptr, "", false, true},
    {"require", CfoKeyType::File, "", "a document read into the tree here", nullptr, "cfo",
     true},
};
// clang-format on

extern const CfoKeyTable scene_manager_keys;
