#pragma once
// The keys of the configuration's "Window" node, which Window::Init reads.

#include "cfo/cfokeys.h"

extern const CfoKeyTable window_keys;
