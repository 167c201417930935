#include "events/eventmanager.h"

#include <algorithm>

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
    : current(new std::list<BaseEvent*>()),
      next(new std::list<BaseEvent*>()),
      delayed(new std::list<BaseEvent*>()) {}

EventManager::~EventManager() {
    for (EventHandler* handler : handlers) delete handler;
    for (std::list<BaseEvent*>* queue : {current, next, delayed}) {
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
        round_keys.clear();
        round_keys.reserve(current->size());
        // Both sides are keyed by their names: the event's GetTypeName() and the handler's
        // GetEventTypeName(), interned, so equal names meet whatever the C++ types are.
        for (BaseEvent* event : *current) round_keys.push_back(event->GetTypeKey());

        dispatching = true;
        const size_t handler_count = handlers.size();  // handlers added now wait for next round
        bool go_on = true;
        for (size_t h = 0; h < handler_count && go_on; ++h) {
            EventHandler* handler = handlers[h];
            // A handler put into the vector by hand has no key yet.
            if (handler->type_key == nullptr)
                handler->type_key = InternTypeName(handler->GetEventTypeName());
            size_t e = 0;
            for (auto ev = current->begin(); ev != current->end(); ++ev, ++e) {
                if (handler->removed) break;
                if (round_keys[e] != handler->type_key) continue;
                BaseEvent* event = *ev;
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
