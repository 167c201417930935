#include "events/baseevent.h"

#include <unordered_set>

namespace {

// The one counter behind every GetTypeId() of events and entities.
uint32_t type_id_counter = 0;

std::unordered_set<std::string>& InternedNames() {
    // Built on first use, so that static initialisers of other files may intern too.
    static std::unordered_set<std::string>* names = new std::unordered_set<std::string>();
    return *names;
}

}  // namespace

uint32_t NewTypeId() { return ++type_id_counter; }

const std::string* InternTypeName(const std::string& name) {
    // Elements of an unordered_set never move, so the pointer stays valid.
    return &*InternedNames().insert(name).first;
}
