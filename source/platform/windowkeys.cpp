#include "platform/windowkeys.h"

const CfoKeyTable window_keys{"Window", "the window of the configuration", kWindowKeys};
