#pragma once
// CameraAnimation: the Scene's camera path, a track set in the animation file format with
// one entry (its "pos" keys the eye, its "rot" keys the view). The path is loaded with the
// level and not played in any camera mode; the backslash key only notes a start time for
// it. The Scene owns it as a member.

#include <string>

#include "world/animation.h"

class CameraAnimation {
public:
    // Reads the path. A file that cannot be read prints "Camera path '<path>' not loaded"
    // after the document layer's own line, and leaves the path empty; the level goes on
    // loading without it.
    bool Load(const std::string& path);

    // True after a successful Load.
    bool IsLoaded() const { return loaded; }

    Animation animation;

private:
    bool loaded = false;
};
