#pragma once
// Saves the frame just drawn: the back buffer, read before the swap, as a binary PPM (P6)
// of the window's size, top row first. For the pictures of a demo's marked passes; needs a
// current GL context.

#include <string>

// False, with `error` set, when there is no context, no size or the file cannot be written.
bool SaveScreenshot(const std::string& path, std::string* error);
