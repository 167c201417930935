#pragma once
// Helpers of the door and switch tests: a folder with a copy of the game's door sound, a
// parsed document, and the event types an entity handles, in registration order.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cfo/cfodocument.h"
#include "events/eventmanager.h"
#include "scene/entity.h"
#include "support/tempfolder.h"

namespace propstest {

// A folder of its own on the search path, named `name`, with a copy of the game's door
// sound (1.8 s) as "sound_test/move.wav", so that the rest of the data stays out of the other
// tests' way. Empty when it could not be made.
inline const std::string& SoundFolder(const std::string& name) {
    static std::map<std::string, std::unique_ptr<testsupport::MountedTempFolder>> folders;
    static std::map<std::string, std::string> paths;
    auto found = paths.find(name);
    if (found != paths.end()) return found->second;
    auto folder = std::make_unique<testsupport::MountedTempFolder>(name.c_str());
    std::string path;
    if (!folder->path.empty()) {
        std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/data/resources/sounds/door_move.wav",
                         std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        testsupport::WriteNativeFile(folder->path, "sound_test/move.wav", bytes.data(),
                                     bytes.size());
        if (!bytes.empty()) path = folder->path;
    }
    folders[name] = std::move(folder);
    return paths[name] = path;
}

struct Doc {
    CfoDocument doc;
    explicit Doc(const std::string& text) { EXPECT_TRUE(doc.Parse(text)); }
    CfoNode* Node(const std::string& name) { return doc.FindChild(name); }
};

inline std::vector<std::string> HandlerNames(EventManager& events, Entity* owner) {
    std::vector<std::string> names;
    for (EventHandler* h : events.handlers)
        if (h->IsOwner(owner)) names.push_back(h->GetEventTypeName());
    return names;
}

}  // namespace propstest
