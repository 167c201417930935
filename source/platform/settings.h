#pragma once
// Process-wide settings: plain globals written at start-up (the configuration's
// "SceneManager" node, the window and the GL queries) and read from anywhere. Their
// initial values are the defaults the game runs with when a key is absent.
//
// Key codes are SDL 1.2 key codes (see events/sdl12event.h).

#include <cstdint>

// Render modes of the ABT geometry ("r_abt_render_mode": "VAR", "VBO", "LIST").
enum AbtRenderMode : int32_t { VAR = 0, VBO = 1, LIST = 2 };

extern bool r_debug;                   // widgets draw debug outlines
extern bool r_debug_physics;           // collision view; F2 toggles it
extern bool r_show_fps;                // accepted and stored only
extern bool r_sw_skinning;             // accepted and stored only
extern bool r_advanced_shading;        // per-pixel shading of world and characters
extern bool r_particle_rain;           // the Scene makes its ParticleRain
extern int32_t r_particle_rain_size;   // drops of the rain (10000)
extern float r_anisotropic_filtering;  // read only when max_anisotropy > 1
extern float r_animation_step;         // seconds, 1 / "r_animation_hz" (0.016)
extern int32_t r_abt_render_mode;      // AbtRenderMode, VBO by default

extern int32_t k_action_forward;      // 119 'w'
extern int32_t k_action_back;         // 115 's'
extern int32_t k_action_stafe_left;   // 97 'a'; read and kept, never consulted
extern int32_t k_action_stafe_right;  // 100 'd'; read and kept, never consulted
extern int32_t k_action_hit;          // 100 'd': the same key as strafe right, on purpose

extern float max_anisotropy;           // GL query; 1.0 until read
extern int32_t max_texture_units;      // GL query; 1 until read
extern int32_t max_elements_vertices;  // GL query; 0 until read
extern int32_t max_elements_indices;   // GL query; 0 until read

extern int32_t screen_width;  // window size in pixels (800 by 600 until the window)
extern int32_t screen_height;
extern int32_t virtual_width;  // the 2D space: 800 by 600, then 1024 by 768
extern int32_t virtual_height;

// Puts every setting back to its default. For tests, which run many start-ups in one
// process; the game itself never calls it.
void ResetSettings();
