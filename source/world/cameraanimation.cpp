#include "world/cameraanimation.h"

#include <iostream>

#include "cfo/cfodocument.h"

bool CameraAnimation::Load(const std::string& path) {
    loaded = false;
    animation.Clear();
    CfoDocument doc;
    if (!doc.LoadFile(path)) {
        std::cout << "Camera path '" << path << "' not loaded" << std::endl;
        return false;
    }
    loaded = animation.LoadDocument(&doc, path);
    return loaded;
}
