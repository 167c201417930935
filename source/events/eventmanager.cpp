#include "events/eventmanager.h"

#include <algorithm>
#include <cstdint>

EventListener::~EventListener() {
    if (event_manager != nullptr && owner != nullptr) event_manager->RemoveHandlers(owner);
}

void EventListener::Post(BaseEvent* event, float delay) {
    if (event == nullptr) return;
    if (event_manager == nullptr) {
        // Never attached: nobody will deliver it, so nobody else would free it.
        delete event;
        return;
    }
    event_manager->Post(event, delay);
}

void EventListener::PostTo(BaseEvent* event, Entity* target, float delay) {
    if (event == nullptr) return;
    if (target != nullptr) event->target = target;
    Post(event, delay);
}

EventManager::EventManager()
    : current(new EventQueue()), next(new EventQueue()), delayed(new EventQueue()) {}

EventManager::~EventManager() {
    for (EventHandler* handler : handlers) delete handler;
    for (EventQueue* queue : {current, next, delayed}) {
        for (BaseEvent* event : *queue) delete event;
        delete queue;
    }
}

void EventManager::AddHandler(EventHandler* handler) {
    if (handler == nullptr) return;
    handler->type_key = InternTypeName(handler->GetEventTypeName());
    handlers.push_back(handler);
}

void EventManager::AttachListener(EventListener* listener, Entity* owner) {
    if (listener == nullptr) return;
    listener->event_manager = this;
    listener->owner = owner;
}

void EventManager::RemoveHandlers(const void* owner) {
    if (dispatching) {
        // Update is walking the vector: mark now, erase when the walk is over.
        for (EventHandler* handler : handlers)
            if (handler->IsOwner(owner)) handler->removed = true;
        return;
    }
    auto keep = std::stable_partition(handlers.begin(), handlers.end(),
                                      [owner](EventHandler* h) { return !h->IsOwner(owner); });
    for (auto it = keep; it != handlers.end(); ++it) delete *it;
    handlers.erase(keep, handlers.end());
}

void EventManager::Post(BaseEvent* event, float delay) {
    if (event == nullptr) return;
    if (delay > 0.0f) event->delay = delay;
    if (event->delay > 0.0f) {
        event->fire_time = time + event->delay;
        delayed->push_back(event);
    } else {
        next->push_back(event);
    }
}

bool EventManager::Update(float now) {
    time = now;

    // Due delayed events join the round. After a removal the walk restarts at the front and
    // then steps once, so the new front waits for a later update: of due events A, B, C,
    // A and C go out now and B next time.
    auto it = delayed->begin();
    while (it != delayed->end()) {
        if ((*it)->fire_time <= time) {
            current->push_back(*it);
            delayed->erase(it);
            it = delayed->begin();
            if (it == delayed->end()) break;
        }
        ++it;
    }

    if (!current->empty()) {
        IndexRound();

        dispatching = true;
        const size_t handler_count = handlers.size();  // handlers added now wait for next round
        bool go_on = true;
        for (size_t h = 0; h < handler_count && go_on; ++h) {
            EventHandler* handler = handlers[h];
            // A handler put into the vector by hand has no key yet.
            if (handler->type_key == nullptr)
                handler->type_key = InternTypeName(handler->GetEventTypeName());
            const RoundType* type = FindRoundType(handler->type_key);
            if (type == nullptr) continue;
            // The type's events in order of arrival; `removed` is read before each, as a
            // handler may drop itself or another one during the call.
            BaseEvent* const* events = round_events.data() + type->begin;
            for (uint32_t e = 0; e < type->count; ++e) {
                if (handler->removed) break;
                BaseEvent* event = events[e];
                if (event->target != nullptr && !handler->IsOwner(event->target)) continue;
                if (!handler->Invoke(event)) {
                    go_on = false;
                    break;
                }
            }
        }
        dispatching = false;
        if (std::any_of(handlers.begin(), handlers.end(),
                        [](EventHandler* h) { return h->removed; })) {
            auto keep = std::stable_partition(handlers.begin(), handlers.end(),
                                              [](EventHandler* h) { return !h->removed; });
            for (auto r = keep; r != handlers.end(); ++r) delete *r;
            handlers.erase(keep, handlers.end());
        }
        if (!go_on) return false;  // the round stays queued: the program is leaving

        for (BaseEvent* event : *current) delete event;
        current->clear();
    }

    std::swap(current, next);
    return true;
}

namespace {

size_t HashKey(const std::string* key, uint32_t shift) {
    // Interned keys are heap objects: the low bits carry little, a multiply spreads them.
    uint64_t bits = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(key));
    return static_cast<size_t>((bits * 0x9E3779B97F4A7C15ull) >> shift);
}

}  // namespace

void EventManager::IndexRound() {
    const size_t count = current->size();
    // A table of at least twice as many slots as events keeps probes short whatever the
    // number of types.
    uint32_t bits = 4;
    while ((size_t(1) << bits) < 2 * count) ++bits;
    round_table_shift = 64 - bits;
    round_table.assign(size_t(1) << bits, 0);
    const size_t mask = (size_t(1) << bits) - 1;

    round_types.clear();
    round_type_of.clear();
    round_type_of.reserve(count);
    // The event's key is taken once a round, as it is sent.
    for (BaseEvent* event : *current) {
        const std::string* key = event->GetTypeKey();
        size_t slot = HashKey(key, round_table_shift);
        for (;;) {
            uint32_t entry = round_table[slot];
            if (entry == 0) {
                round_types.push_back({key, 0, 0});
                entry = static_cast<uint32_t>(round_types.size());
                round_table[slot] = entry;
            }
            if (round_types[entry - 1].key == key) {
                ++round_types[entry - 1].count;
                round_type_of.push_back(entry - 1);
                break;
            }
            slot = (slot + 1) & mask;
        }
    }
    uint32_t begin = 0;
    for (RoundType& type : round_types) {
        type.begin = begin;
        begin += type.count;
        type.count = 0;  // counts again while filling
    }
    round_events.resize(count);
    size_t e = 0;
    for (BaseEvent* event : *current) {
        RoundType& type = round_types[round_type_of[e++]];
        round_events[type.begin + type.count++] = event;
    }
}

const EventManager::RoundType* EventManager::FindRoundType(const std::string* key) const {
    const size_t mask = round_table.size() - 1;
    size_t slot = HashKey(key, round_table_shift);
    for (;;) {
        uint32_t entry = round_table[slot];
        if (entry == 0) return nullptr;
        if (round_types[entry - 1].key == key) return &round_types[entry - 1];
        slot = (slot + 1) & mask;
    }
}
