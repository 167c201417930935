#pragma once
// The keys of the configuration's "Window" node, which Window::Init reads.

#include "cfo/cfokeys.h"

// The entries themselves, for the reader's compile-time lookup:
// CfoReadBool(node, CfoKeyOf(kWindowKeys, "key"), variable).
// clang-format off
inline constexpr CfoKey kWindowKeys[] = {
    {"fullscreen", CfoKeyType::Bool, "0", "the whole screen"},
    {"width", CfoKeyType::Int, "800", "window width in pixels"},
    {"height", CfoKeyType::Int, "600", "window height in pixels"},
    {"multisample", CfoKeyType::UInt, "0", "samples a pixel, at most 64"},
};
// clang-format on

extern const CfoKeyTable window_keys;
