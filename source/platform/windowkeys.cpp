#include "platform/windowkeys.h"

namespace {

// clang-format off
constexpr CfoKey kWindowKeys[] = {
    {"fullscreen", CfoKeyType::Bool, "0", "the whole screen"},
    {"width", CfoKeyType::Int, "800", "window width in pixels"},
    {"height", CfoKeyType::Int, "600", "window height in pixels"},
    {"multisample", CfoKeyType::UInt, "0", "samples a pixel, at most 64"},
};
// clang-format on

}  // namespace

const CfoKeyTable window_keys{"Window", "the window of the configuration", kWindowKeys};
