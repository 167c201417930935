#include "platform/settings.h"

bool r_debug = false;
bool r_debug_physics = false;
bool r_show_fps = false;
bool r_sw_skinning = false;
bool r_advanced_shading = false;
bool r_particle_rain = true;
int32_t r_particle_rain_size = 10000;
float r_anisotropic_filtering = 1.0f;
float r_animation_step = 0.016f;
int32_t r_abt_render_mode = VBO;

int32_t k_action_forward = 119;
int32_t k_action_back = 115;
int32_t k_action_stafe_left = 97;
int32_t k_action_stafe_right = 100;
int32_t k_action_hit = 100;

float max_anisotropy = 1.0f;
int32_t max_texture_units = 1;
int32_t max_elements_vertices = 0;
int32_t max_elements_indices = 0;

int32_t screen_width = 800;
int32_t screen_height = 600;
int32_t virtual_width = 800;
int32_t virtual_height = 600;

void ResetSettings() {
    r_debug = false;
    r_debug_physics = false;
    r_show_fps = false;
    r_sw_skinning = false;
    r_advanced_shading = false;
    r_particle_rain = true;
    r_particle_rain_size = 10000;
    r_anisotropic_filtering = 1.0f;
    r_animation_step = 0.016f;
    r_abt_render_mode = VBO;
    k_action_forward = 119;
    k_action_back = 115;
    k_action_stafe_left = 97;
    k_action_stafe_right = 100;
    k_action_hit = 100;
    max_anisotropy = 1.0f;
    max_texture_units = 1;
    max_elements_vertices = 0;
    max_elements_indices = 0;
    screen_width = 800;
    screen_height = 600;
    virtual_width = 800;
    virtual_height = 600;
}
